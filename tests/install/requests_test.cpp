// SPDX-License-Identifier: MIT
// What each entry answers to which request, and what it leaves alone.
#include "tests/install/installer.h"

#include "install/card_coinstaller.h"
#include "install/dos_device_names.h"
#include "install/gpio_coinstaller.h"
#include "install/port_coinstaller.h"
#include "install/product_data.h"
#include "install/uninstall_program.h"
#include "platform/desktop/desktop.h"

#include <tuple>

namespace qxtest {
namespace {

using qxsim::Desktop;

constexpr CoInstaller kEntries[] = {&QxUCoInstallPort, &QxUCoInstallCard, &QxUCoInstallGpio};

class Requests : public InstallTest {
  public:
    void SetUp() override {
        InstallTest::SetUp();
        Desktop::The().Reset();
        AddAdapter(machine(), adapter);
    }
    AdapterRecipe adapter{.names = {"COM9", "COM5"}};
};

TEST_F(Requests, OthersAreAnsweredWithoutACall) {
    instruments().Reset();
    // Nobody asked to be called back for the last two.
    for (const CoInstaller entry : kEntries)
        for (const DI_FUNCTION request :
             std::initializer_list<DI_FUNCTION>{DIF_SELECTDEVICE, DIF_PROPERTYCHANGE,
                                                DIF_REGISTER_COINSTALLERS, DIF_REMOVE, DIF_UPDATEDRIVER_UI})
            EXPECT_EQ(installer().Ask(entry, request, PortId(adapter, 0), true), DWORD{NO_ERROR});
    // A first call of an installation asks to be called back, and only the adapter's has something to do
    // before it.
    installer().Ask(&QxUCoInstallPort, DIF_INSTALLDEVICE, PortId(adapter, 0));
    installer().Ask(&QxUCoInstallGpio, DIF_INSTALLDEVICE, PortId(adapter, 0));
    installer().Ask(&QxUCoInstallGpio, DIF_INSTALLDEVICE, PortId(adapter, 0), true, ERROR_ACCESS_DENIED);
    installer().Ask(&QxUCoInstallCard, DIF_INSTALLDEVICE, AdapterId(adapter), true, 0xE0000203);
    // What passes through is not looked at.
    for (const CoInstaller entry : kEntries)
        EXPECT_EQ(entry(DIF_PROPERTYCHANGE, INVALID_HANDLE_VALUE, nullptr, nullptr), DWORD{NO_ERROR});
    EXPECT_EQ(instruments().CallCount(), 0U);
}

TEST_F(Requests, AFailedInstallationsResultComesBackAfterTheNamesWereSeenTo) {
    for (const DWORD result : {DWORD{0xE0000203}, DWORD{ERROR_CANCELLED}, DWORD{0xFFFFFFFF}}) {
        installer().CallBackPort(PortId(adapter, 0), result);
        EXPECT_EQ(NamesOf(machine(), adapter), (std::vector<std::string>{"COM5", "COM9"}));
    }
    EXPECT_EQ(Calls("ReleaseMutex"), 3U);
    // The entry of a port that did not get its driver is not written; those of the renames are.
    machine().DeleteKey(qxsim::ToWide(qxsim::kPortsPath));
    installer().CallBackPort(PortId(adapter, 0), ERROR_CANCELLED);
    EXPECT_EQ(PortsEntry("COM5"), std::nullopt);
    installer().CallBackPort(PortId(adapter, 0));
    EXPECT_EQ(PortsEntry("COM5"), "9600,n,8,1");
}

TEST_F(Requests, ADirectDriverUpdateIsRefusedByTheNumberOne) {
    const std::string id = PortId(adapter, 0);
    const auto answers = [&](DWORD wanted, const std::string& what) {
        for (const CoInstaller entry : kEntries) {
            instruments().Reset();
            EXPECT_EQ(installer().Ask(entry, DIF_UPDATEDRIVER_UI, id), wanted) << what;
            EXPECT_EQ(Calls("MessageBoxW"), wanted == NO_ERROR ? 0U : 1U) << what;
        }
    };
    answers(NO_ERROR, "no value");
    for (const char* const text : {"1", "  1", "01", "+1", "1 of 2"}) {
        machine().WriteText(KeyPath(id), "NoUpgrade", text);
        answers(ERROR_DI_DONT_INSTALL, text);
    }
    for (const char* const text : {"", "0", "2", "-1", "11", "x1", "one"}) {
        machine().WriteText(KeyPath(id), "NoUpgrade", text);
        answers(NO_ERROR, text);
    }
    machine().WriteDword(KeyPath(id), "NoUpgrade", 1);
    answers(NO_ERROR, "the number 1, which does not spell the digit");

    const std::vector<qxsim::ShownBox> boxes = Desktop::The().Boxes();
    ASSERT_FALSE(boxes.empty());
    EXPECT_EQ(boxes.back().caption, qxsim::ToUtf8(qx::kMakerCaption));
    EXPECT_EQ(boxes.back().type, UINT{MB_ICONHAND});
    EXPECT_EQ(boxes.back().owner, nullptr);
    EXPECT_EQ(
        boxes.back().text,
        "Please update the Veltramark driver found under Universal Serial Bus Controllers in Device "
        "Manager.\r\nThis will automatically initiate the port driver update.\r\n\r\nPlease see Product "
        "Manual for further details.");
}

TEST_F(Requests, ARemovedPortGivesItsNameBackAndNobodyElses) {
    const std::string id = PortId(adapter, 0);
    machine().DefineDosName(TEXT("COM9"), TEXT("\\Device\\Somebody"));  // stacked on top by another driver
    machine().DefineDosName(TEXT("COM9"), Dev(id).kernel_path);
    installer().Ask(&QxUCoInstallPort, DIF_REMOVE, id);
    EXPECT_EQ(machine().DosTarget("COM9"), "\\Device\\Somebody");
    EXPECT_FALSE(machine().Claimed(9));
    EXPECT_TRUE(machine().Claimed(5));
    EXPECT_EQ(PortName(id), "COM9") << "goes with the device's key";
    EXPECT_EQ(machine().SerialCommName(Dev(id)), "COM9") << "goes with the driver";

    // One whose device's name begins alike stands in front.
    machine().DefineDosName(TEXT("COM9"), Dev(id).kernel_path);
    machine().DefineDosName(TEXT("COM9"), Dev(id).kernel_path + TEXT("0"));
    qx::KernelPath own;
    own.Append(Dev(id).kernel_path);
    EXPECT_TRUE(qx::RemoveDosName(TEXT("COM9"), own));
    EXPECT_EQ(machine().DosTarget("COM9"), qxsim::ToUtf8(Dev(id).kernel_path) + "0");

    // A port without a name has nothing to give back, and one without a DOS name keeps its claim.
    const std::string other = PortId(adapter, 1);
    machine().DropDosNamesOf(Dev(other).kernel_path);
    installer().Ask(&QxUCoInstallPort, DIF_REMOVE, other);
    EXPECT_TRUE(machine().Claimed(5));
    machine().HardwareKey(Dev(other))->values.clear();
    installer().Ask(&QxUCoInstallPort, DIF_REMOVE, other);
    EXPECT_TRUE(machine().Claimed(5));
}

TEST_F(Requests, RemovingAnAdapterStartsItsUninstallProgramAndDoesNotWait) {
    const std::string id = AdapterId(adapter);
    installer().Ask(&QxUCoInstallCard, DIF_REMOVE, id);
    EXPECT_EQ(Calls("CreateProcessW"), 0U) << "no value";

    machine().programs[machine().system_directory] = {};
    for (const char* const missing : {"", "qxun.exe"}) {
        machine().WriteText(KeyPath(id), "UnInstall", missing);
        installer().Ask(&QxUCoInstallCard, DIF_REMOVE, id);
        EXPECT_TRUE(machine().started_programs.empty()) << missing;
    }

    const qxsim::WideString path = machine().system_directory + TEXT("\\qxun.exe");
    machine().programs[path] = {.runs_for = 90000};
    const std::uint64_t before = machine().clock;
    installer().Ask(&QxUCoInstallCard, DIF_REMOVE, id);
    ASSERT_EQ(machine().started_programs.size(), 1U);
    EXPECT_EQ(machine().started_programs[0].path, path);
    EXPECT_EQ(machine().started_programs[0].command_line, qxsim::WideString());
    EXPECT_TRUE(machine().started_programs[0].inherit_handles);
    EXPECT_EQ(machine().started_programs[0].creation_flags, DWORD{NORMAL_PRIORITY_CLASS});
    EXPECT_EQ(machine().clock, before);
    const Handed handed = Hand(id);
    EXPECT_TRUE(qx::RunUninstallProgram(handed.set, handed.element, true));
    EXPECT_EQ(machine().clock, before + 60000) << "a program that hangs is not waited for";

    // Without the system directory a program of that name could be anybody's.
    machine().programs[TEXT("\\qxun.exe")] = {};
    instruments().Inject({.function = "GetSystemDirectoryW"});
    installer().Ask(&QxUCoInstallCard, DIF_REMOVE, id);
    EXPECT_EQ(machine().started_programs.size(), 2U);
}

// --- the GPIO function and its companion

class GpioRemoval : public InstallTest {
  public:
    static constexpr const char* kGpio = "PCI\\VEN_0F7A&DEV_4101\\GPIO";
    static constexpr const char* kSerial = "PCI\\VEN_0F7A&DEV_4102\\SERIAL";

