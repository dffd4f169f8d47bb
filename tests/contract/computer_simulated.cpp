// SPDX-License-Identifier: MIT
// The simulated computer and desktop: one port of a maker's adapter.
#include "tests/contract/contract.h"

#include "platform/desktop/desktop.h"
#include "platform/machine/machine.h"

#include <memory>
#include <optional>

namespace contract {

namespace {

std::unique_ptr<qxsim::Machine> machine;
std::optional<qxsim::CurrentMachine> current;
Port port;

}  // namespace

bool OnWine() {
    return false;
}

const Port& TestPort() {
    return port;
}

const WCHAR* TypeLibraryFile() {
    return TEXT("C:\\Windows\\System32\\QxUUI10.DLL");
}

void RunModal(const std::function<void()>& work, const std::function<bool()>& step) {
    qxsim::Desktop::The().SetUser(step);
    work();
    qxsim::Desktop::The().SetUser({});
}

// The shipped file is asked where it runs.
std::vector<std::string> CallsWithoutContract(const std::set<std::string>&) {
    return {};
}

void Computer::SetUp() {
    machine = std::make_unique<qxsim::Machine>();
    current.emplace(*machine);
    qxsim::DeviceRecipe recipe;
    recipe.id = "ROOT\\QXTESTPORT\\0000";
    recipe.port = "COM7";
    recipe.description = "Test serial port";
    const DEVINST node = machine->AddDevice(qxsim::Machine::kRoot, recipe);
    port.set = qxsim::HandDevice(*machine, *machine->Node(node), port.element);
}

void Computer::TearDown() {
    // Closing what is not open is among the statements; what stays open is not.
    EXPECT_TRUE(qxsim::Instruments::The().StillOpen().empty()) << qxsim::Instruments::The().LedgerReport();
    current.reset();
    machine.reset();
}

}  // namespace contract
