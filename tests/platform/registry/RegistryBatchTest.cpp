// TesselRegApplyBatch: steps checked before anything is written, applied with the rules of the
// functions they stand for, and a failure that keeps what came before it.

#include <gtest/gtest.h>

#ifndef _WIN32

#include <string>
#include <vector>

#include "platform/registry/RegistryTestSupport.h"

using namespace RegistryTest;

namespace {

const std::wstring kBase = std::wstring(kTestRoot) + L"\\Batch";

// subKey must outlive the step.
TESSEL_REG_BATCH_STEP KeyStep(DWORD operation, const std::wstring& subKey, HKEY root = HKEY_CURRENT_USER)
{
    TESSEL_REG_BATCH_STEP step{};
    step.Operation = operation;
    step.Root = root;
    step.SubKey = subKey.c_str();
    return step;
}

TESSEL_REG_BATCH_STEP ValueStep(DWORD operation, const wchar_t* name, const std::vector<BYTE>* data = nullptr)
{
    TESSEL_REG_BATCH_STEP step{};
    step.Operation = operation;
    step.ValueName = name;
    step.Type = REG_BINARY;
    if (data != nullptr) {
        step.Data = data->data();
        step.Size = static_cast<DWORD>(data->size());
    }
    return step;
}

bool KeyExists(const std::wstring& path, HKEY root = HKEY_CURRENT_USER, REGSAM sam = 0)
{
    ScopedKey key;
    return RegOpenKeyExW(root, path.c_str(), 0, KEY_READ | sam, key.Put()) == ERROR_SUCCESS;
}

LONG ValueStatus(const std::wstring& path, const wchar_t* name)
{
    ScopedKey key;
    const LONG status = RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, key.Put());
    return status != ERROR_SUCCESS ? status : RegQueryValueExW(key.Get(), name, nullptr, nullptr, nullptr, nullptr);
}

class RegistryBatch : public ::testing::Test {
protected:
    void SetUp() override { SHDeleteKeyW(HKEY_CURRENT_USER, kBase.c_str()); }

    const std::wstring a = kBase + L"\\A";
    const std::wstring b = kBase + L"\\B\\Deeper";
    const std::wstring bTop = kBase + L"\\B";
    const std::wstring never = kBase + L"\\Never\\There";
    const std::wstring wow = L"Software\\TesselBatch32";
    const std::vector<BYTE> data{1, 2, 3};
};

TEST_F(RegistryBatch, AppliesEveryKindOfStepInOrder)
{
    const std::vector<TESSEL_REG_BATCH_STEP> steps = {
        KeyStep(TESSEL_REG_BATCH_CREATE_KEY, a),
        ValueStep(TESSEL_REG_BATCH_SET_VALUE, L"one", &data),
        ValueStep(TESSEL_REG_BATCH_SET_VALUE, nullptr, &data),
        ValueStep(TESSEL_REG_BATCH_SET_VALUE, L"two", &data),
        ValueStep(TESSEL_REG_BATCH_DELETE_VALUE, L"TWO"),
        ValueStep(TESSEL_REG_BATCH_DELETE_VALUE, L"never there"),
        KeyStep(TESSEL_REG_BATCH_CREATE_KEY, b),
        KeyStep(TESSEL_REG_BATCH_DELETE_TREE, bTop),
        KeyStep(TESSEL_REG_BATCH_DELETE_TREE, never),
        KeyStep(TESSEL_REG_BATCH_CREATE_KEY, wow, HKEY_LOCAL_MACHINE),
    };
    DWORD failed = 99;
    ASSERT_EQ(ERROR_SUCCESS, TesselRegApplyBatch(steps.data(), static_cast<DWORD>(steps.size()), KEY_WOW64_32KEY,
                                                 &failed));
    EXPECT_EQ(0u, failed);
    LONG status;
    ScopedKey key;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, a.c_str(), 0, KEY_READ, key.Put()));
    EXPECT_EQ(data, QueryBytes(key.Get(), L"one", status));
    EXPECT_EQ(data, QueryBytes(key.Get(), nullptr, status));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, ValueStatus(a, L"two"));
    EXPECT_FALSE(KeyExists(kBase + L"\\B"));
    EXPECT_TRUE(KeyExists(L"Software\\WOW6432Node\\TesselBatch32", HKEY_LOCAL_MACHINE));
    EXPECT_FALSE(KeyExists(L"Software\\TesselBatch32", HKEY_LOCAL_MACHINE, KEY_WOW64_64KEY));
}

