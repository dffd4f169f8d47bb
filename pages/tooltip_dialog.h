// SPDX-License-Identifier: MIT
// Balloon tips for the controls of a page.
#pragma once

#include "base/text.h"
#include "pages/property_page.h"

#include <commctrl.h>

#include <span>

namespace qx {

// Owns a page's tooltip window. The texts are not stored in it: it asks the page when a tip is about to show,
// so that a text can depend on what happened last.
class CTooltipDialog {
  protected:
    CTooltipDialog() = default;
    // Not virtual: nobody deletes a page through this base.
    ~CTooltipDialog() { DestroyTooltip(); }
    CTooltipDialog(const CTooltipDialog&) = delete;
    CTooltipDialog& operator=(const CTooltipDialog&) = delete;

    // Makes the tooltip window for the page's window. Without one the page works, only without tips.
    void CreateTooltip(HWND page) noexcept;
    void DestroyTooltip() noexcept;

    // Registers a control; the tip shows for it and for nothing inside it.
    void AddTool(HWND control) const noexcept;
    // Registers every control of a table of tips.
    void AddTools(std::span<const ControlText> tips) const noexcept;

    // Sets the tip's title; `icon` is one of TTI_INFO, TTI_ERROR. It stays for all tips until it is set
    // again.
    void SetTipTitle(const WCHAR* title, WPARAM icon) const noexcept;

    // Whether a notification is the tooltip's question for a text.
    [[nodiscard]] bool IsTipRequest(const NMHDR& notification) const noexcept;
    // The id of the page's control that the question is about: the control itself or the one around it.
    [[nodiscard]] int ControlOf(const NMHDR& request) const noexcept;
    // Answers the question. The text is kept until the next answer.
    void AnswerTipRequest(NMTTDISPINFOW& request, Text text) noexcept;

  private:
    HWND page_ = nullptr;
    HWND tooltip_ = nullptr;
    Text shown_text_;
};

// The text that belongs to a control, or 0.
[[nodiscard]] UINT TextOfControl(std::span<const ControlText> table, int control) noexcept;

}  // namespace qx
