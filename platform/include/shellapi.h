// SPDX-License-Identifier: MIT
// Opening documents and addresses.
#pragma once
#include <windows.h>

extern "C" {
HINSTANCE WINAPI ShellExecuteW(HWND hwnd, LPCWSTR lpOperation, LPCWSTR lpFile, LPCWSTR lpParameters,
                               LPCWSTR lpDirectory, INT nShowCmd);
}
