#include "pages/latency_scale.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using qx::LatencyOfPosition;

TEST(LatencyScale, NeverFallsAndStaysWithinTheSlidersRange) {
    int before = 2;
    for (int position = qx::kLowestLatencyPosition; position <= qx::kHighestLatencyPosition; ++position) {
        const int latency = LatencyOfPosition(position);
        ASSERT_GE(latency, before) << position;
        ASSERT_LE(latency, position) << position;  // the curve hangs below the straight line
        before = latency;
    }
}

TEST(LatencyScale, HasThePointsThatTheDriversManualGives) {
    constexpr std::pair<int, int> kPoints[] = {{2, 2},        {16, 2},        {206, 2},
                                               {207, 3},      {1000, 25},     {8321, 2114},
                                               {10000, 3321}, {16639, 16379}, {16640, 16640}};
    for (const auto& [position, latency] : kPoints)
        EXPECT_EQ(LatencyOfPosition(position), latency) << position;
}

}  // namespace
