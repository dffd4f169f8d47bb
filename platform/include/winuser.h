// SPDX-License-Identifier: MIT
// Windows, messages, dialogs and controls.
#pragma once
#include <windef.h>
#include <wingdi.h>

typedef LRESULT(CALLBACK* WNDPROC)(HWND, UINT, WPARAM, LPARAM);
typedef INT_PTR(CALLBACK* DLGPROC)(HWND, UINT, WPARAM, LPARAM);
typedef BOOL(CALLBACK* WNDENUMPROC)(HWND, LPARAM);

// --- messages ---
#define WM_CREATE 0x0001
#define WM_DESTROY 0x0002
#define WM_SETFOCUS 0x0007
#define WM_KILLFOCUS 0x0008
#define WM_ENABLE 0x000A
#define WM_SETTEXT 0x000C
#define WM_GETTEXT 0x000D
#define WM_GETTEXTLENGTH 0x000E
#define WM_PAINT 0x000F
#define WM_CLOSE 0x0010
#define WM_ERASEBKGND 0x0014
#define WM_SHOWWINDOW 0x0018
#define WM_SETCURSOR 0x0020
#define WM_SETFONT 0x0030
#define WM_GETFONT 0x0031
#define WM_NOTIFY 0x004E
#define WM_HELP 0x0053
#define WM_NCCREATE 0x0081
#define WM_NCDESTROY 0x0082
#define WM_GETDLGCODE 0x0087
#define WM_KEYDOWN 0x0100
#define WM_CHAR 0x0102
#define WM_INITDIALOG 0x0110
#define WM_COMMAND 0x0111
#define WM_HSCROLL 0x0114
#define WM_CTLCOLORMSGBOX 0x0132
#define WM_CTLCOLOREDIT 0x0133
#define WM_CTLCOLORBTN 0x0135
#define WM_CTLCOLORDLG 0x0136
#define WM_CTLCOLORSTATIC 0x0138
#define WM_LBUTTONDOWN 0x0201
#define WM_LBUTTONUP 0x0202
#define WM_USER 0x0400
#define WM_APP 0x8000

#define DLGC_WANTALLKEYS 0x0004
#define DLGC_BUTTON 0x2000
#define DLGC_STATIC 0x0100

// --- dialogs and windows ---
#define DWLP_MSGRESULT 0
#define DWLP_DLGPROC (DWLP_MSGRESULT + 8)
#define DWLP_USER (DWLP_DLGPROC + 8)
#define GWL_STYLE (-16)
#define CW_USEDEFAULT ((int)0x80000000)
#define SW_HIDE 0
#define SW_SHOWNORMAL 1
#define SW_SHOW 5
#define SWP_NOSIZE 0x0001
#define SWP_NOMOVE 0x0002
#define SWP_NOZORDER 0x0004
#define SWP_NOACTIVATE 0x0010
#define GW_HWNDNEXT 2
#define GW_CHILD 5

// --- buttons and statics ---
#define BN_CLICKED 0
#define BM_GETCHECK 0x00F0
#define BM_SETCHECK 0x00F1
#define BM_CLICK 0x00F5
#define BST_UNCHECKED 0x0000
#define BST_CHECKED 0x0001
#define STN_CLICKED 0
#define STM_SETICON 0x0170
#define STM_GETICON 0x0171
#define STM_SETIMAGE 0x0172
#define STM_GETIMAGE 0x0173

// --- edits ---
#define EN_SETFOCUS 0x0100
#define EN_KILLFOCUS 0x0200
#define EN_CHANGE 0x0300
#define EN_UPDATE 0x0400
#define EM_SETSEL 0x00B1

// --- choice boxes ---
#define CB_OKAY 0
#define CB_ERR (-1)
#define CBN_SELCHANGE 1
#define CBN_SETFOCUS 3
#define CBN_KILLFOCUS 4
#define CBN_EDITCHANGE 5
#define CBN_EDITUPDATE 6
#define CBN_SELENDOK 9
#define CB_ADDSTRING 0x0143
#define CB_GETCOUNT 0x0146
#define CB_GETCURSEL 0x0147
#define CB_GETLBTEXT 0x0148
#define CB_GETLBTEXTLEN 0x0149
#define CB_RESETCONTENT 0x014B
#define CB_SETCURSEL 0x014E
#define CB_GETITEMDATA 0x0150
#define CB_SETITEMDATA 0x0151
#define CB_FINDSTRINGEXACT 0x0158
#define CB_GETCOMBOBOXINFO 0x0164

// --- message boxes, icons, cursors, sounds ---
#define MB_OK 0x00000000
#define MB_YESNO 0x00000004
#define MB_ICONHAND 0x00000010
#define MB_ICONASTERISK 0x00000040
#define MB_ICONERROR MB_ICONHAND
#define MB_ICONINFORMATION MB_ICONASTERISK
#define MB_TYPEMASK 0x0000000F
#define MB_ICONMASK 0x000000F0
#define IDC_HAND MAKEINTRESOURCE(32649)

// --- text, help, tracking ---
#define HELPINFO_WINDOW 0x0001
#define VK_TAB 0x09
#define VK_RETURN 0x0D
#define VK_SPACE 0x20
#define KF_REPEAT 0x4000

typedef struct tagMSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;
    POINT pt;
} MSG, *PMSG, *LPMSG;

typedef struct tagNMHDR {
    HWND hwndFrom;
    UINT_PTR idFrom;
    UINT code;
} NMHDR, *LPNMHDR;

typedef struct tagHELPINFO {
    UINT cbSize;
    int iContextType;
    int iCtrlId;
    HANDLE hItemHandle;
    DWORD_PTR dwContextId;
    POINT MousePos;
} HELPINFO, *LPHELPINFO;

