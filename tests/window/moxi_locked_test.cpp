// A game that does not let go of the player: boxes for ever, addresses without number, floods of
// lines, a look at what other programs copy.

#include "desktop/sdl/url_opener.h"
#include "tests/support/x11_client.h"
#include "tests/window/moxi_window.h"

namespace moxi {

namespace {

// A module that does `work` once, when a key goes down, and lets itself be closed.
std::string OnKey(const std::string& work, const std::string& data = "") {
    return R"(
        .stack  16384
        .heap   65536
        .data
text:   .asciz  "So sorry."
)" + data + R"(
        .code
start:
        LINK    0, 0
        MOVE.B  [HDR_RESULT], #1
        MOVE.L  R0, [FP+12]
        CMP.L   R0, #12
        BEQ     @work
        RETURN  0
@work:
)" + work + R"(
        RETURN  0
service:
        LINK    0, 0
        LEA.L   R15, [FP+12]
        SYS
        RETURN  0
)";
}

constexpr const char* kBoxesForEver = R"(
@again:
        PUSH.L  #text
        PUSH.L  #0x0700
        CALL    service, 8
        JMP     @again
)";

class MoxiLocked : public MoxiWindow {
  protected:
    // The program shows a box; its window, "" when none comes.
    std::string WaitForBox(const std::string& before = "") {
        std::string box;
        WaitUntil([&] {
            box = OutputOf("xdotool search --onlyvisible --name '^" + name + "$' | grep -v '^" +
                           window + "$'");
            return !box.empty() && box != before && box.find('\n') == std::string::npos;
        });
        return box;
    }

    // Starts it, presses a key and dismisses boxes with Return until `lines` texts were shown.
    void ShowBoxes(std::size_t lines) {
        WriteGame(game, OnKey(kBoxesForEver));
        Start();
        window = Window();
        Shell("xdotool key a");
        for (std::size_t shown = 1; shown < lines; ++shown) {
            ASSERT_TRUE(WaitUntil([&] { return Texts() == shown; })) << Errors();
            const std::string box = WaitForBox();
            ASSERT_TRUE(WaitUntil([&] {
                OutputOf("xdotool windowfocus --sync " + box +
                         " 2>/dev/null && xdotool key --clearmodifiers Return; sleep 0.2");
                return Texts() > shown;
            })) << Errors();
        }
        ASSERT_TRUE(WaitUntil([&] { return Texts() >= lines; })) << Errors();
    }
    std::size_t Texts() const {
        const std::string errors = Errors();
        std::size_t count = 0;
        for (std::size_t at = errors.find("fatal: "); at != std::string::npos;
             at = errors.find("fatal: ", at + 1)) {
            ++count;
        }
        return count;
    }

    // The desktop's opener as this desktop has it: writes down what it is asked to open.
    void StartWithOpener(const Lines& options, const std::string& more = "") {
        const std::string bin = folder.path + "/bin";
        std::filesystem::create_directory(bin);
        WriteTextFile(bin + "/xdg-open",
                      "#!/bin/sh\necho \"$@\" >>" + folder.path + "/opened\n" + more);
        Shell("chmod +x " + bin + "/xdg-open");
        const std::string path = std::getenv("PATH");
        setenv("PATH", (bin + ":" + path).c_str(), 1);
        Start(options);
        setenv("PATH", path.c_str(), 1);
        window = Window();
    }
    std::string Opened() const { return ReadTextFile(folder.path + "/opened"); }

    std::string window;
};

constexpr const char* kEnded = "log: ended by the user while it showed messages\n";

// --- Boxes

TEST_F(MoxiLocked, TheThirdBoxOfAMessageOffersTheEnd) {
    ShowBoxes(3);
    const std::string box = WaitForBox();
    const bool pressed = WaitUntil([&] {
        OutputOf("xdotool windowfocus --sync " + box +
                 " 2>/dev/null && xdotool key --clearmodifiers Tab Return; sleep 0.2");
        return Errors().find(kEnded) != std::string::npos || Texts() > 3;
    });
    EXPECT_TRUE(pressed);
    EXPECT_EQ(WaitForExit(), 1);
    EXPECT_EQ(Texts(), 3u);
    EXPECT_TRUE(Errors().ends_with(kEnded)) << Errors();
}

TEST_F(MoxiLocked, TheEndIsInReachOfTheMouse) {
    ShowBoxes(3);
    EndInBox(window);
    EXPECT_EQ(WaitForExit(), 1);
    EXPECT_EQ(Texts(), 3u);
    EXPECT_TRUE(Errors().ends_with(kEnded)) << Errors();
}

