// SPDX-License-Identifier: MIT
#include "pages/clickable_static.h"

#include <commctrl.h>

#include <utility>

namespace qx {

namespace {

constexpr UINT_PTR kSubclass = 1;

bool IsClickKey(WPARAM key) noexcept {
    return key == VK_SPACE || key == VK_RETURN;
}

void DrawFocus(HWND window) noexcept {
    RECT area{};
    GetClientRect(window, &area);
    if (const HDC context = GetDC(window)) {
        DrawFocusRect(context, &area);
        ReleaseDC(window, context);
    }
}

}  // namespace

void CClickableStatic::Attach(HWND control) noexcept {
    Detach();
    if (control &&
        SetWindowSubclass(control, &SubclassProcedure, kSubclass, reinterpret_cast<DWORD_PTR>(this)))
        control_ = control;
}

void CClickableStatic::Detach() noexcept {
    if (const HWND control = std::exchange(control_, nullptr))
        RemoveWindowSubclass(control, &SubclassProcedure, kSubclass);
}

LRESULT CClickableStatic::SubclassProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam, UINT_PTR,
                                            DWORD_PTR object) noexcept {
    switch (message) {
        case WM_SETCURSOR:
            SetCursor(LoadCursorW(nullptr, IDC_HAND));
            return TRUE;
        case WM_GETDLGCODE: {
            // The dialog keeps the return key for its default button unless the control asks for it.
            const auto* const key = reinterpret_cast<const MSG*>(lparam);
            const bool wanted = key && key->message == WM_KEYDOWN && key->wParam == VK_RETURN;
            return DefSubclassProc(window, message, wparam, lparam) | (wanted ? DLGC_WANTALLKEYS : 0);
        }
        case WM_KEYDOWN:
            if (!IsClickKey(wparam))
                break;
            // A key that is held down clicks once.
            if (HIWORD(lparam) & KF_REPEAT)
                return 0;
            SendMessageW(GetParent(window), WM_COMMAND,
                         MAKEWPARAM(static_cast<WORD>(GetDlgCtrlID(window)), STN_CLICKED),
                         reinterpret_cast<LPARAM>(window));
            return 0;
        case WM_SETFOCUS:
        case WM_KILLFOCUS:
            InvalidateRect(window, nullptr, TRUE);
            break;
        case WM_PAINT: {
            const LRESULT result = DefSubclassProc(window, message, wparam, lparam);
            if (GetFocus() == window)
                DrawFocus(window);
            return result;
        }
        case WM_NCDESTROY:
            reinterpret_cast<CClickableStatic*>(object)->Detach();
            break;
        default:
            break;
    }
    return DefSubclassProc(window, message, wparam, lparam);
}

}  // namespace qx
