// Start-up, the window's geometry in both directions, full screen, closing, changes of the
// displays.

#include "host/window.h"

#include <gtest/gtest.h>

#include "gfx/bitmap.h"
#include "host/delegate.h"
#include "host/queue.h"
#include "host/session.h"
#include "tests/support/host_bench.h"
#include "tests/support/message_log.h"
#include "tests/support/picture.h"
#include "vm/run_cycle.h"

namespace moxi {

namespace {

using Strings = std::vector<std::string>;
using Words = std::vector<u32>;

// Message 100 asks for the geometry `wanted`; message 200 reads the geometry into `frame` and the
// windowed size into `windowed`.
LoggingModule GeometryModule(const std::string& wanted = "0, 0, 0, 0, 0") {
    LoggingModule module;
    module.on[100] = "        PUSH.L  #wanted\n        SERVICE 0x0709, 4\n";
    module.on[200] =
        "        PUSH.L  #frame\n        SERVICE 0x0708, 4\n"
        "        SERVICE 0x070A, 0\n        MOVE.Q  [windowed], R14\n";
    module.data = "wanted: .long " + wanted + "\nframe: .space 20\nwindowed: .space 8\n";
    return module;
}

HeadlessResult Played(const LoggingModule& module, const std::string& script,
                      const Strings& options = {}) {
    HeadlessResult result = Play(module, script, options);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, Strings{});
    return result;
}

Words Frame(const HeadlessResult& result) {
    const u32 frame = result.Label("frame");
    return {result.Long(frame), result.Long(frame + 4), result.Long(frame + 8),
            result.Long(frame + 12), result.Long(frame + 16)};
}

Words Windowed(const HeadlessResult& result) {
    const u32 windowed = result.Label("windowed");
    return {result.Long(windowed), result.Long(windowed + 4)};
}

// The geometry that a window has which was asked for in these words.
Words FrameFor(const std::string& wanted) {
    return Frame(Played(GeometryModule(wanted), "50 post 100 0 0 0\n60 post 200 0 0 0\n"));
}

// --- Start-up

TEST(StartUp, BringsTheTwoStartsTheSizeThePlaceAndTheSizeOnceMore) {
    EXPECT_EQ(LoggedMessages(Played({}, "")), (Messages{{MSG_START1},
                                                        {MSG_START2},
                                                        {MSG_SIZE, 1000, 600, 0},
                                                        {MSG_MOVE, 100, 100, 0},
                                                        {MSG_SIZE, 1000, 600, 0}}));
}

TEST(StartUp, TellsTheGeometryThatTheModuleAskedForMeanwhile) {
    LoggingModule module = GeometryModule("200, 150, 800, 500, 0");
    module.on[MSG_START1] = module.on[100];
    EXPECT_EQ(LoggedMessages(Played(module, "")), (Messages{{MSG_START1},
                                                            {MSG_START2},
                                                            {MSG_SIZE, 800, 500, 0},
                                                            {MSG_MOVE, 200, 150, 0},
                                                            {MSG_SIZE, 800, 500, 0}}));
}

TEST(StartUp, ASizeThatTheModuleAsksForInItsFirstSizeMessageIsTheOneThatIsRepeated) {
    LoggingModule module = GeometryModule("200, 150, 800, 500, 0");
    module.on[MSG_SIZE] = module.on[100];
    EXPECT_EQ(LoggedMessages(Played(module, "")), (Messages{{MSG_START1},
                                                            {MSG_START2},
                                                            {MSG_SIZE, 1000, 600, 0},
                                                            {MSG_MOVE, 200, 150, 0},
                                                            {MSG_SIZE, 800, 500, 0}}));
}

TEST(StartUp, TheScreenIsOpaqueBlackAndTheSizeOfAllScreensTogether) {
    const TemporaryFolder folder;
    Played({}, "",
           {"--desktop", "800x600,640x900", "--dump-screen", folder.path + "/screen.png",
            "--dump-view", folder.path + "/view.png"});
    const Picture screen = ReadPicture(folder.path + "/screen.png");
    EXPECT_EQ(screen.width, 1440u);
    EXPECT_EQ(screen.height, 900u);
    EXPECT_EQ(screen.Colour(0, 0, 1440, 900), 0x000000u);
    const Picture view = ReadPicture(folder.path + "/view.png");
    EXPECT_EQ(view.width, 1000u);
    EXPECT_EQ(view.height, 600u);
    EXPECT_EQ(view.Colour(0, 0, 1000, 600), 0x000000u);
}

TEST(StartUp, TheFullScreenOptionTakesEffectRightAfterTheLaunch) {
    EXPECT_EQ(LoggedMessages(Played({}, "", {"--full-screen"})),
              (Messages{{MSG_START1},
                        {MSG_START2},
                        {MSG_SIZE, 1000, 600, 0},
                        {MSG_MOVE, 100, 100, 0},
                        {MSG_SIZE, 1920, 1080, 0},
                        {MSG_SIZE, 1920, 1080, 2},
                        {MSG_SIZE, 1920, 1080, 2},
                        {MSG_SIZE, 1920, 1080, 0}}));
}

// A sanitizer needs the addresses that this takes away.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__clang__)
TEST(StartUp, AScreenBitmapThatCannotBeMadeEndsTheProgram) {
    const TemporaryFolder folder;
    const AssembleResult module = Assemble(LoggingModule().Source(), "test.mxs");
    WriteTextFile(folder.path + "/MAIN.MX", std::string(module.bytes.begin(), module.bytes.end()));
    // 65,533 x 32,767 pixels of four bytes are 8.6 GB.
    const ProgramResult result = RunProgram(
        "/bin/sh",
        {"-c", "ulimit -v 12000000 && exec \"$0\" --headless --desktop 32767x32767,32766x10 .",
         MOXI_BIN_DIR "/moxi"},
        folder.path);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "fatal: Failed creating screen BITMAP. Terminating. So sorry!\n");
}
#endif

