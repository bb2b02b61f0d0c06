// The desktops' repeating timers.
#include "desktop/common/timers.h"

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

Timers timers;
u64 fakeNow = 0;
std::string fired;

bool Fire() {
    return FireDueTimer(
        timers, fakeNow, [] { return fakeNow; }, [](void (*handler)()) { handler(); });
}

TEST(Timers, FireInTheOrderOfTheirDeadlinesAndSkipWhatWasMissed) {
    timers = {};
    fakeNow = 0;
    fired.clear();
    StartTimer(timers, 0, 5000, [] { fired += 'a'; });
    StartTimer(timers, 0, 10000, [] { fired += 'b'; });
    EXPECT_FALSE(Fire());
    EXPECT_EQ(EarliestDeadline(timers), 5000u);
    fakeNow = 5000;
    EXPECT_TRUE(Fire());
    EXPECT_FALSE(Fire());
    fakeNow = 10000;  // both are due: the one that was started first comes first
    EXPECT_TRUE(Fire());
    EXPECT_TRUE(Fire());
    EXPECT_FALSE(Fire());
    EXPECT_EQ(fired, "aab");
    fakeNow = 41000;
    while (Fire()) {
    }
    EXPECT_EQ(fired, "aabab");
    EXPECT_EQ(EarliestDeadline(timers), 45000u);
    timers = {};
}

TimerId ownTimer = 0;

TEST(Timers, AHandlerMayStopItsOwnTimer) {
    timers = {};
    fakeNow = 0;
    fired.clear();
    ownTimer = StartTimer(timers, 0, 1000, [] {
        fired += 'x';
        StopTimer(timers, ownTimer);
    });
    fakeNow = 1000;
    EXPECT_TRUE(Fire());
    EXPECT_EQ(EarliestDeadline(timers), kNever);
    StopTimer(timers, 0);
    StopTimer(timers, 12345);
    EXPECT_EQ(fired, "x");
}

TEST(Timers, WhileTheyAreHeldNoneFiresAndLaterTheyGoOnFromWhereTheyWere) {
    timers = {};
    fired.clear();
    StartTimer(timers, 0, 1000, [] { fired += 'x'; });
    fakeNow = 1000;
    EXPECT_TRUE(Fire());
    HoldTimers(timers, 1400);
    EXPECT_EQ(EarliestDeadline(timers), kNever);
    EXPECT_EQ(TimeWithoutHolds(timers, 9000), 1400u);
    fakeNow = 9000;
    EXPECT_FALSE(Fire());
    LetTimersGo(timers, 9000);
    // 600 were left.
    EXPECT_EQ(EarliestDeadline(timers), 9600u);
    EXPECT_EQ(TimeWithoutHolds(timers, 9600), 2000u);
    fakeNow = 9600;
    EXPECT_TRUE(Fire());
    EXPECT_FALSE(Fire());
    EXPECT_EQ(EarliestDeadline(timers), 10600u);
    // A second time holds count together.
    HoldTimers(timers, 10000);
    LetTimersGo(timers, 10100);
    LetTimersGo(timers, 10200);
    EXPECT_EQ(TimeWithoutHolds(timers, 10200), 2500u);
    EXPECT_EQ(fired, "xx");
    timers = {};
}

TEST(Timers, TheHostsOwnGoOnWhileThoseOfTheGameAreHeld) {
    timers = {};
    fired.clear();
    StartTimer(timers, 0, 300, [] { fired += 'g'; });
    StartTimer(
        timers, 0, 500, [] { fired += 'h'; }, TimerOwner::Host);
    HoldTimers(timers, 100);
    EXPECT_EQ(EarliestDeadline(timers), 500u);
    fakeNow = 500;
    EXPECT_TRUE(Fire());
    EXPECT_FALSE(Fire());
    EXPECT_EQ(EarliestDeadline(timers), 1000u);
    LetTimersGo(timers, 600);
    // 200 were left of the game's; the host's kept its phase.
    EXPECT_EQ(EarliestDeadline(timers), 800u);
    fakeNow = 1000;
    EXPECT_TRUE(Fire());
    EXPECT_TRUE(Fire());
    EXPECT_FALSE(Fire());
    EXPECT_EQ(fired, "hgh");
    timers = {};
}

TEST(Timers, AnIntervalOfNothingIsOne) {
    timers = {};
    StartTimer(timers, 0, 0, [] {});
    EXPECT_EQ(EarliestDeadline(timers), 1u);
    timers = {};
}
}  // namespace

}  // namespace moxi
