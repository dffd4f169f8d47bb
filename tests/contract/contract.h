// SPDX-License-Identifier: MIT
// What the platform promises, stated once and held against both platforms: the simulated computer, and the
// system that Windows programs run on. It keeps the simulation honest: a test over it proves something about
// the shipped library only as far as these statements hold on both sides.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <setupapi.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace contract {

struct Contract {
    const char* area;
    const char* name;
    const char* calls;       // whose behaviour is stated, separated by blanks
    const char* wine_lacks;  // why Wine cannot be asked; null when it can
    void (*check)();
};

// Every contract, in the order of the program's table.
std::vector<Contract>& All();
bool Enter(const Contract& contract);

#define CONTRACT(area, name, calls) CONTRACT_UNLESS(area, name, calls, nullptr)
// For what Wine has no answer to. It is asked of the simulated computer, and of any real system.
#define CONTRACT_UNLESS(area, name, calls, wine_lacks)                     \
    static void area##_##name();                                           \
    [[maybe_unused]] static const bool area##_##name##_entered =           \
        contract::Enter({#area, #name, calls, wine_lacks, area##_##name}); \
    static void area##_##name()

#define IS(actual, ...) EXPECT_EQ(actual, (__VA_ARGS__))
#define HOLDS(condition) EXPECT_TRUE(static_cast<bool>(condition))
#define NEEDS(condition) ASSERT_TRUE(static_cast<bool>(condition))
// The call fails and says why: the last error is spoilt before, so that an old one cannot pass.
#define FAILS_WITH(call, error)                               \
    do {                                                      \
        SetLastError(0xBADDCAFE);                             \
        EXPECT_FALSE(contract::Succeeded(call));              \
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(error)); \
    } while (false)

inline bool Succeeded(BOOL result) {
    return result != FALSE;
}
inline bool Succeeded(DWORD count) {
    return count != 0;
}
inline bool Succeeded(const void* handle) {
    return handle != nullptr && handle != INVALID_HANDLE_VALUE;
}

// --- the computer that is asked ---

// Whether this is Wine, whose known gaps are not asked for.
bool OnWine();

// What the computer at hand lacks and a contract needs; the contract is skipped, with these words.
struct Lacking {
    const char* what;
};
// Started with --bare, the program installs nothing: there is no test driver, and on Wine no port database.
inline bool bare = false;

// An installed, present serial port with a control device: COM number 7, a friendly name, a driver key.
// Throws Lacking on a bare computer.
struct Port {
    HDEVINFO set = INVALID_HANDLE_VALUE;
    SP_DEVINFO_DATA element{};
};
const Port& TestPort();

// A file with a type library in it.
const WCHAR* TypeLibraryFile();

// Runs `work`, which opens modal windows on this thread, with a user who takes one step whenever they have
// nothing to do.
void RunModal(const std::function<void()>& work, const std::function<bool()>& step);

// The calls of the shipped library that are neither in `stated` nor excused; none where there is no such
// file.
std::vector<std::string> CallsWithoutContract(const std::set<std::string>& stated);

// Made before the first contract and undone after the last.
class Computer : public testing::Environment {
  public:
    void SetUp() override;
    void TearDown() override;
};

}  // namespace contract
