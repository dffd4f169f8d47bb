// SPDX-License-Identifier: MIT
// Device-information sets, properties, hardware keys, interfaces, the device tree, and requests to a driver.
#include "package/qxsettings.h"
#include "tests/contract/contract.h"

#include <initguid.h>

#include <cfgmgr32.h>
#include <devguid.h>
#include <msports.h>

#include <array>
#include <string>

namespace {

using Wide = std::basic_string<WCHAR>;

constexpr GUID kControlClass = QX_CONTROL_CLASS;
constexpr DWORD kSettingsSize = 0x8001E000;
constexpr DWORD kSettings = 0x8001E004;
constexpr DWORD kWriteSettings = 0x8001E008;

// A function rather than a constant: the element is passed as what may be written to.
SP_DEVINFO_DATA Element() {
    return contract::TestPort().element;
}
HDEVINFO Set() {
    return contract::TestPort().set;
}

SP_DEVINFO_DATA Sized() {
    SP_DEVINFO_DATA data{};
    data.cbSize = sizeof(data);
    return data;
}

Wide IdOf(DEVINST node) {
    std::array<WCHAR, 256> id{};
    return CM_Get_Device_IDW(node, id.data(), 256, 0) == CR_SUCCESS ? Wide(id.data()) : Wide();
}

// Whether one of the elements of a set is the test port.
bool HasPort(HDEVINFO set) {
    const Wide id = IdOf(Element().DevInst);
    SP_DEVINFO_DATA data = Sized();
    for (DWORD index = 0; SetupDiEnumDeviceInfo(set, index, &data); ++index) {
        if (IdOf(data.DevInst) == id)
            return true;
    }
    return false;
}

Wide ControlPath() {
    contract::TestPort();
    const HDEVINFO set =
        SetupDiGetClassDevsW(&kControlClass, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    SP_DEVICE_INTERFACE_DATA found{};
    found.cbSize = sizeof(found);
    alignas(8) std::array<BYTE, 2048> buffer{};
    auto* const detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(buffer.data());
    detail->cbSize = 8;
    Wide path;
    if (SetupDiEnumDeviceInterfaces(set, nullptr, &kControlClass, 0, &found) &&
        SetupDiGetDeviceInterfaceDetailW(set, &found, detail, sizeof(buffer), nullptr, nullptr))
        path = detail->DevicePath;
    SetupDiDestroyDeviceInfoList(set);
    return path;
}

HANDLE OpenControl() {
    return CreateFileW(ControlPath().c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                       FILE_FLAG_OVERLAPPED, nullptr);
}

constexpr const char* kTreeGap = "the device-tree calls are stubs";

}  // namespace

CONTRACT(devices, a_class_set_lists_its_present_devices,
         "SetupDiGetClassDevsW SetupDiEnumDeviceInfo SetupDiDestroyDeviceInfoList") {
    const HDEVINFO set = SetupDiGetClassDevsW(&GUID_DEVCLASS_PORTS, nullptr, nullptr, DIGCF_PRESENT);
    NEEDS(set != INVALID_HANDLE_VALUE);
    HOLDS(HasPort(set));
    SP_DEVINFO_DATA data = Sized();
    DWORD count = 0;
    while (SetupDiEnumDeviceInfo(set, count, &data))
        ++count;
    FAILS_WITH(SetupDiEnumDeviceInfo(set, count, &data), ERROR_NO_MORE_ITEMS);
    data.cbSize = 1;
    FAILS_WITH(SetupDiEnumDeviceInfo(set, 0, &data), ERROR_INVALID_USER_BUFFER);
    HOLDS(SetupDiDestroyDeviceInfoList(set));
    data = Sized();
    FAILS_WITH(SetupDiEnumDeviceInfo(INVALID_HANDLE_VALUE, 0, &data), ERROR_INVALID_HANDLE);
    FAILS_WITH(SetupDiDestroyDeviceInfoList(INVALID_HANDLE_VALUE), ERROR_INVALID_HANDLE);
}

CONTRACT(devices, all_classes_take_no_class, "SetupDiGetClassDevsW SetupDiEnumDeviceInfo") {
    const HDEVINFO set = SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_PRESENT | DIGCF_ALLCLASSES);
    NEEDS(set != INVALID_HANDLE_VALUE);
    HOLDS(HasPort(set));
    SetupDiDestroyDeviceInfoList(set);
    FAILS_WITH(SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_PRESENT), ERROR_INVALID_PARAMETER);
    // A class beside it counts for nothing.
    const HDEVINFO any =
        SetupDiGetClassDevsW(&GUID_DEVCLASS_USB, nullptr, nullptr, DIGCF_PRESENT | DIGCF_ALLCLASSES);
    HOLDS(HasPort(any));
    SetupDiDestroyDeviceInfoList(any);
}

