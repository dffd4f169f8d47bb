// SPDX-License-Identifier: MIT
// Windows as the desktop keeps them, and what can be done with them below the platform's names. Nothing in
// here makes a call record: the platform calls do, and everything they have in common is here.
//
// Windows belong to the thread that made them and are only touched by it; the table of windows is shared and
// guarded. Window procedures are always called without the computer's lock.
#pragma once

#include <windows.h>

#include "platform/desktop/desktop.h"
#include "platform/machine/instruments.h"

#include <memory>
#include <string>
#include <vector>

namespace qxsim {

struct Window;
using WindowRef = std::shared_ptr<Window>;

// What a built-in window class does: its state and its answers to messages.
class Control {
  public:
    explicit Control(Window& window) : window_(window) {}
    virtual ~Control() = default;
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    // Answers a message; what it does not know goes to DefaultProcedure.
    virtual LRESULT Message(UINT message, WPARAM wparam, LPARAM lparam);
    // Adds what a control of this class shows.
    virtual void Describe(ControlPicture& picture) const;

  protected:
    // Tells the parent of a notification code of WM_COMMAND.
    LRESULT NotifyParent(UINT code) const;

    Window& window_;
};

struct WindowClass {
    WideString name;
    WNDPROC procedure = nullptr;
    HINSTANCE instance = nullptr;
    std::unique_ptr<Control> (*make_control)(Window&) = nullptr;  // of built-in classes
};

struct Window {
    HWND handle = nullptr;
    std::shared_ptr<const WindowClass> window_class;
    WideString text;
    DWORD style = 0;
    DWORD ex_style = 0;
    int id = 0;
    HWND parent = nullptr;  // of children; null for top-level windows
    HWND owner = nullptr;   // of top-level windows
    HINSTANCE instance = nullptr;
    RECT rect{};   // in pixels, in the parent's client area or on the screen
    RECT units{};  // in dialog units, when made from a template
    WNDPROC procedure = nullptr;
    HFONT font = nullptr;  // null for the dialog font
    std::unique_ptr<Control> control;
    std::vector<HWND> children;  // in tab order
    unsigned process = 1;
    DWORD thread = 0;
    WindowKind kind = WindowKind::kOther;
    std::string resource;  // the picture that the template names
    std::uint64_t activation_context = 0;
    bool in_ledger = false;
    bool dirty = false;  // waits for WM_PAINT
    bool being_destroyed = false;

    // Of dialogs.
    DLGPROC dialog_procedure = nullptr;
    LONG_PTR message_result = 0;
    LONG_PTR dialog_data = 0;
    bool is_dialog = false;

    [[nodiscard]] bool Visible() const { return (style & WS_VISIBLE) != 0; }
    [[nodiscard]] bool Enabled() const { return (style & WS_DISABLED) == 0; }
    [[nodiscard]] bool IsChild() const { return (style & WS_CHILD) != 0; }
};

// How a new window is to be.
struct NewWindow {
    WideString class_name;
    WideString text;
    DWORD style = 0;
    DWORD ex_style = 0;
    RECT rect{};
    RECT units{};
    HWND parent = nullptr;  // parent of a child, owner of another
    int id = 0;
    HINSTANCE instance = nullptr;
    LPVOID create_parameter = nullptr;
    WindowKind kind = WindowKind::kOther;
    std::string resource;
};

// The window of a handle; null when there is none.
[[nodiscard]] WindowRef FindWindowRef(HWND window);

// Makes a window, sends WM_NCCREATE and WM_CREATE; null, with the last error's code in `error`, when the
// class is unknown, the parent is no window or the window refuses. A `call` enters it into the ledger. The
// caller must hold no lock of the computer.
[[nodiscard]] HWND MakeWindow(const NewWindow& description, DWORD& error, Call* call);
// Destroys a window, what it owns and its children, with the messages that go with it.
void Destroy(HWND window, Call& call);

// Calls a window's procedure on behalf of the window's process; 0 for what is no window.
LRESULT Send(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
// Any window procedure, likewise.
LRESULT CallProcedure(WNDPROC procedure, HWND window, UINT message, WPARAM wparam, LPARAM lparam);
// What the platform does with messages that a window leaves to it.
LRESULT DefaultProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
// What a dialog does with messages: first its dialog procedure, then the rest.
LRESULT DialogProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
// The procedure of all built-in classes.
LRESULT ControlProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

// --- state ---
void Show(HWND window, bool show);
void Enable(HWND window, bool enable);
void Focus(HWND window);
[[nodiscard]] HWND FocusedWindow();
// The thread's window in front.
[[nodiscard]] HWND ActiveWindow();
void BringToFront(HWND window);
[[nodiscard]] WideString TextOf(HWND window);
void SetText(HWND window, const WideString& text);
[[nodiscard]] HWND RootOf(HWND window);
// The child of a dialog with an id; null when there is none.
[[nodiscard]] HWND ChildWithId(HWND dialog, int id);
[[nodiscard]] POINT ScreenPosition(HWND window);
// Visible windows also need visible parents.
[[nodiscard]] bool ShownOnScreen(HWND window);
void Invalidate(HWND window);
// Sends WM_PAINT to the invalid windows of the thread that draw themselves.
void PaintInvalid();
// Top-level windows, the one in front first.
[[nodiscard]] std::vector<HWND> TopLevelWindows();

// --- classes ---
[[nodiscard]] std::shared_ptr<const WindowClass> FindWindowClass(const WideString& name);

// Forgets all windows.
void ForgetWindows();

// Answers WM_GETTEXT, and messages like it.
LRESULT AnswerText(WideView text, WPARAM room, LPARAM buffer);

template <typename Value>
[[nodiscard]] Value* PointerOf(LPARAM lparam) {
    return reinterpret_cast<Value*>(lparam);
}
template <typename Value>
[[nodiscard]] LPARAM ToLparam(Value* pointer) {
    return reinterpret_cast<LPARAM>(pointer);
}

}  // namespace qxsim
