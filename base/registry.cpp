// SPDX-License-Identifier: MIT
#include "base/registry.h"

#include "base/text.h"

namespace qx {

RegistryKey OpenKey(HKEY parent, const WCHAR* path, REGSAM access) noexcept {
    RegistryKey key;
    static_cast<void>(RegOpenKeyExW(parent, path, 0, access, key.Put()));
    return key;
}

RegistryKey CreateKey(HKEY parent, const WCHAR* path) noexcept {
    RegistryKey key;
    static_cast<void>(RegCreateKeyExW(parent, path, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE,
                                      nullptr, key.Put(), nullptr));
    return key;
}

HardwareKey OpenHardwareKey(HDEVINFO device_set, const SP_DEVINFO_DATA& element, REGSAM access) noexcept {
    // The platform only reads the element, though it asks for a pointer to change.
    SP_DEVINFO_DATA copy = element;
    return HardwareKey(SetupDiOpenDevRegKey(device_set, &copy, DICS_FLAG_GLOBAL, 0, DIREG_DEV, access));
}

bool WriteText(HKEY key, const WCHAR* name, const WCHAR* text) noexcept {
    const std::size_t units = TextView(text).size() + 1;
    return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                          static_cast<DWORD>(units * sizeof(WCHAR))) == ERROR_SUCCESS;
}

bool WriteNumber(HKEY key, const WCHAR* name, DWORD number) noexcept {
    return RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof(number)) ==
           ERROR_SUCCESS;
}

}  // namespace qx