// --- Asking for a geometry

TEST(Geometry, AsAskedForAndNotToldBack) {
    const HeadlessResult result =
        Played(GeometryModule("200, 150, 800, 500, 0"), "50 post 100 0 0 0\n60 post 200 0 0 0\n");
    EXPECT_EQ(Frame(result), (Words{200, 150, 800, 500, 0}));
    EXPECT_EQ(Windowed(result), (Words{800, 500}));
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{100, 0, 0, 0}, {200, 0, 0, 0}}));
}

TEST(Geometry, A500By300WindowBecomes600By400At30And20) {
    EXPECT_EQ(FrameFor("500, 500, 500, 300, 0"), (Words{30, 20, 600, 400, 0}));
}

TEST(Geometry, OneSmallSideIsEnough) {
    EXPECT_EQ(FrameFor("7, 7, 599, 1000, 0"), (Words{30, 20, 600, 400, 0}));
    EXPECT_EQ(FrameFor("7, 7, 1000, 399, 0"), (Words{30, 20, 600, 400, 0}));
    EXPECT_EQ(FrameFor("7, 8, 600, 400, 0"), (Words{7, 8, 600, 400, 0}));
}

TEST(Geometry, TheDefaultFrameIsWhatTheModuleIsTold) {
    LoggingModule module = GeometryModule("7, 7, 500, 300, 0");
    module.on[MSG_START1] = module.on[100];
    EXPECT_EQ(LoggedMessages(Played(module, "")), (Messages{{MSG_START1},
                                                            {MSG_START2},
                                                            {MSG_SIZE, 600, 400, 0},
                                                            {MSG_MOVE, 30, 20, 0},
                                                            {MSG_SIZE, 600, 400, 0}}));
}

