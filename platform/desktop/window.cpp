// SPDX-License-Identifier: MIT
#include "platform/desktop/window.h"

#include "platform/process/activation_context.h"
#include "platform/desktop/controls.h"
#include "platform/desktop/drawing.h"

#include <algorithm>
#include <map>
#include <set>
#include <unordered_map>
#include <utility>

namespace qxsim {

namespace {

struct WindowTable {
    std::unordered_map<std::uintptr_t, WindowRef> windows;  // by handle, which nearly every call looks up
    std::vector<HWND> top_level;                            // the one in front last
    std::map<DWORD, HWND> focus;                            // by thread
    std::uintptr_t next_handle = 0x10010;
};

WindowTable& Table() {
    static WindowTable table;
    return table;
}

std::lock_guard<std::recursive_mutex> LockTable() {
    return std::lock_guard(Instruments::The().Lock());
}

// The windows that a window owns.
std::vector<HWND> OwnedBy(HWND owner) {
    const auto lock = LockTable();
    std::vector<HWND> owned;
    for (const HWND window : Table().top_level)
        if (const WindowRef ref = FindWindowRef(window); ref && ref->owner == owner)
            owned.push_back(window);
    return owned;
}

}  // namespace

LRESULT Control::Message(UINT message, WPARAM wparam, LPARAM lparam) {
    return DefaultProcedure(window_.handle, message, wparam, lparam);
}

void Control::Describe(ControlPicture&) const {}

LRESULT Control::NotifyParent(UINT code) const {
    return Send(window_.parent, WM_COMMAND, MAKEWPARAM(window_.id, code), ToLparam(window_.handle));
}

WindowRef FindWindowRef(HWND window) {
    const auto lock = LockTable();
    const auto found = Table().windows.find(reinterpret_cast<std::uintptr_t>(window));
    return found == Table().windows.end() ? nullptr : found->second;
}

HWND MakeWindow(const NewWindow& description, DWORD& error, Call* call) {
    const std::shared_ptr<const WindowClass> window_class = FindWindowClass(description.class_name);
    if (!window_class) {
        error = ERROR_CANNOT_FIND_WND_CLASS;
        return nullptr;
    }
    const bool child = (description.style & WS_CHILD) != 0;
    const WindowRef parent = FindWindowRef(description.parent);
    if (child && !description.parent) {
        error = ERROR_TLW_WITH_WSCHILD;
        return nullptr;
    }
    if (description.parent && !parent) {
        error = ERROR_INVALID_WINDOW_HANDLE;
        return nullptr;
    }
    const auto window = std::make_shared<Window>();
    window->window_class = window_class;
    window->text = description.text;
    window->style = description.style & ~static_cast<DWORD>(WS_VISIBLE);
    window->ex_style = description.ex_style;
    window->id = description.id;
    window->parent = child ? description.parent : nullptr;
    window->owner = child || !description.parent ? nullptr : RootOf(description.parent);
    window->instance = description.instance;
    window->rect = description.rect;
    window->units = description.units;
    window->procedure = window_class->procedure;
    window->process = CurrentSimulatedProcess();
    window->thread = CurrentThreadNumber();
    window->kind = description.kind;
    window->resource = description.resource;
    window->activation_context = ActiveContext();
    {
        const auto lock = LockTable();
        window->handle = reinterpret_cast<HWND>(Table().next_handle);
        Table().next_handle += 2;
        Table().windows[reinterpret_cast<std::uintptr_t>(window->handle)] = window;
        if (child)
            parent->children.push_back(window->handle);
        else
            Table().top_level.push_back(window->handle);
        if (call) {
            call->Opened("window", window->handle);
            window->in_ledger = true;
        }
    }
    if (window_class->make_control)
        window->control = window_class->make_control(*window);

    CREATESTRUCTW creation{};
    creation.lpCreateParams = description.create_parameter;
    creation.hInstance = description.instance;
    creation.hMenu = reinterpret_cast<HMENU>(static_cast<LONG_PTR>(description.id));
    creation.hwndParent = description.parent;
    creation.x = description.rect.left;
    creation.y = description.rect.top;
    creation.cx = description.rect.right - description.rect.left;
    creation.cy = description.rect.bottom - description.rect.top;
    creation.style = static_cast<LONG>(description.style);
    creation.lpszName = description.text.c_str();
    creation.lpszClass = window_class->name.c_str();
    creation.dwExStyle = description.ex_style;
    const HWND handle = window->handle;
    if (Send(handle, WM_NCCREATE, 0, ToLparam(&creation)) == FALSE ||
        Send(handle, WM_CREATE, 0, ToLparam(&creation)) == -1) {
        Call refused = Call::Infallible("DestroyWindow", handle);
        Destroy(handle, refused);
        error = ERROR_CANCELLED;
        return nullptr;
    }
    if (description.style & WS_VISIBLE)
        Show(handle, true);
    return handle;
}

void Destroy(HWND handle, Call& call) {
    const WindowRef window = FindWindowRef(handle);
    if (!window || window->being_destroyed)
        return;
    window->being_destroyed = true;
    for (const HWND owned : OwnedBy(handle))
        Destroy(owned, call);
    call.Unlock();
    window->style &= ~static_cast<DWORD>(WS_VISIBLE);
    Send(handle, WM_DESTROY, 0, 0);
    call.Relock();
    while (!window->children.empty())
        Destroy(window->children.back(), call);
    call.Unlock();
    Send(handle, WM_NCDESTROY, 0, 0);
    call.Relock();

    WindowTable& table = Table();
    if (const WindowRef parent = FindWindowRef(window->parent))
        std::erase(parent->children, handle);
    std::erase(table.top_level, handle);
    if (table.focus[window->thread] == handle)
        table.focus[window->thread] = nullptr;
    table.windows.erase(reinterpret_cast<std::uintptr_t>(handle));
    if (window->in_ledger)
        call.Closed("window", handle);
}

LRESULT CallProcedure(WNDPROC procedure, HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    const WindowRef ref = FindWindowRef(window);
    if (!ref || !procedure)
        return 0;
    const SimulatedProcess owner(ref->process);
    return procedure(window, message, wparam, lparam);
}

LRESULT Send(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    const WindowRef ref = FindWindowRef(window);
    return ref ? CallProcedure(ref->procedure, window, message, wparam, lparam) : 0;
}

LRESULT ControlProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    const WindowRef ref = FindWindowRef(window);
    if (!ref)
        return 0;
    return ref->control ? ref->control->Message(message, wparam, lparam)
                        : DefaultProcedure(window, message, wparam, lparam);
}

