// SPDX-License-Identifier: MIT
// Device-information sets and their elements.
#include "platform/machine/machine_internal.h"

#include <algorithm>

namespace qxsim {

QX_PLATFORM_CALL(SetupDiGetClassDevsW);
QX_PLATFORM_CALL(SetupDiCreateDeviceInfoList);
QX_PLATFORM_CALL(SetupDiDestroyDeviceInfoList);
QX_PLATFORM_CALL(SetupDiEnumDeviceInfo);
QX_PLATFORM_CALL(SetupDiOpenDeviceInfoW);

namespace {

// Every known device, parents before their children, as the tree lists them.
template <typename Visit>
void ForEachDevice(const Machine& machine, DEVINST node, const Visit& visit) {
    for (const DEVINST child : machine.devices[node].children) {
        visit(machine.devices[child]);
        ForEachDevice(machine, child, visit);
    }
}

// Whether an enumerator ("USB") or, for interfaces, a whole device id selects the device.
bool SelectedBy(const Device& device, const WCHAR* enumerator) {
    if (enumerator == nullptr)
        return true;
    const WideView wanted(enumerator);
    return EqualsCaseless(device.id, wanted) ||
           (device.id.size() > wanted.size() && device.id[wanted.size()] == '\\' &&
            EqualsCaseless(WideView(device.id).substr(0, wanted.size()), wanted));
}

HDEVINFO NewSet(Call& call, Machine& machine, DeviceSet set) {
    const std::uint64_t number = machine.Handles().New();
    machine.Handles().sets.emplace(number, std::move(set));
    call.Opened(kSetHandle, number);
    return call.Return(MakeHandle<HDEVINFO>(number));
}

HDEVINFO NoSet(Call& call, DWORD error) {
    return call.Fail(error, static_cast<HDEVINFO>(INVALID_HANDLE_VALUE));
}

}  // namespace

DeviceSet* FindSet(Machine& machine, HDEVINFO handle) {
    const auto found = machine.Handles().sets.find(HandleNumber(handle));
    return found == machine.Handles().sets.end() ? nullptr : &found->second;
}

SetElement* FindElement(DeviceSet* set, const SP_DEVINFO_DATA* data, DWORD& error) {
    error = set == nullptr ? ERROR_INVALID_HANDLE : ERROR_INVALID_PARAMETER;
    if (set == nullptr || data == nullptr)
        return nullptr;
    if (data->cbSize != sizeof(SP_DEVINFO_DATA)) {
        error = ERROR_INVALID_USER_BUFFER;
        return nullptr;
    }
    const bool of_this_set = data->Reserved != 0 && data->Reserved <= set->elements.size() &&
                             set->elements[data->Reserved - 1].node == data->DevInst;
    if (!of_this_set)
        return nullptr;
    error = ERROR_SUCCESS;
    return &set->elements[data->Reserved - 1];
}

std::size_t AddElement(DeviceSet& set, DEVINST node) {
    for (std::size_t place = 0; place < set.elements.size(); ++place) {
        if (set.elements[place].node == node)
            return place;
    }
    set.elements.emplace_back().node = node;
    return set.elements.size() - 1;
}

void FillElement(const Machine& machine, const DeviceSet& set, std::size_t place, SP_DEVINFO_DATA& data) {
    data.ClassGuid = machine.devices[set.elements[place].node].setup_class;
    data.DevInst = set.elements[place].node;
    data.Reserved = place + 1;
}

HDEVINFO WINAPI SetupDiGetClassDevsW(const GUID* class_guid, PCWSTR enumerator, HWND, DWORD flags) {
    Call call("SetupDiGetClassDevsW", class_guid, enumerator, flags);
    if (call.Faulted())
        return NoSet(call, call.FaultError(ERROR_NOT_ENOUGH_MEMORY));
    const bool all_classes = (flags & DIGCF_ALLCLASSES) != 0;
    if (class_guid == nullptr && !all_classes)
        return NoSet(call, ERROR_INVALID_PARAMETER);
    Machine& machine = Machine::Current();
    const bool by_interface = (flags & DIGCF_DEVICEINTERFACE) != 0;
    DeviceSet set;
    if (!all_classes && !by_interface)
        set.class_guid = *class_guid;
    ForEachDevice(machine, Machine::kRoot, [&](const Device& device) {
        if (!SelectedBy(device, enumerator))
            return;
        if (!by_interface) {
            if ((all_classes || IsEqualGUID(device.setup_class, *class_guid)) &&
                ((flags & DIGCF_PRESENT) == 0 || machine.Present(device)))
                set.elements.emplace_back().node = device.node;
            return;
        }
        for (std::size_t index = 0; index < device.interfaces.size(); ++index) {
            const DeviceInterface& published = device.interfaces[index];
            if ((!all_classes && !IsEqualGUID(published.interface_class, *class_guid)) ||
                ((flags & DIGCF_PRESENT) != 0 && !machine.Active(device, published)))
                continue;
            AddElement(set, device.node);
            set.interfaces.push_back({device.node, index});
        }
    });
    return NewSet(call, machine, std::move(set));
}

HDEVINFO WINAPI SetupDiCreateDeviceInfoList(const GUID* class_guid, HWND) {
    Call call("SetupDiCreateDeviceInfoList", class_guid);
    if (call.Faulted())
        return NoSet(call, call.FaultError(ERROR_NOT_ENOUGH_MEMORY));
    DeviceSet set;
    if (class_guid != nullptr)
        set.class_guid = *class_guid;
    return NewSet(call, Machine::Current(), std::move(set));
}

BOOL WINAPI SetupDiDestroyDeviceInfoList(HDEVINFO handle) {
    Call call("SetupDiDestroyDeviceInfoList", handle);
    Machine& machine = Machine::Current();
    const DeviceSet* set = FindSet(machine, handle);
    if (set == nullptr) {
        call.Closed(kSetHandle, HandleNumber(handle));
        return call.Fail(ERROR_INVALID_HANDLE);
    }
    if (!set->handed)
        call.Closed(kSetHandle, HandleNumber(handle));
    machine.Handles().sets.erase(HandleNumber(handle));
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_GEN_FAILURE));
    return call.Return(TRUE);
}

