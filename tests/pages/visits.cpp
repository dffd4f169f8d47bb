// SPDX-License-Identifier: MIT
#include "tests/pages/visits.h"

#include "module/resource.h"

#include <commctrl.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <utility>

namespace qxtest {

using qxsim::Desktop;

namespace {

constexpr const char* kFlags[] = {"OverridBaudRates", "OverrideDataBits",    "OverrideParity",
                                  "OverrideStopbits", "OverrideFlowControl", "EmulateCTSTrue",
                                  "EmulateDSRTrue"};

// A flag means the same whatever number stands for "on".
std::uint32_t Meaning(const std::string& name, std::uint32_t value) {
    return std::ranges::find(kFlags, name) != std::end(kFlags) ? value != 0 : value;
}

template <typename Numbers>
Values Named(const Numbers& numbers, const auto& names, const std::string& prefix) {
    Values values;
    for (std::size_t i = 0; i < names.size(); ++i)
        values[prefix + names[i]] = Meaning(names[i], numbers[i]);
    return values;
}

// The values of a write request; none when it is not one whole set.
std::optional<Values> Sent(const qxsim::Bytes& request, const std::string& interface_type) {
    std::vector<std::uint32_t> numbers;
    std::size_t at = 8;
    bool good = true;
    const auto number = [&] {
        std::uint32_t value = 0;
        good = good && at + 4 <= request.size();
        for (int byte = 0; good && byte < 4; ++byte)
            value |= std::uint32_t{request[at++]} << (8 * byte);
        return value;
    };
    const bool port = request.at(0) == 0;
    const std::size_t count = port ? qxsim::kPortSettingCount : qxsim::kBusNumberCount;
    while (numbers.size() < count) {
        if (!port && numbers.size() == 6) {
            const std::size_t length = number();
            good = good && at + length < request.size() &&
                   std::string(request.begin() + static_cast<std::ptrdiff_t>(at),
                               request.begin() + static_cast<std::ptrdiff_t>(at + length)) == interface_type;
            at += length + 1;
        }
        numbers.push_back(number());
    }
    if (!good || at != request.size())
        return std::nullopt;
    return port ? Named(numbers, qxsim::PortSettingNames(), "")
                : Named(numbers, qxsim::BusNumberNames(), "bus ");
}

bool Changes(const Visit& visit, const std::string& name, std::uint32_t value) {
    const auto change = visit.changes.find(name);
    return change != visit.changes.end() && change->second.contains(value);
}

// What a control of a shown page stands for in the drivers' terms.
struct Shown {
    int control;
    const char* name;
    enum { kNumber, kEntry, kFlag, kSlider, kPolicy } kind;
};
constexpr Shown kShown[] = {
    {IDC_BAUD_RATE, "Baudrate", Shown::kNumber},
    {IDC_DATA_BITS, "Databits", Shown::kEntry},
    {IDC_PARITY, "Parity", Shown::kEntry},
    {IDC_STOP_BITS, "Stopbits", Shown::kEntry},
    {IDC_FLOW_CONTROL, "FlowControl", Shown::kEntry},
    {IDC_OVERRIDE_BAUD_RATE, "OverridBaudRates", Shown::kFlag},
    {IDC_OVERRIDE_DATA_BITS, "OverrideDataBits", Shown::kFlag},
    {IDC_OVERRIDE_PARITY, "OverrideParity", Shown::kFlag},
    {IDC_OVERRIDE_STOP_BITS, "OverrideStopbits", Shown::kFlag},
    {IDC_OVERRIDE_FLOW_CONTROL, "OverrideFlowControl", Shown::kFlag},
    {IDC_CTS_TRUE, "EmulateCTSTrue", Shown::kFlag},
    {IDC_DSR_TRUE, "EmulateDSRTrue", Shown::kFlag},
    {IDC_DUPLEX_MODE, "DuplexMode", Shown::kEntry},
    {IDC_POLICY_LATENCY, "bus PolicyType", Shown::kPolicy},
    {IDC_LATENCY, "bus MaximumLatencySliderPos", Shown::kSlider},
    {IDC_LATENCY_TUNING, "bus MaximumLatencyFineTuning", Shown::kSlider},
    {IDC_CPU_USAGE_TUNING, "bus LowCpuUsageFineTuning", Shown::kSlider},
};

std::optional<std::uint32_t> ValueOf(HWND control, const Shown& shown) {
    const auto checked = [&] { return SendMessageW(control, BM_GETCHECK, 0, 0) == BST_CHECKED; };
    switch (shown.kind) {
        case Shown::kNumber: {
            std::array<WCHAR, 32> text{};
            GetWindowTextW(control, text.data(), static_cast<int>(text.size()));
            return static_cast<std::uint32_t>(std::atoi(qxsim::ToUtf8(text.data()).c_str()));
        }
        case Shown::kEntry: {
            const LRESULT entry = SendMessageW(control, CB_GETCURSEL, 0, 0);
            if (entry == CB_ERR)
                return std::nullopt;
            return static_cast<std::uint32_t>(
                SendMessageW(control, CB_GETITEMDATA, static_cast<WPARAM>(entry), 0));
        }
        case Shown::kFlag:
            // A disabled box shows what the port is like, not what is set.
            return IsWindowEnabled(control) ? std::optional(std::uint32_t{checked()}) : std::nullopt;
        case Shown::kSlider:
            return static_cast<std::uint32_t>(SendMessageW(control, TBM_GETPOS, 0, 0));
        case Shown::kPolicy:
            return checked() ? 0 : 1;
    }
    return std::nullopt;
}

std::vector<Visit> MakeVisits() {
    const auto type_rate = [] { TypeInto(IDC_BAUD_RATE, TEXT("4800")); };
    // "Restore Defaults" of the page with that control, where a sheet that could not be opened, or lacks a
    // page, has another one in front.
    const auto restore_page_of = [](int control) {
        return [control] {
            if (ControlInFront(control))
                Press(IDC_RESTORE_DEFAULTS);
        };
    };
    const auto advanced = [] { Press(IDC_ADVANCED); };
    // The page stores the latency that the slider's position stands for, whatever stood there before.
    const std::set<std::uint32_t> latencies{2, 224, 2541};
    const std::map<std::string, std::set<std::uint32_t>> default_latency{
        {"bus PolicyType", {1}},
        {"bus USB_TxTransferSize", {4096}},
        {"bus USB_RxTransferSize", {4096}},
        {"bus USB_LatencyTimer", {16}},
        {"bus MaximumLatency", {16, 2}},
        {"bus MaximumLatencySliderPos", {16}},
        {"bus MaximumLatencyFineTuning", {1}},
        {"bus LowCpuUsageFineTuning", {1}}};
    const auto ok = [](VisitTest& test) { return [&test] { test.Confirm(); }; };
    const auto tab = [](VisitTest& test, int index) { return [&test, index] { test.GoToTab(index); }; };

    std::vector<Visit> all;
    const std::map<std::string, std::set<std::uint32_t>> line_changes{
        {"Baudrate", {4800}}, {"Parity", {1}}, {"OverrideParity", {1}}};
    const auto lines = [=](VisitTest& test) {
        return Steps{type_rate,
                     [] { ChooseEntry(IDC_PARITY, 1); },
                     [] { Press(IDC_OVERRIDE_PARITY); },
                     ok(test),
                     ok(test),
                     ok(test)};
    };
    all.push_back({"line settings", lines, line_changes});
    all.push_back({"line settings of a held port", lines, line_changes, true});
    all.push_back({"line settings, defaults and Cancel", [](VisitTest&) {
                       return Steps{[] { Press(IDC_RESTORE_DEFAULTS); }, [] { PressCancel(); }};
                   }});
    all.push_back({"line settings, defaults",
                   [=](VisitTest& test) {
                       return Steps{[] { Press(IDC_RESTORE_DEFAULTS); }, ok(test), ok(test)};
                   },
                   {{"Baudrate", {9600}},
                    {"Databits", {3}},
                    {"Parity", {0}},
                    {"Stopbits", {0}},
                    {"FlowControl", {5}},
                    {"OverrideDataBits", {0}}}});
    all.push_back({"nothing on the advanced sheet",
                   [=](VisitTest& test) {
                       return Steps{advanced, tab(test, 0), tab(test, 2), ok(test), ok(test), ok(test)};
                   },
                   {{"bus MaximumLatency", latencies}}});
    all.push_back({"COM number", [=](VisitTest& test) {
                       return Steps{advanced, [] { ChooseEntry(IDC_COM_NUMBER, 11); }, ok(test), ok(test)};
                   }});
    all.push_back({"duplex mode",
                   [=](VisitTest& test) {
                       return Steps{advanced,
                                    tab(test, 1),
                                    restore_page_of(IDC_DUPLEX_MODE),
                                    [] { ChooseEntry(IDC_DUPLEX_MODE, 1); },
                                    ok(test),
                                    ok(test),
                                    ok(test)};
                   },
                   {{"DuplexMode", {2}}}});
    const std::map<std::string, std::set<std::uint32_t>> latency_changes{
        {"bus PolicyType", {0}}, {"bus MaximumLatencySliderPos", {9000}}, {"bus MaximumLatency", latencies}};
    const auto latency = [=](VisitTest& test) {
        return Steps{advanced,
                     tab(test, 2),
                     [] { Press(IDC_POLICY_LATENCY); },
                     [] { MoveSlider(IDC_LATENCY, 9000); },
                     ok(test),
                     ok(test),
                     ok(test)};
    };
    all.push_back({"latency", latency, latency_changes});
    all.push_back({"latency of a held port", latency, latency_changes, true});
    all.push_back({"latency, defaults",
                   [=](VisitTest& test) {
                       return Steps{advanced, tab(test, 2), restore_page_of(IDC_LATENCY),
                                    ok(test), ok(test),     ok(test)};
                   },
                   default_latency});
    // The mode is written before the latency is refused.
    all.push_back({"duplex mode, latency, Cancel, baud rate",
                   [=](VisitTest& test) {
                       return Steps{advanced,
                                    tab(test, 1),
                                    [] { ChooseEntry(IDC_DUPLEX_MODE, 1); },
                                    tab(test, 2),
                                    [] { MoveSlider(IDC_LATENCY, 9000); },
                                    ok(test),
                                    [] { PressCancel(); },
                                    type_rate,
                                    ok(test),
                                    ok(test)};
                   },
                   {{"DuplexMode", {2}},
                    {"Baudrate", {4800}},
                    {"bus MaximumLatencySliderPos", {9000}},
                    {"bus MaximumLatency", latencies}}});
    all.push_back({"every page, Cancel", [=](VisitTest& test) {
                       return Steps{advanced,
                                    tab(test, 1),
                                    tab(test, 2),
                                    tab(test, 3),
                                    [] { Press(IDC_WEB_ADDRESS); },
                                    [] { PressCancel(); },
                                    [] { PressCancel(); }};
                   }});
    return all;
}

}  // namespace

const std::vector<Visit>& Visits() {
    static const std::vector<Visit> all = MakeVisits();
    return all;
}

void VisitTest::SetUp() {
    PortSheetTest::SetUp();
    qxsim::ControlDevice& driver = Driver();
    for (const auto& [name, value] :
         std::initializer_list<std::pair<const char*, std::uint32_t>>{{"PortType", 1},
                                                                      {"SupportedDuplexModes", 3},
                                                                      {"DuplexMode", 1},
                                                                      {"Baudrate", 19200},
                                                                      {"Databits", 2},
                                                                      {"Parity", 2},
                                                                      {"Stopbits", 2},
                                                                      {"FlowControl", 1},
                                                                      {"OverrideDataBits", 5},
                                                                      {"LogLevel", 7}})
        driver.settings[name] = value;
    driver.defaults["FlowControl"] = 5;  // which it does not offer
    for (const auto& [name, value] :
         std::initializer_list<std::pair<const char*, std::uint32_t>>{{"USB_TxTransferSize", 2048},
                                                                      {"USB_RxTransferSize", 1024},
                                                                      {"USB_LatencyTimer", 8},
                                                                      {"PolicyType", 1},
                                                                      {"MaximumLatency", 224},
                                                                      {"MaximumLatencySliderPos", 3000},
                                                                      {"MaximumLatencyFineTuning", 40},
                                                                      {"LowCpuUsageFineTuning", 50},
                                                                      {"SoftTxLimit", 13}})
        driver.bus[name] = value;
    sound_ = machine().Clone();
}

Values VisitTest::Held() {
    Values held = Named(Driver().settings.values, qxsim::PortSettingNames(), "");
    held.merge(Named(Driver().bus.values, qxsim::BusNumberNames(), "bus "));
    return held;
}

void VisitTest::Look() {
    const HWND page = PageInFront();
    if (page && std::ranges::find(seen_, page) == seen_.end())
        seen_.push_back(page);
}

void VisitTest::GoToTab(int index) {
    Look();
    OpenTab(index);
    Look();
}

// OK, and then the driver must hold what the pages of the sheet show if that was all that happened.
void VisitTest::Confirm() {
    const HWND sheet = Desktop::The().TopWindow();
    if (!PageInFront())
        return;
    Look();
    Values shown;
    for (const HWND page : seen_)
        for (const Shown& each : kShown)
            if (const HWND control = GetParent(page) == sheet ? GetDlgItem(page, each.control) : nullptr)
                if (const auto value = ValueOf(control, each))
                    shown[each.name] = *value;
    confirmed_ = {sheet, shown, Desktop::The().Boxes().size()};
    PressOk();
}

void VisitTest::Settle() {
    const std::optional<Confirmed> confirmed = std::exchange(confirmed_, std::nullopt);
    if (!confirmed || PropSheet_GetCurrentPageHwnd(confirmed->sheet) ||
        Desktop::The().Boxes().size() != confirmed->boxes)
        return;
    const Values held = Held();
    for (const auto& [name, value] : confirmed->shown)
        if (held.at(name) != value)
            wrong_.insert("OK closed the sheet without a word: " + name + " shows " + std::to_string(value) +
                          ", and is " + std::to_string(held.at(name)));
}

void VisitTest::CutNextAnswer() {
    auto& misbehaviour = Driver().misbehaviour;
    misbehaviour.clear();
    if (requests + 1 != cut.request)
        return;
    using enum qxsim::DriverRequest;
    for (const auto kind : {SettingsSize, Settings, DefaultsSize, Defaults})
        for (const DWORD selector : {0U, 1U})
            misbehaviour[{kind, selector}].truncate = cut.length;
}

std::string VisitTest::Run(const Visit& visit, const std::function<void(const Steps&)>& show,
                           bool values_count) {
    instruments().Reset();
    instruments().KeepTrace(false);
    Desktop::The().Reset();
    Use(sound_->Clone());
    if (visit.port_is_held)
        Dev(kPort).held_open_by = qxsim::ToWide("terminal.exe");
    Desktop::The().SetAnswers([asked = 0](const qxsim::ShownBox& box) mutable {
        if ((box.type & MB_TYPEMASK) != MB_YESNO)
            return IDOK;
        return asked++ == 0 ? IDNO : IDYES;
    });
    seen_.clear();
    confirmed_.reset();
    wrong_.clear();
    const Values before = Held();
    Values last = before;
    const auto expect_chosen = [&](const Values& values, const char* what) {
        for (const auto& [name, value] : values)
            if (value != before.at(name) && !Changes(visit, name, value))
                wrong_.insert(what + (": " + name) + " is " + std::to_string(value) + " instead of " +
                              std::to_string(before.at(name)));
    };
    std::string wrong;
    std::size_t sent = 0;
    instruments().OnCall([&](const qxsim::CallRecord& call) {
        if (call.function != "DeviceIoControl" || !Dev(kPort).control)
            return;
        ++requests;
        CutNextAnswer();
        // A set travels as a whole, whether the driver takes it or not.
        for (; sent < Driver().writes.size(); ++sent) {
            const std::optional<Values> values = Sent(Driver().writes[sent], Driver().bus.interface_type);
            if (values)
                expect_chosen(*values, "a write");
            else
                wrong = "the driver was sent half of a set; ";
        }
        const Values held = Held();
        expect_chosen(held, "the driver");
        for (const auto& [name, value] : held)
            if (last.at(name) != value && value == before.at(name) && !Changes(visit, name, value))
                wrong_.insert(name + " was turned back");
        last = held;
    });
    requests = 0;
    CutNextAnswer();
    Steps steps;
    for (const auto& step : visit.steps(*this))
        steps.push_back([this, step] {
            Settle();
            step();
        });
    steps.push_back([this] { Settle(); });
    show(steps);
    Settle();
    instruments().OnCall({});
    wrong += instruments().LedgerReport();
    if (!Desktop::The().OpenWindows().empty())
        wrong += "a window is still open; ";
    if (values_count)
        for (const std::string& each : wrong_)
            wrong += each + "; ";
    return wrong;
}

}  // namespace qxtest
