// SPDX-License-Identifier: MIT
// A serial port on this computer, installed from its INF with the test port driver.
#pragma once

#include <windows.h>

#include <setupapi.h>

#include <filesystem>
#include <string>

namespace qxtest {

// The path of a file that lies beside this program.
[[nodiscard]] std::wstring BesideProgram(const std::wstring& name);

// Waits until the services that install devices run: a program may come before them when the system has just
// started. False when they do not come.
[[nodiscard]] bool WaitForDeviceServices();

// Installs a port under the root of the device tree as an installer does: device, hardware key with the COM
// name, then the driver package in the folder "driver" beside this program. Uninstalls it at the end.
class InstalledPort {
  public:
    explicit InstalledPort(const std::wstring& com_name);
    ~InstalledPort();
    InstalledPort(const InstalledPort&) = delete;
    InstalledPort& operator=(const InstalledPort&) = delete;

    // Which step did not work, with its error code; empty when the port is there.
    [[nodiscard]] const std::wstring& problem() const { return problem_; }
    [[nodiscard]] HDEVINFO set() const { return set_; }
    [[nodiscard]] const SP_DEVINFO_DATA& element() const { return element_; }
    // A text from the driver's own key: "EnumPropPages32" ...; empty when it has none.
    [[nodiscard]] std::wstring DriverKeyText(const wchar_t* value) const;

  private:
    bool Step(bool worked, const wchar_t* what);

    HDEVINFO set_ = INVALID_HANDLE_VALUE;
    SP_DEVINFO_DATA element_{};
    std::wstring problem_;
};

}  // namespace qxtest
