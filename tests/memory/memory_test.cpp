// SPDX-License-Identifier: MIT
// The loaded library with every one of its allocations failing in turn, once and for good: no exception
// leaves an entry or a window message, nothing stays open, and requests are answered as if the work had ended
// there.
#include "install/card_coinstaller.h"
#include "module/resource.h"
#include "tests/install/scenarios.h"
#include "tests/pages/visits.h"
#include "tests/support/allocations.h"

#include <gmock/gmock.h>

#include <link.h>

#include <cstdio>
#include <random>
#include <set>
#include <string_view>

extern "C" HRESULT WINAPI DllRegisterServer() noexcept;

namespace qxtest {
namespace {

// Counts what the library's own code allocates, and neither the tests' nor the simulated platform's.
bool CountTheLibrary() {
    const auto find = [](dl_phdr_info* info, std::size_t, void*) -> int {
        if (!std::string_view(info->dlpi_name).ends_with("/libQxUUI10.so"))
            return 0;
        for (int i = 0; i < info->dlpi_phnum; ++i) {
            const ElfW(Phdr)& segment = info->dlpi_phdr[i];
            if (segment.p_type == PT_LOAD && (segment.p_flags & PF_X) != 0) {
                const std::uintptr_t begin = info->dlpi_addr + segment.p_vaddr;
                CountAllocationsBetween(begin, begin + segment.p_memsz);
                return 1;
            }
        }
        return 0;
    };
    return dl_iterate_phdr(find, nullptr) != 0;
}

// Calls `run` with each allocation failing in turn. `run` does its work while the object lives that it is
// given the means to make, and answers whether an allocation failed.
template <typename Run>
void FailEachAllocation(const std::string& what, Run run) {
    for (const bool for_good : {false, true}) {
        std::size_t nth = 0;
        while (run(nth + 1, for_good) && !testing::Test::HasFailure())
            ++nth;
        EXPECT_GT(nth, 0U) << what << " allocates nothing";
        std::printf("%s, %s: %zu allocations failed in turn\n", what.c_str(), for_good ? "for good" : "once",
                    nth);
    }
}

// The names that the ports of a computer have.
std::set<std::string> PortNames() {
    std::set<std::string> names;
    for (const qxports::NamedPort& port : qxports::ReportNames(qxports::Computer()).ports)
        names.insert(port.port.Name());
    return names;
}

// Where the adapter keeps what it saved of its first port.
constexpr const char* kFirstBackup = "\\QXSER_1_QX000001&0001";

class InstallationMemory : public InstallTest {
  public:
    void SetUp() override {
        InstallTest::SetUp();
        ASSERT_TRUE(CountTheLibrary());
        qxsim::Desktop::The().Reset();
        qxsim::Desktop::The().SetAnswers(
            [](const qxsim::ShownBox& box) { return (box.type & MB_TYPEMASK) == MB_YESNO ? IDNO : IDOK; });
    }
};

TEST_F(InstallationMemory, RunsOutWithoutHarm) {
    for (const Scenario& scenario : Scenarios()) {
        qxsim::Machine start;
        scenario.build(start);
        Use(start.Clone());
        std::set<std::string> expected = PortNames();
        scenario.run(installer());
        expected.merge(PortNames());
        FailEachAllocation(scenario.name, [&](std::size_t nth, bool for_good) {
            SCOPED_TRACE(scenario.name + ", allocation " + std::to_string(nth));
            Use(start.Clone());
            instruments().Reset();
            instruments().KeepTrace(false);
            const FailingAllocation failing(nth, for_good);
            scenario.run(installer());
            EXPECT_EQ(installer().wrong, std::vector<std::string>{});
            EXPECT_EQ(instruments().LedgerReport(), "");
            // No rename stops in the middle, and no port is left on a number that it was to have for a
            // moment.
            EXPECT_EQ(Disagreements(), "");
            if (scenario.name != "reinstallation") {  // whose new ports get names of their own
                EXPECT_THAT(PortNames(), testing::IsSubsetOf(expected));
            }
            return failing.Fired();
        });
    }
}

// From its opening on a backup counts as restored: the port's siblings are not put in order, and what could
// not be given back stays in the backup for the next installation. The port may keep the name it came up
// with.
TEST_F(InstallationMemory, RunsOutWhileABackupIsRestored) {
    const AdapterRecipe adapter{.names = {"COM9", "COM10"}};
    const std::string port = PortId(adapter, 0);
    AddAdapter(machine(), adapter);
    machine().WriteDword(KeyPath(port), "Baudrate", 115200);
    machine().WriteText(KeyPath(port) + "\\UI1", "Label", "Scale");
    installer().BeginReinstall(adapter);
    machine().SetClaimed(3, true);
    InstallByClass(machine(), PortId(adapter, 1));
    InstallByClass(machine(), port);
    ASSERT_EQ(NamesOf(machine(), adapter), (std::vector<std::string>{"COM5", "COM4"}));
    const std::string backup = KeyPath(AdapterId(adapter)) + kFirstBackup;
    const std::unique_ptr<qxsim::Machine> start = machine().Clone();
    FailEachAllocation("restoring", [&](std::size_t nth, bool for_good) {
        Use(start->Clone());
        instruments().Reset();
        std::optional<FailingAllocation> failing;
        instruments().OnCall([&](const qxsim::CallRecord& call) {
            if (!failing && call.function == "RegEnumValueW")
                failing.emplace(nth, for_good);
        });
        installer().CallBackPort(port);
        const bool fired = failing->Fired();
        failing.reset();
        instruments().OnCall({});
        EXPECT_EQ(Disagreements(), "");
        EXPECT_EQ(PortName(PortId(adapter, 1)), "COM4");
        const bool given_back = PortName(port) == "COM9" &&
                                machine().ReadText(KeyPath(port) + "\\UI1", "Label") == "Scale" &&
                                machine().ReadDword(KeyPath(port), "Baudrate") == 115200U;
        EXPECT_TRUE(given_back || machine().ReadText(backup, "PortName") == "COM9") << nth;
        EXPECT_FALSE(PortsEntry(PortName(port)) == "9600,n,8,1" && PortName(port) == "COM5")
            << "not restarted";
        return fired;
    });
}

// A child that memory does not suffice for is passed over; its siblings are saved.
TEST_F(InstallationMemory, RunsOutWhileAnAdapterIsSaved) {
    const AdapterRecipe adapter{.names = {"COM25", "COM26", "COM27", "COM28"}};
    AddAdapter(machine(), adapter);
    const std::unique_ptr<qxsim::Machine> start = machine().Clone();
    FailEachAllocation("saving", [&](std::size_t nth, bool for_good) {
        Use(start->Clone());
        instruments().Reset();
        const FailingAllocation failing(nth, for_good);
        installer().Ask(&QxUCoInstallCard, DIF_INSTALLDEVICE, AdapterId(adapter));
        int saved = 0;
        for (const char* child : {"1", "2", "3", "4"}) {
            std::string backup = KeyPath(AdapterId(adapter)) + kFirstBackup;
            backup.replace(backup.rfind("_1_") + 1, 1, child).replace(backup.size() - 1, 1, child);
            saved += machine().ReadText(backup, "PortName").has_value();
        }
        EXPECT_TRUE(for_good || saved >= 3) << saved << " after allocation " << nth;
        return failing.Fired();
    });
}

// Registration cannot say "no exception" to whoever registers; it says that memory was short, or worked.
TEST_F(InstallationMemory, RunsOutDuringRegistration) {
    FailEachAllocation("registration", [&](std::size_t nth, bool for_good) {
        instruments().Reset();
        const FailingAllocation failing(nth, for_good);
        const HRESULT result = DllRegisterServer();
        EXPECT_TRUE(result == S_OK || FAILED(result));
        EXPECT_EQ(FAILED(result), failing.Fired()) << nth;
        EXPECT_EQ(instruments().LedgerReport(), "");
        return failing.Fired();
    });
}

class PageMemory : public VisitTest {
  public:
    void SetUp() override {
        VisitTest::SetUp();
        ASSERT_TRUE(CountTheLibrary());
    }
};

TEST_F(PageMemory, RunsOutWithoutHarm) {
    for (const Visit& visit : Visits())
        FailEachAllocation(visit.name, [&](std::size_t nth, bool for_good) {
            bool fired = false;
            EXPECT_EQ(Run(visit,
                          [&](const Steps& steps) {
                              const FailingAllocation failing(nth, for_good);
                              ShowProperties(steps);
                              fired = failing.Fired();
                          }),
                      "")
                << visit.name << ", allocation " << nth << (for_good ? " and all after it" : "") << " failed";
            return fired;
        });
}

// The page writes nothing, so OK must not fail on its account.
TEST_F(PageMemory, RunsOutOnTheAboutPageAndOkStillCloses) {
    FailEachAllocation("the About page", [&](std::size_t nth, bool for_good) {
        std::optional<FailingAllocation> failing;
        bool fired = false;
        std::size_t open = 0;
        ShowProperties({[] { Press(IDC_ADVANCED); },
                        [&] {
                            failing.emplace(nth, for_good);
                            OpenTab(3);
                            fired = failing->Fired();
                            failing.reset();
                            PressOk();
                        },
                        [&] { open = qxsim::Desktop::The().OpenWindows().size(); }});
        EXPECT_EQ(open, 1U) << nth;
        return fired;
    });
}

// A refused or cut answer and a shortage of memory in one visit, drawn by chance: their product is too large.
TEST_F(PageMemory, RunsOutWhileTheDriverFailsWithoutHarm) {
    std::minstd_rand random(20261123);
    const auto draw = [&](std::uint32_t below) { return static_cast<std::uint32_t>(random() % below); };
    for (const Visit& visit : Visits())
        for (int run = 0; run < 300; ++run) {
            const bool refused = draw(2) == 0;
            cut = {refused ? 0 : 1 + draw(20), 4 * draw(33) + draw(4)};
            const qxsim::Fault fault{
                .function = "DeviceIoControl", .nth = 1 + draw(20), .for_good = draw(2) == 0};
            const std::size_t allocation = 1 + draw(1500);
            const bool for_good = draw(4) == 0;
            EXPECT_EQ(Run(visit,
                          [&](const Steps& steps) {
                              if (refused)
                                  instruments().Inject(fault);
                              const FailingAllocation failing(allocation, for_good);
                              ShowProperties(steps);
                              instruments().ClearFaults();
                          }),
                      "")
                << visit.name << ", allocation " << allocation << (for_good ? " and all after it" : "")
                << ", " << (refused ? "refused " : "cut ") << (refused ? fault.nth : cut.request) << ", "
                << cut.length;
        }
}

}  // namespace
}  // namespace qxtest
