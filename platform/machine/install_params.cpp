// SPDX-License-Identifier: MIT
// Install parameters of a set's elements, and the class installer: property changes and removal.
#include "platform/machine/machine_internal.h"

#include <cstring>
#include <utility>

namespace qxsim {

QX_PLATFORM_CALL(SetupDiGetDeviceInstallParamsW);
QX_PLATFORM_CALL(SetupDiSetDeviceInstallParamsW);
QX_PLATFORM_CALL(SetupDiSetClassInstallParamsW);
QX_PLATFORM_CALL(SetupDiRemoveDevice);
QX_PLATFORM_CALL(SetupDiCallClassInstaller);

namespace {

static_assert(sizeof(SP_DEVINSTALL_PARAMS_W) == 584);
static_assert(sizeof(SP_PROPCHANGE_PARAMS) == 20);

// Where the parameters of an element, or of the set itself, are kept.
struct Place {
    std::unique_ptr<SP_DEVINSTALL_PARAMS_W>* install = nullptr;
    Bytes* class_install = nullptr;
    DWORD node = 0;

    [[nodiscard]] SP_DEVINSTALL_PARAMS_W& Install() const {
        if (!*install) {
            *install = std::make_unique<SP_DEVINSTALL_PARAMS_W>();
            (*install)->cbSize = sizeof(SP_DEVINSTALL_PARAMS_W);
        }
        return **install;
    }
};

DWORD FindPlace(HDEVINFO handle, const SP_DEVINFO_DATA* data, Place& place) {
    DeviceSet* set = FindSet(Machine::Current(), handle);
    if (set == nullptr)
        return ERROR_INVALID_HANDLE;
    if (data == nullptr) {
        place = {&set->install_params, &set->class_install_params, 0};
        return ERROR_SUCCESS;
    }
    DWORD error = ERROR_SUCCESS;
    if (SetElement* element = FindElement(set, data, error))
        place = {&element->install_params, &element->class_install_params, element->node};
    return error;
}

DWORD CheckPropertyChange(const SP_CLASSINSTALL_HEADER* header, DWORD size) {
    if (size < sizeof(SP_PROPCHANGE_PARAMS))
        return ERROR_INVALID_PARAMETER;
    SP_PROPCHANGE_PARAMS params;
    std::memcpy(&params, header, sizeof(params));
    // Starting and stopping by themselves are not part of this computer.
    const bool known = params.StateChange >= DICS_ENABLE && params.StateChange <= DICS_PROPCHANGE &&
                       (params.Scope == DICS_FLAG_GLOBAL || params.Scope == DICS_FLAG_CONFIGSPECIFIC);
    return known ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

void Enable(Machine& machine, Device& device) {
    device.disabled = false;
    if (device.problem == CM_PROB_DISABLED)
        device.problem = 0;
    if (!device.started)
        machine.Start(device);
}

// Takes a device down. One in use stays up until the next restart, and the caller is told so.
bool TakeDown(Machine& machine, Device& device, SP_DEVINSTALL_PARAMS_W& params) {
    if (machine.InUse(device)) {
        params.Flags |= DI_NEEDREBOOT;
        return false;
    }
    machine.Stop(device);
    return true;
}

void ChangeProperties(Machine& machine, Device& device, const SP_PROPCHANGE_PARAMS& change,
                      SP_DEVINSTALL_PARAMS_W& params) {
    switch (change.StateChange) {
        case DICS_ENABLE:
            Enable(machine, device);
            break;
        case DICS_DISABLE:
            device.disabled = true;
            if (TakeDown(machine, device, params))
                device.problem = CM_PROB_DISABLED;
            break;
        default:  // DICS_PROPCHANGE restarts a running device, so that it sees its new properties
            if (device.started && TakeDown(machine, device, params))
                machine.Start(device);
            break;
    }
}

}  // namespace

BOOL WINAPI SetupDiGetDeviceInstallParamsW(HDEVINFO handle, PSP_DEVINFO_DATA data,
                                           PSP_DEVINSTALL_PARAMS_W params) {
    Call call("SetupDiGetDeviceInstallParamsW", handle, data != nullptr ? data->DevInst : 0);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_NO_SUCH_DEVINST));
    Place place;
    if (const DWORD error = FindPlace(handle, data, place); error != ERROR_SUCCESS)
        return call.Fail(error);
    if (params == nullptr)
        return call.Fail(ERROR_INVALID_PARAMETER);
    if (params->cbSize != sizeof(SP_DEVINSTALL_PARAMS_W))
        return call.Fail(ERROR_INVALID_USER_BUFFER);
    *params = place.Install();
    return call.Return(TRUE);
}

