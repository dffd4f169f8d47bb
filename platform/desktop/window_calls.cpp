// SPDX-License-Identifier: MIT
#include "platform/desktop/window_calls.h"

#include "platform/desktop/dialog.h"
#include "platform/desktop/message_names.h"
#include "platform/desktop/window.h"

#include <algorithm>
#include <utility>

namespace qxsim {

namespace {

// Messages run in the window's procedure, without the computer's lock.
LRESULT SendFrom(Call& call, HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    call.Unlock();
    const LRESULT result = Send(window, message, wparam, lparam);
    call.Relock();
    return result;
}

RECT ClientRectOf(const Window& window) {
    return {0, 0, window.rect.right - window.rect.left, window.rect.bottom - window.rect.top};
}

}  // namespace

HWND CreateWindowExW(DWORD ex_style, LPCWSTR class_name, LPCWSTR text, DWORD style, int x, int y, int width,
                     int height, HWND parent, HMENU menu, HINSTANCE instance, LPVOID parameter) {
    Call call("CreateWindowExW", ex_style, class_name, text, style, parent);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_NOT_ENOUGH_MEMORY), HWND{});
    const auto placed = [](int value) { return value == CW_USEDEFAULT ? 0 : value; };
    NewWindow description;
    description.class_name = class_name ? class_name : u"";
    description.text = text ? text : u"";
    description.style = style;
    description.ex_style = ex_style;
    description.rect = {placed(x), placed(y), placed(x) + placed(width), placed(y) + placed(height)};
    description.parent = parent;
    description.id = static_cast<int>(reinterpret_cast<LONG_PTR>(menu));
    description.instance = instance;
    description.create_parameter = parameter;
    call.Unlock();
    DWORD error = 0;
    const HWND window = MakeWindow(description, error, &call);
    call.Relock();
    return window ? call.Return(window) : call.Fail(error, HWND{});
}

BOOL DestroyWindow(HWND window) {
    Call call("DestroyWindow", window);
    if (!FindWindowRef(window)) {
        call.Closed("window", window);
        return call.Fail(ERROR_INVALID_WINDOW_HANDLE);
    }
    Destroy(window, call);
    return call.Faulted() ? call.Fail(call.FaultError(ERROR_ACCESS_DENIED)) : call.Return(TRUE);
}

BOOL ShowWindow(HWND window, int command) {
    Call call = Call::Infallible("ShowWindow", window, command);
    const WindowRef ref = FindWindowRef(window);
    if (!ref)
        return call.Fail(ERROR_INVALID_WINDOW_HANDLE);
    const bool was_visible = ref->Visible();
    call.Unlock();
    Show(window, command != SW_HIDE);
    call.Relock();
    return call.Return(was_visible ? TRUE : FALSE);
}

BOOL EnableWindow(HWND window, BOOL enable) {
    Call call = Call::Infallible("EnableWindow", window, enable);
    const WindowRef ref = FindWindowRef(window);
    if (!ref)
        return call.Fail(ERROR_INVALID_WINDOW_HANDLE);
    const bool was_disabled = !ref->Enabled();
    call.Unlock();
    Enable(window, enable != FALSE);
    call.Relock();
    return call.Return(was_disabled ? TRUE : FALSE);
}

BOOL IsWindowEnabled(HWND window) {
    Call call = Call::Infallible("IsWindowEnabled", window);
    const WindowRef ref = FindWindowRef(window);
    return call.Return(ref && ref->Enabled() ? TRUE : FALSE);
}

BOOL IsWindowVisible(HWND window) {
    Call call = Call::Infallible("IsWindowVisible", window);
    return call.Return(ShownOnScreen(window) ? TRUE : FALSE);
}

HWND SetFocus(HWND window) {
    Call call = Call::Infallible("SetFocus", window);
    if (window && !FindWindowRef(window))
        return call.Fail(ERROR_INVALID_WINDOW_HANDLE, HWND{});
    const HWND before = FocusedWindow();
    call.Unlock();
    Focus(window);
    call.Relock();
    return call.Return(before);
}

HWND GetFocus() {
    Call call = Call::Infallible("GetFocus");
    return call.Return(FocusedWindow());
}

HWND GetActiveWindow() {
    Call call = Call::Infallible("GetActiveWindow");
    return call.Return(ActiveWindow());
}

HWND GetParent(HWND window) {
    Call call = Call::Infallible("GetParent", window);
    const WindowRef ref = FindWindowRef(window);
    if (!ref)
        return call.Fail(ERROR_INVALID_WINDOW_HANDLE, HWND{});
    return call.Return(ref->IsChild() ? ref->parent : ref->owner);
}

