// The base of a modal property sheet.
#pragma once

#include "base/text.h"
#include "pages/activation_context.h"

#include <prsht.h>

#include <vector>

namespace qx {

// A sheet with OK and Cancel and no Apply button. Pages are added before it is shown.
class CPropertySheet {
  public:
    // Results of DoModal; any other value means that the platform could not show the sheet.
    static constexpr INT_PTR kClosedWithOk = 1;
    static constexpr INT_PTR kCancelled = 0;

    virtual ~CPropertySheet();
    CPropertySheet(const CPropertySheet&) = delete;
    CPropertySheet& operator=(const CPropertySheet&) = delete;

    // Shows the sheet with its first page in front until the user closes it. Without an owner the thread's
    // active window is taken, which the sheet then disables while it is open.
    [[nodiscard]] INT_PTR DoModal(HWND owner = nullptr) noexcept;

  protected:
    explicit CPropertySheet(Text caption) noexcept;

    // Adds a page behind the others. A page that the platform could not make is left out.
    void AddPage(HPROPSHEETPAGE page);

  private:
    Text caption_;
    CActivationContext activation_context_;
    // Pages that have not gone to the platform yet.
    std::vector<HPROPSHEETPAGE> pages_;
};

}  // namespace qx
