// SPDX-License-Identifier: MIT
// The About page, last of the advanced sheet.
#pragma once

#include "pages/hyperlink.h"
#include "pages/property_page.h"

namespace qx {

// Names the maker and links to its web site.
class CAboutPage : public CPropertyPage {
  public:
    CAboutPage() noexcept;
    ~CAboutPage() override = default;

    bool ProcessWindowMessage(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) override;

  private:
    CHyperlink web_site_;
};

}  // namespace qx
