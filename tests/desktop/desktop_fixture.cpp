// SPDX-License-Identifier: MIT
#include "tests/desktop/desktop_fixture.h"

#include <array>
#include <utility>

namespace qxtest {

namespace {

std::vector<std::string> happened;

void Note(const TestPage& page, const char* what) {
    happened.push_back(page.name + " " + what);
}

INT_PTR CALLBACK PageProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == WM_INITDIALOG) {
        auto* const page = reinterpret_cast<TestPage*>(reinterpret_cast<PROPSHEETPAGEW*>(lparam)->lParam);
        page->window = window;
        SetWindowLongPtrW(window, DWLP_USER, reinterpret_cast<LONG_PTR>(page));
        Note(*page, "init");
        return TRUE;
    }
    auto* const page = reinterpret_cast<TestPage*>(GetWindowLongPtrW(window, DWLP_USER));
    if (!page)
        return FALSE;
    if (message == WM_DESTROY)
        Note(*page, "destroy");
    if (message == WM_NOTIFY) {
        struct Known {
            UINT code;
            const char* name;
            LRESULT answer;
        };
        const std::array known{Known{PSN_SETACTIVE, "active", page->set_active_answer},
                               Known{PSN_KILLACTIVE, "left", page->kill_answer},
                               Known{PSN_APPLY, "apply", page->apply_answer}, Known{PSN_RESET, "reset", 0},
                               Known{PSN_QUERYCANCEL, "may cancel?", page->cancel_answer}};
        for (const Known& notification : known)
            if (notification.code == reinterpret_cast<NMHDR*>(lparam)->code) {
                Note(*page, notification.name);
                SetWindowLongPtrW(window, DWLP_MSGRESULT, notification.answer);
                return TRUE;
            }
    }
    return page->procedure ? page->procedure(window, message, wparam, lparam) : FALSE;
}

UINT CALLBACK PageCallback(HWND, UINT what, PROPSHEETPAGEW* description) {
    const auto& page = *reinterpret_cast<TestPage*>(description->lParam);
    Note(page, what == PSPCB_ADDREF ? "added" : what == PSPCB_CREATE ? "create" : "release");
    return what == PSPCB_CREATE ? static_cast<UINT>(page.may_be_created) : 0;
}

}  // namespace

void DesktopTest::SetUp() {
    MachineTest::SetUp();
    desktop().Reset();
    happened.clear();
}

void DesktopTest::TearDown() {
    EXPECT_THAT(desktop().OpenWindows(), testing::IsEmpty());
    MachineTest::TearDown();
    desktop().Reset();
}

HPROPSHEETPAGE DesktopTest::MakePage(TestPage& page) {
    PROPSHEETPAGEW description{};
    description.dwSize = sizeof(description);
    description.dwFlags = PSP_USETITLE | page.flags;
    description.hInstance = qx::ModuleInstance();
    description.pszTemplate = MAKEINTRESOURCEW(page.dialog);
    const qxsim::WideString title = qxsim::ToWide(page.name);
    description.pszTitle = title.c_str();
    description.pfnDlgProc = PageProcedure;
    description.pfnCallback = PageCallback;
    description.lParam = reinterpret_cast<LPARAM>(&page);
    description.hActCtx = page.context;
    return CreatePropertySheetPageW(&description);
}

void DesktopTest::SetSteps(std::deque<std::function<void(HWND)>> steps) {
    // Shared, because a step that opens a box is still running when the next one is taken.
    auto left = std::make_shared<std::deque<std::function<void(HWND)>>>(std::move(steps));
    desktop().SetUser([left] {
        if (left->empty())
            return false;
        const std::function<void(HWND)> step = left->front();
        left->pop_front();
        step(desktop().TopWindow());
        return true;
    });
}

INT_PTR DesktopTest::RunSheet(std::vector<TestPage*> pages, std::deque<std::function<void(HWND)>> steps,
                              DWORD flags) {
    std::vector<HPROPSHEETPAGE> handles;
    for (TestPage* const page : pages)
        handles.push_back(MakePage(*page));
    SetSteps(std::move(steps));
    PROPSHEETHEADERW header{};
    header.dwSize = sizeof(header);
    header.dwFlags = flags;
    header.hInstance = qx::ModuleInstance();
    header.pszCaption = TEXT("Sheet");
    header.nPages = static_cast<UINT>(handles.size());
    header.phpage = handles.data();
    return PropertySheetW(&header);
}

std::vector<std::string> DesktopTest::Happened() {
    return std::exchange(happened, {});
}

}  // namespace qxtest
