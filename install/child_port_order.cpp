// SPDX-License-Identifier: MIT
#include "install/child_port_order.h"

#include "base/handles.h"
#include "device_records/port_database.h"
#include "device_records/registry_layout.h"
#include "install/com_name.h"
#include "install/device_helpers.h"
#include "install/multi_device_products.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace qx {

namespace {

constexpr const WCHAR* kSortedMark = TEXT("ChildPortNameSorted");

// Numbers tried for the moment in which two ports swap their names. COM1 and COM2 are left to what is built
// into computers.
constexpr DWORD kFirstTemporaryNumber = 3;
constexpr DWORD kLastTemporaryNumber = 255;

// What tells a port from a device that has ports below it.
enum class PortTest {
    kPortsClassOrUnknown,  // a device directly below the adapter whose class cannot be read is taken for a
                           // port
    kPortsClass,           // further down it is left alone, with all that is below it
    kNone,                 // at the bottom everything is a port
};

// How the walk treats the devices of one level below the adapter. The levels differ because the drivers do:
// on the first level stand the adapter's own functions, on the second what a hub or an interface brings, on
// the third the ports of a device within a device.
struct Level {
    bool may_carry_mark;     // the mark is on a device of this level
    bool failed_open_stops;  // or else the device is passed over
    PortTest port_test;
};
constexpr std::array<Level, 3> kLevels{{
    {true, true, PortTest::kPortsClassOrUnknown},
    {false, true, PortTest::kPortsClass},
    {false, false, PortTest::kNone},
}};

enum class Kind { kPort, kBranch, kOther };

// One walk over an adapter's ports, and what it found.
class PortWalk {
  public:
    // `devices` receives the devices that the walk meets, and must outlive it.
    PortWalk(HDEVINFO devices, const SP_DEVINFO_DATA& adapter, bool ordered_too)
        : devices_(devices), ordered_too_(ordered_too) {
        found.marked = adapter;
    }

    // False when it is not the time to order this adapter: a device does not run yet or cannot be reached, a
    // port has no name, or the adapter was ordered before.
    [[nodiscard]] bool Visit(DEVINST parent, std::size_t level = 0);

    AdapterPorts found;

  private:
    [[nodiscard]] bool VisitDevice(DEVINST node, std::size_t level);
    [[nodiscard]] Kind KindOf(const SP_DEVINFO_DATA& device, PortTest test) const;
    [[nodiscard]] bool AddPort(const SP_DEVINFO_DATA& port);

    HDEVINFO devices_;
    bool ordered_too_;
};

bool PortWalk::Visit(DEVINST parent, std::size_t level) {
    for (std::optional<DEVINST> node = FirstChildOf(parent); node; node = NextSiblingOf(*node))
        if (!VisitDevice(*node, level))
            return false;
    return true;
}

bool PortWalk::VisitDevice(DEVINST node, std::size_t level) {
    const Level& rules = kLevels[level];
    const std::optional<InstanceId> id = InstanceIdOf(node);
    if (!id)
        return true;
    if (!IsStarted(node))
        return false;
    const std::optional<SP_DEVINFO_DATA> device = OpenDeviceIn(devices_, id->c_str());
    if (!device)
        return !rules.failed_open_stops;
    if (rules.may_carry_mark) {
        DWORD sorted = 0;
        if (!ordered_too_ && ReadDeviceDword(devices_, *device, kSortedMark, sorted) && sorted == 1)
            return false;
        found.marked = *device;
    }
    switch (KindOf(*device, rules.port_test)) {
        case Kind::kPort:
            return AddPort(*device);
        case Kind::kBranch:
            return Visit(node, level + 1);
        case Kind::kOther:
            break;
    }
    return true;
}

Kind PortWalk::KindOf(const SP_DEVINFO_DATA& device, PortTest test) const {
    if (test == PortTest::kNone)
        return Kind::kPort;
    Text class_name;
    if (!CQXDeviceRegInfo(devices_, device).GetClassString(class_name))
        return test == PortTest::kPortsClassOrUnknown ? Kind::kPort : Kind::kOther;
    return UpperCase(class_name) == TEXT("PORTS") ? Kind::kPort : Kind::kBranch;
}

bool PortWalk::AddPort(const SP_DEVINFO_DATA& port) {
    DeviceString name;
    if (!ReadDeviceString(devices_, port, kPortName, name))
        return false;
    found.numbers.push_back(static_cast<DWORD>(ComNumberOf(name)));
    found.ports.push_back(port);
    return true;
}

// Ports whose numbers are handed out again: real ones, or those of a plan.
class NumberedPorts {
  public:
    NumberedPorts() = default;
    virtual ~NumberedPorts() = default;
    NumberedPorts(const NumberedPorts&) = delete;
    NumberedPorts& operator=(const NumberedPorts&) = delete;

