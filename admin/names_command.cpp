// SPDX-License-Identifier: MIT
#include "admin/commands.h"
#include "admin/json.h"
#include "admin/name_report.h"
#include "admin/text.h"

namespace qxports {

namespace {

Json AsJson(const NameReport& report) {
    Json ports = Json::array();
    for (const NamedPort& each : report.ports) {
        const qx::NamePlaces& places = each.port.places;
        Json faults = Json::array();
        for (const NameFault& fault : each.faults)
            faults.push_back({{"place", NameOf(fault.place)}, {"text", fault.text}});
        Json dos_names = Json::array();
        for (const qx::Text& name : places.dos_names)
            dos_names.push_back(Utf8(name));
        ports.push_back({{"portName", each.port.Name()},
                         {"claimed", report.claims_known ? Json(places.claimed) : Json()},
                         {"dosNames", dos_names},
                         {"serialComm", Utf8(places.serial_comm)},
                         {"friendlyName", Utf8(places.friendly_name)},
                         {"instanceId", each.port.id},
                         {"remark", each.remark},
                         {"faults", faults}});
    }
    return {{"agrees", report.Agrees()},
            {"ports", ports},
            {"claimsOfNobody", report.lone_claims},
            {"dosNamesOfNoPort", report.lone_dos_names},
            {"serialCommOfNoPort", report.lone_entries}};
}

}  // namespace

int Names(const Context& context) {
    const NameReport report = ReportNames(Computer());
    if (context.manner.json) {
        context.Out(Dump(AsJson(report)));
    } else {
        context.Out(report.Table(context.around.Columns()));
        context.Out(report.Agrees() ? "All places agree.\n" : "\nDisagreements:\n" + report.Faults());
    }
    if (!report.claims_known)
        context.around.Err(
            "The port database cannot be read, so nothing is said of claims; it takes the "
            "rights of an administrator.\n");
    return report.Agrees() ? kDone : kNotAsItShould;
}

}  // namespace qxports
