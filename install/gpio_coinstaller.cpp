// SPDX-License-Identifier: MIT
#include "install/gpio_coinstaller.h"

#include "base/handles.h"
#include "base/text.h"
#include "install/coinstaller.h"
#include "install/product_data.h"

#include <initguid.h>

#include <devguid.h>

#include <array>
#include <optional>

namespace qx {

namespace {

// Where the device is, in the words that the device manager shows; none when it says nothing or more than
// fits.
std::optional<Text> LocationOf(HDEVINFO device_set, SP_DEVINFO_DATA& device) {
    std::array<WCHAR, 50> location{};
    if (!SetupDiGetDeviceRegistryPropertyW(device_set, &device, SPDRP_LOCATION_INFORMATION, nullptr,
                                           reinterpret_cast<BYTE*>(location.data()), sizeof(location),
                                           nullptr))
        return std::nullopt;
    return Text::FromBuffer(location.data(), location.size());
}

// `location` with its function character replaced; none unless that character is `match`.
std::optional<Text> CompanionLocation(const Text& location, WCHAR match, WCHAR companion) {
    constexpr TextView kMarker = TEXT("function ");
    std::basic_string<WCHAR> text(location.view());
    const std::size_t marker = text.find(kMarker);
    if (marker == TextView::npos)
        return std::nullopt;
    const std::size_t function = marker + kMarker.size();
    if (function >= text.size() || text[function] != match)
        return std::nullopt;
    text[function] = companion;
    return Text(TextView(text));
}

// Removing the companion may bring the device installer back here, for the companion or for another GPIO
// function of the same adapter. The mutex exists for as long as one removal is under way, in any process, and
// says to leave it at that; nobody ever waits for it.
void BeforeRemove(HDEVINFO device_set, SP_DEVINFO_DATA& gpio) {
    const KernelObject mutex(CreateMutexW(nullptr, FALSE, kGpioRemovalMutex));
    const DWORD error = GetLastError();
    if (mutex && (error == ERROR_ALREADY_EXISTS || error == ERROR_ACCESS_DENIED))
        return;
    static_cast<void>(RemoveCompanionFunction(device_set, gpio, '0', '1'));
}

constexpr CoinstallerActions kGpioActions{nullptr, nullptr, &BeforeRemove};

}  // namespace

bool RemoveCompanionFunction(HDEVINFO device_set, SP_DEVINFO_DATA& gpio, WCHAR match, WCHAR companion) {
    const std::optional<Text> location = LocationOf(device_set, gpio);
    const std::optional<Text> target =
        location ? CompanionLocation(*location, match, companion) : std::nullopt;
    if (!target)
        return false;
    const DeviceSet devices(
        SetupDiGetClassDevsW(&GUID_DEVCLASS_MULTIPORTSERIAL, nullptr, nullptr, DIGCF_PRESENT));
    if (!devices)
        return false;
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof(device);
    for (DWORD index = 0; SetupDiEnumDeviceInfo(devices.Get(), index, &device); ++index) {
        // A device that does not say where it is makes the list doubtful; nothing is removed on a doubt.
        const std::optional<Text> found = LocationOf(devices.Get(), device);
        if (!found)
            break;
        if (*found == *target) {
            static_cast<void>(SetupDiCallClassInstaller(DIF_REMOVE, devices.Get(), &device));
            break;
        }
    }
    return true;
}

}  // namespace qx

DWORD CALLBACK QxUCoInstallGpio(DI_FUNCTION request, HDEVINFO device_set, PSP_DEVINFO_DATA device,
                                PCOINSTALLER_CONTEXT_DATA context) noexcept {
    return qx::AnswerInstaller(qx::kGpioActions, request, device_set, device, context);
}
