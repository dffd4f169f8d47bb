// SPDX-License-Identifier: MIT
#include "install/port_backup.h"

#include "base/attempt.h"
#include "base/registry.h"
#include "device_records/port_database.h"
#include "device_records/registry_layout.h"
#include "device_records/port_access.h"
#include "install/com_name.h"
#include "install/device_helpers.h"
#include "install/dos_device_names.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

namespace qx {

namespace {

// One value of a registry key, as the enumeration reads it.
struct Value {
    Text name;
    DWORD type = REG_NONE;
    DWORD number = 0;  // its first four bytes
    Text text;         // its bytes as text, up to the first NUL
};

// Calls `visit` with each number and text of `key`, in the platform's order. Values of other types are passed
// over. A value with a name of more than 16382 characters or with more than 16383 bytes ends the enumeration:
// the only way past it would be a second attempt, and no driver stores such a setting.
template <typename Visit>
void ForEachValue(HKEY key, Visit visit) {
    constexpr DWORD kNameUnits = 16383;
    constexpr DWORD kDataBytes = 16383;
    std::vector<WCHAR> name(kNameUnits);
    // In text units, so that the bytes can be read as text where they stand.
    std::vector<WCHAR> data(kDataBytes / sizeof(WCHAR) + 1);
    for (DWORD index = 0;; ++index) {
        DWORD name_length = kNameUnits;
        DWORD size = kDataBytes;
        Value value;
        if (RegEnumValueW(key, index, name.data(), &name_length, nullptr, &value.type,
                          reinterpret_cast<BYTE*>(data.data()), &size) != ERROR_SUCCESS)
            return;
        if (value.type != REG_DWORD && value.type != REG_SZ)
            continue;
        value.name = Text(TextView(name.data(), name_length));
        if (value.type == REG_DWORD)
            std::memcpy(&value.number, data.data(), std::min<std::size_t>(size, sizeof(value.number)));
        else
            value.text = Text::FromBuffer(data.data(), size / sizeof(WCHAR));
        visit(value);
    }
}

// Stores the value under its name. One that cannot be written is passed over: the other settings are still
// worth having.
void Write(HKEY key, const Value& value) {
    if (value.type == REG_DWORD)
        WriteNumber(key, value.name.c_str(), value.number);
    else
        WriteText(key, value.name.c_str(), value.text.c_str());
}

// Copies the numbers and texts for which `wanted` is true.
template <typename Wanted>
void CopyValues(HKEY from, HKEY to, Wanted wanted) {
    ForEachValue(from, [&](const Value& value) {
        if (wanted(value))
            Write(to, value);
    });
}

bool IsName(const Value& value) {
    return value.type == REG_SZ && value.name == kPortName;
}

RegistryKey OpenForReading(const Text& path) {
    return OpenKey(HKEY_LOCAL_MACHINE, path.c_str(), KEY_READ);
}

// Copies the whole "UI1" subkey, saving as well as restoring: every number and text in it is the user's. True
// when there was one to be read, and a place to copy it to.
bool CopyUi1(const Text& from_path, HKEY to) {
    const RegistryKey from = OpenForReading(from_path);
    if (!from)
        return false;
    const RegistryKey copy = CreateKey(to, kUi1);
    if (!copy)
        return false;
    CopyValues(from.Get(), copy.Get(), [](const Value&) { return true; });
    return true;
}

void SaveChild(HKEY adapter_key, const Text& child_id) {
    const RegistryKey backup = CreateKey(adapter_key, PortBackupKeyName(child_id).c_str());
    if (!backup)
        return;
    {
        const RegistryKey child = OpenForReading(HardwareKeyPath(child_id));
        if (!child)
            return;
        CopyValues(child.Get(), backup.Get(),
                   [](const Value& value) { return value.type == REG_DWORD || IsName(value); });
    }
    static_cast<void>(CopyUi1(Ui1KeyPath(child_id), backup.Get()));
}

// Takes the numbers back, without the capabilities, and hands back the saved COM name: a name is not written
// like a setting, it has to be moved to.
Text RestoreValues(HKEY backup, HKEY port) {
    Text name;
    CopyValues(backup, port, [&](const Value& value) {
        if (IsName(value))
            name = value.text;
        return value.type == REG_DWORD && !value.name.Contains(TEXT("Supported"));
    });
    return name;
}

void RestoreName(HDEVINFO device_set, const SP_DEVINFO_DATA& port, const Text& saved_name) {
    CCOMPortUtil port_util(device_set, port);
    DeviceString current_name;
    if (!port_util.GetDeviceString(kPortName, current_name))
        return;
    // A port that neither opens nor has a DOS name is not there; there is nothing to move.
    if (!CanOpenPort(current_name) && !TargetOfDosName(current_name.c_str()))
        return;
    // A port that came up under its former name keeps the claim it has. Releasing the number, which is right
    // for a name held by somebody else, would leave the port's own name for the next device to take.
    if (current_name == saved_name)
        return;
    const auto number = static_cast<DWORD>(ComNumberOf(saved_name));
    {
        // The name is this port's by right, so whoever claims it meanwhile loses it, and the user is not
        // asked.
        const PortDatabaseSession session(port_util);
        if (!port_util.IsPortFree(number))
            static_cast<void>(port_util.ReleasePort(number));
    }
    static_cast<void>(port_util.RenameComPort(saved_name));
}

// RegDeleteKeyExW where the platform offers it, looked up once per process; otherwise RegDeleteKeyW.
LSTATUS DeleteKey(HKEY parent, const Text& name) {
    using DeleteKeyEx = LSTATUS(WINAPI*)(HKEY, const WCHAR*, REGSAM, DWORD);
    static const auto delete_key_ex = []() -> DeleteKeyEx {
        const HMODULE library = GetModuleHandleW(TEXT("Advapi32.dll"));
        if (!library)
            return nullptr;
        return reinterpret_cast<DeleteKeyEx>(
            reinterpret_cast<void*>(GetProcAddress(library, "RegDeleteKeyExW")));
    }();
    return delete_key_ex ? delete_key_ex(parent, name.c_str(), 0, 0) : RegDeleteKeyW(parent, name.c_str());
}

// Deletes a port's backup; one that cannot be deleted stays and is restored from again.
void DeleteBackup(const Text& parent_id, const Text& backup_name, bool with_ui1) {
    const RegistryKey parent =
        OpenKey(HKEY_LOCAL_MACHINE, HardwareKeyPath(parent_id).c_str(), KEY_READ | KEY_SET_VALUE);
    if (!parent)
        return;
    // The platform deletes only keys without subkeys. A backup left behind for its "UI1" would set the port
    // back to its old name and settings at every installation to come, whatever the user chose in between. A
    // "UI1" that could not be copied above has not been restored yet, and stays for the next time.
    if (with_ui1)
        static_cast<void>(DeleteKey(parent.Get(), backup_name + Text(TEXT("\\")) + Text(kUi1)));
    static_cast<void>(DeleteKey(parent.Get(), backup_name));
}

}  // namespace

void SavePortBackups(HDEVINFO device_set, const SP_DEVINFO_DATA& adapter) {
    const HardwareKey adapter_key = OpenHardwareKey(device_set, adapter, GENERIC_WRITE);
    if (!adapter_key)
        return;
    for (std::optional<DEVINST> child = FirstChildOf(adapter.DevInst); child; child = NextSiblingOf(*child))
        if (const std::optional<InstanceId> id = InstanceIdOf(*child))
            Attempt([&] { SaveChild(adapter_key.Get(), Text(id->view())); });
}

bool RestorePortBackup(HDEVINFO device_set, const SP_DEVINFO_DATA& port) {
    const HardwareKey port_key = OpenHardwareKey(device_set, port, GENERIC_WRITE);
    if (!port_key)
        return false;
    const std::optional<DEVINST> parent = ParentOf(port.DevInst);
    const std::optional<InstanceId> parent_instance = parent ? InstanceIdOf(*parent) : std::nullopt;
    const std::optional<InstanceId> port_id = parent_instance ? InstanceIdOf(port.DevInst) : std::nullopt;
    if (!port_id)
        return false;
    const Text parent_id(parent_instance->view());
    const Text backup_name = PortBackupKeyName(Text(port_id->view()));

    RegistryKey backup = OpenForReading(BackupKeyPath(parent_id, backup_name));
    if (!backup)
        return false;
    // Out of memory, the rest stays in the backup, and the next installation restores it.
    Attempt([&] {
        const Text saved_name = RestoreValues(backup.Get(), port_key.Get());
        backup.Reset();
        if (!saved_name.empty())
            RestoreName(device_set, port, saved_name);
        const bool had_ui1 = CopyUi1(BackupUi1KeyPath(parent_id, backup_name), port_key.Get());
        DeleteBackup(parent_id, backup_name, had_ui1);
    });
    return true;
}

}  // namespace qx
