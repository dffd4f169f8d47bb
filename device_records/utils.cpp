#include "device_records/utils.h"

#include "base/handles.h"
#include "device_records/registry_layout.h"

#include <array>
#include <exception>
#include <optional>

namespace qx {

namespace {

constexpr std::array<int, 4> kDataBits = {5, 6, 7, 8};
constexpr std::array<WCHAR, 5> kParityLetters = {TEXT('n'), TEXT('o'), TEXT('e'), TEXT('m'), TEXT('s')};
constexpr std::array<const WCHAR*, 3> kStopBits = {TEXT("1"), TEXT("1.5"), TEXT("2")};
// Flow control codes are bits, so the table has a gap; 0 stands for a code without a meaning.
constexpr WCHAR kNoFlowControl = TEXT('-');
constexpr std::array<WCHAR, 5> kFlowLetters = {kNoFlowControl, TEXT('p'), TEXT('p'), 0, TEXT('x')};

// The entry of a port with these codes, or nothing for a code outside its table.
std::optional<Text> PortsEntryText(int baud_rate, DWORD data_bits, DWORD parity, DWORD stop_bits,
                                   DWORD flow_control) {
    if (data_bits >= kDataBits.size() || parity >= kParityLetters.size() || stop_bits >= kStopBits.size() ||
        flow_control >= kFlowLetters.size() || kFlowLetters[flow_control] == 0)
        return std::nullopt;
    if (kFlowLetters[flow_control] == kNoFlowControl)
        return Format(TEXT("%d,%d,%c,%s"), baud_rate, kDataBits[data_bits], kParityLetters[parity],
                      kStopBits[stop_bits]);
    return Format(TEXT("%d,%d,%c,%s,%c"), baud_rate, kDataBits[data_bits], kParityLetters[parity],
                  kStopBits[stop_bits], kFlowLetters[flow_control]);
}

}  // namespace

bool CUtils::CanOpenPort(TextView port_name) noexcept {
    try {
        const Text path = Text(TEXT("\\\\.\\")) + Text(port_name);
        const File port(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_OVERLAPPED, nullptr));
        return static_cast<bool>(port);
    } catch (const std::exception&) {
        return false;
    }
}

bool CUtils::WritePortsEntry(Text port_name, int baud_rate, DWORD data_bits, DWORD parity, DWORD stop_bits,
                             DWORD flow_control) noexcept {
    try {
        const auto text = PortsEntryText(baud_rate, data_bits, parity, stop_bits, flow_control);
        if (!text)
            return false;
        const Text value_name = port_name + Text(TEXT(":"));
        RegistryKey key;
        if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, kPortsKey, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr,
                            key.Put(), nullptr) != ERROR_SUCCESS)
            return false;
        return RegSetValueExW(key.Get(), value_name.c_str(), 0, REG_SZ,
                              reinterpret_cast<const BYTE*>(text->c_str()),
                              text->SizeInBytes()) == ERROR_SUCCESS;
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace qx
