#include "install/com_name.h"

#include "base/attempt.h"
#include "base/handles.h"
#include "base/module_instance.h"
#include "device_records/port_database.h"
#include "device_records/registry_layout.h"
#include "device_records/utils.h"
#include "install/device_helpers.h"
#include "install/dos_device_names.h"
#include "install/fixed_com_numbers.h"
#include "module/resource.h"

namespace qx {

namespace {

// Asks whether to go on all the same; anything but No means yes.
bool AskByMessage(HWND owner, RenameQuestion question) {
    const UINT text = question == RenameQuestion::kPortOpen ? IDS_PORT_OPEN : IDS_NAME_IN_USE;
    return MessageBoxW(owner, LoadText(text).c_str(), TEXT("Error"), MB_YESNO | MB_ICONINFORMATION) != IDNO;
}

// From the first change on this needs no memory but what the platform takes for the friendly name. A swap of
// two names relies on that: its port must not be left on a name that it was to have for a moment.
bool Rename(CCOMPortUtil& port, const Text& new_name, HWND owner, bool confirm_if_open, bool reenumerate,
            AskUser ask) {
    const InstanceId hardware_id = PortHardwareId(port.Element().DevInst);
    DeviceString old_name;
    if (!port.GetDeviceString(kPortName, old_name))
        return false;
    if (old_name == new_name)
        return true;
    if (confirm_if_open && !CUtils::CanOpenPort(old_name) && !ask(owner, RenameQuestion::kPortOpen))
        return true;

    // One handle for the look at the number and for the claim. It locks nobody out, so the claim is forced.
    {
        const PortDatabaseSession session(port);
        const bool free = port.IsPortFree(static_cast<DWORD>(ComNumberOf(new_name.view())));
        const RenamePlan plan =
            PlanRename(old_name, new_name.view(), free, IsFixedNumberProduct(hardware_id));
        if (plan.number == RenamePlan::Number::kTake)
            static_cast<void>(port.ReleasePort(plan.new_number));
        else if (plan.number == RenamePlan::Number::kAsk && !ask(owner, RenameQuestion::kNumberInUse))
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
    WriteDefaultPortsEntry(port.DeviceSet(), port.Element());
    MarkPropertyChangePending(port.DeviceSet(), port.Element());
    if (reenumerate)
        static_cast<void>(ReenumerateDevice({}));
    return true;
}

}  // namespace

// Like all of the record's operations it takes texts by value; their copies share.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool CCOMPortUtil::RenameComPort(Text new_name, HWND owner, bool confirm_if_open, bool reenumerate) noexcept {
    return RenamePort(*this, new_name, owner, confirm_if_open, reenumerate, &AskByMessage);
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

bool RenamePort(CCOMPortUtil& port, const Text& new_name, HWND owner, bool confirm_if_open, bool reenumerate,
                AskUser ask) noexcept {
    return Attempt([&] { return Rename(port, new_name, owner, confirm_if_open, reenumerate, ask); });
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

void WriteDefaultPortsEntry(HDEVINFO set, const SP_DEVINFO_DATA& port) noexcept {
    static constexpr WCHAR kDefaultSettings[] = TEXT("9600,n,8,1");
    DeviceString name;
    if (!ReadDeviceString(set, port, kPortName, name))
        return;
    RegistryKey ports;
    if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, kPortsKey, 0, nullptr, REG_OPTION_NON_VOLATILE,
                        KEY_READ | KEY_WRITE, nullptr, ports.Put(), nullptr) != ERROR_SUCCESS)
        return;
    FixedText<DeviceString::kCapacity + 1> entry;
    entry.Append(name);
    entry.Append(TEXT(":"));
    static_cast<void>(RegSetValueExW(ports.Get(), entry.c_str(), 0, REG_SZ,
                                     reinterpret_cast<const BYTE*>(kDefaultSettings),
                                     sizeof(kDefaultSettings)));
}

}  // namespace qx
