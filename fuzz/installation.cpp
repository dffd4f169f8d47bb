// SPDX-License-Identifier: MIT
// Fuzzes whole installations: a computer of adapters, ports and foreign devices, a run of requests to the
// three co-installers, the user's answers, and platform calls that fail, all drawn from the input.
//
// A request is always answered as documented, leaves no handle open and lets no exception out. As long as no
// call is made to fail, and no backup takes its name back from another port, a computer whose ports' names
// agreed before has them agree afterwards.
#include "admin/name_report.h"
#include "device_records/registry_layout.h"
#include "fuzz/fuzz_input.h"
#include "install/card_coinstaller.h"
#include "install/gpio_coinstaller.h"
#include "install/port_coinstaller.h"
#include "platform/desktop/desktop.h"
#include "platform/machine/machine.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace {

using qxfuzz::Input;
using qxfuzz::Require;
using qxsim::DeviceRecipe;
using qxsim::Machine;

// Parents of ports: ordinary adapters, a product of several devices, and fixed-number products.
constexpr const char* kFreeAdapter[] = {"USB\\VID_0F7A&PID_1004\\A", "USB\\VID_0F7A&PID_3104\\E",
                                        "PCI\\VEN_0F7A&DEV_0008\\F"};
constexpr const char* kAnyAdapter[] = {"USB\\VID_0F7A&PID_1004\\A",       "USB\\VID_0F7A&PID_2101\\B",
                                       "USB\\VID_0F7A&PID_2202&MI_01\\C", "USB\\VID_0F7A&PID_2204&MI_00\\D",
                                       "USB\\VID_0F7A&PID_3104\\E",       "PCI\\VEN_0F7A&DEV_0008\\F"};

struct Bench {
    std::vector<std::string> adapters;
    std::vector<std::string> ports;
};

std::string FreeName(Input& input, std::set<unsigned>& used) {
    unsigned number = 1 + input.Below(24);
    while (used.contains(number))
        ++number;
    used.insert(number);
    return "COM" + std::to_string(number);
}

// A computer on which every port's name agrees in all its places. When it has ports with fixed numbers, all
// devices run: one that does not run cannot be moved aside, keeps its name, and the fixed port then has that
// name, too.
Bench Furnish(Machine& machine, Input& input) {
    Bench bench;
    std::set<unsigned> used;
    const bool all_run = input.Below(2) != 0;
    const std::uint32_t adapters = 1 + input.Below(4);
    for (std::uint32_t a = 0; a < adapters; ++a) {
        DeviceRecipe hub;
        hub.id = "USB\\HUB\\" + std::to_string(a);
        hub.setup_class = "USB";
        DeviceRecipe adapter;
        adapter.id = std::string(all_run ? kAnyAdapter[input.Below(std::size(kAnyAdapter))]
                                         : kFreeAdapter[input.Below(std::size(kFreeAdapter))]) +
                     std::to_string(a);
        adapter.setup_class = input.Below(4) == 0 ? "MultiPortSerial" : "USB";
        adapter.location = "PCI bus 3, device 0, function " + std::to_string(input.Below(2));
        const DEVINST hub_node = machine.AddDevice(Machine::kRoot, hub);
        const DEVINST adapter_node = machine.AddDevice(hub_node, adapter);
        bench.adapters.push_back(adapter.id);
        const std::uint32_t ports = input.Below(6);
        for (std::uint32_t p = 0; p < ports; ++p) {
            DeviceRecipe port;
            port.id = "QXPORT\\PORT" + std::to_string(p) + "\\" + std::to_string(a);
            port.port = FreeName(input, used);
            port.started = all_run || input.Below(8) != 0;
            machine.AddDevice(adapter_node, port);
            bench.ports.push_back(port.id);
        }
    }
    const std::uint32_t foreign = input.Below(4);
    for (std::uint32_t f = 0; f < foreign; ++f) {
        DeviceRecipe port;
        port.id = "ACPI\\PNP0501\\" + std::to_string(f);
        port.port = FreeName(input, used);
        port.foreign = true;
        port.plugged = all_run || input.Below(3) != 0;
        machine.AddDevice(Machine::kRoot, port);
    }
    return bench;
}

