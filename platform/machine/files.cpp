// SPDX-License-Identifier: MIT
// Opening devices, and requests to their drivers.
#include "platform/machine/machine_internal.h"

#include <algorithm>

namespace qxsim {

QX_PLATFORM_CALL(CreateFileW);
QX_PLATFORM_CALL(DeviceIoControl);
QX_PLATFORM_CALL(CloseHandle);

namespace {

constexpr DWORD kDeviceNotConnected = 1167;

// What a path leads to.
struct Target {
    Device* device = nullptr;
    FileKind kind = FileKind::Other;
};

Target FindTarget(Machine& machine, WideView path) {
    const bool device_path = path.size() > 4 && path.substr(0, 2) == ToWide("\\\\") &&
                             (path[2] == '.' || path[2] == '?') && path[3] == '\\';
    if (!device_path)
        return {};
    const WideView name = path.substr(4);
    if (const auto found = machine.dos_names.find(name); found != machine.dos_names.end()) {
        for (Device& device : machine.devices) {
            if (device.started && EqualsCaseless(device.kernel_path, found->second.front()) &&
                machine.Present(device))
                return {&device, FileKind::Port};
        }
        return {};
    }
    for (Device& device : machine.devices) {
        for (const DeviceInterface& published : device.interfaces) {
            // The path after its prefix begins with the device's id; most devices are ruled out by that.
            if (name.size() > device.id.size() && name[device.id.size()] == '#' &&
                machine.Active(device, published) &&
                EqualsCaseless(WideView(machine.InterfacePath(device, published)).substr(4), name)) {
                const bool control =
                    device.control && IsEqualGUID(published.interface_class, machine.control_class);
                return {&device, control ? FileKind::Control : FileKind::Other};
            }
        }
    }
    return {};
}

bool Wants(DWORD access, DWORD generic, DWORD specific) {
    return (access & (generic | specific | GENERIC_ALL)) != 0;
}

// Whether somebody who opened with `access` gets in the way of somebody who shares only `share`.
bool Collides(DWORD access, DWORD share) {
    constexpr DWORD kReadData = 1;
    constexpr DWORD kWriteData = 2;
    return (Wants(access, GENERIC_READ, kReadData) && (share & FILE_SHARE_READ) == 0) ||
           (Wants(access, GENERIC_WRITE, kWriteData) && (share & FILE_SHARE_WRITE) == 0);
}

DWORD CheckSharing(const Machine& machine, const Target& target, DWORD access, DWORD share) {
    if (target.kind == FileKind::Port && !target.device->held_open_by.empty())
        return ERROR_ACCESS_DENIED;
    for (const auto& [number, file] : machine.Handles().files) {
        if (file.node != target.device->node || file.kind != target.kind)
            continue;
        if (target.kind == FileKind::Port)  // a serial port has one user, whatever both would share
            return ERROR_ACCESS_DENIED;
        if (Collides(access, file.share) || Collides(file.access, share))
            return ERROR_SHARING_VIOLATION;
    }
    return ERROR_SUCCESS;
}

}  // namespace

HANDLE WINAPI CreateFileW(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES, DWORD disposition,
                          DWORD flags, HANDLE) {
    Call call("CreateFileW", path, access, share, disposition, flags);
    const auto fail = [&](DWORD error) {
        return call.Fail(error, static_cast<HANDLE>(INVALID_HANDLE_VALUE));
    };
    if (call.Faulted())
        return fail(call.FaultError(ERROR_ACCESS_DENIED));
    if (path == nullptr || *path == WCHAR{})
        return fail(ERROR_PATH_NOT_FOUND);
    Machine& machine = Machine::Current();
    const Target target = FindTarget(machine, path);
    if (target.device == nullptr)
        return fail(ERROR_FILE_NOT_FOUND);
    if (disposition != OPEN_EXISTING)  // devices cannot be created
        return fail(ERROR_INVALID_PARAMETER);
    if (const DWORD error = CheckSharing(machine, target, access, share); error != ERROR_SUCCESS)
        return fail(error);
    const std::uint64_t number = machine.Handles().New();
    machine.Handles().files.emplace(
        number, FileHandle{target.device->node, target.kind, access, share, CurrentSimulatedProcess()});
    call.Opened(kFileHandle, number);
    return call.Return(MakeHandle<HANDLE>(number));
}

BOOL WINAPI DeviceIoControl(HANDLE handle, DWORD code, LPVOID input, DWORD input_size, LPVOID output,
                            DWORD output_size, LPDWORD returned, LPOVERLAPPED overlapped) {
    Call call("DeviceIoControl", handle, code, input_size, output_size);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_GEN_FAILURE));
    Machine& machine = Machine::Current();
    const auto found = machine.Handles().files.find(HandleNumber(handle));
    if (found == machine.Handles().files.end())
        return call.Fail(ERROR_INVALID_HANDLE);
    if ((returned == nullptr && overlapped == nullptr) || (input == nullptr && input_size != 0) ||
        (output == nullptr && output_size != 0))
        return call.Fail(ERROR_NOACCESS);
    if (returned != nullptr)
        *returned = 0;
    Device* device = machine.Node(found->second.node);
    if (device == nullptr || !device->started)
        return call.Fail(kDeviceNotConnected);
    if (found->second.kind != FileKind::Control)
        return call.Fail(ERROR_INVALID_FUNCTION);
    const auto* bytes = static_cast<const BYTE*>(input);
    DWORD count = 0;
    if (const DWORD error = AnswerDriverRequest(call, *device, code, Bytes(bytes, bytes + input_size),
                                                static_cast<BYTE*>(output), output_size, count);
        error != ERROR_SUCCESS)
        return call.Fail(error);
    if (returned != nullptr)
        *returned = count;
    return call.Return(TRUE);
}

BOOL WINAPI CloseHandle(HANDLE handle) {
    Call call("CloseHandle", handle);
    const std::uint64_t number = HandleNumber(handle);
    Machine::HandleTable& open = Machine::Current().Handles();
    const char* kind = nullptr;
    if (open.files.erase(number) != 0) {
        kind = kFileHandle;
    } else if (open.mutexes.erase(number) != 0) {
        kind = kMutexHandle;
    } else if (const auto process = open.processes.find(number); process != open.processes.end()) {
        kind = process->second.is_thread ? kThreadHandle : kProcessHandle;
        open.processes.erase(process);
    }
    if (kind == nullptr) {
        if (ThePassthrough().close_handle)
            return call.Return(ThePassthrough().close_handle(handle));
        call.Closed("handle", number);
        return call.Fail(ERROR_INVALID_HANDLE);
    }
    call.Closed(kind, number);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_GEN_FAILURE));
    return call.Return(TRUE);
}

}  // namespace qxsim
