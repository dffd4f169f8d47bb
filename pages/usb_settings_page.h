// SPDX-License-Identifier: MIT
// The "USB Settings" page of the advanced sheet.
#pragma once

#include "driver_access/bus_parameters.h"
#include "driver_access/parent_device.h"
#include "pages/settings_page.h"

#include <optional>

namespace qx {

// Lets the user choose how the bus driver trades the latency of received data against CPU load: by a maximum
// latency or by CPU usage, each with its sliders. Written when the sheet is closed with OK; "Restore
// Defaults" writes at once.
class CNewUSBSettingsPage : public CSettingsPage {
  public:
    CNewUSBSettingsPage(HDEVINFO device_set, const SP_DEVINFO_DATA& element);
    ~CNewUSBSettingsPage() override = default;

    bool ProcessWindowMessage(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) override;

  private:
    void Initialise() override;
    [[nodiscard]] LRESULT Apply() override;
    bool Clicked(int control) override;
    // Shows these values in the controls.
    void Refresh(const CBusParameters& values);
    // Reads a set that could not be read when the page was built, and shows it. True when it could be read
    // and the page looks as before.
    [[nodiscard]] bool ReadLate();
    void EnableChosenPolicy() const noexcept;
    void ChoosePolicy(bool latency) const noexcept;
    void ShowLatency() const;
    void RestoreDefaults();

    void SetSlider(int slider, DWORD position) const noexcept;
    [[nodiscard]] int SliderPosition(int slider) const noexcept;
    // `base` with what the controls say in place of its own.
    [[nodiscard]] CBusParameters WithControls(CBusParameters base) const noexcept;

    SettingsCopy<CQxUBusUserModeInterface> bus_set_{*this};
    // What the controls said when they had been filled.
    CBusParameters shown_;
    // The driver's defaults, while they are asked for and the driver has not taken them.
    std::optional<CBusParameters> defaults_;
    CQxSetupDi_ParentDevice parent_;
};

}  // namespace qx
