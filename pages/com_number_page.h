// SPDX-License-Identifier: MIT
// The COM number and information page, first of the advanced sheet.
#pragma once

#include "device_records/port_util.h"
#include "driver_access/bus_parameters.h"
#include "driver_access/parent_device.h"
#include "pages/settings_page.h"

#include <vector>

namespace qx {

// Lets the user give the port another COM name, from COM1 to COM255, and shows what the adapter reports about
// itself. The port is renamed when the sheet is closed with OK.
class CDeviceAdvSettingPage : public CSettingsPage {
  public:
    CDeviceAdvSettingPage(HDEVINFO device_set, const SP_DEVINFO_DATA& element);
    ~CDeviceAdvSettingPage() override = default;

  private:
    void Initialise() override;
    [[nodiscard]] LRESULT Apply() override;
    void ShowInformation() const;
    void FillComNames();
    [[nodiscard]] Text SelectedName() const;

    HDEVINFO device_set_;
    SP_DEVINFO_DATA element_;
    SettingsCopy<CQxUBusUserModeInterface> bus_set_{*this};
    CQxSetupDi_ParentDevice parent_;
    std::vector<ListedComName> names_;  // the entries of the choice box
};

}  // namespace qx
