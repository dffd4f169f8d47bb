// SPDX-License-Identifier: MIT
#include "platform/desktop/message_names.h"

#include "platform/desktop/window.h"

#include <commctrl.h>

#include <algorithm>
#include <span>

namespace qxsim {

namespace {

struct NamedMessage {
    UINT number;
    const char* name;
};
#define QX_MESSAGE(name) \
    NamedMessage {       \
        name, #name      \
    }

constexpr NamedMessage kCommon[] = {
    QX_MESSAGE(WM_SETTEXT),       QX_MESSAGE(WM_GETTEXT),     QX_MESSAGE(WM_GETTEXTLENGTH),
    QX_MESSAGE(WM_CLOSE),         QX_MESSAGE(WM_SETFONT),     QX_MESSAGE(WM_GETFONT),
    QX_MESSAGE(WM_NOTIFY),        QX_MESSAGE(WM_HELP),        QX_MESSAGE(WM_CHAR),
    QX_MESSAGE(WM_KEYDOWN),       QX_MESSAGE(WM_COMMAND),     QX_MESSAGE(WM_HSCROLL),
    QX_MESSAGE(WM_LBUTTONDOWN),   QX_MESSAGE(WM_LBUTTONUP),   QX_MESSAGE(BM_GETCHECK),
    QX_MESSAGE(BM_SETCHECK),      QX_MESSAGE(BM_CLICK),       QX_MESSAGE(STM_SETIMAGE),
    QX_MESSAGE(STM_GETIMAGE),     QX_MESSAGE(EM_SETSEL),      QX_MESSAGE(CB_ADDSTRING),
    QX_MESSAGE(CB_RESETCONTENT),  QX_MESSAGE(CB_GETCOUNT),    QX_MESSAGE(CB_GETCURSEL),
    QX_MESSAGE(CB_SETCURSEL),     QX_MESSAGE(CB_GETLBTEXT),   QX_MESSAGE(CB_GETLBTEXTLEN),
    QX_MESSAGE(CB_GETITEMDATA),   QX_MESSAGE(CB_SETITEMDATA), QX_MESSAGE(CB_FINDSTRINGEXACT),
    QX_MESSAGE(TCM_GETITEMCOUNT), QX_MESSAGE(TCM_GETCURSEL),  QX_MESSAGE(TCM_GETITEMW)};
constexpr NamedMessage kOfSliders[] = {QX_MESSAGE(TBM_GETPOS),      QX_MESSAGE(TBM_SETPOS),
                                       QX_MESSAGE(TBM_SETRANGE),    QX_MESSAGE(TBM_SETRANGEMIN),
                                       QX_MESSAGE(TBM_SETRANGEMAX), QX_MESSAGE(TBM_GETRANGEMIN),
                                       QX_MESSAGE(TBM_GETRANGEMAX)};
constexpr NamedMessage kOfTooltips[] = {QX_MESSAGE(TTM_ADDTOOLW), QX_MESSAGE(TTM_SETTITLEW),
                                        QX_MESSAGE(TTM_SETMAXTIPWIDTH), QX_MESSAGE(TTM_SETDELAYTIME)};
constexpr NamedMessage kOfSheets[] = {QX_MESSAGE(PSM_SETCURSEL), QX_MESSAGE(PSM_PRESSBUTTON),
                                      QX_MESSAGE(PSM_GETCURRENTPAGEHWND)};
#undef QX_MESSAGE

const char* NameIn(std::span<const NamedMessage> names, UINT message) {
    const auto found = std::ranges::find(names, message, &NamedMessage::number);
    return found == names.end() ? nullptr : found->name;
}

}  // namespace

std::string MessageName(HWND window, UINT message) {
    // From WM_USER on a number means something else to every class.
    std::span<const NamedMessage> own;
    if (const WindowRef ref = FindWindowRef(window)) {
        const WideString& name = ref->window_class->name;
        if (EqualsCaseless(name, TRACKBAR_CLASSW))
            own = kOfSliders;
        else if (EqualsCaseless(name, TOOLTIPS_CLASSW))
            own = kOfTooltips;
        else if (ref->kind == WindowKind::kSheet)
            own = kOfSheets;
    }
    if (const char* const name = NameIn(own, message))
        return name;
    if (const char* const name = NameIn(kCommon, message))
        return name;
    return DescribeNumber(message);
}

}  // namespace qxsim
