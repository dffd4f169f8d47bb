// SPDX-License-Identifier: MIT
// The system's version and folder, and the user's setting for colours.
#include "platform/machine/machine_internal.h"

#include <cstddef>

namespace qxsim {

QX_PLATFORM_CALL(GetVersionExW);
QX_PLATFORM_CALL(GetSystemDirectoryW);
QX_PLATFORM_CALL(SystemParametersInfoW);

BOOL WINAPI GetVersionExW(LPOSVERSIONINFOW version) {
    Call call("GetVersionExW", version != nullptr ? version->dwOSVersionInfoSize : 0);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_INSUFFICIENT_BUFFER));
    if (version == nullptr)
        return call.Fail(ERROR_NOACCESS);
    const DWORD size = version->dwOSVersionInfoSize;
    if (size != sizeof(OSVERSIONINFOW) && size != sizeof(OSVERSIONINFOEXW))
        return call.Fail(ERROR_INSUFFICIENT_BUFFER);
    const Machine& machine = Machine::Current();
    OSVERSIONINFOEXW answer{};
    answer.dwOSVersionInfoSize = size;
    answer.dwMajorVersion = machine.major_version;
    answer.dwMinorVersion = machine.minor_version;
    answer.dwBuildNumber = machine.build;
    answer.dwPlatformId = VER_PLATFORM_WIN32_NT;
    answer.wProductType = VER_NT_WORKSTATION;
    CopyOut(version, &answer, size);
    return call.Return(TRUE);
}

UINT WINAPI GetSystemDirectoryW(LPWSTR buffer, UINT size) {
    Call call("GetSystemDirectoryW", size);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_NOT_ENOUGH_MEMORY), UINT{0});
    const WideString& path = Machine::Current().system_directory;
    if (buffer == nullptr || size < path.size() + 1)  // the size that would do, which counts the NUL
        return call.Return(static_cast<UINT>(path.size() + 1));
    CopyOut(buffer, path.c_str(), (path.size() + 1) * sizeof(WCHAR));
    return call.Return(static_cast<UINT>(path.size()));
}

BOOL WINAPI SystemParametersInfoW(UINT action, UINT size, PVOID place, UINT /*update*/) {
    Call call("SystemParametersInfoW", action, size);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_INVALID_PARAMETER));
    auto* const contrast = static_cast<HIGHCONTRASTW*>(place);
    if (action != SPI_GETHIGHCONTRAST || contrast == nullptr || contrast->cbSize != sizeof(HIGHCONTRASTW))
        return call.Fail(ERROR_INVALID_PARAMETER);
    contrast->dwFlags = Machine::Current().high_contrast ? HCF_HIGHCONTRASTON : 0;
    contrast->lpszDefaultScheme = nullptr;
    return call.Return(TRUE);
}

}  // namespace qxsim
