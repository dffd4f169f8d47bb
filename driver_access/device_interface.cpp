// SPDX-License-Identifier: MIT
#include "driver_access/device_interface.h"

#include "base/attempt.h"

#include <cstddef>
#include <cstdio>
#include <memory>
#include <new>
#include <optional>

namespace qx {

namespace {

// The platform checks this size field against the layout that its own programs are compiled with.
static_assert(sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W) == 8);

// The whole path of one interface, or nothing when the platform does not give it.
std::optional<Text> PathOf(HDEVINFO device_set, SP_DEVICE_INTERFACE_DATA& interface_data) {
    DWORD size = 0;
    if (SetupDiGetDeviceInterfaceDetailW(device_set, &interface_data, nullptr, 0, &size, nullptr) ||
        GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return std::nullopt;
    if (size < sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W))
        return std::nullopt;
    const std::unique_ptr<BYTE[]> memory(new (std::nothrow) BYTE[size]());
    if (!memory)
        return std::nullopt;
    auto* const detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(memory.get());
    detail->cbSize = sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W);
    if (!SetupDiGetDeviceInterfaceDetailW(device_set, &interface_data, detail, size, nullptr, nullptr))
        return std::nullopt;
    const std::size_t path_bytes = size - offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath);
    return Text::FromBuffer(detail->DevicePath, path_bytes / sizeof(WCHAR));
}

// The text behind the last backslash, or all of it.
Text LastComponent(const Text& path) {
    const std::size_t backslash = path.view().rfind(TEXT('\\'));
    return backslash == TextView::npos ? path : path.WithoutFirst(backslash + 1);
}

}  // namespace

bool CQxSetupDi_DeviceInterface::OpenInterfaceSet() noexcept {
    interface_set_.Reset(
        SetupDiGetClassDevsW(&interface_class_, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE));
    if (interface_set_)
        return true;
    std::printf("SetupDiGetClassDevs failed: %x\n", static_cast<unsigned>(GetLastError()));
    return false;
}

bool CQxSetupDi_DeviceInterface::FindInterfacePath(const Text& pattern) noexcept {
    return Attempt([&] {
        const Text wanted = LowerCase(pattern);
        SP_DEVICE_INTERFACE_DATA interface_data{};
        interface_data.cbSize = sizeof(interface_data);
        for (DWORD index = 0; SetupDiEnumDeviceInterfaces(interface_set_.Get(), nullptr, &interface_class_,
                                                          index, &interface_data);
             ++index) {
            const std::optional<Text> path = PathOf(interface_set_.Get(), interface_data);
            if (!path)
                return false;
            if (LowerCase(LastComponent(*path)) == wanted) {
                interface_path_ = *path;
                return true;
            }
        }
        return false;
    });
}

}  // namespace qx
