// A user's visit to every page with one platform call failing, each in turn, once and for good: nothing is
// left open, no driver is left with half of a change, and the sheet can always be closed.
#include "tests/pages/visits.h"

namespace qxtest {
namespace {

using FaultSweep = VisitTest;

TEST_F(FaultSweep, LeavesNothingOpenAndNothingHalfDone) {
    for (const Visit& visit : Visits()) {
        ASSERT_EQ(Run(visit, [this](const Steps& steps) { ShowProperties(steps); }), "") << visit.name;
        for (const bool for_good : {false, true}) {
            std::uint64_t calls = 0;
            bool fired = false;
            do {
                const std::string wrong = Run(visit, [&](const Steps& steps) {
                    instruments().Inject({.function = {}, .nth = ++calls, .for_good = for_good});
                    ShowProperties(steps);
                    fired = instruments().FaultsFired() > 0;
                    instruments().ClearFaults();
                });
                ASSERT_EQ(wrong, "") << visit.name << ", call " << calls
                                     << (for_good ? " and all after it" : "") << " failed";
                ASSERT_LT(calls, 100000U);
            } while (fired);
            RecordProperty(std::string(visit.name) + (for_good ? ", for good" : ", once"),
                           static_cast<int>(calls - 1));
            std::printf("%s, %s: %d calls failed in turn\n", visit.name, for_good ? "for good" : "once",
                        static_cast<int>(calls - 1));
        }
    }
}

}  // namespace
}  // namespace qxtest
