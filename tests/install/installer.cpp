// SPDX-License-Identifier: MIT
#include "tests/install/installer.h"

#include "install/card_coinstaller.h"
#include "install/port_coinstaller.h"
#include "install/product_data.h"

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <numeric>

namespace qxtest {

std::string UsbVendor() {
    const std::string product = qxsim::ToUtf8(qx::FixedComNumberTable.front().port_hardware_id);
    return product.substr(0, product.find('&'));
}

std::string AdapterId(const AdapterRecipe& recipe) {
    return UsbVendor() + "&PID_" + recipe.product + recipe.usb_interface + "\\" + recipe.serial;
}

std::string PortId(const AdapterRecipe& recipe, std::size_t index) {
    char instance[8];
    std::snprintf(instance, sizeof(instance), "%04zu", index + 1);
    return "QXSER\\PORT" + std::to_string((index + 1) % 10) + "\\" + recipe.serial + recipe.usb_interface +
           "&" + instance;
}

qxsim::DeviceRecipe NewPort(const std::string& id) {
    qxsim::DeviceRecipe port;
    port.id = id;
    port.setup_class = "Ports";
    port.started = false;
    return port;
}

void AddAdapter(qxsim::Machine& machine, const AdapterRecipe& recipe) {
    qxsim::DeviceRecipe adapter;
    adapter.id = AdapterId(recipe);
    adapter.setup_class = "USB";
    const DEVINST node = machine.AddDevice(recipe.parent, adapter);
    for (std::size_t i = 0; i < recipe.names.size(); ++i) {
        qxsim::DeviceRecipe port = NewPort(PortId(recipe, i));
        if (!recipe.names[i].empty()) {
            port.port = recipe.names[i];
            port.started = true;
        }
        machine.AddDevice(node, port);
    }
}

void InstallByClass(qxsim::Machine& machine, const std::string& id) {
    qxsim::Device& port = *machine.Find(id);
    const std::string path = qxsim::ToUtf8(qxsim::Machine::HardwareKeyPath(port.id));
    if (!machine.ReadText(path, "PortName")) {
        unsigned number = 3;
        while (machine.Claimed(number))
            ++number;
        const std::string name = "COM" + std::to_string(number);
        machine.SetClaimed(number, true);
        machine.WriteText(path, "PortName", name);
        machine.SetPropertyText(port, SPDRP_FRIENDLYNAME, "Veltramark Serial Port (" + name + ")");
    }
    port.problem = 0;
    machine.Start(port);
}

std::vector<std::string> NamesOf(const qxsim::Machine& machine, const AdapterRecipe& recipe) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < recipe.names.size(); ++i) {
        const qxsim::Device* const port = machine.Find(PortId(recipe, i));
        names.push_back(port == nullptr ? "(gone)" : machine.PortName(*port));
    }
    return names;
}

DWORD Installer::Ask(CoInstaller entry, DI_FUNCTION request, const std::string& id, bool post_processing,
                     DWORD install_result) {
    SP_DEVINFO_DATA element{};
    const HDEVINFO set = [&] {
        // Other threads' calls work on the same computer.
        const std::lock_guard lock(qxsim::Instruments::The().Lock());
        return qxsim::HandDevice(machine_, *machine_.Find(id), element);
    }();
    COINSTALLER_CONTEXT_DATA context{};
    context.PostProcessing = post_processing ? TRUE : FALSE;
    context.InstallResult = install_result;
    const DWORD answer = entry(request, set, &element, &context);

    const bool first_install = request == DIF_INSTALLDEVICE && !post_processing;
    const DWORD wanted = first_install ? ERROR_DI_POSTPROCESSING_REQUIRED : install_result;
    const bool refused_update = request == DIF_UPDATEDRIVER_UI && answer == ERROR_DI_DONT_INSTALL;
    if (answer != wanted && !refused_update)
        wrong.push_back("request " + std::to_string(request) + " for " + id + " was answered by " +
                        std::to_string(answer) + " instead of " + std::to_string(wanted));
    return answer;
}

void Installer::CallBackPort(const std::string& id, DWORD result) {
    if (std::ranges::find(skip, id) != skip.end())
        return;
    Ask(&QxUCoInstallPort, DIF_INSTALLDEVICE, id, true, result);
    finished.push_back(id);
}

void Installer::InstallPort(const std::string& id, DWORD result) {
    if (std::ranges::find(skip, id) != skip.end())
        return;
    Ask(&QxUCoInstallPort, DIF_INSTALLDEVICE, id);
    InstallByClass(machine_, id);
    CallBackPort(id, result);
}

void Installer::BeginReinstall(const AdapterRecipe& recipe) {
    Ask(&QxUCoInstallCard, DIF_INSTALLDEVICE, AdapterId(recipe));
    for (std::size_t i = 0; i < recipe.names.size(); ++i)
        RemovePort(PortId(recipe, i));
    FindPorts(recipe);
    Ask(&QxUCoInstallCard, DIF_INSTALLDEVICE, AdapterId(recipe), true);
}

void Installer::Reinstall(const AdapterRecipe& recipe, std::vector<std::size_t> order) {
    BeginReinstall(recipe);
    if (order.empty()) {
        order.resize(recipe.names.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
    }
    for (const std::size_t index : order)
        InstallPort(PortId(recipe, index));
}

void Installer::FindPorts(const AdapterRecipe& recipe) {
    const DEVINST node = machine_.Find(AdapterId(recipe))->node;
    for (std::size_t i = 0; i < recipe.names.size(); ++i)
        if (machine_.Find(PortId(recipe, i)) == nullptr)
            machine_.AddDevice(node, NewPort(PortId(recipe, i)));
}

void Installer::RemovePort(const std::string& id) {
    if (machine_.Find(id) == nullptr)
        return;
    Ask(&QxUCoInstallPort, DIF_REMOVE, id);
    machine_.Remove(*machine_.Find(id));
}

}  // namespace qxtest
