// SPDX-License-Identifier: MIT
// The "Port Settings" page that the device manager shows among a port's properties.
#pragma once

#include "pages/settings_page.h"

#include <optional>

namespace qx {

// The port driver's default line settings: baud rate, data bits, parity, stop bits and flow control, a box
// beside each that makes the default override what applications ask for, and the emulation of the CTS and DSR
// lines. Everything is written when the sheet applies, and nothing when nothing changed.
class CQxUIPropertyPage : public CSettingsPage {
  public:
    // Looks for the port's control device and reads the port's settings.
    CQxUIPropertyPage(HDEVINFO device_set, const SP_DEVINFO_DATA& element);
    ~CQxUIPropertyPage() override = default;

    // Whether the driver answered. Without its settings there is no page to show.
    [[nodiscard]] bool IsLoaded() const noexcept { return loaded_; }

  private:
    // What the tip of the baud rate says: after a refused apply it tells why, once.
    enum class TipMode { kInformation, kRangeError, kWriteError };

    void Initialise() override;
    [[nodiscard]] LRESULT Apply() override;
    bool Clicked(int control) override;
    void AnswerTip(int control, NMTTDISPINFOW& request) override;
    void FillControls(const CVcpParameters& values);
    void FillFlowControl(DWORD flow_control) const;
    void ShowRs422485Cts(bool emulated) const noexcept;
    void ApplyLineSupport() const noexcept;
    void ShowOverrideWarning() const noexcept;
    void RestoreDefaults();
    void OpenAdvancedSettings();
    // The driver's settings, with the defaults in their place where the user asked for them.
    [[nodiscard]] CVcpParameters WithDefaults() const noexcept;
    // What the boxes yield, each 0xFFFFFFFF for an empty selection.
    struct LineSettings {
        DWORD data_bits;
        DWORD parity;
        DWORD stop_bits;
        DWORD flow_control;
    };
    [[nodiscard]] LineSettings SelectedLineSettings() const noexcept;
    [[nodiscard]] bool StoreChanges(CVcpParameters& wanted, const LineSettings& selected) const noexcept;
    void AnswerBaudRateTip(NMTTDISPINFOW& request);

    // The flow controls that the driver offers in the present duplex mode.
    [[nodiscard]] DWORD FlowControlMask() const noexcept;
    [[nodiscard]] bool IsHalfDuplex() const noexcept;

    HDEVINFO device_set_;
    SP_DEVINFO_DATA element_;
    bool loaded_;
    DWORD baud_rate_ = 0;
    DWORD minimum_baud_rate_ = 0;
    DWORD maximum_baud_rate_ = 0;
    TipMode tip_mode_ = TipMode::kInformation;
    // The driver's defaults, from when the user asks for them until they are written; they are written even
    // when they equal the present values.
    std::optional<CVcpParameters> defaults_;
};

}  // namespace qx
