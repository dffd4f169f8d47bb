// SPDX-License-Identifier: MIT
// The device tree. Absent devices, and those below a device that has not started, are not in the tree.
#include "platform/machine/machine_internal.h"

#include <algorithm>
#include <iterator>

namespace qxsim {

QX_PLATFORM_CALL(CM_Get_Parent);
QX_PLATFORM_CALL(CM_Get_Child);
QX_PLATFORM_CALL(CM_Get_Sibling);
QX_PLATFORM_CALL(CM_Get_DevNode_Status);
QX_PLATFORM_CALL(CM_Get_Device_ID_Size);
QX_PLATFORM_CALL(CM_Get_Device_IDW);
QX_PLATFORM_CALL(CM_Locate_DevNodeW);
QX_PLATFORM_CALL(CM_Reenumerate_DevNode);

namespace {

CONFIGRET Result(Call& call, CONFIGRET result) {
    return call.Return(result);
}

// What is wrong with a call about `node`; the device when nothing is.
CONFIGRET Check(const Call& call, DEVINST node, const void* out, ULONG flags, bool in_tree,
                const Device*& device) {
    if (call.Faulted())
        return call.FaultError(CR_FAILURE);
    if (out == nullptr)
        return CR_INVALID_POINTER;
    if (flags != 0)
        return CR_INVALID_FLAG;
    Machine& machine = Machine::Current();
    device = machine.Node(node);
    if (device == nullptr)
        return node == 0 || node >= machine.devices.size() ? CR_INVALID_DEVNODE : CR_NO_SUCH_DEVNODE;
    return in_tree && !machine.Present(*device) ? CR_NO_SUCH_DEVNODE : CR_SUCCESS;
}

// The first of the nodes that has a place in the tree.
template <typename Iterator>
CONFIGRET FirstPresent(const Machine& machine, Iterator from, Iterator to, PDEVINST found) {
    const auto next =
        std::find_if(from, to, [&](DEVINST node) { return machine.Present(machine.devices[node]); });
    if (next == to)
        return CR_NO_SUCH_DEVNODE;
    *found = *next;
    return CR_SUCCESS;
}

}  // namespace

unsigned Machine::Reenumerations(DEVINST node) const {
    const auto found = handles_->reenumerations.find(node);
    return found == handles_->reenumerations.end() ? 0 : found->second;
}

CONFIGRET WINAPI CM_Get_Parent(PDEVINST parent, DEVINST node, ULONG flags) {
    Call call("CM_Get_Parent", node);
    const Device* device = nullptr;
    if (const CONFIGRET error = Check(call, node, parent, flags, true, device); error != CR_SUCCESS)
        return Result(call, error);
    if (node == Machine::kRoot)
        return Result(call, CR_NO_SUCH_DEVNODE);
    *parent = device->parent;
    return Result(call, CR_SUCCESS);
}

CONFIGRET WINAPI CM_Get_Child(PDEVINST child, DEVINST node, ULONG flags) {
    Call call("CM_Get_Child", node);
    const Device* device = nullptr;
    if (const CONFIGRET error = Check(call, node, child, flags, true, device); error != CR_SUCCESS)
        return Result(call, error);
    return Result(call,
                  FirstPresent(Machine::Current(), device->children.begin(), device->children.end(), child));
}

CONFIGRET WINAPI CM_Get_Sibling(PDEVINST sibling, DEVINST node, ULONG flags) {
    Call call("CM_Get_Sibling", node);
    const Device* device = nullptr;
    if (const CONFIGRET error = Check(call, node, sibling, flags, true, device); error != CR_SUCCESS)
        return Result(call, error);
    if (node == Machine::kRoot)
        return Result(call, CR_NO_SUCH_DEVNODE);
    Machine& machine = Machine::Current();
    const std::vector<DEVINST>& all = machine.devices[device->parent].children;
    return Result(call, FirstPresent(machine, std::next(std::ranges::find(all, node)), all.end(), sibling));
}

CONFIGRET WINAPI CM_Get_DevNode_Status(PULONG status, PULONG problem, DEVINST node, ULONG flags) {
    Call call("CM_Get_DevNode_Status", node);
    const Device* device = nullptr;
    if (const CONFIGRET error = Check(call, node, status != nullptr ? problem : nullptr, flags, true, device);
        error != CR_SUCCESS)
        return Result(call, error);
    *status = DN_DISABLEABLE | (device->started ? DN_STARTED | DN_DRIVER_LOADED : 0) |
              (device->problem != 0 ? DN_HAS_PROBLEM : 0) | (node == Machine::kRoot ? DN_ROOT_ENUMERATED : 0);
    *problem = device->problem;
    return Result(call, CR_SUCCESS);
}

CONFIGRET WINAPI CM_Get_Device_ID_Size(PULONG length, DEVINST node, ULONG flags) {
    Call call("CM_Get_Device_ID_Size", node);
    const Device* device = nullptr;
    if (const CONFIGRET error = Check(call, node, length, flags, false, device); error != CR_SUCCESS)
        return Result(call, error);
    *length = static_cast<ULONG>(device->id.size());
    return Result(call, CR_SUCCESS);
}

CONFIGRET WINAPI CM_Get_Device_IDW(DEVINST node, PWCHAR buffer, ULONG size, ULONG flags) {
    Call call("CM_Get_Device_IDW", node, size);
    const Device* device = nullptr;
    if (const CONFIGRET error = Check(call, node, buffer, flags, false, device); error != CR_SUCCESS)
        return Result(call, error);
    if (size < device->id.size() + 1)
        return Result(call, CR_BUFFER_SMALL);
    CopyOut(buffer, device->id.c_str(), (device->id.size() + 1) * sizeof(WCHAR));
    return Result(call, CR_SUCCESS);
}

CONFIGRET WINAPI CM_Locate_DevNodeW(PDEVINST node, DEVINSTID_W id, ULONG flags) {
    Call call("CM_Locate_DevNodeW", static_cast<const WCHAR*>(id), flags);
    if (call.Faulted())
        return Result(call, call.FaultError(CR_FAILURE));
    if (node == nullptr)
        return Result(call, CR_INVALID_POINTER);
    if ((flags & ~static_cast<ULONG>(CM_LOCATE_DEVNODE_PHANTOM)) != 0)
        return Result(call, CR_INVALID_FLAG);
    Machine& machine = Machine::Current();
    if (id == nullptr || *id == WCHAR{}) {
        *node = Machine::kRoot;
        return Result(call, CR_SUCCESS);
    }
    if (WideView(id).find(static_cast<WCHAR>('\\')) == WideView::npos)
        return Result(call, CR_INVALID_DEVICE_ID);
    const Device* device = machine.Find(WideView(id));
    if (device == nullptr || ((flags & CM_LOCATE_DEVNODE_PHANTOM) == 0 && !machine.Present(*device)))
        return Result(call, CR_NO_SUCH_DEVNODE);
    *node = device->node;
    return Result(call, CR_SUCCESS);
}

CONFIGRET WINAPI CM_Reenumerate_DevNode(DEVINST node, ULONG flags) {
    Call call("CM_Reenumerate_DevNode", node, flags);
    const Device* device = nullptr;
    if (const CONFIGRET error = Check(call, node, &node, 0, true, device); error != CR_SUCCESS)
        return Result(call, error);
    // Every bus here reports its devices as they come and go, so that looking again finds nothing new.
    ++Machine::Current().Handles().reenumerations[node];
    return Result(call, CR_SUCCESS);
}

}  // namespace qxsim
