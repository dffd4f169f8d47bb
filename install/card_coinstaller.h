// SPDX-License-Identifier: MIT
// The co-installer of the adapters.
#pragma once

#include <windows.h>

#include <setupapi.h>

// Called by the device installer for every request that concerns an adapter, the device whose children are
// its ports.
//
// Before the adapter is installed, which removes its ports, it saves what they get back later; removing the
// adapter starts its uninstall program without waiting for it; updating its driver can be refused. For the
// results see qx::AnswerInstaller.
extern "C" QX_EXPORT DWORD CALLBACK QxUCoInstallCard(DI_FUNCTION request, HDEVINFO device_set,
                                                     PSP_DEVINFO_DATA device,
                                                     PCOINSTALLER_CONTEXT_DATA context) noexcept;
