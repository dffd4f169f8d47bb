// A user's visit to every page with one platform call failing, each in turn, once and for good: nothing is
// left open, no driver is left with half of a change, and the sheet can always be closed.
#include "module/resource.h"
#include "tests/pages/port_sheet.h"

#include <map>

namespace qxtest {
namespace {

using qxsim::Desktop;

struct Visit {
    const char* name;
    Steps steps;
};

std::vector<Visit> Visits() {
    const auto press = [](int id) { return [id] { Press(id); }; };
    const auto tab = [](int index) { return [index] { OpenTab(index); }; };
    return {
        {"port settings, OK",
         {[] { TypeInto(IDC_BAUD_RATE, TEXT("4800")); }, [] { ChooseEntry(IDC_PARITY, 1); },
          press(IDC_OVERRIDE_PARITY), [] { PressOk(); }}},
        {"port settings, defaults and Cancel", {press(IDC_RESTORE_DEFAULTS), [] { PressCancel(); }}},
        {"COM number, OK",
         {press(IDC_ADVANCED), [] { ChooseEntry(IDC_COM_NUMBER, 11); }, [] { PressOk(); },
          [] { PressOk(); }}},
        {"duplex mode, OK",
         {press(IDC_ADVANCED), tab(1), press(IDC_RESTORE_DEFAULTS), [] { ChooseEntry(IDC_DUPLEX_MODE, 1); },
          [] { PressOk(); }, [] { PressOk(); }}},
        {"latency, OK",
         {press(IDC_ADVANCED), tab(2), press(IDC_POLICY_LATENCY), [] { MoveSlider(IDC_LATENCY, 9000); },
          press(IDC_RESTORE_DEFAULTS), [] { MoveSlider(IDC_CPU_USAGE_TUNING, 9); }, [] { PressOk(); },
          [] { PressOk(); }}},
        {"every page, Cancel",
         {press(IDC_ADVANCED), tab(1), tab(2), tab(3), press(IDC_WEB_ADDRESS), [] { PressCancel(); },
          [] { PressCancel(); }}},
    };
}

class FaultSweep : public PortSheetTest {
  public:
    void SetUp() override {
        PortSheetTest::SetUp();
        Driver().settings["PortType"] = 1;
        Driver().settings["SupportedDuplexModes"] = 3;
        Driver().settings["DuplexMode"] = 1;
        sound_ = machine().Clone();
    }

    // One visit; what is wrong after it.
    [[nodiscard]] std::string Run(const Visit& visit, std::optional<qxsim::Fault> fault) {
        instruments().Reset();
        instruments().KeepTrace(false);
        Desktop::The().Reset();
        Use(sound_->Clone());
        Desktop::The().SetAnswers(
            [](const qxsim::ShownBox& box) { return (box.type & MB_YESNO) ? IDYES : IDOK; });
        if (fault)
            instruments().Inject(*fault);
        ShowProperties(visit.steps);
        fired_ = instruments().FaultsFired() > 0;
        instruments().ClearFaults();
        std::string wrong = instruments().LedgerReport();
        if (!Desktop::The().OpenWindows().empty())
            wrong += "a window is still open; ";
        // A set travels as a whole, so a driver holds all of a change or nothing of it.
        for (const auto& write : Driver().writes)
            if (write.size() != 8 + 4 * qxsim::kPortSettingCount &&
                write.size() != 8 + 57 + Driver().bus.interface_type.size())
                wrong += "the driver was sent half of a set; ";
        const std::uint32_t rate = Driver().settings["Baudrate"];
        if (rate != 9600 && rate != 4800)
            wrong += "the baud rate is " + std::to_string(rate) + "; ";
        const std::uint32_t mode = Driver().settings["DuplexMode"];
        if (mode > 2)
            wrong += "the duplex mode is " + std::to_string(mode) + "; ";
        const std::uint32_t policy = Driver().bus["PolicyType"];
        if (policy > 1)
            wrong += "the policy is " + std::to_string(policy) + "; ";
        return wrong;
    }

    bool fired_ = false;

  private:
    std::unique_ptr<qxsim::Machine> sound_;
};

TEST_F(FaultSweep, LeavesNothingOpenAndNothingHalfDone) {
    for (const Visit& visit : Visits()) {
        ASSERT_EQ(Run(visit, {}), "") << visit.name;
        for (const bool for_good : {false, true}) {
            std::uint64_t calls = 0;
            do {
                const std::string wrong = Run(
                    visit, qxsim::Fault{.function = {}, .nth = ++calls, .for_good = for_good, .error = 0});
                ASSERT_EQ(wrong, "") << visit.name << ", call " << calls
                                     << (for_good ? " and all after it" : "") << " failed";
                ASSERT_LT(calls, 100000U);
            } while (fired_);
            RecordProperty(std::string(visit.name) + (for_good ? ", for good" : ", once"),
                           static_cast<int>(calls - 1));
            std::printf("%s, %s: %d calls failed in turn\n", visit.name, for_good ? "for good" : "once",
                        static_cast<int>(calls - 1));
        }
    }
}

}  // namespace
}  // namespace qxtest
