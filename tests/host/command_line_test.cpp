// SPDX-License-Identifier: MIT
// The host program as its users run it: what it prints, how it ends, and what it leaves in the machine file.
#include "install/product_data.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// Product data is plain ASCII.
std::string Narrow(const WCHAR* text) {
    std::string narrow;
    for (; *text != 0; ++text)
        narrow += static_cast<char>(*text);
    return narrow;
}

struct Outcome {
    int code = -1;
    std::string out;  // standard output and error
};

class CommandLine : public testing::Test {
  public:
    void SetUp() override {
        std::string name = (std::filesystem::temp_directory_path() / "qxhost-XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder_ = name;
        std::filesystem::copy(QX_EXAMPLES, folder_, std::filesystem::copy_options::recursive);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    // Runs a shell command in the folder of the machines; %Q stands for the program.
    Outcome Shell(std::string command) {
        for (std::size_t at = 0; (at = command.find("%Q", at)) != std::string::npos;)
            command.replace(at, 2, QXHOST);
        command = "cd '" + folder_.string() + "' && { " + command + "; } 2>&1 </dev/null";
        Outcome outcome;
        FILE* const pipe = popen(command.c_str(), "r");
        std::array<char, 4096> buffer{};
        while (const std::size_t got = fread(buffer.data(), 1, buffer.size(), pipe))
            outcome.out.append(buffer.data(), got);
        const int status = pclose(pipe);
        outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
        return outcome;
    }
    Outcome Host(const std::string& arguments) { return Shell("%Q " + arguments); }

    std::string Read(const std::string& file) {
        std::ifstream in(folder_ / file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    void Write(const std::string& file, const std::string& text) {
        std::ofstream(folder_ / file, std::ios::binary) << text;
    }

    nlohmann::json Settings(const std::string& port) {
        return nlohmann::json::parse(Host("usb-four-port.json settings " + port + " --json").out);
    }
    static std::uint32_t Value(const nlohmann::json& settings, const std::string& name) {
        for (const char* const set : {"portSettings", "busSettings"})
            for (const auto& entry : settings.at(set))
                if (entry.at("name") == name)
                    return entry.at("value");
        ADD_FAILURE() << "no setting " << name;
        return 0;
    }

  private:
    std::filesystem::path folder_;
};

struct Case {
    std::string arguments;
    int code;
    std::vector<std::string> says;
};

TEST_F(CommandLine, RefusesWhatMakesNoSenseAndSaysWhatWould) {
    const std::vector<Case> cases{
        {"--help", 0, {"list", "settings", "reinstall", "properties", "Exit codes"}},
        {"--version", 0, {"qxhost "}},
        {"usb-four-port.json settings --help", 0, {"qxhost MACHINE settings", "--dry-run"}},
        {"", 2, {"--help"}},
        {"usb-four-port.json", 2, {"command"}},
        {"usb-four-port.json nonsense", 2, {"no command \"nonsense\""}},
        {"usb-four-port.json settigns COM5", 2, {"did you mean \"settings\""}},
        {"settings usb-four-port.json COM5", 2, {"qxhost MACHINE settings"}},
        {"usb-four-prot.json list", 3, {"did you mean \"usb-four-port.json\""}},
        {"usb-four-port.json new", 3, {"is there already"}},
        {"usb-four-port.json add PID_1104", 2, {"hardware id"}},
        {"usb-four-port.json unplug COM7", 4, {"COM7"}},
        {"usb-four-port.json settings", 2, {"PORT is required"}},
        {"usb-four-port.json settings COM6 --defaults --set Baudrate=9600", 2, {"--set"}},
        {"missing.json list", 3, {"missing.json"}},
        {"usb-four-port.json settings COM99", 4, {"COM99", "COM1, COM5, COM6, COM10, COM11"}},
        {"usb-four-port.json reinstall nothing-like-it", 4, {"nothing-like-it", "USB\\VID_0F7A"}},
        {"usb-four-port.json reinstall PID_1104 --os six", 2, {"six", "6.1"}},
        {"usb-four-port.json reinstall PID_1104 --answer perhaps", 2, {"answer"}},
        {"usb-four-port.json reinstall COM6", 2, {"no adapter"}},
        {"usb-four-port.json properties COM6 --do 'jump \"OK\"'", 2, {"line 1", "jump"}},
        {"usb-four-port.json properties COM6 --do 'press \"OK'", 2, {"quote"}},
        {"usb-four-port.json properties COM6 --script none.script", 2, {"none.script"}},
        {"usb-four-port.json properties COM6 --script .", 2, {".: cannot be read"}},
        {"usb-four-port.json properties COM6 --script usb-four-port.json", 2, {"usb-four-port.json: line 1"}},
        {"usb-four-port.json properties COM6 --do 'machine: x'", 2, {"no such statement"}},
        {"usb-four-port.json properties COM6 --do 'press \":\"'", 2, {"line 1", "empty"}},
        {"usb-four-port.json properties COM6 --do 'press Nope'",
         1,
         {"\"Advanced...\", \"Restore Default\", \"OK"}},
        {"usb-four-port.json properties COM6 --picture page.png", 2, {"qxhost.exe draws"}},
        {"usb-four-port.json remove ''", 2, {"name a device"}},
        {"usb-four-port.json settings ''", 4, {"COM5, COM6"}},
        {"usb-four-port.json names --trace", 0, {"COM6"}},
        {"usb-four-port.json list >/dev/full", 1, {"cannot be written"}},
        {"usb-four-port.json settings COM6 --set Baudrate", 2, {"NAME=VALUE"}},
        {"usb-four-port.json settings COM6 --set Speed=1", 2, {"Speed", "Baudrate", "Bus.PortType"}},
        {"usb-four-port.json settings COM6 --set baudrate=9600", 0, {"nothing to change"}},
        {"usb-four-port.json settings COM6 --set baudrate=75 --set Baudrate=75",
         2,
         {"Baudrate is set twice"}},
        {"usb-four-port.json settings COM6 --set Parity=sideways",
         2,
         {"none", "odd", "even", "mark", "space"}},
        {"usb-four-port.json settings COM6 --set Databits=9", 2, {"5, 6, 7, 8"}},
        {"usb-four-port.json settings COM6 --set Baudrate=4294967297", 2, {"bits per second"}},
        {"usb-four-port.json settings COM6 --set LogLevel=-1", 2, {"4294967295"}},
        {"usb-four-port.json settings COM6 --set InterfaceType=\u20AC", 2, {"U+00FF"}},
        {"usb-four-port.json settings COM1", 5, {"no control device"}},
        {"usb-four-port.json properties COM1", 5, {"no page"}},
    };
    const std::string before = Read("usb-four-port.json");
    for (const Case& each : cases) {
        const Outcome outcome = Host(each.arguments);
        EXPECT_EQ(outcome.code, each.code) << each.arguments << '\n' << outcome.out;
        for (const std::string& part : each.says)
            EXPECT_THAT(outcome.out, HasSubstr(part)) << each.arguments;
    }
    EXPECT_EQ(Read("usb-four-port.json"), before);
}

TEST_F(CommandLine, NamesTheLineAndTheKeyThatIsWrongInAMachineFile) {
    const std::string good = Read("usb-four-port.json");
    Write("cut.json", good.substr(0, good.size() / 2));
    Write("empty.json", "");
    Write("wrong.json", "{\n \"devices\": [\n  {\"id\": 7}\n ]\n}\n");
    for (const char* const file : {"cut.json", "empty.json", "wrong.json"}) {
        const Outcome outcome = Host(std::string(file) + " list");
        EXPECT_EQ(outcome.code, 3) << file;
        EXPECT_THAT(outcome.out, AllOf(HasSubstr(file), HasSubstr("line"))) << file;
    }
    EXPECT_THAT(Host("wrong.json list").out, HasSubstr("id"));
}

TEST_F(CommandLine, ShowsAndChangesSettingsAcrossProcesses) {
    const nlohmann::json fresh = Settings("COM6");
    const nlohmann::json other = Settings("COM11");
    EXPECT_EQ(fresh.at("portSettings").size(), 33U);
    EXPECT_EQ(fresh.at("busSettings").size(), 14U);

    const std::string before = Read("usb-four-port.json");
    const Outcome dry = Host("usb-four-port.json settings COM6 --set Baudrate=115200 --dry-run");
    EXPECT_EQ(dry.code, 0);
    EXPECT_THAT(dry.out, HasSubstr("COM6 would change:\n  Baudrate: 9600 -> 115200"));
    EXPECT_EQ(Read("usb-four-port.json"), before);

    EXPECT_EQ(
        Host("usb-four-port.json settings COM6 --set Baudrate=115200 --set Parity=even --set Databits=7 "
             "--set Stopbits=2 --set FlowControl=Xon/Xoff --set OverrideParity=on --set MaximumLatency=33")
            .code,
        0);
    const nlohmann::json changed = Settings("COM6");
    EXPECT_EQ(Value(changed, "Baudrate"), 115200U);
    EXPECT_EQ(Value(changed, "Parity"), 2U);
    EXPECT_EQ(Value(changed, "Databits"), 2U);
    EXPECT_EQ(Value(changed, "Stopbits"), 2U);
    EXPECT_EQ(Value(changed, "FlowControl"), 4U);
    EXPECT_EQ(Value(changed, "OverrideParity"), 1U);
    EXPECT_EQ(Value(changed, "MaximumLatency"), 33U);
    EXPECT_EQ(Settings("COM11"), other);
    EXPECT_THAT(Host("usb-four-port.json settings COM6").out,
                AllOf(HasSubstr("even parity"), HasSubstr("7 bits"), HasSubstr("Xon/Xoff"),
                      HasSubstr("115200 bits per second")));
    EXPECT_NE(Host("usb-four-port.json settings COM6 --defaults").out,
              Host("usb-four-port.json settings COM6").out);
}

TEST_F(CommandLine, LeavesTheOldFileWholeWhenTheNewOneCannotBeWritten) {
    const std::string before = Read("usb-four-port.json");
    ASSERT_GT(before.size(), 512U);
    // No file may grow beyond 512 bytes: once the program hears of it as an error, once it is ended by it.
    for (const char* const limit : {"trap '' XFSZ; ulimit -f 1; ", "ulimit -f 1; "}) {
        const Outcome outcome =
            Shell(std::string(limit) + "%Q usb-four-port.json settings COM6 --set Baudrate=19200");
        EXPECT_NE(outcome.code, 0) << outcome.out;
        EXPECT_EQ(Read("usb-four-port.json"), before);
    }
    EXPECT_THAT(Shell("trap '' XFSZ; ulimit -f 1; %Q usb-four-port.json settings COM6 --set Baudrate=19200"),
                testing::Field(&Outcome::code, 3));
}

TEST_F(CommandLine, ReinstallsAnAdapterAndGivesItsPortsTheirNamesBack) {
    const Outcome names = Host("usb-four-port.json names");
    EXPECT_EQ(names.code, 0);
    const nlohmann::json settings = Settings("COM6");
    const Outcome reinstalled = Host("usb-four-port.json reinstall PID_1104 --answer no");
    EXPECT_EQ(reinstalled.code, 0) << reinstalled.out;
    EXPECT_THAT(reinstalled.out,
                AllOf(HasSubstr("DIF_INSTALLDEVICE"), HasSubstr("ERROR_DI_POSTPROCESSING_REQUIRED"),
                      HasSubstr("(saved)"), HasSubstr("next free name")));
    EXPECT_EQ(Host("usb-four-port.json names").code, 0);
    EXPECT_EQ(Host("usb-four-port.json names").out, names.out);
    EXPECT_EQ(Settings("COM6"), settings);
    // A failed installation is handed back as it came.
    const Outcome failed = Host("usb-four-port.json reinstall PID_1104 --result 0xE0000203");
    EXPECT_EQ(failed.code, 1);
    EXPECT_THAT(failed.out, AllOf(HasSubstr("error 0xE0000203"), Not(HasSubstr("(COM6)"))));
}

TEST_F(CommandLine, RemovesAPortAndGivesItsNumberBack) {
    const Outcome removed = Host("usb-four-port.json remove COM6 --trace");
    EXPECT_EQ(removed.code, 0) << removed.out;
    EXPECT_THAT(removed.out, AllOf(HasSubstr("DIF_REMOVE"), HasSubstr("ComDBReleasePort")));
    EXPECT_THAT(Host("usb-four-port.json list").out, Not(HasSubstr("COM6 ")));
    EXPECT_EQ(Host("usb-four-port.json names").code, 0);
}

TEST_F(CommandLine, MeansOneDeviceOrNone) {
    Write("names.json", R"({"devices": [{"id": "USB\\VID_0F7A&PID_1102\\QX1", "class": "USB", "children": [
        {"id": "QXUSB\\PORT_1102\\1", "port": "COM20"}, {"id": "QXUSB\\PORT_1102\\2", "port": "COM7"},
        {"id": "QXUSB\\PORT_1102\\3", "port": "COM7"}]}]})");
    const std::string before = Read("names.json");
    const std::vector<Case> cases{
        // A COM name is no part of a longer one.
        {"names.json remove COM2", 4, {"there is no device \"COM2\""}},
        {"names.json remove com7", 4, {"PORT_1102\\2", "PORT_1102\\3"}},
        {"names.json settings COM7", 4, {"PORT_1102\\2", "PORT_1102\\3"}},
        {"names.json remove PORT_1102", 4, {"PORT_1102\\1", "PORT_1102\\3"}},
    };
    for (const Case& each : cases) {
        const Outcome outcome = Host(each.arguments);
        EXPECT_EQ(outcome.code, each.code) << each.arguments << '\n' << outcome.out;
        for (const std::string& part : each.says)
            EXPECT_THAT(outcome.out, HasSubstr(part)) << each.arguments;
    }
    EXPECT_EQ(Read("names.json"), before);
    EXPECT_EQ(Host("names.json remove COM20").code, 1);  // the other two still share a name
}

