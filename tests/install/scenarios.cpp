// SPDX-License-Identifier: MIT
#include "tests/install/scenarios.h"

#include "install/card_coinstaller.h"
#include "install/gpio_coinstaller.h"
#include "install/port_coinstaller.h"

namespace qxtest {

namespace {

constexpr const char* kGpio = "PCI\\VEN_0F7A&DEV_4101\\GPIO";

void AddForeignPort(qxsim::Machine& machine, const std::string& name) {
    qxsim::DeviceRecipe port;
    port.id = "FOREIGN\\PORT\\" + name;
    port.port = name;
    port.foreign = true;
    machine.AddDevice(qxsim::Machine::kRoot, port);
}

void AddDevice(qxsim::Machine& machine, const std::string& id, const std::string& setup_class,
               const std::string& location, DEVINST parent = qxsim::Machine::kRoot) {
    qxsim::DeviceRecipe device;
    device.id = id;
    device.setup_class = setup_class;
    if (!location.empty())
        device.location = location;
    machine.AddDevice(parent, device);
}

std::string KeyPath(const std::string& id) {
    return qxsim::ToUtf8(qxsim::Machine::HardwareKeyPath(qxsim::ToWide(id)));
}

const AdapterRecipe kReinstalled{.serial = "QXRE", .names = {"COM12", "COM7", "COM30"}};
const AdapterRecipe kUnordered{.serial = "QXORD", .names = {"COM7", "COM5", "COM6", "COM4"}};
const AdapterRecipe kFixed{.product = "2103", .serial = "QXFIX", .names = {"COM9"}};
const AdapterRecipe kFixedSibling{
    .product = "2204", .serial = "QXSIB", .names = {"COM10"}, .usb_interface = "&MI_00"};
const AdapterRecipe kFixedHolder{
    .product = "2202", .serial = "QXHOLD", .names = {"COM4"}, .usb_interface = "&MI_01"};
const AdapterRecipe kFailed{.serial = "QXFAIL", .names = {"COM21", "COM20"}};

void AddReinstalled(qxsim::Machine& machine) {
    AddForeignPort(machine, "COM3");
    AddAdapter(machine, kReinstalled);
    for (std::size_t i = 0; i < kReinstalled.names.size(); ++i) {
        const std::string key = KeyPath(PortId(kReinstalled, i));
        machine.WriteDword(key, "Baudrate", 115200);
        machine.WriteDword(key, "SupportedBaudRates", 0xFF);
        machine.WriteText(key + "\\UI1", "Label", "Scale");
    }
}

std::vector<Scenario> MakeScenarios() {
    std::vector<Scenario> all;
    const auto call_back = [](const AdapterRecipe& recipe, DWORD result = NO_ERROR) {
        return [&recipe, result](Installer& installer) {
            for (std::size_t i = 0; i < recipe.names.size(); ++i)
                installer.CallBackPort(PortId(recipe, i), result);
        };
    };
    const auto simple = [&](const char* name, std::function<void(qxsim::Machine&)> build,
                            const std::function<void(Installer&)>& run) {
        all.push_back({name, std::move(build), run, run});
    };

    all.push_back({"reinstallation", AddReinstalled,
                   [](Installer& installer) { installer.Reinstall(kReinstalled); },
                   [](Installer& installer) {
                       installer.FindPorts(kReinstalled);
                       for (std::size_t i = 0; i < kReinstalled.names.size(); ++i)
                           installer.InstallPort(PortId(kReinstalled, i));
                   }});
    simple(
        "ordering", [](qxsim::Machine& machine) { AddAdapter(machine, kUnordered); }, call_back(kUnordered));
    simple(
        "fixed number of a foreign device",
        [](qxsim::Machine& machine) {
            AddForeignPort(machine, "COM5");
            AddForeignPort(machine, "COM89");
            AddAdapter(machine, kFixed);
        },
        call_back(kFixed));
    simple(
        "fixed number of another product",
        [](qxsim::Machine& machine) {
            AddAdapter(machine, kFixedHolder);
            AddAdapter(machine, kFixedSibling);
        },
        call_back(kFixedSibling));
    simple(
        "multi-device product",
        [](qxsim::Machine& machine) {
            AddDevice(machine, "USB\\VID_0F7A&PID_9000\\A", "USB", "");
            AddDevice(machine, "USB\\VID_0F7A&PID_9001\\H", "USB", "",
                      machine.Find("USB\\VID_0F7A&PID_9000\\A")->node);
            const DEVINST hub = machine.Find("USB\\VID_0F7A&PID_9001\\H")->node;
            AddAdapter(machine,
                       {.product = "3104", .serial = "QXM1", .names = {"COM16", "COM15"}, .parent = hub});
            AddAdapter(machine, {.product = "3104", .serial = "QXM2", .names = {"COM14"}, .parent = hub});
        },
        [](Installer& installer) {
            installer.CallBackPort(PortId({.product = "3104", .serial = "QXM2"}, 0));
        });
    simple(
        "failed installation", [](qxsim::Machine& machine) { AddAdapter(machine, kFailed); },
        call_back(kFailed, 0xE0000203));
    simple(
        "removal",
        [](qxsim::Machine& machine) {
            AddAdapter(machine, kFailed);
            machine.WriteText(KeyPath(AdapterId(kFailed)), "UnInstall", "qxun.exe");
            machine.programs[machine.system_directory + TEXT("\\qxun.exe")] = {.runs_for = 5000};
        },
        [](Installer& installer) {
            installer.RemovePort(PortId(kFailed, 0));
            installer.RemovePort(PortId(kFailed, 1));
            installer.Ask(&QxUCoInstallCard, DIF_REMOVE, AdapterId(kFailed));
        });
    simple(
        "GPIO removal",
        [](qxsim::Machine& machine) {
            AddDevice(machine, kGpio, "System", "PCI bus 3, device 0, function 0");
            AddDevice(machine, "PCI\\OTHER", "MultiPortSerial", "PCI bus 4, device 0, function 1");
            AddDevice(machine, "PCI\\SERIAL", "MultiPortSerial", "PCI bus 3, device 0, function 1");
        },
        [](Installer& installer) { installer.Ask(&QxUCoInstallGpio, DIF_REMOVE, kGpio); });
    simple(
        "driver update",
        [](qxsim::Machine& machine) {
            AddDevice(machine, kGpio, "System", "");
            machine.WriteText(KeyPath(kGpio), "NoUpgrade", "1");
        },
        [](Installer& installer) {
            for (const CoInstaller entry : {&QxUCoInstallPort, &QxUCoInstallCard, &QxUCoInstallGpio})
                installer.Ask(entry, DIF_UPDATEDRIVER_UI, kGpio);
        });
    return all;
}

}  // namespace

const std::vector<Scenario>& Scenarios() {
    static const std::vector<Scenario> all = MakeScenarios();
    return all;
}

}  // namespace qxtest
