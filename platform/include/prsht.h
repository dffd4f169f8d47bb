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
#define PSH_NOAPPLYNOW 0x00000080
#define PSH_USECALLBACK 0x00000100

#define PSCB_INITIALIZED 1
#define PSCB_PRECREATE 2

#define PSN_FIRST (0U - 200U)
#define PSN_SETACTIVE (PSN_FIRST - 0)
#define PSN_KILLACTIVE (PSN_FIRST - 1)
#define PSN_APPLY (PSN_FIRST - 2)
#define PSN_RESET (PSN_FIRST - 3)

#define PSNRET_NOERROR 0
#define PSNRET_INVALID 1
#define PSNRET_INVALID_NOCHANGEPAGE 2

#define PSM_SETCURSEL (WM_USER + 101)
#define PSM_PRESSBUTTON (WM_USER + 113)
#define PSM_GETCURRENTPAGEHWND (WM_USER + 118)

#define PSBTN_OK 3
#define PSBTN_CANCEL 5

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
#define PropSheet_GetCurrentPageHwnd(sheet) \
    ((HWND)SendMessageW(sheet, PSM_GETCURRENTPAGEHWND, (WPARAM)0, (LPARAM)0))
