#include "platform/desktop/drawing.h"

#include "platform/desktop/text_width.h"
#include "platform/desktop/window.h"

#include <cstring>
#include <map>
#include <utility>

namespace qxsim {

namespace {

// What is drawn is not kept as pixels: colours, fonts and the text of windows that draw themselves are.
struct DeviceContext {
    HWND window = nullptr;
    COLORREF text_color = 0;
    COLORREF back_color = RGB(255, 255, 255);
    int back_mode = OPAQUE;
    HGDIOBJ font = nullptr;
};

struct DrawingState {
    std::map<std::uintptr_t, COLORREF> brushes;
    std::map<std::uintptr_t, LOGFONTW> fonts;
    std::map<std::uintptr_t, DeviceContext> contexts;
    std::map<HWND, DrawnText> drawn;
    std::uintptr_t next_handle = 0x6D10010;
};

// The platform's own brushes and font are numbers below all others.
constexpr std::uintptr_t kSystemColorBase = 0x6D00100;
constexpr std::uintptr_t kStockBase = 0x6D00200;
constexpr std::uintptr_t kStockEnd = 0x6D00300;

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

COLORREF SystemColor(int index) {
    switch (index) {
        case COLOR_WINDOW:
            return RGB(255, 255, 255);
        case COLOR_BTNFACE:
            return RGB(240, 240, 240);
        case COLOR_GRAYTEXT:
            return RGB(109, 109, 109);
        case COLOR_HOTLIGHT:
            return RGB(0, 102, 204);
        default:
            return RGB(0, 0, 0);
    }
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

HDC NewContext(HWND window) {
    const std::uintptr_t handle = NewHandle();
    State().contexts[handle].window = window;
    return reinterpret_cast<HDC>(handle);
}

bool IsUnderlined(HGDIOBJ font) {
    const auto found = State().fonts.find(NumberOf(font));
    return found != State().fonts.end() && found->second.lfUnderline != 0;
}

WideString Counted(LPCWSTR text, int count) {
    return count < 0 ? WideString(text) : WideString(text, static_cast<std::size_t>(count));
}

}  // namespace

COLORREF ColorOfBrush(HBRUSH brush) {
    const std::lock_guard lock(Instruments::The().Lock());
    const std::uintptr_t number = NumberOf(brush);
    if (number >= kSystemColorBase && number < kStockBase)
        return SystemColor(static_cast<int>(number - kSystemColorBase));
    const auto found = State().brushes.find(number);
    return found == State().brushes.end() ? CLR_INVALID : found->second;
}

RequestContext::RequestContext(HWND window) {
    const std::lock_guard lock(Instruments::The().Lock());
    handle_ = NewContext(window);
}

RequestContext::~RequestContext() {
    const std::lock_guard lock(Instruments::The().Lock());
    State().contexts.erase(NumberOf(handle_));
}

std::optional<DrawnText> LastDrawn(HWND window) {
    const std::lock_guard lock(Instruments::The().Lock());
    const auto found = State().drawn.find(window);
    return found == State().drawn.end() ? std::nullopt : std::optional(found->second);
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
        if (handle < kSystemColorBase || handle >= kStockEnd)
            call.Closed("drawing object", handle);
        return call.Fail(ERROR_INVALID_HANDLE);
    }
    return call.Faulted() ? call.Fail(call.FaultError(ERROR_INVALID_HANDLE)) : call.Return(TRUE);
}

HGDIOBJ GetStockObject(int index) {
    Call call = Call::Infallible("GetStockObject", index);
    return call.Return(reinterpret_cast<HGDIOBJ>(kStockBase + static_cast<std::uintptr_t>(index)));
}

int GetObjectW(HANDLE object, int room, LPVOID buffer) {
    Call call("GetObjectW", object, room);
    const auto found = State().fonts.find(NumberOf(object));
    // The dialog font is what windows that were given no other one have.
    const bool dialog_font = NumberOf(object) == kStockBase + DEFAULT_GUI_FONT;
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
    HGDIOBJ const before = found->font ? found->font : reinterpret_cast<HGDIOBJ>(kStockBase + SYSTEM_FONT);
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

COLORREF SetBkColor(HDC context, COLORREF color) {
    Call call("SetBkColor", context, color);
    DeviceContext* const found = ContextOf(context);
    if (call.Faulted() || !found)
        return call.Fail(call.FaultError(ERROR_INVALID_HANDLE), COLORREF{CLR_INVALID});
    return call.Return(std::exchange(found->back_color, color));
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

HDC BeginPaint(HWND window, LPPAINTSTRUCT paint) {
    Call call("BeginPaint", window);
    const WindowRef ref = FindWindowRef(window);
    if (call.Faulted() || !ref)
        return call.Fail(call.FaultError(ERROR_INVALID_WINDOW_HANDLE), HDC{});
    ref->dirty = false;
    *paint = {};
    paint->hdc = NewContext(window);
    paint->rcPaint = {0, 0, ref->rect.right - ref->rect.left, ref->rect.bottom - ref->rect.top};
    call.Opened("device context", paint->hdc);
    return call.Return(paint->hdc);
}

BOOL EndPaint(HWND window, const PAINTSTRUCT* paint) {
    Call call = Call::Infallible("EndPaint", window);
    call.Closed("device context", paint->hdc);
    State().contexts.erase(NumberOf(paint->hdc));
    return call.Return(TRUE);
}

HDC GetDC(HWND window) {
    Call call("GetDC", window);
    if (call.Faulted() || (window && !FindWindowRef(window)))
        return call.Fail(call.FaultError(ERROR_INVALID_WINDOW_HANDLE), HDC{});
    HDC const context = NewContext(window);
    call.Opened("device context", context);
    return call.Return(context);
}

int ReleaseDC(HWND window, HDC context) {
    Call call = Call::Infallible("ReleaseDC", window, context);
    const bool known = call.Closed("device context", context);
    State().contexts.erase(NumberOf(context));
    return call.Return(known ? 1 : 0);
}

int DrawTextW(HDC context, LPCWSTR text, int count, LPRECT rect, UINT format) {
    Call call("DrawTextW", context, count, format);
    DeviceContext* const found = ContextOf(context);
    if (call.Faulted() || !found)
        return call.Fail(call.FaultError(ERROR_INVALID_HANDLE), 0);
    const std::string drawn = ToUtf8(Counted(text, count));
    const int most = (format & DT_WORDBREAK) ? static_cast<int>(rect->right - rect->left) : TextWidth(drawn);
    const TextSize size = MeasureText(drawn, most);
    if (format & DT_CALCRECT) {
        rect->right = rect->left + size.width;
        rect->bottom = rect->top + size.height;
    } else {
        State().drawn[found->window] = {drawn, found->text_color, IsUnderlined(found->font)};
    }
    return call.Return(size.height);
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

DWORD GetSysColor(int index) {
    Call call = Call::Infallible("GetSysColor", index);
    return call.Return(SystemColor(index));
}

HBRUSH GetSysColorBrush(int index) {
    Call call = Call::Infallible("GetSysColorBrush", index);
    return call.Return(reinterpret_cast<HBRUSH>(kSystemColorBase + static_cast<std::uintptr_t>(index)));
}

}  // namespace qxsim