TEST_F(MoxiLocked, ARequestToCloseThatWaitsIsServedAfterTheBox) {
    ShowBoxes(3);
    // As the window's close button; the module is in the middle of a message and cannot be asked.
    const std::string box = WaitForBox();
    ASSERT_NE(box, "");
    CloseX11Window(std::stoul(window));
    // "Sigh" does not end by itself.
    ASSERT_TRUE(WaitUntil([&] {
        OutputOf("xdotool windowfocus --sync " + box +
                 " 2>/dev/null && xdotool key --clearmodifiers Return; sleep 0.2");
        return Errors().ends_with(kEnded) || Texts() > 3;
    }));
    EXPECT_EQ(WaitForExit(), 1);
    EXPECT_EQ(Texts(), 3u);
    EXPECT_TRUE(Errors().ends_with(kEnded)) << Errors();
}

TEST_F(MoxiLocked, OneSignalEndsAModuleThatShowsBoxesForEver) {
    ShowBoxes(1);
    kill(process, SIGTERM);
    EXPECT_EQ(WaitForExit(), 1);
    EXPECT_EQ(Texts(), 3u) << "no box is shown any more, and the third is the last";
}

TEST_F(MoxiLocked, HeadlessOneSignalEndsItToo) {
    WriteGame(game, OnKey(kBoxesForEver));
    WriteTextFile(folder.path + "/script", "10 key-down 00 \"a\"\n");
    Launch({"--headless", "--script", folder.path + "/script"});
    ASSERT_TRUE(WaitUntil([&] { return Texts() > 10; }));
    kill(process, SIGTERM);
    EXPECT_EQ(WaitForExit(), 1);
    EXPECT_TRUE(Errors().ends_with(kEnded));
}

// --- Drawing for days: a bitmap whose record says that 2^31 rows lie on one another is filled

constexpr const char* kDrawsForDays = R"(
        PUSH.L  #0x8302
        PUSH.L  #file
        PUSH.L  #0x0000
        CALL    service, 12
        PUSH.L  #8
        PUSH.L  #8
        PUSH.L  #0x0513
        CALL    service, 12
        MOVE.L  R2, R14
        PUSH.L  R2
        PUSH.L  #0x0902
        CALL    service, 8
        MOVE.L  R3, R14
        MOVE.L  [R3+4], #0x7FFFFFFF
        MOVE.L  [R3+8], #0
        MOVE.L  [R3+24], #0x7FFFFFFF
        PUSH.L  #0
        PUSH.L  #0x80FFFFFF
        PUSH.L  #0x7FFFFFFF
        PUSH.L  #8
        PUSH.L  #0
        PUSH.L  #0
        PUSH.L  R2
        PUSH.L  #0x0501
        CALL    service, 32
)";
constexpr const char* kFile = "file:   .asciz  \"DRAWING\"\n";

TEST_F(MoxiLocked, OneSignalEndsADrawingOfDays) {
    WriteGame(game, OnKey(kDrawsForDays, kFile));
    Start();
    Shell("xdotool key a");
    ASSERT_TRUE(WaitUntil([&] { return std::filesystem::exists(folder.path + "/data/DRAWING"); }));
    kill(process, SIGTERM);
    EXPECT_EQ(WaitForExit(), 1);
    EXPECT_EQ(Errors(), "");
}

TEST_F(MoxiLocked, HeadlessOneSignalEndsADrawingOfDaysWithItsDumps) {
    WriteGame(game, OnKey(kDrawsForDays, kFile));
    WriteTextFile(folder.path + "/script", "10 key-down 00 \"a\"\n");
    const std::string dump = folder.path + "/image";
    Launch({"--headless", "--script", folder.path + "/script", "--dump-image", dump});
    ASSERT_TRUE(WaitUntil([&] { return std::filesystem::exists(folder.path + "/data/DRAWING"); }));
    kill(process, SIGTERM);
    EXPECT_EQ(WaitForExit(), 1);
    EXPECT_NE(ReadTextFile(dump), "");
}

TEST_F(MoxiLocked, ADrawingOfDaysIsEndedFromTheBoxThatTheClosingBrings) {
    WriteGame(game, OnKey(kDrawsForDays, kFile));
    const std::string dump = folder.path + "/image";
    Start({"--mute", "--dump-image", dump});
    window = Window();
    Shell("xdotool key a");
    ASSERT_TRUE(WaitUntil([&] { return std::filesystem::exists(folder.path + "/data/DRAWING"); }));
    Shell("xdotool windowactivate --sync " + window + " key alt+F4");
    EndInBox(window);
    EXPECT_EQ(WaitForExit(), 1);
    EXPECT_EQ(Errors(), "log: ended by the user while it did not answer\n");
    EXPECT_NE(ReadTextFile(dump), "");
}