TEST(Geometry, AZeroSizeTakesTheLastGoodGeometry) {
    // Never read, it is still that of the window's creation.
    EXPECT_EQ(FrameFor("7, 7, 0, 500, 0"), (Words{100, 100, 1000, 600, 0}));
    EXPECT_EQ(FrameFor("7, 7, 500, 0, 1"), (Words{100, 100, 1000, 600, 0}));
    // A move reads it.
    LoggingModule module = GeometryModule("7, 7, 0, 0, 0");
    const HeadlessResult result =
        Played(module, "40 resize 700 500\n45 move 40 50\n50 post 100 0 0 0\n60 post 200 0 0 0\n");
    EXPECT_EQ(Frame(result), (Words{40, 50, 700, 500, 0}));
}

TEST(Geometry, NegativePlacesAreSigned) {
    EXPECT_EQ(FrameFor("-10, -20, 800, 500, 0"), (Words{0xFFFFFFF6, 0xFFFFFFEC, 800, 500, 0}));
}

TEST(Geometry, SizesBeyondTheDesktopsLimitAreCut) {
    const std::string script = "50 post 100 0 0 0\n60 post 200 0 0 0\n";
    const HeadlessResult wide = Play(GeometryModule("0, 0, 0xFFFFFFFF, 500, 0"), script);
    EXPECT_EQ(Frame(wide), (Words{0, 0, 32767, 500, 0}));
    EXPECT_EQ(wide.lines, Strings{"log: sr.size.width 32767 => 1920"});
    const HeadlessResult high = Play(GeometryModule("0, 0, 700, 40000, 0"), script);
    EXPECT_EQ(Frame(high), (Words{0, 0, 700, 32767, 0}));
    EXPECT_EQ(high.lines, Strings{"log: sr.size.height 32767 => 1080"});
}

// --- The user's changes

TEST(UsersChanges, AMoveIsTold) {
    const HeadlessResult result =
        Played(GeometryModule(), "50 move 300 -40\n60 post 200 0 0 0\n70 move 300 -40\n");
    EXPECT_EQ(MessagesAfterStart(result),
              (Messages{{MSG_MOVE, 300, 0xFFFFFFD8, 0}, {200, 0, 0, 0}}));
    EXPECT_EQ(Frame(result), (Words{300, 0xFFFFFFD8, 1000, 600, 0}));
}

TEST(UsersChanges, AResizeKeepsTheBottomLeftCornerAndIsToldByFrameChangeAndResize) {
    const HeadlessResult result =
        Played(GeometryModule(), "50 resize 700 500\n60 post 200 0 0 0\n");
    EXPECT_EQ(MessagesAfterStart(result),
              (Messages{{MSG_SIZE, 700, 500, 0}, {MSG_SIZE, 700, 500, 0}, {200, 0, 0, 0}}));
    EXPECT_EQ(Frame(result), (Words{100, 100, 700, 500, 0}));
    EXPECT_EQ(Windowed(result), (Words{700, 500}));
}

TEST(UsersChanges, AResizeToTheSameSizeIsNone) {
    EXPECT_EQ(MessagesAfterStart(Played({}, "50 resize 1000 600\n")), Messages{});
}

TEST(UsersChanges, ASmallSizeOfTheUsersIsLeftAlone) {
    EXPECT_EQ(MessagesAfterStart(Played({}, "50 resize 200 100\n")),
              (Messages{{MSG_SIZE, 200, 100, 0}, {MSG_SIZE, 200, 100, 0}}));
}

TEST(UsersChanges, ASizeThatTheFrameChangeReportedLastIsToldByTheResizeAlone) {
    // The module's own 800 x 500 is not the last reported size, which is still 1000 x 600.
    const HeadlessResult result =
        Played(GeometryModule("100, 100, 800, 500, 0"), "50 post 100 0 0 0\n60 resize 1000 600\n");
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{100, 0, 0, 0}, {MSG_SIZE, 1000, 600, 0}}));
}

