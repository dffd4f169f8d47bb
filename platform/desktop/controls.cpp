// SPDX-License-Identifier: MIT
#include "platform/desktop/controls.h"

#include "platform/machine/calls.h"

#include <commctrl.h>

namespace qxsim {

QX_PLATFORM_CALL(InitCommonControlsEx);

const std::vector<std::shared_ptr<const WindowClass>>& BuiltInClasses() {
    static const std::vector<std::shared_ptr<const WindowClass>> classes = [] {
        std::vector<std::shared_ptr<const WindowClass>> made;
        const auto add = [&](const WCHAR* name, std::unique_ptr<Control> (*make)(Window&)) {
            made.push_back(std::make_shared<WindowClass>(WindowClass{name, ControlProcedure, nullptr, make}));
        };
        add(WC_BUTTONW, MakeButton);
        add(WC_STATICW, MakeStatic);
        add(WC_EDITW, MakeEdit);
        add(WC_COMBOBOXW, MakeChoiceBox);
        add(TRACKBAR_CLASSW, MakeSlider);
        add(TOOLTIPS_CLASSW, MakeTooltip);
        add(WC_TABCONTROLW, MakeTabControl);
        // Dialogs, sheet frames and message boxes.
        made.push_back(
            std::make_shared<WindowClass>(WindowClass{u"#32770", DialogProcedure, nullptr, nullptr}));
        return made;
    }();
    return classes;
}

BOOL InitCommonControlsEx(const INITCOMMONCONTROLSEX* which) {
    Call call("InitCommonControlsEx", which ? which->dwICC : 0U);
    if (call.Faulted() || !which || which->dwSize != sizeof(INITCOMMONCONTROLSEX))
        return call.Fail(call.FaultError(ERROR_INVALID_PARAMETER));
    return call.Return(TRUE);
}

}  // namespace qxsim
