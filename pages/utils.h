// SPDX-License-Identifier: MIT
// What the pages need around a port: the operating system's entry for it, and the lists of the choice boxes.
#pragma once

#include "device_records/port_access.h"

#include <vector>

namespace qx {

// One entry of a choice box: what it shows and the value it stands for.
struct Option {
    Text text;
    DWORD value = 0;
};
using OptionList = std::vector<Option>;

// Holds no state, pages make one for the duration of an operation.
class CUtils {
  public:
    CUtils() = default;
    virtual ~CUtils() = default;
    CUtils(const CUtils&) = default;
    CUtils& operator=(const CUtils&) = default;

    [[nodiscard]] static bool CanOpenPort(TextView port_name) noexcept { return qx::CanOpenPort(port_name); }
    // Writes the port's default line settings to the operating system's "Ports" key, COM3: = 115200,8,n,1,x.
    // Baud rate in bits per second; the codes are those of driver_access/line_settings.h. Writes nothing and
    // returns false for a code that has no letter.
    [[nodiscard]] static bool WritePortsEntry(TextView port_name, int baud_rate, DWORD data_bits,
                                              DWORD parity, DWORD stop_bits, DWORD flow_control) noexcept;

    // The option lists, filtered by the driver's capability masks, and the choice boxes that show them.
    [[nodiscard]] static OptionList BaudRateList(DWORD mask, DWORD max_rate);
    [[nodiscard]] static OptionList DataBitsList(DWORD mask);
    [[nodiscard]] static OptionList ParityList(UINT string_id, DWORD mask);
    [[nodiscard]] static OptionList StopBitsList(UINT string_id, DWORD mask);
    [[nodiscard]] static OptionList FlowControlList(UINT string_id, DWORD mask);
    [[nodiscard]] static OptionList DuplexModeList(UINT string_id, DWORD mask);
    static bool FillComboByValue(HWND box, const OptionList& list, DWORD current, bool by_bits);
    static bool FillComboByText(HWND box, const std::vector<Text>& names, const Text& current);
    // The value of the selected entry; 0xFFFFFFFF when nothing is selected or there is no box.
    [[nodiscard]] static DWORD GetSelectedValue(HWND box) noexcept;
};

}  // namespace qx
