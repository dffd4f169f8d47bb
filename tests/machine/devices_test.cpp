// SPDX-License-Identifier: MIT
// Device sets, properties, keys, the tree, and what the class installer does to them.
#include "tests/support/machine_fixture.h"

#include <gmock/gmock.h>

#include <array>
#include <string>
#include <vector>

namespace {

using qxtest::MachineTest;
using testing::ElementsAre;

constexpr const char* kAdapter = "USB\\VID_0F7A&PID_1104\\A1";
constexpr const char* kPort1 = "QXUSB\\PORT\\1";
constexpr const char* kPort2 = "QXUSB\\PORT\\2";

class DevicesTest : public MachineTest {
  protected:
    void SetUp() override {
        MachineTest::SetUp();
        Use(qxsim::Machine::FromJson(R"({"devices": [
            {"id": "ACPI\\PNP0501\\1", "port": "COM1", "foreign": true},
            {"id": "USB\\VID_0F7A&PID_1104\\A1", "class": "USB", "location": "Port_#0001",
             "children": [{"id": "QXUSB\\PORT\\1", "port": "COM5"}, {"id": "QXUSB\\PORT\\2", "port": "COM6"}]},
            {"id": "USB\\GONE\\1", "class": "USB", "present": false,
             "children": [{"id": "QXUSB\\PORT\\9", "port": "COM9", "present": false}]}]})"));
    }

    static std::vector<std::string> Members(HDEVINFO set) {
        std::vector<std::string> ids;
        SP_DEVINFO_DATA data{};
        data.cbSize = sizeof(data);
        for (DWORD index = 0; SetupDiEnumDeviceInfo(set, index, &data) != FALSE; ++index) {
            std::array<WCHAR, 200> id{};
            EXPECT_TRUE(SetupDiGetDeviceInstanceIdW(set, &data, id.data(), id.size(), nullptr));
            ids.push_back(qxsim::ToUtf8(id.data()));
        }
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_MORE_ITEMS));
        return ids;
    }
    static std::vector<std::string> Get(const GUID* guid, const WCHAR* enumerator, DWORD flags) {
        HDEVINFO set = SetupDiGetClassDevsW(guid, enumerator, nullptr, flags);
        std::vector<std::string> ids = Members(set);
        EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
        return ids;
    }
    // As a device is disabled or enabled by the device manager.
    BOOL Change(const char* id, DWORD state) {
        Handed device = Hand(id);
        SP_PROPCHANGE_PARAMS params{};
        params.ClassInstallHeader.cbSize = sizeof(params.ClassInstallHeader);
        params.ClassInstallHeader.InstallFunction = DIF_PROPERTYCHANGE;
        params.StateChange = state;
        params.Scope = DICS_FLAG_GLOBAL;
        EXPECT_TRUE(SetupDiSetClassInstallParamsW(device.set, &device.element, &params.ClassInstallHeader,
                                                  sizeof(params)));
        return SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, device.set, &device.element);
    }
};

