// SPDX-License-Identifier: MIT
// The channel to a port's driver: what it asks, what it makes of the answers, and that it leaves nothing
// behind.
#include "tests/support/machine_fixture.h"
#include "tests/support/sweep.h"

#include "driver_access/bus_parameters.h"
#include "driver_access/parent_device.h"
#include "driver_access/product_data.h"
#include "driver_access/user_mode_config.h"
#include "driver_access/vcp_parameters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <functional>

namespace {

using qx::CQxSetupDi_ParentDevice;
using qx::CQxUBusUserModeInterface;
using qx::CQxUserModeConfig;
using qx::CQxUVcpUserModeInterface;
using qx::Text;
using qxsim::Bytes;
using qxsim::DriverRequest;
using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

constexpr const char* kAdapter = "USB\\VID_0F7A&PID_2104\\A1";
constexpr const char* kPort = "QXBUS\\PORT1\\7&1&0&0000";
constexpr const char* kOtherPort = "QXBUS\\PORT2\\7&1&0&0001";

class Channel : public qxtest::MachineTest {
  protected:
    void SetUp() override {
        MachineTest::SetUp();
        qxsim::DeviceRecipe adapter;
        adapter.id = kAdapter;
        adapter.setup_class = "USB";
        const DEVINST node = machine().AddDevice(qxsim::Machine::kRoot, adapter);
        for (const auto& [id, name] : {std::pair{kOtherPort, "COM4"}, std::pair{kPort, "COM5"}}) {
            qxsim::DeviceRecipe port;
            port.id = id;
            port.port = name;
            machine().AddDevice(node, port);
        }
        Driver().settings["Baudrate"] = 38400;
        Driver().defaults["Baudrate"] = 9600;
        Driver().bus["USB_LatencyTimer"] = 7;
        Driver().bus.interface_type = "USB 2.0";
        Driver().bus_defaults["USB_LatencyTimer"] = 16;
        Driver().bus_defaults.interface_type = "PCI Express";
    }

    qxsim::ControlDevice& Driver(const char* port = kPort) { return *Dev(port).control; }
    void Misbehave(DriverRequest request, qxsim::Misbehaviour how, DWORD selector = 0) {
        Driver().misbehaviour[{request, selector}] = std::move(how);
    }

    // The port's channel, found.
    struct Found {
        explicit Found(const Handed& handed) : channel(handed.set, handed.element) {
            EXPECT_TRUE(channel.FindInterface());
        }
        CQxUserModeConfig channel;
    };

