// The option lists of the choice boxes, and the boxes that show them.
#include "base/module_instance.h"
#include "device_records/utils.h"

#include <span>

namespace qx {

namespace {

// An entry whose value is its own text.
struct NumberEntry {
    DWORD number;
    DWORD bit;  // of the capability mask
    DWORD value;
};

constexpr NumberEntry kBaudRates[] = {
    {75, 0x1, 75},
    {110, 0x2, 110},
    {134, 0x4, 134},
    {150, 0x8, 150},
    {300, 0x10, 300},
    {600, 0x20, 600},
    {1200, 0x40, 1200},
    {1800, 0x80, 1800},
    {2400, 0x100, 2400},
    {4800, 0x200, 4800},
    {7200, 0x400, 7200},
    {9600, 0x800, 9600},
    {14400, 0x1000, 14400},
    {19200, 0x2000, 19200},
    {38400, 0x4000, 38400},
    // The drivers report this rate under a bit that the platform has for another one.
    {57600, 0x8000, 57600},
    {115200, 0x20000, 115200},
    {128000, 0x10000, 128000},
    // Rates beyond the platform's list share its bit for freely set ones.
    {230400, 0x10000000, 230400},
    {460800, 0x10000000, 460800},
    {921600, 0x10000000, 921600},
};

constexpr NumberEntry kDataBits[] = {{5, 0x1, 0}, {6, 0x2, 1}, {7, 0x4, 2}, {8, 0x8, 3}};

// An entry whose text is the part of a comma-separated string at the same position.
struct TextEntry {
    DWORD bit;
    DWORD value;
};

constexpr DWORD kAlways = 0;  // in place of a bit: offered whatever the mask says

constexpr TextEntry kParities[] = {{0x400, 2}, {0x200, 1}, {0x100, 0}, {0x800, 3}, {0x1000, 4}};
constexpr TextEntry kStopBits[] = {{0x1, 0}, {0x2, 1}, {0x4, 2}};
constexpr TextEntry kFlowControls[] = {{0x4, 4}, {0x1, 1}, {kAlways, 0}};
constexpr TextEntry kDuplexModes[] = {{0x1, 1}, {0x2, 2}, {0x4, 3}, {0x8, 4}, {0x10, 5}};

std::vector<Option> TextOptions(std::span<const TextEntry> entries, UINT string_id, DWORD mask) {
    const std::vector<Text> texts = SplitAtCommas(LoadText(string_id));
    std::vector<Option> options;
    for (std::size_t i = 0; i < entries.size() && i < texts.size(); ++i)
        if (entries[i].bit == kAlways || (mask & entries[i].bit))
            options.push_back({texts[i], entries[i].value});
    return options;
}

LRESULT AppendEntry(HWND box, const Text& text) noexcept {
    return SendMessageW(box, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

LRESULT AppendOption(HWND box, const Text& text, DWORD value) noexcept {
    const LRESULT entry = AppendEntry(box, text);
    if (entry >= 0)
        SendMessageW(box, CB_SETITEMDATA, static_cast<WPARAM>(entry), static_cast<LPARAM>(value));
    return entry;
}

void Select(HWND box, LRESULT entry) noexcept {
    SendMessageW(box, CB_SETCURSEL, static_cast<WPARAM>(entry), 0);
}

}  // namespace

OptionList CUtils::BaudRateList(DWORD mask, DWORD max_rate) {
    std::vector<Option> options;
    for (const auto& entry : kBaudRates)
        if ((mask & entry.bit) && entry.number <= max_rate)
            options.push_back({Format(TEXT("%d"), entry.number), entry.value});
    return options;
}

OptionList CUtils::DataBitsList(DWORD mask) {
    std::vector<Option> options;
    for (const auto& entry : kDataBits)
        if (mask & entry.bit)
            options.push_back({Format(TEXT("%d"), entry.number), entry.value});
    return options;
}

OptionList CUtils::ParityList(UINT string_id, DWORD mask) {
    return TextOptions(kParities, string_id, mask);
}

OptionList CUtils::StopBitsList(UINT string_id, DWORD mask) {
    return TextOptions(kStopBits, string_id, mask);
}

OptionList CUtils::FlowControlList(UINT string_id, DWORD mask) {
    return TextOptions(kFlowControls, string_id, mask);
}

OptionList CUtils::DuplexModeList(UINT string_id, DWORD mask) {
    return TextOptions(kDuplexModes, string_id, mask);
}

bool CUtils::FillComboByValue(HWND box, const OptionList& list, DWORD current, bool by_bits) {
    // Made before the box is emptied: without memory for it the box keeps what it shows, and the page does
    // not write a value that nobody chose.
    const Text unknown = Format(TEXT("%d"), current);
    SendMessageW(box, CB_RESETCONTENT, 0, 0);
    LRESULT selected = CB_ERR;
    for (const auto& option : list) {
        const LRESULT entry = AppendOption(box, option.text, option.value);
        // The last match wins, so that no bits at all select the last entry.
        if (by_bits ? (option.value & current) == current : option.value == current)
            selected = entry;
    }
    // A value that the driver holds but does not offer is shown as it is.
    if (selected < 0)
        selected = AppendOption(box, unknown, current);
    Select(box, selected);
    return true;
}

bool CUtils::FillComboByText(HWND box, const std::vector<Text>& names, const Text& current) {
    SendMessageW(box, CB_RESETCONTENT, 0, 0);
    LRESULT selected = CB_ERR;
    for (const auto& name : names) {
        const LRESULT entry = AppendEntry(box, name);
        if (name == current)
            selected = entry;
    }
    Select(box, selected);
    return true;
}

DWORD CUtils::GetSelectedValue(HWND box) noexcept {
    if (!box)
        return static_cast<DWORD>(CB_ERR);
    const LRESULT selected = SendMessageW(box, CB_GETCURSEL, 0, 0);
    return static_cast<DWORD>(SendMessageW(box, CB_GETITEMDATA, static_cast<WPARAM>(selected), 0));
}

}  // namespace qx
