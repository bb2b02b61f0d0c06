// Where windows were: the file of places, and frames on screens that may be gone.

#include "host/window_place.h"

#include <gtest/gtest.h>

#include "host/window.h"
#include "tests/support/host_bench.h"

namespace moxi {

namespace {

const std::vector<Screen> kOneScreen = {{{0, 0, 1920, 1080}, {0, 40, 1920, 1040}}};

TEST(WindowPlace, TheNewestLineOfAGameCounts) {
    const std::string places =
        "1 2 600 400 Drift\n-5 -6 1000 600 A Game of 3 Words\n7 8 700 500 Drift\n";
    EXPECT_EQ(FindPlace(places, "Drift"), (WindowFrame{7, 8, 700, 500}));
    EXPECT_EQ(FindPlace(places, "A Game of 3 Words"), (WindowFrame{-5, -6, 1000, 600}));
    EXPECT_EQ(FindPlace(places, "Game"), std::nullopt);
    EXPECT_EQ(FindPlace("", "Drift"), std::nullopt);
}

TEST(WindowPlace, LinesThatAreNoneAreLeftOut) {
    for (const char* const line :
         {"1 2 3 Drift", "1 2 600 49 Drift", "1 2 32768 400 Drift", "1 2 -600 400 Drift",
          "99999999999 2 0 400 Drift", "1 2 600 400", "1 2 600 400 ", "", " ", "Drift"}) {
        EXPECT_EQ(FindPlace(std::string(line) + "\n", "Drift"), std::nullopt) << line;
        EXPECT_EQ(WithPlace(std::string(line) + "\n", "Drift", std::nullopt), "") << line;
    }
}

TEST(WindowPlace, ANameMayBeginWithBlanks) {
    const std::string places = "1 2 600 400   Drift\n";
    EXPECT_EQ(FindPlace(places, "  Drift"), (WindowFrame{1, 2, 600, 400}));
    EXPECT_EQ(FindPlace(places, "Drift"), std::nullopt);
    EXPECT_EQ(WithPlace(places, "  Drift", WindowFrame{9, 8, 800, 600}), "9 8 800 600   Drift\n");
}

TEST(WindowPlace, ANewPlaceTakesTheOldOnesAndAllOthersStay) {
    const std::string places = "1 2 600 400 Drift\n3 4 700 500 Other\n";
    EXPECT_EQ(WithPlace(places, "Drift", WindowFrame{9, -8, 800, 600}),
              "3 4 700 500 Other\n9 -8 800 600 Drift\n");
    EXPECT_EQ(WithPlace(places, "Drift", std::nullopt), "3 4 700 500 Other\n");
}

TEST(WindowPlace, TheOldestPlaceGoesWhenThereAreTooMany) {
    std::string places;
    for (size_t i = 0; i < kMostPlaces; ++i) {
        places = WithPlace(places, "Game " + std::to_string(i), WindowFrame{0, 0, 600, 400});
    }
    EXPECT_TRUE(FindPlace(places, "Game 0"));
    places = WithPlace(places, "One more", WindowFrame{0, 0, 600, 400});
    EXPECT_FALSE(FindPlace(places, "Game 0"));
    EXPECT_TRUE(FindPlace(places, "Game 1"));
}

TEST(WindowPlace, AFrameWhoseUpperEdgeIsOnAScreenStays) {
    for (const WindowFrame& frame :
         {WindowFrame{100, 100, 1000, 600}, WindowFrame{-900, 300, 1000, 600},
          WindowFrame{1850, 100, 1000, 600}, WindowFrame{0, -500, 1000, 600},
          WindowFrame{0, 40, 1920, 1060}}) {
        EXPECT_EQ(OnAScreen(frame, kOneScreen), frame) << frame.x << " " << frame.y;
    }
}

TEST(WindowPlace, AFrameOfAScreenThatIsGoneComesToTheMiddleOfTheMainOne) {
    // (1920 - 1000) / 2 = 460, 40 + (1040 - 600) / 2 = 260
    for (const WindowFrame& frame :
         {WindowFrame{2000, 100, 1000, 600}, WindowFrame{-990, 300, 1000, 600},
          WindowFrame{100, 1100, 1000, 600}, WindowFrame{100, -590, 1000, 600}}) {
        EXPECT_EQ(OnAScreen(frame, kOneScreen), (WindowFrame{460, 260, 1000, 600}))
            << frame.x << " " << frame.y;
    }
    EXPECT_EQ(OnAScreen({4000, 0, 3000, 2000}, kOneScreen), (WindowFrame{0, 40, 1920, 1040}));
    // On a second screen it stays, as long as that is there.
    std::vector<Screen> two = kOneScreen;
    two.push_back({{1920, 0, 1280, 1024}, {1920, 0, 1280, 1024}});
    EXPECT_EQ(OnAScreen({2000, 100, 1000, 600}, two), (WindowFrame{2000, 100, 1000, 600}));
}

// --- A run

class WindowPlaces : public HostTest {
  protected:
    void SetUp() override {
        HostTest::SetUp();
        ResetWindowPlace();
        set.clear();
        file = folder.path + "/windows";
    }
    void TearDown() override {
        ResetWindowPlace();
        HostTest::TearDown();
    }
    static void SetFrame(WindowFrame frame) { set.push_back(frame); }

    static inline std::vector<WindowFrame> set;
    TemporaryFolder folder;
    std::string file;
};

TEST_F(WindowPlaces, AWindowComesBackWhereItWas) {
    ReadWindowPlace(file, "Drift");
    RestoreWindowPlace(SetFrame);
    EXPECT_TRUE(set.empty());
    hostBench.frame = {30, 50, 800, 500};
    SaveWindowPlace();
    EXPECT_EQ(ReadTextFile(file), "30 50 800 500 Drift\n");

    ResetWindowPlace();
    ReadWindowPlace(file, "Drift");
    RestoreWindowPlace(SetFrame);
    EXPECT_EQ(set, (std::vector{WindowFrame{30, 50, 800, 500}}));
}

TEST_F(WindowPlaces, InFullScreenTheFrameBeforeCounts) {
    ReadWindowPlace(file, "Drift");
    hostBench.frame = {30, 50, 800, 500};
    NoteWindowPlace();
    hostBench.frame = {0, 0, 1920, 1080};
    hostBench.fullScreen = true;
    SaveWindowPlace();
    EXPECT_EQ(ReadTextFile(file), "30 50 800 500 Drift\n");
}

TEST_F(WindowPlaces, AClosedWindowIsWhereItWasWhenItWasClosed) {
    ReadWindowPlace(file, "Drift");
    hostBench.frame = {30, 50, 800, 500};
    NoteLastWindowPlace();
    hostBench.frame = {};
    SaveWindowPlace();
    EXPECT_EQ(ReadTextFile(file), "30 50 800 500 Drift\n");
}

TEST_F(WindowPlaces, AGameThatPlacesItsWindowIsLeftAlone) {
    WriteTextFile(file, "30 50 800 500 Drift\n1 2 600 400 Other\n");
    ReadWindowPlace(file, "Drift");
    modulePlacesWindow = true;
    RestoreWindowPlace(SetFrame);
    EXPECT_TRUE(set.empty());
    SaveWindowPlace();
    EXPECT_EQ(ReadTextFile(file), "1 2 600 400 Other\n");
}

TEST_F(WindowPlaces, WithoutAFileNothingIsKept) {
    ReadWindowPlace("", "Drift");
    RestoreWindowPlace(SetFrame);
    SaveWindowPlace();
    EXPECT_TRUE(set.empty());
}

}  // namespace

}  // namespace moxi
