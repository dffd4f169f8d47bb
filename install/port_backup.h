// SPDX-License-Identifier: MIT
// The backup of an adapter's ports over its reinstallation.
//
// Reinstalling an adapter removes its port devices and makes new ones, which start with new COM names and
// without settings. So before the adapter is installed each child port is copied into a subkey of the
// adapter's hardware key, named by PortBackupKeyName, and when the port is installed again it takes
// everything back from there.
#pragma once

#include "base/text.h"

#include <setupapi.h>

namespace qx {

// Saves every child of the adapter: its numeric values, its COM name, and the numbers and texts of its "UI1"
// subkey. What was saved before is overwritten value by value. A child that cannot be read is passed over.
void SavePortBackups(HDEVINFO device_set, const SP_DEVINFO_DATA& adapter);

// Gives a port what was saved for it, its former COM name included, and deletes the backup.
//
// Capabilities of the port ("Supported..." values) are not taken back: they are the new driver's to state.
// The former name is claimed even when another device has it by now; a port that is not there keeps its
// present name.
//
// True when there was a backup, whatever became of it.
[[nodiscard]] bool RestorePortBackup(HDEVINFO device_set, const SP_DEVINFO_DATA& port);

}  // namespace qx
