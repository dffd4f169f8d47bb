// SPDX-License-Identifier: MIT
// What the commands change, and what they refuse to.
#include "tests/admin/commands_fixture.h"

#include "install/port_coinstaller.h"
#include "install/product_data.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include <thread>

namespace qxtest {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kAdapter = "USB\\VID_0F7A&PID_1104\\QX1";

class ChangesTest : public CommandsTest {
  public:
    void SetUp() override {
        CommandsTest::SetUp();
        Fill();
    }
    // An adapter in wrong order, an absent port, a claim of nobody, another maker's ports.
    void Fill() {
        qxsim::DeviceRecipe adapter;
        adapter.id = kAdapter;
        adapter.setup_class = "USB";
        adapter.description = "Four ports";
        const DEVINST node = machine().AddDevice(qxsim::Machine::kRoot, adapter);
        AddPort("QX\\P\\1", "COM7", false, true, node);
        AddPort("QX\\P\\2", "COM5", false, true, node);
        AddPort("QX\\P\\3", "COM6", false, true, node);
        AddPort("QX\\OLD\\1", "COM3", false, false);
        AddPort("ACPI\\P\\1", "COM1", true);
        AddPort("FOREIGN\\OLD\\1", "COM4", true, false);
        machine().SetClaimed(9, true);
    }
    // What a command that must not change anything leaves as it was.
    void Refuses(const std::string& command, int code, const std::string& says) {
        const std::string before = machine().ToJson();
        const Outcome outcome = Command(command);
        EXPECT_EQ(outcome.code, code) << command << '\n' << outcome.out << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(says)) << command;
        EXPECT_EQ(machine().ToJson(), before) << command;
    }
    static bool SomebodyWaits() {
        return std::ranges::any_of(instruments().Trace(), [](const qxsim::CallRecord& call) {
            return call.function == "WaitForSingleObject" && call.result.empty();
        });
    }
    std::string NameOf(const std::string& id) {
        return qxsim::ToUtf8(qxsim::BytesText(machine().HardwareKey(Dev(id))->Find(TEXT("PortName"))->data));
    }
};

TEST_F(ChangesTest, RenamesAndAsksFirst) {
    const std::string before = machine().ToJson();
    const Outcome dry = Command("rename com7 12 --dry-run");
    EXPECT_EQ(dry.code, 0);
    EXPECT_THAT(dry.out, AllOf(HasSubstr("COM7 -> COM12"), HasSubstr("COM12 claimed")));
    EXPECT_EQ(machine().ToJson(), before);

    EXPECT_EQ(Command("rename com7 12").code, 0);
    EXPECT_EQ(NameOf("QX\\P\\1"), "COM12");
    EXPECT_EQ(Command("rename COM12 COM12").code, 0);
    Refuses("rename COM12 COM5", 6, "rename that first");
    Refuses("rename COM3 COM20", 6, "does not run");
    Refuses("rename COM99 COM20", 4, "COM1, COM3, COM4, COM5");
    Refuses("rename COM12 COM0", 2, "COM256");
    // A claimed number: nobody to ask, no, and yes.
    Refuses("rename COM12 COM9", 6, "--yes");
    Refuses("rename COM12 COM9 --no", 6, "stays");
    EXPECT_EQ(Command("rename COM12 COM9", "n").code, 6);
    EXPECT_EQ(Command("rename COM12 COM9", "y").code, 0);
    Dev("QX\\P\\1").held_open_by = TEXT("terminal.exe");
    Refuses("rename COM9 COM21", 6, "held open");
    const Outcome held = Command("rename COM9 COM21 --yes --json");
    EXPECT_EQ(nlohmann::json::parse(held.out).at("exitCode"), 0);
    EXPECT_EQ(Faults(), "");
}

TEST_F(ChangesTest, TwoDevicesOfOneNameAreToldApartByTheirIds) {
    AddPort("QX\\OLD\\2", "COM5", false, false);
    Refuses("rename COM5 COM20", 4, "QX\\P\\2, QX\\OLD\\2");
    EXPECT_EQ(Command("rename qx\\p\\2 COM20").code, 0);
    EXPECT_EQ(NameOf("QX\\P\\2"), "COM20");
}

