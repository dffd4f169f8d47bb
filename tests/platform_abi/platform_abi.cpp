// SPDX-License-Identifier: MIT
// The facts about the platform's records that the library, its drivers and the device
// installer exchange, stated once and compiled both against platform/include and against the SDK. Plain
// constants need no statement: compare_with_sdk.sh compares every one.
#include <windows.h>

#include <commctrl.h>
#include <prsht.h>
#include <setupapi.h>

#include <cstddef>

#define SIZE(type, size) static_assert(sizeof(type) == (size))
#define OFFSET(type, field, offset) static_assert(offsetof(type, field) == (offset))

// --- device installation ---
SIZE(SP_DEVINFO_DATA, 32);
OFFSET(SP_DEVINFO_DATA, DevInst, 20);
OFFSET(SP_DEVINFO_DATA, Reserved, 24);
SIZE(SP_DEVICE_INTERFACE_DATA, 32);
SIZE(SP_DEVICE_INTERFACE_DETAIL_DATA_W, 8);
OFFSET(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath, 4);
SIZE(SP_DEVINSTALL_PARAMS_W, 584);
OFFSET(SP_DEVINSTALL_PARAMS_W, FlagsEx, 8);
OFFSET(SP_DEVINSTALL_PARAMS_W, DriverPath, 60);
SIZE(SP_CLASSINSTALL_HEADER, 8);
SIZE(SP_PROPCHANGE_PARAMS, 20);
SIZE(COINSTALLER_CONTEXT_DATA, 16);
OFFSET(COINSTALLER_CONTEXT_DATA, PrivateData, 8);
SIZE(SP_PROPSHEETPAGE_REQUEST, 24);
OFFSET(SP_PROPSHEETPAGE_REQUEST, DeviceInfoData, 16);

// --- registry, files, processes ---
SIZE(OSVERSIONINFOW, 276);
SIZE(OSVERSIONINFOEXW, 284);
OFFSET(OSVERSIONINFOEXW, wServicePackMajor, 276);
SIZE(STARTUPINFOW, 104);
SIZE(ACTCTXW, 56);
OFFSET(ACTCTXW, lpResourceName, 32);
OFFSET(ACTCTXW, hModule, 48);

// --- windows, sheets, controls ---
SIZE(PROPSHEETPAGEW, 96);
OFFSET(PROPSHEETPAGEW, pfnDlgProc, 40);
OFFSET(PROPSHEETPAGEW, pfnCallback, 56);
OFFSET(PROPSHEETPAGEW, hActCtx, 88);
SIZE(PROPSHEETHEADERW, 96);
OFFSET(PROPSHEETHEADERW, pfnCallback, 64);
SIZE(NMTTDISPINFOW, 216);
OFFSET(NMTTDISPINFOW, szText, 32);
OFFSET(NMTTDISPINFOW, hinst, 192);
SIZE(TTTOOLINFOW, 72);
OFFSET(TTTOOLINFOW, lpszText, 48);
OFFSET(TTTOOLINFOW, lParam, 56);
SIZE(HELPINFO, 40);
OFFSET(HELPINFO, hItemHandle, 16);
SIZE(COMBOBOXINFO, 64);
SIZE(INITCOMMONCONTROLSEX, 8);
