// SPDX-License-Identifier: MIT
#include "pages/latency_scale.h"

#include <gtest/gtest.h>

namespace {

TEST(LatencyScale, NeverFallsAndHangsBelowTheStraightLine) {
    int before = 2;
    long long sum = 0;
    for (int position = qx::kLowestLatencyPosition; position <= qx::kHighestLatencyPosition; ++position) {
        const int latency = qx::LatencyOfPosition(position);
        ASSERT_GE(latency, before) << position;
        ASSERT_LE(latency, position) << position;
        before = latency;
        sum += latency;
    }
    EXPECT_EQ(before, qx::kHighestLatencyPosition);
    EXPECT_EQ(sum, 63391316) << "drivers are tuned by this scale: no entry of it may change";
}

}  // namespace
