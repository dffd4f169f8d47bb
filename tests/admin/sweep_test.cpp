// SPDX-License-Identifier: MIT
// Every changing command with every platform call failing, once and from then on, and with the power cut at
// every change.
//
// Whatever happens: "done" is only said of what is done, and no name is lost: every port that there still is
// has a name of its own, and after a restart `repair` makes all places agree with it.
#include "tests/admin/commands_fixture.h"
#include "tests/support/sweep.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

#include <unistd.h>

namespace qxtest {
namespace {

struct Swept {
    std::string command;
    // Spoils a computer in order, or prepares it.
    std::function<void(qxsim::Machine&)> prepare;
    // Whether the command has reached what it is for.
    std::function<bool(qxsim::Machine&)> done;
};

class SweepTest : public CommandsTest {
  public:
    static std::unique_ptr<qxsim::Machine> Bench(const Swept& swept) {
        auto machine = std::make_unique<qxsim::Machine>();
        qxsim::DeviceRecipe adapter;
        adapter.id = "USB\\VID_0F7A&PID_1104\\QX1";
        adapter.setup_class = "USB";
        const DEVINST node = machine->AddDevice(qxsim::Machine::kRoot, adapter);
        const auto add = [&](const char* id, const char* name, bool plugged, DEVINST parent) {
            qxsim::DeviceRecipe port;
            port.id = id;
            port.port = name;
            port.plugged = plugged;
            machine->AddDevice(parent, port);
        };
        add("QX\\P\\1", "COM7", true, node);
        add("QX\\P\\2", "COM5", true, node);
        add("QX\\OLD\\1", "COM3", false, qxsim::Machine::kRoot);
        machine->SetClaimed(9, true);
        if (swept.prepare)
            swept.prepare(*machine);
        return machine;
    }
    static std::string NameOf(qxsim::Machine& machine, const char* id) {
        const qxsim::Device* const device = machine.Find(id);
        const auto key = device != nullptr ? machine.HardwareKey(*device) : nullptr;
        const qxsim::RegistryValue* const value = key ? key->Find(TEXT("PortName")) : nullptr;
        return value != nullptr ? qxsim::ToUtf8(qxsim::BytesText(value->data)) : std::string();
    }
    // The machine is the current one.
    static void NoNameIsLost(qxsim::Machine& machine) {
        const auto restarted = qxsim::Machine::Reopen(machine.Snapshot());
        const qxsim::CurrentMachine current(*restarted);
        std::set<std::string> names;
        for (const char* const id : {"QX\\P\\1", "QX\\P\\2", "QX\\OLD\\1"}) {
            const std::string name = NameOf(*restarted, id);
            if (restarted->Find(id) != nullptr) {
                EXPECT_TRUE(name.starts_with("COM") && names.insert(name).second) << id << ": " << name;
            }
        }
        const Outcome repair = Command("repair --yes");
        EXPECT_EQ(repair.code, 0) << repair.out << repair.err;
        EXPECT_EQ(Faults(), "");
    }
};

TEST_F(SweepTest, NothingIsLostAndNothingFalseIsSaid) {
    const auto path = std::filesystem::temp_directory_path() / ("qxports-sweep-" + std::to_string(getpid()));
    std::ofstream(path) << R"({"format": 1, "ports": [{"port": "COM7",
        "portSettings": {"Parity": 2}, "busSettings": {"MaximumLatency": 33}}]})";
    const auto settings_done = [](qxsim::Machine& machine) {
        const qxsim::ControlDevice& control = *machine.Find("QX\\P\\1")->control;
        return control.settings["Parity"] == 2 && control.bus["MaximumLatency"] == 33;
    };
    // The driver has stored this one before, so that what is taken back leaves no trace.
    const auto settings_stored = [](qxsim::Machine& machine) {
        machine.WriteDword(qxsim::ToUtf8(qxsim::Machine::HardwareKeyPath(TEXT("QX\\P\\1"))), "Parity", 0);
    };
    const std::vector<Swept> all{
        {"rename COM7 COM12 --yes", {}, [](auto& machine) { return NameOf(machine, "QX\\P\\1") == "COM12"; }},
        {"rename COM7 COM9 --yes", {}, [](auto& machine) { return NameOf(machine, "QX\\P\\1") == "COM9"; }},
        {"order PID_1104 --yes",
         {},
         [](auto& machine) {
             return NameOf(machine, "QX\\P\\1") == "COM5" && NameOf(machine, "QX\\P\\2") == "COM7";
         }},
        {"release COM9", {}, [](auto& machine) { return !machine.Claimed(9); }},
        {"forget COM3",
         {},
         [](auto& machine) { return machine.Find("QX\\OLD\\1") == nullptr && !machine.Claimed(3); }},
        {"repair --yes",
         [](auto& machine) {
             qxsim::Device& port = *machine.Find("QX\\P\\1");
             machine.SetClaimed(7, false);
             machine.DropDosNamesOf(port.kernel_path);
             machine.DefineDosName(TEXT("COM77"), port.kernel_path);
             machine.WriteText(qxsim::kSerialCommPath, qxsim::ToUtf8(port.kernel_path), "COM77");
             machine.SetPropertyText(port, SPDRP_FRIENDLYNAME, "Port (COM77)");
         },
         [](auto&) { return Faults().empty(); }},
        {"settings COM7 --set Parity=even --set MaximumLatency=33", settings_stored, settings_done},
        {"import " + path.string(), settings_stored, settings_done},
    };
    for (const Swept& swept : all) {
        SCOPED_TRACE(swept.command);
        Outcome outcome;
        const auto make = [&] { return Bench(swept); };
        const auto run = [&](qxsim::Machine&) { outcome = Command(swept.command); };
        const std::string before = make()->ToJson();
        std::uint64_t done_all_the_same = 0;
        ForEachFault(make, run, [&](qxsim::Machine& machine, const FaultPoint&) {
            if (outcome.code == 0) {
                EXPECT_TRUE(swept.done(machine)) << outcome.out;
                // What was spoilt on purpose is repair's business alone.
                EXPECT_EQ(Faults(), "") << outcome.out;
                ++done_all_the_same;
            } else {
                EXPECT_NE(outcome.err, "");
                // Every other exit code says that nothing was changed.
                if (outcome.code != 1) {
                    EXPECT_EQ(machine.ToJson(), before) << outcome.code << ": " << outcome.err;
                }
            }
            NoNameIsLost(machine);
        });
        std::printf("    %s: done all the same at %llu of them\n", swept.command.c_str(),
                    static_cast<unsigned long long>(done_all_the_same));
        ForEachPowerCut(make, run, [&](qxsim::Machine& machine, const CutPoint&) { NoNameIsLost(machine); });
    }
    std::filesystem::remove(path);
}

}  // namespace
}  // namespace qxtest
