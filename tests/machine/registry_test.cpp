// SPDX-License-Identifier: MIT
// The registry where the platform is subtle: sizes, rights, enumeration, deletion.
#include "tests/support/machine_fixture.h"

#include <array>
#include <string>
#include <tuple>

namespace {

using qxtest::MachineTest;

class RegistryTest : public MachineTest {
  protected:
    void SetUp() override {
        MachineTest::SetUp();
        texts_are_whole = false;
        const auto root = machine().MakeKey(TEXT("Software\\Test"));
        root->Set(TEXT("Text"), REG_SZ, qxsim::TextBytes(TEXT("COM5")));
        root->Set(TEXT("Number"), REG_DWORD, qxsim::DwordBytes(7));
        machine().MakeKey(TEXT("Software\\Test\\Sub\\Deep"));
    }
    HKEY Open(REGSAM access, const WCHAR* path = TEXT("software\\TEST")) {
        HKEY key = nullptr;
        EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, access, &key), ERROR_SUCCESS);
        return key;
    }
};

TEST_F(RegistryTest, QueryReportsSizesAndLeavesShortBuffersAlone) {
    HKEY key = Open(GENERIC_READ);
    DWORD size = 99;
    EXPECT_EQ(RegQueryValueExW(key, TEXT("text"), nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(size, 10U);
    std::array<BYTE, 10> data{0xAA};
    size = 9;
    DWORD type = 0;
    EXPECT_EQ(RegQueryValueExW(key, TEXT("Text"), nullptr, &type, data.data(), &size), ERROR_MORE_DATA);
    EXPECT_EQ(std::tuple(size, type, data[0]), std::tuple(10U, DWORD{REG_SZ}, BYTE{0xAA}));
    EXPECT_EQ(RegQueryValueExW(key, TEXT("Text"), nullptr, nullptr, data.data(), &size), ERROR_SUCCESS);
    EXPECT_EQ(data[0], 'C');
    EXPECT_EQ(RegQueryValueExW(key, TEXT("Text"), nullptr, nullptr, data.data(), nullptr),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegQueryValueExW(key, TEXT("None"), nullptr, nullptr, nullptr, &size), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueExW(key, TEXT("Text"), nullptr, nullptr, nullptr, &size), ERROR_INVALID_HANDLE);
}

TEST_F(RegistryTest, HandlesDoOnlyWhatTheyWereOpenedFor) {
    HKEY reader = Open(KEY_READ);
    HKEY writer = Open(GENERIC_WRITE);
    DWORD size = 0;
    EXPECT_EQ(RegSetValueExW(reader, TEXT("New"), 0, REG_SZ, nullptr, 0), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteValueW(reader, TEXT("Text")), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegQueryValueExW(writer, TEXT("Text"), nullptr, nullptr, nullptr, &size), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegSetValueExW(writer, TEXT("New"), 0, REG_SZ, nullptr, 0), ERROR_SUCCESS);
    // Creating asks the key, not the handle.
    HKEY made = nullptr;
    DWORD disposition = 0;
    EXPECT_EQ(
        RegCreateKeyExW(reader, TEXT("Made\\Inside"), 0, nullptr, 0, KEY_WRITE, nullptr, &made, &disposition),
        ERROR_SUCCESS);
    EXPECT_EQ(disposition, static_cast<DWORD>(REG_CREATED_NEW_KEY));
    for (HKEY key : {reader, writer, made})
        EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
}

TEST_F(RegistryTest, ARefusingKeyOpensForTheRestAndCreatesNothing) {
    machine().FindKey(TEXT("Software\\Test"))->refused = KEY_SET_VALUE | KEY_CREATE_SUB_KEY;
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, TEXT("Software\\Test"), 0, KEY_ALL_ACCESS, &key),
              ERROR_ACCESS_DENIED);
    EXPECT_EQ(key, nullptr);
    EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, TEXT("Software\\Test\\New"), 0, nullptr, 0, KEY_READ,
                              nullptr, &key, nullptr),
              ERROR_ACCESS_DENIED);
    EXPECT_EQ(machine().FindKey(TEXT("Software\\Test\\New")), nullptr);
    HKEY reader = Open(KEY_READ);
    RegCloseKey(reader);
}

TEST_F(RegistryTest, EnumerationCountsTheNameWithItsNulAndWritesAllOrNothing) {
    HKEY key = Open(KEY_READ);
    std::array<WCHAR, 8> name{};
    std::array<BYTE, 16> data{};
    DWORD name_size = 4;  // "Text" needs five
    DWORD size = data.size();
    DWORD type = 0;
    EXPECT_EQ(RegEnumValueW(key, 0, name.data(), &name_size, nullptr, &type, data.data(), &size),
              ERROR_MORE_DATA);
    EXPECT_EQ(name[0], 0);
    name_size = 5;
    size = 4;
    EXPECT_EQ(RegEnumValueW(key, 0, name.data(), &name_size, nullptr, &type, data.data(), &size),
              ERROR_MORE_DATA);
    EXPECT_EQ(size, 10U);
    name_size = 5;
    EXPECT_EQ(RegEnumValueW(key, 0, name.data(), &name_size, nullptr, &type, data.data(), &size),
              ERROR_SUCCESS);
    EXPECT_EQ(std::tuple(name_size, type, size), std::tuple(4U, DWORD{REG_SZ}, 10U));
    name_size = 8;
    EXPECT_EQ(RegEnumValueW(key, 2, name.data(), &name_size, nullptr, nullptr, nullptr, nullptr),
              ERROR_NO_MORE_ITEMS);
    EXPECT_EQ(RegEnumKeyExW(key, 0, name.data(), &name_size, nullptr, nullptr, nullptr, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(std::basic_string<WCHAR>(name.data()), TEXT("Sub"));
    name_size = 8;
    EXPECT_EQ(RegEnumKeyExW(key, 1, name.data(), &name_size, nullptr, nullptr, nullptr, nullptr),
              ERROR_NO_MORE_ITEMS);
    RegCloseKey(key);
}

TEST_F(RegistryTest, OnlyAKeyWithoutSubkeysIsDeletedAndItsHandlesGoStale) {
    HKEY key = Open(KEY_READ);
    HKEY deep = Open(KEY_READ, TEXT("Software\\Test\\Sub\\Deep"));
    EXPECT_EQ(RegDeleteKeyW(key, TEXT("Sub")), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteKeyExW(key, TEXT("Sub\\Deep"), 0, 0), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteKeyExW(key, TEXT("Sub\\Deep"), 0, 0), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteKeyW(key, TEXT("Sub")), ERROR_SUCCESS);
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExW(deep, TEXT("x"), nullptr, nullptr, nullptr, &size), ERROR_KEY_DELETED);
    EXPECT_EQ(RegCloseKey(deep), ERROR_SUCCESS);
    RegCloseKey(key);
}

TEST_F(RegistryTest, VolatileKeysAreGoneAfterARestart) {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, TEXT("Software\\V"), 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    HKEY child = nullptr;
    EXPECT_EQ(RegCreateKeyExW(key, TEXT("Kept"), 0, nullptr, 0, KEY_READ, nullptr, &child, nullptr), 1021);
    RegCloseKey(key);
    EXPECT_NE(machine().FindKey(TEXT("Software\\V")), nullptr);
    const auto again = qxsim::Machine::Reopen(machine().Snapshot());
    EXPECT_EQ(again->FindKey(TEXT("Software\\V")), nullptr);
    EXPECT_EQ(again->ReadText("Software\\Test", "Text"), "COM5");
}

}  // namespace
