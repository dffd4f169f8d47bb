// SPDX-License-Identifier: MIT
// The help viewer.
#pragma once
#include <windows.h>

#define HH_DISPLAY_TOPIC 0x0000
#define HH_TP_HELP_CONTEXTMENU 0x0010
#define HH_TP_HELP_WM_HELP 0x0011

extern "C" {
HWND WINAPI HtmlHelpW(HWND hwndCaller, LPCWSTR pszFile, UINT uCommand, DWORD_PTR dwData);
}
