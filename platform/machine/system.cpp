// The system's version.
#include "platform/machine/machine_internal.h"

#include <cstddef>

namespace qxsim {

QX_PLATFORM_CALL(GetVersionExW);

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

}  // namespace qxsim
