// SPDX-License-Identifier: MIT
#include "host/device_installer.h"

#include "host/desk.h"
#include "host/failure.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ostream>
#include <utility>

namespace qxhost {

namespace {

using qxsim::Device;
using qxsim::ToUtf8;
using qxsim::ToWide;

using CoInstaller = DWORD(CALLBACK*)(DI_FUNCTION, HDEVINFO, PSP_DEVINFO_DATA, PCOINSTALLER_CONTEXT_DATA);

constexpr std::array<std::pair<Role, const char*>, 3> kEntries{{{Role::kAdapter, "QxUCoInstallCard"},
                                                                {Role::kPort, "QxUCoInstallPort"},
                                                                {Role::kGpio, "QxUCoInstallGpio"}}};

constexpr std::array<std::pair<DI_FUNCTION, const char*>, 11> kRequests{
    {{DIF_SELECTBESTCOMPATDRV, "DIF_SELECTBESTCOMPATDRV"},
     {DIF_ALLOW_INSTALL, "DIF_ALLOW_INSTALL"},
     {DIF_INSTALLDEVICEFILES, "DIF_INSTALLDEVICEFILES"},
     {DIF_REGISTER_COINSTALLERS, "DIF_REGISTER_COINSTALLERS"},
     {DIF_INSTALLINTERFACES, "DIF_INSTALLINTERFACES"},
     {DIF_INSTALLDEVICE, "DIF_INSTALLDEVICE"},
     {DIF_NEWDEVICEWIZARD_FINISHINSTALL, "DIF_NEWDEVICEWIZARD_FINISHINSTALL"},
     {DIF_DESTROYPRIVATEDATA, "DIF_DESTROYPRIVATEDATA"},
     {DIF_REMOVE, "DIF_REMOVE"},
     {DIF_PROPERTYCHANGE, "DIF_PROPERTYCHANGE"},
     {DIF_UPDATEDRIVER_UI, "DIF_UPDATEDRIVER_UI"}}};

// What comes before and after the installation proper.
constexpr std::array<DI_FUNCTION, 5> kBefore{DIF_SELECTBESTCOMPATDRV, DIF_ALLOW_INSTALL,
                                             DIF_INSTALLDEVICEFILES, DIF_REGISTER_COINSTALLERS,
                                             DIF_INSTALLINTERFACES};
constexpr std::array<DI_FUNCTION, 2> kAfter{DIF_NEWDEVICEWIZARD_FINISHINSTALL, DIF_DESTROYPRIVATEDATA};

std::string Hexadecimal(DWORD number) {
    char text[16];
    std::snprintf(text, sizeof(text), "0x%08X", static_cast<unsigned>(number));
    return text;
}

std::string Counted(std::size_t number, const char* thing) {
    return std::to_string(number) + ' ' + thing + (number == 1 ? "" : "s");
}

std::string NameOf(DI_FUNCTION request) {
    for (const auto& [number, name] : kRequests)
        if (number == request)
            return name;
    return "request " + Hexadecimal(request);
}

std::string NameOfAnswer(DWORD answer) {
    switch (answer) {
        case NO_ERROR:
            return "done (NO_ERROR)";
        case ERROR_DI_POSTPROCESSING_REQUIRED:
            return "call me back (ERROR_DI_POSTPROCESSING_REQUIRED)";
        case ERROR_DI_DONT_INSTALL:
            return "refused (ERROR_DI_DONT_INSTALL)";
        case ERROR_DI_DO_DEFAULT:
            return "not handled (ERROR_DI_DO_DEFAULT)";
        default:
            return "error " + Hexadecimal(answer);
    }
}

}  // namespace

Role RoleOf(const qxsim::Machine& machine, const Device& device) {
    if (device.removed || device.node <= qxsim::Machine::kRoot)
        return Role::kNone;
    if (qxsim::Machine::IsPort(device))
        return device.control ? Role::kPort : Role::kNone;
    for (const DEVINST child : device.children)
        if (const Device* const below = machine.Node(child);
            below != nullptr && RoleOf(machine, *below) == Role::kPort)
            return Role::kAdapter;
    if (device.foreign)
        return Role::kNone;
    if (device.class_name == ToWide("MultiPortSerial"))
        return Role::kAdapter;
    // A function of a card that is no serial one.
    const bool function =
        machine.PropertyText(device, SPDRP_LOCATION_INFORMATION).find("function ") != std::string::npos;
    return function ? Role::kGpio : Role::kAdapter;
}

DeviceInstaller::DeviceInstaller(Session& session, std::ostream& out, DWORD result)
    : session_(session), out_(out), result_(result) {
    // A class installer call of the library itself goes through the co-installers of the device it concerns.
    Machine().co_installers = [this](DI_FUNCTION request, HDEVINFO set, PSP_DEVINFO_DATA element) {
        return AskNested(request, set, element);
    };
}

DeviceInstaller::~DeviceInstaller() {
    Machine().co_installers = {};
}

void DeviceInstaller::Say(const std::string& line) {
    if (line_open_)
        out_ << '\n';
    line_open_ = false;
    out_ << std::string(2 + std::size_t{2} * depth_, ' ') << line << std::endl;
}

namespace {

CoInstaller EntryFor(Role role) {
    for (const auto& [which, name] : kEntries)
        if (which == role)
            return reinterpret_cast<CoInstaller>(reinterpret_cast<void*>(LibraryEntry(name)));
    return nullptr;
}

}  // namespace

DWORD DeviceInstaller::Ask(const std::string& id, DI_FUNCTION request, COINSTALLER_CONTEXT_DATA& context) {
    const Device& device = *Machine().Find(id);
    const CoInstaller entry = EntryFor(RoleOf(Machine(), device));
    SP_DEVINFO_DATA element{};
    const HDEVINFO set = qxsim::HandDevice(Machine(), device, element);
    std::string call = NameOf(request) + (context.PostProcessing ? ", called back" : "");
    call.resize(std::max<std::size_t>(call.size(), 34), ' ');
    // What the request leads to is told between it and its answer.
    if (line_open_)
        out_ << '\n';
    out_ << std::string(2 + std::size_t{2} * depth_, ' ') << call << std::flush;
    line_open_ = true;
    ++depth_;
    const DWORD answer = entry(request, set, &element, &context);
    --depth_;
    if (line_open_) {
        out_ << " -> " << NameOfAnswer(answer) << std::endl;
        line_open_ = false;
    } else {
        Say(call + " -> " + NameOfAnswer(answer));
    }
    return answer;
}

DWORD DeviceInstaller::AskNested(DI_FUNCTION request, HDEVINFO set, PSP_DEVINFO_DATA element) {
    const Device* const device = Machine().Node(element->DevInst);
    if (device == nullptr)
        return NO_ERROR;
    const std::string id = ToUtf8(device->id);
    const CoInstaller entry = EntryFor(RoleOf(Machine(), *device));
    if (entry == nullptr)
        return NO_ERROR;
    // Ports below a device that is removed are removed first.
    if (request == DIF_REMOVE)
        for (const std::string& port : PortsBelow(id))
            Remove(port);
    // A port that stays keeps what it is part of.
    if (request == DIF_REMOVE && !PortsBelow(id).empty())
        return ERROR_DI_DONT_INSTALL;
    COINSTALLER_CONTEXT_DATA context{};
    ++depth_;
    DWORD answer = entry(request, set, element, &context);
    // The machine does its own work after this, so a co-installer that wants a call back gets it before the
    // machine's own work, not after it.
    if (answer == ERROR_DI_POSTPROCESSING_REQUIRED) {
        context.PostProcessing = TRUE;
        answer = entry(request, set, element, &context);
    }
    --depth_;
    Say("(the library asks for " + NameOf(request) + " of " + id + ": " + NameOfAnswer(answer) + ")");
    return answer == ERROR_DI_DO_DEFAULT ? NO_ERROR : answer;
}

std::vector<std::string> DeviceInstaller::PortsBelow(const std::string& id) {
    std::vector<std::string> ports;
    const Device* const device = Machine().Find(id);
    if (device == nullptr)
        return ports;
    for (const DEVINST child : device->children) {
        const Device* const below = Machine().Node(child);
        if (below == nullptr)
            continue;
        if (RoleOf(Machine(), *below) == Role::kPort) {
            ports.push_back(ToUtf8(below->id));
        } else {
            // Functions of a composite device have the ports below them.
            for (std::string& deeper : PortsBelow(ToUtf8(below->id)))
                ports.push_back(std::move(deeper));
        }
    }
    return ports;
}

bool DeviceInstaller::AskForUpdate(const std::string& id) {
    out_ << ShownName(Machine(), *Machine().Find(id)) << " (" << id << ")\n";
    COINSTALLER_CONTEXT_DATA context{};
    const DWORD answer = Ask(id, DIF_UPDATEDRIVER_UI, context);
    all_well_ = all_well_ && (answer == NO_ERROR || answer == ERROR_DI_DONT_INSTALL);
    return answer == NO_ERROR;
}

void DeviceInstaller::Install(const std::string& id, bool renew_ports, unsigned new_ports) {
    // The functions of a composite device are adapters of their own, each with its driver.
    const std::vector<std::string> functions = FunctionsOf(id);
    for (const std::string& function : functions)
        Install(function, renew_ports, new_ports);
    if (!functions.empty())
        return;
    InstallOne(id, renew_ports, new_ports);
    // An adapter without its driver lists no ports.
    if (result_ != NO_ERROR)
        return;
    for (const std::string& port : PortsBelow(id))
        InstallOne(port, false, 0);
}

std::vector<std::string> DeviceInstaller::FunctionsOf(const std::string& id) {
    std::vector<std::string> functions;
    for (const DEVINST child : Machine().Find(id)->children)
        if (const Device* const below = Machine().Node(child);
            below != nullptr && RoleOf(Machine(), *below) == Role::kAdapter)
            functions.push_back(ToUtf8(below->id));
    return functions;
}

void DeviceInstaller::InstallOne(const std::string& id, bool renew_ports, unsigned new_ports) {
    out_ << ShownName(Machine(), *Machine().Find(id)) << " (" << id << ")\n";
    const auto expect = [&](DI_FUNCTION request, COINSTALLER_CONTEXT_DATA& context, DWORD wanted) {
        const DWORD answer = Ask(id, request, context);
        if (answer != wanted) {
            all_well_ = false;
            Say("... expected " + NameOfAnswer(wanted));
        }
        return answer;
    };
    const auto expect_done = [&](DI_FUNCTION request) {
        COINSTALLER_CONTEXT_DATA context{};
        expect(request, context, NO_ERROR);
    };
    std::for_each(kBefore.begin(), kBefore.end(), expect_done);
    // One for both calls: a co-installer finds in it what it left there.
    COINSTALLER_CONTEXT_DATA context{};
    const DWORD first = expect(DIF_INSTALLDEVICE, context, ERROR_DI_POSTPROCESSING_REQUIRED);
    OwnWork(id, renew_ports, new_ports);
    if (first == ERROR_DI_POSTPROCESSING_REQUIRED) {
        context.PostProcessing = TRUE;
        context.InstallResult = result_;
        expect(DIF_INSTALLDEVICE, context, result_);
    }
    std::for_each(kAfter.begin(), kAfter.end(), expect_done);
}

// What the platform does between the two calls: the new driver takes over, and starts.
void DeviceInstaller::OwnWork(const std::string& id, bool renew_ports, unsigned new_ports) {
    const Role role = RoleOf(Machine(), *Machine().Find(id));
    if (role == Role::kAdapter)
        ShowSaved(id);
    if (result_ != NO_ERROR) {
        Say("(installer) the driver could not be installed: " + Hexadecimal(result_));
        return;
    }
    if (role == Role::kPort) {
        PlayPortClass(id);
        return;
    }
    Device& device = *Machine().Find(id);
    if (Machine().InUse(device))
        Say("(installer) a port is in use: the system would now ask for a restart, and goes on after it");
    Machine().Stop(device);
    device.problem = 0;
    Machine().Start(device);
    Say("(installer) the driver is restarted");
    if (role == Role::kAdapter)
        RenewPorts(id, renew_ports, new_ports);
}

// The ports that the adapter's new driver lists.
void DeviceInstaller::RenewPorts(const std::string& adapter, bool renew_ports, unsigned new_ports) {
    qxsim::Machine& machine = Machine();
    std::vector<std::string> ports = PortsBelow(adapter);
    if (ports.empty()) {
        const std::string serial = adapter.substr(adapter.rfind('\\') + 1);
        for (unsigned i = 1; i <= new_ports; ++i) {
            char instance[8];
            std::snprintf(instance, sizeof(instance), "%04u", i);
            qxsim::DeviceRecipe recipe;
            recipe.id = "QXSER\\PORT" + std::to_string(i) + "\\" + serial + "&" + instance;
            recipe.setup_class = "Ports";
            recipe.started = false;
            machine.AddDevice(machine.Find(adapter)->node, recipe);
        }
        if (new_ports > 0)
            Say("(installer) the driver lists " + Counted(new_ports, "port"));
        return;
    }
    if (new_ports > 0)
        Say("(installer) the adapter has ports already; --ports is not used");
    if (!renew_ports)
        return;
    for (const std::string& id : ports) {
        // The same hardware under a new driver: identity, place and abilities stay; name and settings do not.
        Device& old = *machine.Find(id);
        qxsim::DeviceRecipe recipe;
        recipe.id = id;
        recipe.setup_class = "Ports";
        recipe.description = machine.PropertyText(old, SPDRP_DEVICEDESC);
        recipe.started = false;
        recipe.plugged = old.plugged;
        const DEVINST parent = old.parent;
        const auto hardware_ids = old.properties[SPDRP_HARDWAREID];
        const auto location = old.properties.find(SPDRP_LOCATION_INFORMATION);
        if (location != old.properties.end())
            recipe.location = machine.PropertyText(old, SPDRP_LOCATION_INFORMATION);
        qxsim::ControlDevice control = *old.control;
        control.settings = control.defaults;
        control.bus = control.bus_defaults;
        control.writes.clear();
        machine.Remove(old);
        machine.AddDevice(parent, recipe);
        Device& renewed = *machine.Find(id);
        renewed.properties[SPDRP_HARDWAREID] = hardware_ids;
        renewed.control = std::move(control);
    }
    Say(ports.size() == 1
            ? "(installer) the old port is gone, a new one is there"
            : "(installer) the old ports are gone, " + std::to_string(ports.size()) + " new ones are there");
}

// What the system's installer of ports does: a port without a name gets the lowest free one. COM1 and COM2
// are left to the board's own ports.
void DeviceInstaller::PlayPortClass(const std::string& id) {
    qxsim::Machine& machine = Machine();
    Device& port = *machine.Find(id);
    const std::string path = ToUtf8(qxsim::Machine::HardwareKeyPath(port.id));
    constexpr unsigned kFirstFree = 3;
    if (!machine.ReadText(path, "PortName")) {
        unsigned number = kFirstFree;
        while (machine.Claimed(number))
            ++number;
        const std::string name = "COM" + std::to_string(number);
        machine.SetClaimed(number, true);
        machine.WriteText(path, "PortName", name);
        machine.SetPropertyText(port, SPDRP_FRIENDLYNAME,
                                machine.PropertyText(port, SPDRP_DEVICEDESC) + " (" + name + ")");
        Say("(installer) the port gets the next free name, " + name);
    }
    machine.Stop(port);
    port.problem = 0;
    machine.Start(port);
}

void DeviceInstaller::ShowSaved(const std::string& adapter) {
    const auto key = Machine().HardwareKey(*Machine().Find(adapter));
    if (key == nullptr)
        return;
    for (const auto& [name, backup] : key->subkeys) {
        const qxsim::RegistryValue* const port_name = backup->Find(ToWide("PortName"));
        const std::size_t settings = backup->values.size() - (port_name == nullptr ? 0 : 1);
        Say("(saved) " + ToUtf8(backup->name) + ": " +
            (port_name == nullptr ? "no name" : ToUtf8(qxsim::BytesText(port_name->data))) + ", " +
            Counted(settings, "value") + (backup->subkeys.empty() ? "" : ", and those of its UI1 key"));
    }
}

void DeviceInstaller::Remove(const std::string& id) {
    for (const std::string& port : PortsBelow(id))
        Remove(port);
    Device* device = Machine().Find(id);
    if (device == nullptr)
        return;
    if (depth_ == 0)
        out_ << ShownName(Machine(), *device) << " (" << id << ")\n";
    const std::size_t programs = Machine().started_programs.size();
    bool refused = !PortsBelow(id).empty();
    if (!refused && EntryFor(RoleOf(Machine(), *device)) != nullptr) {
        COINSTALLER_CONTEXT_DATA context{};
        const DWORD answer = Ask(id, DIF_REMOVE, context);
        refused = answer != NO_ERROR && answer != ERROR_DI_DO_DEFAULT;
    }
    for (std::size_t i = programs; i < Machine().started_programs.size(); ++i)
        Say("(started) " + ToUtf8(Machine().started_programs[i].path));
    if (refused) {
        all_well_ = false;
        Say("(installer) " + id + " is not removed");
        return;
    }
    device = Machine().Find(id);
    if (device != nullptr)
        Machine().Remove(*device);
    Say("(installer) " + id + " is removed");
}

}  // namespace qxhost