// From an empty computer to an adapter whose ports are named, pulled, installed again and renamed by hand.
TEST_F(CommandLine, MakesAComputerAndLooksAfterAnAdapter) {
    EXPECT_EQ(Host("my.json new").code, 0);
    const Outcome added = Host("my.json add 'USB\\VID_0F7A&PID_1104' --ports 4");
    EXPECT_EQ(added.code, 0) << added.out;
    EXPECT_THAT(added.out, HasSubstr("QXSER\\PORT4\\1&0004  -       COM6"));

    const Outcome pulled = Host("my.json unplug PID_1104");
    EXPECT_EQ(pulled.code, 0) << pulled.out;
    EXPECT_THAT(pulled.out, AllOf(HasSubstr("COM3  absent"), Not(HasSubstr("running"))));
    EXPECT_THAT(Host("my.json devices --tree").out,
                HasSubstr("\n  Veltramark Serial Port (COM6)  COM6  absent"));
    EXPECT_THAT(Host("my.json plug PID_1104").out, HasSubstr("COM6  running"));
    EXPECT_EQ(Host("my.json reinstall PID_1104").code, 0);
    EXPECT_EQ(Host("my.json properties COM3 --quiet --do 'press \"Advanced...\"; "
                   "select \"COM Port Number\" COM20; press OK; press OK'")
                  .code,
              0);
    const auto devices = nlohmann::json::parse(Host("my.json devices --json").out);
    ASSERT_EQ(devices.size(), 5U);
    EXPECT_EQ(devices[1].at("port"), "COM20");
    EXPECT_EQ(devices[1].at("parent"), devices[0].at("id"));
    EXPECT_EQ(Host("my.json names").code, 0);
    EXPECT_EQ(nlohmann::json::parse(Host("my.json check --json").out).at("mistakes").size(), 0U);
}

