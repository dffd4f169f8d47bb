// The platform's calls for windows, messages and dialogs.
#pragma once

#include "platform/machine/calls.h"

namespace qxsim {

QX_PLATFORM_CALL(CreateWindowExW);
QX_PLATFORM_CALL(DestroyWindow);
QX_PLATFORM_CALL(IsWindow);
QX_PLATFORM_CALL(ShowWindow);
QX_PLATFORM_CALL(UpdateWindow);
QX_PLATFORM_CALL(EnableWindow);
QX_PLATFORM_CALL(IsWindowEnabled);
QX_PLATFORM_CALL(IsWindowVisible);
QX_PLATFORM_CALL(SetFocus);
QX_PLATFORM_CALL(GetFocus);
QX_PLATFORM_CALL(GetActiveWindow);
QX_PLATFORM_CALL(GetParent);
QX_PLATFORM_CALL(GetWindow);
QX_PLATFORM_CALL(GetAncestor);
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
QX_PLATFORM_CALL(EnumWindows);
QX_PLATFORM_CALL(EnumThreadWindows);
QX_PLATFORM_CALL(EnumChildWindows);
QX_PLATFORM_CALL(GetWindowThreadProcessId);

QX_PLATFORM_CALL(SendMessageW);
QX_PLATFORM_CALL(PostMessageW);
QX_PLATFORM_CALL(DefWindowProcW);
QX_PLATFORM_CALL(CallWindowProcW);

QX_PLATFORM_CALL(CreateDialogParamW);
QX_PLATFORM_CALL(DialogBoxParamW);
QX_PLATFORM_CALL(EndDialog);
QX_PLATFORM_CALL(GetDlgItem);
QX_PLATFORM_CALL(GetDlgCtrlID);
QX_PLATFORM_CALL(SetDlgItemTextW);
QX_PLATFORM_CALL(GetDlgItemTextW);
QX_PLATFORM_CALL(SendDlgItemMessageW);
QX_PLATFORM_CALL(CheckDlgButton);
QX_PLATFORM_CALL(IsDlgButtonChecked);
QX_PLATFORM_CALL(MapDialogRect);
QX_PLATFORM_CALL(GetComboBoxInfo);

QX_PLATFORM_CALL(LoadIconW);
QX_PLATFORM_CALL(LoadCursorW);
QX_PLATFORM_CALL(SetCursor);

}  // namespace qxsim