CONTRACT(devices, opening_a_device_by_its_id, "SetupDiCreateDeviceInfoList SetupDiOpenDeviceInfoW") {
    const Wide id = IdOf(Element().DevInst);
    const HDEVINFO set = SetupDiCreateDeviceInfoList(nullptr, nullptr);
    NEEDS(set != INVALID_HANDLE_VALUE);
    // An element of another set is none of this one.
    SP_DEVINFO_DATA data = Element();
    HOLDS(SetupDiOpenDevRegKey(set, &data, DICS_FLAG_GLOBAL, 0, DIREG_DEV, KEY_READ) == INVALID_HANDLE_VALUE);
    data = Sized();
    HOLDS(SetupDiOpenDeviceInfoW(set, id.c_str(), nullptr, 0, &data));
    IS(IdOf(data.DevInst), id);
    HOLDS(SetupDiOpenDeviceInfoW(set, id.c_str(), nullptr, 0, &data));
    HOLDS(SetupDiEnumDeviceInfo(set, 0, &data));
    FAILS_WITH(SetupDiEnumDeviceInfo(set, 1, &data), ERROR_NO_MORE_ITEMS);  // one device, one element
    FAILS_WITH(SetupDiOpenDeviceInfoW(set, TEXT("ROOT\\QXNONE\\0000"), nullptr, 0, &data),
               ERROR_NO_SUCH_DEVINST);
    SetupDiDestroyDeviceInfoList(set);
}

CONTRACT_UNLESS(devices, a_device_has_one_node_in_all_sets, "SetupDiEnumDeviceInfo SetupDiOpenDeviceInfoW",
                "a device has a node number of its own in every set") {
    const HDEVINFO set = SetupDiCreateDeviceInfoList(nullptr, nullptr);
    SP_DEVINFO_DATA data = Sized();
    HOLDS(SetupDiOpenDeviceInfoW(set, IdOf(Element().DevInst).c_str(), nullptr, 0, &data));
    IS(data.DevInst, Element().DevInst);
    SetupDiDestroyDeviceInfoList(set);
}

CONTRACT(devices, properties_fill_what_they_fit,
         "SetupDiGetDeviceRegistryPropertyW SetupDiSetDeviceRegistryPropertyW") {
    SP_DEVINFO_DATA element = Element();
    const Wide name = TEXT("Contract Port (COM7)");
    const DWORD bytes = static_cast<DWORD>((name.size() + 1) * sizeof(WCHAR));
    HOLDS(SetupDiSetDeviceRegistryPropertyW(Set(), &element, SPDRP_FRIENDLYNAME,
                                            reinterpret_cast<const BYTE*>(name.c_str()), bytes));
    DWORD type = 0;
    DWORD size = 0;
    FAILS_WITH(
        SetupDiGetDeviceRegistryPropertyW(Set(), &element, SPDRP_FRIENDLYNAME, &type, nullptr, 0, &size),
        ERROR_INSUFFICIENT_BUFFER);
    IS(size, bytes);
    std::array<BYTE, 200> buffer{};
    FAILS_WITH(SetupDiGetDeviceRegistryPropertyW(Set(), &element, SPDRP_FRIENDLYNAME, nullptr, buffer.data(),
                                                 bytes - 1, nullptr),
               ERROR_INSUFFICIENT_BUFFER);
    HOLDS(SetupDiGetDeviceRegistryPropertyW(Set(), &element, SPDRP_FRIENDLYNAME, &type, buffer.data(), bytes,
                                            &size));
    IS(type, DWORD{REG_SZ});
    IS(size, bytes);
    IS(Wide(reinterpret_cast<const WCHAR*>(buffer.data())), name);
    FAILS_WITH(SetupDiGetDeviceRegistryPropertyW(Set(), &element, SPDRP_LOCATION_INFORMATION, nullptr,
                                                 buffer.data(), 200, nullptr),
               ERROR_INVALID_DATA);
    HOLDS(SetupDiGetDeviceRegistryPropertyW(Set(), &element, SPDRP_CLASS, nullptr, buffer.data(), 200,
                                            nullptr));
    IS(Wide(reinterpret_cast<const WCHAR*>(buffer.data())), Wide(TEXT("Ports")));
    // The driver key: class GUID, backslash, four digits.
    HOLDS(
        SetupDiGetDeviceRegistryPropertyW(Set(), &element, SPDRP_DRIVER, nullptr, buffer.data(), 200, &size));
    IS(size, (38U + 1 + 4 + 1) * 2);
}