TEST_F(CommandLine, DisablesEnablesAndRestartsADevice) {
    EXPECT_THAT(Host("usb-four-port.json disable COM6").out, HasSubstr("COM6  disabled"));
    EXPECT_THAT(Host("usb-four-port.json enable COM6").out, HasSubstr("COM6  running"));
    EXPECT_EQ(Host("usb-four-port.json restart COM6").code, 0);
    const Outcome in_use = Host("usb-four-port.json disable PID_1104");
    EXPECT_EQ(in_use.code, 1);
    EXPECT_THAT(in_use.out, HasSubstr("next start"));
}

TEST_F(CommandLine, StoresOnlyAChangedComputerAndWhereItIsTold) {
    const std::string machine = "usb-four-port.json";
    const std::string before = Read(machine);
    for (const char* const change : {"unplug PID_1104", "remove COM6", "reinstall PID_1104 --json",
                                     "properties COM6 --do 'check \"Override\" 1; press OK'"})
        EXPECT_THAT(Host(machine + " " + change + " --dry-run").out, HasSubstr("nothing was stored"));
    for (const char* const change :
         {"unplug PID_1104 -o out.json", "settings COM6 -o out.json --set Baudrate=19200", "enable COM6"})
        EXPECT_EQ(Host(machine + " " + change).code, 0);
    EXPECT_EQ(Read(machine), before);
    EXPECT_THAT(Host("out.json settings COM6").out, HasSubstr("19200 bits per second"));
    const auto removed = nlohmann::json::parse(Host(machine + " remove COM6 --json").out);
    EXPECT_EQ(removed.at("ports").back().at("before"), "COM6");
    EXPECT_EQ(removed.at("ports").back().at("after"), "-");
}

