// Group 7: what the module gets from the desktop and from the host.

#include "host/host_group.h"

#include <gtest/gtest.h>

#include "desktop/sdl/url_opener.h"
#include "host/keyboard.h"
#include "host/window.h"
#include "tests/support/calling_module.h"
#include "tests/support/host_bench.h"
#include "tests/support/message_log.h"
#include "vm/machine.h"

namespace moxi {

namespace {

using Strings = std::vector<std::string>;
using Words = std::vector<u32>;

constexpr u32 kUntouched = 0x5A5A5A5A;  // R14 before each call

Words WordsAt(const HeadlessResult& result, const std::string& name, u32 count) {
    Words words;
    for (u32 i = 0; i < count; ++i) {
        words.push_back(result.Long(result.Label(name) + 4 * i));
    }
    return words;
}

std::string BytesAt(const HeadlessResult& result, const std::string& name, u32 count) {
    const u32 address = result.Label(name);
    return {result.image.begin() + address, result.image.begin() + address + count};
}

// --- Texts and versions

TEST(HostServices, ShowMessageShowsTheTextAndReturns) {
    CallingModule module;
    // A line feed, a backslash, and the byte 8E, which is an e with an acute accent.
    const u32 shown = module.Call(SYS_SHOW_MESSAGE, {module.Text("one\ntwo \\ \x8E")});
    const u32 next = module.Call(SYS_SHOW_MESSAGE, {module.Text("")});
    EXPECT_EQ(module.Run().lines, (Strings{"fatal: one\\ntwo \\\\ \xC3\xA9", "fatal: "}));
    EXPECT_EQ(module.Of(shown), kUntouched);
    EXPECT_EQ(module.Of(next), kUntouched);
}

TEST(HostServices, GetEolWritesCarriageReturnAndLineFeed) {
    CallingModule module;
    const std::string room = module.Room(4);
    const u32 call = module.Call(SYS_LINE_END, {room, "3"});
    const HeadlessResult& result = module.Run();
    EXPECT_EQ(result.lines, Strings{});
    EXPECT_EQ(result.TextAt(room), "\r\n");
    EXPECT_EQ(module.Of(call), 2u);
}

TEST(HostServices, GetEolReportsABufferThatIsTooSmallAndWritesAllTheSame) {
    for (const char* const size : {"2", "0", "-1"}) {
        CallingModule module;
        const std::string room = module.Text("abcd");
        const u32 call = module.Call(SYS_LINE_END, {room, size});
        const HeadlessResult& result = module.Run();
        EXPECT_EQ(result.lines, Strings{"fatal: GetEOL: buffer too small"});
        EXPECT_EQ(BytesAt(result, room, 5), std::string("\r\n\0d\0", 5));
        EXPECT_EQ(module.Of(call), 2u);
    }
}

TEST(HostServices, TheCommandKeysNameAndThePathSeparator) {
    CallingModule module;
    const std::string name = module.Text("xxxxxx");
    const std::string separator = module.Text("xxxxxx");
    const u32 first = module.Call(SYS_COMMAND_KEY_NAME, {name});
    const u32 second = module.Call(SYS_PATH_SEPARATOR, {separator});
    const HeadlessResult& result = module.Run();
    EXPECT_EQ(BytesAt(result, name, 6), std::string("Cmd\0xx", 6));
    EXPECT_EQ(BytesAt(result, separator, 6), std::string("/\0xxxx", 6));
    EXPECT_EQ(module.Of(first), kUntouched);
    EXPECT_EQ(module.Of(second), kUntouched);
}

TEST(HostServices, OnAnOperatingSystem12_6_1TheVersionIs060C0001) {
    u32 packed = 0;
    EXPECT_EQ(VersionText("12.6.1", packed), "MOXI 6.2 - Mac OS X 12.6.1");
    EXPECT_EQ(packed, 0x060C0001u);
}

TEST(HostServices, TheVersionTakesTheFirstThreeNumbersOfTheRelease) {
    u32 packed = 0;
    EXPECT_EQ(VersionText("6.1.0-18-amd64", packed), "MOXI 6.2 - Mac OS X 6.1.0");
    EXPECT_EQ(packed, 0x01060001u);
    EXPECT_EQ(VersionText("5.15.153.1-x", packed), "MOXI 6.2 - Mac OS X 5.15.153");
    EXPECT_EQ(packed, 0x0F050001u);
    EXPECT_EQ(VersionText("7.3", packed), "MOXI 6.2 - Mac OS X 7.3.0");
    EXPECT_EQ(packed, 0x03070001u);
}

TEST(HostServices, GetVersionIsThatOfTheKernel) {
    CallingModule module;
    const std::string room = module.Room(100);
    const u32 call = module.Call(SYS_VERSION, {room});
    const HeadlessResult& result = module.Run();
    u32 packed = 0;
    const std::string release = ReadTextFile("/proc/sys/kernel/osrelease");
    EXPECT_EQ(result.TextAt(room), VersionText(release.c_str(), packed));
    EXPECT_EQ(module.Of(call), packed);
}

TEST(HostServices, TheFoldersAreGivenWithTheirTrailingSlashOnlyForTheData) {
    CallingModule module;
    const std::string data = module.Room(1024);
    const std::string bundle = module.Room(1024);
    const u32 first = module.Call(SYS_DATA_FOLDER, {data});
    const u32 second = module.Call(SYS_BUNDLE_PATH, {bundle});
    const HeadlessResult& result = module.Run();
    const std::string game = result.TextAt(bundle);
    ASSERT_GT(game.size(), 5u);
    EXPECT_EQ(game[0], '/');
    EXPECT_EQ(game.substr(game.size() - 5), "/game");
    EXPECT_EQ(result.TextAt(data), game.substr(0, game.size() - 5) + "/data/");
    EXPECT_EQ(module.Of(first), kUntouched);
    EXPECT_EQ(module.Of(second), kUntouched);
}

// --- Sizes

TEST(HostServices, SizesOfScreensFillAllOfTheResult) {
    CallingModule module;
    module.run.options = {"--desktop", "1024x768,800x900"};
    const u32 visible = module.Call(SYS_VISIBLE_SIZE);
    const u32 windowed = module.Call(SYS_WINDOWED_SIZE);
    const u32 screen = module.Call(SYS_SCREEN_SIZE);
    module.Run();
    EXPECT_EQ(module.QuadOf(visible), 1024u | u64{768} << 32);
    EXPECT_EQ(module.QuadOf(windowed), 1000u | u64{600} << 32);
    EXPECT_EQ(module.QuadOf(screen), 1824u | u64{900} << 32);
}

TEST(HostServices, OtherResultsLeaveTheUpperHalfOfTheResultRegister) {
    CallingModule module;
    module.Code("  MOVE.Q R14, #0x1122334400000000");
    const std::string room = module.Room(4);
    const u32 eol = module.Call(SYS_LINE_END, {room, "3"});
    const u32 buttons = module.Call(SYS_HELD_BUTTONS, {"-1"});
    module.Run();
    EXPECT_EQ(module.QuadOf(eol), 0x1122334400000002u);
    EXPECT_EQ(module.QuadOf(buttons), 0x1122334400000000u);
}

// --- The window

TEST(HostServices, AWindowOf300By200Becomes600By400At30And20) {
    CallingModule module;
    const std::string room = module.Room(20);
    module.Code("  .data\nwanted: .long 10, 10, 300, 200, 0\n  .code");
    const u32 set = module.Call(SYS_SET_WINDOW, {"wanted"});
    const u32 get = module.Call(SYS_GET_WINDOW, {room});
    const HeadlessResult& result = module.Run();
    EXPECT_EQ(WordsAt(result, room, 5), (Words{30, 20, 600, 400, 0}));
    EXPECT_EQ(WordsAt(result, "wanted", 5), (Words{10, 10, 300, 200, 0}));
    EXPECT_EQ(module.Of(set), kUntouched);
    EXPECT_EQ(module.Of(get), kUntouched);
}

TEST(HostServices, AnyFullScreenWordButZeroIsFullScreen) {
    CallingModule module;
    const std::string room = module.Room(20);
    module.Code("  .data\nwanted: .long 10, 10, 700, 500, 0x80000000\n  .code");
    module.Call(SYS_SET_WINDOW, {"wanted"});
    module.Call(SYS_GET_WINDOW, {room});
    EXPECT_EQ(WordsAt(module.Run(), room, 5), (Words{10, 10, 700, 500, 1}));
}

// --- The clipboard

// Message 100 reads the clipboard into `buffer`, of the size in its p1; message 101 sets it to the
// text at `text`.
HeadlessResult WithClipboard(const std::string& script, const std::string& text = "\"\"") {
    LoggingModule module;
    module.on[100] =
        "        PUSH.L  [FP+16]\n        PUSH.L  #buffer\n        SERVICE 0x0705, 8\n";
    module.on[101] = "        PUSH.L  #text\n        SERVICE 0x0706, 4\n";
    module.data = "buffer: .asciz \"xxxxxxxxxxx\"\ntext: .asciz " + text + "\n";
    HeadlessResult result = Play(module, script);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, Strings{});
    return result;
}

TEST(Clipboard, WithoutATextTheBufferIsAnEmptyString) {
    EXPECT_EQ(BytesAt(WithClipboard("50 post 100 10 0 0\n"), "buffer", 3), std::string("\0xx", 3));
}

TEST(Clipboard, ATextOfAnotherProgramArrivesAsUtf8) {
    EXPECT_EQ(
        BytesAt(WithClipboard("50 clipboard \"h\xC3\xA9?\"\n60 post 100 10 0 0\n"), "buffer", 6),
        std::string("h\xC3\xA9?\0x", 6));
}

TEST(Clipboard, TheModulesOwnTextComesBack) {
    EXPECT_EQ(
        WithClipboard("50 clipboard \"other\"\n60 post 101 0 0 0\n70 post 100 10 0 0\n", "\"mine\"")
            .TextAt("buffer"),
        "mine");
}

TEST(Clipboard, AnotherProgramReplacesTheModulesText) {
    EXPECT_EQ(
        WithClipboard("50 post 101 0 0 0\n60 clipboard \"other\"\n70 post 100 10 0 0\n", "\"mine\"")
            .TextAt("buffer"),
        "other");
}

TEST(Clipboard, AnEmptyTextIsEmpty) {
    EXPECT_EQ(WithClipboard("50 clipboard \"old\"\n60 post 101 0 0 0\n70 post 100 10 0 0\n")
                  .TextAt("buffer"),
              "");
}

TEST(Clipboard, ATextOfTheSizeLessOneFitsWhole) {
    EXPECT_EQ(BytesAt(WithClipboard("50 clipboard \"abcd\"\n60 post 100 5 0 0\n"), "buffer", 6),
              std::string("abcd\0x", 6));
}

TEST(Clipboard, ATextThatIsTooLongIsCutToTheSizeLessOne) {
    EXPECT_EQ(BytesAt(WithClipboard("50 clipboard \"abcde\"\n60 post 100 5 0 0\n"), "buffer", 6),
              std::string("abcd\0x", 6));
}

TEST(Clipboard, ACutFallsOnACharacterBoundary) {
    // The euro sign has three bytes; with two of them the text would fill the room.
    EXPECT_EQ(
        BytesAt(WithClipboard("50 clipboard \"ab\xE2\x82\xAC\"\n60 post 100 5 0 0\n"), "buffer", 4),
        std::string("ab\0x", 4));
    EXPECT_EQ(
        BytesAt(WithClipboard("50 clipboard \"ab\xE2\x82\xAC\"\n60 post 100 6 0 0\n"), "buffer", 6),
        std::string("ab\xE2\x82\xAC\0", 6));
    EXPECT_EQ(BytesAt(WithClipboard("50 clipboard \"\xF0\x9F\x98\x80\"\n60 post 100 4 0 0\n"),
                      "buffer", 2),
              std::string("\0x", 2));
}

TEST(Clipboard, ASizeOf1TakesTheNulAloneAnd0Nothing) {
    EXPECT_EQ(BytesAt(WithClipboard("50 clipboard \"abc\"\n60 post 100 1 0 0\n"), "buffer", 2),
              std::string("\0x", 2));
    EXPECT_EQ(BytesAt(WithClipboard("50 clipboard \"abc\"\n60 post 100 0 0 0\n"), "buffer", 2),
              "xx");
}

TEST(Clipboard, AHugeSizeIsNoFaultWhenTheTextFits) {
    EXPECT_EQ(WithClipboard("50 clipboard \"abc\"\n60 post 100 0xFFFFFFFF 0 0\n").TextAt("buffer"),
              "abc");
}

// --- Web addresses, cursor, title

TEST(HostServices, OpenUrlIsLoggedHeadlessAndOpensNothing) {
    CallingModule module;
    const u32 call = module.Call(SYS_OPEN_WEB, {module.Text("https://example.org/a?b=c\x8E")});
    EXPECT_EQ(module.Run().lines, Strings{"log: OpenURL https://example.org/a?b=c\xC3\xA9"});
    EXPECT_EQ(module.Of(call), kUntouched);
}

TEST(HostServices, OnARealDesktopOnlyWebAndMailAddressesAreOpened) {
    StandardError errors;
    for (const char* const text : {"", "file:///etc/passwd", "example.org", "http://a b"}) {
        OpenUrl(text);
    }
    EXPECT_EQ(errors.Text(),
              "log: refused to open \nlog: refused to open file:///etc/passwd\n"
              "log: refused to open example.org\nlog: refused to open http://a b\n");
}

class ServicesOnTheBench : public HostTest {
  protected:
    static constexpr u32 kArguments = 1024;
    static constexpr u32 kText = 2048;

