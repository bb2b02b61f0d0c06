// Pages of the image that are protected against writing until somebody writes.

#include "vm/page_watch.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <thread>

#include "tests/support/vm_fixture.h"
#include "vm/guard.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u32 kFar = 0x10000;  // from the header, and a page's length and more

class PageWatch : public VmTest {
  protected:
    void SetUp() override {
        VmTest::SetUp();
        MakeImage(0x80000, 0x40000, 0x60000);
        StartWatching();
    }
    void TearDown() override {
        StopWatching();
        VmTest::TearDown();
    }
};

}  // namespace

TEST_F(PageWatch, AWriteIsDoneAndRemembered) {
    ASSERT_TRUE(WatchPages(kFar, kFar + 100));
    EXPECT_TRUE(ArePagesWatched(kFar, kFar + 100));
    EXPECT_FALSE(WasWatchedPageWritten());
    Store<u32>(kFar + 50, 0x12345678);
    EXPECT_EQ(Load<u32>(kFar + 50), 0x12345678u);
    EXPECT_FALSE(ArePagesWatched(kFar, kFar + 100));
    EXPECT_TRUE(WasWatchedPageWritten());
    EXPECT_FALSE(WasWatchedPageWritten());
    // It is not watched once more.
    EXPECT_FALSE(WatchPages(kFar, kFar + 100));
    Store<u32>(kFar + 54, 1);
    EXPECT_FALSE(WasWatchedPageWritten());
}

TEST_F(PageWatch, AnotherPageStaysWatched) {
    ASSERT_TRUE(WatchPages(kFar, kFar + 4));
    ASSERT_TRUE(WatchPages(2 * kFar, 2 * kFar + 4));
    Store<u32>(kFar, 1);
    EXPECT_FALSE(ArePagesWatched(kFar, kFar + 4));
    EXPECT_TRUE(ArePagesWatched(2 * kFar, 2 * kFar + 4));
}

TEST_F(PageWatch, TheHeadersPageIsNotWatched) {
    EXPECT_FALSE(WatchPages(kHeaderSize, kHeaderSize + 4));
    Store<u32>(kHeaderPC, 7);
    EXPECT_FALSE(WasWatchedPageWritten());
}

TEST_F(PageWatch, AnotherThreadsWriteIsSeen) {
    ASSERT_TRUE(WatchPages(kFar, kFar + 4));
    std::thread([] { Store<u32>(kFar, 9); }).join();
    EXPECT_EQ(Load<u32>(kFar), 9u);
    EXPECT_TRUE(WasWatchedPageWritten());
}

TEST_F(PageWatch, TheSystemWritesWhereItWasAnnounced) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "moxi", 4), 4);
    ASSERT_TRUE(WatchPages(kFar, kFar + 4));
    u8* const bytes = CheckedRange(kFar, 4);
    LetPagesGo(bytes, 4);
    EXPECT_EQ(read(ends[0], bytes, 4), 4);
    EXPECT_EQ(std::memcmp(bytes, "moxi", 4), 0);
    EXPECT_TRUE(WasWatchedPageWritten());
    close(ends[0]);
    close(ends[1]);
}

TEST_F(PageWatch, WhatLiesFarAboveIsNotWatched) {
    MakeImage(0x1800000, 0x1700000, 0x1780000);
    StartWatching();
    EXPECT_FALSE(WatchPages(0x1400000, 0x1400004));
    EXPECT_TRUE(WatchPages(0x800000, 0x800004));
}

TEST_F(PageWatch, EverythingCanBeWrittenOnceItHasEnded) {
    ASSERT_TRUE(WatchPages(kFar, kFar + 4));
    StopWatching();
    Store<u32>(kFar, 5);
    EXPECT_FALSE(WasWatchedPageWritten());
    EXPECT_FALSE(WatchPages(kFar, kFar + 4));
}

}  // namespace moxi
