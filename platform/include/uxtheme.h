// Visual styles.
#pragma once
#include <windows.h>

#define ETDT_DISABLE 0x00000001
#define ETDT_ENABLE 0x00000002
#define ETDT_USETABTEXTURE 0x00000004

extern "C" {
HRESULT WINAPI EnableThemeDialogTexture(HWND hwnd, DWORD dwFlags);
}
