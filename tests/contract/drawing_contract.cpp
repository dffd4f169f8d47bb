// SPDX-License-Identifier: MIT
// What drawing takes, and what a module and the C library's edge take from the platform.
#include "tests/contract/contract.h"

#include "base/module_instance.h"

#include <commctrl.h>

#include <array>
#include <cstring>
#include <string>

CONTRACT(drawing, objects_are_selected_and_deleted,
         "GetDC ReleaseDC CreateSolidBrush DeleteObject FillRect SetBkMode SetTextColor") {
    const HDC dc = GetDC(nullptr);
    NEEDS(dc != nullptr);
    const HBRUSH brush = CreateSolidBrush(RGB(0xF8, 0xF7, 0xF6));
    HOLDS(brush != nullptr);
    const RECT none = {0, 0, 0, 0};
    HOLDS(FillRect(dc, &none, brush) != 0);
    IS(SetBkMode(dc, TRANSPARENT), OPAQUE);
    IS(SetBkMode(dc, OPAQUE), TRANSPARENT);
    IS(SetTextColor(dc, RGB(0, 0, 255)), COLORREF{0});
    IS(SetTextColor(dc, 0), COLORREF{RGB(0, 0, 255)});
    HOLDS(DeleteObject(brush));
    IS(ReleaseDC(nullptr, dc), 1);
}

CONTRACT(drawing, the_users_colours, "GetSysColor GetSysColorBrush SystemParametersInfoW") {
    HIGHCONTRASTW contrast{};
    contrast.cbSize = sizeof(contrast);
    HOLDS(SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof(contrast), &contrast, 0));
    IS(contrast.cbSize, UINT{sizeof(contrast)});
    HOLDS(GetSysColor(COLOR_BTNFACE) != GetSysColor(COLOR_BTNTEXT));
    IS(GetSysColor(9999), DWORD{0});
    // The system's own brush: the same each time, and nobody's to delete.
    const HBRUSH brush = GetSysColorBrush(COLOR_BTNFACE);
    HOLDS(brush != nullptr);
    IS(GetSysColorBrush(COLOR_BTNFACE), brush);
}

CONTRACT(drawing, fonts, "GetObjectW CreateFontIndirectW SelectObject GetTextExtentPoint32W") {
    LOGFONTW description{};
    description.lfHeight = -12;
    description.lfUnderline = TRUE;
    const HFONT font = CreateFontIndirectW(&description);
    NEEDS(font != nullptr);
    LOGFONTW read{};
    IS(GetObjectW(font, sizeof(read), &read), static_cast<int>(sizeof(read)));
    IS(read.lfHeight, LONG{-12});
    IS(read.lfUnderline, BYTE{TRUE});
    const HDC dc = GetDC(nullptr);
    const HGDIOBJ before = SelectObject(dc, font);
    HOLDS(before != nullptr);
    SIZE shorter{};
    SIZE longer{};
    HOLDS(GetTextExtentPoint32W(dc, TEXT("COM"), 3, &shorter));
    HOLDS(GetTextExtentPoint32W(dc, TEXT("COM10"), 5, &longer));
    HOLDS(shorter.cx > 0 && shorter.cx < longer.cx && shorter.cy == longer.cy);
    HOLDS(SelectObject(dc, before) == font);
    ReleaseDC(nullptr, dc);
    HOLDS(DeleteObject(font));
}

CONTRACT(drawing, pointers_beeps_and_controls,
         "LoadCursorW SetCursor MessageBeep InitCommonControlsEx GetActiveWindow") {
    const HCURSOR hand = LoadCursorW(nullptr, IDC_HAND);
    HOLDS(hand != nullptr);
    const HCURSOR before = SetCursor(hand);
    HOLDS(SetCursor(before) == hand);
    HOLDS(MessageBeep(MB_ICONHAND));
    INITCOMMONCONTROLSEX classes{};
    classes.dwSize = sizeof(classes);
    classes.dwICC = ICC_WIN95_CLASSES;
    HOLDS(InitCommonControlsEx(&classes));
    HOLDS(GetActiveWindow() == nullptr);  // no window of this thread is open
}

CONTRACT(drawing, activation_contexts, "CreateActCtxW ActivateActCtx DeactivateActCtx ReleaseActCtx") {
    ACTCTXW description{};
    description.cbSize = sizeof(description);
    description.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID | ACTCTX_FLAG_HMODULE_VALID;
    description.hModule = qx::ModuleInstance();
    description.lpResourceName = MAKEINTRESOURCEW(2);
    const HANDLE context = CreateActCtxW(&description);
    NEEDS(context != INVALID_HANDLE_VALUE);
    ULONG_PTR cookie = 0;
    HOLDS(ActivateActCtx(context, &cookie));
    HOLDS(DeactivateActCtx(0, cookie));
    ReleaseActCtx(context);
    description.lpResourceName = MAKEINTRESOURCEW(777);
    HOLDS(CreateActCtxW(&description) == INVALID_HANDLE_VALUE);
}

CONTRACT(drawing, the_module_itself, "GetModuleHandleExW GetModuleFileNameW") {
    HMODULE module = nullptr;
    HOLDS(GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<const WCHAR*>(reinterpret_cast<const void*>(&qx::ModuleInstance)), &module));
    HOLDS(module != nullptr && module == qx::ModuleInstance());
    std::array<WCHAR, 260> path{};
    const DWORD length = GetModuleFileNameW(module, path.data(), 260);
    HOLDS(length > 0 && path[length] == 0);
    IS(GetModuleFileNameW(module, path.data(), 4), 4U);  // cut
    IS(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
}

CONTRACT(drawing, text_changes_width, "MultiByteToWideChar") {
    std::array<WCHAR, 8> wide{};
    IS(MultiByteToWideChar(CP_ACP, 0, "USB", -1, nullptr, 0), 4);
    IS(MultiByteToWideChar(CP_ACP, 0, "USB", 3, wide.data(), 8), 3);
    IS(wide[2], WCHAR{u'B'});
    FAILS_WITH(MultiByteToWideChar(CP_ACP, 0, "USB", -1, wide.data(), 2), ERROR_INSUFFICIENT_BUFFER);
}

CONTRACT(drawing, memory_and_the_last_error, "LocalAlloc LocalFree GetLastError SetLastError") {
    const HLOCAL memory = LocalAlloc(LMEM_FIXED | LMEM_ZEROINIT, 64);
    NEEDS(memory != nullptr);
    IS(*static_cast<const BYTE*>(memory), BYTE{0});
    HOLDS(LocalFree(memory) == nullptr);
    HOLDS(LocalFree(nullptr) == nullptr);
    SetLastError(1234);
    IS(GetLastError(), 1234U);
}

CONTRACT(drawing, window_places, "CreateWindowExW GetClientRect SetWindowPos InvalidateRect DestroyWindow") {
    const HWND window = CreateWindowExW(0, TEXT("Static"), TEXT("text"), WS_POPUP, 10, 10, 100, 50, nullptr,
                                        nullptr, qx::ModuleInstance(), nullptr);
    NEEDS(window != nullptr);
    HOLDS(SetWindowPos(window, nullptr, 0, 0, 120, 60, SWP_NOZORDER | SWP_NOMOVE));
    RECT client{};
    HOLDS(GetClientRect(window, &client));
    IS(client.right, LONG{120});
    IS(client.bottom, LONG{60});
    HOLDS(InvalidateRect(window, nullptr, TRUE));
    HOLDS(DestroyWindow(window));
    HOLDS(!DestroyWindow(window));
}
