// SPDX-License-Identifier: MIT
// The co-installer of the GPIO function that some adapters have beside their serial function.
#pragma once

#include <windows.h>

#include <setupapi.h>

namespace qx {

// Removes the function that shares a device with the GPIO function `gpio`: the present multi-port serial
// device whose location text is that of `gpio` with `companion` in place of `match` as the character after
// "function ".
//
// False when the search did not begin: `gpio` has no location of less than 50 characters, is not the function
// `match`, or the devices cannot be listed. True otherwise, whether or not one was found and could be
// removed.
bool RemoveCompanionFunction(HDEVINFO device_set, SP_DEVINFO_DATA& gpio, WCHAR match, WCHAR companion);

}  // namespace qx

// Called by the device installer for every request that concerns a GPIO function.
//
// Removing function 0 removes the serial function 1 of the same device with it; updating the driver can be
// refused. For the results see qx::AnswerInstaller.
extern "C" QX_EXPORT DWORD CALLBACK QxUCoInstallGpio(DI_FUNCTION request, HDEVINFO device_set,
                                                     PSP_DEVINFO_DATA device,
                                                     PCOINSTALLER_CONTEXT_DATA context) noexcept;
