// SPDX-License-Identifier: MIT
// Settings on the command line and in files.
#include "tests/admin/commands_fixture.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace qxtest {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class SettingsFileTest : public CommandsTest {
  public:
    void SetUp() override {
        CommandsTest::SetUp();
        Use(qxsim::Machine::Load(std::string(QX_EXAMPLES) + "/usb-four-port.json"));
        file_ = std::filesystem::temp_directory_path() / ("qxports-" + std::to_string(getpid()) + ".json");
    }
    void TearDown() override {
        std::filesystem::remove(file_);
        CommandsTest::TearDown();
    }
    std::string Write(const std::string& text) {
        std::ofstream(file_, std::ios::binary) << text;
        return file_.string();
    }
    qxsim::PortSettings& Of(const std::string& port) {
        return Dev("QXUSB\\PORT_1104\\6&3F21A0&0&000" + port).control->settings;
    }

  private:
    std::filesystem::path file_;
};

// One station's settings on another: first only said, then done; and the other then says the same.
TEST_F(SettingsFileTest, OneStationsSettingsBecomeAnothers) {
    Dev("QXUSB\\PORT_1104\\6&3F21A0&0&0002").control->bus["MaximumLatency"] = 77;
    const std::string first = Command("export").out;
    EXPECT_THAT(first, testing::Not(HasSubstr("Supported")));
    for (const char* const how : {"", " --by-position"}) {
        Use(qxsim::Machine::Load(std::string(QX_EXAMPLES) + "/usb-four-port.json"));
        for (const char* const port : {"1", "2", "3", "4"})
            Of(port) = qxsim::PortSettings();
        const std::string before = Command("export").out;
        EXPECT_NE(before, first);
        const std::string import = "import " + Write(first) + how;
        EXPECT_THAT(Command(import + " --dry-run").out,
                    AllOf(HasSubstr("COM10 would change:"), HasSubstr("  Parity: 0 -> 2 (even parity)")));
        EXPECT_EQ(Command("export").out, before);
        EXPECT_EQ(Command(import).code, 0);
        EXPECT_EQ(Command("export").out, first);
        EXPECT_THAT(Command(import).out, HasSubstr("COM11: nothing to change"));
    }
}

// By position the names may differ; a second adapter of the kind makes positions ambiguous.
TEST_F(SettingsFileTest, PositionsFindPortsThatHaveOtherNames) {
    Of("2")["Baudrate"] = 57600;
    const std::string file = Write(Command("export COM11").out);
    EXPECT_EQ(Command("rename COM11 COM40").code, 0);
    Of("2")["Baudrate"] = 9600;
    EXPECT_EQ(Command("import " + file).code, 4);
    EXPECT_EQ(Command("import " + file + " --by-position").code, 0);
    EXPECT_EQ(Of("2")["Baudrate"], 57600U);
    qxsim::DeviceRecipe twin;
    twin.id = "USB\\VID_0F7A&PID_1104\\QX999";
    twin.setup_class = "USB";
    const DEVINST node = machine().AddDevice(qxsim::Machine::kRoot, twin);
    AddPort("QXUSB\\TWIN\\1", "COM50", false, true, node);
    AddPort("QXUSB\\TWIN\\2", "COM51", false, true, node);
    EXPECT_THAT(Command("import " + file + " --by-position").err, HasSubstr("QXUSB\\TWIN\\2"));
}

TEST_F(SettingsFileTest, RefusesWhatItDoesNotKnowByItsLine) {
    const auto port = [](const std::string& settings) {
        return "{\n \"format\": 1,\n \"ports\": [\n  {\"port\": \"COM6\",\n   \"portSettings\": {\n    " +
               settings + "\n   }\n  }\n ]\n}\n";
    };
    struct Case {
        std::string text;
        int code;
        const char* says;
    };
    const std::vector<Case> cases{
        {port("\"Baudrate\": 19200,\n    \"Speed\": 1"), 2, "line 7: there is no port setting \"Speed\""},
        {port("\"Baudrate\": 19200,\n    \"Parity\": 5"), 2,
         "line 7: Parity cannot be \"5\"; allowed: 0, 1, 2"},
        {port("\"Baudrate\": 59"), 2, "line 6: Baudrate"},
        {port("\"Baudrate\": -1"), 2, "line 6: the number -1"},
        {port("\"Baudrate\": 4294967296"), 2, "line 6: the number 4294967296"},
        {port("\"Baudrate\": 9600.5"), 2, "line 6"},
        {port("\"Baudrate\": \"9600\""), 2, "line 6"},
        {port("\"Baudrate\": {}"), 2, "line 6"},
        {port("\"DuplexMode\": 2"), 2, "line 6: DuplexMode cannot be \"2\""},
        {port("\"SupportedParities\": 1"), 2, "line 6: SupportedParities tells what the port can do"},
        {port("\"Parity\": 1, \"Parity\": 2"), 2, "Parity is set twice"},
        {port("\"Parity\": 1,"), 2, "no JSON"},
        {"", 2, "no JSON"},
        {"[]", 2, "cannot stand here"},
        {"{\"format\": 2}", 2, "format 2"},
        {"{\"ports\": []}", 2, "\"format\": 1"},
        {"{\"format\": 1, \"ports\": [{}]}", 2, "line 1: a port without a name"},
        {"{\"format\": 1, \"ports\": [{\"port\": \"COM99\"}]}", 4, "line 1: there is no port COM99"},
        {"{\"format\": 1, \"ports\": [{\"port\": \"COM1\"}]}", 5, "no control device"},
        {"{\"format\": 1, \"ports\": [{\"port\": \"COM6\"},\n{\"port\": \"com6\"}]}", 2,
         "line 2: COM6 is meant twice"},
    };
    const std::string before = machine().ToJson();
    for (const Case& each : cases) {
        const Outcome outcome = Command("import " + Write(each.text));
        EXPECT_EQ(outcome.code, each.code) << each.text << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(each.says)) << each.text;
    }
    EXPECT_EQ(Command("import /none.json").code, 2);
    EXPECT_EQ(Command("import /").code, 2);
    EXPECT_EQ(machine().ToJson(), before);
    EXPECT_EQ(Command("import " + Write("\xEF\xBB\xBF{\"format\": 1, \"ports\": []}")).code, 0);
}

// Two sets are two requests. The driver that takes one and refuses the other is given the old one again.
TEST_F(SettingsFileTest, APortIsChangedWholeOrNotAtAll) {
    qxsim::ControlDevice& control = *Dev("QXUSB\\PORT_1104\\6&3F21A0&0&0004").control;
    const qxsim::PortSettings before = control.settings;
    control.misbehaviour[{qxsim::DriverRequest::Write, 1}].refuse = ERROR_ACCESS_DENIED;
    const std::string both = "settings COM6 --set Parity=even --set MaximumLatency=33";
    const Outcome refused = Command(both);
    EXPECT_EQ(refused.code, 5);
    EXPECT_THAT(refused.err, HasSubstr("refuses the bus settings: Access is denied. (error 5)"));
    EXPECT_EQ(control.settings, before);
    control.misbehaviour.clear();
    EXPECT_EQ(Command(both + " --dry-run").code, 0);
    EXPECT_EQ(control.settings, before);
    EXPECT_EQ(Command(both).code, 0);
    EXPECT_EQ(control.settings["Parity"], 2U);
    EXPECT_EQ(control.bus["MaximumLatency"], 33U);
}

}  // namespace
}  // namespace qxtest