TEST(UsersChanges, ResizingTwiceBeforeTheQueueRunsLeavesOneSizeMessageWithTheLatestSize) {
    LoggingModule module;
    module.timer = 60000;
    const std::string script = "101 resize 800 500\n102 resize 700 450\n";
    // The first frame change is posted and delivered, the first resize waits. The second frame
    // change brings it up to date and delivers it, and the second resize waits for the host tick.
    EXPECT_EQ(MessagesAfterStart(Played(module, script, {"--run-ms", "104"})),
              (Messages{{MSG_SIZE, 800, 500, 0}, {MSG_SIZE, 700, 450, 0}}));
    EXPECT_EQ(
        MessagesAfterStart(Played(module, script, {"--run-ms", "500"})),
        (Messages{{MSG_SIZE, 800, 500, 0}, {MSG_SIZE, 700, 450, 0}, {MSG_SIZE, 700, 450, 0}}));
}

TEST(UsersChanges, MinimisingAndRestoringAreToldOnceEach) {
    EXPECT_EQ(
        MessagesAfterStart(
            Played({}, "50 minimize\n60 minimize\n70 restore\n80 restore\n90 minimize\n")),
        (Messages{{MSG_MINIMIZE, 1, 0, 0}, {MSG_MINIMIZE, 0, 0, 0}, {MSG_MINIMIZE, 1, 0, 0}}));
}

TEST(UsersChanges, DuringALiveResizeTheFrameChangesAreToldAndTheResizesAreNot) {
    LoggingModule module;
    module.timer = 60000;
    const HeadlessResult result =
        Played(module,
               "101 live-resize-start\n110 resize 900 500\n120 resize 800 500\n"
               "130 live-resize-end\n140 resize 700 500\n");
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{MSG_SIZE, 900, 500, 0},
                                                    {MSG_SIZE, 800, 500, 0},
                                                    {MSG_SIZE, 700, 500, 0},
                                                    {MSG_SIZE, 700, 500, 0}}));
}

TEST(UsersChanges, TheViewIsWhiteUntilItIsDrawnAgain) {
    const TemporaryFolder folder;
    const auto file = [&](const char* name) { return "\"" + folder.path + "/" + name + "\"\n"; };
    Played({},
           "50 resize 700 500\n50 screenshot " + file("a.png") + "51 screenshot " + file("b.png"));
    EXPECT_EQ(ReadPicture(folder.path + "/a.png").Colour(0, 0, 700, 500), 0xFFFFFFu);
    EXPECT_EQ(ReadPicture(folder.path + "/b.png").Colour(0, 0, 700, 500), 0x000000u);
}

// --- Notifications on the bench

using WindowNotifications = HostTest;

TEST_F(WindowNotifications, AFrameChangeThatKeepsTheSame16BitSizePostsNothing) {
    moxiWindow::didFrameChangeNotification();
    hostBench.view = {65536 + 1000, 65536 + 600};
    moxiWindow::didFrameChangeNotification();
    EXPECT_EQ(DeliveredMessages(), Messages{});
    EXPECT_EQ(savedWidth, 1000);
    EXPECT_EQ(savedHeight, 600);
}

TEST_F(WindowNotifications, TwoResizesInTheQueueAreOneWithTheLatestSize) {
    StartModuleTimer();
    hostBench.view = {800, 500};
    moxiWindow::didResizeNotification();
    PostMessage(100, 0, 0, 0);
    hostBench.view = {700, 450};
    moxiWindow::didResizeNotification();
    EXPECT_EQ(QueuedMessages(), (Messages{{MSG_SIZE, 700, 450, 0}, {100, 0, 0, 0}}));
    EXPECT_EQ(savedWidth, 700);
    EXPECT_EQ(windowedHeight, 450u);
}

TEST_F(WindowNotifications, AFrameChangeDeliversTwoQueuedMessagesAndOneWhenASizeWaited) {
    StartModuleTimer();
    PostMessage(100, 1, 0, 0);
    PostMessage(100, 2, 0, 0);
    hostBench.view = {800, 500};
    moxiWindow::didFrameChangeNotification();
    EXPECT_EQ(DeliveredMessages(), (Messages{{100, 1, 0, 0}, {100, 2, 0, 0}}));
    PostMessage(100, 3, 0, 0);
    hostBench.view = {700, 500};
    moxiWindow::didFrameChangeNotification();
    EXPECT_EQ(DeliveredMessages().back(), (LoggedMessage{MSG_SIZE, 700, 500, 0}));
    EXPECT_EQ(QueuedMessages(), (Messages{{100, 3, 0, 0}}));
}

