// Checks the service's COM exception option: where it is read from, what keeps the default,
// and what reaches COM's global options.

#include <gtest/gtest.h>

#include "Tessel/ServiceAppGlobalOptions.h"
#include "com/RegistryProbe.h"

using Tessel::Internal::ServiceAppGlobalOptions;
using namespace ComTest;

namespace {

const wchar_t kDefaultKey[] = L"Software\\Kavor\\Tessel\\Default";
const wchar_t kAppKey[] = L"Software\\Kavor\\Tessel\\Billing";
const wchar_t kValue[] = L"ComExceptionHandlingOption";

// The process's exception option as COM holds it.
ULONG_PTR ComOption()
{
    IGlobalOptions* options = nullptr;
    EXPECT_EQ(CoCreateInstance(CLSID_GlobalOptions, nullptr, CLSCTX_INPROC_SERVER, IID_IGlobalOptions,
                               reinterpret_cast<void**>(&options)),
              S_OK);
    ULONG_PTR value = 99;
    if (options != nullptr) {
        EXPECT_EQ(options->Query(COMGLB_EXCEPTION_HANDLING, &value), S_OK);
        options->Release();
    }
    return value;
}

class ComThread : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK); }
    void TearDown() override { CoUninitialize(); }
};

TEST(ServiceAppGlobalOptions, OptionComesUncheckedFromTheKeyOfItsForm)
{
    EXPECT_EQ(ServiceAppGlobalOptions().GetComExceptionHandlingOption(), 2);
    EXPECT_EQ(ServiceAppGlobalOptions(L"Billing").GetComExceptionHandlingOption(), 2);

    ASSERT_TRUE(SetDword(HKEY_LOCAL_MACHINE, kDefaultKey, kValue, 1));
    EXPECT_EQ(ServiceAppGlobalOptions().GetComExceptionHandlingOption(), 1);
    // A named application never falls back on "Default": without a key, or with a key that
    // lacks the value.
    EXPECT_EQ(ServiceAppGlobalOptions(L"Billing").GetComExceptionHandlingOption(), 2);
    ASSERT_TRUE(MakeKey(HKEY_LOCAL_MACHINE, kAppKey));
    EXPECT_EQ(ServiceAppGlobalOptions(L"Billing").GetComExceptionHandlingOption(), 2);

    ASSERT_TRUE(SetDword(HKEY_LOCAL_MACHINE, kAppKey, kValue, 0));
    EXPECT_EQ(ServiceAppGlobalOptions(L"Billing").GetComExceptionHandlingOption(), 0);
    EXPECT_EQ(ServiceAppGlobalOptions(L"billing").GetComExceptionHandlingOption(), 0);
    EXPECT_EQ(ServiceAppGlobalOptions().GetComExceptionHandlingOption(), 1);

    // Stored numbers pass unchecked.
    ASSERT_TRUE(SetDword(HKEY_LOCAL_MACHINE, kDefaultKey, kValue, 7));
    EXPECT_EQ(ServiceAppGlobalOptions().GetComExceptionHandlingOption(), 7);
    ASSERT_TRUE(SetDword(HKEY_LOCAL_MACHINE, kDefaultKey, kValue, 0xFFFFFFFF));
    EXPECT_EQ(ServiceAppGlobalOptions().GetComExceptionHandlingOption(), -1);
}

TEST(ServiceAppGlobalOptions, ValuesOfOtherTypesAndRefusedKeysKeepTheDefault)
{
    ASSERT_TRUE(SetString(HKEY_LOCAL_MACHINE, kDefaultKey, kValue, L"0"));
    EXPECT_EQ(ServiceAppGlobalOptions().GetComExceptionHandlingOption(), 2);

    // Read access alone is not enough: the key is opened for writing too.
    ASSERT_TRUE(SetDword(HKEY_LOCAL_MACHINE, kAppKey, kValue, 0));
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kAppKey, 0, KEY_ALL_ACCESS, &key), ERROR_SUCCESS);
    ASSERT_EQ(TesselRegSetKeyAccess(key, KEY_READ), ERROR_SUCCESS);
    RegCloseKey(key);
    EXPECT_EQ(ServiceAppGlobalOptions(L"Billing").GetComExceptionHandlingOption(), 2);
}

TEST_F(ComThread, ApplyOptionsHandsTheOptionToCom)
{
    EXPECT_EQ(ComOption(), 0u);
    ServiceAppGlobalOptions().ApplyOptions();
    EXPECT_EQ(ComOption(), 2u);

    ASSERT_TRUE(SetDword(HKEY_LOCAL_MACHINE, kDefaultKey, kValue, 7));
    ServiceAppGlobalOptions().ApplyOptions();
    EXPECT_EQ(ComOption(), 7u);

    // 0 is COM's own default: nothing is set, and the earlier setting stays.
    ASSERT_TRUE(SetDword(HKEY_LOCAL_MACHINE, kDefaultKey, kValue, 0));
    ServiceAppGlobalOptions().ApplyOptions();
    EXPECT_EQ(ComOption(), 7u);

    // The pointer-wide value is the sign-extended option.
    ASSERT_TRUE(SetDword(HKEY_LOCAL_MACHINE, kDefaultKey, kValue, 0xFFFFFFFF));
    ServiceAppGlobalOptions().ApplyOptions();
    EXPECT_EQ(ComOption(), static_cast<ULONG_PTR>(-1));
}

TEST(ServiceAppGlobalOptions, ApplyOptionsWithoutComDoesNothing)
{
    ServiceAppGlobalOptions options;
    options.ApplyOptions();
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    EXPECT_EQ(ComOption(), 0u);
    CoUninitialize();
}

} // namespace
