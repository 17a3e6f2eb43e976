// The COM stand-ins as a Windows caller uses them: BSTR, the error object with its two sides,
// and the thread's error object that only its first reader gets.

#define INITGUID
#include "TesselWin32.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

DEFINE_GUID(IID_TestDefined, 0x12345678, 0x9ABC, 0xDEF0, 0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF);

TEST(ComGuids, WellKnownValuesComparisonAndText)
{
    EXPECT_EQ(sizeof(GUID), 16u);
    const GUID supportErrorInfo = {0xDF0B3D60, 0x548F, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
    const GUID errorInfo = {0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
    EXPECT_TRUE(IsEqualGUID(IID_ISupportErrorInfo, supportErrorInfo));
    EXPECT_TRUE(IsEqualGUID(IID_IErrorInfo, errorInfo));
    EXPECT_TRUE(IID_TestDefined != GUID_NULL);
    EXPECT_EQ(IID_TestDefined.Data4[7], 0xEF);
    // Text is upper case in braces and needs its whole buffer.
    wchar_t text[40];
    EXPECT_EQ(StringFromGUID2(IID_TestDefined, text, 40), 39);
    EXPECT_STREQ(text, L"{12345678-9ABC-DEF0-0123-456789ABCDEF}");
    EXPECT_EQ(StringFromGUID2(GUID_NULL, text, 39), 39);
    EXPECT_STREQ(text, L"{00000000-0000-0000-0000-000000000000}");
    // Too small a buffer is left as it was.
    text[0] = L'x';
    EXPECT_EQ(StringFromGUID2(IID_TestDefined, text, 38), 0);
    EXPECT_EQ(text[0], L'x');
}

TEST(ComBstr, LengthTravelsWithTheText)
{
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0u);

    BSTR text = SysAllocString(L"Tessel");
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, L"Tessel");
    EXPECT_EQ(SysStringLen(text), 6u);
    EXPECT_EQ(SysStringByteLen(text), 6u * sizeof(OLECHAR));
    SysFreeString(text);

    BSTR blank = SysAllocStringLen(nullptr, 3);
    ASSERT_NE(blank, nullptr);
    EXPECT_EQ(SysStringLen(blank), 3u);
    EXPECT_EQ(blank[0], L'\0');
    EXPECT_EQ(blank[3], L'\0');
    SysFreeString(blank);
}

class ComErrorObjectTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        SetErrorInfo(0, nullptr);
        ASSERT_EQ(CreateErrorInfo(&m_writer), S_OK);
        ASSERT_NE(m_writer, nullptr);
        ASSERT_EQ(m_writer->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&m_reader)), S_OK);
    }
    void TearDown() override
    {
        m_reader->Release();
        m_writer->Release();
        SetErrorInfo(0, nullptr);
    }

    static std::wstring Read(HRESULT (STDMETHODCALLTYPE IErrorInfo::*getter)(BSTR*), IErrorInfo* object)
    {
        BSTR text = nullptr;
        EXPECT_EQ((object->*getter)(&text), S_OK);
        std::wstring result = text != nullptr ? std::wstring(text, SysStringLen(text)) : L"<null>";
        SysFreeString(text);
        return result;
    }

    ICreateErrorInfo* m_writer = nullptr;
    IErrorInfo* m_reader = nullptr;
};

TEST_F(ComErrorObjectTest, WriterSideFillsReaderSideOfOneObject)
{
    EXPECT_EQ(Read(&IErrorInfo::GetDescription, m_reader), L"<null>");
    wchar_t description[] = L"Denied 100%";
    wchar_t source[] = L"Tessel.Test";
    EXPECT_EQ(m_writer->SetDescription(description), S_OK);
    EXPECT_EQ(m_writer->SetSource(source), S_OK);
    EXPECT_EQ(m_writer->SetGUID(IID_TestDefined), S_OK);
    EXPECT_EQ(m_writer->SetHelpContext(17), S_OK);
    description[0] = L'X'; // the object keeps its own copy

    EXPECT_EQ(Read(&IErrorInfo::GetDescription, m_reader), L"Denied 100%");
    EXPECT_EQ(Read(&IErrorInfo::GetSource, m_reader), L"Tessel.Test");
    GUID guid = GUID_NULL;
    EXPECT_EQ(m_reader->GetGUID(&guid), S_OK);
    EXPECT_TRUE(IsEqualGUID(guid, IID_TestDefined));
    DWORD context = 0;
    EXPECT_EQ(m_reader->GetHelpContext(&context), S_OK);
    EXPECT_EQ(context, 17u);

    EXPECT_EQ(m_writer->SetDescription(nullptr), S_OK);
    EXPECT_EQ(Read(&IErrorInfo::GetDescription, m_reader), L"<null>");

    // Both sides are one object under the identity rule.
    IUnknown* fromWriter = nullptr;
    IUnknown* fromReader = nullptr;
    ASSERT_EQ(m_writer->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&fromWriter)), S_OK);
    ASSERT_EQ(m_reader->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&fromReader)), S_OK);
    EXPECT_EQ(fromWriter, fromReader);
    fromWriter->Release();
    fromReader->Release();
    void* none = reinterpret_cast<void*>(1);
    EXPECT_EQ(m_reader->QueryInterface(IID_ISupportErrorInfo, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(m_reader->QueryInterface(IID_IErrorInfo, nullptr), E_POINTER);
}

TEST_F(ComErrorObjectTest, ThreadsObjectGoesToItsFirstReaderOnly)
{
    IErrorInfo* taken = reinterpret_cast<IErrorInfo*>(1);
    EXPECT_EQ(GetErrorInfo(0, &taken), S_FALSE);
    EXPECT_EQ(taken, nullptr);

    EXPECT_EQ(SetErrorInfo(0, m_reader), S_OK);
    // Another thread has a slot of its own.
    std::thread other([] {
        IErrorInfo* elsewhere = nullptr;
        EXPECT_EQ(GetErrorInfo(0, &elsewhere), S_FALSE);
        EXPECT_EQ(elsewhere, nullptr);
    });
    other.join();

    EXPECT_EQ(GetErrorInfo(0, &taken), S_OK);
    EXPECT_EQ(taken, m_reader);
    // The reader owns the reference that the slot held: the fixture's two remain.
    EXPECT_EQ(taken->Release(), 2u);
    EXPECT_EQ(GetErrorInfo(0, &taken), S_FALSE);
    EXPECT_EQ(taken, nullptr);

    EXPECT_EQ(SetErrorInfo(0, m_reader), S_OK);
    EXPECT_EQ(SetErrorInfo(0, nullptr), S_OK);
    EXPECT_EQ(GetErrorInfo(0, &taken), S_FALSE);
}

TEST_F(ComErrorObjectTest, ThreadEndReleasesItsObject)
{
    std::thread([this] { SetErrorInfo(0, m_reader); }).join();
    m_reader->AddRef();
    EXPECT_EQ(m_reader->Release(), 2u); // writer and reader remain, the thread's reference is gone
}

} // namespace
