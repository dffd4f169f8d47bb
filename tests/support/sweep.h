// SPDX-License-Identifier: MIT
// Sweeps: one scenario, run again and again with one thing going wrong at a time.
//
// What can go wrong: any platform call fails, once or from then on; the power fails just before any change
// that the platform would have stored. What cannot: calls that the platform lets succeed always, memory
// corruption, a platform that lies about success (drivers that lie are tests of their own).
#pragma once

#include "platform/machine/machine.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qxtest {

using MakeMachine = std::function<std::unique_ptr<qxsim::Machine>()>;
using Scenario = std::function<void(qxsim::Machine&)>;

struct FaultPoint {
    std::uint64_t nth = 0;  // fallible call of the scenario, from 1
    bool for_good = false;
    std::string call;  // with its arguments
    [[nodiscard]] std::string Describe() const {
        return "call " + std::to_string(nth) + (for_good ? " and all later fail: " : " fails: ") + call;
    }
};

struct CutPoint {
    std::uint64_t nth = 0;  // change of the scenario before which the power fails, from 1
    std::string call;
    [[nodiscard]] std::string Describe() const {
        return "power fails before change " + std::to_string(nth) + ": " + call;
    }
};

// Runs the scenario undisturbed and answers its calls.
inline std::vector<qxsim::CallRecord> Rehearse(const MakeMachine& make, const Scenario& scenario) {
    qxsim::Instruments& instruments = qxsim::Instruments::The();
    const std::unique_ptr<qxsim::Machine> machine = make();
    const qxsim::CurrentMachine current(*machine);
    instruments.Reset();
    scenario(*machine);
    EXPECT_EQ(instruments.LedgerReport(), "") << "undisturbed";
    std::vector<qxsim::CallRecord> calls = instruments.Trace();
    instruments.Reset();
    return calls;
}

// Fails every call of the scenario, once and from then on, each time on a fresh computer; `check` sees the
// computer after the scenario. The handle ledger is checked here. Answers the number of faults injected, and
// prints it.
inline std::uint64_t ForEachFault(const MakeMachine& make, const Scenario& scenario,
                                  const std::function<void(qxsim::Machine&, const FaultPoint&)>& check) {
    qxsim::Instruments& instruments = qxsim::Instruments::The();
    std::vector<std::string> fallible;
    for (const qxsim::CallRecord& record : Rehearse(make, scenario)) {
        if (record.fallible)
            fallible.push_back(record.function + "(" + record.arguments + ")");
    }
    EXPECT_FALSE(fallible.empty()) << "the scenario calls nothing";
    std::uint64_t injected = 0;
    for (const bool for_good : {false, true}) {
        for (std::uint64_t nth = 1; nth <= fallible.size(); ++nth) {
            const FaultPoint point{nth, for_good, fallible[nth - 1]};
            SCOPED_TRACE(point.Describe());
            const std::unique_ptr<qxsim::Machine> machine = make();
            const qxsim::CurrentMachine current(*machine);
            instruments.Reset();
            instruments.KeepTrace(false);
            instruments.Inject({.function = {}, .nth = nth, .for_good = for_good});
            scenario(*machine);
            EXPECT_GE(instruments.FaultsFired(), 1U) << "the scenario is not the same every time";
            injected += instruments.FaultsFired() != 0 ? 1 : 0;
            instruments.ClearFaults();
            EXPECT_EQ(instruments.LedgerReport(), "");
            check(*machine, point);
            instruments.Reset();
            if (testing::Test::HasFatalFailure())
                return injected;
        }
    }
    std::printf("    faults injected: %llu, over a scenario of %llu calls\n",
                static_cast<unsigned long long>(injected), static_cast<unsigned long long>(fallible.size()));
    return injected;
}

// Cuts the power before every change of the scenario. `check` sees the computer as it comes up again, current
// and with fresh instruments. Answers the number of cuts, and prints it.
inline std::uint64_t ForEachPowerCut(const MakeMachine& make, const Scenario& scenario,
                                     const std::function<void(qxsim::Machine&, const CutPoint&)>& check) {
    qxsim::Instruments& instruments = qxsim::Instruments::The();
    std::vector<std::string> changes;
    for (const qxsim::CallRecord& record : Rehearse(make, scenario)) {
        if (record.changes_state)
            changes.push_back(record.function + "(" + record.arguments + ")");
    }
    EXPECT_FALSE(changes.empty()) << "the scenario changes nothing";
    for (std::uint64_t nth = 1; nth <= changes.size(); ++nth) {
        const CutPoint point{nth, changes[nth - 1]};
        SCOPED_TRACE(point.Describe());
        std::optional<qxsim::MachineState> stored;
        {
            const std::unique_ptr<qxsim::Machine> machine = make();
            const qxsim::CurrentMachine current(*machine);
            instruments.Reset();
            instruments.KeepTrace(false);
            instruments.CutPowerAt(nth, [&] { stored = machine->Snapshot(); });
            scenario(*machine);
            instruments.Reset();
        }
        EXPECT_TRUE(stored.has_value()) << "the scenario is not the same every time";
        if (!stored)
            continue;
        const std::unique_ptr<qxsim::Machine> reopened = qxsim::Machine::Reopen(*stored);
        const qxsim::CurrentMachine current(*reopened);
        check(*reopened, point);
        EXPECT_EQ(instruments.LedgerReport(), "");
        instruments.Reset();
        if (testing::Test::HasFatalFailure())
            break;
    }
    std::printf("    power cuts: %zu\n", changes.size());
    return changes.size();
}

}  // namespace qxtest
