// SPDX-License-Identifier: MIT
// The simulated desktop, as tests and the host program see it: who sits in front of it, what is on it, and
// what was asked of it. The library under test sees none of this; it makes the platform's calls.
//
// The desktop is driven with the platform's own messages (BM_CLICK, CB_SETCURSEL, WM_CHAR, TBM_SETPOS with
// WM_HSCROLL, TCM and PSM messages, WM_CLOSE ...), so one user script works on it and on the real thing. What
// a message cannot tell (the pointer resting on a control, the kind of a message box) is asked for here.
#pragma once

#include "platform/machine/instruments.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace qxsim {

// An entry of a choice box.
struct ChoiceEntry {
    std::string text;
    std::uint64_t data = 0;  // what CB_SETITEMDATA stored
};

// One control as it stands on the desktop. Texts are UTF-8.
struct ControlPicture {
    HWND window = nullptr;
    std::string class_name;  // "Button", "Static", "ComboBox", "Edit", "msctls_trackbar32" ...
    std::string kind;  // "push button", "check box", "radio button", "group box", "label", "picture", "choice
                       // box", "editable choice box", "edit", "slider", "tab", "other"
    int id = 0;        // -1 for labels without one
    std::string text;  // caption with its ampersands, or what an edit or choice box shows
    RECT units{};      // in dialog units relative to the dialog; empty for controls not made from a template
    RECT pixels{};     // relative to the dialog's client area
    DWORD style = 0;
    bool visible = false;  // by its own style, whatever its page is
    bool enabled = false;
    bool focused = false;
    std::optional<int> check;                    // BST_ value of check boxes and radio buttons
    std::vector<ChoiceEntry> entries;            // of choice boxes
    int selection = -1;                          // of choice boxes and tabs
    int minimum = 0, maximum = 0, position = 0;  // of sliders
    std::string resource;                        // of pictures from the template: "icon 5", "bitmap 201"
    bool underlined = false;                     // by the control's own font
};

// What a dialog answers to a colour request.
struct ControlColors {
    COLORREF background = CLR_INVALID;  // of the brush; CLR_INVALID when there is none
    COLORREF text = 0;
    bool transparent = false;  // text is drawn without a background of its own
};

// What kind of window a top-level window is.
enum class WindowKind { kDialog, kSheet, kMessageBox, kOther };

// A top-level window, or one page, with the controls directly on it.
struct WindowPicture {
    HWND window = nullptr;
    WindowKind kind = WindowKind::kOther;
    std::string caption;
    int left = 0, top = 0;      // in pixels; of pages in their sheet
    int width = 0, height = 0;  // of the client area in pixels
    int width_units = 0, height_units = 0;
    bool enabled = true;
    std::vector<ControlPicture> controls;  // in tab order
    std::vector<std::string> tabs;         // of sheets
    int current_tab = -1;                  // of sheets
    std::vector<WindowPicture> pages;      // of sheets: the pages whose windows exist, in tab order
    HWND current_page = nullptr;           // of sheets
    std::uint64_t activation_context = 0;  // that was active when the window was made; 0 for none
};

// A message box, as it was shown.
struct ShownBox {
    HWND window = nullptr;  // while it is open
    HWND owner = nullptr;
    std::string caption;
    std::string text;
    UINT type = 0;         // MB_ flags
    int answer = 0;        // ID of the button that closed it; 0 while it is open
    unsigned process = 0;  // the simulated process that showed it
};

// The tip that a control shows when the pointer rests on it.
struct ShownTip {
    std::string title;
    std::string text;
    int icon = 0;        // TTI_ value
    int max_width = -1;  // in pixels; -1 for one line
    bool balloon = false;
    bool closable = false;
    int initial_delay = 0, reshow_delay = 0, visible_time = 0;  // milliseconds
};

// A request to the help viewer.
struct HelpRequest {
    HWND caller = nullptr;
    std::string file;
    UINT command = 0;
    std::vector<std::pair<DWORD, DWORD>> map;  // control ids and context ids, of the context help command
    DWORD shown_context = 0;                   // the context id of the caller in that map; 0 for none
};

// A request to open a document or address.
struct ShellRequest {
    std::string operation, file, parameters, directory;
    int show = 0;
};

class Desktop {
  public:
    static Desktop& The();

    // Closes every window, forgets records and settings; modules that are loaded stay loaded.
    void Reset();

    // --- the user ---
    // `user` is called whenever a modal loop has nothing to do, in nested loops re-entrantly, on the thread
    // of the loop; what it does counts as another process's calls (kUserProcess). It answers false when it
    // has nothing more to do: then, and when there is no user, the loop is closed with Cancel (or No, or OK,
    // whatever the window has) and RanOutOfScript notes which window was left open.
    void SetUser(std::function<bool()> user);
    static constexpr unsigned kUserProcess = 1000;
    // Answers message boxes before any user is asked: the ID of a button of the box, or 0 to leave it to the
    // user.
    void SetAnswers(std::function<int(const ShownBox&)> answers);
    [[nodiscard]] std::vector<std::string> RanOutOfScript() const;

    // Lets the pointer rest on a control: the tooltip asks for its text as it does on the screen. Nothing
    // when no tooltip serves the control.
    [[nodiscard]] std::optional<ShownTip> HoverTip(HWND control);
    // Presses F1 with the focus on a control, or clicks it with the "?" pointer.
    void PressHelp(HWND control);

    // --- what is on the desktop ---
    // Visible top-level windows of all threads, the one in front first.
    [[nodiscard]] std::vector<HWND> OpenWindows() const;
    [[nodiscard]] HWND TopWindow() const;
    [[nodiscard]] WindowKind KindOf(HWND window) const;
    [[nodiscard]] WindowPicture Picture(HWND window) const;
    // The colours that a dialog gives itself or one of its controls, asked for as for drawing.
    [[nodiscard]] ControlColors ColorsOf(HWND window) const;
    // Their background; CLR_INVALID when the dialog leaves it to the platform.
    [[nodiscard]] COLORREF BackgroundOf(HWND window) const { return ColorsOf(window).background; }

    // --- what was asked of it ---
    [[nodiscard]] std::vector<ShownBox> Boxes() const;
    [[nodiscard]] std::vector<HelpRequest> HelpRequests() const;
    [[nodiscard]] std::vector<ShellRequest> ShellRequests() const;
    [[nodiscard]] std::vector<UINT> Beeps() const;  // MessageBeep types

    // --- settings ---
    void SetShellResult(int result);  // what ShellExecuteW answers; above 32 is success, 42 by default

  private:
    Desktop() = default;
};

}  // namespace qxsim
