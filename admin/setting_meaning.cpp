#include "admin/setting_meaning.h"

#include "admin/failure.h"

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
                               Choice{1, "rs422", "RS-422/485 port", 0}};
constexpr std::array kDuplex{Choice{0, "unset", "not set", 0},
                             Choice{1, "full", "RS-422/485 full duplex", 0x1},
                             Choice{2, "half", "RS-485 half duplex, automatic gating", 0x2},
                             Choice{3, "transmit", "transmit only", 0x4},
                             Choice{4, "receive", "receive only", 0x8},
                             Choice{5, "disabled", "transmitter and receiver disabled", 0x10}};
constexpr std::array kDataBits{Choice{0, "5", "5 bits", 0x1}, Choice{1, "6", "6 bits", 0x2},
                               Choice{2, "7", "7 bits", 0x4}, Choice{3, "8", "8 bits", 0x8}};
constexpr std::array kParity{Choice{0, "none", "no parity", 0x100}, Choice{1, "odd", "odd parity", 0x200},
                             Choice{2, "even", "even parity", 0x400}, Choice{3, "mark", "mark parity", 0x800},
                             Choice{4, "space", "space parity", 0x1000}};
constexpr std::array kStopBits{Choice{0, "1", "1 stop bit", 0x1}, Choice{1, "1.5", "1.5 stop bits", 0x2},
                               Choice{2, "2", "2 stop bits", 0x4}};
constexpr std::array kFlow{Choice{0, "none", "no flow control", 0},
                           Choice{1, "hardware", "hardware (RTS/CTS)", 0x1},
                           Choice{4, "xonxoff", "Xon/Xoff", 0x4}};
constexpr std::array kPolicy{Choice{0, "latency", "latency has priority", 0},
                             Choice{1, "cpu", "CPU usage has priority", 0}};
constexpr std::array kBaudBits{
    Choice{0x1, "", "75", 0},         Choice{0x2, "", "110", 0},
    Choice{0x4, "", "134", 0},        Choice{0x8, "", "150", 0},
    Choice{0x10, "", "300", 0},       Choice{0x20, "", "600", 0},
    Choice{0x40, "", "1200", 0},      Choice{0x80, "", "1800", 0},
    Choice{0x100, "", "2400", 0},     Choice{0x200, "", "4800", 0},
    Choice{0x400, "", "7200", 0},     Choice{0x800, "", "9600", 0},
    Choice{0x1000, "", "14400", 0},   Choice{0x2000, "", "19200", 0},
    Choice{0x4000, "", "38400", 0},   Choice{0x40000, "", "56000", 0},
    Choice{0x8000, "", "57600", 0},   Choice{0x20000, "", "115200", 0},
    Choice{0x10000, "", "128000", 0}, Choice{0x10000000, "", "230400 460800 921600", 0}};
constexpr std::array kParityBits{Choice{0x100, "", "none", 0}, Choice{0x200, "", "odd", 0},
                                 Choice{0x400, "", "even", 0}, Choice{0x800, "", "mark", 0},
                                 Choice{0x1000, "", "space", 0}};
constexpr std::array kDataBitsBits{Choice{0x1, "", "5", 0}, Choice{0x2, "", "6", 0}, Choice{0x4, "", "7", 0},
                                   Choice{0x8, "", "8", 0}};
constexpr std::array kStopBitsBits{Choice{0x1, "", "1", 0}, Choice{0x2, "", "1.5", 0},
                                   Choice{0x4, "", "2", 0}};
constexpr std::array kFlowBits{Choice{0x1, "", "hardware, CTS emulation", 0},
                               Choice{0x2, "", "DSR emulation", 0}, Choice{0x4, "", "Xon/Xoff", 0}};
constexpr std::array kDuplexBits{Choice{0x1, "", "full", 0}, Choice{0x2, "", "half", 0},
                                 Choice{0x4, "", "transmit", 0}, Choice{0x8, "", "receive", 0},
                                 Choice{0x10, "", "disabled", 0}};

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
