// SPDX-License-Identifier: MIT
#include "platform/desktop/drawing.h"

#include "platform/desktop/text_width.h"
#include "platform/desktop/window.h"
#include "platform/machine/machine.h"

#include <cstring>
#include <map>
#include <utility>

namespace qxsim {

namespace {

// Nothing is drawn: a context only keeps what is set in it.
struct DeviceContext {
    COLORREF text_color = 0;
    int back_mode = OPAQUE;
    HGDIOBJ font = nullptr;
};

struct DrawingState {
    std::map<std::uintptr_t, COLORREF> brushes;
    std::map<std::uintptr_t, LOGFONTW> fonts;
    std::map<std::uintptr_t, DeviceContext> contexts;
    std::uintptr_t next_handle = 0x6D10010;
};

// The platform's own font is a number below all others.
constexpr std::uintptr_t kDialogFont = 0x6D00211;
constexpr std::uintptr_t kSystemBrushes = 0x6D00300;

DrawingState& State() {
    static DrawingState state;
    return state;
}

std::uintptr_t NewHandle() {
    const std::uintptr_t handle = State().next_handle;
    State().next_handle += 4;
    return handle;
}

template <typename Handle>
std::uintptr_t NumberOf(Handle handle) {
    return reinterpret_cast<std::uintptr_t>(handle);
}

LOGFONTW DialogFont() {
    LOGFONTW font{};
    font.lfHeight = -11;
    font.lfWeight = FW_NORMAL;
    font.lfCharSet = DEFAULT_CHARSET;
    const WideView name = u"MS Shell Dlg";
    std::memcpy(font.lfFaceName, name.data(), name.size() * sizeof(WCHAR));
    return font;
}

DeviceContext* ContextOf(HDC context) {
    const auto found = State().contexts.find(NumberOf(context));
    return found == State().contexts.end() ? nullptr : &found->second;
}

HDC NewContext() {
    const std::uintptr_t handle = NewHandle();
    State().contexts[handle] = {};
    return reinterpret_cast<HDC>(handle);
}

WideString Counted(LPCWSTR text, int count) {
    return count < 0 ? WideString(text) : WideString(text, static_cast<std::size_t>(count));
}

}  // namespace

COLORREF ColorOfBrush(HBRUSH brush) {
    const std::lock_guard lock(Instruments::The().Lock());
    const auto found = State().brushes.find(NumberOf(brush));
    return found == State().brushes.end() ? CLR_INVALID : found->second;
}

RequestContext::RequestContext() {
    const std::lock_guard lock(Instruments::The().Lock());
    handle_ = NewContext();
}

RequestContext::~RequestContext() {
    const std::lock_guard lock(Instruments::The().Lock());
    State().contexts.erase(NumberOf(handle_));
}

COLORREF RequestContext::TextColor() const {
    const std::lock_guard lock(Instruments::The().Lock());
    return ContextOf(handle_)->text_color;
}

bool RequestContext::Transparent() const {
    const std::lock_guard lock(Instruments::The().Lock());
    return ContextOf(handle_)->back_mode == TRANSPARENT;
}

HFONT DialogFontHandle() {
    return reinterpret_cast<HFONT>(kDialogFont);
}

bool IsUnderlined(HFONT font) {
    const std::lock_guard lock(Instruments::The().Lock());
    const auto found = State().fonts.find(NumberOf(font));
    return found != State().fonts.end() && found->second.lfUnderline != 0;
}

void ForgetDrawing() {
    const std::lock_guard lock(Instruments::The().Lock());
    const std::uintptr_t next = State().next_handle;
    State() = DrawingState{};
    State().next_handle = next;
}

HBRUSH CreateSolidBrush(COLORREF color) {
    Call call("CreateSolidBrush", color);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_NOT_ENOUGH_MEMORY), HBRUSH{});
    const std::uintptr_t handle = NewHandle();
    State().brushes[handle] = color;
    call.Opened("brush", handle);
    return call.Return(reinterpret_cast<HBRUSH>(handle));
}

namespace {

// The colours that are asked for, usual and of high contrast.
struct SystemColour {
    int index;
    COLORREF usual;
    COLORREF high_contrast;
};
constexpr SystemColour kSystemColours[] = {
    {COLOR_BTNFACE, RGB(240, 240, 240), RGB(0, 0, 0)},
    {COLOR_BTNTEXT, RGB(0, 0, 0), RGB(255, 255, 255)},
    {COLOR_HOTLIGHT, RGB(0, 102, 204), RGB(255, 255, 0)},
};

COLORREF SystemColourOf(int index) {
    for (const SystemColour& colour : kSystemColours)
        if (colour.index == index)
            return Machine::Current().high_contrast ? colour.high_contrast : colour.usual;
    return 0;
}

}  // namespace

DWORD GetSysColor(int index) {
    Call call = Call::Infallible("GetSysColor", index);
    return call.Return(SystemColourOf(index));
}

