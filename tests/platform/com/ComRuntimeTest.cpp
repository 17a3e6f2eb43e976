// Checks the apartments, object creation for the system classes, the global options, the
// global interface table, the category manager's keys and task memory.

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "TesselWin32.h"

namespace {

const CLSID kUnknownClass = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};

bool KeyExists(const wchar_t* path)
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, path, 0, KEY_READ, &key) != ERROR_SUCCESS)
        return false;
    RegCloseKey(key);
    return true;
}

class ComApartment : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK); }
    void TearDown() override { CoUninitialize(); }
};

// Creates an in-process system object; call under ASSERT_NO_FATAL_FAILURE.
template <class Interface>
void Create(const CLSID& clsid, const IID& iid, Interface** object)
{
    ASSERT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, iid, reinterpret_cast<void**>(object)), S_OK);
}

TEST(CoInitializeEx, CountsPerThreadAndKeepsItsModel)
{
    void* object = nullptr;
    const auto create = [&] {
        return CoCreateInstance(CLSID_GlobalOptions, nullptr, CLSCTX_INPROC_SERVER, IID_IGlobalOptions, &object);
    };
    EXPECT_EQ(create(), CO_E_NOTINITIALIZED);
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), RPC_E_CHANGED_MODE);
    // Another thread has an apartment of its own.
    std::thread([] { EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK); }).join();
    CoUninitialize();
    EXPECT_EQ(create(), S_OK);
    static_cast<IUnknown*>(object)->Release();
    CoUninitialize();
    EXPECT_EQ(create(), CO_E_NOTINITIALIZED);
    EXPECT_EQ(object, nullptr);
}

TEST_F(ComApartment, CreationRefusesWhatItCannotMake)
{
    IUnknown* outer = nullptr;
    ASSERT_NO_FATAL_FAILURE(Create(CLSID_GlobalOptions, IID_IUnknown, &outer));
    void* object = outer;
    EXPECT_EQ(CoCreateInstance(kUnknownClass, nullptr, CLSCTX_ALL, IID_IUnknown, &object), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(CoCreateInstance(CLSID_GlobalOptions, nullptr, CLSCTX_LOCAL_SERVER, IID_IUnknown, &object),
              REGDB_E_CLASSNOTREG);
    EXPECT_EQ(CoCreateInstance(CLSID_StdComponentCategoriesMgr, outer, CLSCTX_INPROC_SERVER, IID_IUnknown, &object),
              CLASS_E_NOAGGREGATION);
    EXPECT_EQ(CoCreateInstance(CLSID_GlobalOptions, nullptr, CLSCTX_INPROC_SERVER, IID_ICatRegister, &object),
              E_NOINTERFACE);
    EXPECT_EQ(CoCreateInstance(CLSID_GlobalOptions, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, nullptr),
              E_POINTER);
    outer->Release();
}

TEST_F(ComApartment, GlobalOptionsAreOneObjectPerProcess)
{
    IGlobalOptions* first = nullptr;
    ASSERT_NO_FATAL_FAILURE(Create(CLSID_GlobalOptions, IID_IGlobalOptions, &first));
    ULONG_PTR value = 9;
    EXPECT_EQ(first->Query(COMGLB_EXCEPTION_HANDLING, &value), S_OK);
    EXPECT_EQ(value, static_cast<ULONG_PTR>(COMGLB_EXCEPTION_HANDLE));
    EXPECT_EQ(first->Set(COMGLB_EXCEPTION_HANDLING, COMGLB_EXCEPTION_DONOT_HANDLE_ANY), S_OK);
    EXPECT_EQ(first->Set(static_cast<GLOBALOPT_PROPERTIES>(0), 1), E_INVALIDARG);
    EXPECT_EQ(first->Query(static_cast<GLOBALOPT_PROPERTIES>(6), &value), E_INVALIDARG);
    first->Release();

    IGlobalOptions* second = nullptr;
    ASSERT_NO_FATAL_FAILURE(Create(CLSID_GlobalOptions, IID_IGlobalOptions, &second));
    EXPECT_EQ(second->Query(COMGLB_EXCEPTION_HANDLING, &value), S_OK);
    EXPECT_EQ(value, static_cast<ULONG_PTR>(COMGLB_EXCEPTION_DONOT_HANDLE_ANY));
    second->Release();
}

TEST_F(ComApartment, InterfaceTableHandsOutWhatWasRegistered)
{
    IGlobalInterfaceTable* table = nullptr;
    ASSERT_NO_FATAL_FAILURE(Create(CLSID_StdGlobalInterfaceTable, IID_IGlobalInterfaceTable, &table));
    IUnknown* options = nullptr;
    ASSERT_NO_FATAL_FAILURE(Create(CLSID_GlobalOptions, IID_IUnknown, &options));
    DWORD cookie = 0;
    ASSERT_EQ(table->RegisterInterfaceInGlobal(options, IID_IGlobalOptions, &cookie), S_OK);
    EXPECT_EQ(table->RegisterInterfaceInGlobal(options, IID_ICatRegister, &cookie), E_NOINTERFACE);
    void* fetched = nullptr;
    ASSERT_EQ(table->GetInterfaceFromGlobal(cookie, IID_IGlobalOptions, &fetched), S_OK);
    EXPECT_NE(fetched, nullptr);
    static_cast<IUnknown*>(fetched)->Release();
    EXPECT_EQ(table->RevokeInterfaceFromGlobal(cookie), S_OK);
    EXPECT_EQ(table->RevokeInterfaceFromGlobal(cookie), E_INVALIDARG);
    EXPECT_EQ(table->GetInterfaceFromGlobal(cookie, IID_IGlobalOptions, &fetched), E_INVALIDARG);
    EXPECT_EQ(fetched, nullptr);
    options->Release();
    table->Release();
}

// Checks the identity and counting rules on each system class: IUnknown and the class's own
// interface lead to one object, other interfaces are refused, and every reference counts.
TEST_F(ComApartment, SystemObjectsFollowTheIdentityAndCountingRules)
{
    struct Case {
        const char* what;
        const CLSID* clsid;
        const IID* iid;
    };
    const Case cases[] = {
        {"global options", &CLSID_GlobalOptions, &IID_IGlobalOptions},
        {"interface table", &CLSID_StdGlobalInterfaceTable, &IID_IGlobalInterfaceTable},
        {"category manager", &CLSID_StdComponentCategoriesMgr, &IID_ICatRegister},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.what);
        IUnknown* own = nullptr;
        ASSERT_NO_FATAL_FAILURE(Create(*row.clsid, *row.iid, &own));
        IUnknown* identity = nullptr;
        ASSERT_EQ(own->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&identity)), S_OK);
        EXPECT_EQ(identity, own);
        void* other = &identity;
        EXPECT_EQ(own->QueryInterface(IID_IErrorInfo, &other), E_NOINTERFACE);
        EXPECT_EQ(other, nullptr);
        EXPECT_EQ(own->QueryInterface(*row.iid, nullptr), E_POINTER);
        const ULONG afterAddRef = own->AddRef();
        EXPECT_EQ(own->Release(), afterAddRef - 1);
        identity->Release();
        own->Release();
    }
}

