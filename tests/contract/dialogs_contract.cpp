// SPDX-License-Identifier: MIT
// Dialog controls, property sheets, message boxes, subclasses and resources.
#include "tests/contract/contract.h"

#include "base/module_instance.h"
#include "module/resource.h"

#include <commctrl.h>
#include <prsht.h>

#include <array>
#include <string>
#include <vector>

namespace {

using Wide = std::basic_string<WCHAR>;

// What happened to the pages of a sheet, in order: "A init", "B apply" ...
std::vector<std::string> happened;

struct PageRecipe {
    std::string name;
    UINT dialog = 0;
    std::function<void(HWND)> on_init = {};
    LRESULT apply_answer = PSNRET_NOERROR;
};

void Note(const PageRecipe& page, const char* what) {
    happened.push_back(page.name + " " + what);
}

INT_PTR CALLBACK PageProcedure(HWND window, UINT message, WPARAM, LPARAM lparam) {
    if (message == WM_INITDIALOG) {
        auto* const page =
            reinterpret_cast<PageRecipe*>(reinterpret_cast<const PROPSHEETPAGEW*>(lparam)->lParam);
        SetWindowLongPtrW(window, DWLP_USER, reinterpret_cast<LONG_PTR>(page));
        Note(*page, "init");
        if (page->on_init)
            page->on_init(window);
        return TRUE;
    }
    const auto* const page = reinterpret_cast<const PageRecipe*>(GetWindowLongPtrW(window, DWLP_USER));
    if (page == nullptr || message != WM_NOTIFY)
        return FALSE;
    LRESULT answer = 0;
    switch (reinterpret_cast<const NMHDR*>(lparam)->code) {
        case PSN_SETACTIVE:
            Note(*page, "active");
            break;
        case PSN_KILLACTIVE:
            Note(*page, "left");
            break;
        case PSN_APPLY:
            Note(*page, "apply");
            answer = page->apply_answer;
            break;
        case PSN_RESET:
            Note(*page, "reset");
            break;
        default:
            return FALSE;
    }
    SetWindowLongPtrW(window, DWLP_MSGRESULT, answer);
    return TRUE;
}

UINT CALLBACK PageCallback(HWND, UINT message, PROPSHEETPAGEW* description) {
    auto* const page = reinterpret_cast<PageRecipe*>(description->lParam);
    if (message == PSPCB_CREATE)
        Note(*page, "create");
    if (message == PSPCB_RELEASE)
        Note(*page, "release");
    return 1;
}

HPROPSHEETPAGE MakePage(PageRecipe& page) {
    PROPSHEETPAGEW description{};
    description.dwSize = sizeof(description);
    description.dwFlags = PSP_USETITLE | PSP_USECALLBACK;
    description.hInstance = qx::ModuleInstance();
    description.pszTemplate = MAKEINTRESOURCEW(page.dialog);
    description.pszTitle = TEXT("Page");
    description.pfnDlgProc = PageProcedure;
    description.pfnCallback = PageCallback;
    description.lParam = reinterpret_cast<LPARAM>(&page);
    return CreatePropertySheetPageW(&description);
}

BOOL CALLBACK KeepFront(HWND window, LPARAM place) {
    if (!IsWindowVisible(window) || !IsWindowEnabled(window))
        return TRUE;
    *reinterpret_cast<HWND*>(place) = window;
    return FALSE;
}

HWND FrontWindow() {
    HWND front = nullptr;
    EnumThreadWindows(GetCurrentThreadId(), KeepFront, reinterpret_cast<LPARAM>(&front));
    return front;
}

// Opens a sheet of the pages and lets the user take the steps, each given the sheet. What the sheet answered.
INT_PTR RunSheet(std::vector<PageRecipe>& pages, const std::vector<std::function<void(HWND)>>& steps) {
    happened.clear();
    std::vector<HPROPSHEETPAGE> handles;
    for (PageRecipe& page : pages)
        handles.push_back(MakePage(page));
    PROPSHEETHEADERW header{};
    header.dwSize = sizeof(header);
    header.dwFlags = PSH_NOAPPLYNOW;
    header.hInstance = qx::ModuleInstance();
    header.pszCaption = TEXT("Contract");
    header.nPages = static_cast<UINT>(handles.size());
    header.phpage = handles.data();
    INT_PTR result = -2;
    std::size_t next = 0;
    contract::RunModal([&] { result = PropertySheetW(&header); },
                       [&] {
                           if (next >= steps.size())
                               return false;
                           steps[next++](FrontWindow());
                           return true;
                       });
    IS(next, steps.size());
    return result;
}

void Press(HWND sheet, WPARAM button) {
    SendMessageW(sheet, PSM_PRESSBUTTON, button, 0);
}

// Runs `check` on an open page of the template and cancels the sheet.
void OnPage(UINT dialog, const std::function<void(HWND)>& check) {
    HWND page = nullptr;
    std::vector<PageRecipe> pages = {{"A", dialog, [&](HWND window) { page = window; }}};
    RunSheet(pages, {[&](HWND) { check(page); }, [](HWND sheet) { Press(sheet, PSBTN_CANCEL); }});
}

void Happens(const std::vector<std::string>& expected) {
    IS(happened, expected);
    happened.clear();
}

Wide TextOf(HWND window) {
    std::array<WCHAR, 128> text{};
    GetWindowTextW(window, text.data(), 128);
    return text.data();
}

LRESULT CALLBACK CountingProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam, UINT_PTR,
                                   DWORD_PTR place) {
    if (message == WM_APP)
        happened.emplace_back(reinterpret_cast<const char*>(place));
    return DefSubclassProc(window, message, wparam, lparam);
}

