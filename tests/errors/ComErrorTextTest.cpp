// The text of COM failures: the line for a code, the text that a server leaves for its caller,
// and the guard that turns standard exceptions into the library's own.

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>

#include "Tessel/ComErrorText.h"
#include "Tessel/Exceptions.h"
#include "TestComObjects.h"
#include "common/SystemText.h"

namespace {

using namespace Tessel;
using TesselTest::ExpectThrown;
using TesselTest::kTestIid;

class ComErrorTextTest : public ::testing::Test {
protected:
    void SetUp() override { TesselTest::ClearThreadErrorObject(); }
    void TearDown() override { TesselTest::ClearThreadErrorObject(); }
};

struct CodeCase {
    ULONG code;
    const wchar_t* expected;
};

TEST(GetCOMErrorMessage, CodeInUpperCaseHexAndTheSystemsText)
{
    const CodeCase cases[] = {
        {0x80070005u, L"HRESULT 80070005: Access is denied."},
        {0x8007000Eu, L"HRESULT 8007000E: Not enough memory resources are available to complete this operation."},
        {0x80004005u, L"HRESULT 80004005: Unspecified error"},
        {0x8000FFFFu, L"HRESULT 8000FFFF: Catastrophic failure"},
        {1, L"HRESULT 1: Incorrect function."},
        {0, L"HRESULT 0: The operation completed successfully."},
        // No system text: the dispatch range has its own form, except at its base.
        {0x80040200u, L"HRESULT 80040200: Unknown error 0x80040200"},
        {0x80040201u, L"HRESULT 80040201: IDispatch error #1"},
        {0x8004FFFFu, L"HRESULT 8004FFFF: IDispatch error #65023"},
        {0x800401FFu, L"HRESULT 800401FF: Unknown error 0x800401FF"},
        {0x80050000u, L"HRESULT 80050000: Unknown error 0x80050000"},
        {0x12345u, L"HRESULT 12345: Unknown error 0x12345"},
    };
    for (const CodeCase& row : cases) {
        SCOPED_TRACE(row.code);
        EXPECT_EQ(GetCOMErrorMessage(static_cast<LONG>(row.code)), row.expected);
    }
}

TEST(GetCOMErrorMessage, LineEndOfTheSystemTextIsCut)
{
    struct Case {
        const wchar_t* text;
        const wchar_t* expected;
    };
    const Case cases[] = {
        {L"Text.\r\n", L"Text."}, {L"Text.\n", L"Text."},   {L"\n", L"\n"},         {L"\r\n", L""},
        {L"Text.\r", L"Text.\r"}, {L"Text. \n", L"Text. "}, {L"Text.\n\n", L"Text.\n"}, {L"", L""},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(row.text)));
        std::wstring text(row.text);
        text.resize(Detail::TrimSystemLineEnd(text.data(), text.size()));
        EXPECT_EQ(text, row.expected);
        EXPECT_EQ(std::wcslen(text.c_str()), text.size());
    }
}

TEST_F(ComErrorTextTest, CodeFormWhenNoTextIsAvailable)
{
    const CodeCase cases[] = {
        {0x80004005u, L"error 0x80004005"}, {5, L"error 0x000005"},
        {0, L"error 00000000"}, {0x7FFFFFFFu, L"error 0x7fffffff"},
    };
    for (const CodeCase& row : cases) {
        SCOPED_TRACE(row.code);
        EXPECT_EQ(GetErrorString(nullptr, kTestIid, static_cast<LONG>(row.code)), row.expected);
    }
}