    [[nodiscard]] virtual bool ReadName(std::size_t port, DeviceString& name) const = 0;
    // A free number to step aside to, none of `in_use`.
    [[nodiscard]] virtual std::optional<DWORD> NumberAside(std::span<const DWORD> in_use) = 0;
    virtual void Rename(std::size_t port, const Text& name) = 0;
};

class RealPorts : public NumberedPorts {
  public:
    RealPorts(HDEVINFO devices, std::span<const SP_DEVINFO_DATA> ports) : devices_(devices), ports_(ports) {}

    [[nodiscard]] bool ReadName(std::size_t port, DeviceString& name) const override {
        return ReadDeviceString(devices_, ports_[port], kPortName, name);
    }
    [[nodiscard]] std::optional<DWORD> NumberAside(std::span<const DWORD> in_use) override {
        CPortUtil database;
        const PortDatabaseSession session(database);
        return FirstFreeNumber(database, kFirstTemporaryNumber, kLastTemporaryNumber, in_use);
    }
    // Renames without a question about programs that hold the port open, and without looking at the result: a
    // port that cannot be renamed keeps its name, and the others still get theirs.
    void Rename(std::size_t port, const Text& name) override {
        static_cast<void>(CCOMPortUtil(devices_, ports_[port]).RenameComPort(name));
    }

  private:
    HDEVINFO devices_;
    std::span<const SP_DEVINFO_DATA> ports_;
};

class PlannedPorts : public NumberedPorts {
  public:
    PlannedPorts(std::span<const Text> names, const std::array<bool, 256>& claims)
        : names_(names.begin(), names.end()), claims_(claims) {}

    [[nodiscard]] bool ReadName(std::size_t port, DeviceString& name) const override {
        name = {};
        name.Append(names_[port].view());
        return true;
    }
    [[nodiscard]] std::optional<DWORD> NumberAside(std::span<const DWORD> in_use) override {
        for (DWORD number = kFirstTemporaryNumber; number <= kLastTemporaryNumber; ++number)
            if (!claims_[number - 1] && std::ranges::find(in_use, number) == in_use.end())
                return number;
        return std::nullopt;
    }
    void Rename(std::size_t port, const Text& name) override {
        Claim(names_[port], false);
        Claim(name, true);
        plan.steps.push_back({port, names_[port], name});
        names_[port] = name;
    }

    OrderPlan plan;

  private:
    void Claim(const Text& name, bool claimed) {
        if (const auto number = static_cast<std::size_t>(ComNumberOf(name.view()));
            number >= 1 && number <= claims_.size())
            claims_[number - 1] = claimed;
    }