TEST_F(WindowNotifications, AFrameChangeFlushesTheScreen) {
    dirtyRect = {0, 0, 10, 10};
    StartModuleTimer();
    hostBench.view = {800, 500};
    moxiWindow::didFrameChangeNotification();
    ASSERT_EQ(hostBench.redraws.size(), 1u);
    EXPECT_EQ(hostBench.redraws[0].y, 490);
}

TEST_F(WindowNotifications, ASizeThatWaitsKeepsItsReason) {
    StartModuleTimer();
    PostMessage(MSG_SIZE, 1, 2, 3);
    hostBench.view = {800, 500};
    moxiWindow::didResizeNotification();
    EXPECT_EQ(QueuedMessages(), (Messages{{MSG_SIZE, 800, 500, 3}}));
}

TEST_F(WindowNotifications, BeforeTheFirstSizeNothingIsPosted) {
    firstSizeSent = false;
    hostBench.view = {800, 500};
    hostBench.frame = {1, 2, 800, 500};
    moxiWindow::didMoveNotification();
    moxiWindow::didFrameChangeNotification();
    moxiWindow::didResizeNotification();
    EXPECT_EQ(DeliveredMessages(), Messages{});
    // The frame change has been noted as reported all the same.
    firstSizeSent = true;
    moxiWindow::didFrameChangeNotification();
    EXPECT_EQ(DeliveredMessages(), Messages{});
}

TEST_F(WindowNotifications, WhileTheHostChangesTheWindowNothingIsPostedAndSizesAreKept) {
    for (bool* const flag : {&programmaticResize, &titleGuard}) {
        *flag = true;
        hostBench.view = {800, 500};
        hostBench.frame = {1, 2, 800, 500};
        moxiWindow::didMoveNotification();
        moxiWindow::didFrameChangeNotification();
        moxiWindow::didResizeNotification();
        *flag = false;
        EXPECT_EQ(DeliveredMessages(), Messages{});
        EXPECT_EQ(windowedWidth, 800u);
        EXPECT_EQ(savedHeight, 500);
        EXPECT_EQ(requestedGeometry.x, 100u);
    }
}

TEST_F(WindowNotifications, AMoveInFullScreenIsNotTold) {
    hostBench.fullScreen = true;
    hostBench.frame = {0, 0, 1920, 1080};
    moxiWindow::didMoveNotification();
    EXPECT_EQ(DeliveredMessages(), Messages{});
}

TEST_F(WindowNotifications, AMoveBecomesTheRequestedPlace) {
    hostBench.frame = {7, -8, 1000, 600};
    moxiWindow::didMoveNotification();
    EXPECT_EQ(DeliveredMessages(), (Messages{{MSG_MOVE, 7, 0xFFFFFFF8, 0}}));
    EXPECT_EQ(requestedGeometry.x, 7u);
    EXPECT_EQ(requestedGeometry.y, 0xFFFFFFF8u);
    EXPECT_EQ(lastGoodGeometry.x, 7u);
}

TEST_F(WindowNotifications, AFrameWithoutSizeIsNoGoodGeometry) {
    hostBench.frame = {7, 8, 0, 600};
    moxiWindow::didMoveNotification();
    EXPECT_EQ(lastGoodGeometry.x, 100u);
    EXPECT_EQ(lastGoodGeometry.width, 1000u);
}

TEST_F(WindowNotifications, BeforeTheLaunchNothingIsReadOrApplied) {
    launchComplete = false;
    static WindowFrame set;
    set = {};
    desktop.setWindowFrame = [](WindowFrame frame) { set = frame; };
    requestedGeometry = {1, 2, 300, 200, false};
    ApplyWindowGeometry();
    EXPECT_EQ(set.width, 0);
    EXPECT_EQ(requestedGeometry.width, 600u);  // but the rules for sizes hold
    WindowGeometry geometry = {};
    EXPECT_FALSE(ReadWindowGeometry(geometry));
    desktop.setWindowFrame = [](WindowFrame) {};
}

