// SPDX-License-Identifier: MIT
#include "tests/windows/installed_port.h"

#include <newdev.h>

#include <vector>

namespace qxtest {

namespace {

constexpr GUID kPortsClass = {0x4d36e978, 0xe325, 0x11ce, {0xbf, 0xc1, 0x08, 0x00, 0x2b, 0xe1, 0x03, 0x18}};
constexpr wchar_t kHardwareId[] = L"ROOT\\QXTESTPORT\0";  // a list: the literal's own NUL ends it

}  // namespace

std::wstring BesideProgram(const std::wstring& name) {
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
    return (std::filesystem::path(path).parent_path() / name).wstring();
}

bool WaitForDeviceServices() {
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
    bool running = false;
    for (int tries = 0; manager != nullptr && tries < 300 && !running; ++tries) {
        if (const SC_HANDLE service = OpenServiceW(manager, L"PlugPlay", SERVICE_QUERY_STATUS)) {
            SERVICE_STATUS status = {};
            running = QueryServiceStatus(service, &status) && status.dwCurrentState == SERVICE_RUNNING;
            CloseServiceHandle(service);
        }
        if (!running)
            Sleep(100);
    }
    if (manager != nullptr)
        CloseServiceHandle(manager);
    return running;
}

InstalledPort::InstalledPort(const std::wstring& com_name) {
    element_.cbSize = sizeof(element_);
    set_ = SetupDiCreateDeviceInfoList(&kPortsClass, nullptr);
    BOOL restart = FALSE;
    const std::wstring inf = BesideProgram(L"driver\\qxtestport.inf");
    if (!Step(WaitForDeviceServices(), L"waiting for the device services") ||
        !Step(SetupDiCreateDeviceInfoW(set_, L"QXTESTPORT", &kPortsClass, L"Test serial port", nullptr,
                                       DICD_GENERATE_ID, &element_),
              L"creating the device") ||
        !Step(SetupDiSetDeviceRegistryPropertyW(set_, &element_, SPDRP_HARDWAREID,
                                                reinterpret_cast<const BYTE*>(kHardwareId),
                                                sizeof(kHardwareId)),
              L"writing the hardware id") ||
        !Step(SetupDiCallClassInstaller(DIF_REGISTERDEVICE, set_, &element_), L"registering the device"))
        return;
    const HKEY key =
        SetupDiCreateDevRegKeyW(set_, &element_, DICS_FLAG_GLOBAL, 0, DIREG_DEV, nullptr, nullptr);
    if (!Step(key != INVALID_HANDLE_VALUE, L"making the hardware key"))
        return;
    RegSetValueExW(key, L"PortName", 0, REG_SZ, reinterpret_cast<const BYTE*>(com_name.c_str()),
                   static_cast<DWORD>((com_name.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(key);
    Step(UpdateDriverForPlugAndPlayDevicesW(nullptr, kHardwareId, inf.c_str(), INSTALLFLAG_FORCE, &restart),
         L"installing the driver package");
}

InstalledPort::~InstalledPort() {
    SetupDiCallClassInstaller(DIF_REMOVE, set_, &element_);
    SetupDiDestroyDeviceInfoList(set_);
}

std::wstring InstalledPort::DriverKeyText(const wchar_t* value) const {
    SP_DEVINFO_DATA element = element_;
    const HKEY key = SetupDiOpenDevRegKey(set_, &element, DICS_FLAG_GLOBAL, 0, DIREG_DRV, KEY_READ);
    if (key == INVALID_HANDLE_VALUE)
        return {};
    std::vector<wchar_t> text(256);
    DWORD size = static_cast<DWORD>((text.size() - 1) * sizeof(wchar_t));
    const LSTATUS result =
        RegQueryValueExW(key, value, nullptr, nullptr, reinterpret_cast<BYTE*>(text.data()), &size);
    RegCloseKey(key);
    return result == ERROR_SUCCESS ? std::wstring(text.data()) : std::wstring();
}

bool InstalledPort::Step(bool worked, const wchar_t* what) {
    if (!worked)
        problem_ = std::wstring(what) + L" failed, error " + std::to_wstring(GetLastError());
    return worked;
}

}  // namespace qxtest
