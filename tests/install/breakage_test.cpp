// SPDX-License-Identifier: MIT
// Every scenario with every platform call failing, in three ways, and with the power cut at every change.
//
// Whatever fails: no exception leaves an entry, nothing stays open, a failed installation's result comes back
// as it was, a success stays one, and the places of the ports' names agree, but for what the tables below
// allow.
#include "tests/install/scenarios.h"

#include "platform/desktop/desktop.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <set>

namespace qxtest {
namespace {

using qx::NamePlace;

// What a failing function may leave at odds, and why. Everything that is not listed must agree.
//
// A rename writes the places in the order DOS name, SERIALCOMM, claim, friendly name, "PortName", and turns
// back only until the first of them is written: a port that opens under its new name is of more use than one
// that does not open.
struct Allowance {
    const char* because;
    const char* scenarios;  // how their names begin
    std::set<std::string> functions;
    std::set<NamePlace> places;
    bool for_good_only = false;
};
const std::vector<Allowance>& Allowances() {
    using enum NamePlace;
    static const std::set<std::string> after_the_claim{"SetupDiGetDeviceRegistryPropertyW",
                                                       "SetupDiSetDeviceRegistryPropertyW", "LocalAlloc",
                                                       "SetupDiOpenDevRegKey", "RegSetValueExW"};
    static const std::vector<Allowance> all{
        {"the DOS name has moved when SERIALCOMM cannot be written, and stays moved",
         "",
         {"RegOpenKeyExW", "RegSetValueExW"},
         {kDosName, kSerialComm}},
        {"claiming is not looked at: the port already answers to the name",
         "",
         {"ComDBOpen", "ComDBClaimPort"},
         {kClaim}},
        {"from the claim on nothing turns back, and \"PortName\" is written last",
         "",
         after_the_claim,
         {kDosName, kSerialComm, kClaim, kFriendlyName}},
        {"the next rename, and the next port, go by the \"PortName\" that such a rename left behind",
         "",
         after_the_claim,
         {kPortName}},
        {"neither the new name nor the old one again can be defined",
         "",
         {"DefineDosDeviceW"},
         {kDosName},
         true},
        {"a holder that cannot be found or moved keeps the number, and the fixed-number port takes it too",
         "fixed number",
         {"ComDBOpen", "ComDBGetCurrentPortUsage", "SetupDiGetClassDevsW", "SetupDiEnumDeviceInfo",
          "SetupDiOpenDevRegKey", "RegQueryValueExW", "QueryDosDeviceW", "DefineDosDeviceW", "RegOpenKeyExW",
          "RegSetValueExW"},
         {kPortName, kDosName, kSerialComm}},
        {"the fixed number was taken from its holder before the port's DOS name turned out not to move",
         "fixed number",
         {"QueryDosDeviceW", "DefineDosDeviceW", "RegOpenKeyExW"},
         {kClaim},
         true},
        {"nothing works any more from the middle of a rename on, and ports get their next names without a "
         "database",
         "",
         {""},
         {kPortName, kDosName, kSerialComm, kClaim, kFriendlyName},
         true},
    };
    return all;
}

// Where a power cut leaves what the next installation cannot make good.
struct CutWindow {
    const char* because;
    const char* scenarios;
    std::set<std::string> cut_calls;  // the first change that was not stored
    std::set<NamePlace> places;
};
const std::vector<CutWindow>& CutWindows() {
    using enum NamePlace;
    static const std::vector<CutWindow> all{
        {"the friendly name was changed and \"PortName\" was not: later renames look in it for a name that "
         "it no "
         "longer holds",
         "",
         {"RegSetValueExW"},
         {kFriendlyName}},
        {"the holder of a fixed number gave its claim back and kept its \"PortName\": its number looks free, "
         "so nobody "
         "asks it to make room",
         "fixed number",
         {"ComDBClaimPort", "SetupDiSetDeviceRegistryPropertyW", "RegSetValueExW"},
         {kPortName, kDosName, kSerialComm}},
    };
    return all;
}

class Breakage : public InstallTest {
  public:
    void SetUp() override {
        InstallTest::SetUp();
        qxsim::Desktop::The().Reset();
        qxsim::Desktop::The().SetAnswers(
            [](const qxsim::ShownBox& box) { return (box.type & MB_TYPEMASK) == MB_YESNO ? IDNO : IDOK; });
    }

    // Runs the scenario once as it should be, and keeps its calls.
    std::vector<qxsim::CallRecord> Rehearse(const Scenario& scenario, const qxsim::Machine& start) {
        Use(start.Clone());
        instruments().Reset();
        scenario.run(installer());
        EXPECT_EQ(instruments().LedgerReport(), "");
        EXPECT_EQ(Disagreements(), "");
        return instruments().Trace();
    }