    std::vector<Text> names_;
    std::array<bool, 256> claims_;
};

// The first port whose name is exactly `name`; none when no port says so.
std::optional<std::size_t> FindHolder(const NumberedPorts& ports, std::size_t count, const Text& name) {
    for (std::size_t port = 0; port < count; ++port) {
        DeviceString held;
        if (ports.ReadName(port, held) && held == name.view())
            return port;
    }
    return std::nullopt;
}

// Gives port i the i-th number. False when it has to be given up for now.
bool HandOut(NumberedPorts& ports, std::span<const DWORD> numbers) {
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const Text target = ComNameOf(numbers[i]);
        DeviceString current;
        if (!ports.ReadName(i, current))
            return false;
        if (static_cast<DWORD>(ComNumberOf(current)) == numbers[i])
            continue;
        const std::optional<std::size_t> holder = FindHolder(ports, numbers.size(), target);
        if (!holder) {
            ports.Rename(i, target);
            continue;
        }
        // A number of one of the ports can look free, for example when a power failure took its claim;
        // stepping aside to it would give two ports one name.
        const std::optional<DWORD> aside = ports.NumberAside(numbers);
        // Without a number to step aside to, a swap would leave one of the two without a claim. The names
        // stay as they are, all of them valid, and the adapter unmarked: the installation of its next port
        // tries again.
        if (!aside)
            return false;
        // The names are made before the first of them is used: a swap that ran out of memory between its
        // renames would leave the holder on its temporary number.
        const Text temporary = ComNameOf(*aside);
        const Text former(current.view());
        ports.Rename(*holder, temporary);
        ports.Rename(i, target);
        ports.Rename(*holder, former);
    }
    return true;
}

}  // namespace

std::optional<InstanceId> AdapterOfPort(DEVINST port) {
    const std::optional<DEVINST> parent = ParentOf(port);
    std::optional<InstanceId> id = parent ? InstanceIdOf(*parent) : std::nullopt;
    if (!id || !IsMultiDeviceProduct(*id))
        return id;
    const std::optional<DEVINST> hub = ParentOf(*parent);
    const std::optional<DEVINST> adapter = hub ? ParentOf(*hub) : std::nullopt;
    return adapter ? InstanceIdOf(*adapter) : std::nullopt;
}

std::optional<AdapterPorts> FindAdapterPorts(HDEVINFO devices, const SP_DEVINFO_DATA& adapter,
                                             bool ordered_too) {
    PortWalk walk(devices, adapter, ordered_too);
    if (!walk.Visit(adapter.DevInst))
        return std::nullopt;
    return std::move(walk.found);
}

OrderPlan PlanOrder(std::span<const Text> names, const std::array<bool, 256>& claims) {
    std::vector<DWORD> numbers;
    for (const Text& name : names)
        numbers.push_back(static_cast<DWORD>(ComNumberOf(name.view())));
    PlannedPorts ports(names, claims);
    // Two ports with one number, which a user can choose, count as being in order.
    if (!std::ranges::is_sorted(numbers)) {
        std::ranges::sort(numbers);
        ports.plan.complete = HandOut(ports, numbers);
    }
    return std::move(ports.plan);
}

bool MarkAsOrdered(HDEVINFO devices, const AdapterPorts& adapter) {
    return WriteDeviceDword(devices, adapter.marked, kSortedMark, 1);
}

bool OrderChildPortNames(HDEVINFO /*device_set*/, const SP_DEVINFO_DATA& port) {
    const std::optional<InstanceId> adapter_id = AdapterOfPort(port.DevInst);
    if (!adapter_id)
        return false;
    // A set of its own: the installer's set holds the one port only.
    const DeviceSet devices(SetupDiCreateDeviceInfoList(nullptr, nullptr));
    if (!devices)
        return false;
    const std::optional<SP_DEVINFO_DATA> adapter = OpenDeviceIn(devices.Get(), adapter_id->c_str());
    if (!adapter)
        return true;
    std::optional<AdapterPorts> found = FindAdapterPorts(devices.Get(), *adapter, false);
    if (!found)
        return true;
    // Two ports with one number, which a user can choose, count as being in order.
    if (std::ranges::is_sorted(found->numbers)) {
        MarkAsOrdered(devices.Get(), *found);
        return true;
    }
    std::ranges::sort(found->numbers);
    // Goes by the decisions of PlanOrder, and reads every name again before it does: a port that could not be
    // renamed keeps its name, and the others still get theirs.
    RealPorts ports(devices.Get(), found->ports);
    if (!HandOut(ports, found->numbers))
        return true;
    MarkAsOrdered(devices.Get(), *found);
    DisableDevice(devices.Get(), found->marked);
    EnableDevice(devices.Get(), found->marked);
    return true;
}

}  // namespace qx
