// SPDX-License-Identifier: MIT
// Brushes, fonts and device contexts.
#pragma once

#include "platform/desktop/desktop.h"
#include "platform/machine/calls.h"

namespace qxsim {

// The colour of a brush; CLR_INVALID for what is none.
[[nodiscard]] COLORREF ColorOfBrush(HBRUSH brush);

// A device context for the length of a colour request, and what the dialog set in it.
class RequestContext {
  public:
    RequestContext();
    ~RequestContext();
    RequestContext(const RequestContext&) = delete;
    RequestContext& operator=(const RequestContext&) = delete;
    [[nodiscard]] HDC Handle() const { return handle_; }
    [[nodiscard]] COLORREF TextColor() const;
    [[nodiscard]] bool Transparent() const;

  private:
    HDC handle_;
};

// What windows have for a font that were given no other one.
[[nodiscard]] HFONT DialogFontHandle();
[[nodiscard]] bool IsUnderlined(HFONT font);
void ForgetDrawing();

QX_PLATFORM_CALL(CreateSolidBrush);
QX_PLATFORM_CALL(GetSysColor);
QX_PLATFORM_CALL(GetSysColorBrush);
QX_PLATFORM_CALL(DeleteObject);
QX_PLATFORM_CALL(SelectObject);
QX_PLATFORM_CALL(GetObjectW);
QX_PLATFORM_CALL(CreateFontIndirectW);
QX_PLATFORM_CALL(SetBkMode);
QX_PLATFORM_CALL(SetTextColor);
QX_PLATFORM_CALL(GetTextExtentPoint32W);
QX_PLATFORM_CALL(GetDC);
QX_PLATFORM_CALL(ReleaseDC);
QX_PLATFORM_CALL(FillRect);
QX_PLATFORM_CALL(DrawFocusRect);

}  // namespace qxsim