TEST_F(WindowNotifications, TheWindowIsMadeAt100And100AndBearsTheGamesName) {
    moxiAppDelegate::init();
    ASSERT_EQ(hostBench.created.size(), 1u);
    EXPECT_EQ(hostBench.created[0].x, 100);
    EXPECT_EQ(hostBench.created[0].y, 100);
    EXPECT_EQ(hostBench.created[0].width, 1000);
    EXPECT_EQ(hostBench.created[0].height, 600);
    EXPECT_EQ(hostBench.titles.size(), 1u);
}

TEST_F(WindowNotifications, TheExtentIsTheSumOfTheWidthsAndTheGreatestHeight) {
    hostBench.screens = {
        {{0, 0, 800, 600}, {}}, {{800, 0, 640, 900}, {}}, {{0, 600, 320, 200}, {}}};
    EXPECT_EQ(ComputeDesktopExtent().width, 1760);
    EXPECT_EQ(ComputeDesktopExtent().height, 900);
}

TEST_F(WindowNotifications, CloseAndQuitAreRefusedWhileTheModuleRuns) {
    inMX = true;
    EXPECT_FALSE(moxiWindow::windowShouldClose());
    EXPECT_FALSE(moxiAppDelegate::applicationShouldTerminate());
    inMX = false;
    EXPECT_EQ(DeliveredMessages(), Messages{});
}

// --- Full screen

TEST(FullScreen, TheUsersIsToldByFrameChangeResizeAndEntering) {
    const HeadlessResult result =
        Played(GeometryModule(), "50 full-screen on\n60 post 200 0 0 0\n70 full-screen on\n");
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{MSG_SIZE, 1920, 1080, 0},
                                                    {MSG_SIZE, 1920, 1080, 2},
                                                    {MSG_SIZE, 1920, 1080, 2},
                                                    {200, 0, 0, 0}}));
    // The geometry is that to come back to; the windowed size is the screen's for the time being.
    EXPECT_EQ(Frame(result), (Words{100, 100, 1000, 600, 1}));
    EXPECT_EQ(Windowed(result), (Words{1920, 1080}));
}

TEST(FullScreen, LeavingItIsToldByMoveFrameChangeResizeAndLeaving) {
    const HeadlessResult result =
        Played(GeometryModule(), "50 full-screen on\n60 full-screen off\n70 post 200 0 0 0\n");
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{MSG_SIZE, 1920, 1080, 0},
                                                    {MSG_SIZE, 1920, 1080, 2},
                                                    {MSG_SIZE, 1920, 1080, 2},
                                                    {MSG_MOVE, 100, 100, 0},
                                                    {MSG_SIZE, 1000, 600, 0},
                                                    {MSG_SIZE, 1000, 600, 0},
                                                    {MSG_SIZE, 1000, 600, 3},
                                                    {200, 0, 0, 0}}));
    EXPECT_EQ(Frame(result), (Words{100, 100, 1000, 600, 0}));
    EXPECT_EQ(Windowed(result), (Words{1000, 600}));
}

TEST(FullScreen, IsTheMainScreenAlone) {
    const HeadlessResult result =
        Played({}, "50 full-screen on\n", {"--desktop", "1024x768,1920x1080"});
    EXPECT_EQ(
        MessagesAfterStart(result),
        (Messages{{MSG_SIZE, 1024, 768, 0}, {MSG_SIZE, 1024, 768, 2}, {MSG_SIZE, 1024, 768, 2}}));
}

TEST(FullScreen, TheModulesOwnIsToldByEnteringAlone) {
    const HeadlessResult result =
        Played(GeometryModule("200, 150, 800, 500, 1"), "50 post 100 0 0 0\n60 post 200 0 0 0\n");
    EXPECT_EQ(MessagesAfterStart(result),
              (Messages{{100, 0, 0, 0}, {MSG_SIZE, 1920, 1080, 2}, {200, 0, 0, 0}}));
    EXPECT_EQ(Frame(result), (Words{200, 150, 800, 500, 1}));
}

