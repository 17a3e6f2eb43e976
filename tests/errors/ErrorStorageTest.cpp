// The exception record: formatting limits, the narrow text, identity through copies, the record
// made from an error object, and the lock classes.

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <thread>

#include "Tessel/CriticalSection.h"
#include "Tessel/Exceptions.h"
#include "TestComObjects.h"

namespace {

using namespace Tessel;

const GUID kInterface = TesselTest::kTestIid;

TEST(ErrorStorage, NullOrRefusedFormatLeavesNoNarrowTextAndTheClassIdentity)
{
    const InvalidArg error(nullptr);
    EXPECT_STREQ(error.what(), "Message not specified");
    EXPECT_STREQ(error.GetDescription(), L"");
    EXPECT_FALSE(error.HasName());
    EXPECT_EQ(error.GetComCode(), static_cast<LONG>(0x80070057u));
    EXPECT_TRUE(IsEqualGUID(error.GetComGuid(), GUID_NULL));

    // Why data must not be the format: a '%' at its end makes the formatter refuse it.
    const Unexpected refused(L"Rate 50%");
    EXPECT_STREQ(refused.GetDescription(), L"<error setting exception description: invalid argument>");
    EXPECT_STREQ(refused.what(), "Message not specified");
}

TEST(ErrorStorage, FormatsWideAndNarrowArguments)
{
    const ConfigurationNotFoundException error(L"Key '%s' of %S: %d \u20AC", L"Software\\X", "reader", 5);
    EXPECT_STREQ(error.GetDescription(), L"Key 'Software\\X' of reader: 5 \u20AC");
    EXPECT_STREQ(error.what(), "Key 'Software\\X' of reader: 5 \xE2\x82\xAC");

    // Data passed as an argument keeps its percent signs.
    const ParameterNotFoundException data(L"%s", L"100% of %s and %d");
    EXPECT_STREQ(data.GetDescription(), L"100% of %s and %d");
    EXPECT_STREQ(data.what(), "100% of %s and %d");
}

// Checks the limit of the record: 1023 characters and the terminator.
TEST(ErrorStorage, DescriptionLimit)
{
    struct Case {
        std::size_t length;
        std::size_t kept;
        bool narrowFollows;
    };
    const Case cases[] = {{1022, 1022, true}, {1023, 1023, true}, {1024, 1023, false}, {5000, 1023, false}};
    for (const Case& row : cases) {
        SCOPED_TRACE(row.length);
        const std::wstring text(row.length, L'x');
        const PersistencyFailed error(L"%s", text.c_str());
        EXPECT_EQ(std::wstring(error.GetDescription()), text.substr(0, row.kept));
        if (row.narrowFollows) {
            EXPECT_EQ(std::string(error.what()), std::string(row.length, 'x'));
        } else {
            EXPECT_STREQ(error.what(), "Message not specified");
        }
    }
}

TEST(ErrorStorage, CutTextDoesNotDependOnTheCallersErrno)
{
    for (int callerErrno : {0, EINVAL, ERANGE}) {
        SCOPED_TRACE(callerErrno);
        errno = callerErrno;
        const std::wstring text(1500, L'y');
        const AccessDenied error(L"%s", text.c_str());
        EXPECT_EQ(std::wstring(error.GetDescription()), text.substr(0, 1023));
        EXPECT_EQ(errno, callerErrno);
    }
}

TEST(ErrorStorage, CopyAndAssignmentTakeKindIdentityAndTextOfTheSource)
{
    const ErrorStorage record(static_cast<LONG>(0x80004005u), kInterface, nullptr);
    const AccessDenied copy(record);
    EXPECT_EQ(static_cast<ULONG>(copy.GetComCode()), 0x80004005u);
    EXPECT_TRUE(IsEqualGUID(copy.GetComGuid(), kInterface));

    const InternalError internal(L"broken %d", 7);
    const InternalError internalCopy(internal);
    EXPECT_TRUE(internalCopy.HasName());
    EXPECT_EQ(internalCopy.GetName(), nullptr);
    EXPECT_EQ(internalCopy.GetCode(), 1u);
    EXPECT_STREQ(internalCopy.GetDescription(), L"broken 7");
    EXPECT_STREQ(internalCopy.what(), "broken 7");

    const ExceptionCOM named(internal);
    EXPECT_TRUE(named.HasName());
    EXPECT_EQ(named.GetCode(), 1u);
    EXPECT_EQ(named.GetComCode(), 0);

    // A copy keeps the narrow text (none) of a message too long for the record.
    const std::wstring text(1100, L'z');
    const Unexpected original(L"%s", text.c_str());
    const ExceptionBase longCopy(original);
    EXPECT_STREQ(longCopy.what(), "Message not specified");
    EXPECT_EQ(std::wstring(longCopy.GetDescription()), text.substr(0, 1023));

    Unexpected assigned(L"other");
    assigned = Unexpected(L"third %s", L"text");
    EXPECT_STREQ(assigned.GetDescription(), L"third text");
    EXPECT_STREQ(assigned.what(), "third text");
}

TEST(ErrorStorage, RecordFromErrorObject)
{
    struct Case {
        const char* name;
        HRESULT result;
        const wchar_t* text;
        std::wstring description;
        const char* narrow;
    };
    const std::wstring longText = std::wstring(1023, L'a') + L"bcd";
    const Case cases[] = {
        {"text", S_OK, L"From server 50%", L"From server 50%", "From server 50%"},
        {"null text", S_OK, nullptr, L"", "Message not specified"},
        {"failed read", E_FAIL, L"must be freed", L"", "Message not specified"},
        {"longer than the record", S_OK, longText.c_str(), longText.substr(0, 1023), nullptr},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        TesselTest::ScriptedErrorInfo info(row.result, row.text);
        const ErrorStorage record(E_ACCESSDENIED, kInterface, &info);
        EXPECT_EQ(std::wstring(record.GetDescription()), row.description);
        if (row.narrow != nullptr) {
            EXPECT_STREQ(record.what(), row.narrow);
        } else {
            EXPECT_EQ(std::string(record.what()), std::string(1023, 'a'));
        }
        EXPECT_TRUE(IsEqualGUID(record.GetComGuid(), kInterface));
        EXPECT_EQ(info.References(), 1u);
    }
}

TEST(CriticalSection, OwnerTakesItAgainAndGuardsLeaveOnEveryWayOut)
{
    CriticalSection section;
    try {
        CriticalSectionLock outer(section);
        CriticalSectionLock inner(&section);
        throw Unexpected(L"inside");
    } catch (const ExceptionBase&) {
    }
    // Both guards are gone, so another thread must get in.
    bool entered = false;
    std::thread other([&] {
        CriticalSectionLock lock(section);
        entered = true;
    });
    other.join();
    EXPECT_TRUE(entered);
}

} // namespace
