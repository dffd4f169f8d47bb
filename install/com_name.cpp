// SPDX-License-Identifier: MIT
#include "install/com_name.h"

#include "base/attempt.h"
#include "base/module_instance.h"
#include "device_records/port_database.h"
#include "device_records/registry_layout.h"
#include "device_records/port_access.h"
#include "install/device_helpers.h"
#include "install/dos_device_names.h"
#include "install/fixed_com_numbers.h"
#include "module/resource.h"

namespace qx {

namespace {

// Asks whether to go on anyway; anything but No means yes.
bool AskByMessage(HWND owner, RenameQuestion question) {
    const UINT text = question == RenameQuestion::kPortOpen ? IDS_PORT_OPEN : IDS_NAME_IN_USE;
    return MessageBoxW(owner, LoadText(text).c_str(), TEXT("Error"), MB_YESNO | MB_ICONINFORMATION) != IDNO;
}

// From the first change on this needs no memory but what the platform takes for the friendly name. A swap of
// two names relies on that: its port must not be left on a name that it was to have for a moment.
bool Rename(CCOMPortUtil& port, const Text& new_name, const RenameOptions& options, AskUser ask) {
    const InstanceId hardware_id = PortHardwareId(port.Element().DevInst);
    DeviceString old_name;
    if (!port.GetDeviceString(kPortName, old_name))
        return false;
    if (old_name == new_name)
        return true;
    if (options.confirm_if_open && !CanOpenPort(old_name) && !ask(options.owner, RenameQuestion::kPortOpen))
        return true;

    // One handle for the look at the number and for the claim. It locks nobody out, so it may stay open while
    // the user thinks about the question, and the claim is forced.
    {
        const PortDatabaseSession session(port);
        const bool free = port.IsPortFree(static_cast<DWORD>(ComNumberOf(new_name.view())));
        const RenamePlan plan =
            PlanRename(old_name, new_name.view(), free, IsFixedNumberProduct(hardware_id));
        if (plan.number == RenamePlan::Number::kTake)
            static_cast<void>(port.ReleasePort(plan.new_number));
        else if (plan.number == RenamePlan::Number::kAsk && !ask(options.owner, RenameQuestion::kNumberInUse))
            return true;
        // A port whose DOS name does not move keeps its old name everywhere. (One whose SERIALCOMM entry
        // alone could not be written has moved by half, see MoveDosDeviceName. A number that was just taken
        // from its holder stays without a claim.)
        if (!MoveDosDeviceName(old_name.c_str(), new_name))
            return false;
        // From here on the port answers to its new name, so nothing turns back, whatever the database says: a
        // port that opens under a name without a claim is of more use than one whose name leads nowhere.
        static_cast<void>(port.ReleasePort(plan.old_number));
        static_cast<void>(port.ClaimPort(plan.new_number, true));
    }

    if (!port.ReplaceInFriendlyName(old_name, new_name))
        return false;
    if (!port.SetDeviceString(kPortName, new_name))
        return false;
    WriteDefaultPortsEntry(port.Devices(), port.Element());
    MarkPropertyChangePending(port.Devices(), port.Element());
    if (options.reenumerate)
        static_cast<void>(ReenumerateDevice({}));
    return true;
}

}  // namespace

bool CCOMPortUtil::RenameComPort(const Text& new_name, const RenameOptions& options) noexcept {
    return RenamePort(*this, new_name, options, &AskByMessage);
}

RenamePlan PlanRename(TextView old_name, TextView new_name, bool number_free,
                      bool fixed_number_product) noexcept {
    using Number = RenamePlan::Number;
    return {old_name == new_name, static_cast<DWORD>(ComNumberOf(old_name)),
            static_cast<DWORD>(ComNumberOf(new_name)),
            number_free            ? Number::kFree
            : fixed_number_product ? Number::kTake
                                   : Number::kAsk};
}

bool RenamePort(CCOMPortUtil& port, const Text& new_name, const RenameOptions& options,
                AskUser ask) noexcept {
    return Attempt([&] { return Rename(port, new_name, options, ask); });
}

bool CCOMPortUtil::RemoveDosDeviceName() noexcept {
    DeviceString name;
    if (!GetDeviceString(kPortName, name))
        return false;
    const std::optional<KernelPath> target = TargetOfDosName(name.c_str());
    if (!target || !RemoveDosName(name.c_str(), *target))
        return false;
    const PortDatabaseSession session(*this);
    static_cast<void>(ReleasePort(static_cast<DWORD>(ComNumberOf(name))));
    return true;
}

void WriteDefaultPortsEntry(HDEVINFO device_set, const SP_DEVINFO_DATA& port) noexcept {
    DeviceString name;
    if (ReadDeviceString(device_set, port, kPortName, name))
        WritePortsEntry(name, TEXT("9600,n,8,1"));
}

}  // namespace qx
