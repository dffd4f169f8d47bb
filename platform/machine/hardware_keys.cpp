// SPDX-License-Identifier: MIT
// The registry keys that belong to a device.
#include "platform/machine/machine_internal.h"

namespace qxsim {

QX_PLATFORM_CALL(SetupDiOpenDevRegKey);

HKEY WINAPI SetupDiOpenDevRegKey(HDEVINFO handle, PSP_DEVINFO_DATA data, DWORD scope, DWORD profile,
                                 DWORD type, REGSAM access) {
    Call call("SetupDiOpenDevRegKey", handle, data != nullptr ? data->DevInst : 0, scope, profile, type,
              access);
    const auto fail = [&](DWORD error) { return call.Fail(error, static_cast<HKEY>(INVALID_HANDLE_VALUE)); };
    if (call.Faulted())
        return fail(call.FaultError(ERROR_ACCESS_DENIED));
    Machine& machine = Machine::Current();
    DWORD error = ERROR_SUCCESS;
    const SetElement* element = FindElement(FindSet(machine, handle), data, error);
    if (element == nullptr)
        return fail(error);
    if ((scope != DICS_FLAG_GLOBAL && scope != DICS_FLAG_CONFIGSPECIFIC) ||
        (type != DIREG_DEV && type != DIREG_DRV))
        return fail(ERROR_INVALID_FLAGS);
    const Device* device = machine.Node(element->node);
    if (device == nullptr)
        return fail(ERROR_DEVINFO_NOT_REGISTERED);
    const std::shared_ptr<RegistryKey> key =
        type == DIREG_DEV ? machine.HardwareKey(*device) : machine.DriverKey(*device);
    if (!key)
        return fail(ERROR_KEY_DOES_NOT_EXIST);
    HKEY result = nullptr;
    if (const LONG outcome = OpenKeyHandle(call, machine, key, access, result); outcome != ERROR_SUCCESS)
        return fail(static_cast<DWORD>(outcome));
    return call.Return(result);
}

}  // namespace qxsim
