// SPDX-License-Identifier: MIT
#include "tests/windows/device_tree.h"

#include <cfgmgr32.h>
#include <setupapi.h>

#include <algorithm>
#include <cwchar>
#include <map>
#include <vector>

namespace qxtest {

namespace {

// Above all numbers that the system gives, so that its numbers are told from these.
constexpr DEVINST kFirstNode = 0x10000;

struct NoCase {
    bool operator()(const std::wstring& a, const std::wstring& b) const {
        return _wcsicmp(a.c_str(), b.c_str()) < 0;
    }
};

std::vector<std::wstring> ids = {L"HTREE\\ROOT\\0"};  // in the order in which devices were met
std::map<std::wstring, std::wstring, NoCase> parents;
int reenumerations = 0;

DEVINST NodeOf(const std::wstring& id) {
    auto found = std::find_if(ids.begin(), ids.end(), [&](const std::wstring& known) {
        return _wcsicmp(known.c_str(), id.c_str()) == 0;
    });
    if (found == ids.end())
        found = ids.insert(ids.end(), id);
    return kFirstNode + static_cast<DEVINST>(found - ids.begin());
}

// The id of a node, whether the number is one of these or one of the system's; empty for neither.
std::wstring IdOf(DEVINST node) {
    if (node >= kFirstNode)
        return node - kFirstNode < ids.size() ? ids[node - kFirstNode] : std::wstring();
    WCHAR id[MAX_DEVICE_ID_LEN + 1] = L"";
    return CM_Get_Device_IDW(node, id, MAX_DEVICE_ID_LEN, 0) == CR_SUCCESS ? std::wstring(id)
                                                                           : std::wstring();
}

std::wstring ParentOf(const std::wstring& id) {
    const auto found = parents.find(id);
    return found == parents.end() ? ids.front() : found->second;
}

// The first device with this parent, from the one numbered `from` on.
CONFIGRET FindChild(const std::wstring& parent, std::size_t from, DEVINST* child) {
    for (std::size_t i = std::max<std::size_t>(from, 1); i < ids.size(); ++i) {
        if (_wcsicmp(ParentOf(ids[i]).c_str(), parent.c_str()) == 0) {
            *child = kFirstNode + static_cast<DEVINST>(i);
            return CR_SUCCESS;
        }
    }
    return CR_NO_SUCH_DEVNODE;
}

CONFIGRET WINAPI GetParentNode(DEVINST* parent, DEVINST node, ULONG) {
    const std::wstring id = IdOf(node);
    if (id.empty())
        return CR_INVALID_DEVNODE;
    if (id == ids.front())
        return CR_NO_SUCH_DEVNODE;
    *parent = NodeOf(ParentOf(id));
    return CR_SUCCESS;
}

CONFIGRET WINAPI GetChildNode(DEVINST* child, DEVINST node, ULONG) {
    const std::wstring id = IdOf(node);
    return id.empty() ? CR_INVALID_DEVNODE : FindChild(id, 1, child);
}

CONFIGRET WINAPI GetSiblingNode(DEVINST* sibling, DEVINST node, ULONG) {
    const std::wstring id = IdOf(node);
    return id.empty() ? CR_INVALID_DEVNODE : FindChild(ParentOf(id), NodeOf(id) - kFirstNode + 1, sibling);
}

CONFIGRET WINAPI LocateNode(DEVINST* node, DEVINSTID_W id, ULONG) {
    if (id == nullptr || *id == L'\0') {
        *node = kFirstNode;
        return CR_SUCCESS;
    }
    const HDEVINFO set = SetupDiCreateDeviceInfoList(nullptr, nullptr);
    const bool known = SetupDiOpenDeviceInfoW(set, id, nullptr, 0, nullptr) != FALSE;
    SetupDiDestroyDeviceInfoList(set);
    if (!known)
        return CR_NO_SUCH_DEVNODE;
    *node = NodeOf(id);
    return CR_SUCCESS;
}

CONFIGRET WINAPI GetNodeStatus(ULONG* status, ULONG* problem, DEVINST node, ULONG) {
    if (IdOf(node).empty())
        return CR_INVALID_DEVNODE;
    *status = DN_DRIVER_LOADED | DN_STARTED | DN_DISABLEABLE;
    *problem = 0;
    return CR_SUCCESS;
}

CONFIGRET WINAPI ReenumerateNode(DEVINST node, ULONG) {
    if (IdOf(node).empty())
        return CR_INVALID_DEVNODE;
    ++reenumerations;
    return CR_SUCCESS;
}

CONFIGRET WINAPI GetIdSize(ULONG* length, DEVINST node, ULONG) {
    const std::wstring id = IdOf(node);
    *length = static_cast<ULONG>(id.size());
    return id.empty() ? CR_INVALID_DEVNODE : CR_SUCCESS;
}

CONFIGRET WINAPI GetId(DEVINST node, WCHAR* buffer, ULONG length, ULONG) {
    const std::wstring id = IdOf(node);
    if (id.empty())
        return CR_INVALID_DEVNODE;
    if (length <= id.size())
        return CR_BUFFER_SMALL;
    std::copy_n(id.c_str(), id.size() + 1, buffer);
    return CR_SUCCESS;
}

// Gives an element that the system filled the node number by which the device is known here. The system finds
// the device of an element by other means.
void Renumber(HDEVINFO set, SP_DEVINFO_DATA* element) {
    WCHAR id[MAX_DEVICE_ID_LEN + 1] = L"";
    if (element != nullptr && SetupDiGetDeviceInstanceIdW(set, element, id, MAX_DEVICE_ID_LEN, nullptr))
        element->DevInst = NodeOf(id);
}

BOOL WINAPI EnumElement(HDEVINFO set, DWORD index, SP_DEVINFO_DATA* element) {
    const BOOL found = SetupDiEnumDeviceInfo(set, index, element);
    if (found)
        Renumber(set, element);
    return found;
}

BOOL WINAPI OpenElement(HDEVINFO set, PCWSTR id, HWND owner, DWORD flags, SP_DEVINFO_DATA* element) {
    const BOOL opened = SetupDiOpenDeviceInfoW(set, id, owner, flags, element);
    if (opened)
        Renumber(set, element);
    return opened;
}

}  // namespace

void SupplyDeviceTree(qxhost::ImportRedirection& redirection) {
    redirection.Answer("CM_Get_Parent", reinterpret_cast<void*>(&GetParentNode));
    redirection.Answer("CM_Get_Child", reinterpret_cast<void*>(&GetChildNode));
    redirection.Answer("CM_Get_Sibling", reinterpret_cast<void*>(&GetSiblingNode));
    redirection.Answer("CM_Locate_DevNodeW", reinterpret_cast<void*>(&LocateNode));
    redirection.Answer("CM_Get_DevNode_Status", reinterpret_cast<void*>(&GetNodeStatus));
    redirection.Answer("CM_Reenumerate_DevNode", reinterpret_cast<void*>(&ReenumerateNode));
    redirection.Answer("CM_Get_Device_ID_Size", reinterpret_cast<void*>(&GetIdSize));
    redirection.Answer("CM_Get_Device_IDW", reinterpret_cast<void*>(&GetId));
    redirection.Answer("SetupDiEnumDeviceInfo", reinterpret_cast<void*>(&EnumElement));
    redirection.Answer("SetupDiOpenDeviceInfoW", reinterpret_cast<void*>(&OpenElement));
}

void SetParent(const std::wstring& child, const std::wstring& parent) {
    NodeOf(child);
    NodeOf(parent);
    parents[child] = parent;
}

int Reenumerations() {
    return reenumerations;
}

}  // namespace qxtest
