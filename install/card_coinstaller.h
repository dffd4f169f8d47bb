// The co-installer of the adapters.
#pragma once

#include <windows.h>

#include <setupapi.h>

// Called by the device installer for every request that concerns an adapter, the device whose children are
// its ports.
//
// Before the adapter is installed, which does away with its ports, it saves what they will be given back;
// removing the adapter starts its uninstall program and does not wait for it; updating its driver can be
// refused. For the answers see qx::AnswerInstaller.
extern "C" QX_EXPORT DWORD CALLBACK QxUCoInstallCard(DI_FUNCTION request, HDEVINFO set,
                                                     PSP_DEVINFO_DATA device,
                                                     PCOINSTALLER_CONTEXT_DATA context) noexcept;
