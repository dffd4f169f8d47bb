#include "install/child_port_order.h"

#include "base/handles.h"
#include "device_records/com_port_util.h"
#include "device_records/port_database.h"
#include "device_records/registry_layout.h"
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
    PortWalk(HDEVINFO devices, const SP_DEVINFO_DATA& adapter)
        : devices_(devices), last_first_level_(adapter) {}

    // False when it is not the time to order this adapter: a device does not run yet or cannot be reached, a
    // port has no name, or the adapter was ordered before.
    [[nodiscard]] bool Visit(DEVINST parent, std::size_t level = 0);

    // The ports' COM numbers and the ports, both in walk order.
    std::vector<DWORD> numbers;
    std::vector<SP_DEVINFO_DATA> ports;

    // The device that receives the mark and the restart: the last one directly below the adapter, or the
    // adapter itself when there is none.
    SP_DEVINFO_DATA& LastFirstLevelDevice() { return last_first_level_; }

  private:
    [[nodiscard]] bool VisitDevice(DEVINST node, std::size_t level);
    [[nodiscard]] Kind KindOf(const SP_DEVINFO_DATA& device, PortTest test) const;
    [[nodiscard]] bool AddPort(const SP_DEVINFO_DATA& port);

    HDEVINFO devices_;
    SP_DEVINFO_DATA last_first_level_;
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
        if (ReadDeviceDword(devices_, *device, kSortedMark, sorted) && sorted == 1)
            return false;
        last_first_level_ = *device;
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
    numbers.push_back(static_cast<DWORD>(ComNumberOf(name)));
    ports.push_back(port);
    return true;
}

// The instance id of the node whose ports are ordered together with `port`.
std::optional<InstanceId> FindAdapter(DEVINST port) {
    const std::optional<DEVINST> parent = ParentOf(port);
    std::optional<InstanceId> id = parent ? InstanceIdOf(*parent) : std::nullopt;
    if (!id || !IsMultiDeviceProduct(*id))
        return id;
    const std::optional<DEVINST> hub = ParentOf(*parent);
    const std::optional<DEVINST> adapter = hub ? ParentOf(*hub) : std::nullopt;
    return adapter ? InstanceIdOf(*adapter) : std::nullopt;
}

// Renames without a question about programs that hold the port open, and without looking at the result: a
// port that cannot be renamed keeps its name, and the others still get theirs.
void Rename(HDEVINFO devices, const SP_DEVINFO_DATA& port, const Text& name) {
    static_cast<void>(CCOMPortUtil(devices, port).RenameComPort(name, nullptr, false, false));
}

// The first port whose name is exactly `name`; none when no port says so.
const SP_DEVINFO_DATA* FindHolder(HDEVINFO devices, const std::vector<SP_DEVINFO_DATA>& ports,
                                  const Text& name) {
    for (const SP_DEVINFO_DATA& port : ports) {
        DeviceString held;
        if (ReadDeviceString(devices, port, kPortName, held) && held == name)
            return &port;
    }
    return nullptr;
}

// Gives port i the i-th number. False when it has to be given up for now.
bool HandOut(HDEVINFO devices, const std::vector<SP_DEVINFO_DATA>& ports, const std::vector<DWORD>& numbers) {
    for (std::size_t i = 0; i < ports.size(); ++i) {
        const Text target = ComNameOf(numbers[i]);
        DeviceString current;
        if (!ReadDeviceString(devices, ports[i], kPortName, current))
            return false;
        if (static_cast<DWORD>(ComNumberOf(current)) == numbers[i])
            continue;
        const SP_DEVINFO_DATA* const holder = FindHolder(devices, ports, target);
        if (holder == nullptr) {
            Rename(devices, ports[i], target);
            continue;
        }
        CPortUtil database;
        PortDatabaseSession session(database);
        // A number of one of the ports can look free, for example when a power failure took its claim;
        // stepping aside to it would make two ports of one name.
        const std::optional<DWORD> aside =
            FirstFreeNumber(database, kFirstTemporaryNumber, kLastTemporaryNumber, numbers);
        session.Close();
        // Without a number to step aside to, a swap would leave one of the two without a claim. The names
        // stay as they are, all of them valid, and the adapter unmarked: the installation of its next port
        // tries again.
        if (!aside)
            return false;
        // The names are made before the first of them is used: a swap that ran out of memory between its
        // renames would leave the holder on its temporary number.
        const Text temporary = ComNameOf(*aside);
        const Text former(current.view());
        Rename(devices, *holder, temporary);
        Rename(devices, ports[i], target);
        Rename(devices, *holder, former);
    }
    return true;
}

}  // namespace

bool OrderChildPortNames(HDEVINFO /*set*/, const SP_DEVINFO_DATA& port) {
    const std::optional<InstanceId> adapter_id = FindAdapter(port.DevInst);
    if (!adapter_id)
        return false;
    // A set of its own: the installer's set holds the one port only.
    const DeviceSet devices(SetupDiCreateDeviceInfoList(nullptr, nullptr));
    if (!devices)
        return false;
    const std::optional<SP_DEVINFO_DATA> adapter = OpenDeviceIn(devices.Get(), adapter_id->c_str());
    if (!adapter)
        return true;

    PortWalk walk(devices.Get(), *adapter);
    if (!walk.Visit(adapter->DevInst))
        return true;
    SP_DEVINFO_DATA& marked = walk.LastFirstLevelDevice();
    // Two ports with one number, which a user can choose, count as being in order.
    if (std::ranges::is_sorted(walk.numbers)) {
        static_cast<void>(WriteDeviceDword(devices.Get(), marked, kSortedMark, 1));
        return true;
    }
    std::ranges::sort(walk.numbers);
    if (!HandOut(devices.Get(), walk.ports, walk.numbers))
        return true;
    static_cast<void>(WriteDeviceDword(devices.Get(), marked, kSortedMark, 1));
    DisableDevice(devices.Get(), marked);
    EnableDevice(devices.Get(), marked);
    return true;
}

}  // namespace qx
