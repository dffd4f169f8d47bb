// SPDX-License-Identifier: MIT
// The program that cleans up after an adapter.
#pragma once

#include <windows.h>

#include <setupapi.h>

namespace qx {

// Starts the program that the adapter's "UnInstall" value names, a file in the system directory. `wait` lets
// it run for at most a minute before returning. Always true: an adapter without such a program, or one that
// does not start, is removed anyway.
bool RunUninstallProgram(HDEVINFO device_set, const SP_DEVINFO_DATA& adapter, bool wait);

}  // namespace qx
