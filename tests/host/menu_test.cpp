// The interface file: what it must hold, and what happens without it. What its keys do is in
// keyboard_test.cpp.

#include "host/menu.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "desktop/desktop.h"
#include "desktop/us_layout.h"
#include "host/keyboard.h"
#include "tests/support/message_log.h"

namespace moxi {

namespace {

namespace fs = std::filesystem;

using Strings = std::vector<std::string>;

constexpr const char* kDelegate = "<key>ApplicationDelegate</key><string>moxiAppDelegate</string>";

std::string Plist(const std::string& content) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>" + content +
           "</dict></plist>";
}

std::string Item(const std::string& action, const std::string& key) {
    return "<dict><key>Title</key><string>Item</string><key>Action</key><string>" + action +
           "</string><key>KeyEquivalent</key><string>" + key + "</string></dict>";
}

std::string Menu(const std::string& items) {
    return Plist(kDelegate + ("<key>Menu</key><array>" + items + "</array>"));
}

class MenuTest : public ::testing::Test {
  protected:
    void SetUp() override {
        quits = minimised = 0;
        desktop.terminate = [] { ++quits; };
        desktop.minimizeWindow = [] { ++minimised; };
    }
    void TearDown() override {
        ResetMenu();
        ResetKeyboard();
        desktop.terminate = [] {};
        desktop.minimizeWindow = [] {};
    }
    // Whether the file is taken; `reason` says why not.
    bool Load(const std::string& content) {
        const std::string path = folder.path + "/MainMenu.plist";
        WriteTextFile(path, content);
        return LoadMenu(path, reason);
    }

    // The key is released again.
    static bool PressX(const std::string& text) {
        const bool taken = PerformKeyEquivalent(kXKey, text);
        ReleaseMenuKey(kXKey);
        return taken;
    }