// --- Addresses

constexpr const char* kWeb = "web:    .asciz  \"https://example.org/\"\n";
constexpr const char* kOpen = R"(
        PUSH.L  #web
        PUSH.L  #0x0711
        CALL    service, 8
)";

TEST_F(MoxiLocked, ThePlayerIsAskedBeforeTheFirstAddressAlone) {
    WriteGame(game, OnKey(kOpen, kWeb));
    StartWithOpener({"--mute"});
    Shell("xdotool key a");
    std::string box = WaitForBox();
    ASSERT_NE(box, "");
    EXPECT_EQ(Opened(), "");
    ASSERT_TRUE(WaitUntil([&] {
        OutputOf("xdotool windowfocus --sync " + box +
                 " 2>/dev/null && xdotool key Return; sleep 0.2");
        return Opened() == "https://example.org/\n";
    })) << Errors();
    Shell("xdotool windowactivate --sync " + window + " key b");
    EXPECT_TRUE(
        WaitUntil([&] { return Opened() == "https://example.org/\nhttps://example.org/\n"; }));
    EXPECT_EQ(Errors(), "");
}

TEST_F(MoxiLocked, AnAddressThatThePlayerRefusesIsNotOpened) {
    WriteGame(game, OnKey(kOpen, kWeb));
    StartWithOpener({"--mute"});
    Shell("xdotool key a");
    const std::string box = WaitForBox();
    ASSERT_NE(box, "");
    ASSERT_TRUE(WaitUntil([&] {
        OutputOf("xdotool windowfocus --sync " + box +
                 " 2>/dev/null && xdotool key Escape; sleep 0.2");
        return !Errors().empty();
    }));
    EXPECT_EQ(Errors(), "log: not opened, as the player wishes: https://example.org/\n");
    EXPECT_EQ(Opened(), "");
}

TEST_F(MoxiLocked, FifteenHundredAddressesOpenThreeOneAfterTheOther) {
    WriteGame(game,
              OnKey(std::string("        MOVE.L  R2, #1500\n@more:\n        PUSH.L  R2\n") + kOpen +
                        "        POP.L   R2\n        SUB.L   R2, #1\n"
                        "        TBNE.L  R2, @more\n",
                    kWeb));
    // Whoever runs while another one does, says so.
    StartWithOpener({"--mute", "--open-urls"},
                    "mkdir " + folder.path + "/running || echo two at a time >>" + folder.path +
                        "/opened\nsleep 0.3\nrmdir " + folder.path + "/running\n");
    Shell("xdotool key a");
    const std::string three = "https://example.org/\nhttps://example.org/\nhttps://example.org/\n";
    EXPECT_TRUE(WaitUntil([&] { return Opened() == three; })) << Opened();
    for (int i = 0; i < 100; ++i) {
        Pause();
    }
    EXPECT_EQ(Opened(), three);
}

// --- The log

TEST_F(MoxiLocked, AFloodOfLinesIsLimitedWhereThereIsAWindow) {
    const std::string flood =
        "        MOVE.L  R2, #5000\n@more:\n        PUSH.L  R2\n" + std::string(R"(
        PUSH.L  #web
        PUSH.L  #0x0711
        CALL    service, 8
)") + "        POP.L   R2\n        SUB.L   R2, #1\n        TBNE.L  R2, @more\n";
    WriteGame(game, OnKey(flood, "web:    .asciz  \"file:///x\"\n"));
    Start();
    Shell("xdotool key a");
    ASSERT_TRUE(WaitUntil([&] { return Errors().size() > 20000; }));
    kill(process, SIGTERM);
    EXPECT_EQ(WaitForExit(), 0);
    std::istringstream lines(Errors());
    u64 written = 0;
    u64 leftOut = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line == "log: refused to open file:///x") {
            ++written;
        } else {
            std::istringstream(line.substr(5)) >> leftOut;
            EXPECT_EQ(line, "log: " + std::to_string(leftOut) + " lines of the log were left out");
        }
    }
    EXPECT_GE(written, 1000u);
    EXPECT_LT(written, 4000u);
    EXPECT_EQ(written + leftOut, 5000u);
}

// --- The clipboard

