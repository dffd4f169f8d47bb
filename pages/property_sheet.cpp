// SPDX-License-Identifier: MIT
#include "pages/property_sheet.h"

#include "base/module_instance.h"

#include <utility>

namespace qx {

namespace {

// The platform tells about the sheet's frame here; it needs nothing from us.
int CALLBACK SheetCallback(HWND, UINT, LPARAM) noexcept {
    return 0;
}

}  // namespace

CSheetPages::~CSheetPages() {
    for (const HPROPSHEETPAGE page : handles_)
        DestroyPropertySheetPage(page);
}

void CSheetPages::Add(HPROPSHEETPAGE page) {
    if (!page)
        return;
    try {
        handles_.push_back(page);
    } catch (...) {
        DestroyPropertySheetPage(page);
        throw;
    }
}

CPropertySheet::CPropertySheet(Text caption) noexcept
    : caption_(std::move(caption)), activation_context_(ModuleInstance()) {}

INT_PTR CPropertySheet::DoModal(CSheetPages& pages, HWND owner) noexcept {
    const CActivationContext::Scope scope(activation_context_);
    PROPSHEETHEADERW header{};
    header.dwSize = sizeof(header);
    header.dwFlags = PSH_PROPTITLE | PSH_NOAPPLYNOW | PSH_USECALLBACK;
    header.hwndParent = owner ? owner : GetActiveWindow();
    header.hInstance = ModuleInstance();
    header.pszCaption = caption_.c_str();
    header.nPages = static_cast<UINT>(pages.handles_.size());
    header.nStartPage = 0;
    header.phpage = pages.handles_.data();
    header.pfnCallback = &SheetCallback;
    const INT_PTR result = PropertySheetW(&header);
    // The platform destroys the pages that it was given, shown or not.
    pages.handles_.clear();
    return result;
}

}  // namespace qx
