// Corners of window, clipboard and pointer that a person meets sooner or later.
#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include "desktop/desktop.h"
#include "desktop/events.h"
#include "tests/support/desktop_probe.h"
#include "tests/support/x11_client.h"
#include "tests/window/moxi_window.h"

namespace moxi {

namespace {
TEST_F(MoxiWindow, TheTitleMayHaveCharactersOfEveryScript) {
    // En dash, bullet, quotation marks, a zero-width non-joiner, Tokyo.
    for (const std::string title :
         {"Night \xE2\x80\x93 Day \xE2\x80\xA2 \xE2\x80\x9CZo\xC3\xAB\xE2\x80\x9D",
          "Mi\xE2\x80\x8Ch", "\xE6\x9D\xB1\xE4\xBA\xAC"}) {
        WriteTextFile(game + "/Info.plist",
                      "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>"
                      "<key>ZULGameName</key><string>" +
                          title + "</string></dict></plist>");
        Launch({"--mute"});
        EXPECT_TRUE(WaitUntil([&] {
            return OutputOf("xdotool search --onlyvisible --class '^moxi$' getwindowname 2>&1") ==
                   title;
        })) << title;
        EXPECT_EQ(OutputOf("xdotool search --name '^" + title + "$' | wc -l"), "1");
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
        process = -1;
        Shell("sleep 0.2");
    }
}

TEST_F(MoxiWindow, LeavingTheWindowTellsNoPlaceWhereThePointerNeverWas) {
    Start();
    Shell("xdotool mousemove 500 500");
    WaitForQuiet();
    for (const std::string place : {"1350 850", "20 500", "500 60"}) {
        EXPECT_EQ(CauseAll("xdotool mousemove " + place), Lines{}) << place;
        // The content's corner is at 100, 200.
        const Lines back = CauseAll("xdotool mousemove 500 500");
        EXPECT_EQ(back.empty() ? "" : back.back(), "f 190 12c 0") << place;
    }
}

// A process that gets the processor for a moment now and then, as on a very busy machine.
class Slowed {
  public:
    explicit Slowed(pid_t slowed) : process(slowed) {
        stopper = std::thread([this] {
            using namespace std::chrono_literals;
            while (!done) {
                kill(process, SIGSTOP);
                std::this_thread::sleep_for(40ms);
                kill(process, SIGCONT);
                std::this_thread::sleep_for(100us);
            }
        });
    }
    Slowed(const Slowed&) = delete;
    Slowed& operator=(const Slowed&) = delete;
    ~Slowed() {
        done = true;
        stopper.join();
    }

  private:
    pid_t process;
    std::atomic<bool> done = false;
    std::thread stopper;
};

TEST_F(MoxiWindow, TheFrameOfAMaximisedWindowIsTheOneThatItHas) {
    Start();
    const unsigned long window = std::stoul(Window());
    const auto newsOf = [&](bool maximised) {
        const std::size_t before = Messages().size();
        const Slowed manager(session.manager);
        MaximizeX11Window(window, maximised);
        WaitUntil([&] { return Messages().size() > before; });
        WaitForQuiet();
        Lines news = Messages();
        news.erase(news.begin(), news.begin() + static_cast<std::ptrdiff_t>(before));
        ErasePointer(news);
        if (news.empty()) {
            news = {"nothing"};
        }
        return news;
    };
    // Maximised, a window keeps its title bar and loses its borders: frame 0, 0, 1400 x 900.
    Lines news = newsOf(true);
    EXPECT_EQ(news.front(), "8 0 0 0") << testing::PrintToString(news);
    Lines told = Cause("xdotool key 7");
    EXPECT_TRUE(Contains(told, "708 0 0 578")) << testing::PrintToString(told);
    EXPECT_TRUE(Contains(told, "708 384 0 0")) << testing::PrintToString(told);
    // And back: borders of 1, 20, 1 and 4 around 1000 x 600 at 100, 100.
    news = newsOf(false);
    EXPECT_EQ(news.front(), "8 63 5f 0") << testing::PrintToString(news);
    told = Cause("xdotool key 7");
    EXPECT_TRUE(Contains(told, "708 63 5f 3ea")) << testing::PrintToString(told);
    EXPECT_TRUE(Contains(told, "708 271 0 0")) << testing::PrintToString(told);
}

TEST_F(MoxiWindow, TheWindowHasTheGamesIconAndElseItsOwn) {
    if (!IsProgramInstalled("convert")) {
        GTEST_SKIP() << "ImageMagick is missing";
    }
    // The first words of the property: width, height, and the corner's colour.
    const auto icon = [this] {
        std::string words;
        WaitUntil([&] {
            words = OutputOf(
                "xprop -id $(xdotool search --onlyvisible --class '^moxi$') "
                "-notype 32c _NET_WM_ICON 2>/dev/null | tr -d ' ' | cut -d= -f2 | "
                "cut -d, -f1-3");
            return words.find(',') != std::string::npos;
        });
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
        process = -1;
        Shell("sleep 0.2");
        return words;
    };
    Launch({"--mute"});
    EXPECT_TRUE(icon().starts_with("128,128,"));

    const std::string named = "<plist version=\"1.0\"><dict><key>CFBundleIconFile</key><string>";
    Shell("convert -size 32x16 xc:'#4080C0' '" + game + "/Own.png'");
    WriteTextFile(game + "/Info.plist", named + "Own.png</string></dict></plist>");
    Launch({"--mute"});
    EXPECT_EQ(icon(), "32,16,4282417344");  // FF4080C0

    // An icon family with one member that is no PNG before the one that is.
    const std::string png = ReadTextFile(game + "/Own.png");
    const auto bigEndian = [](std::size_t value) {
        return std::string{static_cast<char>(value >> 24), static_cast<char>(value >> 16),
                           static_cast<char>(value >> 8), static_cast<char>(value)};
    };
    const std::string members =
        "ic07" + bigEndian(12) + "none" + "ic08" + bigEndian(8 + png.size()) + png;
    WriteTextFile(game + "/Own.icns", "icns" + bigEndian(8 + members.size()) + members);
    WriteTextFile(game + "/Info.plist", named + "Own</string></dict></plist>");
    Launch({"--mute"});
    EXPECT_EQ(icon(), "32,16,4282417344");

    // A name that leads out of the game is none.
    Shell("cp '" + game + "/Own.png' " + folder.path + "/Own.png");
    WriteTextFile(game + "/Info.plist", named + "../Own.png</string></dict></plist>");
    Launch({"--mute"});
    EXPECT_TRUE(icon().starts_with("128,128,"));
}

class Corners : public testing::Test {
  protected:
    void SetUp() override {
        if (!IsProgramInstalled("Xvfb")) {
            GTEST_SKIP() << "Xvfb is missing";
        }
        ASSERT_TRUE(session.Start("1400x900x24"));
    }
    void StartProbe(const std::function<void()>& atLaunch,
                    const std::function<void(const std::string&)>& onKey) {
        probe.Start(atLaunch, onKey);
        ASSERT_GE(probe.WaitFor("active"), 0);
        probe.WaitForQuiet();
    }

