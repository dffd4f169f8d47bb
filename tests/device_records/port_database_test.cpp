// The COM port database and the utilities beside it.
#include "tests/support/machine_fixture.h"

#include "device_records/com_port_util.h"
#include "device_records/utils.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using qx::CPortUtil;
using qx::CUtils;
using qx::Text;

std::string Narrow(const Text& text) {
    return qxsim::ToUtf8(qxsim::WideString(text.view()));
}

class PortDatabase : public qxtest::MachineTest {
  protected:
    // Opened for the test, and closed as every user closes it.
    struct Opened {
        Opened() { EXPECT_TRUE(util.OpenPortDatabase()); }
        ~Opened() { util.ClosePortDatabase(); }
        CPortUtil util;
    };
};

TEST_F(PortDatabase, TellsClaimedNumbersFromFreeOnes) {
    machine().SetClaimed(3, true);
    machine().SetClaimed(256, true);
    Opened database;
    EXPECT_FALSE(database.util.IsPortFree(3));
    EXPECT_TRUE(database.util.IsPortFree(4));
    EXPECT_FALSE(database.util.IsPortFree(256));
    machine().SetClaimed(256, false);
    EXPECT_TRUE(database.util.IsPortFree(256)) << "looked up anew";
    const auto asked = instruments().CallCount("ComDBGetCurrentPortUsage");
    for (const DWORD number : {0U, 257U, 0xFFFFFFFFU})
        EXPECT_FALSE(database.util.IsPortFree(number));
    EXPECT_EQ(instruments().CallCount("ComDBGetCurrentPortUsage"), asked);
}

TEST_F(PortDatabase, ClaimsAndReleases) {
    machine().SetClaimed(7, true);
    Opened database;
    bool forced = true;
    EXPECT_TRUE(database.util.ClaimPort(6, true, &forced));
    EXPECT_FALSE(forced);
    EXPECT_FALSE(database.util.ClaimPort(7, false, &forced));
    EXPECT_FALSE(forced) << "left alone by a failure";
    EXPECT_TRUE(database.util.ClaimPort(7, true, &forced));
    EXPECT_TRUE(forced);
    EXPECT_TRUE(database.util.ClaimPort(7, true));
    EXPECT_TRUE(database.util.ReleasePort(6));
    EXPECT_FALSE(machine().Claimed(6));
    EXPECT_TRUE(machine().Claimed(7));
}

TEST_F(PortDatabase, NamesForTheChoiceBox) {
    machine().SetClaimed(1, true);
    machine().SetClaimed(3, true);
    Opened database;
    const auto names = database.util.ListComNames(TEXT("COM3"));
    ASSERT_EQ(names.size(), 255U);
    EXPECT_EQ(Narrow(names[0]), "COM1 (in use)");
    EXPECT_EQ(Narrow(names[1]), "COM2");
    EXPECT_EQ(Narrow(names[2]), "COM3") << "the port's own name";
    EXPECT_EQ(Narrow(names[254]), "COM255");
    EXPECT_EQ(Narrow(database.util.ListComNames(TEXT("com3"))[2]), "COM3 (in use)");
    instruments().Inject({"ComDBGetCurrentPortUsage", 1, false, 0});
    EXPECT_TRUE(database.util.ListComNames(TEXT("COM3")).empty());
    instruments().ClearFaults();
    instruments().Inject({"ComDBGetCurrentPortUsage", 1, false, 0});
    EXPECT_FALSE(database.util.IsPortFree(4));
}

TEST_F(PortDatabase, AnUnopenedHolderAnswersNo) {
    CPortUtil util;
    const auto denied = [&] {
        const auto asked = instruments().CallCount("ComDBGetCurrentPortUsage");
        EXPECT_FALSE(util.IsPortFree(4));
        EXPECT_TRUE(util.ListComNames(Text()).empty());
        EXPECT_EQ(instruments().CallCount("ComDBGetCurrentPortUsage"), asked) << "without asking";
        EXPECT_FALSE(util.ReleasePort(4));
        EXPECT_FALSE(util.ClaimPort(4, true));
        EXPECT_FALSE(machine().Claimed(4));
    };
    denied();
    machine().database_broken = true;
    EXPECT_FALSE(util.OpenPortDatabase());
    denied();
    machine().database_broken = false;
    ASSERT_TRUE(util.OpenPortDatabase());
    EXPECT_TRUE(util.ClosePortDatabase());
    denied();
}

