// SPDX-License-Identifier: MIT
// Device interfaces of a set, and the paths by which they are opened.
#include "platform/machine/machine_internal.h"

#include <cstddef>

namespace qxsim {

QX_PLATFORM_CALL(SetupDiEnumDeviceInterfaces);
QX_PLATFORM_CALL(SetupDiGetDeviceInterfaceDetailW);

BOOL WINAPI SetupDiEnumDeviceInterfaces(HDEVINFO handle, PSP_DEVINFO_DATA device_data,
                                        const GUID* interface_class, DWORD index,
                                        PSP_DEVICE_INTERFACE_DATA data) {
    Call call("SetupDiEnumDeviceInterfaces", handle, interface_class, index);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_NO_MORE_ITEMS));
    Machine& machine = Machine::Current();
    DeviceSet* set = FindSet(machine, handle);
    if (set == nullptr)
        return call.Fail(ERROR_INVALID_HANDLE);
    if (interface_class == nullptr || data == nullptr)
        return call.Fail(ERROR_INVALID_PARAMETER);
    if (data->cbSize != sizeof(SP_DEVICE_INTERFACE_DATA))
        return call.Fail(ERROR_INVALID_USER_BUFFER);
    const SetElement* wanted = nullptr;
    if (device_data != nullptr) {
        DWORD error = ERROR_SUCCESS;
        wanted = FindElement(set, device_data, error);
        if (wanted == nullptr)
            return call.Fail(error);
    }
    for (std::size_t place = 0; place < set->interfaces.size(); ++place) {
        const SetInterface& member = set->interfaces[place];
        const Device* device = machine.Node(member.node);
        if (device == nullptr || (wanted != nullptr && member.node != wanted->node))
            continue;
        const DeviceInterface& published = device->interfaces[member.index];
        if (!IsEqualGUID(published.interface_class, *interface_class) || index-- != 0)
            continue;
        data->InterfaceClassGuid = published.interface_class;
        data->Flags = machine.Active(*device, published) ? SPINT_ACTIVE : 0;
        data->Reserved = place + 1;
        return call.Return(TRUE);
    }
    return call.Fail(ERROR_NO_MORE_ITEMS);
}

BOOL WINAPI SetupDiGetDeviceInterfaceDetailW(HDEVINFO handle, PSP_DEVICE_INTERFACE_DATA data,
                                             PSP_DEVICE_INTERFACE_DETAIL_DATA_W detail, DWORD size,
                                             PDWORD required, PSP_DEVINFO_DATA device_data) {
    Call call("SetupDiGetDeviceInterfaceDetailW", handle, size);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_NOT_ENOUGH_MEMORY));
    Machine& machine = Machine::Current();
    DeviceSet* set = FindSet(machine, handle);
    if (set == nullptr)
        return call.Fail(ERROR_INVALID_HANDLE);
    if (data == nullptr || data->Reserved == 0 || data->Reserved > set->interfaces.size())
        return call.Fail(ERROR_INVALID_PARAMETER);
    if (data->cbSize != sizeof(SP_DEVICE_INTERFACE_DATA) ||
        (detail != nullptr && detail->cbSize != sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W)) ||
        (device_data != nullptr && device_data->cbSize != sizeof(SP_DEVINFO_DATA)))
        return call.Fail(ERROR_INVALID_USER_BUFFER);
    if (detail == nullptr ? size != 0 : size < sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W))
        return call.Fail(ERROR_INVALID_PARAMETER);
    const SetInterface& member = set->interfaces[data->Reserved - 1];
    const Device* device = machine.Node(member.node);
    if (device == nullptr)
        return call.Fail(ERROR_NO_SUCH_DEVICE_INTERFACE);
    const WideString path = machine.InterfacePath(*device, device->interfaces[member.index]);
    constexpr std::size_t kHead = offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath);
    const std::size_t path_bytes = (path.size() + 1) * sizeof(WCHAR);
    if (required != nullptr)
        *required = static_cast<DWORD>(kHead + path_bytes);
    if (size < kHead + path_bytes)
        return call.Fail(ERROR_INSUFFICIENT_BUFFER);
    CopyOut(reinterpret_cast<BYTE*>(detail) + kHead, path.c_str(), path_bytes);
    if (device_data != nullptr)
        FillElement(machine, *set, AddElement(*set, member.node), *device_data);
    return call.Return(TRUE);
}

}  // namespace qxsim
