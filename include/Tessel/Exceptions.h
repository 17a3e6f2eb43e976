// The exception classes that the library raises and that callers catch, one for each failure
// that a caller tells apart, and their registration for translation from failure codes (see
// ExceptionFactory). A client's own class follows the same pattern: derive from ExceptionCOM with
// these two constructors, and give it a registrar with its key.
//
// Text that comes from data must not be the format: pass it as an argument, e.g.
// ConfigurationNotFoundException(L"%s", path), so that a '%' in it stays a '%'.
#pragma once

#include <cstdarg>

#include "Tessel/ErrorStorage.h"
#include "Tessel/ExceptionFactory.h"
#include "TesselWin32.h"

namespace Tessel {

// The library's one class of the named kind: name null, code 1.
class InternalError : public ExceptionBase {
public:
    static constexpr const wchar_t* Name = nullptr;
    static constexpr ULONG Code = 1;

    explicit InternalError(const ErrorStorage& source) : ExceptionBase(source) {}

    explicit InternalError(const wchar_t* format, ...) : ExceptionBase(Name, Code)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

// Core classes: the platform's failure codes.
class NotImplemented : public ExceptionCOM {
public:
    static constexpr LONG Code = static_cast<LONG>(0x80004001u); // E_NOTIMPL

    explicit NotImplemented(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit NotImplemented(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class OutOfMemory : public ExceptionCOM {
public:
    static constexpr LONG Code = static_cast<LONG>(0x8007000Eu); // E_OUTOFMEMORY

    explicit OutOfMemory(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit OutOfMemory(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class Unexpected : public ExceptionCOM {
public:
    static constexpr LONG Code = static_cast<LONG>(0x8000FFFFu); // E_UNEXPECTED

    explicit Unexpected(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit Unexpected(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class InvalidArg : public ExceptionCOM {
public:
    static constexpr LONG Code = static_cast<LONG>(0x80070057u); // E_INVALIDARG

    explicit InvalidArg(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit InvalidArg(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class NoInterface : public ExceptionCOM {
public:
    static constexpr LONG Code = static_cast<LONG>(0x80004002u); // E_NOINTERFACE

    explicit NoInterface(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit NoInterface(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class Pointer : public ExceptionCOM {
public:
    static constexpr LONG Code = static_cast<LONG>(0x80004003u); // E_POINTER

    explicit Pointer(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit Pointer(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class AccessDenied : public ExceptionCOM {
public:
    static constexpr LONG Code = static_cast<LONG>(0x80070005u); // E_ACCESSDENIED

    explicit AccessDenied(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit AccessDenied(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class ElevationRequired : public ExceptionCOM {
public:
    static constexpr LONG Code = static_cast<LONG>(0x800702E4u); // ERROR_ELEVATION_REQUIRED as an HRESULT

    explicit ElevationRequired(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit ElevationRequired(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

// The persistent-data writer's classes. All four share the code 0: only the class tells them apart.
class PersistentDataParameterNotFoundException : public ExceptionCOM {
public:
    static constexpr LONG Code = 0;

    explicit PersistentDataParameterNotFoundException(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit PersistentDataParameterNotFoundException(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class InvalidPersistentDataTypeException : public ExceptionCOM {
public:
    static constexpr LONG Code = 0;

    explicit InvalidPersistentDataTypeException(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit InvalidPersistentDataTypeException(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class UnknownPersistentDataException : public ExceptionCOM {
public:
    static constexpr LONG Code = 0;

    explicit UnknownPersistentDataException(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit UnknownPersistentDataException(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class PersistentDataNotFoundException : public ExceptionCOM {
public:
    static constexpr LONG Code = 0;

    explicit PersistentDataNotFoundException(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit PersistentDataNotFoundException(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

// The configuration reader's classes, also of code 0.
class ParameterNotFoundException : public ExceptionCOM {
public:
    static constexpr LONG Code = 0;

    explicit ParameterNotFoundException(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit ParameterNotFoundException(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class InvalidTypeException : public ExceptionCOM {
public:
    static constexpr LONG Code = 0;

    explicit InvalidTypeException(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit InvalidTypeException(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class UnknownConfigurationException : public ExceptionCOM {
public:
    static constexpr LONG Code = 0;

    explicit UnknownConfigurationException(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit UnknownConfigurationException(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class ConfigurationNotFoundException : public ExceptionCOM {
public:
    static constexpr LONG Code = 0;

    explicit ConfigurationNotFoundException(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit ConfigurationNotFoundException(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

// The registry wrapper's classes.
class PersistencyNotFound : public ExceptionCOM {
public:
    static constexpr LONG Code = static_cast<LONG>(0x80040001u);

    explicit PersistencyNotFound(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit PersistencyNotFound(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class PersistencyFailed : public ExceptionCOM {
public:
    static constexpr LONG Code = static_cast<LONG>(0x80040002u);

    explicit PersistencyFailed(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit PersistencyFailed(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class PersistencyClosed : public ExceptionCOM {
public:
    static constexpr LONG Code = static_cast<LONG>(0x80040003u);

    explicit PersistencyClosed(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit PersistencyClosed(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class PersistencyMoreData : public ExceptionCOM {
public:
    static constexpr LONG Code = static_cast<LONG>(0x80040004u);

    explicit PersistencyMoreData(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit PersistencyMoreData(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class PersistencyOtherType : public ExceptionCOM {
public:
    static constexpr LONG Code = static_cast<LONG>(0x80040005u);

    explicit PersistencyOtherType(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit PersistencyOtherType(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class PersistencyInvalid : public ExceptionCOM {
public:
    static constexpr LONG Code = static_cast<LONG>(0x80040006u);

    explicit PersistencyInvalid(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit PersistencyInvalid(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

class PersistencyDenied : public ExceptionCOM {
public:
    static constexpr LONG Code = static_cast<LONG>(0x80040007u);

    explicit PersistencyDenied(const ErrorStorage& source) : ExceptionCOM(source) {}

    explicit PersistencyDenied(const wchar_t* format, ...) : ExceptionCOM(Code, GUID_NULL)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

// The registrars. Every unit that includes this header registers every class at start-up; the
// first registration of a key wins, so the repeats change nothing. The persistent-data group
// comes before the configuration group in every unit, so that the key (GUID_NULL, 0) belongs to
// PersistentDataParameterNotFoundException whichever unit starts first.
namespace Registration {

// Core.
static const ExceptionRegistrar s_internalError(InternalError::Name, InternalError::Code,
                                                &ThrowFromRecord<InternalError>);
static const ExceptionRegistrar s_notImplemented(GUID_NULL, NotImplemented::Code, &ThrowFromRecord<NotImplemented>);
static const ExceptionRegistrar s_outOfMemory(GUID_NULL, OutOfMemory::Code, &ThrowFromRecord<OutOfMemory>);
static const ExceptionRegistrar s_unexpected(GUID_NULL, Unexpected::Code, &ThrowFromRecord<Unexpected>);
static const ExceptionRegistrar s_invalidArg(GUID_NULL, InvalidArg::Code, &ThrowFromRecord<InvalidArg>);
static const ExceptionRegistrar s_noInterface(GUID_NULL, NoInterface::Code, &ThrowFromRecord<NoInterface>);
static const ExceptionRegistrar s_pointer(GUID_NULL, Pointer::Code, &ThrowFromRecord<Pointer>);
static const ExceptionRegistrar s_accessDenied(GUID_NULL, AccessDenied::Code, &ThrowFromRecord<AccessDenied>);
static const ExceptionRegistrar s_elevationRequired(GUID_NULL, ElevationRequired::Code,
                                                    &ThrowFromRecord<ElevationRequired>);

// Persistent data.
static const ExceptionRegistrar s_persistentDataParameterNotFoundException(
    GUID_NULL, PersistentDataParameterNotFoundException::Code,
    &ThrowFromRecord<PersistentDataParameterNotFoundException>);
static const ExceptionRegistrar s_invalidPersistentDataTypeException(
    GUID_NULL, InvalidPersistentDataTypeException::Code, &ThrowFromRecord<InvalidPersistentDataTypeException>);
static const ExceptionRegistrar s_unknownPersistentDataException(GUID_NULL, UnknownPersistentDataException::Code,
                                                                 &ThrowFromRecord<UnknownPersistentDataException>);
static const ExceptionRegistrar s_persistentDataNotFoundException(GUID_NULL, PersistentDataNotFoundException::Code,
                                                                  &ThrowFromRecord<PersistentDataNotFoundException>);

// Configuration.
static const ExceptionRegistrar s_parameterNotFoundException(GUID_NULL, ParameterNotFoundException::Code,
                                                             &ThrowFromRecord<ParameterNotFoundException>);
static const ExceptionRegistrar s_invalidTypeException(GUID_NULL, InvalidTypeException::Code,
                                                       &ThrowFromRecord<InvalidTypeException>);
static const ExceptionRegistrar s_unknownConfigurationException(GUID_NULL, UnknownConfigurationException::Code,
                                                                &ThrowFromRecord<UnknownConfigurationException>);
static const ExceptionRegistrar s_configurationNotFoundException(GUID_NULL, ConfigurationNotFoundException::Code,
                                                                 &ThrowFromRecord<ConfigurationNotFoundException>);

// Persistency.
static const ExceptionRegistrar s_persistencyNotFound(GUID_NULL, PersistencyNotFound::Code,
                                                      &ThrowFromRecord<PersistencyNotFound>);
static const ExceptionRegistrar s_persistencyFailed(GUID_NULL, PersistencyFailed::Code,
                                                    &ThrowFromRecord<PersistencyFailed>);
static const ExceptionRegistrar s_persistencyClosed(GUID_NULL, PersistencyClosed::Code,
                                                    &ThrowFromRecord<PersistencyClosed>);
static const ExceptionRegistrar s_persistencyMoreData(GUID_NULL, PersistencyMoreData::Code,
                                                      &ThrowFromRecord<PersistencyMoreData>);
static const ExceptionRegistrar s_persistencyOtherType(GUID_NULL, PersistencyOtherType::Code,
                                                       &ThrowFromRecord<PersistencyOtherType>);
static const ExceptionRegistrar s_persistencyInvalid(GUID_NULL, PersistencyInvalid::Code,
                                                     &ThrowFromRecord<PersistencyInvalid>);
static const ExceptionRegistrar s_persistencyDenied(GUID_NULL, PersistencyDenied::Code,
                                                    &ThrowFromRecord<PersistencyDenied>);

} // namespace Registration

} // namespace Tessel