LRESULT CALLBACK OtherProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam, UINT_PTR id,
                                DWORD_PTR place) {
    return CountingProcedure(window, message, wparam, lparam, id, place);
}

}  // namespace

CONTRACT(dialogs, pages_open_and_apply_in_order,
         "CreatePropertySheetPageW PropertySheetW SetWindowLongPtrW GetWindowLongPtrW") {
    std::vector<PageRecipe> pages = {{"A", IDD_PORT_SETTINGS}, {"B", IDD_COM_NUMBER}, {"C", IDD_COM_NUMBER}};
    const INT_PTR result = RunSheet(pages, {[](HWND) {
                                                Happens({"A create", "A init", "A active"});
                                            },
                                            [](HWND sheet) {
                                                SendMessageW(sheet, PSM_SETCURSEL, 1, 0);
                                                Happens({"A left", "B create", "B init", "B active"});
                                                Press(sheet, PSBTN_OK);
                                            }});
    HOLDS(result > 0);
    // C was never opened, so it is not asked to apply, and yet released.
    const std::vector<std::string> applied(happened.begin(), happened.begin() + 3);
    IS(applied, std::vector<std::string>{"B left", "A apply", "B apply"});
    int released = 0;
    for (const std::string& what : happened)
        released += what.ends_with("release") ? 1 : 0;
    IS(released, 3);
}

CONTRACT(dialogs, a_page_that_does_not_apply_keeps_the_sheet_open, "PropertySheetW") {
    std::vector<PageRecipe> pages = {{"A", IDD_PORT_SETTINGS, {}, PSNRET_INVALID}, {"B", IDD_COM_NUMBER}};
    RunSheet(pages, {[](HWND sheet) {
                         SendMessageW(sheet, PSM_SETCURSEL, 1, 0);
                         happened.clear();
                         Press(sheet, PSBTN_OK);
                     },
                     [&pages](HWND sheet) {
                         HOLDS(sheet != nullptr);
                         const std::vector<std::string> refused(happened.begin(), happened.begin() + 2);
                         IS(refused, std::vector<std::string>{"B left", "A apply"});
                         for (const std::string& what : happened)
                             HOLDS(what != "B apply");
                         happened.clear();
                         pages[0].apply_answer = PSNRET_NOERROR;
                         Press(sheet, PSBTN_OK);
                     }});
    HOLDS(!happened.empty());
}

CONTRACT(dialogs, cancel_resets_the_opened_pages, "PropertySheetW") {
    std::vector<PageRecipe> pages = {{"A", IDD_PORT_SETTINGS}, {"B", IDD_COM_NUMBER}};
    const INT_PTR result = RunSheet(pages, {[](HWND sheet) {
                                        happened.clear();
                                        Press(sheet, PSBTN_CANCEL);
                                    }});
    HOLDS(result <= 0);
    bool reset = false;
    for (const std::string& what : happened) {
        HOLDS(what != "B reset" && what != "A apply");
        reset = reset || what == "A reset";
    }
    HOLDS(reset);
}