TEST_F(DevicesTest, ClassEnumeratorAndPresenceSelectTheMembersOfASet) {
    const GUID ports = qxsim::FindSetupClass("Ports")->guid;
    const GUID usb = qxsim::FindSetupClass("USB")->guid;
    EXPECT_THAT(Get(&ports, nullptr, DIGCF_PRESENT), ElementsAre("ACPI\\PNP0501\\1", kPort1, kPort2));
    EXPECT_THAT(Get(&ports, nullptr, 0), ElementsAre("ACPI\\PNP0501\\1", kPort1, kPort2, "QXUSB\\PORT\\9"));
    EXPECT_THAT(Get(&usb, TEXT("usb"), 0), ElementsAre(kAdapter, "USB\\GONE\\1"));
    EXPECT_EQ(Get(&ports, nullptr, DIGCF_ALLCLASSES).size(), 6U);  // the class counts for nothing then
    EXPECT_EQ(SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_PRESENT), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST_F(DevicesTest, ElementsAreCheckedForSizeAndSet) {
    HDEVINFO set = SetupDiCreateDeviceInfoList(nullptr, nullptr);
    SP_DEVINFO_DATA data{};
    EXPECT_FALSE(SetupDiOpenDeviceInfoW(set, TEXT("QXUSB\\PORT\\1"), nullptr, 0, &data));
    EXPECT_EQ(GetLastError(), 1784U);  // ERROR_INVALID_USER_BUFFER: cbSize
    data.cbSize = sizeof(data);
    EXPECT_FALSE(SetupDiOpenDeviceInfoW(set, TEXT("QXUSB\\PORT\\X"), nullptr, 0, &data));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_SUCH_DEVINST));
    EXPECT_TRUE(
        SetupDiOpenDeviceInfoW(set, TEXT("qxusb\\port\\9"), nullptr, 0, &data));  // absent ones open, too
    const DWORD first = data.DevInst;
    EXPECT_TRUE(SetupDiOpenDeviceInfoW(set, TEXT("QXUSB\\PORT\\9"), nullptr, 0, &data));
    EXPECT_EQ(data.DevInst, first);
    EXPECT_EQ(Members(set).size(), 1U);
    Handed other = Hand(kPort1);
    EXPECT_EQ(SetupDiOpenDevRegKey(set, &other.element, DICS_FLAG_GLOBAL, 0, DIREG_DEV, KEY_READ),
              INVALID_HANDLE_VALUE);
    EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
    EXPECT_FALSE(SetupDiEnumDeviceInfo(set, 0, &data));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_F(DevicesTest, PropertiesReportTypeAndSizeAndKeepTheLastErrorOnSuccess) {
    Handed port = Hand(kPort1);
    DWORD required = 0;
    DWORD type = 0;
    EXPECT_FALSE(SetupDiGetDeviceRegistryPropertyW(port.set, &port.element, SPDRP_CLASS, &type, nullptr, 0,
                                                   &required));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(required, 12U);
    std::array<BYTE, 12> text{};
    SetLastError(4711);
    EXPECT_TRUE(SetupDiGetDeviceRegistryPropertyW(port.set, &port.element, SPDRP_CLASS, &type, text.data(),
                                                  text.size(), nullptr));
    EXPECT_EQ(GetLastError(), 4711U);
    EXPECT_EQ(qxsim::BytesText({text.begin(), text.end()}), TEXT("Ports"));
    EXPECT_FALSE(SetupDiGetDeviceRegistryPropertyW(port.set, &port.element, SPDRP_LOCATION_INFORMATION,
                                                   nullptr, text.data(), text.size(), nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_DATA));
    // Behind the last property that there is.
    EXPECT_FALSE(SetupDiGetDeviceRegistryPropertyW(port.set, &port.element, 0x25, nullptr, text.data(),
                                                   text.size(), nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_REG_PROPERTY));
    const qxsim::Bytes name = qxsim::TextBytes(TEXT("Scale (COM5)"));
    EXPECT_TRUE(SetupDiSetDeviceRegistryPropertyW(port.set, &port.element, SPDRP_FRIENDLYNAME, name.data(),
                                                  static_cast<DWORD>(name.size())));
    EXPECT_EQ(machine().PropertyText(Dev(kPort1), SPDRP_FRIENDLYNAME), "Scale (COM5)");
    EXPECT_FALSE(SetupDiSetDeviceRegistryPropertyW(port.set, &port.element, SPDRP_CLASS, name.data(), 4));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_REG_PROPERTY));
}

