// SPDX-License-Identifier: MIT
#include "host/windows/screen.h"

#include "host/failure.h"

#include <commctrl.h>
#include <gdiplus.h>

#include <cwchar>
#include <map>
#include <string>
#include <vector>

namespace qxhost {

namespace {

// Keeps the thread's windows alive for a while without taking part in their dialogs: painting and timers
// only, so that no step of a user comes in between.
void Idle(DWORD milliseconds) {
    const ULONGLONG end = GetTickCount64() + milliseconds;
    for (ULONGLONG now = GetTickCount64(); now < end; now = GetTickCount64()) {
        MSG message;
        while (PeekMessageW(&message, nullptr, WM_PAINT, WM_PAINT, PM_REMOVE) ||
               PeekMessageW(&message, nullptr, WM_TIMER, WM_TIMER, PM_REMOVE) ||
               PeekMessageW(&message, nullptr, WM_MOUSEFIRST, WM_MOUSELAST, PM_REMOVE))
            DispatchMessageW(&message);
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_PAINT | QS_TIMER | QS_MOUSE);
    }
}

BOOL CALLBACK Redraw(HWND window, LPARAM) {
    RedrawWindow(window, nullptr, nullptr,
                 RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN | RDW_UPDATENOW);
    return TRUE;
}

BOOL CALLBACK FindTip(HWND window, LPARAM place) {
    WCHAR name[64];
    if (IsWindowVisible(window) && GetClassNameW(window, name, 64) > 0 &&
        wcscmp(name, TOOLTIPS_CLASSW) == 0) {
        *reinterpret_cast<HWND*>(place) = window;
        return FALSE;
    }
    return TRUE;
}

std::map<HWND, std::wstring> titles;

LRESULT CALLBACK NoteTitle(int code, WPARAM wparam, LPARAM lparam) {
    const auto* const sent = reinterpret_cast<const CWPSTRUCT*>(lparam);
    WCHAR name[64];
    if (code == HC_ACTION && sent->message == TTM_SETTITLEW && sent->lParam != 0 &&
        GetClassNameW(sent->hwnd, name, 64) > 0 && wcscmp(name, TOOLTIPS_CLASSW) == 0)
        titles[sent->hwnd] = reinterpret_cast<const WCHAR*>(sent->lParam);
    return CallNextHookEx(nullptr, code, wparam, lparam);
}

HWND VisibleTip() {
    HWND tip = nullptr;
    EnumThreadWindows(GetCurrentThreadId(), FindTip, reinterpret_cast<LPARAM>(&tip));
    return tip;
}

bool StorePng(HBITMAP bitmap, const std::filesystem::path& file) {
    constexpr CLSID kPng = {0x557cf406, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};
    ULONG_PTR token = 0;
    const Gdiplus::GdiplusStartupInput input;
    if (Gdiplus::GdiplusStartup(&token, &input, nullptr) != Gdiplus::Ok)
        return false;
    const bool stored =
        Gdiplus::Bitmap(bitmap, nullptr).Save(file.wstring().c_str(), &kPng, nullptr) == Gdiplus::Ok;
    Gdiplus::GdiplusShutdown(token);
    return stored;
}

}  // namespace

void PictureOf(HWND window, const std::filesystem::path& file) {
    EnumThreadWindows(GetCurrentThreadId(), Redraw, 0);
    Idle(150);
    RECT place;
    GetWindowRect(window, &place);
    // A tip belongs to the picture.
    RECT tip_place;
    if (const HWND tip = VisibleTip(); tip != nullptr && GetWindowRect(tip, &tip_place)) {
        const RECT both = place;
        UnionRect(&place, &both, &tip_place);
    }
    const int width = place.right - place.left;
    const int height = place.bottom - place.top;
    const HDC screen = GetDC(nullptr);
    const HDC memory = CreateCompatibleDC(screen);
    const HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
    const HGDIOBJ before = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, width, height, screen, place.left, place.top, SRCCOPY);
    SelectObject(memory, before);
    ReleaseDC(nullptr, screen);
    DeleteDC(memory);

    const bool written = StorePng(bitmap, file);
    DeleteObject(bitmap);
    if (!written)
        throw Failure(kNotAsItShould, "the picture " + file.string() + " cannot be written");
}

Tip RestPointerOn(HWND control) {
    MovePointerAway();
    RECT r;
    GetWindowRect(control, &r);
    const int x = r.left + (r.right - r.left) / 3;
    const int y = (r.top + r.bottom) / 2;
    // The first movement only enters the control; the second one brings the tip.
    SetCursorPos(x, y);
    Idle(100);
    SetCursorPos(x + 1, y);
    HWND window = nullptr;
    for (int wait = 0; wait < 30 && (window = VisibleTip()) == nullptr; ++wait)
        Idle(100);
    Tip tip;
    if (window == nullptr)
        return tip;
    tip.title = titles[window];
    // The text that is shown. Asking for it by TTM_GETTEXT would make the page answer a second time, and
    // some answers are given once.
    std::vector<WCHAR> text(2048, L'\0');
    GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
    tip.text = text.data();
    return tip;
}

TipTitles::TipTitles() : hook_(SetWindowsHookExW(WH_CALLWNDPROC, NoteTitle, nullptr, GetCurrentThreadId())) {}

TipTitles::~TipTitles() {
    UnhookWindowsHookEx(hook_);
    titles.clear();
}

void MovePointerAway() {
    SetCursorPos(GetSystemMetrics(SM_CXSCREEN) - 2, GetSystemMetrics(SM_CYSCREEN) - 2);
    // A tip notices on its own time that the pointer has left.
    for (int wait = 0; wait < 20 && (wait == 0 || VisibleTip() != nullptr); ++wait)
        Idle(100);
}

}  // namespace qxhost
