// SPDX-License-Identifier: MIT
// The device installer's part in an installation, and adapters for it to install.
//
// The tests call the co-installers the way the device installer does: first call, the platform's own work,
// call back.
#pragma once

#include "tests/support/machine_fixture.h"

#include "admin/name_report.h"

#include <optional>
#include <string>
#include <vector>

namespace qxtest {

using CoInstaller = DWORD(CALLBACK*)(DI_FUNCTION, HDEVINFO, PSP_DEVINFO_DATA,
                                     PCOINSTALLER_CONTEXT_DATA) noexcept;

// An adapter whose ports are children of it. `names` are the ports' COM names in tree order; an empty one is
// a port that is not installed yet.
struct AdapterRecipe {
    std::string product = "1104";  // of the USB id
    std::string serial = "QX000001";
    std::vector<std::string> names = {};
    std::string usb_interface = {};  // "&MI_00" for ports below one interface of a device
    DEVINST parent = qxsim::Machine::kRoot;
};

// "USB\\VID_xxxx", the maker's.
[[nodiscard]] std::string UsbVendor();
[[nodiscard]] std::string AdapterId(const AdapterRecipe& recipe);
[[nodiscard]] std::string PortId(const AdapterRecipe& recipe, std::size_t index);
// A port that is there but was never installed: no name, not started.
[[nodiscard]] qxsim::DeviceRecipe NewPort(const std::string& id);
void AddAdapter(qxsim::Machine& machine, const AdapterRecipe& recipe);

// Makes the requests of one installation on a machine, which must be the current one. Every answer that the
// device installer would take for a failure, and every first call that does not ask for the call back, is
// noted in `wrong`.
class Installer {
  public:
    explicit Installer(qxsim::Machine& machine) : machine_(machine) {}

    // One call of an entry for a device.
    DWORD Ask(CoInstaller entry, DI_FUNCTION request, const std::string& id, bool post_processing = false,
              DWORD install_result = NO_ERROR);

    // First call, the port class installer's work (the next free name, if the port has none, and starting
    // it), call back with `result`.
    void InstallPort(const std::string& id, DWORD result = NO_ERROR);
    // As InstallPort without the first call and the class installer's work.
    void CallBackPort(const std::string& id, DWORD result = NO_ERROR);
    // Installs an adapter again: saves, removes its ports and makes them anew without names, calls back,
    // installs each port. `order` is the order in which the ports are installed, as indices; tree order when
    // empty.
    void Reinstall(const AdapterRecipe& recipe, std::vector<std::size_t> order = {});
    // The first half of Reinstall, up to the adapter's call back.
    void BeginReinstall(const AdapterRecipe& recipe);
    // What the adapter's bus does when it starts: ports that are not known become new devices.
    void FindPorts(const AdapterRecipe& recipe);
    // Asks the co-installer, then removes the port, unless it is gone already.
    void RemovePort(const std::string& id);

    std::vector<std::string> wrong;
    // Ports whose call back has ended, and ports that are not to be installed because theirs had.
    std::vector<std::string> finished;
    std::vector<std::string> skip;

  private:
    qxsim::Machine& machine_;
};

// What the port class installer does for a port: the lowest free name from COM3 on where it has none, and the
// start.
void InstallByClass(qxsim::Machine& machine, const std::string& id);

// "PortName" of an adapter's ports in tree order.
[[nodiscard]] std::vector<std::string> NamesOf(const qxsim::Machine& machine, const AdapterRecipe& recipe);

class InstallTest : public MachineTest {
  public:
    void TearDown() override {
        EXPECT_EQ(installer_.value_or(Installer(machine())).wrong, std::vector<std::string>{});
        MachineTest::TearDown();
    }

    // Goes on with another computer, and with an installer for it.
    qxsim::Machine& Use(std::unique_ptr<qxsim::Machine> next) {
        EXPECT_EQ(installer_.value_or(Installer(machine())).wrong, std::vector<std::string>{});
        installer_.reset();
        return MachineTest::Use(std::move(next));
    }
    // The installer for the present machine.
    Installer& installer() {
        if (!installer_)
            installer_.emplace(machine());
        return *installer_;
    }

    [[nodiscard]] std::string PortName(const std::string& id) { return machine().PortName(Dev(id)); }
    [[nodiscard]] std::optional<std::uint32_t> SortedMark(const std::string& id) {
        return machine().ReadDword(KeyPath(id), "ChildPortNameSorted");
    }
    [[nodiscard]] std::optional<std::string> PortsEntry(const std::string& name) {
        return machine().ReadText(qxsim::kPortsPath, name + ":");
    }
    [[nodiscard]] static std::string KeyPath(const std::string& id) {
        return qxsim::ToUtf8(qxsim::Machine::HardwareKeyPath(qxsim::ToWide(id)));
    }
    // Empty when every port's places agree.
    [[nodiscard]] std::string Disagreements() { return qxports::ReportNames(qxports::Computer()).Faults(); }
    [[nodiscard]] static std::uint64_t Calls(std::string_view function) {
        return instruments().CallCount(function);
    }

  private:
    std::optional<Installer> installer_;
};

}  // namespace qxtest
