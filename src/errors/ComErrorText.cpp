// The text of COM failures: GetCOMErrorMessage from the system's message table, GetErrorString
// from the thread's error object, and SetErrorCOM, which leaves such an object for a caller.

#include "Tessel/ComErrorText.h"

#include <cwchar>
#include <memory>
#include <new>
#include <sstream>

#include "ComReference.h"
#include "Tessel/Exceptions.h"
#include "common/SystemText.h"

namespace Tessel {

using Detail::ComReference;
using Detail::LocalText;

namespace {

// The first and last codes of the range that dispatch interfaces use for their own errors.
constexpr ULONG kDispatchErrorFirst = 0x80040200u;
constexpr ULONG kDispatchErrorLast = 0x8004FFFFu;
constexpr ULONG kDispatchErrorBase = 0x0200u;
constexpr std::size_t kFallbackTextSize = 32;
constexpr std::size_t kCodeTextSize = 128;

struct BstrDeleter {
    void operator()(OLECHAR* text) const noexcept { SysFreeString(text); }
};

// The system's text for code in the user's language, without the line end that the system puts
// after it.
bool FetchTrimmedSystemText(LONG code, LocalText& text)
{
    if (!Detail::FetchSystemText(static_cast<DWORD>(code), Detail::kSystemTextUserDefaultLanguage, text))
        return false;
    Detail::TrimSystemLineEnd(text.Get(), std::wcslen(text.Get()));
    return true;
}

// The library's own words for a code that the system has no text for.
void MakeFallbackText(LONG code, LocalText& text)
{
    text.Allocate(kFallbackTextSize);
    if (text.Get() == nullptr)
        return;
    const ULONG unsignedCode = static_cast<ULONG>(code);
    const ULONG low = unsignedCode & 0xFFFFu;
    if (unsignedCode >= kDispatchErrorFirst && unsignedCode <= kDispatchErrorLast && low != kDispatchErrorBase)
        swprintf_s(text.Get(), kFallbackTextSize, L"IDispatch error #%d", static_cast<int>(low - kDispatchErrorBase));
    else
        swprintf_s(text.Get(), kFallbackTextSize, L"Unknown error 0x%0lX", code);
}

} // namespace

std::wstring GetCOMErrorMessage(LONG code)
{
    std::wostringstream stream;
    stream << L"HRESULT " << std::hex << std::uppercase << code << L": ";
    LocalText text;
    if (!FetchTrimmedSystemText(code, text))
        MakeFallbackText(code, text);
    if (text.Get() != nullptr)
        stream << text.Get();
    return stream.str();
}

std::wstring GetErrorString(IUnknown* object, const GUID& iid, LONG code)
try {
    ComReference<ISupportErrorInfo> support;
    if (object != nullptr && FAILED(object->QueryInterface(IID_ISupportErrorInfo, support.ReceiveVoid())))
        support.Reset();
    if (support && support->InterfaceSupportsErrorInfo(iid) == S_OK) {
        ComReference<IErrorInfo> errorObject;
        if (SUCCEEDED(GetErrorInfo(0, errorObject.Receive())) && errorObject) {
            BSTR raw = nullptr;
            const HRESULT read = errorObject->GetDescription(&raw);
            // Freed on every way out, also when the read failed but left a text behind.
            const std::unique_ptr<OLECHAR, BstrDeleter> description(raw);
            if (SUCCEEDED(read))
                return description ? std::wstring(description.get(), SysStringLen(description.get())) : std::wstring();
        }
    }
    wchar_t buffer[kCodeTextSize];
    swprintf_s(buffer, kCodeTextSize, L"error %#08x", code);
    return buffer;
} catch (const ExceptionBase&) {
    throw;
} catch (const std::bad_alloc& failure) {
    throw OutOfMemory(L"STD Bad-alloc catched in %S. %S", "Tessel::GetErrorString", failure.what());
} catch (const std::exception& failure) {
    throw Unexpected(L"STD exception caught in %S. %S.", "Tessel::GetErrorString", failure.what());
}

void SetErrorCOM(const wchar_t* description, const GUID& iid)
{
    ComReference<ICreateErrorInfo> writer;
    if (FAILED(CreateErrorInfo(writer.Receive())) || !writer)
        return;
    BSTR copy = SysAllocString(description);
    writer->SetDescription(copy);
    SysFreeString(copy);
    writer->SetGUID(iid);
    ComReference<IErrorInfo> reader;
    if (FAILED(writer->QueryInterface(IID_IErrorInfo, reader.ReceiveVoid())))
        reader.Reset();
    SetErrorInfo(0, reader.Get());
}

} // namespace Tessel
