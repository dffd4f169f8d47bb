// SPDX-License-Identifier: MIT
#include "pages/tooltip_dialog.h"

#include "base/module_instance.h"

#include <utility>

namespace qx {

namespace {

constexpr LPARAM kMaximumWidth = 400;  // pixels
// Milliseconds.
constexpr WORD kInitialDelay = 1000;
constexpr WORD kReshowDelay = 2000;
constexpr WORD kVisibleTime = 30000;

}  // namespace

void CTooltipDialog::CreateTooltip(HWND page) noexcept {
    DestroyTooltip();
    page_ = page;
    tooltip_ = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr,
                               WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX | TTS_BALLOON | TTS_CLOSE,
                               CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, page, nullptr,
                               ModuleInstance(), nullptr);
    if (!tooltip_)
        return;
    SendMessageW(tooltip_, TTM_SETMAXTIPWIDTH, 0, kMaximumWidth);
    SetTipTitle(TEXT("Information:"), TTI_INFO);
    SendMessageW(tooltip_, TTM_SETDELAYTIME, TTDT_INITIAL, MAKELPARAM(kInitialDelay, 0));
    SendMessageW(tooltip_, TTM_SETDELAYTIME, TTDT_RESHOW, MAKELPARAM(kReshowDelay, 0));
    SendMessageW(tooltip_, TTM_SETDELAYTIME, TTDT_AUTOPOP, MAKELPARAM(kVisibleTime, 0));
}

// The platform makes the sheet's frame the owner of the tooltip, because a page is a child window; so the
// tooltip does not go away with the page by itself.
void CTooltipDialog::DestroyTooltip() noexcept {
    if (const HWND tooltip = std::exchange(tooltip_, nullptr))
        DestroyWindow(tooltip);
}

void CTooltipDialog::AddTool(HWND control) const noexcept {
    if (!tooltip_ || !control)
        return;
    TTTOOLINFOW tool{};
    tool.cbSize = sizeof(tool);
    tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
    tool.hwnd = page_;
    tool.uId = reinterpret_cast<UINT_PTR>(control);
    tool.lpszText = LPSTR_TEXTCALLBACKW;
    SendMessageW(tooltip_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

void CTooltipDialog::AddTools(std::span<const ControlText> tips) const noexcept {
    for (const auto& tip : tips)
        AddTool(GetDlgItem(page_, tip.control));
}

void CTooltipDialog::SetTipTitle(const WCHAR* title, WPARAM icon) const noexcept {
    if (tooltip_)
        SendMessageW(tooltip_, TTM_SETTITLEW, icon, reinterpret_cast<LPARAM>(title));
}

bool CTooltipDialog::IsTipRequest(const NMHDR& notification) const noexcept {
    return notification.code == TTN_GETDISPINFOW && notification.hwndFrom == tooltip_ && tooltip_;
}

int CTooltipDialog::ControlOf(const NMHDR& request) const noexcept {
    const auto window = reinterpret_cast<HWND>(request.idFrom);
    const HWND parent = GetParent(window);
    return GetDlgCtrlID(parent == page_ || !parent ? window : parent);
}

void CTooltipDialog::AnswerTipRequest(NMTTDISPINFOW& request, Text text) noexcept {
    shown_text_ = std::move(text);
    // The platform only reads it, though it asks for a pointer to change.
    request.lpszText = const_cast<WCHAR*>(shown_text_.c_str());
    request.szText[0] = 0;
    request.hinst = nullptr;
}

UINT TextOfControl(std::span<const ControlText> table, int control) noexcept {
    for (const auto& entry : table)
        if (entry.control == control)
            return entry.text;
    return 0;
}

}  // namespace qx
