// SPDX-License-Identifier: MIT
#include "platform/desktop/property_sheet.h"

#include "platform/process/activation_context.h"
#include "platform/desktop/controls.h"
#include "platform/desktop/dialog.h"
#include "platform/desktop/modal_loop.h"

#include <commctrl.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <utility>

// A page as the platform keeps it; HPROPSHEETPAGE points to one.
struct _PSP {
    PROPSHEETPAGEW page{};
    qxsim::WideString title;  // what page.pszTitle points to, when it is a text
    HWND window = nullptr;    // once the page was opened
};

namespace qxsim {

namespace {

// Pages that exist, so that a handle that is none is recognised.
std::map<HPROPSHEETPAGE, std::unique_ptr<_PSP>>& Pages() {
    static std::map<HPROPSHEETPAGE, std::unique_ptr<_PSP>> pages;
    return pages;
}

_PSP* PageOf(HPROPSHEETPAGE handle) {
    const std::lock_guard lock(Instruments::The().Lock());
    const auto found = Pages().find(handle);
    return found == Pages().end() ? nullptr : found->second.get();
}

// What the sheet tells a page's own callback: it was made, its window is about to be, it goes.
UINT TellCallback(_PSP& page, UINT what) {
    if (!(page.page.dwFlags & PSP_USECALLBACK) || !page.page.pfnCallback)
        return TRUE;
    return page.page.pfnCallback(nullptr, what, &page.page);
}

HPROPSHEETPAGE MakePage(const PROPSHEETPAGEW& description, Call& call) {
    auto page = std::make_unique<_PSP>();
    std::memcpy(&page->page, &description, std::min<std::size_t>(description.dwSize, sizeof(PROPSHEETPAGEW)));
    PROPSHEETPAGEW& kept = page->page;
    if ((kept.dwFlags & PSP_USETITLE) && kept.pszTitle && !IS_INTRESOURCE(kept.pszTitle)) {
        page->title = kept.pszTitle;
        kept.pszTitle = page->title.c_str();
    }
    const HPROPSHEETPAGE handle = page.get();
    _PSP& made = *page;
    Pages()[handle] = std::move(page);
    call.Opened("sheet page", handle);
    call.Unlock();
    TellCallback(made, PSPCB_ADDREF);
    call.Relock();
    return handle;
}

// The page's window is gone; its callback is told that the page goes too.
void ReleasePage(HPROPSHEETPAGE handle, Call& call) {
    _PSP* const page = PageOf(handle);
    call.Unlock();
    TellCallback(*page, PSPCB_RELEASE);
    call.Relock();
    call.Closed("sheet page", handle);
    Pages().erase(handle);
}

std::optional<DialogTemplate> TemplateOf(const _PSP& page) {
    return ReadDialogTemplate(FindModuleResource(page.page.hInstance, page.page.pszTemplate, RT_DIALOG));
}

WideString TitleOf(const _PSP& page) {
    if (!(page.page.dwFlags & PSP_USETITLE) || !page.page.pszTitle)
        return u"";
    return IS_INTRESOURCE(page.page.pszTitle) ? ModuleString(page.page.hInstance, LOWORD(page.page.pszTitle))
                                              : WideString(page.page.pszTitle);
}

// The frame of a sheet: tabs, pages, buttons, and the notifications between them.
class SheetFrame final : public Control {
  public:
    SheetFrame(Window& window, std::vector<HPROPSHEETPAGE> pages)
        : Control(window), pages_(std::move(pages)) {}

    LRESULT Message(UINT message, WPARAM wparam, LPARAM lparam) override {
        switch (message) {
            case WM_COMMAND:
                if (HIWORD(wparam) == BN_CLICKED)
                    Press(LOWORD(wparam));
                return 0;
            case WM_CLOSE:
                Cancel();
                return 0;
            case PSM_SETCURSEL:
                return SwitchTo(static_cast<int>(wparam)) ? TRUE : FALSE;
            case PSM_PRESSBUTTON:
                PressNamed(static_cast<int>(wparam));
                return TRUE;
            case PSM_GETCURRENTPAGEHWND:
                return ended ? 0 : ToLparam(CurrentWindow());
            default:
                return Control::Message(message, wparam, lparam);
        }
    }

    // Opens the start page, or the next one that can be opened; false when there is none.
    bool Start(int index) {
        ShowTabs();
        const auto count = static_cast<int>(pages_.size());
        for (int step = 0; step < count; ++step)
            if (Activate((index + step) % count))
                return true;
        return false;
    }

