// SPDX-License-Identifier: MIT
#include "platform/desktop/desktop.h"

#include "platform/desktop/controls.h"
#include "platform/desktop/drawing.h"
#include "platform/desktop/help_and_shell.h"
#include "platform/desktop/message_box.h"
#include "platform/desktop/modal_loop.h"
#include "platform/process/modules.h"
#include "platform/desktop/property_sheet.h"
#include "platform/desktop/subclassing.h"
#include "platform/desktop/window.h"

#include <commctrl.h>

namespace qxsim {

namespace {

ControlPicture DescribeControl(const Window& window) {
    ControlPicture picture;
    picture.window = window.handle;
    picture.class_name = ToUtf8(window.window_class->name);
    picture.kind = "other";
    picture.id = window.id;
    picture.text = ToUtf8(window.text);
    picture.units = window.units;
    picture.pixels = window.rect;
    picture.style = window.style;
    picture.visible = window.Visible();
    picture.enabled = window.Enabled();
    picture.focused = FocusedWindow() == window.handle;
    picture.resource = window.resource;
    picture.underlined = window.font && IsUnderlined(window.font);
    if (window.control)
        window.control->Describe(picture);
    return picture;
}

// Who is asked for the colours of a control, and how.
UINT ColorRequestFor(const Window& window) {
    const WideString& name = window.window_class->name;
    if (window.is_dialog)
        return WM_CTLCOLORDLG;
    if (EqualsCaseless(name, WC_EDITW) || EqualsCaseless(name, WC_COMBOBOXW))
        return window.Enabled() && !(window.style & ES_READONLY) ? WM_CTLCOLOREDIT : WM_CTLCOLORSTATIC;
    const DWORD type = window.style & BS_TYPEMASK;
    if (EqualsCaseless(name, WC_BUTTONW) && (type == BS_PUSHBUTTON || type == BS_DEFPUSHBUTTON))
        return WM_CTLCOLORBTN;
    return WM_CTLCOLORSTATIC;
}

}  // namespace

Desktop& Desktop::The() {
    static Desktop desktop;
    return desktop;
}

void Desktop::Reset() {
    ForgetWindows();
    ForgetSubclasses();
    ForgetUser();
    ForgetBoxes();
    ForgetRequests();
    ForgetDrawing();
    ForgetModuleSettings();
}

void Desktop::PressHelp(HWND control) {
    const WindowRef ref = FindWindowRef(control);
    if (!ref)
        return;
    HELPINFO help{};
    help.cbSize = sizeof(help);
    help.iContextType = HELPINFO_WINDOW;
    help.iCtrlId = ref->id;
    help.hItemHandle = control;
    help.MousePos = ScreenPosition(control);
    Send(control, WM_HELP, 0, ToLparam(&help));
}

std::vector<HWND> Desktop::OpenWindows() const {
    std::vector<HWND> open;
    for (const HWND window : TopLevelWindows())
        if (KindOf(window) != WindowKind::kOther && ShownOnScreen(window))
            open.push_back(window);
    return open;
}

HWND Desktop::TopWindow() const {
    const std::vector<HWND> open = OpenWindows();
    return open.empty() ? nullptr : open.front();
}

WindowKind Desktop::KindOf(HWND window) const {
    const WindowRef ref = FindWindowRef(window);
    return ref ? ref->kind : WindowKind::kOther;
}

WindowPicture Desktop::Picture(HWND window) const {
    WindowPicture picture;
    const WindowRef ref = FindWindowRef(window);
    if (!ref)
        return picture;
    picture.window = window;
    picture.kind = ref->kind;
    picture.caption = ToUtf8(ref->text);
    picture.width = ref->rect.right - ref->rect.left;
    picture.height = ref->rect.bottom - ref->rect.top;
    picture.width_units = ref->units.right;
    picture.height_units = ref->units.bottom;
    picture.enabled = ref->Enabled();
    picture.activation_context = ref->activation_context;
    picture.left = ref->rect.left;
    picture.top = ref->rect.top;
    for (const HWND child : ref->children) {
        const WindowRef control = FindWindowRef(child);
        if (!control || control->is_dialog)
            continue;
        picture.controls.push_back(DescribeControl(*control));
        if (picture.controls.back().kind == "tab") {
            for (const ChoiceEntry& tab : picture.controls.back().entries)
                picture.tabs.push_back(tab.text);
            picture.current_tab = picture.controls.back().selection;
        }
    }
    for (const HWND page : PagesOf(window))
        if (page)
            picture.pages.push_back(Picture(page));
    picture.current_page = CurrentPageOf(window);
    return picture;
}

ControlColors Desktop::ColorsOf(HWND window) const {
    const WindowRef ref = FindWindowRef(window);
    if (!ref)
        return {};
    const RequestContext context;
    const HWND asked = ref->is_dialog ? window : ref->parent;
    const LRESULT brush =
        Send(asked, ColorRequestFor(*ref), reinterpret_cast<WPARAM>(context.Handle()), ToLparam(window));
    return {ColorOfBrush(reinterpret_cast<HBRUSH>(brush)), context.TextColor(), context.Transparent()};
}

}  // namespace qxsim
