// Root names and key paths.

#include "KeyPath.h"

#include "AsciiText.h"

namespace Tessel::Reg {
namespace {

struct RootName {
    const wchar_t* Short;
    const wchar_t* Long;
    HKEY Key;
};

const RootName kRoots[] = {
    {L"HKLM", L"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
    {L"HKCU", L"HKEY_CURRENT_USER", HKEY_CURRENT_USER},
    {L"HKCR", L"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},
    {L"HKU", L"HKEY_USERS", HKEY_USERS},
    {L"HKCC", L"HKEY_CURRENT_CONFIG", HKEY_CURRENT_CONFIG},
};

const RootName* FindRoot(std::wstring_view name, bool allowShort)
{
    for (const RootName& root : kRoots) {
        if ((allowShort && EqualsIgnoringCase(name, root.Short)) || EqualsIgnoringCase(name, root.Long))
            return &root;
    }
    return nullptr;
}

std::optional<KeyPath> Parse(std::wstring_view text, bool allowShort)
{
    if (!text.empty() && text.back() == L'\\')
        text.remove_suffix(1);
    const size_t separator = text.find(L'\\');
    const RootName* root = FindRoot(text.substr(0, separator), allowShort);
    if (root == nullptr)
        return std::nullopt;

    KeyPath path;
    path.Root = root->Key;
    path.RootName = root->Long;
    if (separator == std::wstring_view::npos)
        return path;

    const std::wstring_view subKey = text.substr(separator + 1);
    // An empty component would name a key that cannot exist; the store would reject it with a
    // less helpful status.
    if (subKey.empty() || subKey.front() == L'\\' || subKey.back() == L'\\' ||
        subKey.find(L"\\\\") != std::wstring_view::npos)
        return std::nullopt;
    path.SubKey.assign(subKey);
    return path;
}

} // namespace

std::wstring KeyPath::FullName() const
{
    return SubKey.empty() ? RootName : RootName + L'\\' + SubKey;
}

KeyPath KeyPath::Child(std::wstring_view name) const
{
    KeyPath child = *this;
    if (!child.SubKey.empty())
        child.SubKey += L'\\';
    child.SubKey.append(name);
    return child;
}

std::optional<KeyPath> ParseKeyPath(std::wstring_view text)
{
    return Parse(text, true);
}

std::optional<KeyPath> ParseLongKeyPath(std::wstring_view text)
{
    return Parse(text, false);
}

} // namespace Tessel::Reg