TEST_F(DevicesTest, HardwareKeyFailsWithAnInvalidHandleNotANullOne) {
    Handed port = Hand(kPort1);
    machine().HardwareKey(Dev(kPort1))->refused = KEY_SET_VALUE;
    EXPECT_EQ(SetupDiOpenDevRegKey(port.set, &port.element, DICS_FLAG_GLOBAL, 0, DIREG_DEV, GENERIC_WRITE),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    HKEY key = SetupDiOpenDevRegKey(port.set, &port.element, DICS_FLAG_GLOBAL, 0, DIREG_DEV, GENERIC_READ);
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExW(key, TEXT("PortName"), nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
    RegCloseKey(key);
    machine().DeleteKey(qxsim::Machine::HardwareKeyPath(Dev(kPort1).id));
    EXPECT_EQ(SetupDiOpenDevRegKey(port.set, &port.element, DICS_FLAG_GLOBAL, 0, DIREG_DEV, GENERIC_READ),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_KEY_DOES_NOT_EXIST));
}

TEST_F(DevicesTest, TheTreeHoldsWhatIsPresentInTheBussOrder) {
    DEVINST node = 0;
    ASSERT_EQ(CM_Locate_DevNodeW(&node, nullptr, 0), static_cast<CONFIGRET>(CR_SUCCESS));
    EXPECT_EQ(node, qxsim::Machine::kRoot);
    std::vector<std::string> children;
    const DEVINST adapter = Dev(kAdapter).node;
    for (CONFIGRET result = CM_Get_Child(&node, adapter, 0); result == CR_SUCCESS;
         result = CM_Get_Sibling(&node, node, 0)) {
        ULONG length = 0;
        ASSERT_EQ(CM_Get_Device_ID_Size(&length, node, 0), static_cast<CONFIGRET>(CR_SUCCESS));
        std::vector<WCHAR> id(length + 1);
        EXPECT_EQ(CM_Get_Device_IDW(node, id.data(), length, 0), static_cast<CONFIGRET>(CR_BUFFER_SMALL));
        ASSERT_EQ(CM_Get_Device_IDW(node, id.data(), length + 1, 0), static_cast<CONFIGRET>(CR_SUCCESS));
        children.push_back(qxsim::ToUtf8(id.data()));
    }
    EXPECT_THAT(children, ElementsAre(kPort1, kPort2));
    EXPECT_EQ(CM_Get_Parent(&node, Dev(kPort2).node, 0), static_cast<CONFIGRET>(CR_SUCCESS));
    EXPECT_EQ(node, adapter);
    EXPECT_EQ(CM_Get_Parent(&node, qxsim::Machine::kRoot, 0), static_cast<CONFIGRET>(CR_NO_SUCH_DEVNODE));
    EXPECT_EQ(CM_Get_Parent(&node, 9999, 0), static_cast<CONFIGRET>(CR_INVALID_DEVNODE));
    std::basic_string<WCHAR> ghost = TEXT("USB\\GONE\\1");
    EXPECT_EQ(CM_Locate_DevNodeW(&node, ghost.data(), 0), static_cast<CONFIGRET>(CR_NO_SUCH_DEVNODE));
    EXPECT_EQ(CM_Locate_DevNodeW(&node, ghost.data(), CM_LOCATE_DEVNODE_PHANTOM),
              static_cast<CONFIGRET>(CR_SUCCESS));
}

TEST_F(DevicesTest, DisablingTakesTheSubtreeDownAndEnablingReadsPortNameAgain) {
    EXPECT_TRUE(Change(kAdapter, DICS_DISABLE));
    ULONG status = 0;
    ULONG problem = 0;
    EXPECT_EQ(CM_Get_DevNode_Status(&status, &problem, Dev(kAdapter).node, 0),
              static_cast<CONFIGRET>(CR_SUCCESS));
    EXPECT_EQ(status & DN_STARTED, 0U);
    EXPECT_EQ(problem, static_cast<ULONG>(CM_PROB_DISABLED));
    EXPECT_FALSE(machine().Present(Dev(kPort1)));
    EXPECT_EQ(machine().DosTarget("COM5"), std::nullopt);
    EXPECT_EQ(machine().SerialCommName(Dev(kPort2)), "");
    // It stays disabled over a restart.
    EXPECT_FALSE(qxsim::Machine::Reopen(machine().Snapshot())->Find(kAdapter)->started);

    machine().HardwareKey(Dev(kPort1))->Set(TEXT("PortName"), REG_SZ, qxsim::TextBytes(TEXT("COM15")));
    EXPECT_TRUE(Change(kAdapter, DICS_ENABLE));
    EXPECT_EQ(machine().DosTarget("COM5"), std::nullopt);
    EXPECT_EQ(machine().DosTarget("COM15"), qxsim::ToUtf8(Dev(kPort1).kernel_path));
    EXPECT_EQ(machine().SerialCommName(Dev(kPort1)), "COM15");
    EXPECT_EQ(machine().SerialCommName(Dev(kPort2)), "COM6");
}

TEST_F(DevicesTest, ADeviceInUseAsksForARestartInsteadOfStopping) {
    HANDLE file = CreateFileW(TEXT("\\\\.\\COM6"), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(Change(kAdapter, DICS_DISABLE));
    EXPECT_TRUE(Dev(kPort2).started);
    EXPECT_TRUE(CloseHandle(file));
    EXPECT_FALSE(qxsim::Machine::Reopen(machine().Snapshot())->Find(kAdapter)->started);
}

TEST_F(DevicesTest, RemovalTakesDeviceSubtreeKeysAndNamesButNoClaims) {
    Handed adapter = Hand(kAdapter);
    Handed port = Hand(kPort1);
    EXPECT_TRUE(SetupDiCallClassInstaller(DIF_REMOVE, adapter.set, &adapter.element));
    EXPECT_EQ(machine().Find(kAdapter), nullptr);
    EXPECT_EQ(machine().Find(kPort1), nullptr);
    EXPECT_EQ(machine().DosTarget("COM5"), std::nullopt);
    EXPECT_TRUE(machine().Claimed(5));
    EXPECT_FALSE(
        machine().ReadText("System\\CurrentControlSet\\Enum\\QXUSB\\PORT\\1\\Device Parameters", "PortName"));
    // Whoever still has the device in a set gets errors, not its ghost.
    EXPECT_EQ(SetupDiOpenDevRegKey(port.set, &port.element, DICS_FLAG_GLOBAL, 0, DIREG_DEV, GENERIC_READ),
              INVALID_HANDLE_VALUE);
    DEVINST node = 0;
    EXPECT_EQ(CM_Get_Parent(&node, port.element.DevInst, 0), static_cast<CONFIGRET>(CR_NO_SUCH_DEVNODE));
    EXPECT_FALSE(SetupDiCallClassInstaller(DIF_SELECTDEVICE, port.set, &port.element));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_DI_DO_DEFAULT));
}

