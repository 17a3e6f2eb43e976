// A client module that declares exception classes of its own the way the library does: a class
// for one interface, a class of the named kind, and their registrars. This is a test binary of
// its own, so that the library's registry counts elsewhere stay exact.

#include <gtest/gtest.h>

#include <cstdarg>

#include "Tessel/ComErrorText.h"
#include "Tessel/Exceptions.h"
#include "TestComObjects.h"

namespace {

using namespace Tessel;
using TesselTest::ExpectThrown;
using TesselTest::kTestIid;

// Access denied by the test interface in particular.
class TestInterfaceDenied : public ExceptionCOM {
public:
    static constexpr LONG Code = E_ACCESSDENIED;

    explicit TestInterfaceDenied(const ErrorStorage& source) : ExceptionCOM(source) {}
    explicit TestInterfaceDenied(const wchar_t* format, ...) : ExceptionCOM(Code, kTestIid)
    {
        if (format != nullptr) {
            va_list args;
            va_start(args, format);
            SetDescription(format, args);
            va_end(args);
        }
    }
};

// The name lives in a buffer of this module; lookups come with other buffers.
const wchar_t g_moduleName[] = L"Tessel.Client";

class ClientNamedError : public ExceptionBase {
public:
    explicit ClientNamedError(const ErrorStorage& source) : ExceptionBase(source) {}
    explicit ClientNamedError(ULONG code) : ExceptionBase(g_moduleName, code) {}
};

class LateAccessDenied : public AccessDenied {
public:
    explicit LateAccessDenied(const ErrorStorage& source) : AccessDenied(source) {}
};

bool g_returningThrowerCalled = false;

void ReturningThrower(const ErrorStorage&)
{
    g_returningThrowerCalled = true;
}

const ExceptionRegistrar s_testInterfaceDenied(kTestIid, TestInterfaceDenied::Code,
                                               &ThrowFromRecord<TestInterfaceDenied>);
const ExceptionRegistrar s_clientNamed(g_moduleName, 7, &ThrowFromRecord<ClientNamedError>);
// The library registered this key first: this row must change nothing.
const ExceptionRegistrar s_lateAccessDenied(GUID_NULL, E_ACCESSDENIED, &ThrowFromRecord<LateAccessDenied>);
const ExceptionRegistrar s_returning(GUID_NULL, static_cast<LONG>(0x80041234u), &ReturningThrower);

class ClientExceptionTest : public ::testing::Test {
protected:
    void SetUp() override { TesselTest::ClearThreadErrorObject(); }
    void TearDown() override { TesselTest::ClearThreadErrorObject(); }
};

TEST_F(ClientExceptionTest, RegistryHoldsTheClientsNewKeysOnly)
{
    EXPECT_EQ(getExceptionFactoryInstance().GetComThrowerCount(), 16u + 2u);
    EXPECT_EQ(getExceptionFactoryInstance().GetNamedThrowerCount(), 1u + 1u);
}

TEST_F(ClientExceptionTest, InterfaceKeyGoesBeforeTheGeneralOne)
{
    SetErrorCOM(L"Denied for the test interface", kTestIid);
    TesselTest::ServerObject server(true, kTestIid);
    ExpectThrown<TestInterfaceDenied>([&] { ExceptionFactory::Throw(kTestIid, E_ACCESSDENIED, nullptr, &server); },
                                      [](const TestInterfaceDenied& error) {
                                          EXPECT_STREQ(error.GetDescription(), L"Denied for the test interface");
                                          EXPECT_TRUE(IsEqualGUID(error.GetComGuid(), kTestIid));
                                      });
    ExpectThrown<AccessDenied>([] { ExceptionFactory::Throw(TesselTest::kOtherIid, E_ACCESSDENIED, nullptr, nullptr); },
                               [](const AccessDenied& error) { EXPECT_EQ(typeid(error), typeid(AccessDenied)); });
}

TEST_F(ClientExceptionTest, NamedKeyIsFoundByTextNotByPointer)
{
    wchar_t otherBuffer[] = L"Tessel.Client";
    ASSERT_NE(static_cast<const wchar_t*>(otherBuffer), g_moduleName);
    class OtherBufferError : public ExceptionBase {
    public:
        OtherBufferError(const wchar_t* name, ULONG code) : ExceptionBase(name, code) {}
    };
    ExpectThrown<ClientNamedError>([&] { ExceptionFactory::Throw(OtherBufferError(otherBuffer, 7)); },
                                   [&](const ClientNamedError& error) {
                                       EXPECT_EQ(error.GetName(), otherBuffer);
                                       EXPECT_EQ(error.GetCode(), 7u);
                                   });
    // Unregistered named keys return: another code, another name, (null, 2) beside (null, 1).
    EXPECT_NO_THROW(ExceptionFactory::Throw(OtherBufferError(otherBuffer, 8)));
    EXPECT_NO_THROW(ExceptionFactory::Throw(OtherBufferError(L"Tessel.Nobody", 7)));
    EXPECT_NO_THROW(ExceptionFactory::Throw(OtherBufferError(nullptr, 2)));
}

TEST_F(ClientExceptionTest, ThrowerThatReturnsLetsThrowReturn)
{
    SetErrorCOM(L"consumed", kTestIid);
    g_returningThrowerCalled = false;
    TesselTest::ServerObject server(true, kTestIid);
    EXPECT_NO_THROW(ExceptionFactory::Throw(kTestIid, static_cast<LONG>(0x80041234u), nullptr, &server));
    EXPECT_TRUE(g_returningThrowerCalled);
    EXPECT_EQ(server.References(), 1u);
    EXPECT_FALSE(TesselTest::ThreadHasErrorObject());
}

} // namespace
