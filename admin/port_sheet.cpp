// SPDX-License-Identifier: MIT
#include "admin/port_sheet.h"

#include <vector>

namespace qxports {

namespace {

BOOL CALLBACK AddPage(HPROPSHEETPAGE page, LPARAM list) {
    reinterpret_cast<std::vector<HPROPSHEETPAGE>*>(list)->push_back(page);
    return TRUE;
}

}  // namespace

INT_PTR ShowPortSheet(LPFNADDPROPSHEETPAGES provider, HDEVINFO set, const SP_DEVINFO_DATA& port,
                      const qx::Text& caption) {
    SP_DEVINFO_DATA element = port;
    SP_PROPSHEETPAGE_REQUEST request{};
    request.cbSize = sizeof(request);
    request.PageRequested = SPPSR_ENUM_ADV_DEVICE_PROPERTIES;
    request.DeviceInfoSet = set;
    request.DeviceInfoData = &element;
    std::vector<HPROPSHEETPAGE> pages;
    if (!provider(&request, AddPage, reinterpret_cast<LPARAM>(&pages)) || pages.empty())
        return kNoPages;
    PROPSHEETHEADERW header{};
    header.dwSize = sizeof(header);
    header.dwFlags = PSH_PROPTITLE;
    header.pszCaption = caption.c_str();
    header.nPages = static_cast<UINT>(pages.size());
    header.phpage = pages.data();
    return PropertySheetW(&header);
}

}  // namespace qxports
