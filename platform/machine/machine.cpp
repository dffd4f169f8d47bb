// SPDX-License-Identifier: MIT
#include "driver_access/product_data.h"
#include "platform/machine/machine_internal.h"

#include <algorithm>
#include <utility>

namespace qxsim {

namespace {

Machine* current_machine = nullptr;

}  // namespace

MachineState::MachineState()
    : system_directory(ToWide("C:\\Windows\\system32")),
      control_class(qx::kControlInterfaceClass),
      claimed(256) {
    for (const HKEY hive :
         {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_USERS, HKEY_CURRENT_CONFIG})
        hives.emplace(HiveNumber(hive), std::make_shared<RegistryKey>());
    devices.resize(2);
    Device& root = devices[Machine::kRoot];
    root.node = Machine::kRoot;
    root.id = ToWide("HTREE\\ROOT\\0");
}

MachineState::MachineState(const MachineState& other) {
    *this = other;
}

MachineState& MachineState::operator=(const MachineState& other) {
    if (this == &other)
        return *this;
    schema = other.schema;
    about = other.about;
    major_version = other.major_version;
    minor_version = other.minor_version;
    build = other.build;
    system_directory = other.system_directory;
    control_class = other.control_class;
    hives = other.hives;
    for (auto& [number, key] : hives)
        key = key->Clone();
    devices = other.devices;
    claimed = other.claimed;
    programs = other.programs;
    dos_names = other.dos_names;
    return *this;
}

Passthrough& ThePassthrough() {
    static Passthrough passthrough;
    return passthrough;
}

Machine::Machine() : handles_(std::make_unique<HandleTable>()) {
    for (const char* path : {"Software", kPortsPath, kEnumPath, kClassPath})
        MakeKey(ToWide(path));
    MakeKey(ToWide("Hardware\\DeviceMap"), HKEY_LOCAL_MACHINE, true);
}

Machine::Machine(MachineState state)
    : MachineState(std::move(state)), handles_(std::make_unique<HandleTable>()) {
    Boot();
}

Machine::~Machine() = default;

Machine& Machine::Current() {
    if (current_machine == nullptr) {
        static Machine empty;
        current_machine = &empty;
    }
    return *current_machine;
}

CurrentMachine::CurrentMachine(Machine& machine) : previous_(current_machine) {
    const std::lock_guard guard(Instruments::The().Lock());
    current_machine = &machine;
}

CurrentMachine::~CurrentMachine() {
    const std::lock_guard guard(Instruments::The().Lock());
    current_machine = previous_;
}

void Machine::Boot() {
    for (Device& device : devices) {
        if (device.node != kRoot)
            device.started = false;
        if (device.disabled)  // also one that was in use when it was disabled, and stayed up until now
            device.problem = CM_PROB_DISABLED;
        device.held_open_by.clear();
        if (device.control)
            device.control->writes.clear();
        DropDosNamesOf(device.kernel_path);
    }
    // Entries of no modelled device belong to other drivers, which would create them again at start.
    std::vector<RegistryValue> others;
    if (const auto map = FindKey(ToWide(kSerialCommPath))) {
        std::ranges::copy_if(map->values, std::back_inserter(others), [&](const RegistryValue& entry) {
            return std::ranges::none_of(devices, [&](const Device& device) {
                return EqualsCaseless(device.kernel_path, entry.name);
            });
        });
    }
    for (auto& [number, hive] : hives)
        hive->DropVolatileKeys();
    MakeKey(ToWide("Hardware\\DeviceMap"), HKEY_LOCAL_MACHINE, true);
    if (!others.empty())
        MakeKey(ToWide(kSerialCommPath), HKEY_LOCAL_MACHINE, true)->values = std::move(others);
    for (const DEVINST child : std::vector(devices[kRoot].children))
        Start(devices[child]);
}

std::unique_ptr<Machine> Machine::Reopen(const MachineState& state) {
    return std::make_unique<Machine>(MachineState(state));
}

std::unique_ptr<Machine> Machine::Clone() const {
    auto twin = std::make_unique<Machine>();
    // Only the state is copied, on purpose.
    static_cast<MachineState&>(*twin) = *this;  // NOLINT(cppcoreguidelines-slicing)
    twin->database_broken = database_broken;
    twin->refused_mutexes = refused_mutexes;
    twin->clock = clock;
    return twin;
}

}  // namespace qxsim