    XSession session;
    DesktopProbe probe;
};

void StayBusy(u64 milliseconds) {
    const u64 until = desktop.nanoseconds() + milliseconds * 1'000'000;
    while (desktop.nanoseconds() < until) {
    }
}

TEST_F(Corners, AKeyThatComesWithAWindowChangeIsAKeyAllTheSame) {
    StartProbe(
        [] {
            desktopEvents.windowDidResize = [] {
                ProbeLog("resize");
                StayBusy(30);
            };
        },
        [](const std::string& text) {
            if (text != "z") {
                return;
            }
            StayBusy(1000);
            ProbeLog("no longer busy");
        });
    const std::string window = OutputOf("xdotool getwindowfocus");
    for (const char* size : {"700 500", "720 520", "740 540"}) {
        const std::size_t before = probe.Log().size();
        Shell("xdotool key z sleep 0.2 windowsize " + window + " " + size +
              " sleep 0.2 key a sleep 0.1 key b");
        EXPECT_GE(probe.WaitFor("no longer busy", before), 0);
        probe.WaitForQuiet();
        const Lines lines = probe.Log(before);
        for (const char* line : {"resize", "key-down 00 \"a\"", "key-up 00 \"a\"",
                                 "key-down 0B \"b\"", "key-up 0B \"b\""}) {
            EXPECT_TRUE(Contains(lines, line)) << line << testing::PrintToString(lines);
        }
    }
}

// Five million bytes whose sum of products with their places tells whether they are all there.
std::string LongText() {
    std::string text;
    while (text.size() < 5'000'000) {
        text += "line " + std::to_string(text.size()) + " \xC3\xA9\n";
    }
    return text;
}

std::string Fingerprint(const std::string& text) {
    u64 sum = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        sum += (i + 1) * static_cast<u8>(text[i]);
    }
    return std::to_string(text.size()) + " bytes, " + std::to_string(sum);
}

TEST_F(Corners, ALongTextOfAnotherProgramComesWholeInPieces) {
    if (!IsProgramInstalled("xclip")) {
        GTEST_SKIP() << "xclip is missing";
    }
    StartProbe({}, [](const std::string& text) {
        if (text == "p") {
            ProbeLog("clip " + Fingerprint(desktop.clipboardText().value_or("none")));
        }
        if (text == "c") {
            desktop.setClipboardText("ours");
        }
    });
    const TemporaryFolder folder;
    const std::string text = LongText();
    WriteTextFile(folder.path + "/text", text);
    OutputOf("xclip -selection clipboard -i " + folder.path + "/text >/dev/null 2>&1");
    Shell("xdotool key p");
    EXPECT_GE(probe.WaitFor("clip " + Fingerprint(text)), 0) << testing::PrintToString(probe.Log());
    // Our own comes back, and after it another program's.
    Shell("xdotool key c sleep 0.1 key p");
    EXPECT_GE(probe.WaitFor("clip " + Fingerprint("ours")), 0);
    CopyByOtherProgram("theirs");
    Shell("xdotool key p");
    EXPECT_GE(probe.WaitFor("clip " + Fingerprint("theirs")), 0);
}
}  // namespace

}  // namespace moxi
