// SPDX-License-Identifier: MIT
// Common controls: sliders, tooltips, links, subclassing.
#pragma once
#include <windows.h>

#ifndef RC_INVOKED
#include <prsht.h>

#define ICC_WIN95_CLASSES 0x000000FF
#define ICC_STANDARD_CLASSES 0x00004000

#define WC_BUTTONW u"Button"
#define WC_STATICW u"Static"
#define WC_EDITW u"Edit"
#define WC_COMBOBOXW u"ComboBox"
#define WC_TABCONTROLW u"SysTabControl32"
#define TRACKBAR_CLASSW u"msctls_trackbar32"
#define TOOLTIPS_CLASSW u"tooltips_class32"

typedef struct tagINITCOMMONCONTROLSEX {
    DWORD dwSize;
    DWORD dwICC;
} INITCOMMONCONTROLSEX, *LPINITCOMMONCONTROLSEX;

// --- general notifications ---

// --- sliders ---
#define TBM_GETPOS (WM_USER)
#define TBM_GETRANGEMIN (WM_USER + 1)
#define TBM_GETRANGEMAX (WM_USER + 2)
#define TBM_SETPOS (WM_USER + 5)
#define TBM_SETRANGE (WM_USER + 6)
#define TBM_SETRANGEMIN (WM_USER + 7)
#define TBM_SETRANGEMAX (WM_USER + 8)
#define TB_THUMBPOSITION 4
#define TB_THUMBTRACK 5
#define TB_ENDTRACK 8

// --- tooltips ---
#define TTS_ALWAYSTIP 0x01
#define TTS_NOPREFIX 0x02
#define TTS_BALLOON 0x40
#define TTS_CLOSE 0x80
#define TTF_IDISHWND 0x0001
#define TTF_SUBCLASS 0x0010
#define TTDT_RESHOW 1
#define TTDT_AUTOPOP 2
#define TTDT_INITIAL 3
#define TTI_INFO 1
#define TTI_ERROR 3
#define TTM_SETDELAYTIME (WM_USER + 3)
#define TTM_SETMAXTIPWIDTH (WM_USER + 24)
#define TTM_SETTITLEW (WM_USER + 33)
#define TTM_ADDTOOLW (WM_USER + 50)
#define LPSTR_TEXTCALLBACKW ((LPWSTR)(INT_PTR)-1)
#define TTN_FIRST (0U - 520U)
#define TTN_GETDISPINFOW (TTN_FIRST - 10)

// --- tabs ---
#define TCM_FIRST 0x1300
#define TCM_GETITEMCOUNT (TCM_FIRST + 4)
#define TCM_GETCURSEL (TCM_FIRST + 11)
#define TCM_SETCURSEL (TCM_FIRST + 12)
#define TCM_GETITEMW (TCM_FIRST + 60)
#define TCIF_TEXT 0x0001

typedef struct tagTOOLINFOW {
    UINT cbSize;
    UINT uFlags;
    HWND hwnd;
    UINT_PTR uId;
    RECT rect;
    HINSTANCE hinst;
    LPWSTR lpszText;
    LPARAM lParam;
    void* lpReserved;
} TTTOOLINFOW, *LPTTTOOLINFOW;
#define TTTOOLINFOW_V1_SIZE (offsetof(TTTOOLINFOW, lpszText) + sizeof(LPWSTR))
#define TTTOOLINFOW_V2_SIZE (offsetof(TTTOOLINFOW, lParam) + sizeof(LPARAM))

typedef struct tagNMTTDISPINFOW {
    NMHDR hdr;
    LPWSTR lpszText;
    WCHAR szText[80];
    HINSTANCE hinst;
    UINT uFlags;
    LPARAM lParam;
} NMTTDISPINFOW, *LPNMTTDISPINFOW;

typedef struct tagTCITEMW {
    UINT mask;
    DWORD dwState;
    DWORD dwStateMask;
    LPWSTR pszText;
    int cchTextMax;
    int iImage;
    LPARAM lParam;
} TCITEMW, *LPTCITEMW;

typedef LRESULT(CALLBACK* SUBCLASSPROC)(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam,
                                        UINT_PTR uIdSubclass, DWORD_PTR dwRefData);

extern "C" {
BOOL WINAPI InitCommonControlsEx(const INITCOMMONCONTROLSEX* picce);
BOOL WINAPI SetWindowSubclass(HWND hWnd, SUBCLASSPROC pfnSubclass, UINT_PTR uIdSubclass, DWORD_PTR dwRefData);
BOOL WINAPI RemoveWindowSubclass(HWND hWnd, SUBCLASSPROC pfnSubclass, UINT_PTR uIdSubclass);
LRESULT WINAPI DefSubclassProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam);
}
#endif