TEST_F(ChangesTest, OrdersAlsoAnAdapterThatIsMarkedAsOrdered) {
    const std::string key = qxsim::ToUtf8(qxsim::Machine::HardwareKeyPath(TEXT("QX\\P\\3")));
    machine().WriteDword(key, "ChildPortNameSorted", 1);
    for (const char* const wrong : {"order nonsense", "order COM1", "order COM"})
        Refuses(wrong, 4, kAdapter);
    Dev("QX\\P\\2").held_open_by = TEXT("terminal.exe");
    const std::string before = machine().ToJson();
    const Outcome dry = Command("order four --dry-run");
    EXPECT_THAT(dry.out,
                AllOf(HasSubstr("  COM5 -> COM8"), HasSubstr("COM5 is held open, which would be asked")));
    EXPECT_EQ(machine().ToJson(), before);
    Refuses("order PID_1104", 6, "held open");
    EXPECT_EQ(Command("order COM6 --yes").code, 0);
    EXPECT_EQ(NameOf("QX\\P\\1"), "COM5");
    EXPECT_EQ(NameOf("QX\\P\\2"), "COM6");
    EXPECT_EQ(NameOf("QX\\P\\3"), "COM7");
    EXPECT_EQ(Faults(), "");
    EXPECT_THAT(Command("order COM6").out, HasSubstr("are in order"));
}

TEST_F(ChangesTest, ReleasesOnlyWhatNobodyHas) {
    machine().DefineDosName(TEXT("COM30"), TEXT("\\Device\\Virtual"));
    machine().SetClaimed(30, true);
    Refuses("release COM5", 6, "belongs to");
    Refuses("release COM3", 6, "forget COM3");
    Refuses("release COM30", 6, "\\Device\\Virtual");
    EXPECT_THAT(Command("release COM40").out, HasSubstr("not claimed"));
    EXPECT_EQ(Command("release COM9 --dry-run").code, 0);
    EXPECT_TRUE(machine().Claimed(9));
    EXPECT_EQ(Command("release 9").code, 0);
    EXPECT_FALSE(machine().Claimed(9));
}

TEST_F(ChangesTest, ForgetsAbsentPortsWithTheirNumbers) {
    Refuses("forget", 2, "--absent");
    Refuses("forget COM5", 6, "is there");
    Refuses("forget COM4", 6, "--foreign");
    // Another port has the number by now, so it stays claimed, and that port keeps its name.
    AddPort("QX\\OLD\\2", "COM6", false, false);
    machine().co_installers = [](DI_FUNCTION request, HDEVINFO set, PSP_DEVINFO_DATA element) {
        COINSTALLER_CONTEXT_DATA context{};
        return QxUCoInstallPort(request, set, element, &context);
    };
    EXPECT_THAT(Command("forget --absent --dry-run").out,
                AllOf(HasSubstr("QX\\OLD\\1"), Not(HasSubstr("FOREIGN"))));
    EXPECT_EQ(Command("forget --absent").code, 0);
    EXPECT_EQ(machine().Find("QX\\OLD\\1"), nullptr);
    EXPECT_EQ(machine().Find("QX\\OLD\\2"), nullptr);
    EXPECT_FALSE(machine().Claimed(3));
    EXPECT_TRUE(machine().Claimed(6));
    EXPECT_TRUE(machine().Claimed(4));
    EXPECT_EQ(Faults(), "");
    EXPECT_EQ(Command("forget COM4 --foreign").code, 0);
    EXPECT_FALSE(machine().Claimed(4));
    EXPECT_THAT(Command("forget --absent").out, HasSubstr("no absent ports"));
}

