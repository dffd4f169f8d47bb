// The "USB Settings" page of the advanced sheet.
#pragma once

#include "driver_access/bus_parameters.h"
#include "driver_access/parent_device.h"
#include "pages/settings_page.h"

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
    // Shows the bus set in the controls.
    void Refresh();
    void EnableChosenPolicy() const noexcept;
    void ShowLatency() const;
    void RestoreDefaults();

    void SetSlider(int slider, DWORD position) const noexcept;
    [[nodiscard]] int SliderPosition(int slider) const noexcept;

    CQxUBusUserModeInterface bus_set_;
    CQxSetupDi_ParentDevice parent_;
};

}  // namespace qx