    static constexpr u8 kXKey = 0x07;
    TemporaryFolder folder;
    std::string reason;
    static inline int quits = 0;
    static inline int minimised = 0;
};

TEST_F(MenuTest, AMissingFileIsRefused) {
    EXPECT_FALSE(LoadMenu(folder.path + "/none.plist", reason));
    EXPECT_NE(reason, "");
}

TEST_F(MenuTest, AFileThatIsNoPropertyListIsRefused) {
    EXPECT_FALSE(Load("bplist00"));
    EXPECT_FALSE(Load("<html/>"));
    EXPECT_FALSE(Load(""));
}

TEST_F(MenuTest, AFileWithoutTheDelegateIsRefused) {
    EXPECT_FALSE(Load(Plist("")));
    EXPECT_FALSE(Load(Plist("<key>ApplicationDelegate</key><string>other</string>")));
    EXPECT_TRUE(Load(Plist(kDelegate)));
}

TEST_F(MenuTest, AnItemWithAnUnknownActionOrWithoutATitleIsRefused) {
    EXPECT_FALSE(Load(Menu(Item("selfDestruct:", "Command-Q"))));
    EXPECT_EQ(reason, "unknown action selfDestruct:");
    EXPECT_FALSE(Load(Menu("<dict><key>Action</key><string>terminate:</string></dict>")));
}

TEST_F(MenuTest, AnItemsKeyCountsWithExactlyItsModifiers) {
    ASSERT_TRUE(Load(
        Menu(Item("terminate:", "Command-Option-X") + Item("performMiniaturize:", "Command-X"))));
    buttonsAndModifiers = kCommandBit | kOptionBit;
    EXPECT_TRUE(PressX("x"));
    EXPECT_EQ(quits, 1);
    buttonsAndModifiers = kCommandBit | kLeftButtonBit;  // buttons do not matter
    EXPECT_TRUE(PressX("X"));
    EXPECT_EQ(minimised, 1);
    buttonsAndModifiers = kCommandBit | kShiftBit;
    EXPECT_FALSE(PressX("x"));
    buttonsAndModifiers = 0;
    EXPECT_FALSE(PressX("x"));
    EXPECT_EQ(quits + minimised, 2);
}

TEST_F(MenuTest, AnItemWithoutAKeyIsNotTakenByAKeyWithoutText) {
    ASSERT_TRUE(Load(Menu(Item("terminate:", ""))));
    EXPECT_FALSE(PressX(""));
    EXPECT_EQ(quits, 0);
}

TEST_F(MenuTest, AKeyThatIsHeldPerformsItsItemOnceAndIsTheMenusUntilItIsReleased) {
    ASSERT_TRUE(Load(Menu(Item("performMiniaturize:", "Command-X"))));
    buttonsAndModifiers = kCommandBit;
    EXPECT_TRUE(PerformKeyEquivalent(kXKey, "x"));
    EXPECT_TRUE(PerformKeyEquivalent(kXKey, "x"));
    // Command is released first, as it often is: the letter is not typed.
    buttonsAndModifiers = 0;
    EXPECT_TRUE(PerformKeyEquivalent(kXKey, "x"));
    EXPECT_EQ(minimised, 1);
    ReleaseMenuKey(kXKey);
    EXPECT_FALSE(PerformKeyEquivalent(kXKey, "x"));
    buttonsAndModifiers = kCommandBit;
    EXPECT_TRUE(PerformKeyEquivalent(kXKey, "x"));
    EXPECT_EQ(minimised, 2);
    // A modifier key that goes down begins a new combination.
    ReleaseMenuKeys();
    EXPECT_TRUE(PerformKeyEquivalent(kXKey, "x"));
    EXPECT_EQ(minimised, 3);
}

TEST_F(MenuTest, ALetterThatIsNotLatinCountsAsTheLatinOneOnItsKey) {
    ASSERT_TRUE(Load(Menu(Item("terminate:", "Command-X"))));
    desktop.latinText = [](u8 code, const std::string& text) {
        return std::string(code == kXKey ? "x" : text);
    };
    buttonsAndModifiers = kCommandBit;
    EXPECT_TRUE(PressX("\xD1\x87"));  // Cyrillic che, on the key of X
    EXPECT_EQ(quits, 1);
    EXPECT_FALSE(PerformKeyEquivalent(0x06, "\xD1\x8F"));  // ya, on the key of Z
    EXPECT_EQ(quits, 1);
    desktop.latinText = [](u8, const std::string& text) { return text; };
}

TEST(UsLayout, HasTheCharactersOfAUsKeyboard) {
    EXPECT_EQ(UsCharacter(0x00), 'a');
    EXPECT_EQ(UsCharacter(0x0C), 'q');
    EXPECT_EQ(UsCharacter(0x12), '1');
    EXPECT_EQ(UsCharacter(0x1E), ']');
    EXPECT_EQ(UsCharacter(0x2A), '\\');
    EXPECT_EQ(UsCharacter(0x2F), '.');
    EXPECT_EQ(UsCharacter(0x31), ' ');
    EXPECT_EQ(UsCharacter(0x32), '`');
    EXPECT_EQ(UsCharacter(0x24), 0);  // Return
    EXPECT_EQ(UsCharacter(0x0A), 0);  // beside the left Shift, where a US keyboard has no key
    EXPECT_EQ(UsCharacter(0x7F), 0);
}

TEST(UsLayout, LatinAreAsciiAndLatinLettersWithAccents) {
    for (const char* text : {"", "q", "1", ";", "\xC3\xA9", "\xC5\x82", "\xE1\xBA\xA1"}) {
        EXPECT_TRUE(IsLatin(text)) << text;
    }
    // Cyrillic short i, Greek alpha, Hebrew alef, Arabic alef, Georgian an, hiragana a
    for (const char* text :
         {"\xD0\xB9", "\xCE\xB1", "\xD7\x90", "\xD8\xA7", "\xE1\x83\x90", "\xE3\x81\x82"}) {
        EXPECT_FALSE(IsLatin(text)) << text;
    }
}

TEST(Menu, WithoutItsFileTheProgramEndsWithAFatalMessageAndStatus1) {
    const TemporaryFolder folder;
    fs::create_directories(folder.path + "/bin");
    fs::create_directories(folder.path + "/game");
    const std::string program = folder.path + "/bin/moxi";
    fs::copy_file(fs::path(MOXI_BIN_DIR) / "moxi", program);
    const ProgramResult result =
        RunProgram(program, {"--headless", folder.path + "/game"}, folder.path);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_NE(result.errors.find("fatal: Failed loading MainMenu. Terminating. So sorry!\n"),
              std::string::npos)
        << result.errors;
}

}  // namespace

}  // namespace moxi
