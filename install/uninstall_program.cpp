// SPDX-License-Identifier: MIT
#include "install/uninstall_program.h"

#include "base/handles.h"
#include "base/text.h"
#include "device_records/registry_layout.h"
#include "install/device_helpers.h"

#include <array>

namespace qx {

bool RunUninstallProgram(HDEVINFO device_set, const SP_DEVINFO_DATA& adapter, bool wait) {
    constexpr DWORD kLongestWait = 60000;  // ms

    std::array<WCHAR, MAX_PATH> directory{};
    const UINT length = GetSystemDirectoryW(directory.data(), static_cast<UINT>(directory.size()));
    DeviceString program;
    if (!ReadDeviceString(device_set, adapter, kUnInstall, program))
        return true;
    // Without its directory the name would be looked for at the root of whatever drive is current, where
    // anyone may have put a program; and this one would run with the installer's rights.
    if (length == 0 || length >= directory.size())
        return true;
    const Text path = Text(directory.data()) + Text(TEXT("\\")) + Text(program.view());

    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(path.c_str(), nullptr, nullptr, nullptr, TRUE, NORMAL_PRIORITY_CLASS, nullptr,
                        nullptr, &startup, &started))
        return true;
    const KernelObject process(started.hProcess);
    const KernelObject thread(started.hThread);
    if (wait)
        static_cast<void>(WaitForSingleObject(process.Get(), kLongestWait));
    return true;
}

}  // namespace qx
