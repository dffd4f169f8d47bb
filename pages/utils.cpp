// SPDX-License-Identifier: MIT
#include "pages/utils.h"

#include "base/attempt.h"
#include "base/module_instance.h"
#include "driver_access/line_settings.h"

#include <array>
#include <span>

namespace qx {

namespace {

constexpr DWORD NumberOfDataBits(DWORD code) noexcept {
    return 5 + code;
}

// An entry whose text is the part of a comma-separated string at the same position.
struct TextEntry {
    DWORD bit;
    DWORD value;
};

constexpr DWORD kAlways = 0;  // in place of a bit: offered whatever the mask says

template <typename... Codes>
constexpr std::array<TextEntry, sizeof...(Codes)> EntriesOf(Codes... codes) {
    return {{{BitOf(codes), codes}...}};
}

constexpr auto kParities = EntriesOf(kEvenParity, kOddParity, kNoParity, kMarkParity, kSpaceParity);
constexpr auto kStopBits = EntriesOf(kOneStopBit, kOneAndAHalfStopBits, kTwoStopBits);
constexpr auto kDuplexModes =
    EntriesOf(kFullDuplex, kHalfDuplex, kTransmitOnly, kReceiveOnly, kDriversDisabled);
constexpr TextEntry kFlowControls[] = {{kOffersXonXoff, kXonXoffFlowControl},
                                       {kOffersHardware, kHardwareFlowControl},
                                       {kAlways, kNoFlowControl}};

// The parts of an entry of the "Ports" key, by code.
constexpr std::array<WCHAR, 5> kParityLetters = {TEXT('n'), TEXT('o'), TEXT('e'), TEXT('m'), TEXT('s')};
constexpr std::array<const WCHAR*, 3> kStopBitTexts = {TEXT("1"), TEXT("1.5"), TEXT("2")};

// The end of an entry; null for a code without a meaning.
const WCHAR* FlowControlEnd(DWORD flow_control) noexcept {
    switch (flow_control) {
        case kNoFlowControl:
            return TEXT("");
        case kHardwareFlowControl:
        case kDsrFlowControl:
            return TEXT(",p");
        case kXonXoffFlowControl:
            return TEXT(",x");
        default:
            return nullptr;
    }
}

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

bool CUtils::WritePortsEntry(TextView port_name, int baud_rate, DWORD data_bits, DWORD parity,
                             DWORD stop_bits, DWORD flow_control) noexcept {
    const WCHAR* const end = FlowControlEnd(flow_control);
    if (data_bits > kEightDataBits || parity > kSpaceParity || stop_bits > kTwoStopBits || !end)
        return false;
    return Attempt([&] {
        const Text entry = Format(TEXT("%d,%d,%c,%s%s"), baud_rate, NumberOfDataBits(data_bits),
                                  kParityLetters[parity], kStopBitTexts[stop_bits], end);
        return qx::WritePortsEntry(port_name, entry.c_str());
    });
}

OptionList CUtils::BaudRateList(DWORD mask, DWORD max_rate) {
    std::vector<Option> options;
    for (const auto& entry : kBaudRates)
        if ((mask & entry.bit) && entry.rate <= max_rate)
            options.push_back({Format(TEXT("%d"), entry.rate), entry.rate});
    return options;
}

OptionList CUtils::DataBitsList(DWORD mask) {
    std::vector<Option> options;
    for (const DataBits code : {kFiveDataBits, kSixDataBits, kSevenDataBits, kEightDataBits})
        if (mask & BitOf(code))
            options.push_back({Format(TEXT("%d"), NumberOfDataBits(code)), code});
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
        if (entry < 0)
            break;  // the names' places in the box stay their places in the list
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
