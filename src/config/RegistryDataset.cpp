// The reader's and the writer's exception tables, opening a dataset, mapping the store's
// statuses, the reads of text and numbers, and the writer's side: re-opening the key for writing
// and removing a key tree children first.

#include "config/RegistryDataset.h"

#include <cstdint>
#include <cstring>
#include <exception>
#include <string>
#include <utility>

#include "Tessel/Exceptions.h"
#include "common/Utf16Data.h"

namespace Tessel::Detail {

namespace {

template <class Exception>
void ThrowAs(const wchar_t* format, const wchar_t* first, const wchar_t* second)
{
    if (format == nullptr)
        throw Exception(static_cast<const wchar_t*>(nullptr));
    throw Exception(format, first, second);
}

// DELETE | KEY_ENUMERATE_SUB_KEYS: enough to list the children and remove the key itself.
constexpr REGSAM kDeleteTreeAccess = 0x10008;

// Registry key names have at most 255 characters; a longer one gives the status of the store.
constexpr DWORD kKeyNameCapacity = 256;

struct RootKeyword {
    const wchar_t* keyword;
    HKEY root;
};

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

// The raw bytes of one query. It lives on the caller's stack, so that a read allocates nothing
// before the data is known to be usable.
struct RegistryDataset::TextValue {
    alignas(8) BYTE bytes[kValueCapacity];
    DWORD size;
    DWORD type;

    // Up to the first NUL or the end of the data, whichever comes first.
    std::wstring Text() const { return WideTextFromUtf16(bytes, size); }
    // The same into value, built in place: the read path's string is made once, not moved.
    void TextInto(std::wstring& value) const { AssignWideFromUtf16Units(value, bytes, size / 2, true); }

