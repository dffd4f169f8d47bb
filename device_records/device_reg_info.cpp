// SPDX-License-Identifier: MIT
#include "device_records/device_reg_info.h"

#include "base/attempt.h"
#include "base/registry.h"

#include <algorithm>
#include <cstddef>

namespace qx {

namespace {

// Whether data of this registry type are a text, or a list whose first string can stand for one.
constexpr bool IsTextType(DWORD registry_type) noexcept {
    return registry_type == REG_SZ || registry_type == REG_EXPAND_SZ || registry_type == REG_MULTI_SZ;
}

}  // namespace

bool CQXDeviceRegInfo::ReadProperty(DWORD property, PropertyText& out) const noexcept {
    LocalMemory& memory = out.memory;
    DWORD size = 0;
    DWORD required = 0;
    DWORD type = REG_NONE;
    // The property can grow between two calls, so the size is asked for until it holds.
    while (!SetupDiGetDeviceRegistryPropertyW(device_set_, &element_, property, &type,
                                              static_cast<BYTE*>(memory.Get()), size, &required)) {
        const DWORD error = GetLastError();
        memory.Reset();
        // Asking again with the same size would not end the search. A failed allocation ends here as well,
        // because `required` no longer exceeds `size`.
        if (error != ERROR_INSUFFICIENT_BUFFER || required <= size)
            return false;
        size = required;
        memory.Reset(LocalAlloc(LPTR, size));
    }
    if (!IsTextType(type))
        return false;

    // Drivers' installation data are not always terminated, and an empty property needs no buffer.
    const std::size_t units = memory ? std::min(size, required) / sizeof(WCHAR) : 0;
    if (units != 0)
        out.text = TextView(static_cast<const WCHAR*>(memory.Get()), units);
    out.text = out.text.substr(0, out.text.find(WCHAR{0}));
    return true;
}

bool CQXDeviceRegInfo::GetPropertyString(DWORD property, Text& out) const noexcept {
    PropertyText read;
    return ReadProperty(property, read) && Attempt([&] { out = Text(read.text); });
}

bool CQXDeviceRegInfo::GetClassString(Text& out) const noexcept {
    return GetPropertyString(SPDRP_CLASS, out);
}

bool CQXDeviceRegInfo::GetDriverKey(Text& out) const noexcept {
    return GetPropertyString(SPDRP_DRIVER, out);
}

bool CQXDeviceRegInfo::GetFriendlyName(Text& out) const noexcept {
    return GetPropertyString(SPDRP_FRIENDLYNAME, out);
}

bool CQXDeviceRegInfo::WriteFriendlyName(TextView name, TextView old, TextView replacement) const noexcept {
    std::size_t length = 0;
    ReplaceEach(name, old, replacement, [&](TextView piece) { length += piece.size(); });
    const std::size_t size = (length + 1) * sizeof(WCHAR);
    const LocalMemory buffer(LocalAlloc(LPTR, size + 1));
    if (!buffer)
        return false;
    auto* end = static_cast<WCHAR*>(buffer.Get());
    ReplaceEach(name, old, replacement,
                [&](TextView piece) { end = std::copy(piece.begin(), piece.end(), end); });
    return SetupDiSetDeviceRegistryPropertyW(device_set_, &element_, SPDRP_FRIENDLYNAME,
                                             static_cast<const BYTE*>(buffer.Get()),
                                             static_cast<DWORD>(size)) != FALSE;
}

bool CQXDeviceRegInfo::SetFriendlyName(const Text& name) const noexcept {
    return WriteFriendlyName(name, {}, {});
}

bool CQXDeviceRegInfo::ReplaceInFriendlyName(TextView old, TextView replacement) const noexcept {
    PropertyText read;
    return ReadProperty(SPDRP_FRIENDLYNAME, read) && WriteFriendlyName(read.text, old, replacement);
}

bool CQXDeviceRegInfo::GetDeviceString(const WCHAR* value_name, DeviceString& out) const noexcept {
    const HardwareKey key = OpenHardwareKey(device_set_, element_, GENERIC_READ);
    if (!key)
        return false;
    DeviceString read;
    DWORD size = DeviceString::kCapacity * sizeof(WCHAR);
    if (RegQueryValueExW(key.Get(), value_name, nullptr, nullptr, reinterpret_cast<BYTE*>(read.Buffer()),
                         &size) != ERROR_SUCCESS)
        return false;
    out = read;
    return true;
}

bool CQXDeviceRegInfo::GetDeviceString(const WCHAR* value_name, Text& out) const noexcept {
    DeviceString read;
    return GetDeviceString(value_name, read) && Attempt([&] { out = Text(read.view()); });
}

bool CQXDeviceRegInfo::SetDeviceString(const WCHAR* value_name, const Text& text) const noexcept {
    const HardwareKey key = OpenHardwareKey(device_set_, element_, GENERIC_WRITE);
    return key && WriteText(key.Get(), value_name, text.c_str());
}

}  // namespace qx
