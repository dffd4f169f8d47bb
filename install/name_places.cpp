// SPDX-License-Identifier: MIT
#include "install/name_places.h"

#include "base/registry.h"
#include "device_records/device_reg_info.h"
#include "device_records/port_database.h"
#include "device_records/registry_layout.h"
#include "install/dos_device_names.h"

#include <algorithm>

namespace qx {

namespace {

using NamedDevices = std::vector<NamedDevice>;

constexpr TextView kCom = TEXT("COM");

bool IsComName(TextView name) {
    return name.size() > kCom.size() && IsSameName(Text(name.substr(0, kCom.size())), Text(kCom)) &&
           std::ranges::all_of(name.substr(kCom.size()),
                               [](WCHAR unit) { return unit >= TEXT('0') && unit <= TEXT('9'); });
}

// The number of a name as the system writes it; 0 for any other text.
DWORD NumberOf(const Text& name) {
    const auto number = static_cast<DWORD>(ComNumberOf(name));
    return number <= std::tuple_size_v<decltype(SharedNamePlaces::claims)::value_type> &&
                   name == ComNameOf(number)
               ? number
               : 0;
}

std::optional<std::array<bool, 256>> ReadClaims() {
    CPortUtil database;
    const PortDatabaseSession session(database);
    return database.Claims();
}

// All DOS names of the computer, of which the COM names are few.
std::optional<NamedDevices> ReadDosNames() {
    constexpr std::size_t kMostUnits = std::size_t{1} << 24;
    std::vector<WCHAR> list(std::size_t{1} << 14);
    DWORD length = 0;
    while ((length = QueryDosDeviceW(nullptr, list.data(), static_cast<DWORD>(list.size()))) == 0) {
        if (GetLastError() != ERROR_INSUFFICIENT_BUFFER || list.size() >= kMostUnits)
            return std::nullopt;
        list.resize(list.size() * 4);
    }
    NamedDevices names;
    for (TextView rest(list.data(), length); !rest.empty() && rest.front() != WCHAR{};) {
        const TextView name = rest.substr(0, rest.find(WCHAR{}));
        rest.remove_prefix(std::min(name.size() + 1, rest.size()));
        if (!IsComName(name))
            continue;
        const std::optional<KernelPath> target = TargetOfDosName(name.data());
        if (target)
            names.push_back({Text(name), Text(target->view())});
        else if (GetLastError() != ERROR_FILE_NOT_FOUND)  // gone since the list was made
            return std::nullopt;
    }
    return names;
}

std::optional<NamedDevices> ReadSerialComm() {
    RegistryKey map;
    const LSTATUS opened = RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSerialCommKey, 0, KEY_READ, map.Put());
    if (opened == ERROR_FILE_NOT_FOUND)
        return NamedDevices{};  // a computer on which no port has started yet
    if (opened != ERROR_SUCCESS)
        return std::nullopt;
    NamedDevices entries;
    for (DWORD index = 0;; ++index) {
        std::array<WCHAR, 1024> device{};
        std::array<WCHAR, 256> name{};
        auto device_length = static_cast<DWORD>(device.size());
        DWORD size = sizeof(name);
        const LSTATUS result = RegEnumValueW(map.Get(), index, device.data(), &device_length, nullptr,
                                             nullptr, reinterpret_cast<BYTE*>(name.data()), &size);
        if (result == ERROR_NO_MORE_ITEMS)
            return entries;
        if (result != ERROR_SUCCESS)
            return std::nullopt;
        entries.push_back({Text::FromBuffer(name.data(), size / sizeof(WCHAR)), Text(device.data())});
    }
}

void ReadPortName(HDEVINFO device_set, const SP_DEVINFO_DATA& port, NamePlaces& places) {
    const HardwareKey key = OpenHardwareKey(device_set, port, KEY_READ);
    if (!key) {
        const DWORD error = GetLastError();
        places.port_name_known = error == ERROR_KEY_DOES_NOT_EXIST || error == ERROR_FILE_NOT_FOUND ||
                                 error == ERROR_DEVINFO_NOT_REGISTERED;
        return;
    }
    std::array<WCHAR, 150> name{};
    const auto read = [&] {
        DWORD size = sizeof(name);
        return RegQueryValueExW(key.Get(), kPortName, nullptr, nullptr, reinterpret_cast<BYTE*>(name.data()),
                                &size);
    };
    LSTATUS result = read();
    // A missing name is believed only when it was missed twice: otherwise its number would pass for free.
    if (result == ERROR_FILE_NOT_FOUND)
        result = read();
    if (result == ERROR_SUCCESS)
        places.port_name = Text::FromBuffer(name.data(), name.size());
    else  // a value beyond the buffer is no COM name
        places.port_name_known = result == ERROR_FILE_NOT_FOUND || result == ERROR_MORE_DATA;
    places.number = NumberOf(places.port_name);
}

const NamedDevice* FindDevice(const NamedDevices& list, const Text& device) {
    const auto found =
        std::ranges::find_if(list, [&](const NamedDevice& each) { return IsSameName(each.device, device); });
    return found == list.end() ? nullptr : &*found;
}

const NamedDevice* FindName(const NamedDevices& list, const Text& name) {
    const auto found =
        std::ranges::find_if(list, [&](const NamedDevice& each) { return IsSameName(each.name, name); });
    return found == list.end() ? nullptr : &*found;
}

// The platform does not say which kernel device a port's driver has made. Some drivers name the physical
// device itself; for the others SERIALCOMM, which the driver writes, tells more than a DOS name, which
// anybody can define.
Text KernelDeviceOf(const CQXDeviceRegInfo& record, const Text& port_name, const NamedDevices& dos_names,
                    const NamedDevices& serial_comm) {
    Text physical;
    if (record.GetPropertyString(SPDRP_PHYSICAL_DEVICE_OBJECT_NAME, physical) &&
        (FindDevice(dos_names, physical) || FindDevice(serial_comm, physical)))
        return physical;
    if (port_name.empty())
        return {};
    for (const NamedDevices* const list : {&serial_comm, &dos_names})
        if (const NamedDevice* const found = FindName(*list, port_name))
            return found->device;
    return {};
}

}  // namespace

bool SharedNamePlaces::IsClaimed(DWORD number) const {
    return claims && number >= 1 && number <= claims->size() && (*claims)[number - 1];
}

SharedNamePlaces ReadSharedNamePlaces() {
    return {ReadClaims(), ReadDosNames(), ReadSerialComm()};
}

NamePlaces ReadNamePlaces(HDEVINFO device_set, const SP_DEVINFO_DATA& port, const SharedNamePlaces& shared) {
    static const NamedDevices none;
    const NamedDevices& dos_names = shared.dos_names ? *shared.dos_names : none;
    const NamedDevices& serial_comm = shared.serial_comm ? *shared.serial_comm : none;
    const CQXDeviceRegInfo record(device_set, port);
    NamePlaces places;
    ReadPortName(device_set, port, places);
    places.claimed = shared.IsClaimed(places.number);
    places.device = KernelDeviceOf(record, places.port_name, dos_names, serial_comm);
    for (const NamedDevice& each : dos_names)
        if (!places.device.empty() && IsSameName(each.device, places.device))
            places.dos_names.push_back(each.name);
    if (const NamedDevice* const entry = FindDevice(serial_comm, places.device))
        places.serial_comm = entry->name;
    static_cast<void>(record.GetFriendlyName(places.friendly_name));
    return places;
}

bool IsSameName(const Text& a, const Text& b) {
    return a == b || UpperCase(a) == UpperCase(b);
}

}  // namespace qx
