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

// Utilities around a port; holds no state, pages make one for the duration of an operation.
class CUtils {
  public:
    CUtils() = default;
    virtual ~CUtils() = default;
    CUtils(const CUtils&) = default;
    CUtils& operator=(const CUtils&) = default;

    // Whether the port (COM3) can be opened exclusively at this moment. False means that it is absent, held
    // open or not accessible; callers take it for in use and ask before they go on.
    [[nodiscard]] bool CanOpenPort(Text port_name) const noexcept;
    // Writes the port's default line settings to the operating system's "Ports" key, COM3: = 115200,8,n,1,x.
    // Baud rate in bits per second; the codes are those of the port's parameter set (data bits 0 to 3 for 5
    // to 8; parity 0 to 4; stop bits 0 to 2; flow control 0, 1, 2 or 4). Writes nothing and answers false for
    // a code outside its table.
    [[nodiscard]] bool WritePortsEntry(Text port_name, int baud_rate, DWORD data_bits, DWORD parity,
                                       DWORD stop_bits, DWORD flow_control) const noexcept;

    // The option lists, filtered by the driver's capability masks, and the choice boxes that show them. They
    // belong to the pages and are defined in pages/option_lists.cpp.
    [[nodiscard]] std::vector<Option> BaudRateList(DWORD mask, DWORD max_rate) const;
    [[nodiscard]] std::vector<Option> DataBitsList(DWORD mask) const;
    [[nodiscard]] std::vector<Option> ParityList(UINT string_id, DWORD mask) const;
    [[nodiscard]] std::vector<Option> StopBitsList(UINT string_id, DWORD mask) const;
    [[nodiscard]] std::vector<Option> FlowControlList(UINT string_id, DWORD mask) const;
    [[nodiscard]] std::vector<Option> DuplexModeList(UINT string_id, DWORD mask) const;
    bool FillComboByValue(HWND box, const std::vector<Option>& list, DWORD current, bool by_bits) const;
    bool FillComboByText(HWND box, const std::vector<Text>& names, const Text& current) const;
    // The value of the selected entry; 0xFFFFFFFF when nothing is selected or there is no box.
    [[nodiscard]] DWORD GetSelectedValue(HWND box) const;
};

}  // namespace qx
