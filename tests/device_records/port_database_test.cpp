// SPDX-License-Identifier: MIT
// The COM port database and the utilities beside it.
#include "tests/support/machine_fixture.h"

#include "device_records/port_access.h"
#include "device_records/port_util.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using qx::CPortUtil;
using qx::Text;

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
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(names[i].number, i + 1);
        EXPECT_EQ(names[i].in_use, i == 0) << "COM3 is the port's own name";
    }
    EXPECT_TRUE(database.util.ListComNames(TEXT("com3"))[2].in_use);
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

TEST_F(PortDatabase, APortCanBeOpenedWhenItIsThereAndNobodyHasIt) {
    qxsim::DeviceRecipe port;
    port.id = "QXBUS\\PORT1\\1";
    port.port = "COM12";
    machine().AddDevice(qxsim::Machine::kRoot, port);
    EXPECT_TRUE(qx::CanOpenPort(TEXT("COM12")));
    EXPECT_TRUE(qx::CanOpenPort(TEXT("COM12"))) << "it does not keep the port";
    EXPECT_FALSE(qx::CanOpenPort(TEXT("COM13")));
    EXPECT_FALSE(qx::CanOpenPort(Text()));
    Dev("QXBUS\\PORT1\\1").held_open_by = qxsim::ToWide("terminal.exe");
    EXPECT_FALSE(qx::CanOpenPort(TEXT("COM12")));
}

}  // namespace
