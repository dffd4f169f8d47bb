#include "host/windows/screen.h"

#include <commctrl.h>

#include <algorithm>
#include <cwchar>
#include <map>
#include <string>
#include <vector>

namespace qxhost {

namespace {

constexpr DWORD kPictureMilliseconds = 20'000;

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

}  // namespace

bool PictureOf(HWND window, const std::filesystem::path& file) {
    EnumThreadWindows(GetCurrentThreadId(), Redraw, 0);
    Idle(150);
    // Windows may lie anywhere on the one display; the picture is cut out of that. A tip belongs to it.
    std::wstring crop;
    if (window != nullptr) {
        RECT r;
        RECT tip_place;
        GetWindowRect(window, &r);
        if (const HWND tip = VisibleTip(); tip != nullptr && GetWindowRect(tip, &tip_place)) {
            const RECT both = r;
            UnionRect(&r, &both, &tip_place);
        }
        r.left = std::max<LONG>(r.left, 0);
        r.top = std::max<LONG>(r.top, 0);
        crop = L" -crop " + std::to_wstring(r.right - r.left) + L"x" + std::to_wstring(r.bottom - r.top) +
               L"+" + std::to_wstring(r.left) + L"+" + std::to_wstring(r.top) + L" +repage";
    }
    std::error_code ignored;
    const std::filesystem::path whole = std::filesystem::absolute(file, ignored);
    std::filesystem::create_directories(whole.parent_path(), ignored);
    std::filesystem::remove(whole, ignored);
    // "Z:\dir\file" is "/dir/file" to the program outside.
    std::wstring target = whole.generic_wstring();
    if (target.size() > 2 && target[1] == L':')
        target.erase(0, 2);
    std::wstring command = L"Z:\\usr\\bin\\import -window root" + crop +
                           L" -depth 8 -define png:exclude-chunks=date,time \"" + target + L"\"";
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(L"Z:\\usr\\bin\\import", command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process))
        return false;
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    // A program of the system outside has no process handle to wait for: the picture is there when its file
    // has stopped growing.
    const ULONGLONG end = GetTickCount64() + kPictureMilliseconds;
    std::uintmax_t size = 0;
    while (GetTickCount64() < end) {
        Sleep(100);
        const std::uintmax_t now =
            std::filesystem::exists(whole, ignored) ? std::filesystem::file_size(whole, ignored) : 0;
        if (now != 0 && now == size)
            return true;
        size = now;
    }
    return false;
}

Tip RestPointerOn(HWND control) {
    MovePointerAway();
    RECT r;
    GetWindowRect(control, &r);
    const int x = r.left + (r.right - r.left) / 3;
    const int y = (r.top + r.bottom) / 2;
    // A tip answers the second movement: the first one only enters the control.
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
    // The text that stands there. Asking for it by TTM_GETTEXT would make the page answer a second time, and
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
