// The registry key behind a reader or a writer: the resolved location, the open key, and every
// read of a parameter with its checks, conversions and messages, told once for both sides, which
// differ only in the table of four exception classes that they hand in.
#pragma once

#include <string>
#include <vector>

#include "TesselWin32.h"

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

// A plain holder of one dataset. It owns its key and changes nothing after construction except
// through the writer's re-open, so that const operations can run on several threads at once.
//
// Every fetch takes (name, value, required, strict): a missing parameter leaves value untouched
// when required is false, and a stored type other than the expected one is an error when strict
// is true. value is written only when the whole read has succeeded.
//
// The members live in RegistryDataset.cpp, but for the conversions, splitting and trimming
// (ValueConversion.cpp) and the listing and sub dataset names (DatasetNavigation.cpp).
struct RegistryDataset {
    static constexpr DWORD kValueCapacity = 32600; // bytes of text per read; not 32 KiB
    static constexpr DWORD kNumberCapacity = 8;    // bytes offered for a REG_DWORD
    static constexpr REGSAM kReadAccess = KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS;
    static constexpr REGSAM kWriteAccess = KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_ENUMERATE_SUB_KEYS; // 0xB
    static constexpr const wchar_t* kListSeparators = L",;";

    // Resolves the location and opens its key for reading. When the key cannot be opened, throws
    // the dataset-not-found class if mustExist is true, and otherwise leaves the key closed, so
    // that the dataset reads as an empty one.
    RegistryDataset(const std::wstring& location, ULONG regOverride, bool mustExist, const DatasetPolicy& policy);
    ~RegistryDataset();
    RegistryDataset(const RegistryDataset&) = delete;
    RegistryDataset& operator=(const RegistryDataset&) = delete;

    void Close();

    // Gives the predefined root of the location and moves the rest into subKey. A location with a
    // backslash must start with one of the twelve upper-case root keywords; one without names a
    // key below HKEY_LOCAL_MACHINE.
    HKEY ResolveRoot(const std::wstring& location, std::wstring& subKey) const;

    // Turns a status of the store into true (use the value), false (leave the default) or the
    // policy's exception.
    bool CheckValueResult(LONG status, const std::wstring& name, bool required, bool strict) const;

    void FetchString(const std::wstring& name, std::wstring& value, bool required, bool strict) const;
    void FetchUInt(const std::wstring& name, unsigned int& value, bool required, bool strict) const;
    void FetchInt(const std::wstring& name, int& value, bool required, bool strict) const;
    void FetchDouble(const std::wstring& name, double& value, bool required, bool strict) const;
    void FetchBool(const std::wstring& name, bool& value, bool required, bool strict) const;
    void FetchIntList(const std::wstring& name, std::vector<int>& value, bool required, bool strict) const;
    void FetchUIntList(const std::wstring& name, std::vector<unsigned int>& value, bool required, bool strict) const;
    void FetchDoubleList(const std::wstring& name, std::vector<double>& value, bool required, bool strict) const;
    void FetchBoolList(const std::wstring& name, std::vector<bool>& value, bool required, bool strict) const;
    void FetchStringList(const std::wstring& name, std::vector<std::wstring>& value, bool required,
                         bool strict) const;
    // Text if the parameter is REG_SZ, else the REG_DWORD number; only the second query's status
    // is reported.
    void FetchDoubleCoerced(const std::wstring& name, double& value, bool required, bool strict) const;
    void FetchStringCoerced(const std::wstring& name, std::wstring& value, bool required, bool strict) const;

    // Whole-text conversions with 32-bit ranges; failures raise the policy's invalid-type class.
    int ToInt(const std::wstring& text) const;
    unsigned int ToUInt(const std::wstring& text) const;
    double ToDouble(const std::wstring& text) const;
    bool ToBool(const std::wstring& text) const;

    // Items between runs of separators; leading, trailing and repeated separators give no item.
    static std::vector<std::wstring> SplitList(const std::wstring& text, const std::wstring& separators);
    static std::vector<std::wstring> TrimAll(const std::vector<std::wstring>& items);
    // Trims what iswspace holds for, under the process's locale.
    static std::wstring TrimIsSpace(const std::wstring& text);

    // Names of the direct subkeys and of the values, in the store's order. Failures only shorten
    // the result; a closed key gives an empty one.
    std::vector<std::wstring> EnumerateSubKeys() const;
    std::vector<std::wstring> EnumerateValues() const;

    // The stored spelling of the direct subkey that matches subName without regard to case.
    bool FindSubKey(const std::wstring& subName, std::wstring& storedName) const;
    // The location of a direct subkey: the path, a backslash unless it ends in one, the name.
    std::wstring SubDatasetLocation(const std::wstring& storedName) const;
    // The last component of m_subKey, one trailing backslash ignored.
    std::wstring LastSubKeyComponent() const;

    // The writer's side. EnsureWritable opens the key for writing, creating it and every missing
    // key above it, unless that has been done already; on failure it throws the dataset-not-found
    // class with "Cannot open " and the sub key, and leaves the key closed. DeleteKeyTree removes
    // subPath below parent with all its subkeys, children first, in this dataset's view; it gives
    // the first non-zero status and throws nothing.
    void EnsureWritable();
    LONG DeleteKeyTree(HKEY parent, const wchar_t* subPath) const;

    std::wstring m_path;    // the location as given; messages quote it
    HKEY m_root;            // the predefined root
    std::wstring m_subKey;  // the path below the root, without the root keyword
    HKEY m_key;             // owned; null when closed
    ULONG m_regOverride;    // view flags for every open and create
    bool m_writable;        // set by the writer once it has re-opened the key for writing

private:
    struct TextValue;

    // Queries into the fixed buffer and reports a stored type other than expectedType as
    // ERROR_INVALID_DATATYPE. Returns CheckValueResult's verdict.
    LONG QueryText(const std::wstring& name, TextValue& text) const;
    bool FetchText(const std::wstring& name, DWORD expectedType, bool required, bool strict, TextValue& text) const;
    LONG QueryNumber(const std::wstring& name, unsigned int& number) const;
    std::vector<std::wstring> EnumerateNames(bool subKeys) const;

    template <class Item, class Convert>
    void FetchList(const std::wstring& name, std::vector<Item>& value, bool required, bool strict,
                   Convert convert) const;

    const DatasetPolicy* m_policy;
};

} // namespace Tessel::Detail
