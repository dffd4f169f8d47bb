// SPDX-License-Identifier: MIT
#include "admin/setting_meaning.h"

#include "admin/failure.h"
#include "driver_access/line_settings.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <optional>
#include <span>
#include <vector>

namespace qxports {

namespace {

struct Choice {
    std::uint32_t value;
    const char* word;     // what a user writes
    const char* meaning;  // what a user reads
    std::uint32_t bit;    // in the set's mask of what is supported; 0 when none limits it
};

struct Rule {
    const char* name;
    std::span<const Choice> choices;  // none for a plain number
    const char* unit = "";            // of a plain number
    const char* mask = nullptr;       // name of the setting that limits the choices
    bool bits = false;                // a mask: each choice names a bit
    const char* otherwise = nullptr;  // meaning of every other value
};

constexpr std::array kFlag{Choice{0, "off", "off", 0}, Choice{1, "on", "on", 0}};
constexpr std::array kLine{Choice{0, "no", "no such line", 0}, Choice{1, "yes", "present", 0}};
constexpr std::array kPortKind{Choice{0, "ordinary", "ordinary port", 0},
                               Choice{qx::kRs422485Port, "rs422", "RS-422/485 port", 0}};

// A code that the set's mask limits.
template <typename Code>
constexpr Choice Limited(Code code, const char* word, const char* meaning) {
    return {code, word, meaning, qx::BitOf(code)};
}
constexpr std::array kDuplex{Choice{qx::kDuplexNotSet, "unset", "not set", 0},
                             Limited(qx::kFullDuplex, "full", "RS-422/485 full duplex"),
                             Limited(qx::kHalfDuplex, "half", "RS-485 half duplex, automatic gating"),
                             Limited(qx::kTransmitOnly, "transmit", "transmit only"),
                             Limited(qx::kReceiveOnly, "receive", "receive only"),
                             Limited(qx::kDriversDisabled, "disabled", "transmitter and receiver disabled")};
constexpr std::array kDataBits{
    Limited(qx::kFiveDataBits, "5", "5 bits"), Limited(qx::kSixDataBits, "6", "6 bits"),
    Limited(qx::kSevenDataBits, "7", "7 bits"), Limited(qx::kEightDataBits, "8", "8 bits")};
constexpr std::array kParity{
    Limited(qx::kNoParity, "none", "no parity"), Limited(qx::kOddParity, "odd", "odd parity"),
    Limited(qx::kEvenParity, "even", "even parity"), Limited(qx::kMarkParity, "mark", "mark parity"),
    Limited(qx::kSpaceParity, "space", "space parity")};
constexpr std::array kStopBits{Limited(qx::kOneStopBit, "1", "1 stop bit"),
                               Limited(qx::kOneAndAHalfStopBits, "1.5", "1.5 stop bits"),
                               Limited(qx::kTwoStopBits, "2", "2 stop bits")};
constexpr std::array kFlow{
    Choice{qx::kNoFlowControl, "none", "no flow control", 0},
    Choice{qx::kHardwareFlowControl, "hardware", "hardware (RTS/CTS)", qx::kOffersHardware},
    Choice{qx::kXonXoffFlowControl, "xonxoff", "Xon/Xoff", qx::kOffersXonXoff}};
constexpr std::array kPolicy{Choice{qx::kLatencyPolicy, "latency", "latency has priority", 0},
                             Choice{qx::kCpuUsagePolicy, "cpu", "CPU usage has priority", 0}};

// A bit of a mask, and what it offers.
constexpr Choice Offer(std::uint32_t bit, const char* meaning) {
    return {bit, "", meaning, 0};
}
constexpr std::uint32_t BitOfRate(std::uint32_t rate) {
    for (const qx::BaudRate& each : qx::kBaudRates)
        if (each.rate == rate)
            return each.bit;
    return 0;
}
// The pages list no 56000, but a driver can have its bit.
constexpr std::array kBaudBits{
    Offer(BitOfRate(75), "75"),         Offer(BitOfRate(110), "110"),
    Offer(BitOfRate(134), "134"),       Offer(BitOfRate(150), "150"),
    Offer(BitOfRate(300), "300"),       Offer(BitOfRate(600), "600"),
    Offer(BitOfRate(1200), "1200"),     Offer(BitOfRate(1800), "1800"),
    Offer(BitOfRate(2400), "2400"),     Offer(BitOfRate(4800), "4800"),
    Offer(BitOfRate(7200), "7200"),     Offer(BitOfRate(9600), "9600"),
    Offer(BitOfRate(14400), "14400"),   Offer(BitOfRate(19200), "19200"),
    Offer(BitOfRate(38400), "38400"),   Offer(0x40000, "56000"),
    Offer(BitOfRate(57600), "57600"),   Offer(BitOfRate(115200), "115200"),
    Offer(BitOfRate(128000), "128000"), Offer(BitOfRate(230400), "230400 460800 921600")};
constexpr std::array kParityBits{Offer(BitOf(qx::kNoParity), "none"), Offer(BitOf(qx::kOddParity), "odd"),
                                 Offer(BitOf(qx::kEvenParity), "even"), Offer(BitOf(qx::kMarkParity), "mark"),
                                 Offer(BitOf(qx::kSpaceParity), "space")};
constexpr std::array kDataBitsBits{Offer(BitOf(qx::kFiveDataBits), "5"), Offer(BitOf(qx::kSixDataBits), "6"),
                                   Offer(BitOf(qx::kSevenDataBits), "7"),
                                   Offer(BitOf(qx::kEightDataBits), "8")};
constexpr std::array kStopBitsBits{Offer(BitOf(qx::kOneStopBit), "1"),
                                   Offer(BitOf(qx::kOneAndAHalfStopBits), "1.5"),
                                   Offer(BitOf(qx::kTwoStopBits), "2")};
constexpr std::array kFlowBits{Offer(qx::kOffersHardware, "hardware, CTS emulation"),
                               Offer(qx::kOffersDsr, "DSR emulation"), Offer(qx::kOffersXonXoff, "Xon/Xoff")};
constexpr std::array kDuplexBits{Offer(BitOf(qx::kFullDuplex), "full"), Offer(BitOf(qx::kHalfDuplex), "half"),
                                 Offer(BitOf(qx::kTransmitOnly), "transmit"),
                                 Offer(BitOf(qx::kReceiveOnly), "receive"),
                                 Offer(BitOf(qx::kDriversDisabled), "disabled")};

constexpr const char* kBaud = "bits per second";

// Settings whose number nobody but the driver understands are not listed.
constexpr std::array kPortRules{
    Rule{"PortType", kPortKind, "", nullptr, false, "ordinary port"},
    Rule{"MaxBaudRate", {}, kBaud},
    Rule{"MinBaudRate", {}, kBaud},
    Rule{"DuplexMode", kDuplex, "", "SupportedDuplexModes"},
    Rule{"Baudrate", {}, kBaud},
    Rule{"Databits", kDataBits, "", "SupportedDataBits"},
    Rule{"Parity", kParity, "", "SupportedParities"},
    Rule{"Stopbits", kStopBits, "", "SupportedStopBits"},
    Rule{"FlowControl", kFlow, "", "SupportedFlowControls"},
    Rule{"SupportedBaudRates", kBaudBits, "", nullptr, true},
    Rule{"SupportedParities", kParityBits, "", nullptr, true},
    Rule{"SupportedDataBits", kDataBitsBits, "", nullptr, true},
    Rule{"SupportedStopBits", kStopBitsBits, "", nullptr, true},
    Rule{"SupportedFlowControls", kFlowBits, "", nullptr, true},
    Rule{"SupportedDuplexModes", kDuplexBits, "", nullptr, true},
    Rule{"OverridBaudRates", kFlag, "", nullptr, false, "on"},
    Rule{"OverrideDataBits", kFlag, "", nullptr, false, "on"},
    Rule{"OverrideParity", kFlag, "", nullptr, false, "on"},
    Rule{"OverrideStopbits", kFlag, "", nullptr, false, "on"},
    Rule{"OverrideFlowControl", kFlag, "", nullptr, false, "on"},
    Rule{"EmulateCTSTrue", kFlag, "", nullptr, false, "on"},
    Rule{"EmulateDSRTrue", kFlag, "", nullptr, false, "on"},
    Rule{"422485CtsTrue", kFlag, "", nullptr, false, "on"},
    Rule{"CtsSupported", kLine},
    Rule{"RtsSupported", kLine},
    Rule{"DtrSupported", kLine},
    Rule{"DsrSupported", kLine},
    Rule{"DcdSupported", kLine},
    Rule{"RiSupported", kLine},
};

constexpr std::array kBusRules{
    Rule{"USB_TxTransferSize", {}, "bytes"},
    Rule{"USB_RxTransferSize", {}, "bytes"},
    Rule{"USB_LatencyTimer", {}, "ms"},
    Rule{"RxFifoSize", {}, "bytes"},
    Rule{"TxFifoSize", {}, "bytes"},
    Rule{"MaximumBaudRate", {}, kBaud},
    Rule{"PolicyType", kPolicy},
    Rule{"MaximumLatency", {}, "ms"},
};

const Rule* RuleFor(std::string_view setting, bool bus) {
    const std::span<const Rule> rules =
        bus ? std::span<const Rule>(kBusRules) : std::span<const Rule>(kPortRules);
    const auto found =
        std::find_if(rules.begin(), rules.end(), [&](const Rule& rule) { return setting == rule.name; });
    return found == rules.end() ? nullptr : &*found;
}

// Letters and digits alone decide: Xon/Xoff and xonxoff are one word.
std::string Plain(std::string_view word) {
    std::string plain;
    for (const char c : word)
        if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.')
            plain.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
    return plain;
}

std::optional<std::uint32_t> Number(std::string_view word) {
    int base = 10;
    if (word.size() > 2 && word[0] == '0' && (word[1] == 'x' || word[1] == 'X')) {
        base = 16;
        word.remove_prefix(2);
    }
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number, base);
    if (error != std::errc() || end != word.data() + word.size() || word.empty())
        return std::nullopt;
    return number;
}

[[noreturn]] void Refuse(std::string_view setting, const std::string& word, const std::string& allowed) {
    throw Failure(kBadUse, std::string(setting) + " cannot be \"" + word + "\"; allowed: " + allowed);
}

std::uint32_t LimitedNumber(std::string_view setting, const std::string& word, bool bus,
                            const OtherValue& other) {
    const std::optional<std::uint32_t> number = Number(word);
    if (!bus && setting == "Baudrate") {
        const std::uint32_t least = other("MinBaudRate");
        const std::uint32_t most = other("MaxBaudRate");
        if (!number || *number < least || *number > most)
            Refuse(setting, word, std::to_string(least) + " to " + std::to_string(most) + " bits per second");
    }
    if (!number)
        Refuse(setting, word, "a number from 0 to 4294967295, also as 0x...");
    return *number;
}

}  // namespace

