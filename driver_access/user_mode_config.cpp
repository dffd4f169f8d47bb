// SPDX-License-Identifier: MIT
#include "driver_access/user_mode_config.h"

#include "base/attempt.h"
#include "driver_access/product_data.h"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <new>

namespace qx {

namespace {

// What stands in front of every request, little-endian: the set selector and a word that is all ones.
using RequestHeader = std::array<BYTE, 8>;

constexpr RequestHeader HeaderOf(DWORD selector) noexcept {
    return {static_cast<BYTE>(selector),
            static_cast<BYTE>(selector >> 8),
            static_cast<BYTE>(selector >> 16),
            static_cast<BYTE>(selector >> 24),
            0xFF,
            0xFF,
            0xFF,
            0xFF};
}

}  // namespace

CQxUserModeConfig::CQxUserModeConfig(HDEVINFO device_set, const SP_DEVINFO_DATA& element) noexcept
    : CQxSetupDi_DeviceInterface(kControlInterfaceClass), port_record_(device_set, element) {}

bool CQxUserModeConfig::FindInterface() noexcept {
    return Attempt([&] {
        Text driver_key;
        if (!port_record_.GetDriverKey(driver_key))
            return false;
        const Text pattern = Text(kControlReferencePrefix) + ReplaceAll(driver_key, Text(TEXT("\\")), Text());
        return OpenInterfaceSet() && FindInterfacePath(pattern);
    });
}

bool CQxUserModeConfig::ReadSettings(CSsInformationSet& parameters, DWORD selector) noexcept {
    return Read(parameters, selector, IOCTL_GET_SETTINGS_SIZE, IOCTL_GET_SETTINGS);
}

bool CQxUserModeConfig::ReadDefaultSettings(CSsInformationSet& parameters, DWORD selector) noexcept {
    return Read(parameters, selector, IOCTL_GET_DEFAULT_SETTINGS_SIZE, IOCTL_GET_DEFAULT_SETTINGS);
}

// Without sharing, so that two programs cannot mix their requests. The device is opened for overlapped
// requests, as its driver expects, but every request here waits for its end.
File CQxUserModeConfig::OpenControlDevice() const noexcept {
    return File(CreateFileW(InterfacePath().c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                            FILE_FLAG_OVERLAPPED, nullptr));
}

bool CQxUserModeConfig::Read(CSsInformationSet& parameters, DWORD selector, DWORD size_request,
                             DWORD stream_request) noexcept {
    if (InterfacePath().empty() || !parameters.IsComplete())
        return false;
    const File device = OpenControlDevice();
    if (!device)
        return false;

    RequestHeader header = HeaderOf(selector);
    DWORD size = 0;
    DWORD returned = 0;
    if (!DeviceIoControl(device.Get(), size_request, header.data(), static_cast<DWORD>(header.size()), &size,
                         sizeof(size), &returned, nullptr))
        return false;

    // The driver chooses the size (up to 4 GiB), so treat a failed allocation like any other bad answer.
    const std::unique_ptr<BYTE[]> stream(new (std::nothrow) BYTE[size]);
    if (!stream)
        return false;
    returned = 0;
    if (!DeviceIoControl(device.Get(), stream_request, header.data(), static_cast<DWORD>(header.size()),
                         stream.get(), size, &returned, nullptr))
        return false;
    // No driver can fill more than the buffer, whatever it says.
    DWORD available = std::min(returned, size);
    return parameters.Decode(stream.get(), available);
}

bool CQxUserModeConfig::WriteSettings(CSsInformationSet& parameters, DWORD selector) noexcept {
    if (InterfacePath().empty() || !parameters.IsComplete())
        return false;
    const File device = OpenControlDevice();
    if (!device)
        return false;

    const RequestHeader header = HeaderOf(selector);
    const DWORD stream_size = parameters.EncodedSize();
    if (stream_size > std::numeric_limits<DWORD>::max() - header.size())
        return false;
    const auto request_size = static_cast<DWORD>(header.size() + stream_size);
    const std::unique_ptr<BYTE[]> request(new (std::nothrow) BYTE[request_size]);
    if (!request)
        return false;
    BYTE* const stream = std::copy(header.begin(), header.end(), request.get());
    DWORD free_bytes = stream_size;
    if (!parameters.Encode(stream, free_bytes))
        return false;

    DWORD returned = 0;
    return DeviceIoControl(device.Get(), IOCTL_SET_SETTINGS, request.get(), request_size, nullptr, 0,
                           &returned, nullptr) != FALSE;
}

}  // namespace qx