TEST_F(CommandLine, LosesNoChangeToAnotherProgramAndSaysThatItWaits) {
    const Outcome pairs = Shell(
        "for speed in 1200 2400 4800 19200 38400; do for port in COM5 COM6 COM10 COM11; do "
        "%Q usb-four-port.json settings $port --set Baudrate=$speed & done; wait; "
        "for port in COM5 COM6 COM10 COM11; do %Q usb-four-port.json settings $port | "
        "grep \"$speed bits\" || echo LOST; done; done");
    EXPECT_THAT(pairs.out, Not(HasSubstr("LOST")));
    EXPECT_THAT(Shell("flock usb-four-port.json sleep 1 & sleep 0.3; %Q usb-four-port.json list").out,
                AllOf(HasSubstr("waiting for another qxhost"), HasSubstr("COM6")));
}

TEST_F(CommandLine, ReplacesOrdinaryFilesAloneAndLeavesNothingBeside) {
    const std::string change = " settings COM6 --set Baudrate=19200";
    const std::string before = Read("usb-four-port.json");
    const Outcome guarded = Shell("chmod 444 usb-four-port.json; %Q usb-four-port.json" + change);
    EXPECT_EQ(guarded.code, 3);
    EXPECT_THAT(guarded.out, HasSubstr("usb-four-port.json is write-protected"));
    EXPECT_EQ(Read("usb-four-port.json"), before);
    const Outcome pipe = Shell("mkfifo pipe; cat usb-four-port.json >pipe & %Q pipe" + change +
                               "; code=$?; "
                               "[ -p pipe ] && exit $code");
    EXPECT_EQ(pipe.code, 3);
    EXPECT_THAT(pipe.out, HasSubstr("pipe is no ordinary file"));
    EXPECT_EQ(Shell("chmod 644 usb-four-port.json; touch usb-four-port.json.17.new; %Q usb-four-port.json" +
                    change + " && ! ls *.new")
                  .code,
              0);
}

