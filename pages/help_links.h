// SPDX-License-Identifier: MIT
// The pages' links into the help file.
#pragma once

#include <windows.h>

#include <span>

namespace qx {

// A control and the number under which the help file's popup texts know it. A map is handed to the help
// viewer as it stands, in the viewer's own layout: pairs, ended by a pair of zeros.
struct HelpId {
    DWORD control;
    DWORD context;
};

// The help of one page.
struct PageHelp {
    // Topic formats; %s stands for the help file. The second is for RS-422/485 ports.
    const WCHAR* topic;
    const WCHAR* rs422_485_topic;
    std::span<const HelpId> map;
};

extern const PageHelp kPortSettingsHelp;
extern const PageHelp kComNumberHelp;
extern const PageHelp kUsbSettingsHelp;
extern const PageHelp kRs422485Help;

// Opens the page's topic in the help viewer. A missing viewer or file shows nothing.
void OpenHelpTopic(HWND page, const PageHelp& help, bool rs422_485_port);

// Shows the popup text for the control that a help request (F1, or "?" and a click) names. A request for a
// part of a control is one for the control. Controls that the page's map does not list have no help.
void ShowControlHelp(HWND page, const PageHelp& help, const HELPINFO& request);

// Calls the help viewer, which is looked for and loaded by the first call of the process and stays loaded,
// because its windows may outlive every page. Null when the viewer is missing, which is looked up once as
// well.
HWND CallHelpViewer(HWND owner, const WCHAR* path, UINT command, DWORD_PTR data);

}  // namespace qx
