// SPDX-License-Identifier: MIT
// Where the system keeps values in the registry: names and paths that installation and pages share.
#pragma once

#include "base/text.h"

namespace qx {

// Values of a device's hardware key.
inline constexpr const WCHAR* kPortName = TEXT("PortName");    // a port's COM name
inline constexpr const WCHAR* kNoUpgrade = TEXT("NoUpgrade");  // "1": its driver comes with the adapter's
inline constexpr const WCHAR* kUnInstall = TEXT("UnInstall");  // a card's uninstall program
// Name of the subkey of a port's hardware key that holds opaque per-port values.
inline constexpr const WCHAR* kUi1 = TEXT("UI1");

// The operating system's default line settings of all ports, one value per COM name, under
// HKEY_LOCAL_MACHINE.
inline constexpr const WCHAR* kPortsKey = TEXT("SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Ports");
// Where the port drivers list the ports that run: kernel device and COM name, under HKEY_LOCAL_MACHINE.
inline constexpr const WCHAR* kSerialCommKey = TEXT("Hardware\\DeviceMap\\SERIALCOMM");

// Paths under HKEY_LOCAL_MACHINE for devices that are known by their instance id alone. A parent's hardware
// key has one backup subkey per child port, named by PortBackupKeyName.
[[nodiscard]] Text HardwareKeyPath(const Text& instance_id);
[[nodiscard]] Text Ui1KeyPath(const Text& instance_id);
[[nodiscard]] Text BackupKeyPath(const Text& parent_id, const Text& backup_name);
[[nodiscard]] Text BackupUi1KeyPath(const Text& parent_id, const Text& backup_name);

// The name of the backup subkey of the port with this instance id. The card's co-installer writes under this
// name what the port's co-installer later looks for, so both must use this one rule: the middle component
// loses all but its last character, and backslashes, which cannot stand in a key's name, become "_".
// ABC\PORT7\4&1A2B3C&0&0007 gives ABC_7_4&1A2B3C&0&0007.
[[nodiscard]] Text PortBackupKeyName(const Text& instance_id);

}  // namespace qx
