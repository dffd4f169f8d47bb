// SPDX-License-Identifier: MIT
// What the commands read: the five places of every name, and who has a number.
#include "tests/admin/commands_fixture.h"

#include "admin/table.h"
#include "admin/text.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

namespace qxtest {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class NamesCommandTest : public CommandsTest {};

// Somebody else's driver came first, and another has left its traces.
TEST_F(NamesCommandTest, NamesWhatStandsInAPortsWayAndWhatBelongsToNone) {
    AddPort("QX\\P\\1", "COM5");
    EXPECT_EQ(Command("names").code, 0);
    for (int i = 0; i < 3000; ++i)  // more than a first list takes
        machine().DefineDosName(qxsim::ToWide("Volume" + std::to_string(i)), TEXT("\\Device\\Disk"));
    machine().DefineDosName(TEXT("COM5"), TEXT("\\Device\\Other"));
    machine().DefineDosName(TEXT("com300"), TEXT("\\Device\\Modem"));
    machine().DefineDosName(TEXT("COMPUTER"), TEXT("\\Device\\Modem"));
    machine().WriteText(qxsim::kSerialCommPath, "\\Device\\Modem", "COM300");
    const qxports::NameReport report = qxports::ReportNames(qxports::Computer());
    EXPECT_EQ(report.Faults(), "QX\\P\\1: DOS name - instead of COM5: COM5 leads to \\Device\\Other\n");
    EXPECT_THAT(report.lone_dos_names,
                testing::ElementsAre("com300 leads to \\Device\\Modem", "COM5 leads to \\Device\\Other"));
    EXPECT_THAT(report.lone_entries, testing::ElementsAre("\\Device\\Modem has COM300"));
    const Outcome outcome = Command("names");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.out, HasSubstr("SERIALCOMM entry of no port: \\Device\\Modem has COM300\n"));
}

