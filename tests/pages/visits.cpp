#include "tests/pages/visits.h"

#include "module/resource.h"

namespace qxtest {

using qxsim::Desktop;

const std::vector<Visit>& Visits() {
    const auto press = [](int id) { return [id] { Press(id); }; };
    const auto tab = [](int index) { return [index] { OpenTab(index); }; };
    static const std::vector<Visit> all{
        {"port settings, OK",
         {[] { TypeInto(IDC_BAUD_RATE, TEXT("4800")); }, [] { ChooseEntry(IDC_PARITY, 1); },
          press(IDC_OVERRIDE_PARITY), [] { PressOk(); }}},
        {"port settings, defaults and Cancel", {press(IDC_RESTORE_DEFAULTS), [] { PressCancel(); }}},
        {"port settings, defaults and OK",
         {press(IDC_RESTORE_DEFAULTS), [] { PressOk(); }, [] { PressOk(); }}},
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
    return all;
}

void VisitTest::SetUp() {
    PortSheetTest::SetUp();
    Driver().settings["PortType"] = 1;
    Driver().settings["SupportedDuplexModes"] = 3;
    Driver().settings["DuplexMode"] = 1;
    Driver().defaults["FlowControl"] = 5;  // which it does not offer
    sound_ = machine().Clone();
}

std::string VisitTest::Run(const Visit& visit, const std::function<void(const Steps&)>& show) {
    instruments().Reset();
    instruments().KeepTrace(false);
    Desktop::The().Reset();
    Use(sound_->Clone());
    Desktop::The().SetAnswers(
        [](const qxsim::ShownBox& box) { return (box.type & MB_YESNO) ? IDYES : IDOK; });
    show(visit.steps);
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
    if (const std::uint32_t flow = Driver().settings["FlowControl"]; flow > 0xF)
        wrong += "the flow control is " + std::to_string(flow) + "; ";
    const std::uint32_t mode = Driver().settings["DuplexMode"];
    if (mode > 2)
        wrong += "the duplex mode is " + std::to_string(mode) + "; ";
    const std::uint32_t policy = Driver().bus["PolicyType"];
    if (policy > 1)
        wrong += "the policy is " + std::to_string(policy) + "; ";
    return wrong;
}

}  // namespace qxtest
