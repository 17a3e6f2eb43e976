// The reader's and the writer's exception tables.

#include "config/DatasetPolicy.h"

#include <exception>

#include "Tessel/Exceptions.h"

namespace Tessel::Detail {

namespace {

template <class Exception>
void ThrowAs(const wchar_t* format, const wchar_t* first, const wchar_t* second)
{
    if (format == nullptr)
        throw Exception(static_cast<const wchar_t*>(nullptr));
    throw Exception(format, first, second);
}

} // namespace

const DatasetPolicy& ReaderPolicy()
{
    static const DatasetPolicy policy = {
        &ThrowAs<ConfigurationNotFoundException>,
        &ThrowAs<ParameterNotFoundException>,
        &ThrowAs<InvalidTypeException>,
        &ThrowAs<UnknownConfigurationException>,
    };
    return policy;
}

const DatasetPolicy& WriterPolicy()
{
    static const DatasetPolicy policy = {
        &ThrowAs<PersistentDataNotFoundException>,
        &ThrowAs<PersistentDataParameterNotFoundException>,
        &ThrowAs<InvalidPersistentDataTypeException>,
        &ThrowAs<UnknownPersistentDataException>,
    };
    return policy;
}

void Raise(DatasetThrower thrower, const wchar_t* format, const wchar_t* first, const wchar_t* second)
{
    thrower(format, first, second);
    std::terminate(); // unreachable: every thrower throws
}

} // namespace Tessel::Detail
