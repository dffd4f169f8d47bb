// SPDX-License-Identifier: MIT
// Registry: rights, sizes, enumeration, deletion.
#include "tests/contract/contract.h"

#include <array>
#include <string>

namespace {

using Wide = std::basic_string<WCHAR>;

// A key of its own for each contract, gone with everything in it afterwards.
class ScratchKey {
  public:
    ScratchKey() {
        Forget();
        EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, kPath, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr,
                                  &key, nullptr),
                  ERROR_SUCCESS);
    }
    ~ScratchKey() {
        RegCloseKey(key);
        Forget();
    }
    ScratchKey(const ScratchKey&) = delete;
    ScratchKey& operator=(const ScratchKey&) = delete;

    [[nodiscard]] HKEY Reopen(REGSAM rights) const {
        HKEY again = nullptr;
        EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kPath, 0, rights, &again), ERROR_SUCCESS);
        return again;
    }
    void Put(const WCHAR* name, DWORD type, const void* data, DWORD size) const {
        EXPECT_EQ(RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), size), ERROR_SUCCESS);
    }

    static constexpr const WCHAR* kPath = TEXT("SOFTWARE\\QxContract");
    HKEY key = nullptr;

  private:
    static void Forget() {
        RegDeleteKeyW(HKEY_LOCAL_MACHINE, TEXT("SOFTWARE\\QxContract\\Child\\Grandchild"));
        RegDeleteKeyW(HKEY_LOCAL_MACHINE, TEXT("SOFTWARE\\QxContract\\Child"));
        RegDeleteKeyW(HKEY_LOCAL_MACHINE, kPath);
    }
};

HKEY MakeChild(HKEY parent, const WCHAR* name, DWORD* disposition = nullptr) {
    HKEY child = nullptr;
    EXPECT_EQ(
        RegCreateKeyExW(parent, name, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &child, disposition),
        ERROR_SUCCESS);
    return child;
}

}  // namespace

CONTRACT(registry, a_missing_key_does_not_open, "RegOpenKeyExW") {
    HKEY key = nullptr;
    IS(RegOpenKeyExW(HKEY_LOCAL_MACHINE, TEXT("SOFTWARE\\QxContractNone"), 0, KEY_READ, &key),
       ERROR_FILE_NOT_FOUND);
    IS(key == nullptr, true);
    IS(RegOpenKeyExW(HKEY_LOCAL_MACHINE, TEXT("SOFTWARE"), 0, KEY_READ, nullptr), ERROR_INVALID_PARAMETER);
}

CONTRACT(registry, creating_tells_new_from_old, "RegCreateKeyExW RegOpenKeyExW RegCloseKey") {
    const ScratchKey scratch;
    DWORD disposition = 0;
    RegCloseKey(MakeChild(scratch.key, TEXT("Child"), &disposition));
    IS(disposition, DWORD{REG_CREATED_NEW_KEY});
    RegCloseKey(MakeChild(scratch.key, TEXT("CHILD"), &disposition));
    IS(disposition, DWORD{REG_OPENED_EXISTING_KEY});
    // The parents of a path are made with it.
    RegCloseKey(MakeChild(scratch.key, TEXT("Child\\Grandchild"), &disposition));
    IS(disposition, DWORD{REG_CREATED_NEW_KEY});
    HKEY same = nullptr;
    IS(RegOpenKeyExW(scratch.key, nullptr, 0, KEY_READ, &same), ERROR_SUCCESS);
    HOLDS(same != nullptr);
    IS(RegCloseKey(same), ERROR_SUCCESS);
    IS(RegCloseKey(nullptr), ERROR_INVALID_HANDLE);
}

CONTRACT(registry, rights_of_a_handle_are_enforced,
         "RegOpenKeyExW RegSetValueExW RegQueryValueExW RegEnumValueW") {
    const ScratchKey scratch;
    const DWORD number = 5;
    scratch.Put(TEXT("Number"), REG_DWORD, &number, sizeof(number));
    const HKEY reader = scratch.Reopen(KEY_READ);
    IS(RegSetValueExW(reader, TEXT("Number"), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), 4),
       ERROR_ACCESS_DENIED);
    IS(RegQueryValueExW(reader, TEXT("Number"), nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
    RegCloseKey(reader);
    const HKEY writer = scratch.Reopen(KEY_WRITE);
    IS(RegQueryValueExW(writer, TEXT("Number"), nullptr, nullptr, nullptr, nullptr), ERROR_ACCESS_DENIED);
    WCHAR name[32];
    DWORD units = 32;
    IS(RegEnumValueW(writer, 0, name, &units, nullptr, nullptr, nullptr, nullptr), ERROR_ACCESS_DENIED);
    IS(RegSetValueExW(writer, TEXT("Number"), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), 4),
       ERROR_SUCCESS);
    RegCloseKey(writer);
}

