// SPDX-License-Identifier: MIT
#include "pages/property_page.h"

#include "base/attempt.h"
#include "base/module_instance.h"

#include <commctrl.h>

namespace qx {

namespace {

constexpr COLORREF kPageColour = RGB(248, 247, 246);

// Added to a notification when it is sent back to the control that it came from, as common Windows frameworks
// do. Controls that do not handle reflected messages ignore them.
constexpr UINT kReflected = WM_USER + 0x1C00;

// Notifications of a property sheet to its pages.
bool IsSheetNotification(UINT code) noexcept {
    return code <= PSN_FIRST && code > PSN_FIRST - 100;
}

}  // namespace

CPropertyPage::CPropertyPage(UINT page_template, const WCHAR* title) noexcept
    : activation_context_(ModuleInstance()) {
    sheet_page_.dwSize = sizeof(sheet_page_);
    sheet_page_.dwFlags = PSP_USETITLE | PSP_USECALLBACK;
    sheet_page_.hInstance = ModuleInstance();
    sheet_page_.pszTemplate = MAKEINTRESOURCEW(page_template);
    sheet_page_.pszTitle = title;
    sheet_page_.pfnDlgProc = &DialogProcedure;
    sheet_page_.pfnCallback = &PageCallback;
    sheet_page_.lParam = reinterpret_cast<LPARAM>(this);
    if (activation_context_) {
        // The window is made long after this call, when the tab is shown; the platform then uses the context.
        sheet_page_.dwFlags |= PSP_USEFUSIONCONTEXT;
        sheet_page_.hActCtx = activation_context_.Get();
    }
}

CPropertyPage::~CPropertyPage() {
    // Normally the window is gone by now. If it is not, it must not find this object any more.
    if (window_)
        SetWindowLongPtrW(window_, DWLP_USER, 0);
}

HPROPSHEETPAGE CPropertyPage::Create() noexcept {
    const CActivationContext::Scope scope(activation_context_);
    return CreatePropertySheetPageW(&sheet_page_);
}

HPROPSHEETPAGE CPropertyPage::CreateAndHandOver(std::unique_ptr<CPropertyPage> page) noexcept {
    const HPROPSHEETPAGE handle = page->Create();
    // From here on PageCallback deletes the object. It must not before: a creation that fails half-way may
    // call back too.
    if (handle)
        page.release()->owned_by_sheet_page_ = true;
    return handle;
}

UINT CPropertyPage::PageCallback(HWND, UINT message, PROPSHEETPAGEW* sheet_page) noexcept {
    auto* const page = reinterpret_cast<CPropertyPage*>(sheet_page->lParam);
    if (message == PSPCB_RELEASE && page->owned_by_sheet_page_)
        delete page;
    return 1;
}

INT_PTR CPropertyPage::DialogProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept {
    if (message == WM_INITDIALOG) {
        auto* const page =
            reinterpret_cast<CPropertyPage*>(reinterpret_cast<const PROPSHEETPAGEW*>(lparam)->lParam);
        page->window_ = window;
        SetWindowLongPtrW(window, DWLP_USER, reinterpret_cast<LONG_PTR>(page));
    }
    auto* const page = reinterpret_cast<CPropertyPage*>(GetWindowLongPtrW(window, DWLP_USER));
    // The first messages of a window come before its initialisation.
    if (!page)
        return FALSE;

    LRESULT result = 0;
    bool handled = false;
    if (!Attempt([&] {
            const CActivationContext::Scope scope(page->activation_context_);
            handled = page->ProcessWindowMessage(message, wparam, lparam, result);
        })) {
        // Out of memory. Nothing is lost as long as a page that could not be applied says so.
        handled = message == WM_INITDIALOG || EventOf(message, wparam, lparam).kind == Event::Kind::kApply;
        result = message == WM_INITDIALOG ? TRUE : kRefused;
    }
    if (message == WM_NCDESTROY) {
        SetWindowLongPtrW(window, DWLP_USER, 0);
        page->window_ = nullptr;
    }
    if (!handled)
        return FALSE;
    switch (message) {
        // A dialog procedure returns these results itself.
        case WM_INITDIALOG:
        case WM_CTLCOLORDLG:
        case WM_CTLCOLORSTATIC:
            return result;
        default:
            SetWindowLongPtrW(window, DWLP_MSGRESULT, result);
            return TRUE;
    }
}

CPropertyPage::Event CPropertyPage::EventOf(UINT message, WPARAM wparam, LPARAM lparam) noexcept {
    if (message == WM_INITDIALOG)
        return {Event::Kind::kInitialise};
    if (message == WM_NOTIFY && reinterpret_cast<const NMHDR*>(lparam)->code == PSN_APPLY)
        return {Event::Kind::kApply};
    if (message == WM_COMMAND && HIWORD(wparam) == BN_CLICKED)
        return {Event::Kind::kClick, LOWORD(wparam)};
    return {Event::Kind::kOther};
}

bool CPropertyPage::ProcessWindowMessage(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) {
    switch (message) {
        case WM_CTLCOLORDLG:
        case WM_CTLCOLORSTATIC: {
            const HBRUSH background = Background();
            if (!background)
                return false;
            const auto context = reinterpret_cast<HDC>(wparam);
            SetBkMode(context, TRANSPARENT);
            if (UserWantsHighContrast())
                SetTextColor(context, GetSysColor(COLOR_BTNTEXT));
            result = reinterpret_cast<LRESULT>(background);
            return true;
        }
        case WM_ERASEBKGND:
            // Left to the platform, a themed sheet would put its tab's texture over the page's colour.
            result = TRUE;
            return Paint(reinterpret_cast<HDC>(wparam));
        case WM_NOTIFY: {
            const auto& notification = *reinterpret_cast<const NMHDR*>(lparam);
            if (IsSheetNotification(notification.code)) {
                result = 0;
                return true;
            }
            SendMessageW(notification.hwndFrom, kReflected + message, wparam, lparam);
            return false;
        }
        case WM_COMMAND:
            if (lparam)
                SendMessageW(reinterpret_cast<HWND>(lparam), kReflected + message, wparam, lparam);
            return false;
        default:
            return false;
    }
}

bool CPropertyPage::UserWantsHighContrast() noexcept {
    HIGHCONTRASTW contrast{};
    contrast.cbSize = sizeof(contrast);
    return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof(contrast), &contrast, 0) &&
           (contrast.dwFlags & HCF_HIGHCONTRASTON);
}