TEST_F(ComErrorTextTest, ErrorObjectStaysUntilAnObjectVouchesForItsFirstReader)
{
    SetErrorCOM(L"left by the server", kTestIid);
    EXPECT_EQ(GetErrorString(nullptr, kTestIid, E_FAIL), L"error 0x80004005");
    EXPECT_TRUE(TesselTest::ThreadHasErrorObject());

    TesselTest::ServerObject noSupport(false, kTestIid);
    TesselTest::ServerObject answersFalse(true, kTestIid, S_FALSE);
    TesselTest::ServerObject otherInterface(true, TesselTest::kOtherIid);
    for (IUnknown* object : {static_cast<IUnknown*>(&noSupport), static_cast<IUnknown*>(&answersFalse),
                             static_cast<IUnknown*>(&otherInterface)}) {
        EXPECT_EQ(GetErrorString(object, kTestIid, E_FAIL), L"error 0x80004005");
        EXPECT_TRUE(TesselTest::ThreadHasErrorObject());
    }
    EXPECT_EQ(noSupport.References(), 1u);
    EXPECT_EQ(answersFalse.References(), 1u);

    // An object that vouches for it gives the text to its first reader only.
    SetErrorCOM(L"Value '%s' is 100% wrong", kTestIid);
    TesselTest::ServerObject server(true, kTestIid);
    EXPECT_EQ(GetErrorString(&server, kTestIid, E_FAIL), L"Value '%s' is 100% wrong");
    EXPECT_EQ(GetErrorString(&server, kTestIid, E_FAIL), L"error 0x80004005");
    EXPECT_EQ(server.References(), 1u);
}

TEST_F(ComErrorTextTest, SetErrorComLeavesDescriptionAndGuid)
{
    SetErrorCOM(nullptr, kTestIid);
    IErrorInfo* info = nullptr;
    ASSERT_EQ(GetErrorInfo(0, &info), S_OK);
    ASSERT_NE(info, nullptr);
    BSTR description = nullptr;
    EXPECT_EQ(info->GetDescription(&description), S_OK);
    EXPECT_EQ(SysStringLen(description), 0u);
    SysFreeString(description);
    GUID guid = GUID_NULL;
    EXPECT_EQ(info->GetGUID(&guid), S_OK);
    EXPECT_TRUE(IsEqualGUID(guid, kTestIid));
    info->Release();

    // Through the reader's side, an empty description is an empty result.
    SetErrorCOM(nullptr, kTestIid);
    TesselTest::ServerObject server(true, kTestIid);
    EXPECT_EQ(GetErrorString(&server, kTestIid, E_FAIL), L"");
}

// An object whose question about error info fails in the way the test chooses.
template <class Failure>
class ThrowingServer final : public ISupportErrorInfo {
public:
    explicit ThrowingServer(Failure failure) : m_failure(failure) {}
    virtual ~ThrowingServer() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** ppvObject) override
    {
        *ppvObject = static_cast<ISupportErrorInfo*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override { return --m_references; }
    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID) override { throw m_failure; }
    ULONG References() const { return m_references; }

private:
    Failure m_failure;
    ULONG m_references = 1;
};

TEST_F(ComErrorTextTest, StandardExceptionsBecomeTheLibrarysOwn)
{
    ThrowingServer<std::bad_alloc> outOfMemory{std::bad_alloc()};
    ExpectThrown<OutOfMemory>([&] { GetErrorString(&outOfMemory, kTestIid, E_FAIL); }, [](const OutOfMemory& error) {
        EXPECT_EQ(std::wstring(error.GetDescription()),
                  std::wstring(L"STD Bad-alloc catched in Tessel::GetErrorString. std::bad_alloc"));
    });
    EXPECT_EQ(outOfMemory.References(), 1u);

    ThrowingServer<std::runtime_error> standard{std::runtime_error("broken 50%")};
    ExpectThrown<Unexpected>([&] { GetErrorString(&standard, kTestIid, E_FAIL); }, [](const Unexpected& error) {
        EXPECT_STREQ(error.GetDescription(), L"STD exception caught in Tessel::GetErrorString. broken 50%.");
        EXPECT_STREQ(error.what(), "STD exception caught in Tessel::GetErrorString. broken 50%.");
    });
    EXPECT_EQ(standard.References(), 1u);

    ThrowingServer<AccessDenied> own{AccessDenied(L"own")};
    ExpectThrown<ExceptionBase>([&] { GetErrorString(&own, kTestIid, E_FAIL); }, [](const ExceptionBase& error) {
        EXPECT_EQ(typeid(error), typeid(AccessDenied));
        EXPECT_STREQ(error.GetDescription(), L"own");
    });

    ThrowingServer<int> other{42};
    EXPECT_THROW(GetErrorString(&other, kTestIid, E_FAIL), int);
    EXPECT_EQ(other.References(), 1u);
}

} // namespace
