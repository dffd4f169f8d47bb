// SPDX-License-Identifier: MIT
#include "pages/help_links.h"

#include "base/registry.h"
#include "base/text.h"
#include "module/resource.h"

#include <htmlhelp.h>

#include <algorithm>
#include <vector>

namespace qx {

namespace {

constexpr const WCHAR* kHelpFile = TEXT("QxUUI51.chm");
constexpr const WCHAR* kPopupTexts = TEXT("%s::/QxUUI.txt");

// Where the help viewer registers the library that it is made of.
constexpr const WCHAR* kViewerKey = TEXT("CLSID\\{ADB880A6-D8FF-11CF-9377-00AA003B7A11}\\InprocServer32");
constexpr const WCHAR* kViewerLibrary = TEXT("hhctrl.ocx");

constexpr HelpId kPortSettingsMap[] = {
    {IDC_BAUD_RATE, 0x806B0349},
    {IDC_BAUD_RATE_LABEL, 0x806B0349},
    {IDC_DATA_BITS, 0x806B034A},
    {IDC_DATA_BITS_LABEL, 0x806B034A},
    {IDC_PARITY, 0x806B034B},
    {IDC_PARITY_LABEL, 0x806B034B},
    {IDC_STOP_BITS, 0x806B034C},
    {IDC_STOP_BITS_LABEL, 0x806B034C},
    {IDC_FLOW_CONTROL, 0x806B034D},
    {IDC_FLOW_CONTROL_LABEL, 0x806B034D},
    {IDC_OVERRIDE_BAUD_RATE, 0x806B00CE},
    {IDC_OVERRIDE_DATA_BITS, 0x806B00CF},
    {IDC_OVERRIDE_PARITY, 0x806B00D0},
    {IDC_OVERRIDE_STOP_BITS, 0x806B00D1},
    {IDC_OVERRIDE_FLOW_CONTROL, 0x806B00D2},
    {IDC_CTS_TRUE, 0x806B00D3},
    {IDC_CTS_TRUE_LABEL, 0x806B00D3},
    {IDC_DSR_TRUE, 0x806B00CD},
    {IDC_DSR_TRUE_LABEL, 0x806B00CD},
    {IDC_RESTORE_DEFAULTS, 0x806B037C},
    {IDC_ADVANCED, 0x806B0348},
    {0, 0},
};

constexpr HelpId kComNumberMap[] = {
    {IDC_COM_NUMBER, 0x807300CA},
    {0, 0},
};

constexpr HelpId kUsbSettingsMap[] = {
    {IDC_POLICY_LATENCY, 0x806B034F},   {IDC_POLICY_CPU_USAGE, 0x806B0350},
    {IDC_LATENCY, 0x806B0351},          {IDC_LATENCY_VALUE, 0x806B0351},
    {IDC_LATENCY_TUNING, 0x806B0352},   {IDC_LATENCY_TUNING_LABEL, 0x806B0352},
    {IDC_CPU_USAGE_TUNING, 0x806B0353}, {IDC_LOWEST_LABEL, 0x806B0353},
    {IDC_RESTORE_DEFAULTS, 0x806B037C}, {0, 0},
};

constexpr HelpId kRs422485Map[] = {
    {IDC_DUPLEX_MODE, 0x806B034E},
    {IDC_RESTORE_DEFAULTS, 0x806B037C},
    {0, 0},
};

using ViewerEntry = HWND(WINAPI*)(HWND, LPCWSTR, UINT, DWORD_PTR);

// The path that the viewer registered; empty when there is none.
Text RegisteredViewer() {
    const RegistryKey key = OpenKey(HKEY_CLASSES_ROOT, kViewerKey, KEY_READ);
    if (!key)
        return {};
    DWORD type = 0;
    DWORD size = 0;
    if (RegQueryValueExW(key.Get(), nullptr, nullptr, &type, nullptr, &size) != ERROR_SUCCESS)
        return {};
    std::vector<WCHAR> buffer(size / sizeof(WCHAR) + 1);
    if (RegQueryValueExW(key.Get(), nullptr, nullptr, &type, reinterpret_cast<BYTE*>(buffer.data()), &size) !=
        ERROR_SUCCESS)
        return {};
    Text path = Text::FromBuffer(buffer.data(), size / sizeof(WCHAR));
    if (type == REG_SZ)
        return path;
    if (type != REG_EXPAND_SZ)
        return {};
    std::vector<WCHAR> expanded(ExpandEnvironmentStringsW(path.c_str(), nullptr, 0) + 1);
    const DWORD length =
        ExpandEnvironmentStringsW(path.c_str(), expanded.data(), static_cast<DWORD>(expanded.size()));
    return length ? Text::FromBuffer(expanded.data(), expanded.size()) : Text();
}

// Whether a path names one file, whatever the current directory and the search path are.
bool IsFullPath(TextView path) noexcept {
    return path.size() > 2 && ((path[1] == ':' && path[2] == '\\') || (path[0] == '\\' && path[1] == '\\'));
}

ViewerEntry LoadViewer() {
    Text library = RegisteredViewer();
    if (library.empty())
        library = kViewerLibrary;
    // Everything but a full path comes from the system directory alone: a library of that name beside the
    // program or in its current directory may have been put there by anybody.
    const DWORD search =
        IsFullPath(library.view()) ? LOAD_WITH_ALTERED_SEARCH_PATH : LOAD_LIBRARY_SEARCH_SYSTEM32;
    const HMODULE viewer = LoadLibraryExW(library.c_str(), nullptr, search);
    if (!viewer)
        return nullptr;
    // Its windows may outlive every page, so it is pinned to the process rather than held by us.
    HMODULE pinned = nullptr;
    if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN, library.c_str(), &pinned))
        FreeLibrary(viewer);
    return reinterpret_cast<ViewerEntry>(reinterpret_cast<void (*)()>(GetProcAddress(viewer, "HtmlHelpW")));
}

}  // namespace

