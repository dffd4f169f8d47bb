// SPDX-License-Identifier: MIT
#include "device_records/port_access.h"

#include "base/attempt.h"
#include "base/registry.h"
#include "device_records/device_reg_info.h"
#include "device_records/registry_layout.h"

namespace qx {

bool CanOpenPort(TextView port_name) noexcept {
    return Attempt([&] {
        const Text path = Text(TEXT("\\\\.\\")) + Text(port_name);
        const File port(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_OVERLAPPED, nullptr));
        return static_cast<bool>(port);
    });
}

bool WritePortsEntry(TextView port_name, const WCHAR* settings) noexcept {
    const RegistryKey ports = CreateKey(HKEY_LOCAL_MACHINE, kPortsKey);
    FixedText<DeviceString::kCapacity + 1> entry;
    entry.Append(port_name);
    entry.Append(TEXT(":"));
    return ports && WriteText(ports.Get(), entry.c_str(), settings);
}

}  // namespace qx
