// The four exception classes through which a dataset reports failures. The reader and the writer
// run the same dataset code and differ only in the table they hand it.
#pragma once

namespace Tessel::Detail {

// Throws one class of a policy. A null format keeps the class's default text; otherwise the
// format takes up to two wide strings. Never returns.
using DatasetThrower = void (*)(const wchar_t* format, const wchar_t* first, const wchar_t* second);

struct DatasetPolicy {
    DatasetThrower datasetNotFound;
    DatasetThrower parameterNotFound;
    DatasetThrower invalidType;  // wrong stored type, or text that does not convert
    DatasetThrower unknown;      // every other failure
};

// ConfigurationNotFoundException, ParameterNotFoundException, InvalidTypeException,
// UnknownConfigurationException.
const DatasetPolicy& ReaderPolicy();

// PersistentDataNotFoundException, PersistentDataParameterNotFoundException,
// InvalidPersistentDataTypeException, UnknownPersistentDataException.
const DatasetPolicy& WriterPolicy();

// Calls a thrower; for the compiler's sake it is marked as not returning.
[[noreturn]] void Raise(DatasetThrower thrower, const wchar_t* format, const wchar_t* first = nullptr,
                        const wchar_t* second = nullptr);

} // namespace Tessel::Detail