std::string MeaningOf(std::string_view setting, std::uint32_t value, bool bus) {
    const Rule* const rule = RuleFor(setting, bus);
    if (rule == nullptr)
        return {};
    if (rule->bits) {
        std::string meaning;
        std::uint32_t rest = value;
        for (const Choice& choice : rule->choices)
            if ((value & choice.value) != 0) {
                meaning += (meaning.empty()                                           ? ""
                            : rule->name == std::string_view("SupportedFlowControls") ? "; "
                                                                                      : " ") +
                           std::string(choice.meaning);
                rest &= ~choice.value;
            }
        return meaning.empty() ? (value == 0 ? "nothing" : "nothing known")
               : rest == 0     ? meaning
                               : meaning + " (and more)";
    }
    if (rule->choices.empty())
        return std::to_string(value) + " " + rule->unit;
    for (const Choice& choice : rule->choices)
        if (choice.value == value)
            return choice.meaning;
    return rule->otherwise != nullptr ? rule->otherwise : "unknown";
}

std::uint32_t ValueFor(std::string_view setting, const std::string& word, bool bus, const OtherValue& other) {
    constexpr std::string_view kRaw = "raw:";
    if (word.starts_with(kRaw)) {
        const std::optional<std::uint32_t> number = Number(std::string_view(word).substr(kRaw.size()));
        if (!number)
            Refuse(setting, word, "raw: and a number from 0 to 4294967295");
        return *number;
    }
    const Rule* const rule = RuleFor(setting, bus);
    if (rule == nullptr || rule->choices.empty() || rule->bits)
        return LimitedNumber(setting, word, bus, other);
    const std::uint32_t supported = rule->mask == nullptr ? 0xFFFFFFFF : other(rule->mask);
    std::string allowed;
    for (const Choice& choice : rule->choices) {
        if (choice.bit != 0 && (supported & choice.bit) == 0)
            continue;
        // Words first; where the words are numbers of bits, the drivers' own numbers would be taken for
        // those.
        if (Plain(word) == Plain(choice.word) || Plain(word) == Plain(choice.meaning))
            return choice.value;
        const bool counted = std::isdigit(static_cast<unsigned char>(choice.word[0])) != 0;
        if (!counted && Number(word) == choice.value)
            return choice.value;
        allowed += (allowed.empty() ? "" : ", ") + std::string(choice.word);
    }
    if (rule->choices.data() == kFlag.data() || rule->choices.data() == kLine.data()) {
        for (const char* yes : {"on", "yes", "true", "1"})
            if (Plain(word) == yes)
                return 1;
        for (const char* no : {"off", "no", "false", "0"})
            if (Plain(word) == no)
                return 0;
    }
    Refuse(setting, word,
           allowed + (rule->mask != nullptr ? " (by this port's " + std::string(rule->mask) + ")" : ""));
}

void RequireAllowed(std::string_view setting, std::uint32_t number, bool bus, const OtherValue& other) {
    const Rule* const rule = RuleFor(setting, bus);
    if (rule == nullptr || rule->choices.empty() || rule->bits || rule->otherwise != nullptr) {
        static_cast<void>(LimitedNumber(setting, std::to_string(number), bus, other));
        return;
    }
    const std::uint32_t supported = rule->mask == nullptr ? 0xFFFFFFFF : other(rule->mask);
    std::string allowed;
    for (const Choice& choice : rule->choices) {
        if (choice.bit != 0 && (supported & choice.bit) == 0)
            continue;
        if (choice.value == number)
            return;
        allowed += (allowed.empty() ? "" : ", ") + std::to_string(choice.value);
    }
    Refuse(setting, std::to_string(number), allowed);
}

}  // namespace qxports