LRESULT DefaultProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    const WindowRef ref = FindWindowRef(window);
    if (!ref)
        return 0;
    switch (message) {
        case WM_NCCREATE:
            return TRUE;
        case WM_SETTEXT:
            ref->text = lparam ? PointerOf<const WCHAR>(lparam) : u"";
            ref->dirty = true;
            return TRUE;
        case WM_GETTEXT:
            return AnswerText(ref->text, wparam, lparam);
        case WM_GETTEXTLENGTH:
            return static_cast<LRESULT>(ref->text.size());
        case WM_SETFONT:
            ref->font = reinterpret_cast<HFONT>(wparam);
            ref->dirty = true;
            return 0;
        case WM_GETFONT:
            return ToLparam(ref->font ? ref->font : DialogFontHandle());
        case WM_PAINT:
            ref->dirty = false;
            return 0;
        case WM_HELP:
            // Help is asked of the control first and travels up to whoever knows an answer.
            return ref->parent ? Send(ref->parent, message, wparam, lparam) : TRUE;
        default:
            return 0;
    }
}

void Show(HWND window, bool show) {
    const WindowRef ref = FindWindowRef(window);
    if (!ref || ref->Visible() == show)
        return;
    Send(window, WM_SHOWWINDOW, show ? TRUE : FALSE, 0);
    if (show) {
        ref->style |= WS_VISIBLE;
        ref->dirty = true;
        if (!ref->IsChild())
            BringToFront(window);
    } else {
        ref->style &= ~static_cast<DWORD>(WS_VISIBLE);
        if (FocusedWindow() == window)
            Focus(nullptr);
    }
}

void Enable(HWND window, bool enable) {
    const WindowRef ref = FindWindowRef(window);
    if (!ref || ref->Enabled() == enable)
        return;
    if (enable)
        ref->style &= ~static_cast<DWORD>(WS_DISABLED);
    else
        ref->style |= WS_DISABLED;
    Send(window, WM_ENABLE, enable ? TRUE : FALSE, 0);
}