    static void Call(u32 sub, u32 a0) {
        Store<u32>(kArguments, a0);
        SysHostGroup(sub, kArguments);
    }
    static void CallWithText(u32 sub, const std::string& text) {
        std::copy_n(text.c_str(), text.size() + 1, image + kText);
        Call(sub, kText);
    }
};

TEST_F(ServicesOnTheBench, TheHandIsCursor2OfTheLow16Bits) {
    for (const u32 value : {2u, 0x00010002u, 0u, 1u, 3u, 0x00020000u}) {
        Call(16, value);
    }
    EXPECT_EQ(hostBench.cursors, (std::vector<bool>{true, true, false, false, false, false}));
}

TEST_F(ServicesOnTheBench, TheTitleIsSetLaterOnTheMainQueueWithTheGuardUp) {
    CallWithText(11, "A title \xC3\xA9");
    EXPECT_EQ(hostBench.titles, Strings{});
    ASSERT_EQ(hostBench.queued.size(), 1u);
    hostBench.queued[0]();
    EXPECT_EQ(hostBench.titles, Strings{"A title \xC3\xA9"});
    EXPECT_EQ(hostBench.titleGuards, (std::vector<bool>{true}));
    EXPECT_FALSE(titleGuard);
}

TEST_F(ServicesOnTheBench, ATitleOf511BytesIsTakenAndOneOf512IsTooLong) {
    CallWithText(11, std::string(511, 'x'));
    hostBench.queued.at(0)();
    CallWithText(11, std::string(512, 'x'));
    hostBench.queued.at(1)();
    EXPECT_EQ(hostBench.titles, (Strings{std::string(511, 'x'), "Title too long"}));
}

TEST_F(ServicesOnTheBench, OfTwoTitlesInARowTheLaterIsSetTwice) {
    CallWithText(11, "one");
    CallWithText(11, "two");
    for (void (*const work)() : hostBench.queued) {
        work();
    }
    EXPECT_EQ(hostBench.titles, (Strings{"two", "two"}));
}

// --- Buttons

TEST(HostServices, GetButtonsMasksTheButtonAndModifierWord) {
    LoggingModule module;
    module.on[100] =
        "        PUSH.L  [FP+16]\n        SERVICE 0x0713, 4\n        MOVE.L  [held], R14\n";
    module.data = "held: .long 77\n";
    const std::string script = "50 modifiers shift option\n51 mouse-down 1 1 1\n";
    const auto held = [&](const char* mask) {
        return Play(module, script + "60 post 100 " + mask + " 0 0\n").LongAt("held");
    };
    EXPECT_EQ(held("0xFFFFFFFF"), 0x8006u);
    EXPECT_EQ(held("0x8001"), 0x8000u);
    EXPECT_EQ(held("8"), 0u);
}

// --- Looking into the queue

// Message 150 calls the service with the words at `peek`; its p1 is the first of them. The result
// goes to `found`. The messages that follow it in the script lie in the queue by then.
LoggingModule Peeker(u32 command) {
    LoggingModule module;
    module.timer = 60000;
    module.ticks = true;
    module.on[150] = "        MOVE.L  [peek], [FP+16]\n        PUSH.L  #peek\n        SERVICE " +
                     std::to_string(command) + ", 4\n        MOVE.L  [found], R14\n";
    module.data = "peek: .long 0, 7, 8, 9\nfound: .long 77\n";
    return module;
}

struct Peeked {
    u32 found;
    Words out;
    Messages rest;  // what was delivered afterwards
};

Peeked Peek(u32 command, u32 remove, const Messages& queue) {
    std::string script = "31 post 150 " + std::to_string(remove) + " 0 0\n";
    for (const LoggedMessage& message : queue) {
        script += "31 post " + std::to_string(message.command) + " " + std::to_string(message.p1) +
                  " " + std::to_string(message.p2) + " " + std::to_string(message.p3) + "\n";
    }
    // Long enough for the queue, too short for a tick of the host's own.
    const HeadlessResult result = Play(Peeker(command), script, {"--run-ms", "80"});
    EXPECT_EQ(result.lines, Strings{});
    Messages rest = MessagesAfterStart(result);
    EXPECT_EQ(rest.front(), (LoggedMessage{150, remove, 0, 0}));
    rest.erase(rest.begin());
    return {result.LongAt("found"), WordsAt(result, "peek", 4), rest};
}

const LoggedMessage kTick = {MSG_TICK};
const LoggedMessage kMove = {MSG_POINTER, 1, 1, 0};
const LoggedMessage kDown = {MSG_DOWN, 0x41, 1, 0};
const LoggedMessage kUp = {MSG_UP, 1, 2, 3};

TEST(PeekKeyMessage, FindsThePressBehindTickAndMoveAndLeavesItAlone) {
    const Peeked peeked = Peek(0x0703, 0, {kTick, kMove, kDown});
    EXPECT_EQ(peeked.found, 1u);
    EXPECT_EQ(peeked.out, (Words{MSG_DOWN, 0x41, 1, 0}));
    EXPECT_EQ(peeked.rest, Messages{kDown});
}

TEST(PeekKeyMessage, TakesItOffWhenAskedTo) {
    for (const u32 remove : {1u, 0x80000000u}) {
        const Peeked peeked = Peek(0x0703, remove, {kTick, kUp, kDown});
        EXPECT_EQ(peeked.found, 1u);
        EXPECT_EQ(peeked.out, (Words{MSG_UP, 1, 2, 3}));
        EXPECT_EQ(peeked.rest, Messages{kDown});
    }
}

TEST(PeekKeyMessage, StopsAtAnyOtherMessageAndLeavesTheQueue) {
    const LoggedMessage size = {MSG_SIZE, 800, 500, 0};
    const Peeked peeked = Peek(0x0703, 0, {size, kDown});
    EXPECT_EQ(peeked.found, 0u);
    EXPECT_EQ(peeked.out, (Words{0, 7, 8, 9}));
    EXPECT_EQ(peeked.rest, (Messages{size, kDown}));
}

TEST(PeekKeyMessage, ThrowsTicksAndMovesAwayAlsoWhenItFindsNothing) {
    const Peeked none = Peek(0x0703, 0, {kTick, kMove, kTick});
    EXPECT_EQ(none.found, 0u);
    EXPECT_EQ(none.out[0], 0u);
    EXPECT_EQ(none.rest, Messages{});
    const LoggedMessage text = {MSG_CHAR, 0x61, 0, 0};
    const Peeked stopped = Peek(0x0703, 1, {kMove, text, kDown});
    EXPECT_EQ(stopped.found, 0u);
    EXPECT_EQ(stopped.rest, (Messages{text, kDown}));
}

TEST(PeekKeyMessage, OfAnEmptyQueueIs0AndClearsTheCommandOnly) {
    const Peeked peeked = Peek(0x0703, 5, {});
    EXPECT_EQ(peeked.found, 0u);
    EXPECT_EQ(peeked.out, (Words{0, 7, 8, 9}));
}

TEST(TakeLatestPointer, GivesTheLatestMoveUpToThePressBehindIt) {
    const Peeked peeked = Peek(0x0704, 0, {kMove, kTick, {MSG_POINTER, 5, 6, 0}, kUp});
    EXPECT_EQ(peeked.found, 1u);
    EXPECT_EQ(peeked.out, (Words{MSG_POINTER, 5, 6, 0}));
    EXPECT_EQ(peeked.rest, Messages{kUp});
}

TEST(TakeLatestPointer, LooksNoFurtherThanTheFirstOtherMessage) {
    const Peeked peeked = Peek(0x0704, 0, {kTick, kDown, kMove});
    EXPECT_EQ(peeked.found, 0u);
    EXPECT_EQ(peeked.out, (Words{0, 7, 8, 9}));
    EXPECT_EQ(peeked.rest, (Messages{kDown, kMove}));
}

TEST(TakeLatestPointer, OfTicksAloneAndOfAnEmptyQueueIs0) {
    const Peeked ticks = Peek(0x0704, 3, {kTick, kTick});
    EXPECT_EQ(ticks.found, 0u);
    EXPECT_EQ(ticks.out, (Words{0, 7, 8, 9}));
    EXPECT_EQ(ticks.rest, Messages{});
    EXPECT_EQ(Peek(0x0704, 3, {}).found, 0u);
}

// --- The rest

TEST(HostServices, SevenDoesNothing) {
    CallingModule module;
    const u32 call = module.Call(SYS_NOTHING, {"0xFFFFFFFF"});
    EXPECT_EQ(module.Run().lines, Strings{});
    EXPECT_EQ(module.Of(call), kUntouched);
}

TEST(HostServices, From22OnCommandsAreUnknown) {
    for (const u32 command : {0x0716u, 0x0717u, 0x07FFu}) {
        CallingModule module;
        const u32 call = module.Call(command);
        const HeadlessResult& result = module.Run();
        char line[64];
        std::snprintf(line, sizeof line, "fatal: Unknown SYS command at 0x%8.8X. Ack!",
                      result.Label("sys0"));
        EXPECT_EQ(result.lines, Strings{line});
        EXPECT_EQ(module.Of(call), kUntouched);
    }
}

}  // namespace

}  // namespace moxi
