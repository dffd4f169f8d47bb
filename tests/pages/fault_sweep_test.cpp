// SPDX-License-Identifier: MIT
// A user's visit to every page with one thing going wrong at a time. What must then hold stands in visits.h.
#include "tests/pages/visits.h"

#include <cstdio>

namespace qxtest {
namespace {

class FaultSweep : public VisitTest {
  public:
    // Makes the visit with each call of `function` (any, when empty) failing in turn: once, together with the
    // next one, and for good.
    void FailEachCall(const Visit& visit, const char* function, bool values_count) {
        for (const std::uint64_t failing : {std::uint64_t{1}, std::uint64_t{2}, kForGood}) {
            std::uint64_t nth = 0;
            bool fired = false;
            do {
                ++nth;
                const std::string wrong = Run(
                    visit,
                    [&](const Steps& steps) {
                        instruments().Inject(
                            {.function = function, .nth = nth, .for_good = failing == kForGood});
                        if (failing == 2)
                            instruments().Inject({.function = function, .nth = nth + 1});
                        ShowProperties(steps);
                        fired = instruments().FaultsFired() > 0;
                        instruments().ClearFaults();
                    },
                    values_count);
                EXPECT_EQ(wrong, "") << visit.name << ", " << function << " call " << nth << ", " << failing
                                     << " failing";
                ASSERT_LT(nth, 100000U);
            } while (fired);
            runs_ += nth;
        }
    }

    static constexpr std::uint64_t kForGood = UINT64_MAX;
    std::uint64_t runs_ = 0;
};

TEST_F(FaultSweep, OfAnyCallLeavesNothingOpenAndNothingHalfDone) {
    for (const Visit& visit : Visits()) {
        ASSERT_EQ(Run(visit, [this](const Steps& steps) { ShowProperties(steps); }), "") << visit.name;
        FailEachCall(visit, "", false);
    }
    std::printf("%llu runs\n", static_cast<unsigned long long>(runs_));
}

// The control device that cannot be opened, and the request that is refused.
TEST_F(FaultSweep, OfTheDriverChangesNothingThatTheUserDidNot) {
    for (const Visit& visit : Visits())
        for (const char* function : {"CreateFileW", "DeviceIoControl"})
            FailEachCall(visit, function, true);
    std::printf("%llu runs\n", static_cast<unsigned long long>(runs_));
}

// Every answer cut to every third length, one answer at a time; three requests in a row make up every length.
TEST_F(FaultSweep, OfShortAnswersChangesNothingThatTheUserDidNot) {
    constexpr std::uint32_t kLongestAnswer = 4 * qxsim::kPortSettingCount;
    const auto show = [this](const Steps& steps) { ShowProperties(steps); };
    for (const Visit& visit : Visits()) {
        cut = {};
        EXPECT_EQ(Run(visit, show), "");
        const std::uint64_t answers = requests;
        for (cut.request = 1; cut.request <= answers; ++cut.request)
            for (cut.length = static_cast<std::uint32_t>(cut.request % 3); cut.length < kLongestAnswer;
                 cut.length += 3, ++runs_)
                EXPECT_EQ(Run(visit, show), "")
                    << visit.name << ", answer " << cut.request << " cut to " << cut.length << " bytes";
    }
    std::printf("%llu runs\n", static_cast<unsigned long long>(runs_));
}

}  // namespace
}  // namespace qxtest
