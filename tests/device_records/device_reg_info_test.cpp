// SPDX-License-Identifier: MIT
// Reading and writing a device's record, over registry data as installation programs of every quality leave
// them.
#include "tests/support/machine_fixture.h"
#include "tests/support/sweep.h"

#include "device_records/device_reg_info.h"
#include "device_records/registry_layout.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using qx::CQXDeviceRegInfo;
using qx::Text;
using qxsim::Bytes;

constexpr const char* kPort = "QXBUS\\PORT1\\7&1&0&0000";

Bytes Units(std::string_view text) {
    Bytes bytes;
    for (const char unit : text) {
        bytes.push_back(static_cast<BYTE>(unit));
        bytes.push_back(0);
    }
    return bytes;
}

std::string Narrow(const Text& text) {
    return qxsim::ToUtf8(qxsim::WideString(text.view()));
}

class DeviceRecord : public qxtest::MachineTest {
  protected:
    void SetUp() override {
        MachineTest::SetUp();
        texts_are_whole = false;
        qxsim::DeviceRecipe port;
        port.id = kPort;
        port.port = "COM5";
        machine().AddDevice(qxsim::Machine::kRoot, port);
    }

    CQXDeviceRegInfo Record() {
        const Handed handed = Hand(kPort);
        return {handed.set, handed.element};
    }
    qxsim::RegistryKey& Key() { return *machine().HardwareKey(Dev(kPort)); }
    void SetProperty(DWORD type, Bytes data) {
        Dev(kPort).properties[SPDRP_FRIENDLYNAME] = {type, std::move(data)};
    }
};

TEST_F(DeviceRecord, ReadsThePropertiesThatTheSystemNeeds) {
    machine().SetPropertyText(Dev(kPort), SPDRP_DRIVER, "{4d36e978}\\0012");
    const CQXDeviceRegInfo record = Record();
    Text text;
    ASSERT_TRUE(record.GetClassString(text));
    EXPECT_EQ(Narrow(text), "Ports");
    ASSERT_TRUE(record.GetDriverKey(text));
    EXPECT_EQ(Narrow(text), "{4d36e978}\\0012");
    ASSERT_TRUE(record.GetFriendlyName(text));
    EXPECT_EQ(Narrow(text), "Veltramark Serial Port (COM5)");
}

TEST_F(DeviceRecord, PropertiesOfEveryRegistryType) {
    struct Case {
        const char* what;
        DWORD type;
        Bytes data;
        bool good;
        const char* text;
    };
    const Case cases[] = {
        {"text", REG_SZ, Units(std::string("COM5\0", 5)), true, "COM5"},
        {"text that goes on behind its NUL", REG_SZ, Units(std::string("COM5\0junk", 9)), true, "COM5"},
        {"text without NUL", REG_SZ, Units("COM5"), true, "COM5"},
        {"text of odd length", REG_SZ, {'C', 0, 'O', 0, 'M'}, true, "CO"},
        {"single byte", REG_SZ, {'C'}, true, ""},
        {"no data, which the platform takes for no property", REG_SZ, {}, false, ""},
        {"environment reference", REG_EXPAND_SZ, Units("%TEMP%"), true, "%TEMP%"},
        {"list", REG_MULTI_SZ, Units(std::string("first\0second\0\0", 14)), true, "first"},
        {"list without any NUL", REG_MULTI_SZ, Units("first"), true, "first"},
        {"empty list", REG_MULTI_SZ, Units(std::string("\0\0", 2)), true, ""},
        {"nothing", REG_NONE, Units("COM5"), false, ""},
        {"number", REG_DWORD, {1, 0, 0, 0}, false, ""},
        {"bytes", REG_BINARY, Units("COM5"), false, ""},
        {"unknown type", 0xFFFFFFFF, Units("COM5"), false, ""},
    };
    for (const Case& c : cases) {
        SetProperty(c.type, c.data);
        Text text(TEXT("old"));
        EXPECT_EQ(Record().GetFriendlyName(text), c.good) << c.what;
        EXPECT_EQ(Narrow(text), c.good ? c.text : "old") << c.what;
    }
    Dev(kPort).properties.erase(SPDRP_FRIENDLYNAME);
    Text text(TEXT("old"));
    EXPECT_FALSE(Record().GetFriendlyName(text));
    EXPECT_EQ(Narrow(text), "old");
    // A class of no bytes is one, and is read without a buffer.
    Dev(kPort).properties[SPDRP_CLASS] = {REG_SZ, {}};
    ASSERT_TRUE(Record().GetClassString(text));
    EXPECT_TRUE(text.empty());
}