TEST_F(MoxiLocked, WhatOtherProgramsCopyIsReadOnlyWithTheKeyboard) {
    // Three seconds after a key: the clipboard's text as the window's title.
    WriteGame(game, OnKey(R"(
        PUSH.L  #300
        PUSH.L  #0x0715
        CALL    service, 8
        PUSH.L  #0
        PUSH.L  #0x0715
        CALL    service, 8
        PUSH.L  #100
        PUSH.L  #clip+5
        PUSH.L  #0x0705
        CALL    service, 12
        PUSH.L  #clip
        PUSH.L  #0x070B
        CALL    service, 8
)",
                          "clip:   .ascii  \"clip:\"\n        .space  100\n"));
    Start();
    window = Window();
    const auto title = [&] { return OutputOf("xdotool getwindowname " + window); };
    CopyByOtherProgram("secret text");
    Shell("xdotool key a");
    EXPECT_TRUE(WaitUntil([&] { return title() == "clip:secret text"; })) << title();
    Shell("xdotool key a");
    Shell("xdotool windowminimize " + window);
    EXPECT_TRUE(WaitUntil([&] { return title() == "clip:"; })) << title();
}

// --- Rules without a window

TEST(Urls, OnlyAddressesOfTheWebAndMailWithoutFilesAreOpened) {
    for (const char* const good :
         {"http://a", "HTTPS://a.b/c?d=e#f", "mailto:a@b.c", "mailto:a@b.c?subject=hi&body=attach",
          "https://a/?attach=1", "mailto:attach@b.c"}) {
        EXPECT_TRUE(IsOpenableUrl(good)) << good;
    }
    for (const char* const bad :
         {"", "http://", "file:///etc/passwd", "javascript:alert(1)", "https:/a", "ftp://a",
          "mailto:", "http://a b", "http://a\nb", "mailto:a@b.c?attach=/etc/passwd",
          "mailto:a@b.c?subject=x&attachment=/etc/passwd", "mailto:?ATTACH=/x",
          "mailto:a@b.c?%61ttach=/x", "mailto:a@b.c?x-attach=/x",
          "mailto:a@b.c?subject=a%26attach=/x", "xmailto:a@b.c", "-http://a",
          // Scripts that hand mail on to programs look for fields without a question mark, too.
          "mailto:a@b.c&attach=/x", "mailto:a@b.c;attach=/x", "mailto:a@b.c?x=%0Aattach=/x"}) {
        EXPECT_FALSE(IsOpenableUrl(bad)) << bad;
    }
}

TEST(Urls, ThePlayerSeesWhichMachineAnAddressLeadsTo) {
    EXPECT_EQ(ShownUrl("https://example.org/a?b@c"), "https://example.org/a?b@c");
    EXPECT_EQ(ShownUrl("mailto:a@b.c"), "mailto:a@b.c");
    // What stands before the last @ is a user's name, whatever it looks like.
    EXPECT_EQ(ShownUrl("https://bank.example@evil.example/"), "https://...@evil.example/");
    EXPECT_EQ(ShownUrl("HTTP://a:b@c@evil.example"), "HTTP://...@evil.example");
    EXPECT_EQ(ShownUrl("https://bank.example/" + std::string(400, 'a') + "@evil.example/").size(),
              403u);
    EXPECT_EQ(ShownUrl("https://" + std::string(2000, 'a') + "@evil.example/"),
              "https://...@evil.example/");
    // Browsers take a backslash for a slash.
    EXPECT_EQ(ShownUrl("http://evil.example\\@bank.example/"),
              "http://evil.example\\@bank.example/");
    // A Cyrillic letter that looks like an a.
    EXPECT_EQ(ShownUrl("http://b\xD0\xB0nk.example/"), "http://b%D0%B0nk.example/");
}

TEST(Urls, ThreeInTenSeconds) {
    constexpr u64 kSecond = 1'000'000'000;
    UrlRate rate;
    EXPECT_TRUE(rate.Take(5 * kSecond));
    EXPECT_TRUE(rate.Take(6 * kSecond));
    EXPECT_TRUE(rate.Take(7 * kSecond));
    EXPECT_FALSE(rate.Take(8 * kSecond));
    EXPECT_FALSE(rate.Take(15 * kSecond - 1));
    EXPECT_TRUE(rate.Take(15 * kSecond));
    EXPECT_FALSE(rate.Take(16 * kSecond - 1));
    EXPECT_TRUE(rate.Take(16 * kSecond));
}

}  // namespace

}  // namespace moxi