CONTRACT(devices, the_hardware_key, "SetupDiOpenDevRegKey") {
    SP_DEVINFO_DATA element = Element();
    HKEY key = SetupDiOpenDevRegKey(Set(), &element, DICS_FLAG_GLOBAL, 0, DIREG_DEV, KEY_READ);
    NEEDS(key != INVALID_HANDLE_VALUE);
    std::array<WCHAR, 16> name{};
    DWORD size = sizeof(name);
    IS(RegQueryValueExW(key, TEXT("PortName"), nullptr, nullptr, reinterpret_cast<BYTE*>(name.data()), &size),
       ERROR_SUCCESS);
    IS(Wide(name.data()), Wide(TEXT("COM7")));
    IS(RegSetValueExW(key, TEXT("New"), 0, REG_SZ, reinterpret_cast<const BYTE*>(TEXT("")), 2),
       ERROR_ACCESS_DENIED);
    RegCloseKey(key);
    key = SetupDiOpenDevRegKey(Set(), &element, DICS_FLAG_GLOBAL, 0, DIREG_DEV, KEY_READ | KEY_WRITE);
    NEEDS(key != INVALID_HANDLE_VALUE);
    IS(RegSetValueExW(key, TEXT("New"), 0, REG_SZ, reinterpret_cast<const BYTE*>(TEXT("")), 2),
       ERROR_SUCCESS);
    RegCloseKey(key);
    FAILS_WITH(SetupDiOpenDevRegKey(INVALID_HANDLE_VALUE, &element, DICS_FLAG_GLOBAL, 0, DIREG_DEV, KEY_READ),
               ERROR_INVALID_HANDLE);
    FAILS_WITH(SetupDiOpenDevRegKey(Set(), &element, DICS_FLAG_GLOBAL, 0, 0x77, KEY_READ),
               ERROR_INVALID_FLAGS);
}

CONTRACT(devices, ids_by_device_node, "CM_Get_Device_ID_Size CM_Get_Device_IDW") {
    ULONG length = 0;
    IS(CM_Get_Device_ID_Size(&length, Element().DevInst, 0), DWORD{CR_SUCCESS});
    std::array<WCHAR, 256> id{};
    id.fill(u'#');
    IS(CM_Get_Device_IDW(Element().DevInst, id.data(), length + 1, 0), DWORD{CR_SUCCESS});
    IS(Wide(id.data()).size(), std::size_t{length});
}

CONTRACT_UNLESS(devices, no_id_for_a_short_buffer_or_a_node_that_is_none,
                "CM_Get_Device_ID_Size CM_Get_Device_IDW", "takes any buffer and any node") {
    std::array<WCHAR, 256> id{};
    ULONG length = 0;
    IS(CM_Get_Device_IDW(Element().DevInst, id.data(), 3, 0), DWORD{CR_BUFFER_SMALL});
    IS(CM_Get_Device_IDW(0x7FFFFFF, id.data(), 256, 0), DWORD{CR_INVALID_DEVNODE});
    IS(CM_Get_Device_ID_Size(&length, 0x7FFFFFF, 0), DWORD{CR_INVALID_DEVNODE});
}