    void SetUp() override {
        InstallTest::SetUp();
        Add(kGpio, "System", "PCI bus 3, device 0, function 0");
    }
    void Add(const std::string& id, const std::string& setup_class, std::optional<std::string> location) {
        qxsim::DeviceRecipe device;
        device.id = id;
        device.setup_class = setup_class;
        device.location = std::move(location);
        machine().AddDevice(qxsim::Machine::kRoot, device);
    }
    bool There(const std::string& id) { return machine().Find(id) != nullptr; }
    void RemoveGpio() { installer().Ask(&QxUCoInstallGpio, DIF_REMOVE, kGpio); }
};

TEST_F(GpioRemoval, TakesTheFirstCompanionAtTheSamePlaceWithIt) {
    Add("PCI\\ELSEWHERE", "MultiPortSerial", "PCI bus 4, device 0, function 1");
    Add("PCI\\SAMEPLACE", "System", "PCI bus 3, device 0, function 1");
    Add(kSerial, "MultiPortSerial", "PCI bus 3, device 0, function 1");
    Add("PCI\\SECOND", "MultiPortSerial", "PCI bus 3, device 0, function 1");
    RemoveGpio();
    EXPECT_FALSE(There(kSerial));
    EXPECT_TRUE(There("PCI\\SECOND") && There("PCI\\ELSEWHERE") && There("PCI\\SAMEPLACE"));
    EXPECT_FALSE(machine().MutexExists(qx::kGpioRemovalMutex));
}

TEST_F(GpioRemoval, ComparesLocationsOfUpToFortyNineCharactersThatAreAFunctionZeros) {
    const std::string forty = std::string(39, 'x') + "function ";
    for (const auto& [location, companion, removed] :
         std::initializer_list<std::tuple<std::string, std::string, bool>>{
             {"PCI bus 3, device 0, function 1", "PCI bus 3, device 0, function 1", false},
             {"PCI bus 3, device 0, Function 0", "PCI bus 3, device 0, function 1", false},
             {"PCI bus 3, function ", "PCI bus 3, function 1", false},
             {"", "1", false},
             {forty + '0', forty + '1', true},
             {'x' + forty + '0', 'x' + forty + '1', false}}) {
        Add(kSerial, "MultiPortSerial", companion);
        machine().SetPropertyText(Dev(kGpio), SPDRP_LOCATION_INFORMATION, location);
        RemoveGpio();
        EXPECT_EQ(There(kSerial), !removed) << location;
        if (There(kSerial))
            machine().Remove(Dev(kSerial));
    }
    Dev(kGpio).properties.erase(SPDRP_LOCATION_INFORMATION);
    RemoveGpio();
}

TEST_F(GpioRemoval, StopsAtADeviceThatDoesNotSayWhereItIsAndPassesAbsentOnes) {
    Add("PCI\\ABSENT", "MultiPortSerial", "PCI bus 3, device 0, function 1");
    machine().SetPlugged(Dev("PCI\\ABSENT"), false);
    Add("PCI\\SILENT", "MultiPortSerial", std::nullopt);
    Add(kSerial, "MultiPortSerial", "PCI bus 3, device 0, function 1");
    RemoveGpio();
    EXPECT_TRUE(There(kSerial));
    machine().Remove(Dev("PCI\\SILENT"));
    RemoveGpio();
    EXPECT_FALSE(There(kSerial));
    EXPECT_TRUE(There("PCI\\ABSENT"));
}

TEST_F(GpioRemoval, SkipsWhileAnotherRemovalIsUnderWay) {
    constexpr const char* kOtherGpio = "PCI\\VEN_0F7A&DEV_4101\\GPIO2";
    Add(kSerial, "MultiPortSerial", "PCI bus 3, device 0, function 1");
    Add(kOtherGpio, "System", "PCI bus 7, device 0, function 0");
    Add("PCI\\OTHERSERIAL", "MultiPortSerial", "PCI bus 7, device 0, function 1");
    unsigned nested = 0;
    machine().co_installers = [&](DI_FUNCTION request, HDEVINFO, PSP_DEVINFO_DATA) -> DWORD {
        if (request != DIF_REMOVE)
            return NO_ERROR;
        ++nested;
        // The same adapter's other removal comes from this process, that of the other adapter from another
        // one.
        installer().Ask(&QxUCoInstallGpio, DIF_REMOVE, kGpio);
        const qxsim::SimulatedProcess other(7);
        return installer().Ask(&QxUCoInstallGpio, DIF_REMOVE, kOtherGpio);
    };
    RemoveGpio();
    EXPECT_EQ(nested, 1U);
    EXPECT_FALSE(There(kSerial));
    EXPECT_TRUE(There("PCI\\OTHERSERIAL"));

    // A mutex of somebody else's does stop it, and a system that gives no mutex does not.
    machine().co_installers = nullptr;
    installer().Ask(&QxUCoInstallGpio, DIF_REMOVE, kOtherGpio);
    EXPECT_FALSE(There("PCI\\OTHERSERIAL"));
    Add(kSerial, "MultiPortSerial", "PCI bus 3, device 0, function 1");
    machine().refused_mutexes.insert(qx::kGpioRemovalMutex);
    RemoveGpio();
    EXPECT_FALSE(There(kSerial));
}

}  // namespace
}  // namespace qxtest