// One call of a co-installer, and whether it was answered as documented.
void Send(Machine& machine, const std::string& id, Input& input, bool port) {
    const qxsim::Device* const device = machine.Find(id);
    if (device == nullptr || device->removed)
        return;
    SP_DEVINFO_DATA element{};
    const HDEVINFO set = qxsim::HandDevice(machine, *device, element);
    COINSTALLER_CONTEXT_DATA context{};
    context.PostProcessing = input.Below(3) != 0;
    context.InstallResult = input.Below(4) == 0 ? input.Take<std::uint32_t>() : NO_ERROR;
    constexpr DI_FUNCTION kRequests[] = {DIF_INSTALLDEVICE, DIF_INSTALLDEVICE, DIF_INSTALLDEVICE,
                                         DIF_UPDATEDRIVER_UI, DIF_PROPERTYCHANGE};
    const DI_FUNCTION request = kRequests[input.Below(std::size(kRequests))];
    const DWORD answer = port             ? QxUCoInstallPort(request, set, &element, &context)
                         : input.Below(2) ? QxUCoInstallCard(request, set, &element, &context)
                                          : QxUCoInstallGpio(request, set, &element, &context);
    if (request == DIF_INSTALLDEVICE)
        Require(answer == (context.PostProcessing ? context.InstallResult : ERROR_DI_POSTPROCESSING_REQUIRED),
                "an installation's result is the platform's own");
    else
        Require(answer == NO_ERROR || (request == DIF_UPDATEDRIVER_UI && answer == ERROR_DI_DONT_INSTALL),
                "other requests pass");
}

// Whether every port's name agrees in all its places; says on standard error where it does not.
bool NamesAgree() {
    const std::string faults = qxports::ReportNames(qxports::Computer()).Faults();
    std::fputs(faults.c_str(), stderr);
    return faults.empty();
}

// Whether the port has a backup with a name that another port has by now. It then takes the name, as a port
// that came back does from whatever stands in its place, and both have it.
bool TakesNameFromAnother(const Machine& machine, const std::string& id) {
    const qxsim::Device* const port = machine.Find(id);
    if (port == nullptr || port->removed)
        return false;
    const std::string name = qxsim::ToUtf8(qx::PortBackupKeyName(port->id.c_str()).view());
    const std::optional<std::string> saved = machine.ReadText(
        qxsim::ToUtf8(Machine::HardwareKeyPath(machine.Node(port->parent)->id)) + "\\" + name, "PortName");
    if (!saved)
        return false;
    const std::vector<const qxsim::Device*> ports = machine.Ports();
    return std::any_of(ports.begin(), ports.end(), [&](const qxsim::Device* other) {
        return other != port && machine.PortName(*other) == *saved;
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto& instruments = qxsim::Instruments::The();
    auto& desktop = qxsim::Desktop::The();
    instruments.Reset();
    instruments.KeepTrace(false);
    desktop.Reset();
    Input input(data, size);
    const bool yes = input.Below(2) != 0;
    desktop.SetAnswers([yes](const qxsim::ShownBox& box) {
        return (box.type & 0xF) == MB_YESNO ? (yes ? IDYES : IDNO) : IDOK;
    });

    Machine machine;
    const qxsim::CurrentMachine current(machine);
    constexpr std::pair<DWORD, DWORD> kVersions[] = {{10, 0}, {6, 1}, {6, 0}, {5, 1}};
    std::tie(machine.major_version, machine.minor_version) = kVersions[input.Below(std::size(kVersions))];
    const Bench bench = Furnish(machine, input);
    Require(NamesAgree(), "the computer is in order to begin with");

    const bool with_faults = input.Below(2) != 0;
    if (with_faults) {
        qxsim::Fault fault;
        fault.nth = 1 + input.Below(400);
        fault.for_good = input.Below(4) == 0;
        instruments.Inject(fault);
    }
    bool name_taken = false;
    const std::uint32_t requests = 1 + input.Below(8);
    for (std::uint32_t i = 0; i < requests; ++i) {
        const bool port = !bench.ports.empty() && input.Below(4) != 0;
        const auto& targets = port ? bench.ports : bench.adapters;
        const std::string& target = targets[input.Below(static_cast<std::uint32_t>(targets.size()))];
        name_taken = name_taken || TakesNameFromAnother(machine, target);
        Send(machine, target, input, port);
    }
    Require(instruments.LedgerReport().empty(), "every handle is closed once");
    if (!with_faults && !name_taken) {
#ifdef QX_CANARY
        // A name moved in four places of five.
        for (const qxsim::Device* port : machine.Ports())
            if (machine.PortName(*port) == "COM4" && port->started)
                machine.SetClaimed(4, false);
#endif
        Require(NamesAgree(), "the ports' names agree afterwards");
    }
    return 0;
}
