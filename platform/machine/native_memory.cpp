// The last error, memory, time and text calls. On Windows the system's own answer these, also to a library
// that runs over the simulated computer, so that they exist only where there is no such system.
#include "platform/machine/machine_internal.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace qxsim {

QX_PLATFORM_CALL(GetLastError);
QX_PLATFORM_CALL(SetLastError);
QX_PLATFORM_CALL(LocalAlloc);
QX_PLATFORM_CALL(LocalFree);
QX_PLATFORM_CALL(Sleep);
QX_PLATFORM_CALL(ExpandEnvironmentStringsW);

namespace {

thread_local DWORD last_error = ERROR_SUCCESS;

}  // namespace

DWORD WINAPI GetLastError() {
    return Call::Infallible("GetLastError").Return(last_error);
}

// Not a Call: the simulated functions set the error through it, and would be recorded as calls of the
// library.
VOID WINAPI SetLastError(DWORD error) {
    last_error = error;
}

HLOCAL WINAPI LocalAlloc(UINT flags, SIZE_T size) {
    Call call("LocalAlloc", flags, size);
    const auto fail = [&](DWORD error) { return call.Fail(error, static_cast<HLOCAL>(nullptr)); };
    if (call.Faulted())
        return fail(call.FaultError(ERROR_NOT_ENOUGH_MEMORY));
    void* memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr)
        return fail(ERROR_NOT_ENOUGH_MEMORY);
    // Not cleared unless asked: filled with something that nobody takes for a good value.
    std::memset(memory, (flags & LMEM_ZEROINIT) != 0 ? 0 : 0xCD, size);
    call.Opened(kMemoryHandle, memory);
    return call.Return(static_cast<HLOCAL>(memory));
}

HLOCAL WINAPI LocalFree(HLOCAL memory) {
    Call call = Call::Infallible("LocalFree", memory);
    if (memory == nullptr)
        return call.Return(static_cast<HLOCAL>(nullptr));
    if (!call.Closed(kMemoryHandle, memory))
        return call.Fail(ERROR_INVALID_HANDLE, memory);
    std::free(memory);
    return call.Return(static_cast<HLOCAL>(nullptr));
}

VOID WINAPI Sleep(DWORD milliseconds) {
    {
        const Call call = Call::Infallible("Sleep", milliseconds);
        Machine::Current().clock += milliseconds;
    }
    std::this_thread::yield();
}

DWORD WINAPI ExpandEnvironmentStringsW(LPCWSTR source, LPWSTR buffer, DWORD size) {
    Call call("ExpandEnvironmentStringsW", source, size);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_NOT_ENOUGH_MEMORY), DWORD{0});
    const WideString root = ToWide("C:\\Windows");
    WideString text(source);
    for (const char* name : {"%SystemRoot%", "%windir%"}) {
        const WideString wanted = ToWide(name);
        for (std::size_t at = 0; at + wanted.size() <= text.size(); ++at) {
            if (EqualsCaseless(WideView(text).substr(at, wanted.size()), wanted))
                text.replace(at, wanted.size(), root);
        }
    }
    if (buffer != nullptr && size >= text.size() + 1)
        CopyOut(buffer, text.c_str(), (text.size() + 1) * sizeof(WCHAR));
    return call.Return(static_cast<DWORD>(text.size() + 1));
}

}  // namespace qxsim