TEST_F(CommandLine, TellsWhatNoCommandExpectsByACodeOfItsOwn) {
    for (const char* const command : {"properties COM6", "reinstall PID_1104"}) {
        const Outcome lost = Shell(std::string("cp %Q alone; ./alone usb-four-port.json ") + command);
        EXPECT_EQ(lost.code, 10) << command;
        EXPECT_THAT(lost.out, HasSubstr("libQxUUI10.so"));
    }
}

TEST_F(CommandLine, PlaysTheInstallerForEveryKindOfDevice) {
    const std::string product = Narrow(qx::FixedComNumberTable.front().port_hardware_id);
    const std::string vendor = product.substr(product.find('_') + 1, 4);
    ASSERT_EQ(Shell("sed -i 's/VID_0F7A/VID_" + vendor + "/' mixed-bench.json").code, 0);
    const std::vector<Case> cases{
        // The serial function goes with the GPIO function, and its ports give their numbers back.
        {"mixed-bench.json remove DEV_4902",
         0,
         {"asks for DIF_REMOVE of PCI\\VEN_1F7A&DEV_4904", "is removed"}},
        // A composite product is installed function by function; its second port moves to its fixed number.
        {"mixed-bench.json reinstall PID_2202", 0, {"(saved) QXUSB_2_8&2&0&0001: COM9", "COM9    COM4"}},
        // A port that is updated by itself has no backup; ordering begins with system version 6.1.
        {"mixed-bench.json update COM7 --os 6.0", 0, {"COM7    COM7"}},
        {"mixed-bench.json update COM7 --os 6.1", 0, {"COM7    COM6"}},
        {"mixed-bench.json install BUDGETBUS", 4, {"another maker"}},
        {"usb-four-port.json install PID_1104 --ports 2", 0, {"--ports is not used"}},
        {"usb-four-port.json remove COM10", 0, {}},
        {"usb-four-port.json remove COM11", 0, {}},
        {"usb-four-port.json remove COM5", 0, {}},
        {"usb-four-port.json remove COM6", 0, {}},
        {"usb-four-port.json install PID_1104 --ports 2",
         0,
         {"lists 2 ports", "next free name, COM3", "COM4"}},
        {"usb-four-port.json remove PID_1104", 0, {"(started) ", "qxremove.exe"}},
    };
    for (const Case& each : cases) {
        const Outcome outcome = Host(each.arguments);
        EXPECT_EQ(outcome.code, each.code) << each.arguments << '\n' << outcome.out;
        for (const std::string& part : each.says)
            EXPECT_THAT(outcome.out, HasSubstr(part)) << each.arguments;
    }
    for (const char* const machine : {"mixed-bench.json", "usb-four-port.json"})
        EXPECT_EQ(Host(std::string(machine) + " names").code, 0);
}

