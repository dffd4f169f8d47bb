// Port utilities and the option lists of the choice boxes.
#pragma once

#include "base/text.h"

#include <vector>

namespace qx {

// One entry of a choice box: what it shows and the value it stands for.
struct Option {
    Text text;
    DWORD value = 0;
};
using OptionList = std::vector<Option>;

// Utilities around a port; holds no state, pages make one for the duration of an operation.
class CUtils {
  public:
    CUtils() = default;
    virtual ~CUtils() = default;
    CUtils(const CUtils&) = default;
    CUtils& operator=(const CUtils&) = default;

    // Whether the port (COM3) can be opened exclusively at this moment. False means that it is absent, held
    // open or not accessible; callers take it for in use and ask before they go on.
    [[nodiscard]] static bool CanOpenPort(TextView port_name) noexcept;
    // Writes the port's default line settings to the operating system's "Ports" key, COM3: = 115200,8,n,1,x.
    // Baud rate in bits per second; the codes are those of the port's parameter set (data bits 0 to 3 for 5
    // to 8; parity 0 to 4; stop bits 0 to 2; flow control 0, 1, 2 or 4). Writes nothing and answers false for
    // a code outside its table.
    [[nodiscard]] static bool WritePortsEntry(Text port_name, int baud_rate, DWORD data_bits, DWORD parity,
                                              DWORD stop_bits, DWORD flow_control) noexcept;

    // The option lists, filtered by the driver's capability masks, and the choice boxes that show them. They
    // belong to the pages and are defined in pages/option_lists.cpp.
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
