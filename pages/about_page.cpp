#include "pages/about_page.h"

#include "module/product_data.h"
#include "module/resource.h"

namespace qx {

CAboutPage::CAboutPage() noexcept : CPropertyPage(IDD_ABOUT, TEXT("About")) {}

bool CAboutPage::ProcessWindowMessage(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) {
    switch (EventOf(message, wparam, lparam)) {
        case kInitialise:
            CreateBackground();
            web_site_.Attach(Item(IDC_WEB_ADDRESS), TEXT(QX_WEB_ADDRESS));
            result = TRUE;
            return true;
        case IDC_WEB_ADDRESS:
            web_site_.Open();
            return true;
        default:
            break;
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