const PageHelp kPortSettingsHelp{TEXT("%s::/StdPage.htm>mainwin"), TEXT("%s::/StdPage485.htm>mainwin"),
                                 kPortSettingsMap};
const PageHelp kComNumberHelp{TEXT("%s::/AdvDevice.htm>mainwin"), TEXT("%s::/AdvDevice485.htm>mainwin"),
                              kComNumberMap};
const PageHelp kUsbSettingsHelp{TEXT("%s::/USBPage.htm>mainwin"), TEXT("%s::/USBPage485.htm>mainwin"),
                                kUsbSettingsMap};
const PageHelp kRs422485Help{TEXT("%s::/422485Page.htm>mainwin"), TEXT("%s::/422485Page.htm>mainwin"),
                             kRs422485Map};

HWND CallHelpViewer(HWND owner, const WCHAR* path, UINT command, DWORD_PTR data) {
    static const ViewerEntry viewer = LoadViewer();
    return viewer ? viewer(owner, path, command, data) : nullptr;
}

void OpenHelpTopic(HWND page, const PageHelp& help, bool rs422_485_port) {
    const Text path = Format(rs422_485_port ? help.rs422_485_topic : help.topic, kHelpFile);
    CallHelpViewer(page, path.c_str(), HH_DISPLAY_TOPIC, 0);
}

void ShowControlHelp(HWND page, const PageHelp& help, const HELPINFO& request) {
    if (request.iContextType != HELPINFO_WINDOW || request.iCtrlId == -1)
        return;
    const auto has_help = [&help](int control) {
        return control != 0 && std::any_of(help.map.begin(), help.map.end(), [control](const HelpId& entry) {
                   return entry.control == static_cast<DWORD>(control);
               });
    };
    auto window = static_cast<HWND>(request.hItemHandle);
    if (!has_help(request.iCtrlId)) {
        // The field of an editable choice box is a window of its own, which the map does not know.
        window = GetParent(window);
        if (!window || window == page || !has_help(GetDlgCtrlID(window)))
            return;
    }
    const Text path = Format(kPopupTexts, kHelpFile);
    CallHelpViewer(window, path.c_str(), HH_TP_HELP_WM_HELP, reinterpret_cast<DWORD_PTR>(help.map.data()));
}

}  // namespace qx