void Focus(HWND window) {
    HWND old = nullptr;
    {
        const auto lock = LockTable();
        old = std::exchange(Table().focus[CurrentThreadNumber()], window);
    }
    if (old == window)
        return;
    if (old)
        Send(old, WM_KILLFOCUS, reinterpret_cast<WPARAM>(window), 0);
    if (window)
        Send(window, WM_SETFOCUS, reinterpret_cast<WPARAM>(old), 0);
}

HWND FocusedWindow() {
    const auto lock = LockTable();
    return Table().focus[CurrentThreadNumber()];
}

HWND ActiveWindow() {
    const auto lock = LockTable();
    for (const HWND window : TopLevelWindows()) {
        const WindowRef ref = FindWindowRef(window);
        if (ref->thread == CurrentThreadNumber() && ref->Visible() && ref->kind != WindowKind::kOther)
            return window;
    }
    return nullptr;
}

void BringToFront(HWND window) {
    const auto lock = LockTable();
    std::vector<HWND>& windows = Table().top_level;
    if (std::erase(windows, window) != 0)
        windows.push_back(window);
}

WideString TextOf(HWND window) {
    WideString text(static_cast<std::size_t>(Send(window, WM_GETTEXTLENGTH, 0, 0)), u'\0');
    const LRESULT copied = Send(window, WM_GETTEXT, text.size() + 1, ToLparam(text.data()));
    text.resize(static_cast<std::size_t>(copied));
    return text;
}

void SetText(HWND window, const WideString& text) {
    Send(window, WM_SETTEXT, 0, ToLparam(text.c_str()));
}

HWND RootOf(HWND window) {
    WindowRef ref = FindWindowRef(window);
    while (ref && ref->parent)
        ref = FindWindowRef(ref->parent);
    return ref ? ref->handle : nullptr;
}

HWND ChildWithId(HWND dialog, int id) {
    const WindowRef ref = FindWindowRef(dialog);
    if (ref)
        for (const HWND child : ref->children)
            if (const WindowRef found = FindWindowRef(child); found && found->id == id)
                return child;
    return nullptr;
}

POINT ScreenPosition(HWND window) {
    POINT position{};
    for (WindowRef ref = FindWindowRef(window); ref; ref = FindWindowRef(ref->parent)) {
        position.x += ref->rect.left;
        position.y += ref->rect.top;
    }
    return position;
}

bool ShownOnScreen(HWND window) {
    WindowRef ref = FindWindowRef(window);
    if (!ref)
        return false;
    for (; ref; ref = FindWindowRef(ref->parent))
        if (!ref->Visible())
            return false;
    return true;
}

void Invalidate(HWND window) {
    if (const WindowRef ref = FindWindowRef(window))
        ref->dirty = true;
}

void PaintInvalid() {
    std::vector<WindowRef> waiting;
    {
        const auto lock = LockTable();
        for (const auto& [handle, window] : Table().windows)
            if (window->thread == CurrentThreadNumber() && window->dirty &&
                window->procedure != window->window_class->procedure)
                waiting.push_back(window);
    }
    // In the order in which they were made.
    std::ranges::sort(waiting, {}, &Window::handle);
    for (const WindowRef& window : waiting)
        if (ShownOnScreen(window->handle)) {
            window->dirty = false;
            Send(window->handle, WM_PAINT, 0, 0);
        }
}

std::vector<HWND> TopLevelWindows() {
    const auto lock = LockTable();
    std::vector<HWND> windows = Table().top_level;
    std::ranges::reverse(windows);
    return windows;
}

std::shared_ptr<const WindowClass> FindWindowClass(const WideString& name) {
    for (const auto& built_in : BuiltInClasses())
        if (EqualsCaseless(built_in->name, name))
            return built_in;
    return nullptr;
}

void ForgetWindows() {
    const auto lock = LockTable();
    const std::uintptr_t next = Table().next_handle;
    Table() = WindowTable{};
    Table().next_handle = next;
}

LRESULT AnswerText(WideView text, WPARAM room, LPARAM buffer) {
    return static_cast<LRESULT>(CopyText(text, room, PointerOf<WCHAR>(buffer)));
}

}  // namespace qxsim
