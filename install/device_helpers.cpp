// SPDX-License-Identifier: MIT
#include "install/device_helpers.h"

#include "base/registry.h"

namespace qx {

namespace {

// Hands the class installer the request to bring the device to `state` for every hardware profile or, where
// that is refused, for the current one.
bool RequestState(HDEVINFO device_set, SP_DEVINFO_DATA& device, DWORD state) {
    for (const DWORD scope : {DWORD{DICS_FLAG_GLOBAL}, DWORD{DICS_FLAG_CONFIGSPECIFIC}}) {
        SP_PROPCHANGE_PARAMS request{};
        request.ClassInstallHeader.cbSize = sizeof(request.ClassInstallHeader);
        request.ClassInstallHeader.InstallFunction = DIF_PROPERTYCHANGE;
        request.StateChange = state;
        request.Scope = scope;
        request.HwProfile = 0;
        if (SetupDiSetClassInstallParamsW(device_set, &device, &request.ClassInstallHeader, sizeof(request)))
            return true;
    }
    return false;
}

void ChangeState(HDEVINFO device_set, SP_DEVINFO_DATA& device, DWORD state) {
    SP_DEVINSTALL_PARAMS_W parameters{};
    parameters.cbSize = sizeof(parameters);
    if (!SetupDiGetDeviceInstallParamsW(device_set, &device, &parameters))
        return;
    parameters.Flags |= DI_PROPERTIES_CHANGE;
    if (!SetupDiSetDeviceInstallParamsW(device_set, &device, &parameters))
        return;
    if (RequestState(device_set, device, state))
        static_cast<void>(SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, device_set, &device));
}

// One step through the device tree with `step`, a CM_Get_... function.
template <typename Step>
std::optional<DEVINST> Neighbour(Step step, DEVINST device) {
    DEVINST neighbour = 0;
    if (step(&neighbour, device, 0) != CR_SUCCESS)
        return std::nullopt;
    return neighbour;
}

}  // namespace

bool ReadDeviceString(HDEVINFO device_set, const SP_DEVINFO_DATA& device, const WCHAR* name,
                      DeviceString& value) {
    return CQXDeviceRegInfo(device_set, device).GetDeviceString(name, value);
}

bool ReadDeviceDword(HDEVINFO device_set, const SP_DEVINFO_DATA& device, const WCHAR* name, DWORD& value) {
    const HardwareKey key = OpenHardwareKey(device_set, device, GENERIC_READ);
    if (!key)
        return false;
    DWORD number = 0;
    DWORD size = sizeof(number);
    if (RegQueryValueExW(key.Get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size) !=
        ERROR_SUCCESS)
        return false;
    value = number;
    return true;
}

bool WriteDeviceDword(HDEVINFO device_set, const SP_DEVINFO_DATA& device, const WCHAR* name, DWORD value) {
    const HardwareKey key = OpenHardwareKey(device_set, device, GENERIC_WRITE);
    return key && WriteNumber(key.Get(), name, value);
}

bool DisableDevice(HDEVINFO device_set, SP_DEVINFO_DATA& device) {
    ChangeState(device_set, device, DICS_DISABLE);
    return true;
}

bool EnableDevice(HDEVINFO device_set, SP_DEVINFO_DATA& device) {
    ChangeState(device_set, device, DICS_ENABLE);
    return true;
}

bool MarkPropertyChangePending(HDEVINFO device_set, SP_DEVINFO_DATA& device) {
    SP_DEVINSTALL_PARAMS_W parameters{};
    parameters.cbSize = sizeof(parameters);
    if (SetupDiGetDeviceInstallParamsW(device_set, &device, &parameters)) {
        parameters.FlagsEx |= DI_FLAGSEX_PROPCHANGE_PENDING;
        static_cast<void>(SetupDiSetDeviceInstallParamsW(device_set, &device, &parameters));
    }
    return true;
}

bool ReenumerateDevice(const Text& instance_id) {
    // The platform does not write to the id, though it takes it as if it did.
    auto* const id = instance_id.empty() ? nullptr : const_cast<WCHAR*>(instance_id.c_str());
    DEVINST node = 0;
    return CM_Locate_DevNodeW(&node, id, 0) == CR_SUCCESS && CM_Reenumerate_DevNode(node, 0) == CR_SUCCESS;
}

std::optional<DEVINST> ParentOf(DEVINST device) {
    return Neighbour(CM_Get_Parent, device);
}

std::optional<DEVINST> FirstChildOf(DEVINST device) {
    return Neighbour(CM_Get_Child, device);
}

std::optional<DEVINST> NextSiblingOf(DEVINST device) {
    return Neighbour(CM_Get_Sibling, device);
}

std::optional<InstanceId> InstanceIdOf(DEVINST device) {
    ULONG length = 0;
    InstanceId id;
    if (CM_Get_Device_ID_Size(&length, device, 0) != CR_SUCCESS || length > InstanceId::kCapacity ||
        CM_Get_Device_IDW(device, id.Buffer(), length + 1, 0) != CR_SUCCESS)
        return std::nullopt;
    return id;
}

bool IsStarted(DEVINST device) {
    ULONG status = 0;
    ULONG problem = 0;
    return CM_Get_DevNode_Status(&status, &problem, device, 0) == CR_SUCCESS && (status & DN_STARTED) != 0;
}

std::optional<SP_DEVINFO_DATA> OpenDeviceIn(HDEVINFO device_set, const WCHAR* instance_id) {
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof(device);
    if (!SetupDiOpenDeviceInfoW(device_set, instance_id, nullptr, 0, &device))
        return std::nullopt;
    return device;
}

}  // namespace qx
