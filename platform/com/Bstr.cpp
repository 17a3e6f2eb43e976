// BSTR, the counted text of COM interfaces: the byte length sits in front of the characters, and
// the text is terminated as well. Implementation here must contain only generic UNIX code.

#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "TesselPlatform/Com.h"

namespace {

// The length word in front of the text; a whole OLECHAR wide so that the text stays aligned.
using LengthPrefix = OLECHAR;
static_assert(sizeof(LengthPrefix) >= sizeof(UINT), "the prefix must hold a byte count");

LengthPrefix* PrefixOf(BSTR text)
{
    return reinterpret_cast<LengthPrefix*>(text) - 1;
}

BSTR Allocate(UINT length)
{
    // The largest length whose byte count still fits the prefix.
    if (length > (0xFFFFFFFFu / sizeof(OLECHAR)) - 1)
        return nullptr;
    void* block = std::malloc(sizeof(LengthPrefix) + (static_cast<std::size_t>(length) + 1) * sizeof(OLECHAR));
    if (block == nullptr)
        return nullptr;
    LengthPrefix* prefix = static_cast<LengthPrefix*>(block);
    const UINT bytes = length * static_cast<UINT>(sizeof(OLECHAR));
    std::memcpy(prefix, &bytes, sizeof(bytes));
    BSTR text = reinterpret_cast<BSTR>(prefix + 1);
    text[length] = 0;
    return text;
}

} // namespace

extern "C" {

BSTR WINAPI SysAllocString(const OLECHAR* psz)
{
    if (psz == nullptr)
        return nullptr;
    return SysAllocStringLen(psz, static_cast<UINT>(std::wcslen(psz)));
}

BSTR WINAPI SysAllocStringLen(const OLECHAR* strIn, UINT ui)
{
    BSTR text = Allocate(ui);
    if (text == nullptr)
        return nullptr;
    if (strIn != nullptr)
        std::memcpy(text, strIn, static_cast<std::size_t>(ui) * sizeof(OLECHAR));
    else
        std::memset(text, 0, static_cast<std::size_t>(ui) * sizeof(OLECHAR));
    return text;
}

void WINAPI SysFreeString(BSTR bstrString)
{
    if (bstrString != nullptr)
        std::free(PrefixOf(bstrString));
}

UINT WINAPI SysStringByteLen(BSTR bstr)
{
    if (bstr == nullptr)
        return 0;
    UINT bytes = 0;
    std::memcpy(&bytes, PrefixOf(bstr), sizeof(bytes));
    return bytes;
}

UINT WINAPI SysStringLen(BSTR pbstr)
{
    return SysStringByteLen(pbstr) / static_cast<UINT>(sizeof(OLECHAR));
}

} // extern "C"