// Checks that a step the functions would refuse by its arguments is found before the first write.
TEST_F(RegistryBatch, ABadStepAnywhereStopsTheBatchBeforeItWrites)
{
    const std::wstring badPath = kBase + L"\\\\Empty";
    const std::wstring longName(16384, L'n');
    struct Case {
        const char* what;
        TESSEL_REG_BATCH_STEP bad;
        LONG expected;
        bool keyClosed = false; // after a tree delete, which leaves no key for values
    };
    const Case cases[] = {
        {"a value with no key", ValueStep(TESSEL_REG_BATCH_SET_VALUE, L"v", &data), ERROR_INVALID_PARAMETER, true},
        {"an empty name in the path", KeyStep(TESSEL_REG_BATCH_CREATE_KEY, badPath), ERROR_BAD_PATHNAME},
        {"a value name too long", ValueStep(TESSEL_REG_BATCH_SET_VALUE, longName.c_str(), &data),
         ERROR_INVALID_PARAMETER},
        {"an unknown step", ValueStep(77, L"v"), ERROR_INVALID_PARAMETER},
        {"a closed handle", KeyStep(TESSEL_REG_BATCH_CREATE_KEY, a, reinterpret_cast<HKEY>(0x1234)),
         ERROR_INVALID_HANDLE},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.what);
        std::vector<TESSEL_REG_BATCH_STEP> steps = {KeyStep(TESSEL_REG_BATCH_CREATE_KEY, a),
                                                    ValueStep(TESSEL_REG_BATCH_SET_VALUE, L"v", &data), row.bad};
        if (row.keyClosed)
            steps.insert(steps.begin() + 2, KeyStep(TESSEL_REG_BATCH_DELETE_TREE, a));
        DWORD failed = 0;
        EXPECT_EQ(row.expected, TesselRegApplyBatch(steps.data(), static_cast<DWORD>(steps.size()), 0, &failed));
        EXPECT_EQ(steps.size() - 1, failed);
        EXPECT_FALSE(KeyExists(a));
    }
    DWORD failed = 0;
    EXPECT_EQ(ERROR_INVALID_PARAMETER, TesselRegApplyBatch(nullptr, 1, 0, &failed));
    const TESSEL_REG_BATCH_STEP first[] = {ValueStep(TESSEL_REG_BATCH_SET_VALUE, L"v", &data)};
    EXPECT_EQ(ERROR_INVALID_PARAMETER, TesselRegApplyBatch(first, 1, 0, &failed));
    const TESSEL_REG_BATCH_STEP one = KeyStep(TESSEL_REG_BATCH_CREATE_KEY, a);
    EXPECT_EQ(ERROR_INVALID_PARAMETER, TesselRegApplyBatch(&one, 1, KEY_WOW64_32KEY | KEY_WOW64_64KEY, &failed));
    EXPECT_FALSE(KeyExists(a));
}

// Checks that a step the store refuses (a key's grant) ends the batch there, keeping the steps
// before it and writing none after it.
TEST_F(RegistryBatch, AFailureKeepsWhatCameBeforeIt)
{
    const std::wstring locked = kBase + L"\\Locked";
    const std::wstring lockedChild = locked + L"\\Child";
    {
        ScopedKey key;
        ASSERT_EQ(ERROR_SUCCESS, CreateKey(HKEY_CURRENT_USER, locked.c_str(), key));
        ASSERT_EQ(ERROR_SUCCESS, TesselRegSetKeyAccess(key.Get(), KEY_READ));
    }
    const std::vector<TESSEL_REG_BATCH_STEP> steps = {
        KeyStep(TESSEL_REG_BATCH_CREATE_KEY, a),
        ValueStep(TESSEL_REG_BATCH_SET_VALUE, L"before", &data),
        KeyStep(TESSEL_REG_BATCH_CREATE_KEY, lockedChild),
        KeyStep(TESSEL_REG_BATCH_CREATE_KEY, b),
    };
    DWORD failed = 0;
    EXPECT_EQ(ERROR_ACCESS_DENIED, TesselRegApplyBatch(steps.data(), static_cast<DWORD>(steps.size()), 0, &failed));
    EXPECT_EQ(2u, failed);
    EXPECT_EQ(ERROR_SUCCESS, ValueStatus(a, L"before"));
    EXPECT_FALSE(KeyExists(locked + L"\\Child"));
    EXPECT_FALSE(KeyExists(b));
}

} // namespace

#endif // _WIN32
