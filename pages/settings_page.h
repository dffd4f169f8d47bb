// SPDX-License-Identifier: MIT
// The base of the pages that show a port's settings.
#pragma once

#include "device_records/device_reg_info.h"
#include "driver_access/settings_copy.h"
#include "driver_access/user_mode_config.h"
#include "driver_access/vcp_parameters.h"
#include "pages/clickable_static.h"
#include "pages/data_exchange.h"
#include "pages/help_links.h"
#include "pages/property_page.h"
#include "pages/tooltip_dialog.h"

#include <span>

namespace qx {

// What makes one settings page differ from another, as constant data.
struct SettingsPageData {
    UINT page_template;
    UINT title;                             // string id
    std::span<const ControlText> captions;  // replace the template's
    std::span<const ControlText> tips;      // in the order in which the controls are registered
    const PageHelp& help;
};

// A page with its own control channel to the port's driver, its own copy of the port's parameter set, tips
// and help. The caller lends the device-information set for the page's lifetime. A page whose controls could
// not all be filled refuses to apply: it would write what they lack.
class CSettingsPage : public CPropertyPage,
                      public CTooltipDialog,
                      public CDataExchange,
                      public CQxUserModeConfig {
  public:
    bool ProcessWindowMessage(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) override;
    ~CSettingsPage() override = default;

  protected:
    CSettingsPage(const SettingsPageData& data, HDEVINFO device_set, const SP_DEVINFO_DATA& element) noexcept;

    // What each page does in its own way: preparing its window, applying (the result is kAccepted or
    // kRefused), a click on one of its buttons and boxes (false for a control that is none of them), and
    // answering the request for the text of a control's tip.
    virtual void Initialise() = 0;
    [[nodiscard]] virtual LRESULT Apply() = 0;
    virtual bool Clicked(int control);
    virtual void AnswerTip(int control, NMTTDISPINFOW& request);

    // The steps by which a page prepares its window. Each page takes them in its own order.
    void SetCaptions() const { CPropertyPage::SetCaptions(data_.captions); }
    void PrepareTips() noexcept { CreateTooltip(Window()); }
    void RegisterTips() const noexcept { AddTools(data_.tips); }

    [[nodiscard]] bool IsRs422485Port() const noexcept { return port_set_->PortType == kRs422485Port; }
    // The port's COM name; empty when it cannot be read.
    [[nodiscard]] Text PortName() const;

    // A setting that is changed under a running program can break its connection. When another program holds
    // the port `name` open, asks the question with this string id; false when the user does not want to go
    // on.
    [[nodiscard]] bool MayChange(const Text& name, UINT question) const;

    // Whether a check box of the page is checked, and checking it.
    [[nodiscard]] bool Checked(int box) const noexcept { return IsChecked(Item(box)); }
    void Check(int box, bool checked) const noexcept { SetChecked(Item(box), checked); }

    // What cannot be read keeps its initial values, which the page then shows.
    SettingsCopy<CQxUVcpUserModeInterface> port_set_{*this};

  private:
    const SettingsPageData& data_;
    CQXDeviceRegInfo port_record_;
    CClickableStatic help_picture_;
    bool initialised_ = false;
};

}  // namespace qx
