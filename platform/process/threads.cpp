// SPDX-License-Identifier: MIT
// What a thread has of its own: its number, its last error and its locale.
#include "platform/machine/machine_internal.h"

namespace qxsim {

QX_PLATFORM_CALL(GetCurrentThreadId);
QX_PLATFORM_CALL(GetLastError);
QX_PLATFORM_CALL(SetLastError);
QX_PLATFORM_CALL(GetThreadLocale);
QX_PLATFORM_CALL(SetThreadLocale);

namespace {

constexpr LCID kEnglish = 0x0409;
thread_local DWORD last_error = ERROR_SUCCESS;
thread_local LCID thread_locale = kEnglish;

}  // namespace

DWORD GetCurrentThreadId() {
    Call call = Call::Infallible("GetCurrentThreadId");
    return call.Return(DWORD{CurrentThreadNumber()});
}

DWORD WINAPI GetLastError() {
    return Call::Infallible("GetLastError").Return(last_error);
}

// Not a Call: the simulated functions set the error through it, and would be recorded as calls of the
// library.
VOID WINAPI SetLastError(DWORD error) {
    last_error = error;
}

LCID GetThreadLocale() {
    Call call = Call::Infallible("GetThreadLocale");
    return call.Return(thread_locale);
}

BOOL SetThreadLocale(LCID locale) {
    Call call("SetThreadLocale", locale);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_INVALID_PARAMETER));
    thread_locale = locale;
    return call.Return(TRUE);
}

}  // namespace qxsim