TEST(FullScreen, LeavingItByTheModuleSetsTheRequestedFrameAndIsToldByLeavingAlone) {
    const HeadlessResult result =
        Played(GeometryModule("200, 150, 800, 500, 0"),
               "50 full-screen on\n60 post 100 0 0 0\n70 post 200 0 0 0\n");
    const Messages messages = MessagesAfterStart(result);
    EXPECT_EQ(Messages(messages.begin() + 3, messages.end()),
              (Messages{{100, 0, 0, 0}, {MSG_SIZE, 800, 500, 3}, {200, 0, 0, 0}}));
    EXPECT_EQ(Frame(result), (Words{200, 150, 800, 500, 0}));
    EXPECT_EQ(Windowed(result), (Words{800, 500}));
}

TEST(FullScreen, AWindowThatComesBackCollapsedGetsAFrameFromTheDesktopsExtent) {
    // The margin is 1080 * 15 / 100 = 162: 1920 - 324 by 1080 - 324.
    const HeadlessResult result =
        Played(GeometryModule(),
               "50 resize 19 500\n60 full-screen on\n70 full-screen off\n80 post 200 0 0 0\n");
    EXPECT_EQ(Frame(result), (Words{162, 162, 1596, 756, 0}));
    const Messages messages = MessagesAfterStart(result);
    EXPECT_EQ(messages[messages.size() - 2], (LoggedMessage{MSG_SIZE, 1596, 756, 3}));
}

TEST(FullScreen, AWindowOf20PointsIsNotCollapsed) {
    const HeadlessResult result =
        Played(GeometryModule(),
               "50 resize 20 500\n60 full-screen on\n70 full-screen off\n80 post 200 0 0 0\n");
    EXPECT_EQ(Frame(result), (Words{100, 100, 20, 500, 0}));
}

// --- Closing

TEST(Closing, AModuleThatRefusesKeepsRunning) {
    LoggingModule module;
    module.on[MSG_CLOSE] = "        MOVE.B  [HDR_RESULT], #0\n";
    const HeadlessResult result = Played(module, "50 close\n60 quit\n70 mouse-move 1 1\n");
    EXPECT_EQ(MessagesAfterStart(result),
              (Messages{{MSG_CLOSE}, {MSG_CLOSE}, {MSG_POINTER, 1, 1, 0}}));
}

TEST(Closing, TheCloseButtonAsksForTheWindowAndOnceMoreForTheApplication) {
    const HeadlessResult result = Play({}, "50 close\n60 mouse-move 1 1\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, Strings{"log: windowWillClose"});
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{MSG_CLOSE}, {MSG_CLOSE}}));
}

TEST(Closing, WithTheWindowGoneTheSecondAnswerCannotKeepTheProgramAlive) {
    LoggingModule module;
    module.data = "answer: .long 1\n";
    module.on[MSG_CLOSE] = "        MOVE.B  [HDR_RESULT], [answer]\n        MOVE.L  [answer], #0\n";
    const HeadlessResult result = Play(module, "50 close\n60 mouse-move 1 1\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, Strings{"log: windowWillClose"});
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{MSG_CLOSE}, {MSG_CLOSE}}));
}

TEST(Closing, QuittingAsksOnceAndSendsNoEnd) {
    const HeadlessResult result = Played({}, "50 quit\n60 mouse-move 1 1\n");
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{MSG_CLOSE}}));
}

TEST(Closing, AnyResultButZeroAllowsIt) {
    LoggingModule module;
    module.on[MSG_CLOSE] = "        MOVE.B  [HDR_RESULT], #-128\n";
    EXPECT_EQ(MessagesAfterStart(Played(module, "50 quit\n60 quit\n")), (Messages{{MSG_CLOSE}}));
}

TEST(Closing, CloseIsAskedAtOnceAlsoWhenMessagesWait) {
    LoggingModule module;
    module.timer = 60000;
    EXPECT_EQ(MessagesAfterStart(Played(module, "101 post 100 0 0 0\n102 quit\n")),
              (Messages{{MSG_CLOSE}}));
}

