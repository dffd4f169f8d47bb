// SPDX-License-Identifier: MIT
// Dialogs made from the templates of a resource script.
#pragma once

#include "platform/process/modules.h"
#include "platform/desktop/window.h"

#include <optional>

namespace qxsim {

struct TemplateItem {
    DWORD style = 0;
    DWORD ex_style = 0;
    RECT units{};
    int id = 0;
    WideString class_name;
    WideString text;
    WORD picture = 0;  // the resource that the text names by number
};

struct DialogTemplate {
    DWORD style = 0;
    DWORD ex_style = 0;
    int width = 0;  // in dialog units
    int height = 0;
    WideString caption;
    std::vector<TemplateItem> items;
};

// A template of a DIALOGEX statement; nothing when the bytes are none.
[[nodiscard]] std::optional<DialogTemplate> ReadDialogTemplate(ResourceBytes bytes);

// The size of a dialog unit with the dialog font, in pixels: a rectangle of dialog units scaled by it, as
// MapDialogRect does.
[[nodiscard]] RECT UnitsToPixels(const RECT& units);

struct NewDialog {
    HINSTANCE instance = nullptr;
    HWND parent = nullptr;
    DLGPROC procedure = nullptr;
    LPARAM parameter = 0;
    POINT position{};  // in the parent
};

// Makes a page, a dialog without a frame, with its controls and sends it WM_INITDIALOG; null with an error
// code when a window cannot be made. The caller must hold no lock of the computer.
[[nodiscard]] HWND MakeDialog(const DialogTemplate& description, const NewDialog& dialog, DWORD& error,
                              Call* call);

// The first control that the Tab key reaches; null when there is none.
[[nodiscard]] HWND FirstTabStop(HWND dialog);

}  // namespace qxsim