TEST_F(ChangesTest, RepairsEveryPlaceThatIsNobodyElses) {
    using Spoil = std::function<void(qxsim::Machine&, qxsim::Device&)>;
    const std::vector<std::pair<const char*, Spoil>> cases{
        {"claim", [](auto& machine, auto&) { machine.SetClaimed(7, false); }},
        {"DOS name", [](auto& machine, auto& port) { machine.DropDosNamesOf(port.kernel_path); }},
        {"two DOS names",
         [](auto& machine, auto& port) { machine.DefineDosName(TEXT("COM77"), port.kernel_path); }},
        {"another DOS name",
         [](auto& machine, auto& port) {
             machine.DropDosNamesOf(port.kernel_path);
             machine.DefineDosName(TEXT("COM77"), port.kernel_path);
         }},
        {"SERIALCOMM",
         [](auto& machine, auto& port) {
             machine.WriteText(qxsim::kSerialCommPath, qxsim::ToUtf8(port.kernel_path), "COM77");
         }},
        {"friendly name",
         [](auto& machine, auto& port) {
             machine.SetPropertyText(port, SPDRP_FRIENDLYNAME, "Port (COM70)");
         }},
        {"no friendly name", [](auto&, auto& port) { port.properties.erase(SPDRP_FRIENDLYNAME); }},
        {"all of them",
         [](auto& machine, auto& port) {
             machine.SetClaimed(7, false);
             machine.DropDosNamesOf(port.kernel_path);
             machine.DefineDosName(TEXT("COM77"), port.kernel_path);
             machine.WriteText(qxsim::kSerialCommPath, qxsim::ToUtf8(port.kernel_path), "COM77");
             machine.SetPropertyText(port, SPDRP_FRIENDLYNAME, "");
         }},
    };
    for (const auto& [what, spoil] : cases) {
        SCOPED_TRACE(what);
        Use(std::make_unique<qxsim::Machine>());
        Fill();
        spoil(machine(), Dev("QX\\P\\1"));
        ASSERT_NE(Faults(), "");
        const std::string before = machine().ToJson();
        EXPECT_EQ(Command("repair --dry-run").code, 0);
        EXPECT_EQ(machine().ToJson(), before);
        EXPECT_EQ(Command("repair --yes").code, 0);
        EXPECT_EQ(Faults(), "");
        EXPECT_EQ(NameOf("QX\\P\\1"), "COM7");
    }
    EXPECT_THAT(Command("repair").out, HasSubstr("nothing to do"));
    // Somebody else has the port's name.
    machine().DropDosNamesOf(Dev("QX\\P\\1").kernel_path);
    machine().DefineDosName(TEXT("COM7"), TEXT("\\Device\\Other"));
    const Outcome outcome = Command("repair --yes");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(machine().DosTarget("COM7"), "\\Device\\Other");
    // Nobody can be asked about the restart, and the claim is mended all the same: that is not "refused".
    Use(std::make_unique<qxsim::Machine>());
    Fill();
    machine().SetClaimed(7, false);
    machine().WriteText(qxsim::kSerialCommPath, qxsim::ToUtf8(Dev("QX\\P\\1").kernel_path), "COM77");
    EXPECT_EQ(Command("repair").code, 1);
    EXPECT_TRUE(machine().Claimed(7));
}

TEST_F(ChangesTest, KeepsOutOfInstallations) {
    const std::basic_string<WCHAR> plain(qx::kPortInstallationMutex);
    for (const std::basic_string<WCHAR>& name : {plain, TEXT("Global\\") + plain}) {
        HANDLE held = nullptr;
        std::thread installation([&] {
            const qxsim::SimulatedProcess other(7);
            held = CreateMutexW(nullptr, FALSE, name.c_str());
            WaitForSingleObject(held, INFINITE);
        });
        installation.join();
        // The thread is gone without giving the mutex back, so it is ours after all.
        EXPECT_EQ(Command("release COM40").code, 0);
        EXPECT_TRUE(CloseHandle(held));
    }
    std::atomic<bool> holding = false;
    std::atomic<bool> give_back = false;
    std::thread installation([&] {
        const qxsim::SimulatedProcess other(7);
        const HANDLE held = CreateMutexW(nullptr, FALSE, qx::kPortInstallationMutex);
        WaitForSingleObject(held, INFINITE);
        holding = true;
        while (!give_back)
            std::this_thread::yield();
        ReleaseMutex(held);
        CloseHandle(held);
    });
    while (!holding)
        std::this_thread::yield();
    // As the system has made it: others may wait for it, and no more.
    machine().refused_mutexes.insert(plain);
    for (const char* const changing : {"rename COM7 COM12", "order COM7", "release COM9", "forget COM3",
                                       "repair", "settings COM7 --set Parity=even", "import none.json"})
        Refuses(changing, 7, "--wait");
    EXPECT_EQ(Command("names").code, 0);
    EXPECT_EQ(Command("rename COM7 COM12 --dry-run").code, 0);
    std::thread later([&] {
        while (!SomebodyWaits())
            std::this_thread::yield();
        give_back = true;
    });
    EXPECT_EQ(Command("release COM9 --wait").code, 0);
    later.join();
    installation.join();
    Refuses("rename COM7 COM12", 7, "Access is denied. (error 5)");
}

TEST_F(ChangesTest, SaysWhichRightIsMissing) {
    for (const char* const id : {"QX\\P\\1", "QX\\P\\2", "QX\\P\\3"})
        machine().HardwareKey(Dev(id))->refused = KEY_SET_VALUE;
    Refuses("rename COM7 COM12", 8, "Access is denied. (error 5)");
    Refuses("order COM7", 8, "rights of an administrator");
    machine().database_broken = true;
    for (const char* const changing :
         {"rename COM7 COM12", "order COM7", "release COM9", "forget COM3", "repair"})
        Refuses(changing, 8, "the port database");
    for (const char* const reading : {"list --all", "names", "who COM7", "settings COM7", "export"})
        EXPECT_EQ(Command(reading).code, 0) << reading;
}

}  // namespace
}  // namespace qxtest
