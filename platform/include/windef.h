// SPDX-License-Identifier: MIT
// Basic types of the platform.
#pragma once
#include <guiddef.h>
#include <winresrc.h>

#include <cstddef>
#include <cstdint>

#define WINAPI
#define CALLBACK
#define APIENTRY
#define STDMETHODCALLTYPE
#define CONST const

#define TRUE 1
#define FALSE 0
#ifndef NULL
#define NULL 0
#endif
#define MAX_PATH 260

typedef void VOID;
typedef void* PVOID;
typedef void* LPVOID;
typedef const void* LPCVOID;
typedef char CHAR;
typedef CHAR* LPSTR;
typedef const CHAR* LPCSTR;
typedef char16_t WCHAR;
typedef WCHAR OLECHAR;
typedef WCHAR* LPWSTR;
typedef WCHAR* PWCHAR;
typedef WCHAR* LPOLESTR;
typedef WCHAR* BSTR;
typedef const WCHAR* LPCWSTR;
typedef const WCHAR* PCWSTR;
typedef unsigned char BYTE;
typedef BYTE* PBYTE;
typedef BYTE* LPBYTE;
typedef std::uint16_t USHORT;
typedef std::uint16_t WORD;
typedef WORD LANGID;
typedef std::int32_t INT;
typedef std::int32_t LONG;
typedef std::uint32_t UINT;
typedef std::uint32_t ULONG;
typedef ULONG* PULONG;
typedef std::uint32_t DWORD;
typedef DWORD* PDWORD;
typedef DWORD* LPDWORD;
typedef DWORD LCID;
typedef DWORD COLORREF;
typedef DWORD REGSAM;
typedef int BOOL;
typedef BOOL* PBOOL;
typedef BOOL* LPBOOL;
typedef std::int64_t LONGLONG;
typedef std::int64_t INT_PTR;
typedef std::uint64_t UINT_PTR;
typedef std::int64_t LONG_PTR;
typedef std::uint64_t ULONG_PTR;
typedef ULONG_PTR DWORD_PTR;
typedef ULONG_PTR SIZE_T;
typedef std::int32_t HRESULT;
typedef LONG LSTATUS;
typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;

typedef union _LARGE_INTEGER {
    struct {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
} LARGE_INTEGER, *PLARGE_INTEGER;

typedef struct _FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
} FILETIME, *PFILETIME, *LPFILETIME;

#define __TEXT(quote) u##quote
#define TEXT(quote) __TEXT(quote)

#define DECLARE_HANDLE(name) \
    struct name##__ {        \
        int unused;          \
    };                       \
    typedef struct name##__* name

typedef void* HANDLE;
typedef HANDLE HLOCAL;
typedef void* HGDIOBJ;
DECLARE_HANDLE(HWND);
DECLARE_HANDLE(HKEY);
typedef HKEY* PHKEY;
DECLARE_HANDLE(HINSTANCE);
typedef HINSTANCE HMODULE;
DECLARE_HANDLE(HRSRC);
DECLARE_HANDLE(HMENU);
DECLARE_HANDLE(HDC);
DECLARE_HANDLE(HICON);
typedef HICON HCURSOR;
DECLARE_HANDLE(HBRUSH);
DECLARE_HANDLE(HBITMAP);
DECLARE_HANDLE(HFONT);
DECLARE_HANDLE(HPEN);
DECLARE_HANDLE(HRGN);
DECLARE_HANDLE(HPALETTE);
DECLARE_HANDLE(HHOOK);
DECLARE_HANDLE(HACCEL);
DECLARE_HANDLE(HMONITOR);
#define INVALID_HANDLE_VALUE ((HANDLE)(LONG_PTR)-1)

typedef INT_PTR (*FARPROC)();

typedef struct tagPOINT {
    LONG x;
    LONG y;
} POINT, *PPOINT, *LPPOINT;
typedef struct tagSIZE {
    LONG cx;
    LONG cy;
} SIZE, *PSIZE, *LPSIZE;
typedef struct tagRECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
} RECT, *PRECT, *LPRECT;

#define MAKELONG(low, high) \
    ((LONG)(((WORD)((DWORD_PTR)(low)&0xffff)) | ((DWORD)((WORD)((DWORD_PTR)(high)&0xffff))) << 16))
#define LOWORD(value) ((WORD)((DWORD_PTR)(value)&0xffff))
#define HIWORD(value) ((WORD)(((DWORD_PTR)(value) >> 16) & 0xffff))
#define MAKEWPARAM(low, high) ((WPARAM)(DWORD)MAKELONG(low, high))
#define MAKELPARAM(low, high) ((LPARAM)(DWORD)MAKELONG(low, high))
#define RGB(r, g, b) ((COLORREF)(((BYTE)(r) | ((WORD)((BYTE)(g)) << 8)) | (((DWORD)(BYTE)(b)) << 16)))

#define MAKELANGID(primary, sub) ((((WORD)(sub)) << 10) | (WORD)(primary))
#define MAKELCID(language, sort) ((DWORD)((((DWORD)((WORD)(sort))) << 16) | ((DWORD)((WORD)(language)))))
#define SORT_DEFAULT 0x0
#define LANG_SYSTEM_DEFAULT (MAKELANGID(LANG_NEUTRAL, SUBLANG_SYS_DEFAULT))
#define LOCALE_SYSTEM_DEFAULT (MAKELCID(LANG_SYSTEM_DEFAULT, SORT_DEFAULT))
#define LOCALE_NEUTRAL (MAKELCID(MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL), SORT_DEFAULT))

#define MAKEINTRESOURCEW(id) ((LPWSTR)((ULONG_PTR)((WORD)(id))))
#define MAKEINTRESOURCE MAKEINTRESOURCEW
#define IS_INTRESOURCE(name) ((((ULONG_PTR)(name)) >> 16) == 0)
