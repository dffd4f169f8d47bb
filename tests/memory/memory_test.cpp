// The loaded library with every one of its allocations failing in turn, once and for good: no exception
// leaves an entry or a window message, nothing stays open, and requests are answered as if the work had ended
// there.
#include "tests/install/scenarios.h"
#include "tests/pages/visits.h"
#include "tests/support/allocations.h"

#include <link.h>

#include <cstdio>
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
        FailEachAllocation(scenario.name, [&](std::size_t nth, bool for_good) {
            SCOPED_TRACE(scenario.name + ", allocation " + std::to_string(nth));
            Use(start.Clone());
            instruments().Reset();
            instruments().KeepTrace(false);
            const FailingAllocation failing(nth, for_good);
            scenario.run(installer());
            EXPECT_EQ(installer().wrong, std::vector<std::string>{});
            EXPECT_EQ(instruments().LedgerReport(), "");
            return failing.Fired();
        });
    }
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

}  // namespace
}  // namespace qxtest