TEST(Closing, AModuleThatStopsGetsTheEndAndNothingElse) {
    LoggingModule module;
    module.on[100] = "        STOP\n";
    const HeadlessResult result = Played(module, "50 post 100 0 0 0\n60 mouse-move 1 1\n");
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{100, 0, 0, 0}, {MSG_END}}));
}

// --- Changes of the displays

const Strings kScreenChange = {"fatal: Screen change: game ending, restart game"};

TEST(ScreenChange, EndsTheGameWithCloseAndEnd) {
    const HeadlessResult result = Play({}, "50 screens 1280x720\n60 mouse-move 1 1\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, kScreenChange);
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{MSG_CLOSE, 1, 0, 0}, {MSG_END}}));
}

TEST(ScreenChange, TheModulesAnswerDoesNotMatter) {
    LoggingModule module;
    module.on[MSG_CLOSE] = "        MOVE.B  [HDR_RESULT], #0\n";
    const HeadlessResult result = Play(module, "50 screens 1920x1080,800x600\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, kScreenChange);
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{MSG_CLOSE, 1, 0, 0}, {MSG_END}}));
}

TEST(ScreenChange, AMonitorThatIsTakenAwayEndsTheGameToo) {
    const HeadlessResult result =
        Play({}, "50 screens 1920x1080\n", {"--desktop", "1920x1080,800x600"});
    EXPECT_EQ(result.lines, kScreenChange);
}

TEST(ScreenChange, WithTheSameExtentItIsNothing) {
    const HeadlessResult result =
        Played({}, "50 screens 960x1080,960x500\n60 screens 1920x1080\n70 mouse-move 1 1\n");
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{MSG_POINTER, 1, 1, 0}}));
}

TEST(ScreenChange, WaitingMessagesAreDeliveredBetweenCloseAndEnd) {
    LoggingModule module;
    module.timer = 60000;
    const HeadlessResult result =
        Play(module, "101 post 100 1 0 0\n101 post 100 2 0 0\n102 screens 1280x720\n");
    EXPECT_EQ(result.lines, kScreenChange);
    EXPECT_EQ(MessagesAfterStart(result),
              (Messages{{MSG_CLOSE, 1, 0, 0}, {100, 1, 0, 0}, {100, 2, 0, 0}, {MSG_END}}));
}

TEST(ScreenChange, WaitingMessagesAreDeliveredUntilInputIsSuspended) {
    LoggingModule module;
    module.timer = 60000;
    module.on[100] = "        PUSH.L  #1\n        SERVICE 0x0715, 4\n";
    const HeadlessResult result =
        Play(module, "101 post 100 1 0 0\n101 post 100 2 0 0\n102 screens 1280x720\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, kScreenChange);
    EXPECT_EQ(MessagesAfterStart(result),
              (Messages{{MSG_CLOSE, 1, 0, 0}, {100, 1, 0, 0}, {MSG_END}}));
}

TEST(ScreenChange, WhatTheModuleDrawsThenStillWorks) {
    LoggingModule module;
    module.on[MSG_END] =
        "        PUSH.L  #0\n        PUSH.L  #0xFF0000FF\n        PUSH.L  #10\n"
        "        PUSH.L  #10\n        PUSH.L  #0\n        PUSH.L  #0\n        PUSH.L  #0\n"
        "        SERVICE 0x0501, 28\n";
    const TemporaryFolder folder;
    const HeadlessResult result =
        Play(module, "50 screens 640x480\n", {"--dump-screen", folder.path + "/screen.png"});
    EXPECT_EQ(result.status, 0);
    const Picture screen = ReadPicture(folder.path + "/screen.png");
    EXPECT_EQ(screen.width, 1920u);
    EXPECT_EQ(screen.Colour(0, 0, 10, 10), 0xFF0000u);
    EXPECT_EQ(screen.At(10, 0), 0x000000u);
}

}  // namespace

}  // namespace moxi
