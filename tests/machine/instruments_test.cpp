// SPDX-License-Identifier: MIT
// The instruments: a test that relies on them must be able to trust them.
#include "tests/support/machine_fixture.h"
#include "tests/support/sweep.h"

#include <gmock/gmock.h>

#include <vector>

namespace {

using qxtest::MachineTest;
using testing::ElementsAre;
using testing::HasSubstr;

class InstrumentsTest : public MachineTest {
  protected:
    static HKEY Open(const WCHAR* path = TEXT("Software")) {
        HKEY key = nullptr;
        EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key), ERROR_SUCCESS);
        return key;
    }
};

TEST_F(InstrumentsTest, LedgerNamesALeakAndADoubleClose) {
    HKEY key = Open();
    EXPECT_THAT(instruments().LedgerReport(), HasSubstr("never closed: registry key"));
    EXPECT_THAT(instruments().LedgerReport(), HasSubstr("RegOpenKeyExW("));
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_EQ(instruments().LedgerReport(), "");
    EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
    EXPECT_THAT(instruments().LedgerReport(), HasSubstr("closed though not open: registry key"));
    EXPECT_FALSE(CloseHandle(INVALID_HANDLE_VALUE));
    EXPECT_EQ(instruments().BadClosings().size(), 2U);
    instruments().Reset();  // this test's mistakes were its purpose
}

TEST_F(InstrumentsTest, FaultsFailTheNthCallOfAFunctionOnceOrForGood) {
    instruments().Inject({.function = "RegOpenKeyExW", .nth = 2, .error = ERROR_GEN_FAILURE});
    std::vector<LONG> results;
    const auto open = [&] {
        HKEY key = nullptr;
        results.push_back(RegOpenKeyExW(HKEY_LOCAL_MACHINE, TEXT("Software"), 0, KEY_READ, &key));
        if (results.back() == ERROR_SUCCESS)
            RegCloseKey(key);
    };
    for (int round = 0; round < 3; ++round)
        open();
    EXPECT_THAT(results, ElementsAre(ERROR_SUCCESS, ERROR_GEN_FAILURE, ERROR_SUCCESS));
    EXPECT_EQ(instruments().FaultsFired(), 1U);

    results.clear();
    instruments().ClearFaults();
    instruments().Inject({.function = "RegOpenKeyExW", .nth = 2, .for_good = true});
    for (int round = 0; round < 3; ++round)
        open();
    EXPECT_THAT(results, ElementsAre(ERROR_SUCCESS, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED));
}

// What is closed by a call that is made to fail is closed: the ledger must not blame the caller.
TEST_F(InstrumentsTest, AFaultyCloseStillCloses) {
    HKEY key = Open();
    instruments().Inject({.function = "RegCloseKey"});
    EXPECT_NE(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_EQ(instruments().LedgerReport(), "");
}

TEST_F(InstrumentsTest, TraceKeepsOrderArgumentsResultsAndChanges) {
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_LOCAL_MACHINE, TEXT("Software\\New"), 0, nullptr, 0, KEY_WRITE, nullptr, &key,
                    nullptr);
    DWORD size = 0;
    RegQueryValueExW(key, TEXT("x"), nullptr, nullptr, nullptr, &size);
    RegCloseKey(key);
    const std::vector<qxsim::CallRecord> trace = instruments().Trace();
    ASSERT_EQ(trace.size(), 3U);
    EXPECT_EQ(trace[0].function, "RegCreateKeyExW");
    EXPECT_THAT(trace[0].arguments, HasSubstr("\"Software\\New\""));
    EXPECT_EQ(trace[0].result, "0");
    EXPECT_TRUE(trace[0].changes_state);
    EXPECT_EQ(trace[1].result, "5");  // the handle may write, not read
    EXPECT_FALSE(trace[1].changes_state);
    EXPECT_EQ(instruments().CallCount("RegCloseKey"), 1U);
    EXPECT_EQ(instruments().Changes(), 1U);
}

// The scenario of the two sweeps below: three values, each in its own key handle.
void WriteThree(qxsim::Machine&) {
    for (const WCHAR* name : {TEXT("a"), TEXT("b"), TEXT("c")}) {
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, TEXT("Software"), 0, KEY_WRITE, &key) != ERROR_SUCCESS)
            continue;
        RegSetValueExW(key, name, 0, REG_BINARY, nullptr, 0);
        RegCloseKey(key);
    }
}

std::unique_ptr<qxsim::Machine> MakeEmpty() {
    return std::make_unique<qxsim::Machine>();
}

std::size_t ValuesIn(const qxsim::Machine& machine) {
    return machine.FindKey(TEXT("Software"))->values.size();
}

TEST_F(InstrumentsTest, FaultSweepFailsEveryCallOnceAndForGood) {
    std::vector<std::size_t> left;
    const std::uint64_t injected = qxtest::ForEachFault(
        MakeEmpty, WriteThree,
        [&](qxsim::Machine& machine, const qxtest::FaultPoint&) { left.push_back(ValuesIn(machine)); });
    EXPECT_EQ(injected, 18U);
    EXPECT_THAT(left, ElementsAre(2, 2, 3, 2, 2, 3, 2, 2, 3, /* for good: */ 0, 0, 1, 1, 1, 2, 2, 2, 3));
}

TEST_F(InstrumentsTest, PowerCutKeepsWhatWasStoredBeforeIt) {
    std::vector<std::size_t> left;
    qxtest::ForEachPowerCut(MakeEmpty, WriteThree, [&](qxsim::Machine& machine, const qxtest::CutPoint& cut) {
        EXPECT_THAT(cut.call, HasSubstr("RegSetValueExW"));
        left.push_back(ValuesIn(machine));
    });
    EXPECT_THAT(left, ElementsAre(0, 1, 2));
}

}  // namespace