TEST_F(DevicesTest, ClassInstallParametersAreCheckedAndNeeded) {
    Handed port = Hand(kPort1);
    EXPECT_FALSE(SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, port.set, &port.element));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_CLASSINSTALL_PARAMS));
    SP_PROPCHANGE_PARAMS params{};
    params.ClassInstallHeader.cbSize = sizeof(params);  // the header's own size is wanted
    params.ClassInstallHeader.InstallFunction = DIF_PROPERTYCHANGE;
    EXPECT_FALSE(
        SetupDiSetClassInstallParamsW(port.set, &port.element, &params.ClassInstallHeader, sizeof(params)));
    EXPECT_EQ(GetLastError(), 1784U);
    SP_DEVINSTALL_PARAMS_W install{};
    EXPECT_FALSE(SetupDiGetDeviceInstallParamsW(port.set, &port.element, &install));
    install.cbSize = sizeof(install);
    EXPECT_TRUE(SetupDiGetDeviceInstallParamsW(port.set, &port.element, &install));
    install.FlagsEx |= DI_FLAGSEX_PROPCHANGE_PENDING;
    EXPECT_TRUE(SetupDiSetDeviceInstallParamsW(port.set, &port.element, &install));
    install.FlagsEx = 0;
    EXPECT_TRUE(SetupDiGetDeviceInstallParamsW(port.set, &port.element, &install));
    EXPECT_EQ(install.FlagsEx, static_cast<DWORD>(DI_FLAGSEX_PROPCHANGE_PENDING));
}

}  // namespace
