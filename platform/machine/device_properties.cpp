// SPDX-License-Identifier: MIT
// Registry properties of devices: description, driver key, friendly name, location ...
#include "platform/machine/machine_internal.h"

#include <algorithm>
#include <iterator>

namespace qxsim {

QX_PLATFORM_CALL(SetupDiGetDeviceRegistryPropertyW);
QX_PLATFORM_CALL(SetupDiSetDeviceRegistryPropertyW);

namespace {

constexpr DWORD kFirstUnknownProperty = 0x25;

// Properties that only the platform itself writes.
constexpr DWORD kReadOnly[] = {SPDRP_CLASS, SPDRP_PHYSICAL_DEVICE_OBJECT_NAME, SPDRP_ENUMERATOR_NAME};

std::optional<Property> Read(const Machine& machine, const Device& device, DWORD property) {
    const auto text = [](WideView value) { return Property{REG_SZ, TextBytes(value)}; };
    switch (property) {
        case SPDRP_CLASS:
            if (const auto own = device.properties.find(property); own != device.properties.end())
                return own->second;
            return device.class_name.empty() ? std::nullopt : std::optional(text(device.class_name));
        case SPDRP_CLASSGUID:
            return text(ToWide(FormatGuid(device.setup_class)));
        case SPDRP_ENUMERATOR_NAME:
            return text(WideView(device.id).substr(0, device.id.find(static_cast<WCHAR>('\\'))));
        case SPDRP_CONFIGFLAGS:
            return Property{REG_DWORD, DwordBytes(device.disabled ? 1 : 0)};
        case SPDRP_PHYSICAL_DEVICE_OBJECT_NAME:
            // The drivers here make one device a port; the objects of other devices have no name.
            return device.kernel_path.empty() || !machine.Present(device)
                       ? std::nullopt
                       : std::optional(text(device.kernel_path));
        default: {
            const auto found = device.properties.find(property);
            if (found == device.properties.end() || found->second.data.empty())
                return std::nullopt;
            return found->second;
        }
    }
}

DWORD TypeOf(DWORD property) {
    switch (property) {
        case SPDRP_HARDWAREID:
        case SPDRP_COMPATIBLEIDS:
            return REG_MULTI_SZ;
        case SPDRP_CONFIGFLAGS:
            return REG_DWORD;
        default:
            return REG_SZ;
    }
}

}  // namespace

BOOL WINAPI SetupDiGetDeviceRegistryPropertyW(HDEVINFO handle, PSP_DEVINFO_DATA data, DWORD property,
                                              PDWORD type, PBYTE buffer, DWORD size, PDWORD required) {
    Call call("SetupDiGetDeviceRegistryPropertyW", handle, property, size);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_INVALID_DATA));
    Machine& machine = Machine::Current();
    DWORD error = ERROR_SUCCESS;
    const SetElement* element = FindElement(FindSet(machine, handle), data, error);
    if (element == nullptr)
        return call.Fail(error);
    if (buffer == nullptr && size != 0)
        return call.Fail(ERROR_INVALID_PARAMETER);
    if (property >= kFirstUnknownProperty)
        return call.Fail(ERROR_INVALID_REG_PROPERTY);
    const Device* device = machine.Node(element->node);
    if (device == nullptr)
        return call.Fail(ERROR_NO_SUCH_DEVINST);
    const std::optional<Property> found = Read(machine, *device, property);
    if (!found)
        return call.Fail(ERROR_INVALID_DATA);
    if (type != nullptr)
        *type = found->type;
    if (required != nullptr)
        *required = static_cast<DWORD>(found->data.size());
    if (size < found->data.size())
        return call.Fail(ERROR_INSUFFICIENT_BUFFER);
    CopyOut(buffer, found->data.data(), found->data.size());
    return call.Return(TRUE);
}

BOOL WINAPI SetupDiSetDeviceRegistryPropertyW(HDEVINFO handle, PSP_DEVINFO_DATA data, DWORD property,
                                              const BYTE* buffer, DWORD size) {
    Call call("SetupDiSetDeviceRegistryPropertyW", handle, property, size);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_ACCESS_DENIED));
    Machine& machine = Machine::Current();
    DWORD error = ERROR_SUCCESS;
    const SetElement* element = FindElement(FindSet(machine, handle), data, error);
    if (element == nullptr)
        return call.Fail(error);
    if (buffer == nullptr && size != 0)
        return call.Fail(ERROR_INVALID_PARAMETER);
    if (property >= kFirstUnknownProperty ||
        std::find(std::begin(kReadOnly), std::end(kReadOnly), property) != std::end(kReadOnly))
        return call.Fail(ERROR_INVALID_REG_PROPERTY);
    Device* device = machine.Node(element->node);
    if (device == nullptr)
        return call.Fail(ERROR_NO_SUCH_DEVINST);
    call.Changing();
    if (size == 0)  // no data takes the property away
        device->properties.erase(property);
    else
        device->properties[property] = {TypeOf(property), Bytes(buffer, buffer + size)};
    return call.Return(TRUE);
}

}  // namespace qxsim
