// SPDX-License-Identifier: MIT
// Drawing: what pages and their controls use of it.
#pragma once
#include <windef.h>

#define TRANSPARENT 1
#define OPAQUE 2
#define CLR_INVALID 0xFFFFFFFF

#define LF_FACESIZE 32
#define FW_NORMAL 400
#define DEFAULT_CHARSET 1

typedef struct tagLOGFONTW {
    LONG lfHeight;
    LONG lfWidth;
    LONG lfEscapement;
    LONG lfOrientation;
    LONG lfWeight;
    BYTE lfItalic;
    BYTE lfUnderline;
    BYTE lfStrikeOut;
    BYTE lfCharSet;
    BYTE lfOutPrecision;
    BYTE lfClipPrecision;
    BYTE lfQuality;
    BYTE lfPitchAndFamily;
    WCHAR lfFaceName[LF_FACESIZE];
} LOGFONTW, *PLOGFONTW, *LPLOGFONTW;

extern "C" {
HBRUSH WINAPI CreateSolidBrush(COLORREF color);
BOOL WINAPI DeleteObject(HGDIOBJ ho);
HGDIOBJ WINAPI SelectObject(HDC hdc, HGDIOBJ h);
int WINAPI GetObjectW(HANDLE h, int c, LPVOID pv);
HFONT WINAPI CreateFontIndirectW(const LOGFONTW* lplf);
int WINAPI SetBkMode(HDC hdc, int mode);
COLORREF WINAPI SetTextColor(HDC hdc, COLORREF color);
BOOL WINAPI GetTextExtentPoint32W(HDC hdc, LPCWSTR lpString, int c, LPSIZE psizl);
}