CONTRACT(dialogs, a_page_without_a_sheet_is_released, "CreatePropertySheetPageW DestroyPropertySheetPage") {
    PageRecipe page{"A", IDD_PORT_SETTINGS};
    happened.clear();
    const HPROPSHEETPAGE handle = MakePage(page);
    NEEDS(handle != nullptr);
    HOLDS(DestroyPropertySheetPage(handle));
    Happens({"A release"});
}

CONTRACT(dialogs, controls_by_id, "GetDlgItem GetDlgCtrlID GetParent EnableWindow ShowWindow") {
    OnPage(IDD_PORT_SETTINGS, [](HWND page) {
        const HWND box = GetDlgItem(page, IDC_BAUD_RATE);
        NEEDS(box != nullptr);
        IS(GetDlgCtrlID(box), IDC_BAUD_RATE);
        HOLDS(GetParent(box) == page);
        HOLDS(GetDlgItem(page, 9999) == nullptr);
        HOLDS(!EnableWindow(box, FALSE));  // it was not disabled before
        HOLDS(EnableWindow(box, TRUE));
        HOLDS(ShowWindow(box, SW_HIDE));  // it was shown before
        HOLDS(!ShowWindow(box, SW_SHOW));
    });
}

CONTRACT(dialogs, texts_of_controls, "SetWindowTextW GetWindowTextW GetWindowTextLengthW") {
    OnPage(IDD_PORT_SETTINGS, [](HWND page) {
        const HWND label = GetDlgItem(page, IDC_BAUD_RATE_LABEL);
        HOLDS(SetWindowTextW(label, TEXT("&Baud Rate:")));
        IS(GetWindowTextLengthW(label), 11);
        IS(TextOf(label), Wide(TEXT("&Baud Rate:")));
        std::array<WCHAR, 5> part{};
        IS(GetWindowTextW(label, part.data(), 5), 4);
        IS(Wide(part.data()), Wide(TEXT("&Bau")));
    });
}

CONTRACT(dialogs, choice_boxes, "SendMessageW GetComboBoxInfo") {
    OnPage(IDD_PORT_SETTINGS, [](HWND page) {
        const HWND box = GetDlgItem(page, IDC_DATA_BITS);
        const auto add = [box](const WCHAR* text) {
            return SendMessageW(box, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text));
        };
        SendMessageW(box, CB_RESETCONTENT, 0, 0);
        IS(SendMessageW(box, CB_GETCURSEL, 0, 0), LRESULT{CB_ERR});
        IS(add(TEXT("8")), LRESULT{0});
        IS(add(TEXT("7")), LRESULT{1});  // the order is kept
        HOLDS(SendMessageW(box, CB_SETITEMDATA, 1, 0xFFFFFFFF) != CB_ERR);
        IS(static_cast<DWORD>(SendMessageW(box, CB_GETITEMDATA, 1, 0)), 0xFFFFFFFF);
        IS(SendMessageW(box, CB_GETITEMDATA, 2, 0), LRESULT{CB_ERR});
        IS(SendMessageW(box, CB_SETITEMDATA, 2, 0), LRESULT{CB_ERR});
        IS(SendMessageW(box, CB_SETCURSEL, 1, 0), LRESULT{1});
        IS(SendMessageW(box, CB_GETCURSEL, 0, 0), LRESULT{1});
        IS(TextOf(box), Wide(TEXT("7")));
        IS(SendMessageW(box, CB_SETCURSEL, 9, 0), LRESULT{CB_ERR});
        IS(SendMessageW(box, CB_SETCURSEL, static_cast<WPARAM>(-1), 0), LRESULT{CB_ERR});
        IS(SendMessageW(box, CB_GETCOUNT, 0, 0), LRESULT{2});
        IS(SendMessageW(box, CB_GETLBTEXTLEN, 0, 0), LRESULT{1});
        IS(SendMessageW(box, CB_FINDSTRINGEXACT, static_cast<WPARAM>(-1),
                        reinterpret_cast<LPARAM>(TEXT("7"))),
           LRESULT{1});
        SendMessageW(box, CB_RESETCONTENT, 0, 0);
        IS(SendMessageW(box, CB_GETCOUNT, 0, 0), LRESULT{0});
        // An editable box holds an edit field, whose text is the box's.
        const HWND editable = GetDlgItem(page, IDC_BAUD_RATE);
        COMBOBOXINFO info{};
        info.cbSize = sizeof(info);
        HOLDS(GetComboBoxInfo(editable, &info));
        HOLDS(info.hwndItem != nullptr && GetParent(info.hwndItem) == editable);
        SetWindowTextW(info.hwndItem, TEXT("250000"));
        IS(TextOf(editable), Wide(TEXT("250000")));
        IS(SendMessageW(editable, CB_GETCURSEL, 0, 0), LRESULT{CB_ERR});
    });
}

