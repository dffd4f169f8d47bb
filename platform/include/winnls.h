// SPDX-License-Identifier: MIT
// Character sets and locales.
#pragma once
#include <windef.h>

#define CP_ACP 0
#define CP_UTF8 65001

extern "C" {
int WINAPI MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCSTR lpMultiByteStr, int cbMultiByte,
                               LPWSTR lpWideCharStr, int cchWideChar);
int WINAPI WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWSTR lpWideCharStr, int cchWideChar,
                               LPSTR lpMultiByteStr, int cbMultiByte, LPCSTR lpDefaultChar,
                               LPBOOL lpUsedDefaultChar);
LCID WINAPI GetThreadLocale();
BOOL WINAPI SetThreadLocale(LCID Locale);
}