// Each place in turn says something else; the report names that place, and no other.
TEST_F(NamesCommandTest, TellsEachPlaceThatDisagrees) {
    struct Case {
        const char* what;
        std::function<void(qxsim::Machine&, qxsim::Device&)> spoil;
        std::vector<qx::NamePlace> places;
    };
    using enum qx::NamePlace;
    const std::vector<Case> cases{
        {"claim", [](auto& machine, auto&) { machine.SetClaimed(5, false); }, {kClaim}},
        {"DOS name gone",
         [](auto& machine, auto& port) { machine.DropDosNamesOf(port.kernel_path); },
         {kDosName}},
        {"second DOS name",
         [](auto& machine, auto& port) { machine.DefineDosName(TEXT("COM9"), port.kernel_path); },
         {kDosName}},
        {"SERIALCOMM",
         [](auto& machine, auto& port) {
             machine.WriteText(qxsim::kSerialCommPath, qxsim::ToUtf8(port.kernel_path), "COM9");
         },
         {kSerialComm}},
        {"friendly name",
         [](auto& machine, auto& port) { machine.SetPropertyText(port, SPDRP_FRIENDLYNAME, "Port (COM50)"); },
         {kFriendlyName}},
        {"no name",
         [](auto& machine, auto& port) { machine.HardwareKey(port)->values.clear(); },
         {kPortName}},
        {"no COM name",
         [](auto& machine, auto& port) {
             machine.HardwareKey(port)->Set(TEXT("PortName"), REG_SZ, qxsim::TextBytes(TEXT("COM05")));
         },
         {kPortName}},
        // The drivers of some ports give the physical device no name; then "PortName" tells the kernel
        // device.
        {"SERIALCOMM, device found by its name",
         [](auto& machine, auto& port) {
             machine.WriteText(qxsim::kSerialCommPath, qxsim::ToUtf8(port.kernel_path), "COM9");
             port.kernel_path.clear();
         },
         {kSerialComm}},
        {"DOS name, device found by its name",
         [](auto& machine, auto& port) {
             machine.DropDosNamesOf(port.kernel_path);
             machine.DefineDosName(TEXT("COM9"), port.kernel_path);
             port.kernel_path.clear();
         },
         {kDosName}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        Use(std::make_unique<qxsim::Machine>());
        each.spoil(machine(), AddPort("QX\\P\\1", "COM5"));
        std::vector<qx::NamePlace> places;
        const qxports::NameReport report = qxports::ReportNames(qxports::Computer());
        for (const qxports::NameFault& fault : report.ports.at(0).faults)
            places.push_back(fault.place);
        EXPECT_EQ(places, each.places);
        EXPECT_EQ(Command("names").code, 1);
    }
}

TEST_F(NamesCommandTest, TwoPortsOfOneNameAreAFaultAndAnAbsentOneIsNot) {
    AddPort("QX\\P\\1", "COM5");
    AddPort("QX\\P\\2", "COM5", false, false);
    EXPECT_EQ(Command("names").code, 0);
    EXPECT_THAT(Command("names").out, HasSubstr("its number belongs to another port now"));
    AddPort("QX\\P\\3", "COM5");
    EXPECT_THAT(Faults(), HasSubstr("another port is COM5 too"));
}

TEST_F(NamesCommandTest, WhoTellsEachKindOfHolder) {
    AddPort("QX\\P\\1", "COM5").held_open_by = TEXT("terminal.exe");
    AddPort("QX\\P\\2", "COM6", false, false);
    machine().SetClaimed(7, true);
    machine().DefineDosName(TEXT("COM8"), TEXT("\\Device\\Other"));
    const auto is = [](const Outcome& outcome) {
        return nlohmann::json::parse(outcome.out).at("is").get<std::string>();
    };
    EXPECT_THAT(Command("who com5").out, AllOf(HasSubstr("QX\\P\\1"), HasSubstr("a program holds it open")));
    EXPECT_EQ(is(Command("who 5 --json")), "present");
    EXPECT_EQ(is(Command("who COM6 --json")), "absent");
    EXPECT_EQ(is(Command("who COM7 --json")), "claim of nobody");
    EXPECT_EQ(is(Command("who COM8 --json")), "other driver");
    EXPECT_EQ(is(Command("who COM9 --json")), "free");
    machine().database_broken = true;
    EXPECT_EQ(is(Command("who COM9 --json")), "unknown");
    EXPECT_THAT(Command("names").err, HasSubstr("administrator"));
    for (const char* const bad : {"who COM0", "who COM257", "who LPT1", "who COM5x"})
        EXPECT_EQ(Command(bad).code, 2) << bad;
}

TEST_F(NamesCommandTest, ListShowsKindStateAndAdapter) {
    Use(qxsim::Machine::Load(std::string(QX_EXAMPLES) + "/mixed-bench.json"));
    const std::string own = Command("list").out;
    EXPECT_THAT(own,
                AllOf(HasSubstr("COM12  Veltramark Serial Port (COM12)  ordinary  running  Veltramark Serial "
                                "Card, 2 ports"),
                      Not(HasSubstr("COM1 ")), Not(HasSubstr("COM3 "))));
    EXPECT_THAT(Command("list --all").out,
                AllOf(HasSubstr("absent"), HasSubstr("other maker's"), HasSubstr("COM8")));
    qxsim::Device& port = Dev("QXPCI\\PORT_4904\\5&90&0&0001");
    machine().Stop(port);
    port.problem = CM_PROB_DISABLED;
    EXPECT_THAT(Command("list").out, HasSubstr("disabled"));
}

// Devices name themselves. What a terminal would obey is shown to it instead; and lines keep to its columns.
TEST_F(NamesCommandTest, ADeviceCannotSpeakToTheTerminal) {
    qxsim::Device& port = AddPort("QX\\P\\1", "COM5");
    machine().SetPropertyText(port, SPDRP_FRIENDLYNAME, "Evil\x1B[2J\u202E\u0085\r\n Port \u00FC (COM5)");
    const Outcome outcome = Command("list");
    EXPECT_THAT(outcome.out, HasSubstr("Evil\\x1B[2J\\u202E\\x85\\x0D\\x0A Port \u00FC (COM5)"));
    EXPECT_THAT(Command("who COM5").out, Not(HasSubstr("\x1B")));
    EXPECT_EQ(nlohmann::json::parse(Command("list --json").out)[0]["device"],
              "Evil\x1B[2J\u202E\u0085\r\n Port \u00FC (COM5)");

    const std::vector<qxports::TableRow> rows{{"Port", "Device"},
                                              {"COM5", "Schr\u00F6dinger's \u00DCberport"}};
    EXPECT_EQ(qxports::Table(rows, 18), "Port  Device\n----  ------------\nCOM5  Schr\u00F6dinge..\n");
    EXPECT_EQ(qxports::Table(rows, 3), "Port  Device\n----  --------\nCOM5  Schr\u00F6d..\n");
}

TEST_F(NamesCommandTest, TextsSurviveTheirWayThroughUtf8) {
    for (const char* const text : {"", "plain", "\u00FC\u20AC", "\U0001F600 and \U0010FFFF"})
        EXPECT_EQ(qxports::Utf8(qxports::Wide(text)), text);
    EXPECT_EQ(qxports::Utf8(qx::TextView(TEXT("a\xD800z"))), "a\uFFFDz");
    for (const char* const broken :
         {"\x80", "\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF8\x88\x80\x80", "\xE2\x82"})
        EXPECT_THAT(qxports::Utf8(qxports::Wide(broken)), testing::StartsWith("\uFFFD")) << broken;
}

}  // namespace
}  // namespace qxtest
