// SPDX-License-Identifier: MIT
// The co-installer of the serial ports.
#pragma once

#include <windows.h>

#include <setupapi.h>

// Called by the device installer for every request that concerns a serial port of an adapter.
//
// After the port was installed it gives the port its former settings and COM name back, or its fixed number,
// or puts the numbers of the adapter's ports in order; removing the port gives its name back; updating the
// port's driver can be refused. For the results see qx::AnswerInstaller.
extern "C" QX_EXPORT DWORD CALLBACK QxUCoInstallPort(DI_FUNCTION request, HDEVINFO device_set,
                                                     PSP_DEVINFO_DATA device,
                                                     PCOINSTALLER_CONTEXT_DATA context) noexcept;