TEST_F(DeviceRecord, APropertyThatGrowsWhileItIsReadIsReadWhole) {
    int growths = 0;
    instruments().OnCall([&](const qxsim::CallRecord& call) {
        if (call.function == "SetupDiGetDeviceRegistryPropertyW" && growths < 3)
            machine().SetPropertyText(Dev(kPort), SPDRP_FRIENDLYNAME,
                                      std::string(static_cast<std::size_t>(100 * ++growths), 'x'));
    });
    Text text;
    ASSERT_TRUE(Record().GetFriendlyName(text));
    EXPECT_EQ(text.length(), 300U);
    EXPECT_EQ(instruments().CallCount("SetupDiGetDeviceRegistryPropertyW"), 5U);
    instruments().OnCall(nullptr);
}

TEST_F(DeviceRecord, ASearchForRoomThatLeadsNowhereEnds) {
    Text text(TEXT("old"));
    instruments().Inject({"LocalAlloc", 1, true, 0});
    EXPECT_FALSE(Record().GetFriendlyName(text));
    // The platform finds a buffer too small without asking for more: for none, or for as much as before.
    for (const std::uint64_t nth : {1U, 2U}) {
        instruments().ClearFaults();
        instruments().Inject({"SetupDiGetDeviceRegistryPropertyW", nth, true, ERROR_INSUFFICIENT_BUFFER});
        EXPECT_FALSE(Record().GetFriendlyName(text));
        EXPECT_EQ(Narrow(text), "old");
    }
}

TEST_F(DeviceRecord, HardwareKeyValuesAreTakenAsTextWhateverTheyAre) {
    struct Case {
        const char* what;
        DWORD type;
        Bytes data;
        bool good;
        std::string text;
    };
    const Case cases[] = {
        {"COM name", REG_SZ, Units(std::string("COM255\0", 7)), true, "COM255"},
        {"149 characters and NUL", REG_SZ, Units(std::string(149, 'x') + '\0'), true, std::string(149, 'x')},
        {"300 bytes without NUL", REG_SZ, Units(std::string(150, 'x')), true, std::string(150, 'x')},
        {"301 bytes", REG_SZ, Bytes(301, 'x'), false, ""},
        {"without NUL", REG_SZ, Units("COM5"), true, "COM5"},
        {"odd length", REG_SZ, {'C', 0, 'O'}, true, "CO"},
        {"no data", REG_SZ, {}, true, ""},
        {"number", REG_DWORD, {'A', 0, 'B', 0}, true, "AB"},
        {"bytes", REG_BINARY, {'7', 0}, true, "7"},
        {"list", REG_MULTI_SZ, Units(std::string("a\0b\0\0", 5)), true, "a"},
        {"type that nobody knows", 0x12345678, Units("z"), true, "z"},
    };
    for (const Case& c : cases) {
        Key().Set(qxsim::ToWide("PortName"), c.type, c.data);
        Text text(TEXT("old"));
        EXPECT_EQ(Record().GetDeviceString(qx::kPortName, text), c.good) << c.what;
        EXPECT_EQ(Narrow(text), c.good ? c.text : "old") << c.what;
    }
    Text text(TEXT("old"));
    EXPECT_FALSE(Record().GetDeviceString(TEXT("Absent"), text));
    Key().refused = KEY_SET_VALUE;
    EXPECT_FALSE(Record().SetDeviceString(qx::kPortName, TEXT("COM9")));
    EXPECT_FALSE(
        machine().ReadText("System\\CurrentControlSet\\Enum\\" + std::string(kPort) + "\\Device Parameters",
                           "PortName") == "COM9");
    EXPECT_TRUE(Record().GetDeviceString(qx::kPortName, text)) << "reading asks for no right to write";
}

