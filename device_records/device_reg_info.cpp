#include "device_records/device_reg_info.h"

#include "base/handles.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

namespace qx {

namespace {

// The hardware key of the device at hand.
HardwareKey OpenHardwareKey(HDEVINFO device_set, SP_DEVINFO_DATA& element, REGSAM access) noexcept {
    return HardwareKey(SetupDiOpenDevRegKey(device_set, &element, DICS_FLAG_GLOBAL, 0, DIREG_DEV, access));
}

// Whether data of this registry type are a text, or a list whose first string can stand for one.
constexpr bool IsTextType(DWORD registry_type) noexcept {
    return registry_type == REG_SZ || registry_type == REG_EXPAND_SZ || registry_type == REG_MULTI_SZ;
}

}  // namespace

bool CQXDeviceRegInfo::GetPropertyString(DWORD property, Text& out) const noexcept {
    LocalMemory buffer;
    DWORD size = 0;
    DWORD required = 0;
    DWORD type = REG_NONE;
    // The property can grow between two calls, so the size is asked for until it holds.
    while (!SetupDiGetDeviceRegistryPropertyW(device_set_, &element_, property, &type,
                                              static_cast<BYTE*>(buffer.Get()), size, &required)) {
        const DWORD error = GetLastError();
        buffer.Reset();
        // Asking again with the same size would not end the search. A buffer that could not be had ends it
        // here as well: the size was right.
        if (error != ERROR_INSUFFICIENT_BUFFER || required <= size)
            return false;
        size = required;
        buffer.Reset(LocalAlloc(LPTR, size));
    }
    if (!IsTextType(type))
        return false;

    // Drivers' installation data are not always terminated, and an empty property needs no buffer.
    const std::size_t units = buffer ? std::min(size, required) / sizeof(WCHAR) : 0;
    try {
        out = units == 0 ? Text() : Text::FromBuffer(static_cast<const WCHAR*>(buffer.Get()), units);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
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

bool CQXDeviceRegInfo::SetFriendlyName(Text name) const noexcept {
    const DWORD size = name.SizeInBytes();
    const LocalMemory buffer(LocalAlloc(LPTR, std::size_t{size} + 1));
    if (!buffer)
        return false;
    std::memcpy(buffer.Get(), name.c_str(), size);
    return SetupDiSetDeviceRegistryPropertyW(device_set_, &element_, SPDRP_FRIENDLYNAME,
                                             static_cast<const BYTE*>(buffer.Get()), size) != FALSE;
}

bool CQXDeviceRegInfo::GetDeviceString(Text value_name, Text& out) const noexcept {
    std::array<WCHAR, 150> buffer{};
    {
        const HardwareKey key = OpenHardwareKey(device_set_, element_, GENERIC_READ);
        if (!key)
            return false;
        DWORD size = sizeof buffer;
        if (RegQueryValueExW(key.Get(), value_name.c_str(), nullptr, nullptr,
                             reinterpret_cast<BYTE*>(buffer.data()), &size) != ERROR_SUCCESS)
            return false;
    }
    try {
        out = Text::FromBuffer(buffer.data(), buffer.size());
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

bool CQXDeviceRegInfo::SetDeviceString(Text value_name, Text text) const noexcept {
    const HardwareKey key = OpenHardwareKey(device_set_, element_, GENERIC_WRITE);
    return key &&
           RegSetValueExW(key.Get(), value_name.c_str(), 0, REG_SZ,
                          reinterpret_cast<const BYTE*>(text.c_str()), text.SizeInBytes()) == ERROR_SUCCESS;
}

}  // namespace qx