HWND GetWindow(HWND window, UINT relation) {
    Call call = Call::Infallible("GetWindow", window, relation);
    const WindowRef ref = FindWindowRef(window);
    if (!ref)
        return call.Fail(ERROR_INVALID_WINDOW_HANDLE, HWND{});
    if (relation == GW_CHILD)
        return call.Return(ref->children.empty() ? HWND{} : ref->children.front());
    const WindowRef parent = FindWindowRef(ref->parent);
    const std::vector<HWND> siblings = parent ? parent->children : TopLevelWindows();
    const auto at = std::ranges::find(siblings, window);
    if (relation == GW_HWNDNEXT)
        return call.Return(std::next(at) == siblings.end() ? HWND{} : *std::next(at));
    return call.Fail(ERROR_INVALID_PARAMETER, HWND{});
}

BOOL SetWindowTextW(HWND window, LPCWSTR text) {
    Call call("SetWindowTextW", window, text);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_ACCESS_DENIED));
    if (!FindWindowRef(window))
        return call.Fail(ERROR_INVALID_WINDOW_HANDLE);
    SendFrom(call, window, WM_SETTEXT, 0, ToLparam(text));
    return call.Return(TRUE);
}

int GetWindowTextW(HWND window, LPWSTR buffer, int room) {
    Call call("GetWindowTextW", window, room);
    if (room > 0 && buffer)
        *buffer = u'\0';
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_ACCESS_DENIED), 0);
    if (!FindWindowRef(window))
        return call.Fail(ERROR_INVALID_WINDOW_HANDLE, 0);
    if (room <= 0)
        return call.Return(0);
    return call.Return(
        static_cast<int>(SendFrom(call, window, WM_GETTEXT, static_cast<WPARAM>(room), ToLparam(buffer))));
}

int GetWindowTextLengthW(HWND window) {
    Call call("GetWindowTextLengthW", window);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_ACCESS_DENIED), 0);
    if (!FindWindowRef(window))
        return call.Fail(ERROR_INVALID_WINDOW_HANDLE, 0);
    return call.Return(static_cast<int>(SendFrom(call, window, WM_GETTEXTLENGTH, 0, 0)));
}

int GetClassNameW(HWND window, LPWSTR buffer, int room) {
    Call call = Call::Infallible("GetClassNameW", window, room);
    const WindowRef ref = FindWindowRef(window);
    if (!ref || room <= 0)
        return call.Fail(ref ? ERROR_INSUFFICIENT_BUFFER : ERROR_INVALID_WINDOW_HANDLE, 0);
    return call.Return(
        static_cast<int>(CopyText(ref->window_class->name, static_cast<std::size_t>(room), buffer)));
}

namespace {

// Where a dialog keeps a number; null for what is no index of this window.
LONG_PTR* SlotOf(Window& window, int index) {
    if (!window.is_dialog)
        return nullptr;
    return index == DWLP_MSGRESULT                ? &window.message_result
           : index == static_cast<int>(DWLP_USER) ? &window.dialog_data
                                                  : nullptr;
}

}  // namespace

LONG_PTR GetWindowLongPtrW(HWND window, int index) {
    Call call = Call::Infallible("GetWindowLongPtrW", window, static_cast<DWORD>(index));
    const WindowRef ref = FindWindowRef(window);
    if (!ref)
        return call.Fail(ERROR_INVALID_WINDOW_HANDLE, LONG_PTR{0});
    if (index == GWL_STYLE)
        return call.Return(LONG_PTR{static_cast<LONG>(ref->style)});
    const LONG_PTR* const slot = SlotOf(*ref, index);
    return slot ? call.Return(*slot) : call.Fail(ERROR_INVALID_INDEX, LONG_PTR{0});
}

LONG_PTR SetWindowLongPtrW(HWND window, int index, LONG_PTR value) {
    Call call = Call::Infallible("SetWindowLongPtrW", window, static_cast<DWORD>(index), value);
    const WindowRef ref = FindWindowRef(window);
    if (!ref)
        return call.Fail(ERROR_INVALID_WINDOW_HANDLE, LONG_PTR{0});
    if (index == GWL_STYLE)
        return call.Return(LONG_PTR{static_cast<LONG>(std::exchange(ref->style, static_cast<DWORD>(value)))});
    LONG_PTR* const slot = SlotOf(*ref, index);
    return slot ? call.Return(std::exchange(*slot, value)) : call.Fail(ERROR_INVALID_INDEX, LONG_PTR{0});
}

BOOL GetClientRect(HWND window, LPRECT rect) {
    Call call = Call::Infallible("GetClientRect", window);
    const WindowRef ref = FindWindowRef(window);
    if (!ref)
        return call.Fail(ERROR_INVALID_WINDOW_HANDLE);
    *rect = ClientRectOf(*ref);
    return call.Return(TRUE);
}