typedef struct tagCREATESTRUCTW {
    LPVOID lpCreateParams;
    HINSTANCE hInstance;
    HMENU hMenu;
    HWND hwndParent;
    int cy;
    int cx;
    int y;
    int x;
    LONG style;
    LPCWSTR lpszName;
    LPCWSTR lpszClass;
    DWORD dwExStyle;
} CREATESTRUCTW, *LPCREATESTRUCTW;

typedef struct tagCOMBOBOXINFO {
    DWORD cbSize;
    RECT rcItem;
    RECT rcButton;
    DWORD stateButton;
    HWND hwndCombo;
    HWND hwndItem;
    HWND hwndList;
} COMBOBOXINFO, *PCOMBOBOXINFO, *LPCOMBOBOXINFO;

#pragma pack(push, 2)
typedef struct {
    DWORD style;
    DWORD dwExtendedStyle;
    WORD cdit;
    short x;
    short y;
    short cx;
    short cy;
} DLGTEMPLATE;
#pragma pack(pop)

extern "C" {
// Windows.
HWND WINAPI CreateWindowExW(DWORD dwExStyle, LPCWSTR lpClassName, LPCWSTR lpWindowName, DWORD dwStyle, int X,
                            int Y, int nWidth, int nHeight, HWND hWndParent, HMENU hMenu, HINSTANCE hInstance,
                            LPVOID lpParam);
BOOL WINAPI DestroyWindow(HWND hWnd);
BOOL WINAPI ShowWindow(HWND hWnd, int nCmdShow);
BOOL WINAPI EnableWindow(HWND hWnd, BOOL bEnable);
BOOL WINAPI IsWindowEnabled(HWND hWnd);
BOOL WINAPI IsWindowVisible(HWND hWnd);
HWND WINAPI SetFocus(HWND hWnd);
HWND WINAPI GetFocus();
HWND WINAPI GetActiveWindow();
HWND WINAPI GetParent(HWND hWnd);
HWND WINAPI GetWindow(HWND hWnd, UINT uCmd);
BOOL WINAPI SetWindowTextW(HWND hWnd, LPCWSTR lpString);
int WINAPI GetWindowTextW(HWND hWnd, LPWSTR lpString, int nMaxCount);
int WINAPI GetWindowTextLengthW(HWND hWnd);
int WINAPI GetClassNameW(HWND hWnd, LPWSTR lpClassName, int nMaxCount);
LONG_PTR WINAPI GetWindowLongPtrW(HWND hWnd, int nIndex);
LONG_PTR WINAPI SetWindowLongPtrW(HWND hWnd, int nIndex, LONG_PTR dwNewLong);
BOOL WINAPI GetClientRect(HWND hWnd, LPRECT lpRect);
BOOL WINAPI GetWindowRect(HWND hWnd, LPRECT lpRect);
BOOL WINAPI SetWindowPos(HWND hWnd, HWND hWndInsertAfter, int X, int Y, int cx, int cy, UINT uFlags);
BOOL WINAPI InvalidateRect(HWND hWnd, const RECT* lpRect, BOOL bErase);
BOOL WINAPI EnumThreadWindows(DWORD dwThreadId, WNDENUMPROC lpfn, LPARAM lParam);

// Messages.
LRESULT WINAPI SendMessageW(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam);

// Dialogs.
HWND WINAPI GetDlgItem(HWND hDlg, int nIDDlgItem);
int WINAPI GetDlgCtrlID(HWND hWnd);
BOOL WINAPI GetComboBoxInfo(HWND hwndCombo, PCOMBOBOXINFO pcbi);

// Message boxes, sounds, resources.
// What the user asked for in the system's settings.
typedef struct tagHIGHCONTRASTW {
    UINT cbSize;
    DWORD dwFlags;
    LPWSTR lpszDefaultScheme;
} HIGHCONTRASTW, *LPHIGHCONTRASTW;
#define HCF_HIGHCONTRASTON 0x00000001
#define SPI_GETHIGHCONTRAST 0x0042
#define COLOR_BTNFACE 15
#define COLOR_BTNTEXT 18
#define COLOR_HOTLIGHT 26
BOOL WINAPI SystemParametersInfoW(UINT uiAction, UINT uiParam, PVOID pvParam, UINT fWinIni);
DWORD WINAPI GetSysColor(int nIndex);
HBRUSH WINAPI GetSysColorBrush(int nIndex);

int WINAPI MessageBoxW(HWND hWnd, LPCWSTR lpText, LPCWSTR lpCaption, UINT uType);
BOOL WINAPI MessageBeep(UINT uType);
int WINAPI LoadStringW(HINSTANCE hInstance, UINT uID, LPWSTR lpBuffer, int cchBufferMax);
HICON WINAPI LoadIconW(HINSTANCE hInstance, LPCWSTR lpIconName);
HCURSOR WINAPI LoadCursorW(HINSTANCE hInstance, LPCWSTR lpCursorName);
HCURSOR WINAPI SetCursor(HCURSOR hCursor);

// Painting.
HDC WINAPI GetDC(HWND hWnd);
int WINAPI ReleaseDC(HWND hWnd, HDC hDC);
int WINAPI FillRect(HDC hDC, const RECT* lprc, HBRUSH hbr);
BOOL WINAPI DrawFocusRect(HDC hDC, const RECT* lprc);

// Text.
LPWSTR WINAPI CharUpperW(LPWSTR lpsz);
LPWSTR WINAPI CharLowerW(LPWSTR lpsz);
}
