// Keys of the menu and keys with Command held, in every layout, as a person presses them.
#include "tests/support/x11_client.h"
#include "tests/window/moxi_window.h"

namespace moxi {

namespace {
// The server's numbers of keys, which are places: the letters are those of a US keyboard.
constexpr unsigned kKey1 = 10;
constexpr unsigned kKey7 = 16;
constexpr unsigned kKeyQ = 24;
constexpr unsigned kKeyZ = 52;
constexpr unsigned kKeyControl = 37;
constexpr unsigned kKeyA = 38;
constexpr unsigned kKeyShift = 50;
constexpr unsigned kKeyX = 53;
constexpr unsigned kKeyM = 58;

class MoxiLayouts : public MoxiWindow {
  protected:
    void SetLayouts(const std::string& layouts, unsigned active = 0) {
        Shell("setxkbmap " + layouts);
        UseX11Layout(active);
        WaitForQuiet();
    }

    // The messages that the keys cause, without releases and modifier keys.
    Lines Press(const std::vector<unsigned>& codes) {
        const std::size_t before = Messages().size();
        EXPECT_TRUE(PressX11Keys(codes));
        WaitForQuiet();
        Lines lines = Messages();
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(before));
        std::erase_if(lines, [](const std::string& line) {
            return line.starts_with("d ") || line.starts_with("f ") || line == "c 11 0 0" ||
                   line == "c 10 0 0" || line.starts_with("70");
        });
        return lines;
    }
};

TEST_F(MoxiLayouts, CommandTakesTheTextOfTheLayoutThatIsActiveAndNotOfTheOneBefore) {
    Start();
    SetLayouts("us,fr", 1);
    // The key of A is Q in France, and the other way round.
    EXPECT_EQ(Press({kKeyA}), (Lines{"c 41 1 0", "e 71 0 0"}));
    UseX11Layout(0);
    EXPECT_EQ(Press({kKeyControl, kKeyA}), (Lines{"c 41 1 0", "e 61 0 0"}));
    UseX11Layout(1);
    EXPECT_EQ(Press({kKeyControl, kKeyQ}), (Lines{"c 51 1 0", "e 61 0 0"}));
    PressX11Keys({kKeyControl, kKeyA});
    EXPECT_EQ(WaitForExit(), 0);
}

TEST_F(MoxiLayouts, CommandWithDigitsAndShiftGivesWhatStandsOnTheKey) {
    Start();
    SetLayouts("fr");
    EXPECT_EQ(Press({kKeyControl, kKey1}), (Lines{"c 31 1 0", "e 26 0 0"}));
    EXPECT_EQ(Press({kKeyControl, kKeyShift, kKey1}), (Lines{"c 31 1 0", "e 31 0 0"}));
    SetLayouts("de");
    EXPECT_EQ(Press({kKeyControl, kKeyShift, kKey7}), (Lines{"c 37 1 0", "e 2f 0 0"}));
    SetLayouts("us");
    EXPECT_EQ(Press({kKeyControl, kKeyShift, kKey7}), (Lines{"c 37 1 0", "e 26 0 0"}));
}

TEST_F(MoxiLayouts, WithoutLatinLettersTheMenusKeysAreThoseOfAUsKeyboard) {
    Start();
    const std::string window = Window();
    SetLayouts("ru");
    // The module gets the letter that stands on the key.
    EXPECT_EQ(Press({kKeyControl, kKeyA}), (Lines{"c 41 1 0", "e 84d1 0 0"}));
    EXPECT_EQ(Press({kKeyControl, kKeyM}), Lines{"7 1 0 0"});
    Cause("xdotool windowactivate " + window);
    PressX11Keys({kKeyControl, kKeyQ});
    EXPECT_EQ(WaitForExit(), 0);
}

TEST_F(MoxiLayouts, InGreekTheKeyOfQHasASemicolonAndQuits) {
    Start();
    SetLayouts("gr");
    PressX11Keys({kKeyControl, kKeyQ});
    EXPECT_EQ(WaitForExit(), 0);
}

TEST_F(MoxiLayouts, TheFirstLatinLayoutOfTheUsersOwnComesBeforeTheUsOne) {
    Start();
    SetLayouts("'ru,us' -variant ',dvorak'");
    // Here an apostrophe.
    EXPECT_EQ(Press({kKeyControl, kKeyQ}), (Lines{"c 51 1 0", "e b9d0 0 0"}));
    PressX11Keys({kKeyControl, kKeyX});
    EXPECT_EQ(WaitForExit(), 0);
}

TEST_F(MoxiLayouts, ASignOnALatinLayoutIsMeant) {
    Start();
    SetLayouts("'us,us' -variant ',dvorak'", 1);
    EXPECT_EQ(Press({kKeyControl, kKeyQ}), (Lines{"c 51 1 0", "e 27 0 0"}));
    // Z is a semicolon there.
    EXPECT_EQ(Press({kKeyControl, kKeyZ}), (Lines{"c 5a 1 0", "e 3b 0 0"}));
}

TEST_F(MoxiWindow, AMenuKeyThatIsHeldDoesNotRepeat) {
    Start();
    const auto left = [](const std::string& line) { return line.ends_with(" 3"); };
    Lines lines = Cause("xdotool keydown alt keydown Return sleep 2 keyup Return keyup alt");
    EXPECT_TRUE(Contains(lines, "9 578 384 2")) << testing::PrintToString(lines);
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), left), 0) << testing::PrintToString(lines);
    lines = Cause("xdotool key alt+Return");
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), left), 1) << testing::PrintToString(lines);
}

TEST_F(MoxiWindow, TheBoxAboutAModuleThatIsBusyIsUsedByKeyboardAlone) {
    Start();
    const std::string window = Window();
    const auto box = [&] {
        return OutputOf("xdotool search --onlyvisible --name '^" + name + "$' | grep -v '^" +
                        window + "$'");
    };
    Shell("xdotool key b sleep 1 key alt+F4");
    ASSERT_TRUE(WaitUntil([&] { return !box().empty(); }));
    // To the button on the left, back and forth again; the first one is "Wait".
    Shell("sleep 0.3; xdotool key Tab key Right key Left key Return");
    EXPECT_EQ(WaitForExit(), 1);
    EXPECT_EQ(Errors(), "log: ended by the user while it did not answer\n");
}
}  // namespace

}  // namespace moxi
