// SPDX-License-Identifier: MIT
// The base of a modal property sheet.
#pragma once

#include "base/text.h"
#include "pages/activation_context.h"

#include <prsht.h>

#include <vector>

namespace qx {

// Sheet pages that have not gone to the platform yet. A sheet declares them behind the page objects that they
// stand for: releasing a sheet page calls its object back, which must still be there.
class CSheetPages {
  public:
    CSheetPages() = default;
    ~CSheetPages();
    CSheetPages(const CSheetPages&) = delete;
    CSheetPages& operator=(const CSheetPages&) = delete;

    // Adds a page behind the others. A page that the platform could not make is left out.
    void Add(HPROPSHEETPAGE page);

  private:
    friend class CPropertySheet;
    std::vector<HPROPSHEETPAGE> handles_;
};

// A sheet with OK and Cancel and no Apply button.
class CPropertySheet {
  public:
    // Results of DoModal; any other value means that the platform could not show the sheet.
    static constexpr INT_PTR kClosedWithOk = 1;
    static constexpr INT_PTR kCancelled = 0;

    virtual ~CPropertySheet() = default;
    CPropertySheet(const CPropertySheet&) = delete;
    CPropertySheet& operator=(const CPropertySheet&) = delete;

  protected:
    explicit CPropertySheet(Text caption) noexcept;

    // Shows the sheet with its first page in front until the user closes it. Without an owner the thread's
    // active window is taken, which the sheet then disables while it is open. From then on the pages belong
    // to the platform.
    [[nodiscard]] INT_PTR DoModal(CSheetPages& pages, HWND owner) noexcept;

  private:
    Text caption_;
    CActivationContext activation_context_;
};

}  // namespace qx
