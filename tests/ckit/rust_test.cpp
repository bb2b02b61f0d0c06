// The listings of docs/rust.md, compiled and played as they stand there.

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "tests/support/headless_run.h"
#include "tests/support/picture.h"

namespace moxi {

namespace {

constexpr const char* kCompiler = "/usr/bin/rustc";
constexpr u32 kOrange = 0xF08C32;

class Rust : public testing::Test {
  protected:
    TemporaryFolder folder;

    void SetUp() override {
        if (!std::filesystem::exists(kCompiler)) {
            GTEST_SKIP() << "rustc is not installed";
        }
    }

    // The listing whose first line is "// NAME: ...".
    static std::string Listing(const std::string& name) {
        std::istringstream page(ReadTextFile(MOXI_SOURCE_DIR "/docs/rust.md"));
        std::string text;
        bool inside = false;
        for (std::string line; std::getline(page, line);) {
            if (line == "```") {
                inside = false;
            }
            if (line.starts_with("// " + name + ":")) {
                inside = true;
            }
            if (inside) {
                text += line + "\n";
            }
        }
        return text;
    }

    // A program as a game folder.
    void Build(const std::string& name, const std::string& text,
               std::vector<std::string> options = {}) const {
        WriteTextFile(folder.path + "/" + name, text);
        options.insert(options.begin(), {std::string("RUSTC=") + kCompiler, "PATH=/usr/bin:/bin",
                                         MOXI_BIN_DIR "/../share/moxi/rust/build"});
        options.insert(options.end(), {name, "-o", "game/"});
        const ProgramResult built = RunProgram("/usr/bin/env", options, folder.path);
        EXPECT_EQ(built.status, 0) << built.errors;
    }

    ProgramResult Play(const std::string& script) const {
        WriteTextFile(folder.path + "/script", script);
        return RunProgram("moxi",
                          {"--headless", "--data-folder", "data", "--script", "script", "--run-ms",
                           "2000", "--dump-view", "view.png", "game"},
                          folder.path);
    }

    // Of a picture of 200 by 120, which the window shows five times as large.
    u32 Seen(u32 x, u32 y) const {
        return ReadPicture(folder.path + "/view.png").At(x * 5 + 2, y * 5 + 2);
    }
};

TEST_F(Rust, AGameIsBuiltAndPlayed) {
    Build("catch.rs", Listing("catch.rs"));
    const ProgramResult still = Play("");
    EXPECT_EQ(still.status, 0);
    EXPECT_EQ(still.errors, "");
    EXPECT_EQ(Seen(91, 110), kOrange);
    EXPECT_EQ(Seen(109, 110), kOrange);
    EXPECT_EQ(Seen(88, 110), 0x182044u);
    EXPECT_EQ(Seen(100, 118), 0x50B45Au);
    // 36 updates of 2.5 pixels to the left, and it is at the wall.
    Play("1000 key-down 7B \"\\x1C\"\n");
    EXPECT_EQ(Seen(1, 110), kOrange);
    EXPECT_EQ(Seen(22, 110), 0x182044u);
}

TEST_F(Rust, AGameMayCallTheMacroAsItLikes) {
    std::string text = Listing("catch.rs");
    const std::string usual = "moxi::game!(Catch);";
    const size_t at = text.find(usual);
    ASSERT_NE(at, std::string::npos);
    text.replace(at, usual.size(), "use moxi::game as play;\nplay!(Catch);");
    Build("catch.rs", text);
    EXPECT_EQ(Play("").errors, "");
    EXPECT_EQ(Seen(91, 110), kOrange);
}

TEST_F(Rust, AProgramWithTheLibraryAnswersMessages) {
    Build("words.rs", Listing("words.rs"), {"--std"});
    const ProgramResult run = Play("");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "log: cup: 2\nlog: hill: 1\nlog: tea: 1\nlog: the: 3\n");
}

}  // namespace

}  // namespace moxi
