// SPDX-License-Identifier: MIT
#include "pages/hyperlink.h"

#include "base/module_instance.h"
#include "base/registry.h"
#include "pages/data_exchange.h"

#include <commctrl.h>
#include <shellapi.h>

#include <array>
#include <utility>
#include <vector>

namespace qx {

namespace {

constexpr const WCHAR* kBrowserSettings = TEXT("Software\\Microsoft\\Internet Explorer\\Settings");

// The browser keeps a colour as text, "0,0,255". Anything else leaves `colour` as it is.
void ReadColour(HKEY settings, const WCHAR* name, COLORREF& colour) {
    std::array<WCHAR, 32> buffer{};
    DWORD type = 0;
    DWORD size = sizeof(buffer);
    if (RegQueryValueExW(settings, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer.data()), &size) !=
            0 ||
        type != REG_SZ)
        return;
    const std::vector<Text> parts = SplitAtCommas(Text::FromBuffer(buffer.data(), size / sizeof(WCHAR)));
    if (parts.size() != 3)
        return;
    std::array<BYTE, 3> channels{};
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const int channel = ParseDecimal(parts[i].view());
        if (channel < 0 || channel > 255)
            return;
        channels[i] = static_cast<BYTE>(channel);
    }
    colour = RGB(channels[0], channels[1], channels[2]);
}

}  // namespace

void CHyperlink::Attach(HWND control, Text address) {
    Detach();
    address_ = std::move(address);
    link_.Attach(control);
    ReadColours();
    Underline();
    FitToLabel();
    CreateTip();
}

void CHyperlink::Detach() noexcept {
    if (const HWND tip = std::exchange(tip_, nullptr))
        DestroyWindow(tip);
    link_.Detach();
}

void CHyperlink::ReadColours() {
    const RegistryKey settings = OpenKey(HKEY_CURRENT_USER, kBrowserSettings, KEY_READ);
    if (!settings)
        return;
    ReadColour(settings.Get(), TEXT("Anchor Color"), colour_);
    ReadColour(settings.Get(), TEXT("Anchor Color Visited"), visited_colour_);
}

// The page's font, underlined.
void CHyperlink::Underline() noexcept {
    const auto font = reinterpret_cast<HFONT>(SendMessageW(link_.Control(), WM_GETFONT, 0, 0));
    LOGFONTW description{};
    if (!font || !GetObjectW(font, sizeof(description), &description))
        return;
    description.lfUnderline = TRUE;
    font_.Reset(CreateFontIndirectW(&description));
    if (font_)
        SendMessageW(link_.Control(), WM_SETFONT, reinterpret_cast<WPARAM>(font_.Get()), TRUE);
}

// A click beside the label must not open anything.
void CHyperlink::FitToLabel() {
    const Text label = TextOfWindow(link_.Control());
    const HDC context = GetDC(link_.Control());
    if (!context)
        return;
    const HGDIOBJ former = font_ ? SelectObject(context, font_.Get()) : nullptr;
    SIZE size{};
    if (GetTextExtentPoint32W(context, label.c_str(), static_cast<int>(label.length()), &size))
        SetWindowPos(link_.Control(), nullptr, 0, 0, size.cx, size.cy,
                     SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    if (former)
        SelectObject(context, former);
    ReleaseDC(link_.Control(), context);
}

void CHyperlink::CreateTip() noexcept {
    const HWND page = GetParent(link_.Control());
    tip_ = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_NOPREFIX, CW_USEDEFAULT,
                           CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, page, nullptr, ModuleInstance(),
                           nullptr);
    if (!tip_)
        return;
    TTTOOLINFOW tool{};
    tool.cbSize = sizeof(tool);
    tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
    tool.hwnd = page;
    tool.uId = reinterpret_cast<UINT_PTR>(link_.Control());
    tool.lpszText = const_cast<WCHAR*>(address_.c_str());
    SendMessageW(tip_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

void CHyperlink::Open() noexcept {
    const HINSTANCE result =
        ShellExecuteW(nullptr, TEXT("open"), address_.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    // The platform tells success by a number above 32 in the type of a handle.
    if (reinterpret_cast<INT_PTR>(result) <= 32)
        return;
    visited_ = true;
    InvalidateRect(link_.Control(), nullptr, TRUE);
}

}  // namespace qx
