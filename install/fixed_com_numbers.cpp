// SPDX-License-Identifier: MIT
#include "install/fixed_com_numbers.h"

#include "base/attempt.h"
#include "base/registry.h"
#include "device_records/port_database.h"
#include "device_records/registry_layout.h"
#include "install/com_name.h"
#include "install/device_helpers.h"
#include "install/product_data.h"

#include <initguid.h>

#include <devguid.h>

#include <algorithm>
#include <optional>

namespace qx {

namespace {

// COM1 to COM4 are left to what is built into computers.
constexpr DWORD kFirstNumberAside = 5;
constexpr DWORD kLastNumberAside = 254;

InstanceId HardwareIdWithin(const InstanceId& instance_id) {
    const TextView id = instance_id.view();
    const std::size_t first = id.find('\\');
    const std::size_t second = first == TextView::npos ? first : id.find('\\', first + 1);
    InstanceId hardware_id;
    if (second != TextView::npos) {
        hardware_id.Append(id.substr(0, second));
        CharUpperW(hardware_id.Buffer());
    }
    return hardware_id;
}

const FixedComNumber* FindProduct(TextView port_hardware_id) {
    const auto* const row = std::ranges::find_if(FixedComNumberTable, [&](const FixedComNumber& product) {
        return port_hardware_id == product.port_hardware_id;
    });
    return row == FixedComNumberTable.end() ? nullptr : row;
}

}  // namespace

InstanceId PortHardwareId(DEVINST port) {
    const std::optional<DEVINST> parent = ParentOf(port);
    const std::optional<InstanceId> parent_id = parent ? InstanceIdOf(*parent) : std::nullopt;
    return parent_id ? HardwareIdWithin(*parent_id) : InstanceId();
}

bool IsFixedNumberProduct(TextView port_hardware_id) {
    return FindProduct(port_hardware_id) != nullptr;
}

bool ApplyFixedComNumber(HDEVINFO device_set, SP_DEVINFO_DATA& port) {
    // Nothing is written through this key. It tells whether this installation may write to the port's
    // settings at all: without that right, other devices must not lose their names to a port that cannot take
    // them.
    const HardwareKey key = OpenHardwareKey(device_set, port, GENERIC_WRITE);
    if (!key)
        return false;
    const std::optional<DEVINST> parent_node = ParentOf(port.DevInst);
    const std::optional<InstanceId> parent_id = parent_node ? InstanceIdOf(*parent_node) : std::nullopt;
    if (!parent_id)
        return false;
    const InstanceId hardware_id = HardwareIdWithin(*parent_id);

    const DeviceSet parent_set(SetupDiCreateDeviceInfoList(nullptr, nullptr));
    if (!parent_set)
        return false;
    std::optional<SP_DEVINFO_DATA> parent = OpenDeviceIn(parent_set.Get(), parent_id->c_str());
    if (!parent)
        return false;

    DeviceString name;
    if (!ReadDeviceString(device_set, port, kPortName, name))
        return false;
    const FixedComNumber* const product = FindProduct(hardware_id);
    if (!product)
        return false;
    const auto number = static_cast<DWORD>(ComNumberOf(name));
    if (number == product->com_number)
        return true;
    ForceComNumber(device_set, port, product->com_number, number);
    DisableDevice(parent_set.Get(), *parent);
    EnableDevice(parent_set.Get(), *parent);
    return true;
}

bool ForceComNumber(HDEVINFO device_set, const SP_DEVINFO_DATA& port, DWORD number,
                    DWORD present_number) noexcept {
    Attempt([&] {
        CCOMPortUtil port_util(device_set, port);
        const Text name = ComNameOf(number);
        PortDatabaseSession session(port_util);
        const bool free = port_util.IsPortFree(number);
        session.Close();
        // A number whose holder cannot be found is taken from whoever claimed it; the rename does not ask for
        // these ports.
        if (!free)
            static_cast<void>(MoveNameHolderAside(name, kFirstNumberAside, present_number));
        static_cast<void>(port_util.RenameComPort(name));
    });
    return true;
}

bool MoveNameHolderAside(const Text& name, DWORD start, DWORD except) {
    // Devices that are not plugged in count too: their name is taken until they are uninstalled.
    const DeviceSet devices(SetupDiGetClassDevsW(&GUID_DEVCLASS_PORTS, nullptr, nullptr, DIGCF_ALLCLASSES));
    if (!devices)
        return false;
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof(device);
    for (DWORD index = 0; SetupDiEnumDeviceInfo(devices.Get(), index, &device); ++index) {
        DeviceString held;
        if (!ReadDeviceString(devices.Get(), device, kPortName, held) || !(held == name))
            continue;
        CCOMPortUtil holder(devices.Get(), device);
        PortDatabaseSession session(holder);
        const std::optional<DWORD> number = FirstFreeNumber(holder, start, kLastNumberAside, {&except, 1});
        session.Close();
        // With every number taken the holder keeps its name: giving it a name that a third device uses would
        // break two devices where one loses its number.
        if (!number)
            return false;
        static_cast<void>(holder.RenameComPort(ComNameOf(*number)));
        return true;
    }
    return false;
}

}  // namespace qx