// The system's own brush, which nobody deletes.
HBRUSH GetSysColorBrush(int index) {
    Call call = Call::Infallible("GetSysColorBrush", index);
    const auto handle = kSystemBrushes + static_cast<std::uintptr_t>(index);
    State().brushes[handle] = SystemColourOf(index);
    return call.Return(reinterpret_cast<HBRUSH>(handle));
}

HFONT CreateFontIndirectW(const LOGFONTW* description) {
    Call call("CreateFontIndirectW", static_cast<const void*>(description));
    if (call.Faulted() || !description)
        return call.Fail(call.FaultError(ERROR_INVALID_PARAMETER), HFONT{});
    const std::uintptr_t handle = NewHandle();
    State().fonts[handle] = *description;
    call.Opened("font", handle);
    return call.Return(reinterpret_cast<HFONT>(handle));
}

BOOL DeleteObject(HGDIOBJ object) {
    Call call("DeleteObject", object);
    const std::uintptr_t handle = NumberOf(object);
    if (State().fonts.erase(handle) != 0) {
        call.Closed("font", handle);
    } else if (State().brushes.erase(handle) != 0) {
        call.Closed("brush", handle);
    } else {
        // Deleting what the platform owns does no harm; deleting anything else twice is a mistake.
        if (handle != kDialogFont)
            call.Closed("drawing object", handle);
        return call.Fail(ERROR_INVALID_HANDLE);
    }
    return call.Faulted() ? call.Fail(call.FaultError(ERROR_INVALID_HANDLE)) : call.Return(TRUE);
}

int GetObjectW(HANDLE object, int room, LPVOID buffer) {
    Call call("GetObjectW", object, room);
    const auto found = State().fonts.find(NumberOf(object));
    const bool dialog_font = NumberOf(object) == kDialogFont;
    if (call.Faulted() || !(dialog_font || found != State().fonts.end()))
        return call.Fail(call.FaultError(ERROR_INVALID_HANDLE), 0);
    const LOGFONTW font = dialog_font ? DialogFont() : found->second;
    if (!buffer)
        return call.Return(static_cast<int>(sizeof(LOGFONTW)));
    const int count = std::min(room, static_cast<int>(sizeof(LOGFONTW)));
    std::memcpy(buffer, &font, static_cast<std::size_t>(count));
    return call.Return(count);
}

HGDIOBJ SelectObject(HDC context, HGDIOBJ object) {
    Call call("SelectObject", context, object);
    DeviceContext* const found = ContextOf(context);
    if (call.Faulted() || !found)
        return call.Fail(call.FaultError(ERROR_INVALID_HANDLE), HGDIOBJ{});
    HGDIOBJ const before = found->font ? found->font : reinterpret_cast<HGDIOBJ>(kDialogFont);
    found->font = object;
    return call.Return(before);
}

int SetBkMode(HDC context, int mode) {
    Call call("SetBkMode", context, mode);
    DeviceContext* const found = ContextOf(context);
    if (call.Faulted() || !found)
        return call.Fail(call.FaultError(ERROR_INVALID_HANDLE), 0);
    return call.Return(std::exchange(found->back_mode, mode));
}

COLORREF SetTextColor(HDC context, COLORREF color) {
    Call call("SetTextColor", context, color);
    DeviceContext* const found = ContextOf(context);
    if (call.Faulted() || !found)
        return call.Fail(call.FaultError(ERROR_INVALID_HANDLE), COLORREF{CLR_INVALID});
    return call.Return(std::exchange(found->text_color, color));
}

BOOL GetTextExtentPoint32W(HDC context, LPCWSTR text, int count, LPSIZE size) {
    Call call("GetTextExtentPoint32W", context, count);
    if (call.Faulted() || !ContextOf(context) || !size)
        return call.Fail(call.FaultError(ERROR_INVALID_HANDLE));
    *size = {TextWidth(ToUtf8(Counted(text, count))), kTextLineHeight};
    return call.Return(TRUE);
}

HDC GetDC(HWND window) {
    Call call("GetDC", window);
    if (call.Faulted() || (window && !FindWindowRef(window)))
        return call.Fail(call.FaultError(ERROR_INVALID_WINDOW_HANDLE), HDC{});
    HDC const context = NewContext();
    call.Opened("device context", context);
    return call.Return(context);
}

int ReleaseDC(HWND window, HDC context) {
    Call call = Call::Infallible("ReleaseDC", window, context);
    const bool known = call.Closed("device context", context);
    State().contexts.erase(NumberOf(context));
    return call.Return(known ? 1 : 0);
}

int FillRect(HDC context, const RECT* rect, HBRUSH brush) {
    Call call("FillRect", context, static_cast<const void*>(rect), brush);
    if (call.Faulted() || !ContextOf(context))
        return call.Fail(call.FaultError(ERROR_INVALID_HANDLE), 0);
    return call.Return(1);
}

BOOL DrawFocusRect(HDC context, const RECT* rect) {
    Call call("DrawFocusRect", context, static_cast<const void*>(rect));
    if (call.Faulted() || !ContextOf(context))
        return call.Fail(call.FaultError(ERROR_INVALID_HANDLE));
    return call.Return(TRUE);
}

}  // namespace qxsim