class PortUtilities : public qxtest::MachineTest {
  protected:
    std::optional<std::string> Entry(const char* port) {
        return machine().ReadText(qxsim::kPortsPath, std::string(port) + ":");
    }
};

TEST_F(PortUtilities, APortCanBeOpenedWhenItIsThereAndNobodyHasIt) {
    qxsim::DeviceRecipe port;
    port.id = "QXBUS\\PORT1\\1";
    port.port = "COM12";
    machine().AddDevice(qxsim::Machine::kRoot, port);
    EXPECT_TRUE(CUtils::CanOpenPort(TEXT("COM12")));
    EXPECT_TRUE(CUtils::CanOpenPort(TEXT("COM12"))) << "it does not keep the port";
    EXPECT_FALSE(CUtils::CanOpenPort(TEXT("COM13")));
    EXPECT_FALSE(CUtils::CanOpenPort(Text()));
    Dev("QXBUS\\PORT1\\1").held_open_by = qxsim::ToWide("terminal.exe");
    EXPECT_FALSE(CUtils::CanOpenPort(TEXT("COM12")));
}

TEST_F(PortUtilities, LineSettingsOfEveryCode) {
    struct Case {
        int baud;
        DWORD data, parity, stop, flow;
        const char* entry;  // null: refused
    };
    const Case cases[] = {
        {115200, 3, 0, 0, 4, "115200,8,n,1,x"},
        {9600, 3, 0, 0, 0, "9600,8,n,1"},
        {75, 0, 1, 1, 1, "75,5,o,1.5,p"},
        {300, 1, 2, 2, 2, "300,6,e,2,p"},
        {1200, 2, 3, 0, 0, "1200,7,m,1"},
        {-1, 3, 4, 2, 4, "-1,8,s,2,x"},
        {9600, 4, 0, 0, 0, nullptr},
        {9600, 3, 5, 0, 0, nullptr},
        {9600, 3, 0, 3, 0, nullptr},
        {9600, 3, 0, 0, 3, nullptr},
        {9600, 3, 0, 0, 5, nullptr},
        {9600, 0xFFFFFFFF, 0, 0, 0, nullptr},
    };
    machine().WriteText(qxsim::kPortsPath, "COM4:", "other");
    for (const Case& c : cases) {
        machine().WriteText(qxsim::kPortsPath, "COM3:", "before");
        EXPECT_EQ(CUtils::WritePortsEntry(TEXT("COM3"), c.baud, c.data, c.parity, c.stop, c.flow),
                  c.entry != nullptr);
        EXPECT_EQ(Entry("COM3"), c.entry != nullptr ? c.entry : "before");
    }
    EXPECT_EQ(Entry("COM4"), "other");
    ASSERT_TRUE(CUtils::WritePortsEntry(TEXT("COM12"), 9600, 3, 0, 0, 0));
    EXPECT_EQ(machine().FindKey(qxsim::ToWide(qxsim::kPortsPath))->Find(qxsim::ToWide("COM12:"))->data.size(),
              22U);

    for (const char* call : {"RegCreateKeyExW", "RegSetValueExW"}) {
        instruments().Inject({call, 1, false, ERROR_ACCESS_DENIED});
        EXPECT_FALSE(CUtils::WritePortsEntry(TEXT("COM3"), 1, 3, 0, 0, 0)) << call;
        EXPECT_NE(Entry("COM3"), "1,8,n,1");
    }
    machine().DeleteKey(qxsim::ToWide(qxsim::kPortsPath));
    EXPECT_TRUE(CUtils::WritePortsEntry(TEXT("COM3"), 9600, 3, 0, 0, 0))
        << "makes the key where it is missing";
}

}  // namespace