BOOL WINAPI SetupDiSetDeviceInstallParamsW(HDEVINFO handle, PSP_DEVINFO_DATA data,
                                           PSP_DEVINSTALL_PARAMS_W params) {
    Call call("SetupDiSetDeviceInstallParamsW", handle, data != nullptr ? data->DevInst : 0,
              params != nullptr ? params->Flags : 0, params != nullptr ? params->FlagsEx : 0);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_NO_SUCH_DEVINST));
    Place place;
    if (const DWORD error = FindPlace(handle, data, place); error != ERROR_SUCCESS)
        return call.Fail(error);
    if (params == nullptr)
        return call.Fail(ERROR_INVALID_PARAMETER);
    if (params->cbSize != sizeof(SP_DEVINSTALL_PARAMS_W))
        return call.Fail(ERROR_INVALID_USER_BUFFER);
    if ((params->Flags & DI_CLASSINSTALLPARAMS) != 0 && place.class_install->empty())
        return call.Fail(ERROR_NO_CLASSINSTALL_PARAMS);
    place.Install() = *params;
    return call.Return(TRUE);
}

BOOL WINAPI SetupDiSetClassInstallParamsW(HDEVINFO handle, PSP_DEVINFO_DATA data,
                                          PSP_CLASSINSTALL_HEADER params, DWORD size) {
    const bool readable = params != nullptr && size >= sizeof(SP_PROPCHANGE_PARAMS) &&
                          params->InstallFunction == DIF_PROPERTYCHANGE;
    const auto* change = reinterpret_cast<const SP_PROPCHANGE_PARAMS*>(params);
    Call call("SetupDiSetClassInstallParamsW", handle, data != nullptr ? data->DevInst : 0,
              params != nullptr ? params->InstallFunction : 0, readable ? change->StateChange : 0,
              readable ? change->Scope : 0);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_ACCESS_DENIED));
    Place place;
    if (const DWORD error = FindPlace(handle, data, place); error != ERROR_SUCCESS)
        return call.Fail(error);
    if (params == nullptr || size < sizeof(SP_CLASSINSTALL_HEADER))
        return call.Fail(ERROR_INVALID_PARAMETER);
    if (params->cbSize != sizeof(SP_CLASSINSTALL_HEADER))
        return call.Fail(ERROR_INVALID_USER_BUFFER);
    if (params->InstallFunction == DIF_PROPERTYCHANGE) {
        if (const DWORD error = CheckPropertyChange(params, size); error != ERROR_SUCCESS)
            return call.Fail(error);
    }
    const BYTE* bytes = reinterpret_cast<const BYTE*>(params);
    place.class_install->assign(bytes, bytes + size);
    place.Install().Flags |= DI_CLASSINSTALLPARAMS;
    return call.Return(TRUE);
}

// The class installer's own part in a removal: nobody else hears of it.
BOOL WINAPI SetupDiRemoveDevice(HDEVINFO handle, PSP_DEVINFO_DATA data) {
    Call call("SetupDiRemoveDevice", handle, data != nullptr ? data->DevInst : 0);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_ACCESS_DENIED));
    Machine& machine = Machine::Current();
    DWORD error = ERROR_SUCCESS;
    const SetElement* const element = FindElement(FindSet(machine, handle), data, error);
    if (element == nullptr)
        return call.Fail(error);
    Device* const device = machine.Node(element->node);
    if (device == nullptr || device->node == Machine::kRoot)
        return call.Fail(ERROR_NO_SUCH_DEVINST);
    call.Changing();
    machine.Remove(*device);
    return call.Return(TRUE);
}

BOOL WINAPI SetupDiCallClassInstaller(DI_FUNCTION function, HDEVINFO handle, PSP_DEVINFO_DATA data) {
    Call call("SetupDiCallClassInstaller", function, handle, data != nullptr ? data->DevInst : 0);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_ACCESS_DENIED));
    Machine& machine = Machine::Current();
    Place place;
    if (const DWORD error = FindPlace(handle, data, place); error != ERROR_SUCCESS)
        return call.Fail(error);
    if (machine.co_installers) {
        call.Unlock();
        const DWORD refused = machine.co_installers(function, handle, data);
        call.Relock();
        if (refused != NO_ERROR)
            return call.Fail(refused);
        // They may have changed the set.
        if (const DWORD error = FindPlace(handle, data, place); error != ERROR_SUCCESS)
            return call.Fail(error);
    }
    if (function != DIF_PROPERTYCHANGE && function != DIF_REMOVE)
        return call.Fail(ERROR_DI_DO_DEFAULT);
    Device* device = machine.Node(place.node);
    if (data == nullptr || device == nullptr || device->node == Machine::kRoot)
        return call.Fail(data == nullptr ? ERROR_INVALID_PARAMETER : ERROR_NO_SUCH_DEVINST);
    if (function == DIF_REMOVE) {
        call.Changing();
        machine.Remove(*device);
        return call.Return(TRUE);
    }
    SP_PROPCHANGE_PARAMS change{};
    if ((place.Install().Flags & DI_CLASSINSTALLPARAMS) == 0 || place.class_install->size() < sizeof(change))
        return call.Fail(ERROR_NO_CLASSINSTALL_PARAMS);
    std::memcpy(&change, place.class_install->data(), sizeof(change));
    if (change.ClassInstallHeader.InstallFunction != DIF_PROPERTYCHANGE)
        return call.Fail(ERROR_NO_CLASSINSTALL_PARAMS);
    call.Changing();
    ChangeProperties(machine, *device, change, place.Install());
    return call.Return(TRUE);
}

}  // namespace qxsim