// Checks the keys the category manager writes and removes, and that a description reaches the
// store as UTF-16, a character beyond the basic plane as its surrogate pair.
TEST_F(ComApartment, CategoryManagerWritesTheCategoryKeys)
{
    ICatRegister* categories = nullptr;
    ASSERT_NO_FATAL_FAILURE(Create(CLSID_StdComponentCategoriesMgr, IID_ICatRegister, &categories));
    const CLSID clsid = {0x0A0B0C0D, 0x0102, 0x0304, {0xAB, 0xCD, 0xEF, 0x01, 0x23, 0x45, 0x67, 0x89}};
    CATID catid = {0xDEADBEEF, 0xCAFE, 0xF00D, {0, 1, 2, 3, 4, 5, 6, 7}};
    CATEGORYINFO info = {catid, 0x409, {}};
    std::wcscpy(info.szDescription, L"Tessel things");

    ASSERT_EQ(categories->RegisterCategories(1, &info), S_OK);
    ASSERT_EQ(categories->RegisterClassImplCategories(clsid, 1, &catid), S_OK);
    ASSERT_EQ(categories->RegisterClassReqCategories(clsid, 1, &catid), S_OK);
    const wchar_t* category = L"Component Categories\\{DEADBEEF-CAFE-F00D-0001-020304050607}";
    EXPECT_TRUE(KeyExists(category));
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, category, 0, KEY_READ, &key), ERROR_SUCCESS);
    DWORD type = 0;
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExW(key, L"409", nullptr, &type, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(size, 28u); // "Tessel things" in UTF-16 with its terminator
    RegCloseKey(key);
    const wchar_t* implemented =
        L"CLSID\\{0A0B0C0D-0102-0304-ABCD-EF0123456789}\\Implemented Categories\\{DEADBEEF-CAFE-F00D-0001-020304050607}";
    const wchar_t* required =
        L"CLSID\\{0A0B0C0D-0102-0304-ABCD-EF0123456789}\\Required Categories\\{DEADBEEF-CAFE-F00D-0001-020304050607}";
    EXPECT_TRUE(KeyExists(implemented));
    EXPECT_TRUE(KeyExists(required));

    ASSERT_EQ(categories->UnRegisterClassImplCategories(clsid, 1, &catid), S_OK);
    ASSERT_EQ(categories->UnRegisterClassReqCategories(clsid, 1, &catid), S_OK);
    ASSERT_EQ(categories->UnRegisterCategories(1, &catid), S_OK);
    EXPECT_FALSE(KeyExists(implemented));
    EXPECT_FALSE(KeyExists(required));
    EXPECT_FALSE(KeyExists(category));
    // The kinds' own keys are the registering module's to remove.
    EXPECT_TRUE(KeyExists(L"CLSID\\{0A0B0C0D-0102-0304-ABCD-EF0123456789}\\Implemented Categories"));
    // Taking away what is not there is no failure.
    EXPECT_EQ(categories->UnRegisterClassImplCategories(clsid, 1, &catid), S_OK);

    CATEGORYINFO wide = {{0x0BADF00D, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}}, 0x1F, {}};
    std::wcscpy(wide.szDescription, L"\u00E4\U0001F600");
    ASSERT_EQ(categories->RegisterCategories(1, &wide), S_OK);
    ASSERT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, L"Component Categories\\{0BADF00D-0001-0002-0304-05060708090A}", 0,
                            KEY_READ, &key),
              ERROR_SUCCESS);
    BYTE data[16] = {};
    size = sizeof data;
    EXPECT_EQ(RegQueryValueExW(key, L"1f", nullptr, nullptr, data, &size), ERROR_SUCCESS);
    const BYTE expected[] = {0xE4, 0x00, 0x3D, 0xD8, 0x00, 0xDE, 0x00, 0x00};
    ASSERT_EQ(size, sizeof expected);
    EXPECT_EQ(std::memcmp(data, expected, sizeof expected), 0);
    RegCloseKey(key);
    categories->UnRegisterCategories(1, &wide.catid);
    categories->Release();
}

} // namespace
