// SPDX-License-Identifier: MIT
// COM numbers, DOS names, opening by name, and what a port's start makes of them.
#include "tests/support/machine_fixture.h"

#include <msports.h>

#include <gmock/gmock.h>

#include <array>
#include <string>

namespace {

using qxtest::MachineTest;

class NamesTest : public MachineTest {
  protected:
    static HANDLE Open(const WCHAR* path) {
        return CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                           FILE_FLAG_OVERLAPPED, nullptr);
    }
    qxsim::Device& AddPort(const char* id, const char* name) {
        return *machine().Node(machine().AddDevice(qxsim::Machine::kRoot, {.id = id, .port = name}));
    }
};

TEST_F(NamesTest, DatabaseClaimsOnceAndTellsWhenForced) {
    HCOMDB database = nullptr;
    ASSERT_EQ(ComDBOpen(&database), ERROR_SUCCESS);
    BOOL forced = TRUE;
    EXPECT_EQ(ComDBClaimPort(database, 5, FALSE, &forced), ERROR_SUCCESS);
    EXPECT_FALSE(forced);
    EXPECT_EQ(ComDBClaimPort(database, 5, FALSE, nullptr), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(ComDBClaimPort(database, 5, TRUE, &forced), ERROR_SUCCESS);
    EXPECT_TRUE(forced);
    EXPECT_EQ(ComDBClaimPort(database, 0, TRUE, nullptr), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ComDBClaimPort(database, 257, TRUE, nullptr), ERROR_INVALID_PARAMETER);
    DWORD next = 0;
    EXPECT_EQ(ComDBClaimNextFreePort(database, &next), ERROR_SUCCESS);
    EXPECT_EQ(next, 1U);
    std::array<BYTE, 256> usage{};
    DWORD count = 0;
    EXPECT_EQ(ComDBGetCurrentPortUsage(database, usage.data(), usage.size(), CDB_REPORT_BYTES, &count),
              ERROR_SUCCESS);
    EXPECT_EQ(count, 256U);
    EXPECT_TRUE(usage[0] == 1 && usage[1] == 0 && usage[4] == 1);
    EXPECT_EQ(ComDBGetCurrentPortUsage(database, usage.data(), 1, CDB_REPORT_BITS, &count), ERROR_SUCCESS);
    EXPECT_EQ(usage[0], 0x11);
    EXPECT_EQ(ComDBReleasePort(database, 5), ERROR_SUCCESS);
    EXPECT_EQ(ComDBReleasePort(database, 5), ERROR_SUCCESS);
    EXPECT_EQ(ComDBClose(database), ERROR_SUCCESS);
    EXPECT_EQ(ComDBReleasePort(database, 1), ERROR_INVALID_PARAMETER);
}

TEST_F(NamesTest, NewestDefinitionCountsAndExactRemovalFindsItsOwn) {
    constexpr DWORD kExact = DDD_RAW_TARGET_PATH | DDD_REMOVE_DEFINITION | DDD_EXACT_MATCH_ON_REMOVE;
    EXPECT_TRUE(DefineDosDeviceW(DDD_RAW_TARGET_PATH, TEXT("COM5"), TEXT("\\Device\\Serial1")));
    EXPECT_TRUE(DefineDosDeviceW(DDD_RAW_TARGET_PATH, TEXT("com5"), TEXT("\\Device\\Serial10")));
    std::array<WCHAR, 64> targets{};
    EXPECT_EQ(QueryDosDeviceW(TEXT("COM5"), targets.data(), targets.size()), 34U);
    EXPECT_EQ(std::basic_string<WCHAR>(targets.data()), TEXT("\\Device\\Serial10"));
    EXPECT_EQ(std::basic_string<WCHAR>(targets.data() + 17), TEXT("\\Device\\Serial1"));
    EXPECT_EQ(QueryDosDeviceW(TEXT("COM5"), targets.data(), 20), 0U);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_TRUE(DefineDosDeviceW(kExact, TEXT("COM5"), TEXT("\\Device\\Serial1")));
    EXPECT_EQ(machine().DosTarget("COM5"), "\\Device\\Serial10");
    EXPECT_FALSE(DefineDosDeviceW(kExact, TEXT("COM5"), TEXT("\\Device\\Serial1")));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    // Without exactness the beginning is enough.
    EXPECT_TRUE(DefineDosDeviceW(DDD_RAW_TARGET_PATH | DDD_REMOVE_DEFINITION, TEXT("COM5"),
                                 TEXT("\\Device\\Serial1")));
    EXPECT_EQ(QueryDosDeviceW(TEXT("COM5"), targets.data(), targets.size()), 0U);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

TEST_F(NamesTest, AComPortOpensOnceThroughWhateverNameLeadsToIt) {
    const qxsim::Device& port = AddPort("QX\\P\\1", "COM5");
    HANDLE first = Open(TEXT("\\\\.\\COM5"));
    ASSERT_NE(first, INVALID_HANDLE_VALUE);
    EXPECT_EQ(Open(TEXT("\\\\.\\com5")), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_TRUE(CloseHandle(first));
    machine().DefineDosName(TEXT("COM7"), port.kernel_path);
    HANDLE second = Open(TEXT("\\\\.\\COM7"));
    EXPECT_NE(second, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(CloseHandle(second));
    EXPECT_EQ(Open(TEXT("\\\\.\\COM8")), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    Dev("QX\\P\\1").held_open_by = TEXT("terminal.exe");
    EXPECT_EQ(Open(TEXT("\\\\.\\COM5")), INVALID_HANDLE_VALUE);
    Dev("QX\\P\\1").held_open_by.clear();
    machine().Stop(Dev("QX\\P\\1"));
    EXPECT_EQ(Open(TEXT("\\\\.\\COM5")), INVALID_HANDLE_VALUE);
}

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