TEST_F(CommandLine, ShowsTheMessageOfARefusedUpdate) {
    const Outcome refused = Host("mixed-bench.json update DEV_4902");
    EXPECT_EQ(refused.code, 1);
    EXPECT_THAT(refused.out,
                AllOf(HasSubstr("[" + Narrow(qx::kMakerCaption) + "] (error)"),
                      HasSubstr("Please update the Veltramark driver"), HasSubstr("Answered: OK"),
                      HasSubstr("\n  DIF_UPDATEDRIVER_UI                -> refused")));
}

TEST_F(CommandLine, ShowsThePageAndStoresOnlyWhatWasConfirmed) {
    const Outcome shown = Host("usb-four-port.json properties COM10");
    EXPECT_EQ(shown.code, 0) << shown.out;
    EXPECT_THAT(shown.out, AllOf(HasSubstr("Properties]  *Port Settings*"), HasSubstr("Baud Rate"),
                                 HasSubstr("[ ] Override"), HasSubstr("choices: "), HasSubstr("hidden: "),
                                 HasSubstr("< Advanced... >")));

    const std::string before = Read("usb-four-port.json");
    const Outcome cancelled =
        Host("usb-four-port.json properties COM6 --do 'check \"Override\" 1; press Cancel'");
    EXPECT_EQ(cancelled.code, 0) << cancelled.out;
    EXPECT_EQ(Read("usb-four-port.json"), before);
    EXPECT_EQ(Value(Settings("COM6"), "OverridBaudRates"), 0U);
    for (const char* const unfinished : {"check \"Override\" 1", "check \"Override\" 1; press OK; press OK",
                                         "check \"Overwrite\" 1; press OK"}) {
        const Outcome outcome =
            Host("usb-four-port.json properties COM6 --do '" + std::string(unfinished) + "'");
        EXPECT_EQ(outcome.code, 1) << outcome.out;
    }
    EXPECT_EQ(Value(Settings("COM6"), "OverridBaudRates"), 0U);
    EXPECT_EQ(Host("usb-four-port.json properties COM6 --quiet --do 'check \"Override\" 1; press OK'").code,
              0);
    EXPECT_EQ(Value(Settings("COM6"), "OverridBaudRates"), 1U);
}

}  // namespace
