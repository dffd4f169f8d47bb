// SPDX-License-Identifier: MIT
// The names that adapters' ports end up with, as a field engineer meets them: reinstallation, adapters among
// each other, products with fixed numbers, and the order of one adapter's numbers.
#include "tests/install/installer.h"

#include "device_records/registry_layout.h"
#include "install/card_coinstaller.h"
#include "install/com_name.h"
#include "install/device_helpers.h"
#include "install/fixed_com_numbers.h"
#include "install/multi_device_products.h"
#include "install/product_data.h"
#include "platform/desktop/desktop.h"

#include <algorithm>

namespace qxtest {
namespace {

using Names = std::vector<std::string>;
using qxsim::Desktop;

class Naming : public InstallTest {
  public:
    void SetUp() override {
        InstallTest::SetUp();
        Desktop::The().Reset();
        // Whoever is asked for no reason notices.
        Desktop::The().SetAnswers([](const qxsim::ShownBox&) { return IDNO; });
    }
    void TearDown() override {
        EXPECT_EQ(Disagreements(), "");
        InstallTest::TearDown();
    }
    std::string AddPort(const std::string& id, const std::string& name, bool plugged = true) {
        qxsim::DeviceRecipe port;
        port.id = id;
        port.port = name;
        port.foreign = true;
        port.plugged = plugged;
        machine().AddDevice(qxsim::Machine::kRoot, port);
        return id;
    }
    [[nodiscard]] static std::string BackupPath(const AdapterRecipe& adapter, std::size_t port) {
        const qxsim::WideString id = qxsim::ToWide(PortId(adapter, port));
        return KeyPath(AdapterId(adapter)) + '\\' +
               qxsim::ToUtf8(qx::PortBackupKeyName(qx::Text(id.c_str())).view());
    }
    // What a key holds: the names of its values in their order, then those of its subkeys; "-" without a key.
    [[nodiscard]] Names Content(const std::string& path) {
        const std::shared_ptr<qxsim::RegistryKey> key = machine().FindKey(qxsim::ToWide(path));
        if (key == nullptr)
            return {"-"};
        Names names;
        for (const qxsim::RegistryValue& value : key->values)
            names.push_back(qxsim::ToUtf8(value.name));
        for (const auto& subkey : key->subkeys)
            names.push_back(qxsim::ToUtf8(subkey.first));
        return names;
    }
    // Devices whose state was changed, by their ids: two entries a restart.
    [[nodiscard]] Names Restarts() {
        Names ids;
        for (const qxsim::CallRecord& call : instruments().Trace())
            if (call.function == "SetupDiCallClassInstaller") {
                const std::string node = call.arguments.substr(call.arguments.rfind(' ') + 1);
                ids.push_back(qxsim::ToUtf8(machine().Node(static_cast<DEVINST>(std::stoul(node)))->id));
            }
        return ids;
    }
    static std::size_t Questions() { return Desktop::The().Boxes().size(); }
    qx::CCOMPortUtil Port(const std::string& id) {
        const Handed handed = Hand(id);
        return qx::CCOMPortUtil(handed.set, handed.element);
    }
};

// --- reinstallation

using Reinstallation = Naming;

TEST_F(Reinstallation, OfAllPortsGivesTheUsersNamesAndSettingsBack) {
    AdapterRecipe adapter{.names = {"COM12", "COM7", "COM200", "COM9", "COM3"}};
    AddAdapter(machine(), adapter);
    const auto key = [&](std::size_t i) { return KeyPath(PortId(adapter, i)); };
    for (std::size_t i = 0; i < adapter.names.size(); ++i) {
        machine().WriteDword(key(i), "Baudrate", 9600 * (static_cast<std::uint32_t>(i) + 1));
        machine().WriteDword(key(i), "SupportedBaudRates", 0xFFFF);
        machine().WriteText(key(i), "Comment", "the driver's own");
        machine().WriteText(key(i) + "\\UI1", "Label", "Scale " + std::to_string(i));
        machine().WriteDword(key(i) + "\\UI1", "SupportedColour", 3);
        for (const char* const subkey : {"", "\\UI1"})
            machine().FindKey(qxsim::ToWide(key(i) + subkey))->Set(TEXT("Calibration"), REG_BINARY, {1, 2});
    }
    // An installation that broke off left a backup, and one port's name is spelled as no port's is.
    machine().WriteDword(BackupPath(adapter, 0), "Older", 5);
    machine().WriteDword(BackupPath(adapter, 0), "Baudrate", 300);
    machine().HardwareKey(Dev(PortId(adapter, 4)))->Find(TEXT("PortName"))->name = TEXT("PORTNAME");
    installer().BeginReinstall(adapter);
    EXPECT_EQ(Content(BackupPath(adapter, 0)),
              (Names{"Older", "Baudrate", "PortName", "SupportedBaudRates", "UI1"}));
    EXPECT_EQ(Content(BackupPath(adapter, 1)), (Names{"PortName", "Baudrate", "SupportedBaudRates", "UI1"}));
    EXPECT_EQ(Content(BackupPath(adapter, 4)), (Names{"Baudrate", "SupportedBaudRates", "UI1"}));
    EXPECT_EQ(Content(BackupPath(adapter, 1) + "\\UI1"), (Names{"Label", "SupportedColour"}));
    EXPECT_EQ(machine().ReadText(BackupPath(adapter, 0), "PortName"), "COM12");
    EXPECT_EQ(machine().ReadDword(BackupPath(adapter, 0), "Baudrate"), 9600U);
    EXPECT_EQ(machine().ReadDword(BackupPath(adapter, 0), "Older"), 5U);
    EXPECT_EQ(machine().ReadText(BackupPath(adapter, 1) + "\\UI1", "Label"), "Scale 1");
    // The new driver has capabilities of its own, and the ports come up under other names.
    machine().WriteDword(key(0), "SupportedBaudRates", 0xABCD);
    for (const std::size_t i : {2U, 0U, 3U, 1U, 4U})
        installer().InstallPort(PortId(adapter, i));

    EXPECT_EQ(NamesOf(machine(), adapter), adapter.names);
    EXPECT_EQ(machine().ClaimedNumbers(), (std::vector<unsigned>{3, 7, 9, 12, 200}));
    EXPECT_EQ(Questions(), 0U);
    for (std::size_t i = 0; i < adapter.names.size(); ++i) {
        EXPECT_EQ(machine().ReadDword(key(i), "Baudrate"), 9600 * (i + 1));
        EXPECT_EQ(Dev(PortId(adapter, i)).control->settings["Baudrate"], 9600 * (i + 1)) << "the driver's";
        EXPECT_EQ(machine().ReadText(key(i) + "\\UI1", "Label"), "Scale " + std::to_string(i));
        EXPECT_EQ(machine().ReadDword(key(i) + "\\UI1", "SupportedColour"), 3U);
        EXPECT_EQ(PortsEntry(adapter.names[i]).value_or("not renamed"),
                  i == 4 ? "not renamed" : "9600,n,8,1");
    }
    EXPECT_EQ(machine().ReadDword(key(0), "SupportedBaudRates"), 0xABCDU);
    EXPECT_EQ(machine().ReadDword(key(1), "SupportedBaudRates"), std::nullopt);
    EXPECT_TRUE(
        machine().FindKey(qxsim::Machine::HardwareKeyPath(Dev(AdapterId(adapter)).id))->subkeys.empty())
        << "a backup was left";

    // Once given back, the backup no longer speaks: a name chosen since survives the next start of the port.
    ASSERT_TRUE(Port(PortId(adapter, 0)).RenameComPort(TEXT("COM33")));
    machine().Stop(Dev(PortId(adapter, 0)));
    machine().Start(Dev(PortId(adapter, 0)));
    machine().WriteDword(KeyPath(PortId(adapter, 4)), "ChildPortNameSorted", 1);
    installer().InstallPort(PortId(adapter, 0));
    EXPECT_EQ(PortName(PortId(adapter, 0)), "COM33");
}

// A child that cannot be read or backed up costs nobody but itself.
TEST_F(Reinstallation, SavesTheSiblingsOfAPortThatCannotBeSaved) {
    const AdapterRecipe adapter{.names = {"COM7", "COM8", "COM9"}};
    const std::pair<const char*, Names> cases[] = {{"(no hardware key)", {}},
                                                   {"CM_Get_Device_ID_Size", {"-"}},
                                                   {"CM_Get_Device_IDW", {"-"}},
                                                   {"RegCreateKeyExW", {"-"}},
                                                   {"RegOpenKeyExW", {}}};
    for (const auto& [failing, first] : cases) {
        SCOPED_TRACE(failing);
        Use(std::make_unique<qxsim::Machine>());
        AddAdapter(machine(), adapter);
        for (std::size_t i = 0; i < 3; ++i)
            machine().WriteText(KeyPath(PortId(adapter, i)) + "\\UI1", "Label", "Scale");
        if (failing[0] == '(')
            machine().DeleteKey(qxsim::ToWide(KeyPath(PortId(adapter, 0))));
        else
            instruments().Inject({.function = failing});
        installer().Ask(&QxUCoInstallCard, DIF_INSTALLDEVICE, AdapterId(adapter));
        EXPECT_EQ(Content(BackupPath(adapter, 0)), first);
        for (const std::size_t i : {1U, 2U}) {
            EXPECT_EQ(Content(BackupPath(adapter, i)), (Names{"PortName", "UI1"}));
            EXPECT_EQ(machine().ReadText(BackupPath(adapter, i) + "\\UI1", "Label"), "Scale");
        }
    }
}

TEST_F(Reinstallation, TakesANameBackFromWhoeverClaimedItAndLeavesAnEqualOneAlone) {
    AdapterRecipe adapter{.names = {"COM7", "COM3"}};
    AddAdapter(machine(), adapter);
    installer().BeginReinstall(adapter);
    machine().SetClaimed(7, true);
    installer().InstallPort(PortId(adapter, 0));  // comes up as COM3
    EXPECT_EQ(PortName(PortId(adapter, 0)), "COM7");
    instruments().Reset();
    installer().InstallPort(PortId(adapter, 1));  // comes up as COM3, which it was
    EXPECT_EQ(PortName(PortId(adapter, 1)), "COM3");
    EXPECT_EQ(Calls("ComDBReleasePort"), 0U);
    EXPECT_TRUE(machine().Claimed(3));
    EXPECT_EQ(Questions(), 0U);
}

TEST_F(Reinstallation, KeepsThePresentNameOfAPortThatIsNotThere) {
    AdapterRecipe adapter{.names = {"COM7"}};
    AddAdapter(machine(), adapter);
    machine().WriteDword(KeyPath(PortId(adapter, 0)), "Baudrate", 300);
    installer().BeginReinstall(adapter);
    InstallByClass(machine(), PortId(adapter, 0));
    machine().Stop(Dev(PortId(adapter, 0)));
    installer().CallBackPort(PortId(adapter, 0));
    EXPECT_EQ(PortName(PortId(adapter, 0)), "COM3");
    EXPECT_EQ(machine().ReadDword(KeyPath(PortId(adapter, 0)), "Baudrate"), 300U);

    // A port that a program holds open is there.
    installer().BeginReinstall(adapter);
    machine().WriteText(BackupPath(adapter, 0), "PortName", "COM7");
    InstallByClass(machine(), PortId(adapter, 0));
    Dev(PortId(adapter, 0)).held_open_by = TEXT("terminal.exe");
    installer().CallBackPort(PortId(adapter, 0));
    EXPECT_EQ(PortName(PortId(adapter, 0)), "COM7");
}

// The restored port is restarted, the others are not; a port without a backup gets its default line settings.
TEST_F(Reinstallation, RestartsARestoredPortAndLooksThroughTheTree) {
    AdapterRecipe adapter{.names = {"COM7"}};
    AddAdapter(machine(), adapter);
    installer().BeginReinstall(adapter);
    InstallByClass(machine(), PortId(adapter, 0));
    instruments().Reset();
    installer().CallBackPort(PortId(adapter, 0));
    EXPECT_EQ(Restarts(), (Names{PortId(adapter, 0), PortId(adapter, 0)}));
    EXPECT_EQ(machine().Reenumerations(qxsim::Machine::kRoot), 1U);
    EXPECT_EQ(machine().Reenumerations(Dev(PortId(adapter, 0)).node), 1U);

    instruments().Reset();
    installer().CallBackPort(PortId(adapter, 0));
    EXPECT_EQ(Calls("SetupDiCallClassInstaller"), 0U);
    EXPECT_EQ(PortsEntry("COM7"), "9600,n,8,1");
}

// --- fixed numbers

// As some buses report it.
std::string LowerCaseVendor() {
    return qxsim::ToUtf8(qxsim::LowerCase(qxsim::ToWide(UsbVendor())));
}

using FixedNumbers = Naming;

TEST_F(FixedNumbers, MakeTheirHolderGiveWay) {
    AddPort("FOREIGN\\MODEM\\1", "COM89");
    AddPort("FOREIGN\\PORT\\2", "COM5");
    AdapterRecipe adapter{.product = "2103", .names = {""}};
    AddAdapter(machine(), adapter);
    installer().InstallPort(PortId(adapter, 0));
    EXPECT_EQ(Restarts(), (Names{AdapterId(adapter), AdapterId(adapter)})) << "looks at its ports again";
    EXPECT_EQ(NamesOf(machine(), adapter), Names{"COM89"});
    EXPECT_EQ(PortName("FOREIGN\\MODEM\\1"), "COM6") << "the first free number from 5";
    EXPECT_EQ(PortName("FOREIGN\\PORT\\2"), "COM5");
    EXPECT_EQ(machine().ClaimedNumbers(), (std::vector<unsigned>{5, 6, 89}));
    EXPECT_EQ(Questions(), 0U);

    // Once it has its number, nothing more happens to it, not even ordering.
    instruments().Reset();
    installer().CallBackPort(PortId(adapter, 0));
    EXPECT_EQ(Calls("SetupDiCallClassInstaller") + Calls("GetVersionExW") + Calls("DefineDosDeviceW"), 0U);
    EXPECT_EQ(SortedMark(PortId(adapter, 0)), std::nullopt);
}

// A device that is not plugged in has no DOS name that could be moved, so it keeps its name beside the new
// holder, and has to be renamed when it comes back. One whose driver has left the DOS name behind is moved.
TEST_F(FixedNumbers, AreTakenFromADeviceThatIsNotPluggedIn) {
    for (const char* const left : {"", "\\Device\\Ghost"}) {
        Use(std::make_unique<qxsim::Machine>());
        AddPort("FOREIGN\\GHOST\\1", "COM89", false);
        if (*left)
            machine().DefineDosName(TEXT("COM89"), qxsim::ToWide(left));
        AdapterRecipe adapter{.product = "2103", .names = {""}};
        AddAdapter(machine(), adapter);
        installer().InstallPort(PortId(adapter, 0));
        EXPECT_EQ(NamesOf(machine(), adapter), Names{"COM89"});
        EXPECT_EQ(PortName("FOREIGN\\GHOST\\1"), *left ? "COM5" : "COM89");
        if (*left)
            machine().Remove(Dev("FOREIGN\\GHOST\\1"));
        EXPECT_EQ(Questions(), 0U);
    }
}

// Nobody makes room for a port that may not be renamed.
TEST_F(FixedNumbers, StayWithTheirHolderWhenThePortCannotTakeThem) {
    AddPort("FOREIGN\\MODEM\\1", "COM89");
    AdapterRecipe adapter{.product = "2103", .names = {"COM7"}};
    AddAdapter(machine(), adapter);
    machine().HardwareKey(Dev(PortId(adapter, 0)))->refused = KEY_SET_VALUE;
    installer().CallBackPort(PortId(adapter, 0));
    EXPECT_EQ(PortName("FOREIGN\\MODEM\\1"), "COM89");
    EXPECT_EQ(NamesOf(machine(), adapter), Names{"COM7"});
}

// The port's own number looks free once its claim is lost; a holder that moved there would lose its DOS name
// to the port's rename.
TEST_F(FixedNumbers, SendTheirHolderToNoNumberOfThePortItself) {
    AddPort("FOREIGN\\PORT\\1", "COM89");
    AdapterRecipe adapter{.product = "2103", .names = {"COM5"}};
    AddAdapter(machine(), adapter);
    machine().SetClaimed(5, false);
    installer().CallBackPort(PortId(adapter, 0));
    EXPECT_EQ(NamesOf(machine(), adapter), Names{"COM89"});
    EXPECT_EQ(PortName("FOREIGN\\PORT\\1"), "COM6");
    EXPECT_EQ(Disagreements(), "");
}

TEST_F(FixedNumbers, GoToThePortInstalledLast) {
    AdapterRecipe p2{.product = "2202", .serial = "QXP2", .names = {""}, .usb_interface = "&MI_01"};
    AdapterRecipe p4a{.product = "2204", .serial = "QXP4", .names = {""}, .usb_interface = "&MI_00"};
    AdapterRecipe p4b{.product = "2204", .serial = "QXP4", .names = {""}, .usb_interface = "&MI_01"};
    for (const AdapterRecipe& recipe : {p2, p4a, p4b}) {
        AddAdapter(machine(), recipe);
        installer().InstallPort(PortId(recipe, 0));
    }
    EXPECT_EQ(NamesOf(machine(), p4a), Names{"COM4"});
    EXPECT_EQ(NamesOf(machine(), p4b), Names{"COM5"});
    EXPECT_EQ(NamesOf(machine(), p2), Names{"COM6"}) << "was COM4, went to 5, and had to leave again";
    installer().InstallPort(PortId(p2, 0));
    EXPECT_EQ(NamesOf(machine(), p2), Names{"COM4"});
    EXPECT_EQ(NamesOf(machine(), p4a), Names{"COM7"}) << "COM6 was still taken when it had to leave";
}

TEST_F(FixedNumbers, AreTakenOverWhereTheHolderHasNowhereToGo) {
    for (unsigned number = 5; number <= 254; ++number)
        machine().SetClaimed(number, true);
    AddPort("FOREIGN\\PORT\\1", "COM89");
    AdapterRecipe adapter{.product = "2103", .names = {"COM3"}};
    AddAdapter(machine(), adapter);
    installer().CallBackPort(PortId(adapter, 0));
    EXPECT_EQ(PortName("FOREIGN\\PORT\\1"), "COM89") << "no third device's number is taken for it";
    EXPECT_EQ(NamesOf(machine(), adapter), Names{"COM89"});
    EXPECT_TRUE(machine().Claimed(89));
    EXPECT_EQ(Questions(), 0U);
    // Two ports of one name; the user takes the other device away, and ours starts under its number.
    machine().Remove(Dev("FOREIGN\\PORT\\1"));
    machine().Stop(Dev(PortId(adapter, 0)));
    machine().Start(Dev(PortId(adapter, 0)));
}

TEST_F(FixedNumbers, BelongToExactlyTheProductsOfTheTable) {
    for (const std::string& id :
         {UsbVendor() + "&PID_21010\\X", UsbVendor() + "&PID_2202\\X", UsbVendor() + "&PID_2202&MI_02\\X",
          UsbVendor() + "&PID_2101", std::string("USB")}) {
        qxsim::DeviceRecipe parent;
        parent.id = id;
        parent.setup_class = "USB";
        const DEVINST node = machine().AddDevice(qxsim::Machine::kRoot, parent);
        qxsim::DeviceRecipe child = NewPort(std::string("QXSER\\CHILD\\") + std::to_string(node));
        const DEVINST port = machine().AddDevice(node, child);
        EXPECT_FALSE(qx::IsFixedNumberProduct(qx::PortHardwareId(port))) << id;
    }
    for (const qx::FixedComNumber& row : qx::FixedComNumberTable)
        EXPECT_TRUE(qx::IsFixedNumberProduct(row.port_hardware_id));
    qxsim::DeviceRecipe parent;
    parent.id = LowerCaseVendor() + "&pid_2202&mi_01\\7&x";
    parent.setup_class = "USB";
    const DEVINST node = machine().AddDevice(qxsim::Machine::kRoot, parent);
    const DEVINST port = machine().AddDevice(node, NewPort("QXSER\\LOWER\\1"));
    EXPECT_TRUE(qx::IsFixedNumberProduct(qx::PortHardwareId(port)));
}

// --- order

class Ordering : public Naming {
  public:
    // Orders by the call back of the first port; what the ports are called then.
    Names Order(const AdapterRecipe& recipe) {
        installer().CallBackPort(PortId(recipe, 0));
        return NamesOf(machine(), recipe);
    }
};

// Disabled and enabled for every profile or, where that is refused, for the present one; a device whose
// parameters cannot be read is left running.
TEST_F(Ordering, RestartsTheLastDeviceHoweverItCan) {
    // The device, the request's size, the new state (2 is disabled, 1 enabled) and its scope (1 is every
    // profile).
    const auto order = [&](const char* failing, bool for_good) {
        Use(std::make_unique<qxsim::Machine>());
        instruments().Reset();
        AdapterRecipe adapter{.names = {"COM9", "COM8"}};
        AddAdapter(machine(), adapter);
        instruments().Inject({.function = failing, .for_good = for_good});
        EXPECT_EQ(Order(adapter), (Names{"COM8", "COM9"}));
        EXPECT_TRUE(Dev(PortId(adapter, 1)).started);
        Names asked;
        for (const qxsim::CallRecord& call : instruments().Trace())
            if (call.function == "SetupDiSetClassInstallParamsW")
                asked.push_back(call.arguments.substr(call.arguments.size() - 4));
        return asked;
    };
    EXPECT_EQ(order("MessageBoxW", false), (Names{"2, 1", "1, 1"}));
    EXPECT_EQ(order("SetupDiSetClassInstallParamsW", false), (Names{"2, 1", "2, 2", "1, 1"}));
    EXPECT_EQ(order("SetupDiSetClassInstallParamsW", true), (Names{"2, 1", "2, 2", "1, 1", "1, 2"}));
    EXPECT_EQ(order("SetupDiGetDeviceInstallParamsW", true), (Names{}));
}

// What ends the walk, and what is passed over: a port without a name must not be left out of the order, nor
// one that does not run, while a device that is not known costs only itself.
TEST_F(Ordering, StopsOrGoesOnWhereADeviceCannotBeRead) {
    // Below the adapter: a port, and a function with a port and, one level further down, two ports.
    const char* const first = "QXSER\\PORT\\L1";
    const char* const second = "QXSER\\PORT\\L2";
    const char* const third[] = {"QXSER\\PORT\\L3A", "QXSER\\PORT\\L3B"};
    struct Case {
        const char* what;
        const char* device;
        const char* function;  // fails for the device; "PortName" takes its name, "class" its class away
        Names names;           // first level, second, third
        bool marked;
    };
    const Names untouched{"COM9", "COM8", "COM7", "COM6"};
    const Case cases[] = {
        {"in order", first, "", {"COM6", "COM7", "COM8", "COM9"}, true},
        {"unknown class, first level: a port", first, "class", {"COM6", "COM7", "COM8", "COM9"}, true},
        {"unknown class, second level: none", second, "class", {"COM6", "COM8", "COM7", "COM9"}, true},
        {"unknown class, third level: a port", third[0], "class", {"COM6", "COM7", "COM8", "COM9"}, true},
        {"no id, first level", first, "CM_Get_Device_IDW", {"COM9", "COM6", "COM7", "COM8"}, true},
        {"no id, second level", second, "CM_Get_Device_IDW", {"COM6", "COM8", "COM7", "COM9"}, true},
        {"no id, third level", third[1], "CM_Get_Device_IDW", {"COM7", "COM8", "COM9", "COM6"}, true},
        {"not to be opened, first level", first, "SetupDiOpenDeviceInfoW", untouched, false},
        {"not to be opened, second level", second, "SetupDiOpenDeviceInfoW", untouched, false},
        {"not to be opened, third level",
         third[1],
         "SetupDiOpenDeviceInfoW",
         {"COM7", "COM8", "COM9", "COM6"},
         true},
        {"no status", third[1], "CM_Get_DevNode_Status", untouched, false},
        {"no name, first level", first, "PortName", {"", "COM8", "COM7", "COM6"}, false},
        {"no name, second level", second, "PortName", {"COM9", "", "COM7", "COM6"}, false},
        {"no name, third level", third[0], "PortName", {"COM9", "COM8", "", "COM6"}, false},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        Use(std::make_unique<qxsim::Machine>());
        instruments().Reset();
        const auto add = [&](DEVINST parent, const char* id, const char* name) {
            qxsim::DeviceRecipe device;
            device.id = id;
            if (name)
                device.port = name;
            else
                device.setup_class = "USB";
            return machine().AddDevice(parent, device);
        };
        const DEVINST adapter = add(qxsim::Machine::kRoot, "USB\\ADAPTER\\1", nullptr);
        add(adapter, first, "COM9");
        const DEVINST function = add(adapter, "USB\\FUNCTION\\1", nullptr);
        add(function, second, "COM8");
        const DEVINST inner = add(function, "USB\\INNER\\1", nullptr);
        add(inner, third[0], "COM7");
        add(inner, third[1], "COM6");
        const std::string what = each.function;
        if (what == "class") {
            Dev(each.device).class_name.clear();
        } else if (what == "PortName") {
            machine().HardwareKey(Dev(each.device))->values.clear();
        } else if (!what.empty()) {
            // Nobody asks so about a device after the walk.
            const std::unique_ptr<qxsim::Machine> start = machine().Clone();
            installer().CallBackPort(first);
            qxsim::Fault fault{.function = each.function, .nth = 0};
            std::uint64_t count = 0;
            for (const qxsim::CallRecord& call : instruments().Trace())
                if (call.function == each.function) {
                    ++count;
                    const std::string node = std::to_string(Dev(each.device).node);
                    if (call.arguments == node || call.arguments.starts_with(node + ",") ||
                        call.arguments.find(each.device) != std::string::npos)
                        fault.nth = count;
                }
            ASSERT_NE(fault.nth, 0U);
            Use(start->Clone());
            instruments().Reset();
            instruments().Inject(fault);
        }
        installer().CallBackPort(first);
        EXPECT_EQ((Names{PortName(first), PortName(second), PortName(third[0]), PortName(third[1])}),
                  each.names);
        EXPECT_EQ(SortedMark("USB\\FUNCTION\\1").has_value(), each.marked);
        Use(std::make_unique<qxsim::Machine>());
    }
}

TEST_F(Ordering, ChangesNothingThatIsInOrderAlready) {
    for (const Names& start : {Names{"COM3", "COM4", "COM9"}, Names{"COM8"}}) {
        AdapterRecipe adapter{.serial = "QX" + start[0], .names = start};
        AddAdapter(machine(), adapter);
        EXPECT_EQ(Order(adapter), start);
        EXPECT_EQ(SortedMark(PortId(adapter, start.size() - 1)), 1U);
    }
    EXPECT_EQ(Calls("SetupDiCallClassInstaller") + Calls("DefineDosDeviceW"), 0U);

    // Two ports of one number, which a user can choose, are in order.
    AdapterRecipe twins{.serial = "QXTWIN", .names = {"COM50", "COM51"}};
    AddAdapter(machine(), twins);
    machine().WriteText(KeyPath(PortId(twins, 1)), "PortName", "COM50");
    EXPECT_EQ(Order(twins), (Names{"COM50", "COM50"}));
    EXPECT_EQ(SortedMark(PortId(twins, 1)), 1U);
    machine().WriteText(KeyPath(PortId(twins, 1)), "PortName", "COM51");
}

TEST_F(Ordering, WaitsUntilEveryDeviceRunsAndThenHappensOnce) {
    AdapterRecipe adapter{.names = {"COM9", "COM8", ""}};
    AddAdapter(machine(), adapter);
    EXPECT_EQ(Order(adapter), (Names{"COM9", "COM8", ""})) << "the third port has no driver yet";
    EXPECT_EQ(SortedMark(PortId(adapter, 1)), std::nullopt);
    installer().InstallPort(PortId(adapter, 2));
    EXPECT_EQ(NamesOf(machine(), adapter), (Names{"COM3", "COM8", "COM9"}));

    // From now on the user's own choice stays.
    ASSERT_TRUE(Port(PortId(adapter, 0)).RenameComPort(TEXT("COM77")));
    EXPECT_EQ(Order(adapter), (Names{"COM77", "COM8", "COM9"}));
}

TEST_F(Ordering, BelongsToSystemsFromSixOneOn) {
    const std::vector<std::pair<std::pair<DWORD, DWORD>, bool>> systems{
        {{5, 1}, false}, {{5, 2}, false}, {{6, 0}, false}, {{6, 1}, true}, {{6, 3}, true}, {{10, 0}, true}};
    for (const auto& [version, orders] : systems) {
        Use(std::make_unique<qxsim::Machine>());
        machine().major_version = version.first;
        machine().minor_version = version.second;
        AdapterRecipe adapter{.names = {"COM9", "COM8"}};
        AddAdapter(machine(), adapter);
        installer().CallBackPort(PortId(adapter, 0));
        EXPECT_EQ(PortName(PortId(adapter, 0)), orders ? "COM8" : "COM9")
            << version.first << '.' << version.second;
    }
}

TEST_F(Ordering, GivesUpASwapForWhichNoNumberIsFree) {
    AdapterRecipe adapter{.names = {"COM9", "COM8"}};
    AddAdapter(machine(), adapter);
    for (unsigned number = 3; number <= 255; ++number)
        machine().SetClaimed(number, true);
    EXPECT_EQ(Order(adapter), adapter.names);
    EXPECT_EQ(SortedMark(PortId(adapter, 1)), std::nullopt);
    EXPECT_EQ(Questions(), 0U);
    machine().SetClaimed(255, false);
    EXPECT_EQ(Order(adapter), (Names{"COM8", "COM9"}));
    EXPECT_FALSE(machine().Claimed(255));
}

// A product of several USB devices behind a hub, below the adapter node: ports on the third level, a port
// directly on the first, and a device on the second that does not say what it is.
TEST_F(Ordering, GoesThroughAllDevicesOfAMultiDeviceProduct) {
    const auto add = [&](DEVINST parent, const std::string& id, const std::string& setup_class) {
        qxsim::DeviceRecipe device;
        device.id = id;
        device.setup_class = setup_class;
        return machine().AddDevice(parent, device);
    };
    const auto add_port = [&](DEVINST parent, const std::string& id, const std::string& name) {
        qxsim::DeviceRecipe port;
        port.id = id;
        port.port = name;
        machine().AddDevice(parent, port);
    };
    const DEVINST adapter = add(qxsim::Machine::kRoot, "USB\\PRODUCT\\ADAPTER", "USB");
    const DEVINST hub = add(adapter, "USB\\PRODUCT\\HUB", "USB");
    const std::string lower_case = LowerCaseVendor() + "&pid_3204&x\\A";
    const DEVINST first = add(hub, lower_case, "USB");
    const DEVINST second = add(hub, UsbVendor() + "&PID_3204\\B", "USB");
    add_port(first, "QXSER\\PORT1\\A1", "COM24");
    add_port(first, "QXSER\\PORT2\\A2", "COM23");
    add_port(second, "QXSER\\PORT1\\B1", "COM22");
    add(hub, "USB\\UNKNOWN\\1", "");
    add_port(adapter, "QXSER\\PORT9\\X", "COM21");

    ASSERT_TRUE(qx::IsMultiDeviceProduct(qxsim::ToWide(lower_case)));
    ASSERT_FALSE(qx::IsMultiDeviceProduct(qxsim::ToWide("PCI" + UsbVendor().substr(3) + "&PID_3204")));
    installer().CallBackPort("QXSER\\PORT1\\B1");
    EXPECT_EQ(PortName("QXSER\\PORT1\\A1"), "COM21");
    EXPECT_EQ(PortName("QXSER\\PORT2\\A2"), "COM22");
    EXPECT_EQ(PortName("QXSER\\PORT1\\B1"), "COM23");
    EXPECT_EQ(PortName("QXSER\\PORT9\\X"), "COM24");
    EXPECT_EQ(SortedMark("QXSER\\PORT9\\X"), 1U) << "the last device of the first level";
    EXPECT_EQ(SortedMark("USB\\PRODUCT\\HUB"), std::nullopt);
}

// --- one rename

using Renaming = Naming;

// The device manager draws a renamed port anew, and the class installer is told what a restart is for.
TEST_F(Renaming, AndRestartingAreMarkedInTheInstallParameters) {
    const AdapterRecipe adapter{.names = {"COM3"}};
    AddAdapter(machine(), adapter);
    Handed port = Hand(PortId(adapter, 0));
    SP_DEVINSTALL_PARAMS_W marks{};
    marks.cbSize = sizeof(marks);
    EXPECT_TRUE(qx::CCOMPortUtil(port.set, port.element).RenameComPort(TEXT("COM4")));
    SetupDiGetDeviceInstallParamsW(port.set, &port.element, &marks);
    EXPECT_EQ(marks.FlagsEx & DI_FLAGSEX_PROPCHANGE_PENDING, DWORD{DI_FLAGSEX_PROPCHANGE_PENDING});
    EXPECT_EQ(marks.Flags & DI_PROPERTIES_CHANGE, 0U);
    qx::DisableDevice(port.set, port.element);
    EXPECT_FALSE(Dev(PortId(adapter, 0)).started);
    qx::EnableDevice(port.set, port.element);
    SetupDiGetDeviceInstallParamsW(port.set, &port.element, &marks);
    EXPECT_EQ(marks.Flags & DI_PROPERTIES_CHANGE, DWORD{DI_PROPERTIES_CHANGE});
}

TEST_F(Renaming, MovesAllPlacesAndAsksOnlyWhenItMust) {
    AdapterRecipe adapter{.names = {"COM3"}};
    AddAdapter(machine(), adapter);
    const std::string id = PortId(adapter, 0);
    machine().SetPropertyText(Dev(id), SPDRP_FRIENDLYNAME, "Port (COM3) COM3");
    machine().WriteText(qxsim::kPortsPath, "COM3:", "300,e,7,2");
    machine().WriteText(qxsim::kPortsPath, "COM12:", "300,e,7,2");
    EXPECT_TRUE(Port(id).RenameComPort(TEXT("COM12")));
    EXPECT_EQ(machine().Reenumerations(qxsim::Machine::kRoot), 0U);
    EXPECT_EQ(machine().PropertyText(Dev(id), SPDRP_FRIENDLYNAME), "Port (COM12) COM12");
    EXPECT_EQ(PortsEntry("COM12"), "9600,n,8,1");
    EXPECT_EQ(PortsEntry("COM3"), "300,e,7,2") << "settings of earlier names stay";
    EXPECT_EQ(machine().ClaimedNumbers(), std::vector<unsigned>{12});

    const std::uint64_t changes = instruments().Changes();
    EXPECT_TRUE(Port(id).RenameComPort(TEXT("COM12"), {.confirm_if_open = true, .reenumerate = true}));
    EXPECT_EQ(instruments().Changes(), changes) << "the same name";

    // Somebody else's number: No changes nothing, Yes takes it.
    machine().SetClaimed(20, true);
    EXPECT_TRUE(Port(id).RenameComPort(TEXT("COM20")));
    EXPECT_EQ(PortName(id), "COM12");
    // Held open: asked only by who wants to ask.
    Dev(id).held_open_by = TEXT("terminal.exe");
    EXPECT_TRUE(Port(id).RenameComPort(TEXT("COM13"), {.confirm_if_open = true}));
    EXPECT_EQ(PortName(id), "COM12");
    const std::vector<qxsim::ShownBox> boxes = Desktop::The().Boxes();
    ASSERT_EQ(boxes.size(), 2U);
    for (const qxsim::ShownBox& box : boxes) {
        EXPECT_EQ(box.caption, "Error");
        EXPECT_EQ(box.type, UINT{MB_YESNO | MB_ICONINFORMATION});
    }
    EXPECT_TRUE(boxes[0].text.starts_with("This COM name is being used by another device"));
    EXPECT_TRUE(boxes[1].text.starts_with("The port has been opened by another application."));
    EXPECT_TRUE(Port(id).RenameComPort(TEXT("COM13")));
    EXPECT_EQ(Questions(), 2U);
    Desktop::The().SetAnswers([](const qxsim::ShownBox&) { return IDYES; });
    EXPECT_TRUE(Port(id).RenameComPort(TEXT("COM20"), {.confirm_if_open = true, .reenumerate = true}));
    EXPECT_EQ(PortName(id), "COM20");
    EXPECT_EQ(machine().Reenumerations(qxsim::Machine::kRoot), 1U) << "asked for here only";
    EXPECT_EQ(Questions(), 4U);
    EXPECT_EQ(machine().ClaimedNumbers(), std::vector<unsigned>{20});
}

// What a failure midway leaves, so that a support engineer can tell from the places where it happened.
TEST_F(Renaming, LeavesWhatWasWrittenBeforeTheFailure) {
    AdapterRecipe adapter{.names = {"COM3"}};
    AddAdapter(machine(), adapter);
    const std::string id = PortId(adapter, 0);
    const std::unique_ptr<qxsim::Machine> start = machine().Clone();
    struct Case {
        const char* function;
        std::uint64_t nth;
        const char* dos_name;
        unsigned claim;
        const char* serial_comm;
        const char* friendly_name;
    };
    constexpr const char* kOld = "Veltramark Serial Port (COM3)";
    const Case cases[] = {
        {"QueryDosDeviceW", 1, "COM3", 3, "COM3", kOld},
        {"DefineDosDeviceW", 1, "COM3", 3, "COM3", kOld},
        {"DefineDosDeviceW", 2, "COM3", 3, "COM3", kOld},  // rolled back
        {"RegOpenKeyExW", 1, "COM8", 3, "COM3", kOld},
        {"RegSetValueExW", 1, "COM8", 3, "COM3", kOld},
        {"SetupDiSetDeviceRegistryPropertyW", 1, "COM8", 8, "COM8", kOld},
        {"RegSetValueExW", 2, "COM8", 8, "COM8", "Veltramark Serial Port (COM8)"},
    };
    for (const Case& failing : cases) {
        SCOPED_TRACE(std::string(failing.function) + " " + std::to_string(failing.nth));
        Use(start->Clone());
        instruments().Inject({.function = failing.function, .nth = failing.nth});
        EXPECT_FALSE(Port(id).RenameComPort(TEXT("COM8")));
        instruments().ClearFaults();
        const qxsim::Device& port = Dev(id);
        EXPECT_EQ(PortName(id), "COM3");
        EXPECT_EQ(machine().DosTarget(failing.dos_name), qxsim::ToUtf8(port.kernel_path));
        EXPECT_EQ(machine().ClaimedNumbers(), std::vector<unsigned>{failing.claim});
        EXPECT_EQ(machine().SerialCommName(port), failing.serial_comm);
        EXPECT_EQ(machine().PropertyText(port, SPDRP_FRIENDLYNAME), failing.friendly_name);
    }
    Use(start->Clone());
}

}  // namespace
}  // namespace qxtest
