// SPDX-License-Identifier: MIT
// What a port's start makes of its COM name.
#include "tests/support/machine_fixture.h"

#include <string>

namespace {

using qxtest::MachineTest;

class NamesTest : public MachineTest {
  protected:
    qxsim::Device& AddPort(const char* id, const char* name) {
        return *machine().Node(machine().AddDevice(qxsim::Machine::kRoot, {.id = id, .port = name}));
    }
};

// Two ports may come to claim one name; the driver that starts first has it.
TEST_F(NamesTest, ANameThatIsTakenIsNotDefinedTwice) {
    AddPort("QX\\P\\1", "COM5");
    AddPort("QX\\P\\2", "COM5");
    EXPECT_EQ(machine().SerialCommName(Dev("QX\\P\\1")), "COM5");
    EXPECT_TRUE(Dev("QX\\P\\2").started);
    EXPECT_EQ(machine().SerialCommName(Dev("QX\\P\\2")), "");
    EXPECT_EQ(machine().DosTarget("COM5"), qxsim::ToUtf8(Dev("QX\\P\\1").kernel_path));
}

TEST_F(NamesTest, ARestartBringsNamesBackFromPortNameAndLeavesOthersAlone) {
    const qxsim::Device& port = AddPort("QX\\P\\1", "COM5");
    machine().DropDosNamesOf(port.kernel_path);
    machine().DefineDosName(TEXT("COM77"), port.kernel_path);
    machine().DefineDosName(TEXT("LPT1"), TEXT("\\Device\\Parallel0"));
    machine().WriteText(qxsim::kSerialCommPath, qxsim::ToUtf8(port.kernel_path), "COM77");
    const auto again = qxsim::Machine::Reopen(machine().Snapshot());
    EXPECT_EQ(again->DosTarget("COM77"), std::nullopt);
    EXPECT_EQ(again->DosTarget("COM5"), qxsim::ToUtf8(port.kernel_path));
    EXPECT_EQ(again->DosTarget("LPT1"), "\\Device\\Parallel0");
    EXPECT_EQ(again->ReadText(qxsim::kSerialCommPath, qxsim::ToUtf8(port.kernel_path)), "COM5");
}

}  // namespace