CONTRACT(devices, interfaces_enumerate_and_tell_their_path,
         "SetupDiGetClassDevsW SetupDiEnumDeviceInterfaces SetupDiGetDeviceInterfaceDetailW") {
    contract::TestPort();
    const HDEVINFO set =
        SetupDiGetClassDevsW(&kControlClass, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    NEEDS(set != INVALID_HANDLE_VALUE);
    SP_DEVICE_INTERFACE_DATA found{};
    found.cbSize = 1;
    HOLDS(!SetupDiEnumDeviceInterfaces(set, nullptr, &kControlClass, 0, &found));
    found.cbSize = sizeof(found);
    NEEDS(SetupDiEnumDeviceInterfaces(set, nullptr, &kControlClass, 0, &found));
    DWORD needed = 0;
    FAILS_WITH(SetupDiGetDeviceInterfaceDetailW(set, &found, nullptr, 0, &needed, nullptr),
               ERROR_INSUFFICIENT_BUFFER);
    HOLDS(needed > 8);
    alignas(8) std::array<BYTE, 2048> buffer{};
    auto* const detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(buffer.data());
    detail->cbSize = 8;
    FAILS_WITH(SetupDiGetDeviceInterfaceDetailW(set, &found, detail, needed - 2, nullptr, nullptr),
               ERROR_INSUFFICIENT_BUFFER);
    HOLDS(SetupDiGetDeviceInterfaceDetailW(set, &found, detail, needed, nullptr, nullptr));
    const Wide path = detail->DevicePath;
    HOLDS(path.starts_with(TEXT("\\\\?\\")));
    // The reference string is the last component.
    HOLDS(path.substr(path.rfind(TEXT('\\')) + 1).starts_with(TEXT(QX_REFERENCE_PREFIX)));
    detail->cbSize = 4;
    FAILS_WITH(SetupDiGetDeviceInterfaceDetailW(set, &found, detail, needed, nullptr, nullptr),
               ERROR_INVALID_USER_BUFFER);
    DWORD index = 0;
    while (SetupDiEnumDeviceInterfaces(set, nullptr, &kControlClass, index, &found))
        ++index;
    IS(GetLastError(), DWORD{ERROR_NO_MORE_ITEMS});
    SetupDiDestroyDeviceInfoList(set);
}

CONTRACT(devices, a_driver_answers_requests, "CreateFileW DeviceIoControl CloseHandle") {
    const HANDLE control = OpenControl();
    NEEDS(control != INVALID_HANDLE_VALUE);
    std::array<DWORD, 2> header = {0, 0xFFFFFFFF};
    DWORD size = 0;
    DWORD returned = 0;
    HOLDS(DeviceIoControl(control, kSettingsSize, header.data(), 8, &size, 4, &returned, nullptr));
    IS(size, 132U);
    IS(returned, 4U);
    std::array<DWORD, 2 + 33> stream = {0, 0xFFFFFFFF};
    HOLDS(DeviceIoControl(control, kSettings, header.data(), 8, stream.data() + 2, size, &returned, nullptr));
    IS(returned, 132U);
    HOLDS(DeviceIoControl(control, kWriteSettings, stream.data(), sizeof(stream), nullptr, 0, &returned,
                          nullptr));
    IS(returned, 0U);
    HOLDS(!DeviceIoControl(control, kSettings, header.data(), 8, &size, 4, &returned, nullptr));
    HOLDS(!DeviceIoControl(control, kSettings, header.data(), 4, stream.data(), 132, &returned, nullptr));
    header[1] = 0xFFFFFFFE;
    HOLDS(!DeviceIoControl(control, kSettings, header.data(), 8, stream.data(), 132, &returned, nullptr));
    header[1] = 0xFFFFFFFF;
    HOLDS(!DeviceIoControl(control, 0x8001E00C, header.data(), 8, stream.data(), 132, &returned, nullptr));
    HOLDS(CloseHandle(control));
    FAILS_WITH(
        DeviceIoControl(INVALID_HANDLE_VALUE, kSettings, header.data(), 8, &size, 4, &returned, nullptr),
        ERROR_INVALID_HANDLE);
}

CONTRACT_UNLESS(devices, a_control_device_has_one_opener, "CreateFileW",
                "a failed open request does not fail CreateFileW") {
    const HANDLE first = OpenControl();
    NEEDS(first != INVALID_HANDLE_VALUE);
    HOLDS(OpenControl() == INVALID_HANDLE_VALUE);
    HOLDS(GetLastError() == ERROR_ACCESS_DENIED || GetLastError() == ERROR_SHARING_VIOLATION);
    CloseHandle(first);
    // So has the port itself, through whatever name.
    const auto open_port = [] {
        return CreateFileW(TEXT("\\\\.\\COM7"), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                           FILE_FLAG_OVERLAPPED, nullptr);
    };
    const HANDLE port = open_port();
    NEEDS(port != INVALID_HANDLE_VALUE);
    FAILS_WITH(open_port(), ERROR_ACCESS_DENIED);
    CloseHandle(port);
}

CONTRACT(devices, install_parameters_come_back,
         "SetupDiGetDeviceInstallParamsW SetupDiSetDeviceInstallParamsW") {
    SP_DEVINFO_DATA element = Element();
    SP_DEVINSTALL_PARAMS_W parameters{};
    parameters.cbSize = sizeof(parameters);
    NEEDS(SetupDiGetDeviceInstallParamsW(Set(), &element, &parameters));
    const DWORD before = parameters.Flags;
    parameters.Flags |= DI_PROPERTIES_CHANGE;
    HOLDS(SetupDiSetDeviceInstallParamsW(Set(), &element, &parameters));
    parameters.Flags = 0;
    HOLDS(SetupDiGetDeviceInstallParamsW(Set(), &element, &parameters));
    IS(parameters.Flags, before | DI_PROPERTIES_CHANGE);
    parameters.Flags = before;
    SetupDiSetDeviceInstallParamsW(Set(), &element, &parameters);
    parameters.cbSize = 1;
    FAILS_WITH(SetupDiGetDeviceInstallParamsW(Set(), &element, &parameters), ERROR_INVALID_USER_BUFFER);
}

CONTRACT_UNLESS(
    devices, a_device_is_stopped_and_started,
    "SetupDiSetClassInstallParamsW SetupDiCallClassInstaller CM_Get_DevNode_Status",
    "SetupDiSetClassInstallParamsW returns 0, DIF_PROPERTYCHANGE is unknown, the status is zeros") {
    SP_DEVINFO_DATA element = Element();
    SP_PROPCHANGE_PARAMS change{};
    change.ClassInstallHeader.cbSize = sizeof(SP_CLASSINSTALL_HEADER);
    change.ClassInstallHeader.InstallFunction = DIF_PROPERTYCHANGE;
    change.Scope = DICS_FLAG_GLOBAL;
    ULONG status = 0;
    ULONG problem = 0;
    change.ClassInstallHeader.cbSize = sizeof(change);  // the header's own size is wanted
    FAILS_WITH(SetupDiSetClassInstallParamsW(Set(), &element, &change.ClassInstallHeader, sizeof(change)),
               ERROR_INVALID_USER_BUFFER);
    change.ClassInstallHeader.cbSize = sizeof(SP_CLASSINSTALL_HEADER);
    for (const DWORD state : {DWORD{DICS_DISABLE}, DWORD{DICS_ENABLE}}) {
        change.StateChange = state;
        HOLDS(SetupDiSetClassInstallParamsW(Set(), &element, &change.ClassInstallHeader, sizeof(change)));
        HOLDS(SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, Set(), &element));
        IS(CM_Get_DevNode_Status(&status, &problem, element.DevInst, 0), DWORD{CR_SUCCESS});
        IS((status & DN_STARTED) != 0, state == DICS_ENABLE);
        IS(problem, state == DICS_ENABLE ? 0U : ULONG{CM_PROB_DISABLED});
    }
}

