// SPDX-License-Identifier: MIT
// Laws that hold for every adapter, tried on random ones. A failing case names its seed.
#include "tests/install/installer.h"

#include <algorithm>
#include <numeric>
#include <random>
#include <set>

namespace qxtest {
namespace {

using Names = std::vector<std::string>;

class RandomAdapters : public InstallTest {
  public:
    void Begin(unsigned seed) {
        random_.seed(seed);
        instruments().Reset();
        instruments().KeepTrace(false);
        Use(std::make_unique<qxsim::Machine>());
        numbers_.resize(256);
        std::iota(numbers_.begin(), numbers_.end(), 1U);
        std::ranges::shuffle(numbers_, random_);
    }
    std::size_t UpTo(std::size_t highest) {
        return std::uniform_int_distribution<std::size_t>(0, highest)(random_);
    }
    unsigned NextNumber() {
        const unsigned number = numbers_.back();
        numbers_.pop_back();
        return number;
    }

    // A device that is no port, or a port with a name that nobody else has.
    DEVINST Add(DEVINST parent, bool port) {
        qxsim::DeviceRecipe device;
        device.id = "QX\\" + std::string(port ? "PORT" : "PART") + "\\" + std::to_string(++devices_);
        if (port)
            device.port = "COM" + std::to_string(NextNumber());
        else
            device.setup_class = UpTo(1) == 0 ? "USB" : "MultiPortSerial";
        const DEVINST node = machine().AddDevice(parent, device);
        if (port)
            ports_.push_back(device.id);
        return node;
    }

    // An adapter with ports on three levels; ports_ has them in walk order. The first is directly below the
    // adapter.
    void AddTree() {
        ports_.clear();
        const DEVINST adapter = Add(qxsim::Machine::kRoot, false);
        Add(adapter, true);
        for (std::size_t first = UpTo(6); first > 0; --first) {
            const DEVINST branch = Add(adapter, UpTo(1) == 0);
            if (qxsim::Machine::IsPort(*machine().Node(branch)))
                continue;
            for (std::size_t second = UpTo(4); second > 0; --second) {
                const DEVINST twig = Add(branch, UpTo(1) == 0);
                if (qxsim::Machine::IsPort(*machine().Node(twig)))
                    continue;
                for (std::size_t third = UpTo(3); third > 0; --third)
                    Add(twig, true);
            }
        }
    }
    std::vector<int> Numbers() {
        std::vector<int> numbers;
        for (const std::string& id : ports_)
            numbers.push_back(std::stoi(PortName(id).substr(3)));
        return numbers;
    }

    std::mt19937 random_;
    std::vector<unsigned> numbers_;  // not used yet
    std::vector<std::string> ports_;
    unsigned devices_ = 0;
};

TEST_F(RandomAdapters, KeepTheirNumbersAndHaveThemInOrder) {
    for (unsigned seed = 0; seed < 400; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Begin(seed);
        AddTree();
        const std::vector<std::string> mine = ports_;
        for (std::size_t others = UpTo(100); others > 0; --others)
            machine().SetClaimed(NextNumber(), true);
        AddTree();  // a second adapter, which nobody installs
        const std::vector<int> neighbours = Numbers();
        const std::vector<std::string> theirs = std::exchange(ports_, mine);
        std::vector<int> wanted = Numbers();
        const bool in_order = std::ranges::is_sorted(wanted);
        std::ranges::sort(wanted);
        const std::vector<unsigned> claimed = machine().ClaimedNumbers();

        installer().CallBackPort(ports_.front());
        ASSERT_EQ(Numbers(), wanted);
        ASSERT_EQ(Disagreements(), "");
        ASSERT_EQ(machine().ClaimedNumbers(), claimed);
        ASSERT_EQ(Calls("SetupDiCallClassInstaller"), in_order ? 0U : 2U) << "one device is restarted, once";
        ASSERT_EQ(Calls("MessageBoxW"), 0U);
        // A second run finds the mark and moves nothing.
        const std::uint64_t moves = Calls("DefineDosDeviceW");
        installer().CallBackPort(ports_.front());
        ASSERT_EQ(Calls("DefineDosDeviceW"), moves);
        ASSERT_EQ(Numbers(), wanted);
        ports_ = theirs;
        ASSERT_EQ(Numbers(), neighbours);
    }
}

TEST_F(RandomAdapters, GetEveryNameBackWhenReinstalled) {
    for (unsigned seed = 1000; seed < 1150; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Begin(seed);
        // Two adapters at once, whose ports come in any order.
        AdapterRecipe adapters[] = {{.serial = "QXA"}, {.serial = "QXB"}};
        std::vector<std::string> order;
        for (AdapterRecipe& adapter : adapters) {
            for (std::size_t ports = 1 + UpTo(19); ports > 0; --ports)
                adapter.names.push_back("COM" + std::to_string(NextNumber()));
            AddAdapter(machine(), adapter);
            for (std::size_t i = 0; i < adapter.names.size(); ++i)
                order.push_back(PortId(adapter, i));
        }
        for (std::size_t others = UpTo(60); others > 0; --others)
            machine().SetClaimed(NextNumber(), true);
        const std::vector<unsigned> claimed = machine().ClaimedNumbers();
        std::ranges::shuffle(order, random_);

        for (const AdapterRecipe& adapter : adapters)
            installer().BeginReinstall(adapter);
        for (const std::string& port : order)
            installer().InstallPort(port);
        for (const AdapterRecipe& adapter : adapters)
            ASSERT_EQ(NamesOf(machine(), adapter), adapter.names);
        ASSERT_EQ(machine().ClaimedNumbers(), claimed);
        ASSERT_EQ(Disagreements(), "");
        ASSERT_EQ(Calls("MessageBoxW"), 0U);
    }
}

// Saving, restoring and looking at an order that is right meet each port once; docs/call-counts.md has the
// figures.
TEST_F(RandomAdapters, CostNoMoreCallsPerPortWhenTheyHaveMorePorts) {
    const auto calls = [this](unsigned ports) {
        Begin(0);
        AdapterRecipe adapter;
        for (unsigned i = 0; i < ports; ++i)
            adapter.names.push_back("COM" + std::to_string(10 + i));
        AddAdapter(machine(), adapter);
        installer().Reinstall(adapter);
        installer().CallBackPort(PortId(adapter, 0));
        return instruments().CallCount();
    };
    EXPECT_LT(calls(64), calls(16) * 42 / 10);
}

}  // namespace
}  // namespace qxtest