BOOL WINAPI SetupDiEnumDeviceInfo(HDEVINFO handle, DWORD index, PSP_DEVINFO_DATA data) {
    Call call("SetupDiEnumDeviceInfo", handle, index);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_NO_MORE_ITEMS));
    Machine& machine = Machine::Current();
    const DeviceSet* set = FindSet(machine, handle);
    if (set == nullptr)
        return call.Fail(ERROR_INVALID_HANDLE);
    if (data == nullptr)
        return call.Fail(ERROR_INVALID_PARAMETER);
    if (data->cbSize != sizeof(SP_DEVINFO_DATA))
        return call.Fail(ERROR_INVALID_USER_BUFFER);
    if (index >= set->elements.size())
        return call.Fail(ERROR_NO_MORE_ITEMS);
    FillElement(machine, *set, index, *data);
    return call.Return(TRUE);
}

BOOL WINAPI SetupDiOpenDeviceInfoW(HDEVINFO handle, PCWSTR id, HWND, DWORD flags, PSP_DEVINFO_DATA data) {
    Call call("SetupDiOpenDeviceInfoW", handle, id, flags);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_NO_SUCH_DEVINST));
    Machine& machine = Machine::Current();
    DeviceSet* set = FindSet(machine, handle);
    if (set == nullptr)
        return call.Fail(ERROR_INVALID_HANDLE);
    if (data != nullptr && data->cbSize != sizeof(SP_DEVINFO_DATA))
        return call.Fail(ERROR_INVALID_USER_BUFFER);
    const Device* device =
        machine.Find(id == nullptr ? WideView(machine.devices[Machine::kRoot].id) : WideView(id));
    if (device == nullptr)
        return call.Fail(ERROR_NO_SUCH_DEVINST);
    if (set->class_guid && !IsEqualGUID(*set->class_guid, device->setup_class))
        return call.Fail(ERROR_CLASS_MISMATCH);
    const std::size_t place = AddElement(*set, device->node);
    if (data != nullptr)
        FillElement(machine, *set, place, *data);
    return call.Return(TRUE);
}

HDEVINFO HandDevice(Machine& machine, const Device& device, SP_DEVINFO_DATA& element) {
    const std::uint64_t number = machine.Handles().New();
    DeviceSet& set = machine.Handles().sets[number];
    set.handed = true;
    element = {};
    element.cbSize = sizeof(element);
    FillElement(machine, set, AddElement(set, device.node), element);
    return MakeHandle<HDEVINFO>(number);
}

}  // namespace qxsim
