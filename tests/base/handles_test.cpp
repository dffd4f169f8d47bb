// SPDX-License-Identifier: MIT
// The owner of platform handles, over a kind of handle that only counts its closings.
#include "base/handles.h"

#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx {
namespace {

using testing::ElementsAre;

std::vector<int> closed;

struct NumberTraits {
    using Handle = int;
    static Handle Invalid() noexcept { return -1; }
    static void Close(Handle handle) noexcept {
        closed.push_back(handle);
        SetLastError(ERROR_INVALID_HANDLE);
    }
};
using Number = Owned<NumberTraits>;

class OwnedTest : public testing::Test {
  protected:
    void SetUp() override { closed.clear(); }
};

TEST_F(OwnedTest, ClosesOnceOnEveryRoad) {
    {
        Number first(1);
        Number second(std::move(first));
        EXPECT_FALSE(
            first);  // NOLINT(bugprone-use-after-move): an owner moved from is empty, and that is the point
        Number third(3);
        third = std::move(second);
        EXPECT_THAT(closed, ElementsAre(3));
        Number& same = third;
        third = std::move(same);
        EXPECT_EQ(third.Get(), 1);
        *third.Put() = 4;
        EXPECT_THAT(closed, ElementsAre(3, 1));
    }
    EXPECT_THAT(closed, ElementsAre(3, 1, 4));
}

TEST_F(OwnedTest, ReleasedAndInvalidHandlesAreNotClosed) {
    {
        Number owner(7);
        EXPECT_EQ(owner.Release(), 7);
        Number none;
        EXPECT_FALSE(none);
    }
    EXPECT_TRUE(closed.empty());
}

TEST_F(OwnedTest, ClosingKeepsTheLastError) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    { const Number owner(1); }
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    // A failed SetupDiOpenDevRegKey and a failed RegOpenKeyExW leave different values; each owner knows its
    // own.
    EXPECT_FALSE(HardwareKey(static_cast<HKEY>(INVALID_HANDLE_VALUE)));
    EXPECT_FALSE(RegistryKey(nullptr));
}

}  // namespace
}  // namespace qx