    // Closes the sheet whatever its pages say.
    void GiveUp() {
        Cancel();
        if (!ended)
            End(0);
    }

    // Destroys the pages in tab order, each followed by its release.
    void DestroyPages(Call& call) {
        for (const HPROPSHEETPAGE handle : std::exchange(pages_, {})) {
            if (const HWND page = PageOf(handle)->window)
                Destroy(page, call);
            ReleasePage(handle, call);
        }
    }

    [[nodiscard]] std::vector<HWND> PageWindows() const {
        std::vector<HWND> windows;
        for (const HPROPSHEETPAGE handle : pages_)
            windows.push_back(PageOf(handle)->window);
        return windows;
    }
    [[nodiscard]] HWND CurrentWindow() const { return WindowAt(current_); }

    bool ended = false;
    INT_PTR result = 0;

  private:
    [[nodiscard]] HWND WindowAt(int index) const {
        return index >= 0 && index < static_cast<int>(pages_.size())
                   ? PageOf(pages_[static_cast<std::size_t>(index)])->window
                   : nullptr;
    }
    LRESULT Notify(HWND page, UINT code) const {
        PSHNOTIFY notification{};
        notification.hdr.hwndFrom = window_.handle;
        notification.hdr.code = code;
        return Send(page, WM_NOTIFY, 0, ToLparam(&notification));
    }

    void ShowTabs() const {
        std::vector<WideString> titles;
        for (const HPROPSHEETPAGE handle : pages_)
            titles.push_back(TitleOf(*PageOf(handle)));
        SetTabs(ChildWithId(window_.handle, kTabControlId), std::move(titles));
    }

    // Makes the window of a page that is opened for the first time.
    bool Open(_PSP& page) const {
        if (page.window)
            return true;
        const std::optional<DialogTemplate> description = TemplateOf(page);
        if (!description || TellCallback(page, PSPCB_CREATE) == 0)
            return false;
        const ContextScope context((page.page.dwFlags & PSP_USEFUSIONCONTEXT)
                                       ? reinterpret_cast<std::uint64_t>(page.page.hActCtx)
                                       : 0);
        NewDialog dialog;
        dialog.instance = page.page.hInstance;
        dialog.parent = window_.handle;
        dialog.procedure = page.page.pfnDlgProc;
        dialog.parameter = ToLparam(&page.page);
        const RECT tabs = FindWindowRef(ChildWithId(window_.handle, kTabControlId))->rect;
        dialog.position = {tabs.left + kTabBorder, tabs.top + kTabHeight};
        DWORD error = 0;
        page.window = MakeDialog(*description, dialog, error, nullptr);
        return page.window != nullptr;
    }

    // Brings a page to the front without asking the one that is there.
    bool Activate(int index) {
        if (index < 0 || index >= static_cast<int>(pages_.size()))
            return false;
        _PSP& page = *PageOf(pages_[static_cast<std::size_t>(index)]);
        if (!Open(page) || Notify(page.window, PSN_SETACTIVE) != 0)
            return false;
        const HWND before = CurrentWindow();
        current_ = index;
        if (before && before != page.window)
            Show(before, false);
        Show(page.window, true);
        Send(ChildWithId(window_.handle, kTabControlId), TCM_SETCURSEL, static_cast<WPARAM>(index), 0);
        Focus(FirstTabStop(page.window));
        return true;
    }

    // What a click on a tab does: the page in front may refuse to go.
    bool SwitchTo(int index) {
        if (index == current_)
            return true;
        if (index < 0 || index >= static_cast<int>(pages_.size()))
            return false;
        if (Notify(CurrentWindow(), PSN_KILLACTIVE) != FALSE) {
            Send(ChildWithId(window_.handle, kTabControlId), TCM_SETCURSEL, static_cast<WPARAM>(current_), 0);
            return false;
        }
        if (Activate(index))
            return true;
        Activate(current_);
        return false;
    }

    // Asks every opened page to apply, in tab order; the first that refuses comes to the front.
    bool Apply() {
        if (Notify(CurrentWindow(), PSN_KILLACTIVE) != FALSE)
            return false;
        for (int index = 0; index < static_cast<int>(pages_.size()); ++index) {
            const HWND page = WindowAt(index);
            if (!page)
                continue;
            const LRESULT answer = Notify(page, PSN_APPLY);
            if (answer == PSNRET_INVALID || answer == PSNRET_INVALID_NOCHANGEPAGE) {
                Activate(answer == PSNRET_INVALID ? index : current_);
                return false;
            }
        }
        return true;
    }