CONTRACT_UNLESS(dialogs, choosing_an_entry_that_is_none_chooses_nothing, "SendMessageW",
                "CB_SETCURSEL leaves the choice alone") {
    OnPage(IDD_PORT_SETTINGS, [](HWND page) {
        const HWND box = GetDlgItem(page, IDC_DATA_BITS);
        SendMessageW(box, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(TEXT("8")));
        SendMessageW(box, CB_SETCURSEL, 0, 0);
        IS(SendMessageW(box, CB_SETCURSEL, 9, 0), LRESULT{CB_ERR});
        IS(SendMessageW(box, CB_GETCURSEL, 0, 0), LRESULT{CB_ERR});
    });
}

CONTRACT(dialogs, check_boxes_and_clicks, "SendMessageW EnableWindow") {
    OnPage(IDD_PORT_SETTINGS, [](HWND page) {
        const HWND box = GetDlgItem(page, IDC_OVERRIDE_BAUD_RATE);
        IS(SendMessageW(box, BM_GETCHECK, 0, 0), LRESULT{BST_UNCHECKED});
        SendMessageW(box, BM_SETCHECK, BST_CHECKED, 0);
        IS(SendMessageW(box, BM_GETCHECK, 0, 0), LRESULT{BST_CHECKED});
        SendMessageW(box, BM_CLICK, 0, 0);
        IS(SendMessageW(box, BM_GETCHECK, 0, 0), LRESULT{BST_UNCHECKED});
    });
}

CONTRACT(dialogs, radio_buttons_exclude_each_other, "SendMessageW") {
    OnPage(IDD_USB_SETTINGS, [](HWND page) {
        const HWND latency = GetDlgItem(page, IDC_POLICY_LATENCY);
        const HWND usage = GetDlgItem(page, IDC_POLICY_CPU_USAGE);
        for (const auto& [chosen, other] : {std::pair(latency, usage), std::pair(usage, latency)}) {
            SendMessageW(chosen, BM_CLICK, 0, 0);
            IS(SendMessageW(chosen, BM_GETCHECK, 0, 0), LRESULT{BST_CHECKED});
            IS(SendMessageW(other, BM_GETCHECK, 0, 0), LRESULT{BST_UNCHECKED});
        }
    });
}

CONTRACT(dialogs, sliders, "SendMessageW") {
    OnPage(IDD_USB_SETTINGS, [](HWND page) {
        const HWND slider = GetDlgItem(page, IDC_LATENCY);
        NEEDS(slider != nullptr);
        SendMessageW(slider, TBM_SETRANGEMIN, TRUE, 1);
        SendMessageW(slider, TBM_SETRANGEMAX, TRUE, 5);
        SendMessageW(slider, TBM_SETPOS, TRUE, 3);
        IS(SendMessageW(slider, TBM_GETPOS, 0, 0), LRESULT{3});
        SendMessageW(slider, TBM_SETPOS, TRUE, 9);
        IS(SendMessageW(slider, TBM_GETPOS, 0, 0), LRESULT{5});
        SendMessageW(slider, TBM_SETPOS, TRUE, 0);
        IS(SendMessageW(slider, TBM_GETPOS, 0, 0), LRESULT{1});
        SendMessageW(slider, TBM_SETRANGEMIN, TRUE, 2);
        IS(SendMessageW(slider, TBM_GETPOS, 0, 0), LRESULT{2});
    });
}