CONTRACT_UNLESS(devices, the_device_tree, "CM_Get_Parent CM_Get_Child CM_Get_Sibling CM_Locate_DevNodeW",
                kTreeGap) {
    DEVINST parent = 0;
    IS(CM_Get_Parent(&parent, Element().DevInst, 0), DWORD{CR_SUCCESS});
    DEVINST child = 0;
    bool found = false;
    for (CONFIGRET result = CM_Get_Child(&child, parent, 0); result == CR_SUCCESS;
         result = CM_Get_Sibling(&child, child, 0))
        found = found || child == Element().DevInst;
    HOLDS(found);
    IS(CM_Get_Child(&child, Element().DevInst, 0), DWORD{CR_NO_SUCH_DEVNODE});
    DEVINST root = 0;
    IS(CM_Locate_DevNodeW(&root, nullptr, CM_LOCATE_DEVNODE_NORMAL), DWORD{CR_SUCCESS});
    IS(CM_Get_Parent(&parent, root, 0), DWORD{CR_NO_SUCH_DEVNODE});
    WCHAR unknown[] = TEXT("ROOT\\QXNONE\\0000");
    IS(CM_Locate_DevNodeW(&child, unknown, CM_LOCATE_DEVNODE_NORMAL), DWORD{CR_NO_SUCH_DEVNODE});
    IS(CM_Get_Parent(&parent, 0x7FFFFFF, 0), DWORD{CR_INVALID_DEVNODE});
}

