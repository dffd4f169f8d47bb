// SPDX-License-Identifier: MIT
// Starting programs. They do nothing but run for a while, in simulated time: waiting for one moves the clock.
#include "platform/machine/machine_internal.h"

#include <algorithm>

namespace qxsim {

QX_PLATFORM_CALL(CreateProcessW);

namespace {

// The program's path at the head of a command line: quoted, or up to the first blank.
WideString FirstWord(WideView line) {
    if (!line.empty() && line.front() == '"')
        return WideString(line.substr(1, line.find(static_cast<WCHAR>('"'), 1) - 1));
    return WideString(line.substr(0, line.find(static_cast<WCHAR>(' '))));
}

}  // namespace

std::optional<DWORD> WaitForProcess(Machine& machine, std::uint64_t handle, DWORD timeout) {
    const auto found = machine.Handles().processes.find(handle);
    if (found == machine.Handles().processes.end())
        return std::nullopt;
    const std::uint64_t end = machine.started_programs[found->second.program].ends_at;
    if (end <= machine.clock)
        return WAIT_OBJECT_0;
    if (timeout != INFINITE && machine.clock + timeout < end) {
        machine.clock += timeout;
        return WAIT_TIMEOUT;
    }
    machine.clock = end;
    return WAIT_OBJECT_0;
}

BOOL WINAPI CreateProcessW(LPCWSTR application, LPWSTR command_line, LPSECURITY_ATTRIBUTES,
                           LPSECURITY_ATTRIBUTES, BOOL inherit, DWORD flags, LPVOID, LPCWSTR,
                           LPSTARTUPINFOW startup, LPPROCESS_INFORMATION information) {
    Call call("CreateProcessW", application, static_cast<const WCHAR*>(command_line), inherit, flags,
              startup != nullptr ? startup->cb : 0);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_FILE_NOT_FOUND));
    if (startup == nullptr || information == nullptr)
        return call.Fail(ERROR_NOACCESS);
    if (application == nullptr && command_line == nullptr)
        return call.Fail(ERROR_INVALID_PARAMETER);
    Machine& machine = Machine::Current();
    const WideString path = application != nullptr ? WideString(application) : FirstWord(command_line);
    const auto program = machine.programs.find(path);
    if (program == machine.programs.end()) {
        const bool directory = !path.empty() && path.back() == '\\';
        return call.Fail(directory ? ERROR_PATH_NOT_FOUND : ERROR_FILE_NOT_FOUND);
    }
    StartedProgram started;
    started.path = path;
    if (command_line != nullptr)
        started.command_line = command_line;
    started.inherit_handles = inherit != FALSE;
    started.creation_flags = flags;
    started.process_id = static_cast<DWORD>(4 * (1000 + machine.started_programs.size()));
    started.ends_at = machine.clock + program->second.runs_for;
    started.exit_code = program->second.exit_code;
    machine.started_programs.push_back(started);
    const std::size_t index = machine.started_programs.size() - 1;
    const auto open = [&](const char* kind, bool is_thread) {
        const std::uint64_t number = machine.Handles().New();
        machine.Handles().processes.emplace(number, ProcessHandle{index, is_thread});
        call.Opened(kind, number);
        return MakeHandle<HANDLE>(number);
    };
    information->hProcess = open(kProcessHandle, false);
    information->hThread = open(kThreadHandle, true);
    information->dwProcessId = started.process_id;
    information->dwThreadId = started.process_id + 4;
    return call.Return(TRUE);
}

}  // namespace qxsim
