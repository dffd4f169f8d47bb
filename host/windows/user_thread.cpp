// SPDX-License-Identifier: MIT
#include "host/windows/user_thread.h"

#include "host/failure.h"

#include <windows.h>

#include <atomic>
#include <cstdio>
#include <thread>

namespace qxhost {

namespace {

constexpr UINT kStep = WM_APP;
constexpr UINT kBarrier = WM_APP + 1;
constexpr DWORD kPatienceMilliseconds = 30'000;
constexpr int kMostClosings = 200;
constexpr WCHAR kClassName[] = L"QxHostUser";

// A window without a face on the thread of the dialogs. Steps are posted to it, so they run when the thread
// looks for messages, which it does only inside a modal loop. Behind each step goes a barrier: it arrives
// when the step has ended, or, when the step opened a loop of its own, inside that loop; either way the next
// step may come.
struct User {
    const std::function<bool()>& step;
    HWND window = nullptr;
    HANDLE passed = nullptr;  // the barrier has been passed, or the work has ended
    DWORD thread = 0;
    std::atomic<bool> finished = false;  // no steps left
    std::atomic<bool> ended = false;     // the work has returned
};

BOOL CALLBACK FindOpenWindow(HWND window, LPARAM place) {
    if (!IsWindowVisible(window) || !IsWindowEnabled(window))
        return TRUE;
    *reinterpret_cast<HWND*>(place) = window;
    return FALSE;
}

// Closes the dialog in front, the way its Cancel button does. A message box with Yes and No has no such
// button.
void CloseFront(DWORD thread) {
    HWND front = nullptr;
    EnumThreadWindows(thread, FindOpenWindow, reinterpret_cast<LPARAM>(&front));
    if (front == nullptr)
        return;
    for (const WPARAM button : {WPARAM{IDCANCEL}, WPARAM{IDNO}, WPARAM{IDOK}}) {
        if (GetDlgItem(front, static_cast<int>(button)) != nullptr) {
            PostMessageW(front, WM_COMMAND, button, 0);
            return;
        }
    }
    PostMessageW(front, WM_CLOSE, 0, 0);
}

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    auto* const user = reinterpret_cast<User*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (user != nullptr && message == kStep) {
        if (user->finished)
            CloseFront(user->thread);
        else if (!user->step())
            user->finished = true;
        return 0;
    }
    if (user != nullptr && message == kBarrier) {
        SetEvent(user->passed);
        return 0;
    }
    return DefWindowProcW(window, message, wparam, lparam);
}

void GiveUp(const char* why) {
    std::fprintf(stderr, "%s\n", why);
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), kNotAsItShould);
}

void PostSteps(User& user) {
    int closings = 0;
    while (!user.ended) {
        ResetEvent(user.passed);
        PostMessageW(user.window, kStep, 0, 0);
        PostMessageW(user.window, kBarrier, 0, 0);
        if (WaitForSingleObject(user.passed, kPatienceMilliseconds) != WAIT_OBJECT_0)
            GiveUp("the dialogs do not answer");
        if (user.finished && ++closings > kMostClosings)
            GiveUp("a dialog does not close");
        // Dialogs post to themselves what belongs to a step (focus changes, closing); let that be done first.
        Sleep(user.finished ? 50 : 5);
    }
}

}  // namespace

void RunWithUser(const std::function<void()>& work, const std::function<bool()>& step) {
    WNDCLASSW window_class = {};
    window_class.lpfnWndProc = OnMessage;
    window_class.hInstance = GetModuleHandleW(nullptr);
    window_class.lpszClassName = kClassName;
    RegisterClassW(&window_class);

    User user{.step = step};
    user.thread = GetCurrentThreadId();
    user.passed = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    user.window = CreateWindowExW(0, kClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                  window_class.hInstance, nullptr);
    SetWindowLongPtrW(user.window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&user));
    std::thread worker(PostSteps, std::ref(user));

    work();

    user.ended = true;
    SetEvent(user.passed);
    worker.join();
    DestroyWindow(user.window);
    CloseHandle(user.passed);
}

}  // namespace qxhost
