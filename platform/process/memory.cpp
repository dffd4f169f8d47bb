// SPDX-License-Identifier: MIT
// Local memory.
#include "platform/machine/machine_internal.h"

#include <cstdlib>
#include <cstring>

namespace qxsim {

QX_PLATFORM_CALL(LocalAlloc);
QX_PLATFORM_CALL(LocalFree);

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

}  // namespace qxsim
