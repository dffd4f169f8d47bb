// SPDX-License-Identifier: MIT
// The facts about the platform's records and signatures that the library, its drivers and the device
// installer exchange, stated once and compiled both against platform/include and against the SDK. Plain
// constants need no statement: compare_with_sdk.sh compares every one.
#include <windows.h>

#include <cfgmgr32.h>
#include <commctrl.h>
#include <htmlhelp.h>
#include <initguid.h>
#include <devguid.h>
#include <msports.h>
#include <oleauto.h>
#include <prsht.h>
#include <setupapi.h>

#include <cstddef>
#include <type_traits>

#define SIZE(type, size) static_assert(sizeof(type) == (size))
#define OFFSET(type, field, offset) static_assert(offsetof(type, field) == (offset))
#define TYPE(type, ...) static_assert(std::is_same_v<type, __VA_ARGS__>)

// --- basic types ---
SIZE(WCHAR, 2);
SIZE(BYTE, 1);
SIZE(WORD, 2);
SIZE(DWORD, 4);
SIZE(LONG, 4);
SIZE(ULONG_PTR, 8);
SIZE(LPARAM, 8);
SIZE(HANDLE, 8);
SIZE(GUID, 16);
static_assert(std::is_unsigned_v<DWORD> && std::is_signed_v<LONG> && std::is_signed_v<LPARAM> &&
              std::is_unsigned_v<WPARAM>);
static_assert(std::is_same_v<HDEVINFO, void*> && std::is_same_v<HANDLE, void*>);
static_assert(!std::is_same_v<HKEY, HANDLE> && !std::is_same_v<HWND, HANDLE>);

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

// --- device tree and port database ---

// --- registry, files, processes ---
SIZE(OSVERSIONINFOW, 276);
SIZE(OSVERSIONINFOEXW, 284);
OFFSET(OSVERSIONINFOEXW, wServicePackMajor, 276);
SIZE(STARTUPINFOW, 104);
SIZE(PROCESS_INFORMATION, 24);
SIZE(OVERLAPPED, 32);
SIZE(SECURITY_ATTRIBUTES, 24);
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
SIZE(PSHNOTIFY, 32);
SIZE(NMHDR, 24);
SIZE(NMTTDISPINFOW, 216);
OFFSET(NMTTDISPINFOW, szText, 32);
OFFSET(NMTTDISPINFOW, hinst, 192);
SIZE(TTTOOLINFOW, 72);
OFFSET(TTTOOLINFOW, lpszText, 48);
OFFSET(TTTOOLINFOW, lParam, 56);
SIZE(HELPINFO, 40);
OFFSET(HELPINFO, hItemHandle, 16);
SIZE(DLGTEMPLATE, 18);
SIZE(MSG, 48);
SIZE(COMBOBOXINFO, 64);
SIZE(LOGFONTW, 92);
SIZE(TCITEMW, 40);
SIZE(INITCOMMONCONTROLSEX, 8);
SIZE(TLIBATTR, 32);
static_assert(RGB(248, 247, 246) == 0xF6F7F8);

// --- signatures through which the library is entered or calls back ---
TYPE(LPFNADDPROPSHEETPAGE, BOOL(CALLBACK*)(HPROPSHEETPAGE, LPARAM));
TYPE(DLGPROC, INT_PTR(CALLBACK*)(HWND, UINT, WPARAM, LPARAM));
TYPE(decltype(&RegDeleteKeyExW), LONG(WINAPI*)(HKEY, const WCHAR*, REGSAM, DWORD));
TYPE(decltype(&ComDBClaimPort), LONG(WINAPI*)(HCOMDB, DWORD, BOOL, BOOL*));
TYPE(decltype(&GetVersionExW), BOOL(WINAPI*)(OSVERSIONINFOW*));
TYPE(decltype(&GetProcAddress), FARPROC(WINAPI*)(HMODULE, const char*));
TYPE(decltype(&SetupDiCallClassInstaller), BOOL(WINAPI*)(DI_FUNCTION, HDEVINFO, SP_DEVINFO_DATA*));
TYPE(decltype(&CM_Get_Device_IDW), CONFIGRET(WINAPI*)(DEVINST, WCHAR*, ULONG, ULONG));
TYPE(decltype(&RegisterTypeLib), HRESULT(WINAPI*)(ITypeLib*, WCHAR*, WCHAR*));
