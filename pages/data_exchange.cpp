// SPDX-License-Identifier: MIT
#include "pages/data_exchange.h"

#include <cstdint>
#include <limits>
#include <vector>

namespace qx {

Text TextOfWindow(HWND window) {
    const int length = GetWindowTextLengthW(window);
    std::vector<WCHAR> buffer(static_cast<std::size_t>(length > 0 ? length : 0) + 1);
    const int copied = GetWindowTextW(window, buffer.data(), static_cast<int>(buffer.size()));
    return Text(TextView(buffer.data(), static_cast<std::size_t>(copied > 0 ? copied : 0)));
}

bool CDataExchange::ReadNumber(HWND control, DWORD& value) {
    const Text text = TextOfWindow(control);
    TextView digits = text.view();
    while (!digits.empty() && digits.front() == ' ')
        digits.remove_prefix(1);
    while (!digits.empty() && digits.back() == ' ')
        digits.remove_suffix(1);
    if (digits.empty())
        return false;

    std::uint64_t number = 0;
    for (const WCHAR digit : digits) {
        if (digit < '0' || digit > '9')
            return false;
        number = number * 10 + static_cast<std::uint64_t>(digit - '0');
        if (number > std::numeric_limits<std::uint32_t>::max())
            return false;
    }
    value = static_cast<DWORD>(number);
    return true;
}

void CDataExchange::WriteNumber(HWND control, DWORD value) {
    SetWindowTextW(control, Format(TEXT("%u"), value).c_str());
}

bool CDataExchange::HasSelection(HWND box) noexcept {
    return box && SendMessageW(box, CB_GETCURSEL, 0, 0) != CB_ERR;
}

bool CDataExchange::IsChecked(HWND box) noexcept {
    return SendMessageW(box, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

void CDataExchange::SetChecked(HWND box, bool checked) noexcept {
    SendMessageW(box, BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED, 0);
}

}  // namespace qx