CONTRACT(registry, a_query_tells_type_and_size, "RegQueryValueExW RegSetValueExW") {
    const ScratchKey scratch;
    scratch.Put(TEXT("PortName"), REG_SZ, TEXT("COM7"), 10);
    DWORD type = 0;
    DWORD size = 0;
    IS(RegQueryValueExW(scratch.key, TEXT("portname"), nullptr, &type, nullptr, &size), ERROR_SUCCESS);
    IS(type, DWORD{REG_SZ});
    IS(size, 10U);
    std::array<BYTE, 32> data{};
    size = 9;
    IS(RegQueryValueExW(scratch.key, TEXT("PortName"), nullptr, &type, data.data(), &size), ERROR_MORE_DATA);
    IS(size, 10U);
    size = 10;
    IS(RegQueryValueExW(scratch.key, TEXT("PortName"), nullptr, &type, data.data(), &size), ERROR_SUCCESS);
    IS(Wide(reinterpret_cast<const WCHAR*>(data.data())), Wide(TEXT("COM7")));
    size = sizeof(data);
    IS(RegQueryValueExW(scratch.key, TEXT("PortName"), nullptr, nullptr, data.data(), &size), ERROR_SUCCESS);
    IS(size, 10U);
    IS(RegQueryValueExW(scratch.key, TEXT("PortName"), nullptr, nullptr, data.data(), nullptr),
       ERROR_INVALID_PARAMETER);
    size = sizeof(data);
    IS(RegQueryValueExW(scratch.key, TEXT("None"), nullptr, &type, data.data(), &size), ERROR_FILE_NOT_FOUND);
    // A text written without its NUL is stored without it.
    scratch.Put(TEXT("Short"), REG_SZ, TEXT("COM77"), 8);
    IS(RegQueryValueExW(scratch.key, TEXT("Short"), nullptr, &type, nullptr, &size), ERROR_SUCCESS);
    IS(size, 8U);
    // Writing again replaces value and type, in whatever case the name comes.
    const DWORD number = 7;
    scratch.Put(TEXT("PORTNAME"), REG_DWORD, &number, sizeof(number));
    size = sizeof(data);
    IS(RegQueryValueExW(scratch.key, TEXT("PortName"), nullptr, &type, data.data(), &size), ERROR_SUCCESS);
    IS(type, DWORD{REG_DWORD});
    IS(size, 4U);
}

CONTRACT(registry, values_enumerate_by_index, "RegEnumValueW") {
    const ScratchKey scratch;
    const DWORD number = 3;
    scratch.Put(TEXT("Alpha"), REG_DWORD, &number, sizeof(number));
    scratch.Put(TEXT("Beta"), REG_SZ, TEXT("text"), 10);
    std::array<WCHAR, 16> name{};
    std::array<BYTE, 16> data{};
    DWORD units = 16;
    DWORD size = 16;
    DWORD type = 0;
    IS(RegEnumValueW(scratch.key, 0, name.data(), &units, nullptr, &type, data.data(), &size), ERROR_SUCCESS);
    IS(Wide(name.data()), Wide(TEXT("Alpha")));
    IS(units, 5U);  // without the NUL
    IS(type, DWORD{REG_DWORD});
    IS(size, 4U);
    units = 16;
    size = 16;
    IS(RegEnumValueW(scratch.key, 2, name.data(), &units, nullptr, &type, data.data(), &size),
       ERROR_NO_MORE_ITEMS);
    units = 4;  // no room for the NUL
    size = 16;
    IS(RegEnumValueW(scratch.key, 1, name.data(), &units, nullptr, &type, data.data(), &size),
       ERROR_MORE_DATA);
    units = 16;
    size = 9;
    IS(RegEnumValueW(scratch.key, 1, name.data(), &units, nullptr, &type, data.data(), &size),
       ERROR_MORE_DATA);
    IS(size, 10U);
    units = 16;
    IS(RegEnumValueW(scratch.key, 1, name.data(), &units, nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
    IS(units, 4U);
}

CONTRACT(registry, a_key_with_subkeys_is_not_deleted, "RegDeleteKeyW") {
    const ScratchKey scratch;
    RegCloseKey(MakeChild(scratch.key, TEXT("Child\\Grandchild")));
    IS(RegDeleteKeyW(scratch.key, TEXT("Child")), ERROR_ACCESS_DENIED);
    IS(RegDeleteKeyW(scratch.key, TEXT("Child\\Grandchild")), ERROR_SUCCESS);
    IS(RegDeleteKeyW(scratch.key, TEXT("child")), ERROR_SUCCESS);
    IS(RegDeleteKeyW(scratch.key, TEXT("Child")), ERROR_FILE_NOT_FOUND);
}

CONTRACT(registry, a_deleted_key_fails_its_handles, "RegDeleteKeyExW RegQueryValueExW RegSetValueExW") {
    using DeleteKey = LSTATUS(WINAPI*)(HKEY, const WCHAR*, REGSAM, DWORD);
    const auto delete_key = reinterpret_cast<DeleteKey>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(TEXT("Advapi32.dll")), "RegDeleteKeyExW")));
    NEEDS(delete_key != nullptr);
    const ScratchKey scratch;
    const HKEY child = MakeChild(scratch.key, TEXT("Child"));
    IS(delete_key(scratch.key, TEXT("Child"), KEY_WOW64_64KEY, 0), ERROR_SUCCESS);
    DWORD size = 0;
    IS(RegQueryValueExW(child, TEXT("Any"), nullptr, nullptr, nullptr, &size), ERROR_KEY_DELETED);
    IS(RegSetValueExW(child, TEXT("Any"), 0, REG_SZ, reinterpret_cast<const BYTE*>(TEXT("")), 2),
       ERROR_KEY_DELETED);
    IS(RegCloseKey(child), ERROR_SUCCESS);
}
