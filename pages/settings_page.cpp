// SPDX-License-Identifier: MIT
#include "pages/settings_page.h"

#include "base/module_instance.h"
#include "device_records/registry_layout.h"
#include "module/resource.h"
#include "pages/utils.h"

namespace qx {

CSettingsPage::CSettingsPage(const SettingsPageData& data, HDEVINFO device_set,
                             const SP_DEVINFO_DATA& element) noexcept
    : CPropertyPage(data.page_template, MAKEINTRESOURCEW(data.title)),
      CQxUserModeConfig(device_set, element),
      data_(data),
      port_record_(device_set, element) {}

bool CSettingsPage::ProcessWindowMessage(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) {
    const Event event = EventOf(message, wparam, lparam);
    switch (event.kind) {
        case Event::Kind::kInitialise:
            Initialise();
            help_picture_.Attach(Item(IDC_HELP_PICTURE));
            initialised_ = true;
            // The platform sets the focus.
            result = TRUE;
            return true;
        case Event::Kind::kApply:
            result = initialised_ ? Apply() : kRefused;
            return true;
        case Event::Kind::kClick:
            if (Clicked(event.control))
                return true;
            break;
        case Event::Kind::kOther:
            break;
    }
    switch (message) {
        case WM_NOTIFY: {
            auto& notification = *reinterpret_cast<NMHDR*>(lparam);
            if (!IsTipRequest(notification))
                break;
            AnswerTip(ControlOf(notification), reinterpret_cast<NMTTDISPINFOW&>(notification));
            return true;
        }
        case WM_HELP:
            ShowControlHelp(Window(), data_.help, *reinterpret_cast<const HELPINFO*>(lparam));
            result = TRUE;
            return true;
        case WM_DESTROY:
            help_picture_.Detach();
            DestroyTooltip();
            return false;
        default:
            break;
    }
    return CPropertyPage::ProcessWindowMessage(message, wparam, lparam, result);
}

Text CSettingsPage::PortName() const {
    Text name;
    static_cast<void>(port_record_.GetDeviceString(kPortName, name));
    return name;
}

bool CSettingsPage::MayChange(const Text& name, UINT question) const {
    return CUtils::CanOpenPort(name) ||
           ShowMessage(LoadText(question), TEXT("Warning!"), MB_YESNO | MB_ICONINFORMATION) == IDYES;
}

bool CSettingsPage::Clicked(int control) {
    if (control != IDC_HELP_PICTURE)
        return false;
    OpenHelpTopic(Window(), data_.help, IsRs422485Port());
    return true;
}

void CSettingsPage::AnswerTip(int control, NMTTDISPINFOW& request) {
    const UINT text = TextOfControl(data_.tips, control);
    AnswerTipRequest(request, text ? LoadText(text) : Text());
}

}  // namespace qx