HBRUSH CPropertyPage::Background() const noexcept {
    return UserWantsHighContrast() ? GetSysColorBrush(COLOR_BTNFACE) : background_.Get();
}

bool CPropertyPage::Paint(HDC context) const noexcept {
    const HBRUSH background = Background();
    RECT area{};
    return background && GetClientRect(window_, &area) && FillRect(context, &area, background);
}

void CPropertyPage::CreateBackground() noexcept {
    background_.Reset(CreateSolidBrush(kPageColour));
}

void CPropertyPage::EnableItem(int control, bool enabled) const noexcept {
    EnableWindow(Item(control), enabled ? TRUE : FALSE);
}

void CPropertyPage::ShowItem(int control, bool shown) const noexcept {
    ShowWindow(Item(control), shown ? SW_SHOW : SW_HIDE);
}

void CPropertyPage::SetItemText(int control, const Text& text) const noexcept {
    SetWindowTextW(Item(control), text.c_str());
}

void CPropertyPage::SetCaptions(std::span<const ControlText> captions) const {
    for (const auto& [control, text] : captions)
        SetItemText(control, LoadText(text));
}

int CPropertyPage::ShowMessage(const Text& text, const WCHAR* caption, UINT style) const noexcept {
    return MessageBoxW(window_, text.c_str(), caption, style);
}

}  // namespace qx
