// Drawing: what pages and their controls use of it.
#pragma once
#include <windef.h>

#define TRANSPARENT 1
#define OPAQUE 2
#define CLR_INVALID 0xFFFFFFFF

#define WHITE_BRUSH 0
#define NULL_BRUSH 5
#define HOLLOW_BRUSH NULL_BRUSH
#define SYSTEM_FONT 13
#define DEFAULT_GUI_FONT 17

#define LF_FACESIZE 32
#define FW_NORMAL 400
#define FW_BOLD 700
#define DEFAULT_CHARSET 1
#define LOGPIXELSX 88
#define LOGPIXELSY 90

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
HGDIOBJ WINAPI GetStockObject(int i);
int WINAPI GetObjectW(HANDLE h, int c, LPVOID pv);
HFONT WINAPI CreateFontIndirectW(const LOGFONTW* lplf);
int WINAPI SetBkMode(HDC hdc, int mode);
COLORREF WINAPI SetBkColor(HDC hdc, COLORREF color);
COLORREF WINAPI SetTextColor(HDC hdc, COLORREF color);
BOOL WINAPI GetTextExtentPoint32W(HDC hdc, LPCWSTR lpString, int c, LPSIZE psizl);
}
