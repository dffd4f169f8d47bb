// SPDX-License-Identifier: MIT
#include "pages/about_page.h"

#include "module/product_data.h"
#include "module/resource.h"

namespace qx {

CAboutPage::CAboutPage() noexcept : CPropertyPage(IDD_ABOUT, TEXT("About")) {}

bool CAboutPage::ProcessWindowMessage(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) {
    const Event event = EventOf(message, wparam, lparam);
    if (event.kind == Event::Kind::kInitialise) {
        CreateBackground();
        web_site_.Attach(Item(IDC_WEB_ADDRESS), TEXT(QX_WEB_ADDRESS));
        result = TRUE;
        return true;
    }
    if (event.kind == Event::Kind::kClick && event.control == IDC_WEB_ADDRESS) {
        web_site_.Open();
        return true;
    }
    if (message == WM_DESTROY)
        web_site_.Detach();
    const bool handled = CPropertyPage::ProcessWindowMessage(message, wparam, lparam, result);
    if (message == WM_CTLCOLORSTATIC && web_site_.IsControl(reinterpret_cast<HWND>(lparam)))
        SetTextColor(reinterpret_cast<HDC>(wparam),
                     UserWantsHighContrast() ? GetSysColor(COLOR_HOTLIGHT) : web_site_.Colour());
    return handled;
}

}  // namespace qx