    // The calls since `from`: the name, and what was given besides the handle, path or class it begins with.
    std::vector<std::string> CallsSince(std::size_t from) {
        std::vector<std::string> names;
        const auto trace = instruments().Trace();
        for (std::size_t i = from; i < trace.size(); ++i) {
            const std::size_t rest = trace[i].arguments.find(", ");
            if (trace[i].function != "GetLastError")
                names.push_back(trace[i].function +
                                (rest == std::string::npos ? "" : trace[i].arguments.substr(rest)));
        }
        return names;
    }
};

TEST_F(Channel, ReadsCurrentAndDefaultValuesOfItsOwnPortAndWritesThem) {
    Driver(kOtherPort).settings["Baudrate"] = 1;
    Found port(Hand(kPort));
    EXPECT_THAT(CallsSince(0), Contains("SetupDiGetClassDevsW, null, 18"));
    const std::string open = "CreateFileW, 0xC0000000, 0, 3, 0x40000000";
    CQxUVcpUserModeInterface set;
    std::size_t before = instruments().Trace().size();
    ASSERT_TRUE(port.channel.ReadSettings(set, qx::kPortSet));
    EXPECT_THAT(CallsSince(before), ElementsAre(open, "DeviceIoControl, 0x8001E000, 8, 4",
                                                "DeviceIoControl, 0x8001E004, 8, 132", "CloseHandle"));
    EXPECT_THAT(instruments().Trace()[before].arguments,
                StartsWith('"' + machine().ControlPath(Dev(kPort)) + '"'));
    EXPECT_EQ(set.Baudrate, 38400U);
    before = instruments().Trace().size();
    ASSERT_TRUE(port.channel.ReadDefaultSettings(set, qx::kPortSet));
    EXPECT_THAT(CallsSince(before), ElementsAre(open, "DeviceIoControl, 0x8001E010, 8, 4",
                                                "DeviceIoControl, 0x8001E014, 8, 132", "CloseHandle"));
    EXPECT_EQ(set.Baudrate, 9600U);

    CQxUBusUserModeInterface bus;
    ASSERT_TRUE(port.channel.ReadDefaultSettings(bus, qx::kBusSet));
    EXPECT_EQ(std::pair(bus.USB_LatencyTimer, bus.InterfaceType.text),
              std::pair(DWORD{16}, Text(TEXT("PCI Express"))));
    ASSERT_TRUE(port.channel.ReadSettings(bus, qx::kBusSet));
    EXPECT_EQ(bus.USB_LatencyTimer, 7U);
    EXPECT_EQ(bus.InterfaceType.text, Text(TEXT("USB 2.0")));
    bus.PolicyType = 0;
    ASSERT_TRUE(port.channel.WriteSettings(bus, qx::kBusSet));
    EXPECT_EQ(Driver().bus["PolicyType"], 0U);
    EXPECT_EQ(Driver().bus.interface_type, "USB 2.0");

    set.Baudrate = 115200;
    before = instruments().Trace().size();
    ASSERT_TRUE(port.channel.WriteSettings(set, qx::kPortSet));
    EXPECT_THAT(CallsSince(before), ElementsAre(open, "DeviceIoControl, 0x8001E008, 140, 0", "CloseHandle"));
    EXPECT_EQ(Driver().settings["Baudrate"], 115200U);
    ASSERT_EQ(Driver().writes.size(), 2U);
    EXPECT_EQ(Driver().writes[1].size(), 8U + 132U);
    EXPECT_THAT(Bytes(Driver().writes[0].begin(), Driver().writes[0].begin() + 8),
                ElementsAre(1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF));
}

TEST_F(Channel, FindsThePortByItsDriverKeyInAnyLetterCase) {
    machine().SetPropertyText(Dev(kPort), SPDRP_DRIVER, "{ABC}\\0\\042");
    auto& published = Dev(kPort).interfaces.at(0);
    published.reference = qxsim::UpperCase(qx::kControlReferencePrefix) + qxsim::ToWide("{Abc}0042");
    Found port(Hand(kPort));
    EXPECT_EQ(qxsim::ToUtf8(qxsim::WideString(port.channel.InterfacePath().view())),
              qxsim::ToUtf8(machine().InterfacePath(Dev(kPort), published)))
        << "as the platform spells it";

    // A key that only begins like another one is another port.
    published.reference = qx::kControlReferencePrefix + qxsim::ToWide("{abc}00421");
    const Handed handed = Hand(kPort);
    CQxUserModeConfig none(handed.set, handed.element);
    EXPECT_FALSE(none.FindInterface());
    EXPECT_TRUE(none.InterfacePath().empty());
}

TEST_F(Channel, WithoutAPathNothingIsOpened) {
    const Handed handed = Hand(kPort);
    CQxUserModeConfig channel(handed.set, handed.element);
    CQxUVcpUserModeInterface set;
    const std::size_t before = instruments().Trace().size();
    EXPECT_FALSE(channel.FindInterfacePath(TEXT("qxgendrv_x"))) << "the set of interfaces is not open";
    const auto asked = CallsSince(before).size();
    EXPECT_FALSE(channel.ReadSettings(set, 0));
    EXPECT_FALSE(channel.ReadDefaultSettings(set, 0));
    EXPECT_FALSE(channel.WriteSettings(set, 0));
    EXPECT_EQ(CallsSince(before).size(), asked);
}

TEST_F(Channel, AControlDeviceThatSomebodyHoldsOpenIsNotShared) {
    Found port(Hand(kPort));
    const HANDLE held = CreateFileW(port.channel.InterfacePath().c_str(), GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    CQxUVcpUserModeInterface set;
    EXPECT_FALSE(port.channel.ReadSettings(set, 0));
    EXPECT_FALSE(port.channel.WriteSettings(set, 0));
    CloseHandle(held);
    EXPECT_TRUE(port.channel.ReadSettings(set, 0));
}

TEST_F(Channel, FindsTheAdapterOfAPort) {
    const Handed handed = Hand(kPort);
    CQxSetupDi_ParentDevice parent(handed.set, handed.element);
    ASSERT_TRUE(parent.FindParent());
    EXPECT_THAT(CallsSince(0), Contains("SetupDiGetClassDevsW, null, 6"));
    EXPECT_EQ(parent.Parent().DevInst, Dev(kAdapter).node);
    ASSERT_TRUE(parent.FindParent()) << "a second search starts anew";

    const Handed top = Hand(kAdapter);
    CQxSetupDi_ParentDevice none(top.set, top.element);
    EXPECT_FALSE(none.FindParent()) << "the root of the tree is its parent, but no device of the set";
    SP_DEVINFO_DATA root = top.element;
    root.DevInst = qxsim::Machine::kRoot;
    CQxSetupDi_ParentDevice rootless(top.set, root);
    EXPECT_FALSE(rootless.FindParent()) << "the root has no parent";
}

// Everything that a broken or hostile driver can answer to the two requests of a read.
TEST_F(Channel, AnswersThatMakeNoSenseFailTheRead) {
    struct Case {
        const char* what;
        std::function<void(qxsim::Misbehaviour& size, qxsim::Misbehaviour& stream)> set_up;
        bool good;
    };
    const Case cases[] = {
        {"size refused", [](auto& size, auto&) { size.refuse = ERROR_NOT_SUPPORTED; }, false},
        {"stream refused", [](auto&, auto& stream) { stream.refuse = ERROR_GEN_FAILURE; }, false},
        {"size 0", [](auto& size, auto&) { size.size = 0; }, false},
        {"size 0 and an empty stream",
         [](auto& size, auto& stream) { size.size = 0, stream.stream = Bytes(); }, false},
        {"size of 4 GiB - 1 and an empty stream",
         [](auto& size, auto& stream) { size.size = 0xFFFFFFFF, stream.stream = Bytes(); }, false},
        {"no byte of the size", [](auto& size, auto&) { size.truncate = 0; }, false},
        {"half of the size", [](auto& size, auto&) { size.truncate = 2; }, true},
        {"size one too small",
         [](auto& size, auto& stream) { size.size = 131, stream.fill_what_fits = true; }, false},
        {"fewer bytes than promised", [](auto&, auto& stream) { stream.truncate = 131; }, false},
        {"more bytes than promised", [](auto&, auto& stream) { stream.extra = 1; }, false},
        {"more bytes claimed than the buffer holds",
         [](auto& size, auto& stream) {
             size.size = 100;
             stream.fill_what_fits = true;
             stream.claimed = 0xFFFFFFFF;
         },
         false},
        {"claims no bytes", [](auto&, auto& stream) { stream.claimed = 0; }, false},
        {"longer stream, truly announced",
         [](auto& size, auto& stream) { size.size = 140, stream.extra = 8; }, true},
    };
    Found port(Hand(kPort));
    for (const Case& c : cases) {
        qxsim::Misbehaviour size;
        qxsim::Misbehaviour stream;
        c.set_up(size, stream);
        Misbehave(DriverRequest::SettingsSize, size);
        Misbehave(DriverRequest::Settings, stream);
        CQxUVcpUserModeInterface set;
        EXPECT_EQ(port.channel.ReadSettings(set, qx::kPortSet), c.good) << c.what;
        EXPECT_EQ(instruments().CallCount("CreateFileW"), instruments().CallCount("CloseHandle")) << c.what;
    }
}

TEST_F(Channel, WhatCannotBeEncodedIsNotSent) {
    Found port(Hand(kPort));
    CQxUBusUserModeInterface bus;
    bus.InterfaceType.text = TEXT("\u0416");
    EXPECT_FALSE(port.channel.WriteSettings(bus, qx::kBusSet));
    EXPECT_EQ(bus.InterfaceType.status, -1);
    EXPECT_TRUE(Driver().writes.empty());
    qx::CSsInformationSet empty;
    EXPECT_FALSE(port.channel.WriteSettings(empty, qx::kPortSet)) << "the driver refuses it";
    ASSERT_EQ(Driver().writes.size(), 1U);
    EXPECT_EQ(Driver().writes[0].size(), 8U);
}

// Both ways by which single bytes become text, and what a failed one leaves.
TEST_F(Channel, FailedConversionsMarkTheText) {
    qx::CSsInformationSet set;
    qx::StringHolder name{Text(TEXT("old")), 0};
    qx::RegisteredDefault none;
    ASSERT_TRUE(set.AddElement(TEXT("Name"), &name, qx::kStringElement, none));
    const auto decode = [&](const Bytes& stream, DWORD options) {
        auto count = static_cast<DWORD>(stream.size());
        return set.Decode(stream.data(), count, options);
    };
    instruments().Inject({"MultiByteToWideChar", 1, false, ERROR_NO_UNICODE_TRANSLATION});
    EXPECT_FALSE(decode({'U', 'S', 'B', 0}, qx::SS_TERMINATED));
    EXPECT_EQ(name.status, -1);
    EXPECT_EQ(name.text, Text(TEXT("old")));

    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    EXPECT_FALSE(decode({3, 0, 0, 0, 'U', 0xF0, 0x9F}, qx::SS_LENGTH_PREFIXED)) << "half a character";
    EXPECT_EQ(name.status, -1);
    EXPECT_FALSE(decode({2, 0, 0, 0, 0xFF, 'U'}, qx::SS_LENGTH_PREFIXED)) << "no character";
    EXPECT_TRUE(decode({6, 0, 0, 0, 0xC3, 0xA9, 0xF0, 0x9F, 0x94, 0x8C}, qx::SS_LENGTH_PREFIXED));
    EXPECT_EQ(name.status, 0);
    EXPECT_EQ(name.text, Text(TEXT("\u00E9\xD83D\xDD0C")))
        << "one character beyond the basic plane, two units";
    std::setlocale(LC_CTYPE, "C");
}

// Finds the channel and the adapter, reads both sets, and at last writes the chosen one.
bool ReadAllThenWrite(const qxtest::MachineTest::Handed& handed, DWORD selector) {
    CQxUserModeConfig channel(handed.set, handed.element);
    CQxSetupDi_ParentDevice parent(handed.set, handed.element);
    CQxUVcpUserModeInterface port;
    CQxUBusUserModeInterface bus;
    if (!channel.FindInterface() || !channel.ReadSettings(port, qx::kPortSet) || !parent.FindParent() ||
        !channel.ReadSettings(bus, qx::kBusSet))
        return false;
    port.Baudrate = 57600;
    bus.PolicyType = 0;
    return selector == qx::kPortSet ? channel.WriteSettings(port, selector)
                                    : channel.WriteSettings(bus, selector);
}

// Every platform call of the road fails in turn. A closing that fails has done its part, and nobody needs its
// result; any other failure is told, and leaves the drivers as they were.
TEST_F(Channel, AFailureAnywhereIsAFailedOperationAndNothingElse) {
    for (const DWORD selector : {qx::kPortSet, qx::kBusSet}) {
        bool good = false;
        const auto faults = qxtest::ForEachFault(
            [this] { return machine().Clone(); },
            [&](qxsim::Machine& computer) {
                qxtest::MachineTest::Handed handed;
                handed.set = qxsim::HandDevice(computer, *computer.Find(kPort), handed.element);
                good = ReadAllThenWrite(handed, selector);
            },
            [&](qxsim::Machine& computer, const qxtest::FaultPoint& point) {
                const bool closing = point.call.starts_with("CloseHandle") ||
                                     point.call.starts_with("SetupDiDestroyDeviceInfoList");
                if (!point.for_good || !closing) {
                    EXPECT_EQ(good, closing) << point.Describe();
                }
                const auto& driver = *computer.Find(kPort)->control;
                const bool written = selector == qx::kPortSet ? driver.settings["Baudrate"] == 57600
                                                              : driver.bus["PolicyType"] == 0;
                EXPECT_EQ(written, good);
                if (!good) {
                    EXPECT_TRUE(driver.settings == Driver().settings && driver.bus == Driver().bus);
                }
            });
        EXPECT_GT(faults, 40U);
    }
}

}  // namespace