    // The same in a string that each thread keeps, for the reads that only parse the text: they
    // allocate nothing once their thread has read a text as long, and a thread keeps at most one
    // read buffer's worth. Valid until the thread's next such read.
    const std::wstring& ParsedText() const
    {
        thread_local std::wstring scratch;
        TextInto(scratch);
        return scratch;
    }
};

RegistryDataset::RegistryDataset(const std::wstring& location, ULONG regOverride, bool mustExist,
                                 const DatasetPolicy& policy)
    : m_path(location),
      m_root(HKEY_LOCAL_MACHINE),
      m_key(nullptr),
      m_regOverride(regOverride),
      m_writable(false),
      m_policy(&policy)
{
    m_root = ResolveRoot(m_path, m_subKey);
    HKEY key = nullptr;
    if (RegOpenKeyExW(m_root, m_subKey.c_str(), 0, m_regOverride | kReadAccess, &key) == ERROR_SUCCESS) {
        m_key = key;
        return;
    }
    if (mustExist)
        Raise(m_policy->datasetNotFound, L"%s", m_subKey.c_str());
}

RegistryDataset::~RegistryDataset()
{
    Close();
}

void RegistryDataset::Close()
{
    if (m_key != nullptr) {
        RegCloseKey(m_key);
        m_key = nullptr;
    }
}

HKEY RegistryDataset::ResolveRoot(const std::wstring& location, std::wstring& subKey) const
{
    static const RootKeyword kRoots[] = {
        {L"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE}, {L"HKLM", HKEY_LOCAL_MACHINE},
        {L"HKEY_CURRENT_USER", HKEY_CURRENT_USER},   {L"HKCU", HKEY_CURRENT_USER},
        {L"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},   {L"HKCR", HKEY_CLASSES_ROOT},
        {L"HKEY_CURRENT_CONFIG", HKEY_CURRENT_CONFIG}, {L"HKCC", HKEY_CURRENT_CONFIG},
        {L"HKEY_USERS", HKEY_USERS},                 {L"HKU", HKEY_USERS},
        {L"HKEY_DYN_DATA", HKEY_DYN_DATA},           {L"HKDD", HKEY_DYN_DATA},
    };

    const std::wstring::size_type backslash = location.find(L'\\');
    if (backslash == std::wstring::npos) {
        // Without a backslash even a keyword is only a key name below the default root.
        subKey = location;
        return HKEY_LOCAL_MACHINE;
    }
    subKey = location.substr(backslash + 1);
    for (const RootKeyword& entry : kRoots) {
        if (location.compare(0, backslash, entry.keyword) == 0)
            return entry.root;
    }
    Raise(m_policy->unknown, nullptr);
}

bool RegistryDataset::CheckValueResult(LONG status, const std::wstring& name, bool required, bool strict) const
{
    switch (status) {
    case ERROR_SUCCESS:
        return true;
    case ERROR_MORE_DATA:
        // Never hidden by a default: the value exists, it is only too large for any read.
        Raise(m_policy->unknown, L"Failed to read value '%s' from registry key '%s'. Supplied buffer too small.",
              name.c_str(), m_path.c_str());
    case ERROR_FILE_NOT_FOUND:
    case ERROR_INVALID_HANDLE: // a closed key: the writer's dataset that does not exist yet
        if (!required)
            return false;
        Raise(m_policy->parameterNotFound, L"Parameter '%s' not found in registry key '%s'.", name.c_str(),
              m_path.c_str());
    case ERROR_INVALID_DATATYPE:
        if (!strict)
            return false;
        Raise(m_policy->invalidType, L"Datatype of value '%s' in registry key '%s' differs from expected datatype.",
              name.c_str(), m_path.c_str());
    default:
        Raise(m_policy->unknown, L"Unknown error occurs on access value '%s' in registry key '%s'", name.c_str(),
              m_path.c_str());
    }
}

LONG RegistryDataset::QueryText(const std::wstring& name, TextValue& text) const
{
    text.type = 0;
    text.size = kValueCapacity;
    return RegQueryValueExW(m_key, name.c_str(), nullptr, &text.type, text.bytes, &text.size);
}

bool RegistryDataset::FetchText(const std::wstring& name, DWORD expectedType, bool required, bool strict,
                                TextValue& text) const
{
    LONG status = QueryText(name, text);
    if (status == ERROR_SUCCESS && text.type != expectedType)
        status = ERROR_INVALID_DATATYPE;
    // The common case without a call: CheckValueResult has work only for a failure.
    return status == ERROR_SUCCESS || CheckValueResult(status, name, required, strict);
}

LONG RegistryDataset::QueryNumber(const std::wstring& name, unsigned int& number) const
{
    // Eight bytes are offered although a REG_DWORD has four: text of up to eight bytes is then
    // reported as the wrong type, longer text as too large.
    alignas(8) BYTE bytes[kNumberCapacity] = {};
    DWORD type = 0;
    DWORD size = kNumberCapacity;
    LONG status = RegQueryValueExW(m_key, name.c_str(), nullptr, &type, bytes, &size);
    if (status == ERROR_SUCCESS && type != REG_DWORD)
        status = ERROR_INVALID_DATATYPE;
    std::uint32_t raw = 0;
    std::memcpy(&raw, bytes, sizeof raw);
    number = raw;
    return status;
}

void RegistryDataset::FetchString(const std::wstring& name, std::wstring& value, bool required, bool strict) const
{
    TextValue text;
    if (FetchText(name, REG_SZ, required, strict, text))
        text.TextInto(value);
}

void RegistryDataset::FetchUInt(const std::wstring& name, unsigned int& value, bool required, bool strict) const
{
    unsigned int number = 0;
    const LONG status = QueryNumber(name, number);
    if (status == ERROR_SUCCESS || CheckValueResult(status, name, required, strict))
        value = number;
}

void RegistryDataset::FetchInt(const std::wstring& name, int& value, bool required, bool strict) const
{
    TextValue text;
    if (FetchText(name, REG_SZ, required, strict, text))
        value = ToInt(text.ParsedText());
}

void RegistryDataset::FetchDouble(const std::wstring& name, double& value, bool required, bool strict) const
{
    TextValue text;
    if (FetchText(name, REG_SZ, required, strict, text))
        value = ToDouble(text.ParsedText());
}

void RegistryDataset::FetchBool(const std::wstring& name, bool& value, bool required, bool strict) const
{
    TextValue text;
    if (FetchText(name, REG_SZ, required, strict, text))
        value = ToBool(text.ParsedText());
}

template <class Item, class Convert>
void RegistryDataset::FetchList(const std::wstring& name, std::vector<Item>& value, bool required, bool strict,
                                Convert convert) const
{
    TextValue text;
    if (!FetchText(name, REG_SZ, required, strict, text))
        return;
    const std::vector<std::wstring> items = TrimAll(SplitList(text.Text(), kListSeparators));
    std::vector<Item> result;
    result.reserve(items.size());
    for (const std::wstring& item : items)
        result.push_back(convert(item));
    value = std::move(result);
}

void RegistryDataset::FetchIntList(const std::wstring& name, std::vector<int>& value, bool required,
                                   bool strict) const
{
    FetchList(name, value, required, strict, [this](const std::wstring& item) { return ToInt(item); });
}

void RegistryDataset::FetchUIntList(const std::wstring& name, std::vector<unsigned int>& value, bool required,
                                    bool strict) const
{
    FetchList(name, value, required, strict, [this](const std::wstring& item) { return ToUInt(item); });
}

void RegistryDataset::FetchDoubleList(const std::wstring& name, std::vector<double>& value, bool required,
                                      bool strict) const
{
    FetchList(name, value, required, strict, [this](const std::wstring& item) { return ToDouble(item); });
}

void RegistryDataset::FetchBoolList(const std::wstring& name, std::vector<bool>& value, bool required,
                                    bool strict) const
{
    FetchList(name, value, required, strict, [this](const std::wstring& item) { return ToBool(item); });
}

void RegistryDataset::FetchStringList(const std::wstring& name, std::vector<std::wstring>& value, bool required,
                                      bool strict) const
{
    TextValue text;
    if (!FetchText(name, REG_MULTI_SZ, required, strict, text))
        return;
    // The first empty string ends the list, as does the end of the data.
    std::vector<std::wstring> result;
    const size_t units = text.size / 2;
    size_t start = 0;
    while (start < units) {
        size_t end = start;
        while (end < units && (text.bytes[2 * end] != 0 || text.bytes[2 * end + 1] != 0))
            ++end;
        if (end == start)
            break;
        result.push_back(WideFromUtf16(text.bytes + 2 * start, 2 * (end - start)));
        start = end + 1;
    }
    value = std::move(result);
}

void RegistryDataset::FetchDoubleCoerced(const std::wstring& name, double& value, bool required, bool strict) const
{
    {
        TextValue text;
        if (QueryText(name, text) == ERROR_SUCCESS && text.type == REG_SZ) {
            value = ToDouble(TrimIsSpace(text.Text()));
            return;
        }
    }
    unsigned int number = 0;
    if (CheckValueResult(QueryNumber(name, number), name, required, strict))
        value = static_cast<double>(number);
}

void RegistryDataset::FetchStringCoerced(const std::wstring& name, std::wstring& value, bool required,
                                         bool strict) const
{
    {
        TextValue text;
        if (QueryText(name, text) == ERROR_SUCCESS && text.type == REG_SZ) {
            value = text.Text();
            return;
        }
    }
    unsigned int number = 0;
    if (CheckValueResult(QueryNumber(name, number), name, required, strict))
        value = std::to_wstring(number);
}

void RegistryDataset::EnsureWritable()
{
    if (m_writable)
        return;
    // A key opened for reading can't be upgraded: it is closed, and a failure below leaves the
    // dataset closed, so that a writer without write rights loses its reads as well.
    Close();
    HKEY key = nullptr;
    const LONG status = RegCreateKeyExW(m_root, m_subKey.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                        m_regOverride | kWriteAccess, nullptr, &key, nullptr);
    if (status != ERROR_SUCCESS)
        Raise(m_policy->datasetNotFound, L"Cannot open %s", m_subKey.c_str());
    m_key = key;
    m_writable = true;
}

LONG RegistryDataset::DeleteKeyTree(HKEY parent, const wchar_t* subPath) const
{
    if (subPath == nullptr || *subPath == L'\0')
        return ERROR_BADKEY;
    HKEY key = nullptr;
    LONG status = RegOpenKeyExW(parent, subPath, 0, m_regOverride | kDeleteTreeAccess, &key);
    if (status != ERROR_SUCCESS)
        return status;
    for (;;) {
        // Always index 0: every pass removes the first child, and the next one moves up.
        wchar_t child[kKeyNameCapacity];
        DWORD capacity = kKeyNameCapacity;
        status = RegEnumKeyExW(key, 0, child, &capacity, nullptr, nullptr, nullptr, nullptr);
        if (status == ERROR_NO_MORE_ITEMS) {
            status = RegDeleteKeyW(parent, subPath);
            break;
        }
        if (status != ERROR_SUCCESS)
            break;
        status = DeleteKeyTree(key, child);
        if (status != ERROR_SUCCESS)
            break;
    }
    RegCloseKey(key);
    return status;
}

} // namespace Tessel::Detail