BOOL GetWindowRect(HWND window, LPRECT rect) {
    Call call = Call::Infallible("GetWindowRect", window);
    const WindowRef ref = FindWindowRef(window);
    if (!ref)
        return call.Fail(ERROR_INVALID_WINDOW_HANDLE);
    const POINT at = ScreenPosition(window);
    const RECT size = ClientRectOf(*ref);
    *rect = {at.x, at.y, at.x + size.right, at.y + size.bottom};
    return call.Return(TRUE);
}

BOOL SetWindowPos(HWND window, HWND after, int x, int y, int width, int height, UINT flags) {
    Call call = Call::Infallible("SetWindowPos", window, after, static_cast<DWORD>(x), static_cast<DWORD>(y),
                                 static_cast<DWORD>(width), static_cast<DWORD>(height), flags);
    const WindowRef ref = FindWindowRef(window);
    if (!ref)
        return call.Fail(ERROR_INVALID_WINDOW_HANDLE);
    RECT& rect = ref->rect;
    const RECT old = rect;
    if (!(flags & SWP_NOMOVE)) {
        rect.left = x;
        rect.top = y;
    }
    const bool keep_size = (flags & SWP_NOSIZE) != 0;
    rect.right = rect.left + (keep_size ? old.right - old.left : width);
    rect.bottom = rect.top + (keep_size ? old.bottom - old.top : height);
    return call.Return(TRUE);
}

BOOL InvalidateRect(HWND window, const RECT* rect, BOOL erase) {
    Call call = Call::Infallible("InvalidateRect", window, static_cast<const void*>(rect), erase);
    Invalidate(window);
    return call.Return(TRUE);
}

BOOL EnumThreadWindows(DWORD thread, WNDENUMPROC visit, LPARAM parameter) {
    Call call = Call::Infallible("EnumThreadWindows", thread);
    std::vector<HWND> windows = TopLevelWindows();
    std::erase_if(windows, [&](HWND window) { return FindWindowRef(window)->thread != thread; });
    call.Unlock();
    BOOL go_on = TRUE;
    for (const HWND window : windows)
        if (go_on && FindWindowRef(window))  // some may be gone meanwhile
            go_on = visit(window, parameter);
    call.Relock();
    return call.Return(go_on);
}

LRESULT SendMessageW(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    Call call =
        Call::Infallible("SendMessageW", window, MessageName(window, message).c_str(), wparam, lparam);
    if (!FindWindowRef(window))
        return call.Fail(ERROR_INVALID_WINDOW_HANDLE, LRESULT{0});
    return call.Return(SendFrom(call, window, message, wparam, lparam));
}

HWND GetDlgItem(HWND dialog, int id) {
    Call call("GetDlgItem", dialog, static_cast<DWORD>(id));
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_CONTROL_ID_NOT_FOUND), HWND{});
    const HWND control = ChildWithId(dialog, id);
    return control ? call.Return(control) : call.Fail(ERROR_CONTROL_ID_NOT_FOUND, HWND{});
}

int GetDlgCtrlID(HWND window) {
    Call call = Call::Infallible("GetDlgCtrlID", window);
    const WindowRef ref = FindWindowRef(window);
    return ref ? call.Return(ref->id) : call.Fail(ERROR_INVALID_WINDOW_HANDLE, 0);
}

BOOL GetComboBoxInfo(HWND box, PCOMBOBOXINFO info) {
    Call call("GetComboBoxInfo", box);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_INVALID_PARAMETER));
    return SendFrom(call, box, CB_GETCOMBOBOXINFO, 0, ToLparam(info)) != FALSE
               ? call.Return(TRUE)
               : call.Fail(ERROR_INVALID_PARAMETER);
}

HICON LoadIconW(HINSTANCE instance, LPCWSTR name) {
    Call call("LoadIconW", instance, static_cast<const void*>(name));
    if (call.Faulted() || (instance && FindModuleResource(instance, name, RT_GROUP_ICON).empty()))
        return call.Fail(call.FaultError(ERROR_RESOURCE_NAME_NOT_FOUND), HICON{});
    // Shared by everybody who loads it, and not to be destroyed: the name itself stands for it.
    return call.Return(reinterpret_cast<HICON>(reinterpret_cast<ULONG_PTR>(name)));
}

HCURSOR LoadCursorW(HINSTANCE instance, LPCWSTR name) {
    Call call("LoadCursorW", instance, static_cast<const void*>(name));
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_RESOURCE_NAME_NOT_FOUND), HCURSOR{});
    return call.Return(reinterpret_cast<HCURSOR>(reinterpret_cast<ULONG_PTR>(name)));
}

HCURSOR SetCursor(HCURSOR cursor) {
    Call call = Call::Infallible("SetCursor", cursor);
    thread_local HCURSOR current = nullptr;
    return call.Return(std::exchange(current, cursor));
}

}  // namespace qxsim