    void Cancel() {
        if (ended)
            return;
        for (const HWND page : PageWindows())
            if (page)
                Notify(page, PSN_RESET);
        End(0);
    }

    void End(INT_PTR with) {
        result = with;
        ended = true;
    }

    void Press(int id) {
        if (id == IDCANCEL)
            Cancel();
        else if (id == IDOK && Apply())
            End(1);
    }

    void PressNamed(int button) { Press(button == PSBTN_OK ? IDOK : button == PSBTN_CANCEL ? IDCANCEL : 0); }

    static constexpr int kTabBorder = 3;
    static constexpr int kTabHeight = 22;
    friend HWND MakeSheetFrame(const PROPSHEETHEADERW&, const std::vector<HPROPSHEETPAGE>&, DWORD&, Call&);

    std::vector<HPROPSHEETPAGE> pages_;
    int current_ = -1;
};

WideString CaptionOf(const PROPSHEETHEADERW& header) {
    if (!header.pszCaption)
        return u"";
    return IS_INTRESOURCE(header.pszCaption) ? ModuleString(header.hInstance, LOWORD(header.pszCaption))
                                             : WideString(header.pszCaption);
}

// The window with tabs and buttons, large enough for the largest page.
HWND MakeSheetFrame(const PROPSHEETHEADERW& header, const std::vector<HPROPSHEETPAGE>& pages, DWORD& error,
                    Call& call) {
    int page_width = 0;
    int page_height = 0;
    for (const HPROPSHEETPAGE handle : pages)
        if (const std::optional<DialogTemplate> read = TemplateOf(*PageOf(handle))) {
            const RECT size = UnitsToPixels({0, 0, read->width, read->height});
            page_width = std::max(page_width, static_cast<int>(size.right));
            page_height = std::max(page_height, static_cast<int>(size.bottom));
        }
    constexpr int kMargin = 6;
    constexpr int kButtonWidth = 75;
    constexpr int kButtonHeight = 23;
    const int tabs_width = page_width + 2 * SheetFrame::kTabBorder;
    const int tabs_height = page_height + SheetFrame::kTabHeight + SheetFrame::kTabBorder;
    const int width = std::max(tabs_width, 3 * (kButtonWidth + kMargin)) + 2 * kMargin;
    const int buttons_top = kMargin + tabs_height + kMargin;

    // The callback may change the template before the frame is made of it.
    DLGTEMPLATE look{};
    look.style = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME;
    look.dwExtendedStyle = WS_EX_CONTEXTHELP;
    if ((header.dwFlags & PSH_USECALLBACK) && header.pfnCallback)
        header.pfnCallback(nullptr, PSCB_PRECREATE, ToLparam(&look));
    NewWindow frame;
    frame.class_name = u"#32770";
    frame.text = CaptionOf(header);
    if (header.dwFlags & PSH_PROPTITLE)
        frame.text += u" Properties";
    frame.style = look.style & ~static_cast<DWORD>(WS_VISIBLE);
    frame.ex_style = look.dwExtendedStyle;
    frame.rect = {0, 0, width, buttons_top + kButtonHeight + kMargin};
    frame.parent = header.hwndParent;
    frame.instance = header.hInstance;
    frame.kind = WindowKind::kSheet;
    const HWND window = MakeWindow(frame, error, &call);
    if (!window)
        return nullptr;
    const auto add = [&](const WCHAR* class_name, const WCHAR* text, DWORD style, RECT rect, int id) {
        NewWindow control;
        control.class_name = class_name;
        control.text = text;
        control.style = WS_CHILD | WS_VISIBLE | WS_TABSTOP | style;
        control.rect = rect;
        control.parent = window;
        control.id = id;
        static_cast<void>(MakeWindow(control, error, nullptr));
    };
    add(WC_TABCONTROLW, u"", 0, {kMargin, kMargin, kMargin + tabs_width, kMargin + tabs_height},
        kTabControlId);
    const bool with_apply = !(header.dwFlags & PSH_NOAPPLYNOW);
    int left = width - (with_apply ? 3 : 2) * (kButtonWidth + kMargin);
    const auto add_button = [&](const WCHAR* text, DWORD style, int id) {
        add(WC_BUTTONW, text, style, {left, buttons_top, left + kButtonWidth, buttons_top + kButtonHeight},
            id);
        left += kButtonWidth + kMargin;
    };
    add_button(u"OK", BS_DEFPUSHBUTTON, IDOK);
    add_button(u"Cancel", 0, IDCANCEL);
    if (with_apply)
        add_button(u"&Apply", WS_DISABLED, kApplyButtonId);
    return window;
}

SheetFrame* SheetOf(HWND window) {
    const WindowRef ref = FindWindowRef(window);
    return ref ? dynamic_cast<SheetFrame*>(ref->control.get()) : nullptr;
}

// Pages that are handed to a sheet belong to it from then on, also when it cannot be shown.
INT_PTR RefuseSheet(const std::vector<HPROPSHEETPAGE>& pages, DWORD error, Call& call) {
    for (const HPROPSHEETPAGE page : pages)
        ReleasePage(page, call);
    return call.Fail(error, INT_PTR{-1});
}

}  // namespace

std::vector<HWND> PagesOf(HWND sheet) {
    const SheetFrame* const frame = SheetOf(sheet);
    return frame ? frame->PageWindows() : std::vector<HWND>();
}

HWND CurrentPageOf(HWND sheet) {
    const SheetFrame* const frame = SheetOf(sheet);
    return frame ? frame->CurrentWindow() : nullptr;
}

HPROPSHEETPAGE CreatePropertySheetPageW(LPCPROPSHEETPAGEW description) {
    Call call("CreatePropertySheetPageW", static_cast<const void*>(description));
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_NOT_ENOUGH_MEMORY), HPROPSHEETPAGE{});
    if (!description || description->dwSize < offsetof(PROPSHEETPAGEW, pszHeaderTitle))
        return call.Fail(ERROR_INVALID_PARAMETER, HPROPSHEETPAGE{});
    return call.Return(MakePage(*description, call));
}

