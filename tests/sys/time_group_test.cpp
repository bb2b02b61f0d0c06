#include "service_fixture.h"

namespace moxi {

namespace {

struct TimerStart {
    u64 microseconds;
    void (*handler)();
};
std::vector<TimerStart> started;
std::vector<TimerId> stopped;
u64 now = 0;
int clockReadings = 0;
int ticks = 0;
DateTime date;

class TimeGroup : public ServiceTest {
  protected:
    void SetUp() override {
        ServiceTest::SetUp();
        started.clear();
        stopped.clear();
        now = 0;
        clockReadings = ticks = 0;
        desktop.startTimer = [](u64 microseconds, void (*handler)()) {
            started.push_back({microseconds, handler});
            return static_cast<TimerId>(6 + started.size());
        };
        desktop.stopTimer = [](TimerId timer) { stopped.push_back(timer); };
        desktop.nanoseconds = [] { return now; };
        desktop.clockWasRead = [] { clockReadings++; };
        desktop.localDateTime = [] { return date; };
        sysSlots.onTimer = [] { ticks++; };
    }
};

TEST_F(TimeGroup, ARunningTimerKeepsItsPeriod) {
    EXPECT_EQ(Call(0x0200, {100}), kResultBefore);
    EXPECT_TRUE(ModuleTimerRuns());
    EXPECT_EQ(Call(0x0200, {50}), kResultBefore);
    ASSERT_EQ(started.size(), 1u);
    EXPECT_EQ(started[0].microseconds, 100000u);
    started[0].handler();
    EXPECT_EQ(ticks, 1);
}

TEST_F(TimeGroup, StoppingWhenNoTimerRunsHasNoEffect) {
    EXPECT_EQ(Call(0x0200, {0}), kResultBefore);
    EXPECT_TRUE(stopped.empty());
    EXPECT_FALSE(ModuleTimerRuns());
}

TEST_F(TimeGroup, APeriodIsChangedByStoppingFirst) {
    Call(0x0200, {100});
    Call(0x0200, {0});
    EXPECT_FALSE(ModuleTimerRuns());
    Call(0x0200, {0});
    Call(0x0200, {50});
    EXPECT_EQ(stopped, std::vector<TimerId>{7});
    ASSERT_EQ(started.size(), 2u);
    EXPECT_EQ(started[1].microseconds, 50000u);
    StopModuleTimer();
    EXPECT_EQ(stopped, (std::vector<TimerId>{7, 8}));
}

TEST_F(TimeGroup, PeriodsRangeFromOneMillisecondToUnsigned32Bits) {
    Call(0x0200, {1});
    Call(0x0200, {0});
    Call(0x0200, {0xFFFFFFFF});
    EXPECT_EQ(started[0].microseconds, 1000u);
    EXPECT_EQ(started[1].microseconds, 4294967295000u);
}

TEST_F(TimeGroup, ReadingsOneSecondApartDifferByAThousand) {
    now = 123456789;
    EXPECT_EQ(Call(0x0201, {}), 123u);
    now += 1000000000;
    EXPECT_EQ(Call(0x0201, {}), 1123u);
    EXPECT_EQ(clockReadings, 2) << "virtual time is told of each reading";
    MilliSeconds();
    EXPECT_EQ(clockReadings, 2);
}

TEST_F(TimeGroup, MillisecondsAreTruncated) {
    now = 999999;
    EXPECT_EQ(MilliSeconds(), 0u);
    for (u64 milliseconds = 1; milliseconds < 100000; milliseconds += 7) {
        now = milliseconds * 1000000;
        ASSERT_EQ(MilliSeconds(), milliseconds);
        now -= 1;
        ASSERT_EQ(MilliSeconds(), milliseconds - 1);
    }
}

TEST_F(TimeGroup, TheModulesClockIsTheLow32Bits) {
    now = u64{0x100000005} * 1000000;
    EXPECT_EQ(Call(0x0201, {}), 5u);
    EXPECT_EQ(MilliSeconds(), 0x100000005u);
    EXPECT_EQ(Load<u64>(kHeaderR14), 0x1122334400000005u);
}

TEST_F(TimeGroup, TheDateIs19CharactersAndANul) {
    date = {2024, 3, 7, 9, 5, 41};
    const u32 buffer = kImageSize - 20;
    EXPECT_EQ(Call(0x0202, {buffer}), kResultBefore);
    EXPECT_EQ(BytesAt(buffer, 20), std::string("2024-03-07 09:05:41\0", 20));
    ExpectFault(0x0202, {kImageSize - 19});
    date = {1, 1, 1, 0, 0, 0};
    Call(0x0202, {buffer});
    EXPECT_EQ(TextAt(buffer), "0001-01-01 00:00:00");
}

}  // namespace

}  // namespace moxi
