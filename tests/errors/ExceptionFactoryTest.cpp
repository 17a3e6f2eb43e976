// The library's registry after start-up, the key orderings, and the translation of a failed call
// into its class, with and without the failing object's error info.

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "Tessel/ComErrorText.h"
#include "Tessel/Exceptions.h"
#include "TestComObjects.h"

namespace {

using namespace Tessel;
using TesselTest::ExpectThrown;
using TesselTest::kOtherIid;
using TesselTest::kTestIid;

class ExceptionFactoryTest : public ::testing::Test {
protected:
    void SetUp() override { TesselTest::ClearThreadErrorObject(); }
    void TearDown() override { TesselTest::ClearThreadErrorObject(); }
};

GUID MakeGuid(ULONG first, ULONG last)
{
    GUID guid = {};
    std::memcpy(&guid, &first, 4);
    std::memcpy(reinterpret_cast<unsigned char*>(&guid) + 12, &last, 4);
    return guid;
}

template <class Key>
struct OrderCase {
    const char* name;
    Key left;
    Key right;
    bool less;
};

template <class Key, std::size_t N>
void ExpectStrictOrder(const OrderCase<Key> (&cases)[N])
{
    for (const OrderCase<Key>& row : cases) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.left < row.right, row.less);
        if (row.less) {
            EXPECT_FALSE(row.right < row.left);
        }
    }
}

TEST(ExceptionFactoryKeys, ComKeysOrderByGuidWordsThenSignedCode)
{
    const OrderCase<ComErrorKey> cases[] = {
        {"negative code first", {static_cast<LONG>(0x80070005u), GUID_NULL}, {0, GUID_NULL}, true},
        {"code 0 before 1", {0, GUID_NULL}, {1, GUID_NULL}, true},
        {"equal keys", {5, kTestIid}, {5, kTestIid}, false},
        {"guid before code", {-1, MakeGuid(1, 0)}, {1, MakeGuid(0, 0)}, false},
        {"first word unsigned", {0, MakeGuid(0x7FFFFFFFu, 0)}, {0, MakeGuid(0x80000000u, 0)}, true},
        {"last word decides", {0, MakeGuid(1, 1)}, {0, MakeGuid(1, 2)}, true},
        {"first word over last", {0, MakeGuid(1, 9)}, {0, MakeGuid(2, 0)}, true},
    };
    ExpectStrictOrder(cases);
}

TEST(ExceptionFactoryKeys, NamedKeysOrderByTextThenCode)
{
    wchar_t firstBuffer[] = L"Tessel";
    wchar_t secondBuffer[] = L"Tessel";
    const OrderCase<NamedErrorKey> cases[] = {
        {"null before text", {nullptr, 9}, {L"", 0}, true},
        {"two nulls by code", {nullptr, 1}, {nullptr, 2}, true},
        {"same text in two buffers is equal", {firstBuffer, 3}, {secondBuffer, 3}, false},
        {"same text by code", {firstBuffer, 3}, {secondBuffer, 4}, true},
        {"text before code", {L"A", 9}, {L"B", 1}, true},
        {"prefix first", {L"Tes", 9}, {L"Tessel", 0}, true},
        {"case matters", {L"a", 0}, {L"B", 0}, false},
        // In UTF-16 a character beyond the first plane starts with a surrogate, below U+E000.
        {"surrogates before U+E000", {L"\U0001F600", 0}, {L"\uE000", 0}, true},
    };
    ExpectStrictOrder(cases);
}

// The library registers sixteen COM classes and one named class; copies and moves carry both maps.
TEST(ExceptionFactoryValue, LibraryRegistryAndItsCopiesAndMoves)
{
    const ExceptionFactory& factory = getExceptionFactoryInstance();
    ExceptionFactory copy(factory);
    EXPECT_EQ(copy.GetComThrowerCount(), 16u);
    EXPECT_EQ(copy.GetNamedThrowerCount(), 1u);

    ExceptionFactory moved(std::move(copy));
    EXPECT_EQ(moved.GetComThrowerCount(), 16u);
    EXPECT_EQ(copy.GetComThrowerCount(), 0u);
    EXPECT_EQ(copy.GetNamedThrowerCount(), 0u);

    ExceptionFactory empty;
    moved = std::move(empty);
    EXPECT_EQ(moved.GetComThrowerCount(), 0u);
    EXPECT_EQ(factory.GetComThrowerCount(), 16u);
    EXPECT_EQ(factory.GetNamedThrowerCount(), 1u);
}