BOOL DestroyPropertySheetPage(HPROPSHEETPAGE page) {
    Call call("DestroyPropertySheetPage", page);
    if (!PageOf(page)) {
        call.Closed("sheet page", page);
        return call.Fail(ERROR_INVALID_HANDLE);
    }
    ReleasePage(page, call);
    return call.Faulted() ? call.Fail(call.FaultError(ERROR_GEN_FAILURE)) : call.Return(TRUE);
}

INT_PTR PropertySheetW(LPCPROPSHEETHEADERW header) {
    Call call("PropertySheetW", header && !IS_INTRESOURCE(header->pszCaption) ? header->pszCaption : u"",
              header ? header->nPages : 0U, header ? header->dwFlags : 0U);
    if (!header || header->dwSize < offsetof(PROPSHEETHEADERW, hbmWatermark) || header->nPages > MAXPROPPAGES)
        return call.Fail(ERROR_INVALID_PARAMETER, INT_PTR{-1});
    std::vector<HPROPSHEETPAGE> pages;
    for (UINT index = 0; index < header->nPages; ++index)
        if (PageOf(header->phpage[index]))
            pages.push_back(header->phpage[index]);
    if (call.Faulted())
        return RefuseSheet(pages, call.FaultError(ERROR_NOT_ENOUGH_MEMORY), call);
    if (pages.empty())
        return RefuseSheet(pages, ERROR_INVALID_PARAMETER, call);
    if (header->hwndParent && !FindWindowRef(header->hwndParent))
        return RefuseSheet(pages, ERROR_INVALID_WINDOW_HANDLE, call);
    call.Unlock();

    DWORD error = 0;
    const HWND window = MakeSheetFrame(*header, pages, error, call);
    const WindowRef ref = FindWindowRef(window);
    if (!ref) {
        call.Relock();
        return RefuseSheet(pages, error, call);
    }
    auto control = std::make_unique<SheetFrame>(*ref, pages);
    SheetFrame& frame = *control;
    ref->control = std::move(control);
    ref->is_dialog = true;
    if ((header->dwFlags & PSH_USECALLBACK) && header->pfnCallback)
        header->pfnCallback(window, PSCB_INITIALIZED, 0);
    if (frame.Start(static_cast<int>(header->nStartPage))) {
        Show(window, true);
        RunModalLoop(
            window, header->hwndParent, [&] { return frame.ended; }, [&] { frame.GiveUp(); });
    } else {
        frame.result = -1;
        frame.ended = true;
    }
    const INT_PTR result = frame.result;
    call.Relock();
    frame.DestroyPages(call);
    Destroy(window, call);
    return call.Return(result);
}

}  // namespace qxsim
