// SPDX-License-Identifier: MIT
// The "RS-422/485 Settings" page of the advanced sheet.
#pragma once

#include "pages/settings_page.h"

#include <optional>

namespace qx {

// Lets the user pick the duplex mode of an RS-422/485 port, among those that the port supports. Applying
// writes the mode into what the driver holds at that moment, so that nothing else is turned back.
class CRS422485Page : public CSettingsPage {
  public:
    CRS422485Page(HDEVINFO device_set, const SP_DEVINFO_DATA& element);
    ~CRS422485Page() override = default;

    // Whether the port is one that this page is for; false when its driver does not answer.
    [[nodiscard]] bool IsOffered() const noexcept { return IsRs422485Port(); }
    // The mode that the driver has as far as this page knows: as read when the page was built, or written
    // when it applied. None when the driver did not answer.
    [[nodiscard]] std::optional<DWORD> DuplexMode() const noexcept {
        return port_set_.IsRead() ? std::optional(port_set_->DuplexMode) : std::nullopt;
    }
    // Whether this page has written it, which holds even if another page then refuses and the user gives up.
    [[nodiscard]] bool HasWritten() const noexcept { return has_written_; }

  private:
    void Initialise() override;
    [[nodiscard]] LRESULT Apply() override;
    bool Clicked(int control) override;
    void FillDuplexModes(DWORD selected) const;
    void RestoreDefaults();

    bool has_written_ = false;
};

}  // namespace qx
