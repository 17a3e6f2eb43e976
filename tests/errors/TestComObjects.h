// COM objects for the tests, written as a client writes them on Windows: a called object that
// may or may not vouch for the thread's error object, and an error object whose reading fails.
#pragma once

#include <gtest/gtest.h>

#include <atomic>

#include "TesselWin32.h"

namespace TesselTest {

// A called server object. With support on, it implements ISupportErrorInfo and answers
// `answer` for `supportedIid`, S_FALSE for any other interface.
class ServerObject final : public ISupportErrorInfo {
public:
    ServerObject(bool supportsErrorInfo, const IID& supportedIid, HRESULT answer = S_OK)
        : m_supportsErrorInfo(supportsErrorInfo), m_supportedIid(supportedIid), m_answer(answer)
    {
    }
    virtual ~ServerObject() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override
    {
        if (ppvObject == nullptr)
            return E_POINTER;
        *ppvObject = nullptr;
        if (IsEqualGUID(riid, IID_IUnknown) || (m_supportsErrorInfo && IsEqualGUID(riid, IID_ISupportErrorInfo))) {
            *ppvObject = static_cast<ISupportErrorInfo*>(this);
            AddRef();
            return S_OK;
        }
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override { return --m_references; }

    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID riid) override
    {
        ++m_supportQuestions;
        return IsEqualGUID(riid, m_supportedIid) ? m_answer : S_FALSE;
    }

    // The object lives on the test's stack: every reference handed out must have come back.
    ULONG References() const { return m_references; }
    int SupportQuestions() const { return m_supportQuestions; }

private:
    bool m_supportsErrorInfo;
    IID m_supportedIid;
    HRESULT m_answer;
    std::atomic<ULONG> m_references{1};
    int m_supportQuestions = 0;
};

// An error object whose GetDescription gives back `result` and, for a failure, still hands out
// a text that the caller must free.
class ScriptedErrorInfo final : public IErrorInfo {
public:
    ScriptedErrorInfo(HRESULT result, const wchar_t* text) : m_result(result), m_text(text) {}
    virtual ~ScriptedErrorInfo() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override
    {
        if (ppvObject == nullptr)
            return E_POINTER;
        *ppvObject = nullptr;
        if (IsEqualGUID(riid, IID_IUnknown) || IsEqualGUID(riid, IID_IErrorInfo)) {
            *ppvObject = static_cast<IErrorInfo*>(this);
            AddRef();
            return S_OK;
        }
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override { return --m_references; }

    HRESULT STDMETHODCALLTYPE GetGUID(GUID* pGUID) override
    {
        *pGUID = GUID_NULL;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetSource(BSTR* pBstrSource) override
    {
        *pBstrSource = nullptr;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetDescription(BSTR* pBstrDescription) override
    {
        *pBstrDescription = SysAllocString(m_text);
        return m_result;
    }
    HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* pBstrHelpFile) override
    {
        *pBstrHelpFile = nullptr;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* pdwHelpContext) override
    {
        *pdwHelpContext = 0;
        return S_OK;
    }

    ULONG References() const { return m_references; }

private:
    HRESULT m_result;
    const wchar_t* m_text;
    std::atomic<ULONG> m_references{1};
};

// The IID of an interface that only these tests know.
inline const IID kTestIid = {0x6B1E0C57, 0x2F4A, 0x4D8E, {0x9A, 0x31, 0x5C, 0x7B, 0x0D, 0x42, 0xE8, 0x19}};
inline const IID kOtherIid = {0x0D3F9A21, 0x77C2, 0x4B05, {0x8E, 0x16, 0x3A, 0x90, 0x5B, 0xC4, 0x21, 0x6F}};

// Whether the thread still holds an error object; takes it and puts it back.
inline bool ThreadHasErrorObject()
{
    IErrorInfo* object = nullptr;
    GetErrorInfo(0, &object);
    if (object == nullptr)
        return false;
    SetErrorInfo(0, object);
    object->Release();
    return true;
}

// Runs `call`, which must throw `Expected`, and hands what it threw to `check`.
template <class Expected, class Call, class Check>
void ExpectThrown(Call call, Check check)
{
    try {
        call();
        ADD_FAILURE() << "nothing thrown";
    } catch (const Expected& error) {
        check(error);
    }
}

// Clears the thread's error object, so that a test starts without one.
inline void ClearThreadErrorObject()
{
    SetErrorInfo(0, nullptr);
}

} // namespace TesselTest
