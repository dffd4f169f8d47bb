#include "host/property_sheet.h"

#include "host/failure.h"

#include <commctrl.h>

#include <string>
#include <vector>

namespace qxhost {

namespace {

BOOL CALLBACK AddPage(HPROPSHEETPAGE page, LPARAM list) {
    reinterpret_cast<std::vector<HPROPSHEETPAGE>*>(list)->push_back(page);
    return TRUE;
}

}  // namespace

INT_PTR ShowPropertySheet(Session& session, const qxsim::Device& port, Desk& desk,
                          const std::function<bool()>& user) {
    HandedDevice handed = session.Hand(port);
    const auto provider =
        reinterpret_cast<LPFNADDPROPSHEETPAGES>(reinterpret_cast<void*>(LibraryEntry("QxUPortPropPage")));
    SP_PROPSHEETPAGE_REQUEST request{};
    request.cbSize = sizeof(request);
    request.PageRequested = SPPSR_ENUM_ADV_DEVICE_PROPERTIES;
    request.DeviceInfoSet = handed.set;
    request.DeviceInfoData = &handed.element;
    std::vector<HPROPSHEETPAGE> pages;
    INT_PTR result = -1;
    desk.Use(
        [&] {
            if (!provider(&request, AddPage, reinterpret_cast<LPARAM>(&pages)) || pages.empty())
                return;
            const qxsim::WideString caption = qxsim::ToWide(ShownName(session.Machine(), port));
            PROPSHEETHEADERW header{};
            header.dwSize = sizeof(header);
            header.dwFlags = PSH_PROPTITLE;
            header.pszCaption = caption.c_str();
            header.nPages = static_cast<UINT>(pages.size());
            header.phpage = pages.data();
            result = PropertySheetW(&header);
        },
        user);
    if (pages.empty())
        throw Failure(kNoAnswer, "the library offers no page for " + ShownName(session.Machine(), port) +
                                     ": the port's driver does not run or does not answer");
    if (result < 0)
        throw Failure(kNotAsItShould, "the sheet could not be shown");
    return result;
}

}  // namespace qxhost
