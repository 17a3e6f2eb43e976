// VarUI4FromStr over arbitrary text: a status from its documented set, and on success a number
// that the text's digits give. A crash, a sanitizer report or a broken rule is a finding.

#include <cstdint>

#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::wstring text = Fuzz::WideText(data, size);
    ULONG value = 0xA5A5A5A5u;
    const HRESULT hr = VarUI4FromStr(text.c_str(), 0, 0, &value);
    if (hr != S_OK && hr != DISP_E_TYPEMISMATCH && hr != DISP_E_OVERFLOW)
        std::abort();
    // Digits alone always convert, or overflow.
    if (!text.empty() && text.size() < 9 && text.find_first_not_of(L"0123456789") == std::wstring::npos &&
        (hr != S_OK || value != std::wcstoul(text.c_str(), nullptr, 10)))
        std::abort();
    if (VarUI4FromStr(nullptr, 0, 0, &value) != E_INVALIDARG || VarUI4FromStr(text.c_str(), 0, 0, nullptr) != E_INVALIDARG)
        std::abort();
    return 0;
}