TEST_F(DeviceRecord, TextsAreStoredWithTheirNul) {
    ASSERT_TRUE(Record().SetDeviceString(qx::kPortName, TEXT("COM7")));
    const auto* value = Key().Find(qxsim::ToWide("PortName"));
    EXPECT_EQ(value->type, DWORD{REG_SZ});
    EXPECT_EQ(value->data, Units(std::string("COM7\0", 5)));
    ASSERT_TRUE(Record().SetFriendlyName(TEXT("Port (COM7)")));
    EXPECT_EQ(Dev(kPort).properties[SPDRP_FRIENDLYNAME].data, Units(std::string("Port (COM7)\0", 12)));
    ASSERT_TRUE(Record().SetFriendlyName(Text()));
    EXPECT_EQ(Dev(kPort).properties[SPDRP_FRIENDLYNAME].data, Bytes(2));
}

// Whatever call of an operation fails, it says so, and neither the caller's text nor the registry changes.
TEST_F(DeviceRecord, AFailedCallIsAFailedOperation) {
    const std::function<bool(const CQXDeviceRegInfo&, Text&)> operations[] = {
        [](const auto& record, Text& out) { return record.GetFriendlyName(out); },
        [](const auto& record, Text& out) { return record.GetDeviceString(qx::kPortName, out); },
        [](const auto& record, Text&) { return record.SetFriendlyName(TEXT("new")); },
        [](const auto& record, Text&) { return record.SetDeviceString(qx::kPortName, TEXT("new")); },
    };
    const std::string before = machine().ToJson();
    for (const auto& operation : operations) {
        bool good = false;
        Text text;
        qxtest::ForEachFault([this] { return machine().Clone(); },
                             [&](qxsim::Machine& computer) {
                                 Handed handed;
                                 handed.set =
                                     qxsim::HandDevice(computer, *computer.Find(kPort), handed.element);
                                 text = TEXT("old");
                                 good = operation(CQXDeviceRegInfo(handed.set, handed.element), text);
                             },
                             [&](qxsim::Machine& computer, const qxtest::FaultPoint& point) {
                                 EXPECT_EQ(good, point.call.starts_with("RegCloseKey")) << point.Describe();
                                 if (!good) {
                                     EXPECT_EQ(Narrow(text), "old");
                                     EXPECT_EQ(computer.ToJson(), before);
                                 }
                             });
    }
}

TEST(RegistryLayout, BackupNamesAreMadeByOneRule) {
    const std::pair<const char*, const char*> cases[] = {
        {"ABC\\PORT7\\4&1A2B3C&0&0007", "ABC_7_4&1A2B3C&0&0007"},
        {"ABC\\P\\X", "ABC_P_X"},
        {"ABC\\PQ\\X", "ABC_Q_X"},
        {"ABC\\\\X", "ABC__X"},
        {"ABC\\X", "ABC_X"},
        {"ABC", "ABC"},
        {"", ""},
        {"\\PORT7\\", "_7_"},
        {"A\\PORT7\\B\\CD\\E", "A_7_B_CD_E"},
    };
    for (const auto& [id, name] : cases)
        EXPECT_EQ(Narrow(qx::PortBackupKeyName(Text(qxsim::ToWide(id).c_str()))), name) << id;
    EXPECT_EQ(Narrow(qx::BackupUi1KeyPath(TEXT("USB\\V\\1"), TEXT("B_1"))),
              "System\\CurrentControlSet\\Enum\\USB\\V\\1\\Device Parameters\\B_1\\UI1");
    EXPECT_EQ(Narrow(qx::Ui1KeyPath(TEXT("USB\\V\\1"))),
              "System\\CurrentControlSet\\Enum\\USB\\V\\1\\Device Parameters\\UI1");
}

}  // namespace
