// SPDX-License-Identifier: MIT
// The plan of an ordering: every small adapter, with every choice of free numbers.
#include "install/child_port_order.h"
#include "install/com_name.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

namespace {

using Claims = std::array<bool, 256>;

// What the steps lead to; checks on the way that no step gives a port a name that another port, or anybody
// else, has.
std::vector<DWORD> Follow(const std::vector<DWORD>& numbers, const Claims& claims,
                          const qx::OrderPlan& plan) {
    std::vector<DWORD> now = numbers;
    for (const qx::OrderStep& step : plan.steps) {
        const auto from = static_cast<DWORD>(qx::ComNumberOf(step.from.view()));
        const auto to = static_cast<DWORD>(qx::ComNumberOf(step.to.view()));
        EXPECT_EQ(now.at(step.port), from);
        EXPECT_EQ(std::ranges::count(now, to), 0) << "COM" << to << " is another port's";
        const bool own = std::ranges::find(numbers, to) != numbers.end();
        EXPECT_TRUE(own || !claims[to - 1]) << "COM" << to << " is somebody else's";
        now.at(step.port) = to;
    }
    return now;
}

// All orders of up to four ports on the numbers 3 to 7, where a further number is somebody else's or free.
TEST(OrderPlan, GetsEverySmallAdapterInOrder) {
    unsigned plans = 0;
    for (unsigned chosen = 1; chosen < 32; ++chosen) {
        std::vector<DWORD> numbers;
        for (DWORD number = 3; number <= 7; ++number)
            if ((chosen >> (number - 3) & 1) != 0)
                numbers.push_back(number);
        if (numbers.size() > 4)
            continue;
        const std::vector<DWORD> sorted = numbers;
        do {
            std::vector<qx::Text> names;
            for (const DWORD number : numbers)
                names.push_back(qx::ComNameOf(number));
            // Each other number from 3 to 9 is claimed or not, and so are the ports' own: claims get lost.
            for (unsigned taken = 0; taken < 128; ++taken) {
                Claims claims{};
                for (DWORD number = 3; number <= 9; ++number)
                    claims[number - 1] = (taken >> (number - 3) & 1) != 0;
                const qx::OrderPlan plan = qx::PlanOrder(names, claims);
                ++plans;
                EXPECT_TRUE(plan.complete);
                EXPECT_EQ(Follow(numbers, claims, plan), sorted);
                EXPECT_EQ(plan.steps.empty(), numbers == sorted);
            }
        } while (std::ranges::next_permutation(numbers).found);
    }
    EXPECT_EQ(plans, (5U * 1 + 10 * 2 + 10 * 6 + 5 * 24) * 128);
}

// With no number left a swap is not begun; a port whose number is nobody's still moves.
TEST(OrderPlan, EndsWhereASwapFindsNoNumber) {
    Claims claims{};
    claims.fill(true);
    const std::vector<DWORD> numbers{5, 4, 3};
    const std::vector<qx::Text> names{TEXT("COM5"), TEXT("COM4"), TEXT("COM3")};
    const qx::OrderPlan stuck = qx::PlanOrder(names, claims);
    EXPECT_FALSE(stuck.complete);
    EXPECT_TRUE(stuck.steps.empty());
    claims[254] = false;
    const qx::OrderPlan plan = qx::PlanOrder(names, claims);
    EXPECT_TRUE(plan.complete);
    EXPECT_EQ(plan.steps.front().to, qx::Text(TEXT("COM255")));
    EXPECT_EQ(Follow(numbers, claims, plan), (std::vector<DWORD>{3, 4, 5}));
    claims[254] = true;
    claims[255] = false;  // never stepped aside to
    EXPECT_FALSE(qx::PlanOrder(names, claims).complete);
}

// Names that are none, and names that two ports share, are carried along.
TEST(OrderPlan, TakesNamesAsTheyStand) {
    const std::vector<qx::Text> odd{TEXT("COM9"), TEXT("LPT7"), TEXT("COM7")};
    EXPECT_TRUE(qx::PlanOrder(odd, {}).complete);
    const std::vector<qx::Text> twins{TEXT("COM5"), TEXT("COM5")};
    EXPECT_TRUE(qx::PlanOrder(twins, {}).steps.empty());
    EXPECT_TRUE(qx::PlanOrder({}, {}).steps.empty());
}

TEST(RenamePlan, AsksOnlyForANumberThatIsTaken) {
    using Number = qx::RenamePlan::Number;
    EXPECT_TRUE(qx::PlanRename(TEXT("COM5"), TEXT("COM5"), false, false).nothing_to_do);
    const qx::RenamePlan plan = qx::PlanRename(TEXT("COM5"), TEXT("COM12"), true, true);
    EXPECT_FALSE(plan.nothing_to_do);
    EXPECT_EQ(plan.old_number, 5U);
    EXPECT_EQ(plan.new_number, 12U);
    EXPECT_EQ(plan.number, Number::kFree);
    EXPECT_EQ(qx::PlanRename(TEXT("COM5"), TEXT("COM12"), false, false).number, Number::kAsk);
    EXPECT_EQ(qx::PlanRename(TEXT("COM5"), TEXT("COM12"), false, true).number, Number::kTake);
}

}  // namespace