CONTRACT_UNLESS(devices, re_enumerating_a_node, "CM_Reenumerate_DevNode", kTreeGap) {
    IS(CM_Reenumerate_DevNode(Element().DevInst, 0), DWORD{CR_SUCCESS});
    IS(CM_Reenumerate_DevNode(0x7FFFFFF, 0), DWORD{CR_INVALID_DEVNODE});
}

CONTRACT(devices, a_device_is_removed_from_an_open_set_only, "SetupDiRemoveDevice") {
    SP_DEVINFO_DATA element = Element();
    FAILS_WITH(SetupDiRemoveDevice(INVALID_HANDLE_VALUE, &element), ERROR_INVALID_HANDLE);
}

// On Wine it is our stand-in for the missing library that is held to this.
CONTRACT(devices, the_port_database,
         "ComDBOpen ComDBClose ComDBClaimPort ComDBReleasePort ComDBGetCurrentPortUsage") {
    if (contract::bare && contract::OnWine())
        throw contract::Lacking{"a port database, for which the Windows tests bring a stand-in"};
    HCOMDB database = HCOMDB_INVALID_HANDLE_VALUE;
    IS(ComDBOpen(&database), ERROR_SUCCESS);
    NEEDS(database != HCOMDB_INVALID_HANDLE_VALUE);
    std::array<BYTE, 256> usage{};
    DWORD reported = 0;
    BOOL forced = TRUE;
    IS(ComDBClaimPort(database, 200, FALSE, &forced), ERROR_SUCCESS);
    IS(forced, FALSE);
    IS(ComDBClaimPort(database, 200, FALSE, &forced), ERROR_SHARING_VIOLATION);
    IS(ComDBClaimPort(database, 200, TRUE, &forced), ERROR_SUCCESS);
    IS(forced, TRUE);
    IS(ComDBGetCurrentPortUsage(database, usage.data(), 256, CDB_REPORT_BYTES, &reported), ERROR_SUCCESS);
    IS(usage[199], 1);
    IS(usage[200], 0);
    IS(reported, 256U);
    IS(ComDBReleasePort(database, 200), ERROR_SUCCESS);
    IS(ComDBGetCurrentPortUsage(database, usage.data(), 256, CDB_REPORT_BYTES, &reported), ERROR_SUCCESS);
    IS(usage[199], 0);
    IS(ComDBReleasePort(database, 0), ERROR_INVALID_PARAMETER);
    // The database does not grow by a claim.
    IS(ComDBClaimPort(database, 257, TRUE, nullptr), ERROR_INVALID_PARAMETER);
    IS(ComDBClose(database), ERROR_SUCCESS);
    IS(ComDBClaimPort(HCOMDB_INVALID_HANDLE_VALUE, 5, TRUE, nullptr), ERROR_INVALID_PARAMETER);
}