CONTRACT(dialogs, tooltips, "CreateWindowExW SendMessageW DestroyWindow") {
    OnPage(IDD_PORT_SETTINGS, [](HWND page) {
        const HWND tip = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr,
                                         WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX | TTS_BALLOON, CW_USEDEFAULT,
                                         CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, page, nullptr,
                                         qx::ModuleInstance(), nullptr);
        NEEDS(tip != nullptr);
        TTTOOLINFOW tool{};
        tool.cbSize = sizeof(tool);
        tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
        tool.hwnd = page;
        tool.uId = reinterpret_cast<UINT_PTR>(GetDlgItem(page, IDC_BAUD_RATE_LABEL));
        tool.lpszText = LPSTR_TEXTCALLBACKW;
        HOLDS(SendMessageW(tip, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool)));
        HOLDS(SendMessageW(tip, TTM_SETTITLEW, TTI_INFO, reinterpret_cast<LPARAM>(TEXT("Information:"))));
        IS(static_cast<int>(SendMessageW(tip, TTM_SETMAXTIPWIDTH, 0, 400)), -1);
        IS(SendMessageW(tip, TTM_SETMAXTIPWIDTH, 0, 400), LRESULT{400});
        HOLDS(DestroyWindow(tip));
    });
}

CONTRACT(dialogs, message_boxes_answer_their_button, "MessageBoxW EnumThreadWindows") {
    int answer = 0;
    contract::RunModal(
        [&] {
            answer = MessageBoxW(nullptr, TEXT("Go on?"), TEXT("Warning!"), MB_YESNO | MB_ICONINFORMATION);
        },
        [] {
            const HWND box = FrontWindow();
            IS(TextOf(box), Wide(TEXT("Warning!")));
            HOLDS(GetDlgItem(box, IDYES) != nullptr);
            HOLDS(GetDlgItem(box, IDOK) == nullptr);
            SendMessageW(GetDlgItem(box, IDNO), BM_CLICK, 0, 0);
            return false;
        });
    IS(answer, IDNO);
}

CONTRACT(dialogs, the_focus, "SetFocus GetFocus") {
    OnPage(IDD_PORT_SETTINGS, [](HWND page) {
        const HWND box = GetDlgItem(page, IDC_PARITY);
        SetFocus(box);
        HOLDS(GetFocus() == box);
        HOLDS(SetFocus(GetDlgItem(page, IDC_DATA_BITS)) == box);
    });
}

CONTRACT(dialogs, subclasses_stack, "SetWindowSubclass RemoveWindowSubclass DefSubclassProc") {
    OnPage(IDD_PORT_SETTINGS, [](HWND page) {
        const HWND label = GetDlgItem(page, IDC_BAUD_RATE_LABEL);
        static const char first[] = "first";
        static const char second[] = "second";
        HOLDS(SetWindowSubclass(label, CountingProcedure, 1, reinterpret_cast<DWORD_PTR>(first)));
        HOLDS(SetWindowSubclass(label, OtherProcedure, 1, reinterpret_cast<DWORD_PTR>(second)));
        happened.clear();
        SendMessageW(label, WM_APP, 0, 0);
        Happens({"second", "first"});
        HOLDS(RemoveWindowSubclass(label, OtherProcedure, 1));
        HOLDS(!RemoveWindowSubclass(label, OtherProcedure, 1));
        SendMessageW(label, WM_APP, 0, 0);
        Happens({"first"});
        HOLDS(RemoveWindowSubclass(label, CountingProcedure, 1));
    });
}

CONTRACT(dialogs, strings_of_the_module, "LoadStringW") {
    std::array<WCHAR, 64> text{};
    IS(LoadStringW(qx::ModuleInstance(), IDS_TITLE_PORT_SETTINGS, text.data(), 64), 13);
    IS(Wide(text.data()), Wide(TEXT("Port Settings")));
    IS(LoadStringW(qx::ModuleInstance(), IDS_TITLE_PORT_SETTINGS, text.data(), 5), 4);
    IS(Wide(text.data()), Wide(TEXT("Port")));
    IS(LoadStringW(qx::ModuleInstance(), 64999, text.data(), 64), 0);
}
