// SPDX-License-Identifier: MIT
// Property sheets.
#pragma once
#include <windows.h>

#define MAXPROPPAGES 100

#define PSP_USETITLE 0x8
#define PSP_USECALLBACK 0x80
#define PSP_USEFUSIONCONTEXT 0x4000

#define PSPCB_ADDREF 0
#define PSPCB_RELEASE 1
#define PSPCB_CREATE 2

#define PSH_PROPTITLE 0x00000001
#define PSH_PROPSHEETPAGE 0x00000008
#define PSH_WIZARD 0x00000020
#define PSH_NOAPPLYNOW 0x00000080
#define PSH_USECALLBACK 0x00000100
#define PSH_HASHELP 0x00000200
#define PSH_MODELESS 0x00000400
#define PSH_NOCONTEXTHELP 0x02000000

#define PSCB_INITIALIZED 1
#define PSCB_PRECREATE 2
#define PSCB_BUTTONPRESSED 3

#define PSN_FIRST (0U - 200U)
#define PSN_SETACTIVE (PSN_FIRST - 0)
#define PSN_KILLACTIVE (PSN_FIRST - 1)
#define PSN_APPLY (PSN_FIRST - 2)
#define PSN_RESET (PSN_FIRST - 3)
#define PSN_HELP (PSN_FIRST - 5)
#define PSN_QUERYCANCEL (PSN_FIRST - 9)
#define PSN_QUERYINITIALFOCUS (PSN_FIRST - 13)

#define PSNRET_NOERROR 0
#define PSNRET_INVALID 1
#define PSNRET_INVALID_NOCHANGEPAGE 2

#define PSM_SETCURSEL (WM_USER + 101)
#define PSM_CHANGED (WM_USER + 104)
#define PSM_RESTARTWINDOWS (WM_USER + 105)
#define PSM_REBOOTSYSTEM (WM_USER + 106)
#define PSM_CANCELTOCLOSE (WM_USER + 107)
#define PSM_QUERYSIBLINGS (WM_USER + 108)
#define PSM_UNCHANGED (WM_USER + 109)
#define PSM_APPLY (WM_USER + 110)
#define PSM_PRESSBUTTON (WM_USER + 113)
#define PSM_GETTABCONTROL (WM_USER + 116)
#define PSM_GETCURRENTPAGEHWND (WM_USER + 118)
#define PSM_SETTITLEW (WM_USER + 120)
#define PSM_HWNDTOINDEX (WM_USER + 129)
#define PSM_INDEXTOHWND (WM_USER + 130)
#define PSM_PAGETOINDEX (WM_USER + 131)
#define PSM_INDEXTOPAGE (WM_USER + 132)
#define PSM_GETRESULT (WM_USER + 135)

#define PSBTN_OK 3
#define PSBTN_APPLYNOW 4
#define PSBTN_CANCEL 5
#define PSBTN_HELP 6
#define ID_PSRESTARTWINDOWS 0x2
#define ID_PSREBOOTSYSTEM (ID_PSRESTARTWINDOWS | 0x1)

// Sizes of pages in dialog units that the platform recommends.

struct _PROPSHEETPAGEW;
struct _PSP;
typedef struct _PSP* HPROPSHEETPAGE;
typedef const DLGTEMPLATE* PROPSHEETPAGE_RESOURCE;

typedef UINT(CALLBACK* LPFNPSPCALLBACKW)(HWND hwnd, UINT uMsg, struct _PROPSHEETPAGEW* ppsp);

typedef struct _PROPSHEETPAGEW {
    DWORD dwSize;
    DWORD dwFlags;
    HINSTANCE hInstance;
    union {
        LPCWSTR pszTemplate;
        PROPSHEETPAGE_RESOURCE pResource;
    };
    union {
        HICON hIcon;
        LPCWSTR pszIcon;
    };
    LPCWSTR pszTitle;
    DLGPROC pfnDlgProc;
    LPARAM lParam;
    LPFNPSPCALLBACKW pfnCallback;
    UINT* pcRefParent;
    LPCWSTR pszHeaderTitle;
    LPCWSTR pszHeaderSubTitle;
    HANDLE hActCtx;
} PROPSHEETPAGEW, *LPPROPSHEETPAGEW;
typedef const PROPSHEETPAGEW* LPCPROPSHEETPAGEW;

typedef int(CALLBACK* PFNPROPSHEETCALLBACK)(HWND, UINT, LPARAM);
typedef BOOL(CALLBACK* LPFNADDPROPSHEETPAGE)(HPROPSHEETPAGE, LPARAM);
typedef BOOL(CALLBACK* LPFNADDPROPSHEETPAGES)(LPVOID, LPFNADDPROPSHEETPAGE, LPARAM);

typedef struct _PROPSHEETHEADERW {
    DWORD dwSize;
    DWORD dwFlags;
    HWND hwndParent;
    HINSTANCE hInstance;
    union {
        HICON hIcon;
        LPCWSTR pszIcon;
    };
    LPCWSTR pszCaption;
    UINT nPages;
    union {
        UINT nStartPage;
        LPCWSTR pStartPage;
    };
    union {
        LPCPROPSHEETPAGEW ppsp;
        HPROPSHEETPAGE* phpage;
    };
    PFNPROPSHEETCALLBACK pfnCallback;
    union {
        HBITMAP hbmWatermark;
        LPCWSTR pszbmWatermark;
    };
    HPALETTE hplWatermark;
    union {
        HBITMAP hbmHeader;
        LPCWSTR pszbmHeader;
    };
} PROPSHEETHEADERW, *LPPROPSHEETHEADERW;
typedef const PROPSHEETHEADERW* LPCPROPSHEETHEADERW;

typedef struct _PSHNOTIFY {
    NMHDR hdr;
    LPARAM lParam;
} PSHNOTIFY, *LPPSHNOTIFY;

extern "C" {
HPROPSHEETPAGE WINAPI CreatePropertySheetPageW(LPCPROPSHEETPAGEW constPropSheetPagePointer);
BOOL WINAPI DestroyPropertySheetPage(HPROPSHEETPAGE);
INT_PTR WINAPI PropertySheetW(LPCPROPSHEETHEADERW);
}

#define PropSheet_SetCurSel(sheet, page, index) \
    SendMessageW(sheet, PSM_SETCURSEL, (WPARAM)(index), (LPARAM)(page))
#define PropSheet_PressButton(sheet, button) PostMessageW(sheet, PSM_PRESSBUTTON, (WPARAM)(button), 0)
#define PropSheet_GetCurrentPageHwnd(sheet) \
    ((HWND)SendMessageW(sheet, PSM_GETCURRENTPAGEHWND, (WPARAM)0, (LPARAM)0))