TEST_F(ExceptionFactoryTest, SuccessReturnsAndUnregisteredFailureThrowsExceptionCom)
{
    SetErrorCOM(L"pending", kTestIid);
    for (LONG code : {0, 1, 0x7FFFFFFF}) {
        SCOPED_TRACE(code);
        EXPECT_NO_THROW(ExceptionFactory::Throw(kTestIid, code, nullptr, nullptr));
        EXPECT_TRUE(TesselTest::ThreadHasErrorObject());
    }

    // An unregistered failure code throws ExceptionCOM with the thread's text, which it takes.
    SetErrorCOM(L"Server says 100%", kTestIid);
    const auto throwFailure = [] { ExceptionFactory::Throw(kTestIid, E_FAIL, nullptr, nullptr); };
    ExpectThrown<ExceptionCOM>(throwFailure, [](const ExceptionCOM& error) {
        EXPECT_EQ(typeid(error), typeid(ExceptionCOM));
        EXPECT_EQ(error.GetComCode(), E_FAIL);
        EXPECT_TRUE(IsEqualGUID(error.GetComGuid(), kTestIid));
        EXPECT_STREQ(error.GetDescription(), L"Server says 100%");
        EXPECT_STREQ(error.what(), "Server says 100%");
    });
    EXPECT_FALSE(TesselTest::ThreadHasErrorObject());

    // Without an error object on the thread the class is the same and the text is missing.
    ExpectThrown<ExceptionCOM>(throwFailure, [](const ExceptionCOM& error) {
        EXPECT_STREQ(error.GetDescription(), L"");
        EXPECT_STREQ(error.what(), "Message not specified");
    });
}

// Checks the way a failure comes back from a server object, for each answer the object can give.
TEST_F(ExceptionFactoryTest, SourceDecidesWhetherTheThreadsErrorObjectIsTaken)
{
    struct Case {
        const char* name;
        bool supports;
        IID supportedIid;
        HRESULT answer;
        bool taken;
    };
    const Case cases[] = {
        {"supports the interface", true, kTestIid, S_OK, true},
        {"no ISupportErrorInfo", false, kTestIid, S_OK, false},
        {"another interface", true, kOtherIid, S_OK, false},
        {"answers S_FALSE", true, kTestIid, S_FALSE, false},
        {"answers a failure", true, kTestIid, E_NOTIMPL, false},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        SetErrorCOM(L"Denied by the server", kTestIid);
        TesselTest::ServerObject server(row.supports, row.supportedIid, row.answer);
        ExpectThrown<AccessDenied>([&] { ExceptionFactory::Throw(kTestIid, E_ACCESSDENIED, nullptr, &server); },
                                   [&](const AccessDenied& error) {
                                       EXPECT_EQ(error.GetComCode(), E_ACCESSDENIED);
                                       EXPECT_TRUE(IsEqualGUID(error.GetComGuid(), kTestIid));
                                       EXPECT_STREQ(error.GetDescription(), row.taken ? L"Denied by the server" : L"");
                                   });
        EXPECT_EQ(TesselTest::ThreadHasErrorObject(), !row.taken);
        EXPECT_EQ(server.References(), 1u);
        TesselTest::ClearThreadErrorObject();
    }
}

TEST_F(ExceptionFactoryTest, GivenErrorObjectWinsAndIsNotConsumed)
{
    SetErrorCOM(L"thread text", kTestIid);
    TesselTest::ScriptedErrorInfo info(S_OK, L"given text");
    TesselTest::ServerObject server(true, kTestIid);
    ExpectThrown<OutOfMemory>([&] { ExceptionFactory::Throw(kTestIid, E_OUTOFMEMORY, &info, &server); },
                              [](const OutOfMemory& error) { EXPECT_STREQ(error.GetDescription(), L"given text"); });
    EXPECT_EQ(info.References(), 1u);
    EXPECT_EQ(server.SupportQuestions(), 0);
    EXPECT_TRUE(TesselTest::ThreadHasErrorObject());
}

// A record of code zero throws the first class registered for its name.
TEST_F(ExceptionFactoryTest, RecordThrowsItsClassOrReturns)
{
    const ErrorStorage records[] = {
        ParameterNotFoundException(L"a"),         InvalidTypeException(L"b"),
        UnknownConfigurationException(L"c"),      ConfigurationNotFoundException(L"d"),
        PersistentDataParameterNotFoundException(L"e"), InvalidPersistentDataTypeException(L"f"),
        UnknownPersistentDataException(L"g"),     PersistentDataNotFoundException(L"h"),
    };
    for (const ErrorStorage& record : records) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(record.GetDescription())));
        EXPECT_THROW(ExceptionFactory::Throw(record), PersistentDataParameterNotFoundException);
    }

    ExpectThrown<InternalError>([] { ExceptionFactory::Throw(InternalError(L"named %d", 1)); },
                                [](const InternalError& error) { EXPECT_STREQ(error.GetDescription(), L"named 1"); });

    // A record for an interface falls back on the class of its code.
    const ErrorStorage forInterface(E_ACCESSDENIED, kTestIid, nullptr);
    EXPECT_THROW(ExceptionFactory::Throw(forInterface), AccessDenied);

    const ErrorStorage unknown(E_FAIL, GUID_NULL, nullptr);
    EXPECT_NO_THROW(ExceptionFactory::Throw(unknown));
}

} // namespace
