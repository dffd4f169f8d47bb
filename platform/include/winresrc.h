// SPDX-License-Identifier: MIT
// The constants that resource scripts and code share: styles, control ids, the numbers of resource types.
#pragma once

// --- window styles ---
#define WS_POPUP 0x80000000L
#define WS_CHILD 0x40000000L
#define WS_VISIBLE 0x10000000L
#define WS_DISABLED 0x08000000L
#define WS_CAPTION 0x00C00000L
#define WS_VSCROLL 0x00200000L
#define WS_SYSMENU 0x00080000L
#define WS_GROUP 0x00020000L
#define WS_TABSTOP 0x00010000L
#define WS_EX_TOPMOST 0x00000008L
#define WS_EX_CONTEXTHELP 0x00000400L

// --- dialogs ---
#define DS_SETFONT 0x40L
#define DS_MODALFRAME 0x80L
#define DS_FIXEDSYS 0x0008L

// --- buttons ---
#define BS_PUSHBUTTON 0x00000000L
#define BS_DEFPUSHBUTTON 0x00000001L
#define BS_CHECKBOX 0x00000002L
#define BS_AUTOCHECKBOX 0x00000003L
#define BS_RADIOBUTTON 0x00000004L
#define BS_3STATE 0x00000005L
#define BS_AUTO3STATE 0x00000006L
#define BS_GROUPBOX 0x00000007L
#define BS_AUTORADIOBUTTON 0x00000009L
#define BS_TYPEMASK 0x0000000FL
#define BS_NOTIFY 0x00004000L

// --- statics ---
#define SS_ICON 0x00000003L
#define SS_OWNERDRAW 0x0000000DL
#define SS_BITMAP 0x0000000EL
#define SS_TYPEMASK 0x0000001FL
#define SS_REALSIZECONTROL 0x00000040L
#define SS_NOPREFIX 0x00000080L
#define SS_NOTIFY 0x00000100L

// --- edits ---
#define ES_AUTOHSCROLL 0x0080L
#define ES_READONLY 0x0800L
#define ES_NUMBER 0x2000L

// --- choice boxes ---
#define CBS_DROPDOWN 0x0002L
#define CBS_DROPDOWNLIST 0x0003L
#define CBS_AUTOHSCROLL 0x0040L

// --- sliders ---
#define TBS_HORZ 0x0000
#define TBS_NOTICKS 0x0010

// --- ids of standard buttons ---
#define IDOK 1
#define IDCANCEL 2
#define IDYES 6
#define IDNO 7

// --- languages ---
#define LANG_NEUTRAL 0x00
#define LANG_GERMAN 0x07
#define LANG_ENGLISH 0x09
#define SUBLANG_NEUTRAL 0x00
#define SUBLANG_SYS_DEFAULT 0x02
#define SUBLANG_ENGLISH_US 0x01
#define SUBLANG_GERMAN 0x01

// --- the module's own version and manifest ---
#define VS_VERSION_INFO 1
#define VS_FFI_FILEFLAGSMASK 0x0000003FL
#define VOS_NT_WINDOWS32 0x00040004L
#define VFT_DLL 0x00000002L
#define VFT2_UNKNOWN 0x00000000L

#ifdef RC_INVOKED
#define RT_MANIFEST 24
#endif
