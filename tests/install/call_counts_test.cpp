// How many platform calls the naming operations make, against how many their steps demand, and how that grows
// with the number of ports. The table that this prints stands in docs/call-counts.md.
#include "tests/install/installer.h"

#include "install/child_port_order.h"
#include "install/com_name.h"
#include "install/port_backup.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <iostream>

namespace qxtest {
namespace {

// What the steps cost in calls. Reading and setting the last error, which every error path does and no system
// call is made for, is not counted.
constexpr std::uint64_t kReadValue = 3;   // open the hardware key, query, close
constexpr std::uint64_t kWriteValue = 3;  // open, set, close
constexpr std::uint64_t kInstanceId = 2;  // length, id
constexpr std::uint64_t kUpperCase = 1;
constexpr std::uint64_t kPropertyText = 4;     // size, memory, text, free
constexpr std::uint64_t kSetPropertyText = 3;  // memory, set, free
constexpr std::uint64_t kPortsEntry = kReadValue + 3;
constexpr std::uint64_t kMarkPending = 2;  // get and set the install parameters
constexpr std::uint64_t kChangeState = 4;  // get and set those, set the request, call the class installer
constexpr std::uint64_t kMoveDosName = 6;  // query, remove, define; open the map, set, close
constexpr std::uint64_t kLook = 1;         // at the usage map

// To a number that is free: product, old name; open, look, move, release, claim, close; friendly name,
// "PortName", default settings, pending change.
constexpr std::uint64_t kRename = 1 + kInstanceId + kUpperCase + kReadValue +
                                  (1 + kLook + kMoveDosName + 1 + 1 + 1) + kPropertyText + kSetPropertyText +
                                  kWriteValue + kPortsEntry + kMarkPending;

// Finding the adapter, a set with it in it, the walk, the mark.
std::uint64_t DemandedInOrder(std::uint64_t n) {
    const std::uint64_t find = 1 + kInstanceId + kUpperCase;
    const std::uint64_t each = kInstanceId + 2 + kReadValue + kPropertyText + kUpperCase + kReadValue;
    return find + 2 + (n + 1) + n * each + kWriteValue + 1;
}

// In reversed order port i's number is held by port n-1-i for every i of the first half: a search for it, a
// look for a number to step aside to (`looks`), and three renames. At the end the last device is restarted.
std::uint64_t DemandedReversed(std::uint64_t n, std::uint64_t looks) {
    std::uint64_t calls = DemandedInOrder(n) + n * kReadValue + 2 * kChangeState;
    for (std::uint64_t i = 0; i < n / 2; ++i)
        calls += (n - i) * kReadValue + 2 + looks * kLook + 3 * kRename;
    return calls;
}

// What each port has in the tests below: numbers of which one is a capability, its name; and "UI1".
constexpr std::uint64_t kNumbers = 6;
constexpr std::uint64_t kUi1Values = 3;

std::uint64_t DemandedSave(std::uint64_t n) {
    const std::uint64_t keys = 4 * 2;  // backup, port, both "UI1": open or create, and close
    const std::uint64_t each =
        kInstanceId + keys + (kNumbers + 1 + 1) + (kNumbers + 1) + (kUi1Values + 1) + kUi1Values;
    return 2 + (n + 1) + n * each;
}

// Key, parent's id, own id; the backup's values; the name: open at all, a number that is free, rename; "UI1";
// delete.
std::uint64_t DemandedRestore() {
    const std::uint64_t values = 2 + (kNumbers + 1 + 1) + (kNumbers - 1);
    const std::uint64_t name = kReadValue + 2 + (2 + kLook) + kRename;
    const std::uint64_t ui1 = 4 + (kUi1Values + 1) + kUi1Values;
    return 2 + 1 + kInstanceId + kInstanceId + values + name + ui1 + (2 + 2);
}

class CallCounts : public InstallTest {
  public:
    static std::uint64_t Counted() {
        return instruments().CallCount() - Calls("GetLastError") - Calls("SetLastError");
    }
    // Runs `operation` and adds a row.
    template <typename Operation>
    void Measure(const char* name, std::size_t n, std::uint64_t demanded, Operation operation) {
        instruments().Reset();
        instruments().KeepTrace(false);
        operation();
        const std::uint64_t made = Counted();
        EXPECT_EQ(made, demanded) << name << " of " << n;
        char row[160];
        std::snprintf(row, sizeof(row), "| %-27s | %5zu | %8llu | %8llu | %8.1f |\n", name, n,
                      static_cast<unsigned long long>(made), static_cast<unsigned long long>(demanded),
                      static_cast<double>(made) / static_cast<double>(n));
        std::cout << row;
    }
    static AdapterRecipe Numbered(std::size_t n, bool reversed) {
        AdapterRecipe adapter;
        const std::size_t first = n > 200 ? 1 : 10;
        for (std::size_t i = 0; i < n; ++i)
            adapter.names.push_back("COM" + std::to_string(first + i));
        if (reversed)
            std::ranges::reverse(adapter.names);
        return adapter;
    }
    void AddSettings(const AdapterRecipe& adapter) {
        for (std::size_t i = 0; i < adapter.names.size(); ++i) {
            const std::string key = KeyPath(PortId(adapter, i));
            for (std::uint64_t value = 1; value < kNumbers; ++value)
                machine().WriteDword(key, "Setting" + std::to_string(value), 1);
            machine().WriteDword(key, "SupportedSettings", 1);
            for (std::uint64_t value = 0; value < kUi1Values; ++value)
                machine().WriteText(key + "\\UI1", "Label" + std::to_string(value), "Scale");
        }
    }
};

TEST_F(CallCounts, AreWhatTheStepsDemand) {
    std::cout << "| operation                   | ports |    calls | demanded | per port |\n"
              << "|-----------------------------|------:|---------:|---------:|---------:|\n";
    AdapterRecipe single{.names = {"COM9"}};
    AddAdapter(machine(), single);
    Handed port = Hand(PortId(single, 0));
    Measure("rename to a free number", 1, kRename, [&] {
        EXPECT_TRUE(
            qx::CCOMPortUtil(port.set, port.element).RenameComPort(TEXT("COM8"), nullptr, false, false));
    });
    for (const bool reversed : {false, true})
        for (const std::size_t n : {2U, 4U, 16U, 64U, 254U}) {
            Use(std::make_unique<qxsim::Machine>());
            const AdapterRecipe adapter = Numbered(n, reversed);
            AddAdapter(machine(), adapter);
            port = Hand(PortId(adapter, 0));
            // The number to step aside to: COM3, or COM255 when the ports have 1 to 254.
            const std::uint64_t looks = n > 200 ? 253 : 1;
            Measure(reversed ? "order, all reversed" : "order, in order already", n,
                    reversed ? DemandedReversed(n, looks) : DemandedInOrder(n),
                    [&] { EXPECT_TRUE(qx::OrderChildPortNames(port.set, port.element)); });
            EXPECT_EQ(NamesOf(machine(), adapter), Numbered(n, false).names);
        }
    for (const std::size_t n : {1U, 4U, 16U, 64U}) {
        Use(std::make_unique<qxsim::Machine>());
        const AdapterRecipe adapter = Numbered(n, false);
        AddAdapter(machine(), adapter);
        AddSettings(adapter);
        const Handed card = Hand(AdapterId(adapter));
        Measure("save", n, DemandedSave(n), [&] { qx::SavePortBackups(card.set, card.element); });

        // The first restore of a process also looks RegDeleteKeyExW up.
        AdapterRecipe other{.serial = "QXOTHER", .names = {"COM100"}};
        AddAdapter(machine(), other);
        installer().Reinstall(other);
        // Ports come back under other names.
        for (std::size_t i = 0; i < n; ++i)
            installer().RemovePort(PortId(adapter, i));
        installer().FindPorts(adapter);
        for (std::size_t i = 0; i < 8; ++i)
            machine().SetClaimed(static_cast<unsigned>(i) + 3, true);
        std::vector<Handed> ports;
        for (std::size_t i = 0; i < n; ++i)
            machine().SetClaimed(static_cast<unsigned>(10 + i), true);
        for (std::size_t i = 0; i < n; ++i) {
            InstallByClass(machine(), PortId(adapter, i));
            ports.push_back(Hand(PortId(adapter, i)));
        }
        for (std::size_t i = 0; i < n; ++i)
            machine().SetClaimed(static_cast<unsigned>(10 + i), false);
        Measure("restore", n, n * DemandedRestore(), [&] {
            for (const Handed& each : ports)
                EXPECT_TRUE(qx::RestorePortBackup(each.set, each.element));
        });
        EXPECT_EQ(NamesOf(machine(), adapter), adapter.names);
    }
}

// A user waits for a reinstallation; the part that is ours must not be noticed.
TEST_F(CallCounts, SixteenPortsAreReinstalledInNoTime) {
    double best = 1e9;
    for (int round = 0; round < 5; ++round) {
        Use(std::make_unique<qxsim::Machine>());
        const AdapterRecipe adapter = Numbered(16, true);
        AddAdapter(machine(), adapter);
        AddSettings(adapter);
        instruments().Reset();
        instruments().KeepTrace(false);
        const std::clock_t start = std::clock();
        installer().Reinstall(adapter);
        best = std::min(best, static_cast<double>(std::clock() - start) * 1000.0 / CLOCKS_PER_SEC);
        EXPECT_EQ(NamesOf(machine(), adapter), adapter.names);
    }
    std::cout << "reinstallation of 16 ports: " << best << " ms of processor time, " << Counted()
              << " calls\n";
    EXPECT_LT(best, 50.0);
}

}  // namespace
}  // namespace qxtest
