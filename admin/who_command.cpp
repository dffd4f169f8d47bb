// SPDX-License-Identifier: MIT
#include "admin/commands.h"
#include "admin/computer.h"
#include "admin/json.h"
#include "admin/port_state.h"
#include "admin/text.h"

#include <algorithm>

namespace qxports {

namespace {

// Where the DOS name leads; none when it leads nowhere.
const qx::NamedDevice* LeadsTo(const qx::SharedNamePlaces& shared, const qx::Text& name) {
    if (!shared.dos_names)
        return nullptr;
    const auto found = std::ranges::find_if(
        *shared.dos_names, [&](const qx::NamedDevice& each) { return qx::IsSameName(each.name, name); });
    return found == shared.dos_names->end() ? nullptr : &*found;
}

}  // namespace

int Who(const Context& context, const std::string& wanted) {
    const DWORD number = ComNumber(wanted);
    const qx::Text name = qx::ComNameOf(number);
    const Computer computer;
    const std::vector<const Port*> holders = computer.Holders(number);
    const qx::NamedDevice* const target = LeadsTo(computer.Shared(), name);
    const bool claims_known = computer.Shared().claims.has_value();
    const bool claimed = computer.Shared().IsClaimed(number);

    std::string who;
    Json devices = Json::array();
    for (const Port* const port : holders) {
        who += Utf8(name) + (port->present ? " is " : " belongs to an absent device, ") +
               Visible(port->shown) + ", " + StateOf(*port) + "\n  " + Visible(port->id) + "\n";
        if (const std::string adapter = AdapterOf(*port); !adapter.empty())
            who += "  at " + Visible(adapter) + "\n";
        devices.push_back({{"device", port->shown}, {"instanceId", port->id}, {"state", StateOf(*port)}});
    }
    const char* kind = "free";
    if (std::ranges::any_of(holders, &Port::present))
        kind = "present";
    else if (!holders.empty())
        kind = "absent";
    else if (target != nullptr)
        kind = "other driver";
    else if (claimed)
        kind = "claim of nobody";
    else if (!claims_known)
        kind = "unknown";
    if (holders.empty() && target != nullptr)
        who = Utf8(name) + " is no device's, and leads to " + Visible(Utf8(target->device)) + "\n";
    else if (holders.empty() && claimed)
        who = Utf8(name) + " is claimed, and no device has it; release " + Utf8(name) + " gives it back\n";
    else if (holders.empty())
        who = Utf8(name) + (claims_known ? " is free\n" : " is no device's; claims cannot be read\n");
    else if (claims_known && !claimed)
        who += "  its number is not claimed: another device may be given it; repair claims it\n";
    const std::string why = target != nullptr ? WhyNotOpened(name) : "";
    if (target != nullptr)
        who += why == "held open" ? "  a program holds it open\n"
               : why.empty()      ? "  no program holds it open\n"
                                  : "  it " + why + "\n";
    if (context.manner.json)
        context.Out(Dump({{"port", Utf8(name)},
                          {"is", kind},
                          {"claimed", claims_known ? Json(claimed) : Json()},
                          {"heldOpen", target != nullptr ? Json(why == "held open") : Json()},
                          {"devices", devices}}));
    else
        context.Out(who);
    return kDone;
}

}  // namespace qxports
