// SPDX-License-Identifier: MIT
// Mutexes between processes, and programs that run for a while.
#include "tests/support/machine_fixture.h"

#include <atomic>
#include <thread>

namespace {

using qxtest::MachineTest;

constexpr const WCHAR* kName = TEXT("{5A0E3C11-0000-4000-8000-000000000001}");

class WaitingTest : public MachineTest {};

TEST_F(WaitingTest, TheSecondCreatorIsToldThatTheMutexExists) {
    SetLastError(4711);
    HANDLE first = CreateMutexW(nullptr, FALSE, kName);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
    HANDLE second = CreateMutexW(nullptr, FALSE, kName);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    EXPECT_NE(first, second);
    EXPECT_TRUE(CloseHandle(first));
    EXPECT_TRUE(machine().MutexExists(kName));
    EXPECT_TRUE(CloseHandle(second));
    EXPECT_FALSE(machine().MutexExists(kName));
    machine().refused_mutexes.insert(kName);
    EXPECT_EQ(CreateMutexW(nullptr, FALSE, kName), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

TEST_F(WaitingTest, OwnersHoldOthersOffAndOnlyTheyRelease) {
    HANDLE mine = CreateMutexW(nullptr, TRUE, kName);
    EXPECT_EQ(WaitForSingleObject(mine, 0), static_cast<DWORD>(WAIT_OBJECT_0));  // again, by the same thread
    std::thread([&] {
        const qxsim::SimulatedProcess other(2);
        HANDLE theirs = CreateMutexW(nullptr, TRUE, kName);
        EXPECT_EQ(WaitForSingleObject(theirs, 1), static_cast<DWORD>(WAIT_TIMEOUT));
        EXPECT_FALSE(ReleaseMutex(theirs));
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_OWNER));
        EXPECT_TRUE(CloseHandle(theirs));
    }).join();
    EXPECT_TRUE(ReleaseMutex(mine));
    EXPECT_TRUE(ReleaseMutex(mine));
    EXPECT_FALSE(ReleaseMutex(mine));
    EXPECT_TRUE(CloseHandle(mine));
}

TEST_F(WaitingTest, ProcessesTakeTurns) {
    std::atomic<int> inside{0};
    std::atomic<bool> met{false};
    const auto work = [&](unsigned process) {
        const qxsim::SimulatedProcess self(process);
        for (int round = 0; round < 50; ++round) {
            HANDLE mutex = CreateMutexW(nullptr, FALSE, kName);
            EXPECT_EQ(WaitForSingleObject(mutex, INFINITE), static_cast<DWORD>(WAIT_OBJECT_0));
            met = met || ++inside != 1;
            Sleep(1);
            --inside;
            EXPECT_TRUE(ReleaseMutex(mutex));
            EXPECT_TRUE(CloseHandle(mutex));
        }
    };
    std::thread first(work, 1);
    std::thread second(work, 2);
    first.join();
    second.join();
    EXPECT_FALSE(met);
}

TEST_F(WaitingTest, AnOwnerThatDiesAbandonsTheMutex) {
    HANDLE mine = CreateMutexW(nullptr, FALSE, kName);
    std::thread([&] { EXPECT_EQ(WaitForSingleObject(mine, 0), static_cast<DWORD>(WAIT_OBJECT_0)); }).join();
    EXPECT_EQ(WaitForSingleObject(mine, INFINITE), static_cast<DWORD>(WAIT_ABANDONED));
    EXPECT_TRUE(ReleaseMutex(mine));
    EXPECT_EQ(WaitForSingleObject(mine, INFINITE), static_cast<DWORD>(WAIT_OBJECT_0));
    EXPECT_TRUE(ReleaseMutex(mine));
    {
        const qxsim::SimulatedProcess other(3);
        static_cast<void>(CreateMutexW(nullptr, FALSE, kName));
        EXPECT_EQ(WaitForSingleObject(mine, 0), static_cast<DWORD>(WAIT_OBJECT_0));
    }
    machine().EndProcess(3);  // closes what it had open
    EXPECT_EQ(WaitForSingleObject(mine, 0), static_cast<DWORD>(WAIT_ABANDONED));
    EXPECT_TRUE(CloseHandle(mine));
}

TEST_F(WaitingTest, ProgramsRunInSimulatedTime) {
    machine().programs[TEXT("C:\\Windows\\system32\\slow.exe")] = {.runs_for = 90000, .exit_code = 0};
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION information{};
    EXPECT_FALSE(CreateProcessW(TEXT("C:\\Windows\\system32\\none.exe"), nullptr, nullptr, nullptr, TRUE,
                                NORMAL_PRIORITY_CLASS, nullptr, nullptr, &startup, &information));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_TRUE(CreateProcessW(TEXT("c:\\windows\\SYSTEM32\\slow.exe"), nullptr, nullptr, nullptr, TRUE,
                               NORMAL_PRIORITY_CLASS, nullptr, nullptr, &startup, &information));
    EXPECT_EQ(WaitForSingleObject(information.hProcess, 60000), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_EQ(machine().clock, 60000U);
    EXPECT_EQ(WaitForSingleObject(information.hProcess, INFINITE), static_cast<DWORD>(WAIT_OBJECT_0));
    EXPECT_EQ(machine().clock, 90000U);
    ASSERT_EQ(machine().started_programs.size(), 1U);
    EXPECT_TRUE(CloseHandle(information.hThread));
    EXPECT_TRUE(CloseHandle(information.hProcess));
    EXPECT_EQ(WaitForSingleObject(information.hProcess, 0), WAIT_FAILED);
}

}  // namespace
