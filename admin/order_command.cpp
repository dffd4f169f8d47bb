// SPDX-License-Identifier: MIT
#include "admin/commands.h"
#include "admin/installation_lock.h"
#include "admin/outcome.h"
#include "admin/port_state.h"
#include "admin/table.h"
#include "admin/text.h"
#include "install/child_port_order.h"
#include "install/com_name.h"

#include <algorithm>
#include <map>

namespace qxports {

namespace {

struct Adapter {
    std::string id;
    std::vector<const Port*> ports;
};

// The adapters that have ports now.
std::vector<Adapter> Adapters(const Computer& computer) {
    std::vector<Adapter> adapters;
    for (const Port& port : computer.Ports()) {
        const std::optional<qx::InstanceId> id =
            port.ours && port.present ? qx::AdapterOfPort(port.element.DevInst) : std::nullopt;
        if (!id)
            continue;
        const std::string text = Utf8(id->view());
        auto found = std::ranges::find(adapters, text, &Adapter::id);
        if (found == adapters.end())
            found = adapters.insert(found, {text, {}});
        found->ports.push_back(&port);
    }
    return adapters;
}

Adapter FindAdapter(const Computer& computer, const std::string& name) {
    std::vector<Adapter> found;
    std::vector<std::string> known;
    std::vector<std::string> several;
    for (const Adapter& each : Adapters(computer)) {
        known.push_back(each.id);
        const bool of_port =
            std::ranges::any_of(each.ports, [&](const Port* port) { return IsSameName(port->Name(), name); });
        if (IsSameName(each.id, name))
            return each;
        // COM1 is no part of COM10.
        const bool part = !HasPart(name.substr(0, 3), "COM") &&
                          (HasPart(each.id, name) || HasPart(AdapterOf(*each.ports.front()), name));
        if (!name.empty() && (of_port || part)) {
            found.push_back(each);
            several.push_back(each.id);
        }
    }
    if (found.size() == 1)
        return found.front();
    throw Failure(kUnknownPort, found.empty() ? "there is no adapter \"" + name +
                                                    "\" with ports; there are " + Listed(known)
                                              : "\"" + name + "\" can mean " + Listed(several));
}

const Port& PortOf(const Adapter& adapter, DEVINST node) {
    const auto found =
        std::ranges::find_if(adapter.ports, [&](const Port* port) { return port->element.DevInst == node; });
    if (found == adapter.ports.end())
        throw Failure(kRefused, "not all devices at " + adapter.id + " are ports of this maker");
    return **found;
}

// A number that somebody took meanwhile is not taken away again.
bool NeverMind(HWND /*owner*/, qx::RenameQuestion /*question*/) {
    return false;
}

// Step by step, and no step before the last one is seen to be done: whatever fails, all names are valid.
void CarryOut(const Computer& computer, const std::vector<const Port*>& ports, const qx::OrderPlan& plan) {
    for (const qx::OrderStep& step : plan.steps) {
        qx::CCOMPortUtil port(computer.Set(), ports[step.port]->element);
        const bool last = &step == &plan.steps.back();
        static_cast<void>(qx::RenamePort(port, step.to, {.reenumerate = last}, &NeverMind));
        try {
            RequireName(ports[step.port]->id, Utf8(step.to));
        } catch (const Failure& failure) {
            throw Failure(kNotAsItShould, std::string(failure.what()) +
                                              ". The order is not complete; once this " +
                                              "is put right, order goes on with it");
        }
    }
}

}  // namespace

int Order(const Context& context, const std::string& name) {
    const InstallationLock lock(context);
    const Computer computer;
    computer.RequireAllKnown();
    const Adapter adapter = FindAdapter(computer, name);
    const qx::DeviceSet devices(SetupDiCreateDeviceInfoList(nullptr, nullptr));
    const std::optional<SP_DEVINFO_DATA> element =
        devices ? qx::OpenDeviceIn(devices.Get(), Wide(adapter.id).c_str()) : std::nullopt;
    std::optional<qx::AdapterPorts> found =
        element ? qx::FindAdapterPorts(devices.Get(), *element, true) : std::nullopt;
    if (!found)
        throw Failure(kRefused, "the ports of " + adapter.id +
                                    " cannot be ordered: one of its devices does not run, or has no name");

    std::vector<const Port*> ports;
    std::vector<qx::Text> names;
    std::vector<std::string> held;
    for (const SP_DEVINFO_DATA& each : found->ports) {
        ports.push_back(&PortOf(adapter, each.DevInst));
        names.push_back(ports.back()->places.port_name);
    }
    if (ports.size() != adapter.ports.size())
        throw Failure(kRefused, "not all ports of " + adapter.id + " can be reached in the device tree");
    std::vector<DWORD> numbers = found->numbers;
    std::ranges::sort(numbers);
    const qx::OrderPlan plan = qx::PlanOrder(names, *computer.Shared().claims);
    std::vector<TableRow> rows{{"Port in the tree", "Now", "In order"}};
    for (std::size_t i = 0; i < ports.size(); ++i)
        rows.push_back({ports[i]->id, ports[i]->Name(), "COM" + std::to_string(numbers[i])});
    if (!context.manner.quiet && !context.manner.json)
        context.Out(Table(rows, context.around.Columns()));
    if (!plan.complete)
        throw Failure(kRefused,
                      "nothing is changed, for two ports would have to swap their numbers and no "
                      "third one is free");
    if (plan.steps.empty()) {
        context.Say("the numbers are in order");
        return kDone;
    }
    for (const qx::OrderStep& step : plan.steps) {
        const std::string why = WhyNotOpened(names[step.port]);
        const std::string text = ports[step.port]->Name() + " is " + why;
        if (!why.empty() && std::ranges::find(held, text) == held.end())
            held.push_back(text);
    }
    if (context.manner.dry_run) {
        context.Say("steps:");
        for (const qx::OrderStep& step : plan.steps)
            context.Say("  " + Utf8(step.from) + " -> " + Utf8(step.to) + "  " + ports[step.port]->id);
        for (const std::string& each : held)
            context.Say(each + ", which would be asked about");
        return kDone;
    }
    for (const Port* const port : ports)
        RequireWritable(computer, *port);
    if (!held.empty() && !context.Asked(Listed(held) + ". Rename it all the same?"))
        throw Failure(kRefused, "nothing is changed, for " + Listed(held));
    CarryOut(computer, ports, plan);
    context.Say("the numbers are in order now");
    if (!qx::MarkAsOrdered(devices.Get(), *found))
        throw Failure(kNotAsItShould,
                      "the adapter cannot be marked as ordered; the installation of one of its "
                      "ports may change its numbers again");
    return kDone;
}

}  // namespace qxports
