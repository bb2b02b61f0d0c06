// The main thread's repeating timers.
#include "desktop/sdl/loop/timers.h"

#include <gtest/gtest.h>

#include <string>

namespace moxi {

namespace {
TEST(Timers, TheNextDeadlineKeepsThePhase) {
    EXPECT_EQ(NextDeadline(5000, 5000, 5000), 10000u);  // on time
    EXPECT_EQ(NextDeadline(5000, 5000, 5300), 10000u);  // a little late
    EXPECT_EQ(NextDeadline(5000, 5000, 9999), 10000u);
    EXPECT_EQ(NextDeadline(5000, 5000, 23000), 25000u);  // three firings missed
    EXPECT_EQ(NextDeadline(5000, 5000, 4000), 5000u);    // not due yet
}

u64 fakeNow = 0;
std::string fired;

TEST(Timers, FireInTheOrderOfTheirDeadlinesAndSkipWhatWasMissed) {
    ResetTimers();
    fakeNow = 0;
    fired.clear();
    const auto clock = [] { return fakeNow; };
    StartTimerAt(0, 5, [] { fired += 'a'; });  // every 5,000 ns
    StartTimerAt(0, 10, [] { fired += 'b'; });
    EXPECT_FALSE(FireDueTimer(clock));
    EXPECT_EQ(EarliestDeadline(), 5000u);
    fakeNow = 5000;
    EXPECT_TRUE(FireDueTimer(clock));
    EXPECT_FALSE(FireDueTimer(clock));
    fakeNow = 10000;  // both are due: the one that was started first comes first
    EXPECT_TRUE(FireDueTimer(clock));
    EXPECT_TRUE(FireDueTimer(clock));
    EXPECT_FALSE(FireDueTimer(clock));
    EXPECT_EQ(fired, "aab");
    fakeNow = 41000;
    while (FireDueTimer(clock)) {
    }
    EXPECT_EQ(fired, "aabab");
    EXPECT_EQ(EarliestDeadline(), 45000u);
    ResetTimers();
}

TimerId ownTimer = 0;

TEST(Timers, AHandlerMayStopItsOwnTimer) {
    ResetTimers();
    fakeNow = 0;
    fired.clear();
    ownTimer = StartTimerAt(0, 1, [] {
        fired += 'x';
        StopTimer(ownTimer);
    });
    fakeNow = 1000;
    EXPECT_TRUE(FireDueTimer([] { return fakeNow; }));
    EXPECT_EQ(EarliestDeadline(), kNever);
    StopTimer(0);
    StopTimer(12345);
    EXPECT_EQ(fired, "x");
}

TEST(Timers, AnIntervalOfNothingIsOneMicrosecond) {
    ResetTimers();
    StartTimerAt(0, 0, [] {});
    EXPECT_EQ(EarliestDeadline(), 1000u);
    ResetTimers();
}
}  // namespace

}  // namespace moxi