    // Runs it with the fault and checks what must hold.
    void RunWith(const Scenario& scenario, const qxsim::Machine& start, const qxsim::Fault& fault) {
        SCOPED_TRACE(scenario.name + ", " + fault.function + " " + std::to_string(fault.nth) +
                     (fault.for_good ? " for good" : ""));
        Use(start.Clone());
        instruments().Reset();
        instruments().KeepTrace(false);
        instruments().Inject(fault);
        scenario.run(installer());
        faults_ += instruments().FaultsFired();
        instruments().ClearFaults();
        ++runs_;
        EXPECT_EQ(installer().wrong, std::vector<std::string>{});
        EXPECT_EQ(instruments().LedgerReport(), "");
        for (const qxports::NamedPort& port : qxports::ReportNames(qxports::Computer()).ports)
            for (const qxports::NameFault& wrong : port.faults)
                EXPECT_TRUE(Allowed(scenario, fault, wrong.place)) << port.port.id << ": " << wrong.text;
    }

    // Every rule that covers the disagreement counts as needed.
    bool Allowed(const Scenario& scenario, const qxsim::Fault& fault, NamePlace place) {
        bool allowed = false;
        for (const Allowance& rule : Allowances())
            if (scenario.name.starts_with(rule.scenarios) && rule.functions.contains(fault.function) &&
                rule.places.contains(place) && (fault.for_good || !rule.for_good_only)) {
                allowed = true;
                needed_.insert(rule.because);
            }
        return allowed;
    }

    std::uint64_t runs_ = 0;
    std::uint64_t faults_ = 0;
    std::set<std::string> needed_;
};

TEST_F(Breakage, OfAnyCallLeavesNamesThatAgreeOrAreAllowedNotTo) {
    for (const Scenario& scenario : Scenarios()) {
        qxsim::Machine start;
        scenario.build(start);
        const std::vector<qxsim::CallRecord> calls = Rehearse(scenario, start);
        std::map<std::string, std::uint64_t> count;
        std::uint64_t fallible = 0;
        for (const qxsim::CallRecord& call : calls) {
            if (!call.fallible)
                continue;
            const std::uint64_t nth = ++count[call.function];
            RunWith(scenario, start, {.function = "", .nth = ++fallible, .for_good = true});
            RunWith(scenario, start, {.function = call.function, .nth = nth});
            RunWith(scenario, start, {.function = call.function, .nth = nth, .for_good = true});
        }
        std::cout << scenario.name << ": " << fallible << " calls that can fail\n";
    }
    std::cout << runs_ << " runs, " << faults_ << " faults injected\n";
    EXPECT_GT(faults_, 4000U);
    for (const Allowance& rule : Allowances())
        EXPECT_TRUE(needed_.contains(rule.because)) << "allowed, and never seen: " << rule.because;
}

TEST_F(Breakage, OfThePowerIsMadeGoodByTheNextInstallation) {
    std::uint64_t cuts = 0;
    std::set<std::string> needed;
    for (const Scenario& scenario : Scenarios()) {
        qxsim::Machine start;
        scenario.build(start);
        std::vector<std::string> changing;
        for (const qxsim::CallRecord& call : Rehearse(scenario, start))
            if (call.changes_state)
                changing.push_back(call.function);
        for (std::uint64_t n = 1; n <= changing.size(); ++n) {
            SCOPED_TRACE(scenario.name + ", cut at change " + std::to_string(n) + ", " + changing[n - 1]);
            qxsim::Machine& victim = Use(start.Clone());
            instruments().Reset();
            instruments().KeepTrace(false);
            std::optional<qxsim::MachineState> left;
            std::vector<std::string> finished;
            instruments().CutPowerAt(n, [&] {
                left = victim.Snapshot();
                finished = installer().finished;
            });
            scenario.run(installer());
            ASSERT_TRUE(left.has_value());
            ++cuts;

            instruments().Reset();
            instruments().KeepTrace(false);
            Use(qxsim::Machine::Reopen(*left));
            installer().skip = finished;
            scenario.run_again(installer());
            for (const qxports::NamedPort& port : qxports::ReportNames(qxports::Computer()).ports)
                for (const qxports::NameFault& wrong : port.faults) {
                    bool known = false;
                    for (const CutWindow& window : CutWindows())
                        if (scenario.name.starts_with(window.scenarios) &&
                            window.cut_calls.contains(changing[n - 1]) &&
                            window.places.contains(wrong.place)) {
                            known = true;
                            needed.insert(window.because);
                        }
                    EXPECT_TRUE(known) << port.port.id << ": " << wrong.text;
                }
        }
    }
    std::cout << cuts << " power cuts\n";
    EXPECT_GT(cuts, 100U);
    for (const CutWindow& window : CutWindows())
        EXPECT_TRUE(needed.contains(window.because)) << "allowed, and never seen: " << window.because;
}

}  // namespace
}  // namespace qxtest
