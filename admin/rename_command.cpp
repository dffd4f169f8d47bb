// SPDX-License-Identifier: MIT
#include "admin/commands.h"
#include "admin/installation_lock.h"
#include "admin/outcome.h"
#include "admin/port_state.h"
#include "admin/text.h"
#include "install/com_name.h"
#include "install/fixed_com_numbers.h"

#include <algorithm>

namespace qxports {

namespace {

// What was asked here before the rename began; what comes up only then is answered with no.
bool GoOn(HWND /*owner*/, qx::RenameQuestion /*question*/) {
    return true;
}
bool GoBack(HWND /*owner*/, qx::RenameQuestion /*question*/) {
    return false;
}

void Show(const Context& context, const Port& port, const std::string& name, const qx::RenamePlan& plan) {
    const std::string old_name = port.Name();
    const std::string change = old_name + " -> " + name;
    context.Say(port.shown + " would go from " + change + ":");
    context.Say("  DOS name    " + change);
    context.Say("  SERIALCOMM  " + change);
    context.Say("  claims      COM" + std::to_string(plan.old_number) + " given back, " + name +
                (plan.number == qx::RenamePlan::Number::kFree ? " claimed" : " taken, which is claimed now"));
    context.Say("  shown as    " +
                Utf8(qx::ReplaceAll(port.places.friendly_name, port.places.port_name, Wide(name))));
    context.Say("  PortName    " + change);
}

}  // namespace

int Rename(const Context& context, const std::string& from, const std::string& to) {
    const InstallationLock lock(context);
    const Computer computer;
    computer.RequireAllKnown();
    const Port& port = computer.Find(from);
    const std::string name = "COM" + std::to_string(ComNumber(to));
    const bool free = !computer.Shared().IsClaimed(ComNumber(to));
    const qx::RenamePlan plan =
        qx::PlanRename(port.places.port_name.view(), Wide(name).view(), free,
                       qx::IsFixedNumberProduct(qx::PortHardwareId(port.element.DevInst)));
    if (plan.nothing_to_do) {
        context.Say(name + " has this name already");
        return kDone;
    }
    if (!port.started)
        throw Failure(kRefused, port.Name() + " does not run (" + StateOf(port) +
                                    "); a name can be moved only while its port runs");
    std::string holder;
    for (const Port* const each : computer.Holders(plan.new_number)) {
        if (each->present)
            throw Failure(kRefused, name + " is " + each->shown + " (" + each->id + "); rename that first");
        holder = ", by an absent device: " + each->shown;
    }
    if (context.manner.dry_run) {
        Show(context, port, name, plan);
        return kDone;
    }
    RequireWritable(computer, port);
    if (plan.number == qx::RenamePlan::Number::kAsk &&
        !context.Asked(name + " is claimed" + holder + ". Take it all the same?"))
        throw Failure(kRefused, "nothing is changed, for " + name + " stays who claimed it");
    if (const std::string why = WhyNotOpened(port.places.port_name);
        !why.empty() && !context.Asked(port.Name() + " is " + why + ". Rename it all the same?"))
        throw Failure(kRefused, "nothing is changed, for " + port.Name() + " is " + why);
    qx::CCOMPortUtil port_util(computer.Set(), port.element);
    const bool renamed = qx::RenamePort(port_util, Wide(name), {.reenumerate = true}, free ? &GoBack : &GoOn);
    RequireName(port.id, name);
    if (!renamed)
        throw Failure(kNotAsItShould, name + " has its name, but the system did not take everything");
    context.Say(port.Name() + " is " + name + " now");
    return kDone;
}

}  // namespace qxports
