// Thread locales and the registration of type libraries.
#pragma once

#include "platform/machine/calls.h"

#include <commctrl.h>
#include <oleauto.h>

namespace qxsim {

QX_PLATFORM_CALL(GetThreadLocale);
QX_PLATFORM_CALL(SetThreadLocale);
QX_PLATFORM_CALL(LoadTypeLib);
QX_PLATFORM_CALL(RegisterTypeLib);
QX_PLATFORM_CALL(UnRegisterTypeLib);
QX_PLATFORM_CALL(InitCommonControlsEx);
QX_PLATFORM_CALL(GetCurrentThreadId);
QX_PLATFORM_CALL(GetCurrentProcessId);

}  // namespace qxsim
