// SPDX-License-Identifier: MIT
// The platform's calls for windows, messages and dialogs.
#pragma once

#include "platform/machine/calls.h"

namespace qxsim {

QX_PLATFORM_CALL(CreateWindowExW);
QX_PLATFORM_CALL(DestroyWindow);
QX_PLATFORM_CALL(ShowWindow);
QX_PLATFORM_CALL(EnableWindow);
QX_PLATFORM_CALL(IsWindowEnabled);
QX_PLATFORM_CALL(IsWindowVisible);
QX_PLATFORM_CALL(SetFocus);
QX_PLATFORM_CALL(GetFocus);
QX_PLATFORM_CALL(GetActiveWindow);
QX_PLATFORM_CALL(GetParent);
QX_PLATFORM_CALL(GetWindow);
QX_PLATFORM_CALL(SetWindowTextW);
QX_PLATFORM_CALL(GetWindowTextW);
QX_PLATFORM_CALL(GetWindowTextLengthW);
QX_PLATFORM_CALL(GetClassNameW);
QX_PLATFORM_CALL(GetWindowLongPtrW);
QX_PLATFORM_CALL(SetWindowLongPtrW);
QX_PLATFORM_CALL(GetClientRect);
QX_PLATFORM_CALL(GetWindowRect);
QX_PLATFORM_CALL(SetWindowPos);
QX_PLATFORM_CALL(InvalidateRect);
QX_PLATFORM_CALL(EnumThreadWindows);

QX_PLATFORM_CALL(SendMessageW);

QX_PLATFORM_CALL(GetDlgItem);
QX_PLATFORM_CALL(GetDlgCtrlID);
QX_PLATFORM_CALL(GetComboBoxInfo);

QX_PLATFORM_CALL(LoadIconW);
QX_PLATFORM_CALL(LoadCursorW);
QX_PLATFORM_CALL(SetCursor);

}  // namespace qxsim
