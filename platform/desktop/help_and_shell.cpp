// SPDX-License-Identifier: MIT
#include "platform/desktop/help_and_shell.h"

#include "platform/desktop/window.h"

namespace qxsim {

namespace {

constexpr int kDefaultShellAnswer = 42;

struct RequestState {
    std::vector<HelpRequest> help;
    std::vector<ShellRequest> shell;
    int shell_answer = kDefaultShellAnswer;
};

RequestState& State() {
    static RequestState state;
    return state;
}

std::string Text(LPCWSTR text) {
    return text ? ToUtf8(text) : "";
}

}  // namespace

std::vector<HelpRequest> Desktop::HelpRequests() const {
    const std::lock_guard lock(Instruments::The().Lock());
    return State().help;
}

std::vector<ShellRequest> Desktop::ShellRequests() const {
    const std::lock_guard lock(Instruments::The().Lock());
    return State().shell;
}

void Desktop::SetShellResult(int result) {
    const std::lock_guard lock(Instruments::The().Lock());
    State().shell_answer = result;
}

void ForgetRequests() {
    const std::lock_guard lock(Instruments::The().Lock());
    State() = RequestState{};
}

HWND HtmlHelpW(HWND caller, LPCWSTR file, UINT command, DWORD_PTR data) {
    Call call("HtmlHelpW", caller, file, command);
    if (call.Faulted())
        return call.Return(HWND{});
    HelpRequest request;
    request.caller = caller;
    request.file = Text(file);
    request.command = command;
    if (command == HH_TP_HELP_WM_HELP || command == HH_TP_HELP_CONTEXTMENU) {
        const WindowRef control = FindWindowRef(caller);
        for (const auto* pair = reinterpret_cast<const DWORD*>(data); pair && pair[0] != 0; pair += 2) {
            request.map.emplace_back(pair[0], pair[1]);
            if (control && static_cast<DWORD>(control->id) == pair[0])
                request.shown_context = pair[1];
        }
    }
    State().help.push_back(std::move(request));
    // The viewer's window is not part of this desktop; any window stands for it.
    return call.Return(caller);
}

HINSTANCE ShellExecuteW(HWND owner, LPCWSTR operation, LPCWSTR file, LPCWSTR parameters, LPCWSTR directory,
                        INT show) {
    Call call("ShellExecuteW", owner, operation, file, parameters, directory, show);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_FILE_NOT_FOUND),
                         reinterpret_cast<HINSTANCE>(ULONG_PTR{ERROR_FILE_NOT_FOUND}));
    State().shell.push_back({Text(operation), Text(file), Text(parameters), Text(directory), show});
    return call.Return(reinterpret_cast<HINSTANCE>(static_cast<ULONG_PTR>(State().shell_answer)));
}

}  // namespace qxsim
