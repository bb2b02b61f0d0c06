// How cartridges run: frames, input, window, saved block, start-up, and what is refused.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <optional>

#include "tests/cartridges/played.h"
#include "tests/support/headless_run.h"
#include "vm/guard.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

// Frames that have run before an event at this time.
u32 FramesBefore(const std::string& cartridge, const std::string& script, u32 milliseconds) {
    return PlayCartridge(
               {.cartridge = cartridge, .milliseconds = milliseconds - 1, .script = script})
        .frames;
}

std::string Input(u32 frame, const std::string& address, const std::string& bytes) {
    return std::to_string(frame) + ":" + address + "=" + bytes;
}

// --- Frames

TEST(CartridgeFrames, TheFirstOneRunsAtTheStartAndThenSixtyASecond) {
    const std::string cartridge = OwnCartridge("tones");
    EXPECT_EQ(PlayCartridge({.cartridge = cartridge, .milliseconds = 0}).frames, 1u);
    const u32 seconds = kCheckedAccess ? 5 : 60;
    const u32 frames =
        PlayCartridge({.cartridge = cartridge, .milliseconds = seconds * 1000}).frames;
    EXPECT_TRUE(frames == seconds * 60 || frames == seconds * 60 + 1) << frames;
}

TEST(CartridgeFrames, FiveMinutesAreEighteenThousand) {
    if (kCheckedAccess) {
        GTEST_SKIP() << "too slow where each access is checked";
    }
    const u32 frames =
        PlayCartridge({.cartridge = OwnCartridge("tones"), .milliseconds = 300'000}).frames;
    EXPECT_GE(frames, 17'999u);
    EXPECT_LE(frames, 18'001u);
}

TEST(CartridgeFrames, ThousandsOfKeysLoseNeitherFramesNorTheLastRelease) {
    const u32 count = kCheckedAccess ? 300 : 3000;
    const u32 seconds = kCheckedAccess ? 4 : 30;
    std::string script;
    for (u32 i = 0; i < count; ++i) {
        const std::string time = std::to_string(100 + i * 8);
        script += time + " key-down 07 \"x\"\n" + time + " mouse-move " +
                  std::to_string(300 + i % 300) + " 300\n" + time + " key-up 07 \"x\"\n";
    }
    const Played played = PlayCartridge(
        {.cartridge = OwnCartridge("inputs"), .milliseconds = seconds * 1000, .script = script});
    EXPECT_TRUE(played.frames == seconds * 60 || played.frames == seconds * 60 + 1)
        << played.frames;
    EXPECT_EQ(played.memory[0x16], 0);
}

// --- Input

// The run ends between two frames: what a frame draws at the very end of a run is not shown any
// more.
TEST(CartridgeInput, KeysOfBothPlayersAndThePointerReachTheNextFrame) {
    const std::string cartridge = OwnCartridge("inputs");
    const std::string script =
        "100 key-down 7C \"\\x1D\"\n"
        "150 key-down 07 \"x\"\n"
        "250 key-up 7C \"\\x1D\"\n"
        "301 mouse-down 0 263 66\n"
        "333 mouse-down 1 263 66\n"
        "401 mouse-up 0 263 66\n"
        "450 key-down 0E \"e\"\n"
        "455 key-down 0C \"q\"\n"
        "500 mouse-up 1 10 599\n";
    const auto frame = [&](u32 time) { return FramesBefore(cartridge, script, time); };
    const Played played =
        PlayCartridge({.cartridge = cartridge, .milliseconds = 705, .script = script});
    // The picture is three times as large and begins at 260, 60.
    const Modelled model = ModelCartridge(
        cartridge, played.frames,
        {Input(frame(100), "22", "32"), Input(frame(150), "22", "33"), Input(frame(250), "22", "1"),
         Input(frame(301), "26", "1,0,2,0,1"), Input(frame(333), "30", "3"),
         Input(frame(401), "30", "2"), Input(frame(450), "23", "64"), Input(frame(455), "23", "66"),
         Input(frame(500), "26", "172,255,179,0,0")});
    EXPECT_EQ(Difference(played.memory, model.memory), "");
    EXPECT_EQ(ViewProblem(played), "");
}

TEST(CartridgeInput, EachKeyOfTheTwoPlayersHasItsBit) {
    struct Key {
        const char* code;
        u32 pad, bits;
    };
    // Codes of the positions of X, Space, V, K; Z, C, J; the arrows; Tab; Q, A; S, F, E, D.
    constexpr Key kKeys[] = {{"07", 0, 1},    {"31", 0, 1},    {"09", 0, 1},    {"28", 0, 1},
                             {"06", 0, 2},    {"08", 0, 2},    {"26", 0, 2},    {"7B", 0, 0x10},
                             {"7C", 0, 0x20}, {"7E", 0, 0x40}, {"7D", 0, 0x80}, {"30", 1, 1},
                             {"0C", 1, 2},    {"00", 1, 2},    {"01", 1, 0x10}, {"03", 1, 0x20},
                             {"0E", 1, 0x40}, {"02", 1, 0x80}};
    // Where each access is checked a run takes long, and a few of them show as much.
    const size_t step = kCheckedAccess ? 7 : 1;
    for (size_t i = 0; i < std::size(kKeys); i += step) {
        const Key& key = kKeys[i];
        const Played played =
            PlayCartridge({.cartridge = OwnCartridge("tones"),
                           .milliseconds = 300,
                           .script = "100 key-down " + std::string(key.code) + " \"k\"\n"});
        EXPECT_EQ(played.memory[0x16 + key.pad], key.bits) << key.code;
        EXPECT_EQ(played.memory[0x17 - key.pad], 0) << key.code;
    }
    const Played shift = PlayCartridge({.cartridge = OwnCartridge("tones"),
                                        .milliseconds = 300,
                                        .script = "100 modifiers shift\n"});
    EXPECT_EQ(shift.memory[0x17], 1);
}

TEST(CartridgeInput, ThePointerIsUnknownUntilItHasBeenOverThePicture) {
    // A move is passed on only while no other message waits; a hand makes many.
    const auto x = [](const std::vector<std::string>& places) {
        std::string script;
        u32 time = 100;
        for (const std::string& place : places) {
            for (u32 i = 0; i < 20; ++i) {
                script += std::to_string(time++) + " mouse-move " + place + "\n";
            }
        }
        const Played played = PlayCartridge(
            {.cartridge = OwnCartridge("tones"), .milliseconds = 500, .script = script});
        return played.Word(0x1A) & 0xFFFF;
    };
    EXPECT_EQ(x({}), 0x7FFFu);
    EXPECT_EQ(x({"10 300"}), 0x7FFFu);
    EXPECT_EQ(x({"260 300"}), 0u);
    EXPECT_EQ(x({"300 300", "257 300"}), 0xFFFFu);
}

// --- The window

TEST(CartridgeWindow, ThePictureIsAsManyTimesAsLargeAsFitsAndStandsInTheMiddle) {
    const std::string sizes[] = {"160 160", "161 330", "330 500", "479 900", "100 300", "1600 801"};
    for (size_t i = 0; i < std::size(sizes); i += kCheckedAccess ? 3 : 1) {
        const std::string& size = sizes[i];
        for (const char* const name : {"shapes", "tones"}) {
            const Played played = PlayCartridge({.cartridge = OwnCartridge(name),
                                                 .milliseconds = 400,
                                                 .script = "200 resize " + size + "\n"});
            EXPECT_EQ(std::to_string(played.view.width) + " " + std::to_string(played.view.height),
                      size);
            EXPECT_EQ(ViewProblem(played), "") << size;
        }
    }
}

// --- The saved block and the log

TEST(CartridgeDisk, TheSavedBlockIsThereAtTheSecondStart) {
    // diskw of 3 bytes at start, then the count that diskr gives for the second time of asking.
    const std::string cartridge = CartridgeOfText(R"((module
  (import "env" "memory" (memory 1))
  (import "env" "diskr" (func $diskr (param i32 i32) (result i32)))
  (import "env" "diskw" (func $diskw (param i32 i32) (result i32)))
  (data (i32.const 0x2000) "save")
  (func (export "start")
    (i32.store (i32.const 0x3000) (call $diskr (i32.const 0x3010) (i32.const 1024)))
    (i32.store (i32.const 0x3004) (call $diskw (i32.const 0x2000) (i32.const 4))))))");
    const TemporaryFolder folder;
    const auto play = [&] {
        return PlayCartridge(
            {.cartridge = cartridge, .milliseconds = 50, .dataFolder = folder.path + "/data"});
    };
    const Played first = play();
    EXPECT_EQ(first.Word(0x3000), 0u);
    EXPECT_EQ(first.Word(0x3004), 4u);
    EXPECT_EQ(first.Word(0x3010), 0u);
    const Played second = play();
    EXPECT_EQ(second.Word(0x3000), 4u);
    EXPECT_EQ(second.Word(0x3010), 0x65766173u);  // "save"
}

TEST(CartridgeTrace, EachCallIsALineOfTheLog) {
    const Played played = PlayCartridge({.cartridge = OwnCartridge("words"), .milliseconds = 50});
    EXPECT_EQ(played.Logs(), (std::vector<std::string>{"first line", "second line", "third\xC3\xA9",
                                                       "A -12 beef words 2.500000 100%"}));
}

// --- Start-up

TEST(CartridgeStart, AllWaysToBeginRunOnceInTheirOrder) {
    // Each way appends its digit to a decimal number.
    const Played played = PlayCartridge({.cartridge = CartridgeOfText(R"((module
  (import "env" "memory" (memory 1 1))
  (func $note (param $digit i32)
    (i32.store (i32.const 0x2000)
      (i32.add (i32.mul (i32.load (i32.const 0x2000)) (i32.const 10)) (local.get $digit))))
  (func $first (call $note (i32.const 1)))
  (func (export "_initialize") (call $note (i32.const 2)))
  (func (export "_start") (call $note (i32.const 3)))
  (func (export "start") (call $note (i32.const 4)))
  (func (export "update")
    (if (i32.lt_u (i32.load (i32.const 0x2000)) (i32.const 100000)) (then (call $note (i32.const 5)))))
  (start $first)))"),
                                         .milliseconds = 200});
    EXPECT_EQ(played.Word(0x2000), 123455u);
}

TEST(CartridgeStart, ACartridgeMayHaveAMemoryOfItsOwnAndNothingElse) {
    const Played played =
        PlayCartridge({.cartridge = CartridgeOfText("(module (memory (export \"memory\") 1)"
                                                    " (data (i32.const 0x14) \"\\21\\43\"))"),
                       .milliseconds = 200});
    EXPECT_EQ(played.status, 0);
    EXPECT_TRUE(played.frames == 12 || played.frames == 13) << played.frames;
    // What is there before the first frame, and the data over it.
    EXPECT_EQ(played.Word(0x04), 0xE0F8CFu);
    EXPECT_EQ(played.Word(0x08), 0x86C06Cu);
    EXPECT_EQ(played.Word(0x0C), 0x306850u);
    EXPECT_EQ(played.Word(0x10), 0x071821u);
    EXPECT_EQ(played.Word(0x14) & 0xFFFF, 0x4321u);
    EXPECT_EQ(played.Word(0x1A), 0x7FFF7FFFu);
}

// As where nobody counts them: an argument that is missing is 0, one too many is dropped, and so it
// is with results.
TEST(CartridgeStart, ImportsAndExportsMayHaveOtherArgumentsAndResults) {
    const Played played = PlayCartridge({.cartridge = CartridgeOfText(R"((module
  (import "env" "memory" (memory 1))
  (import "env" "hline" (func $hline (param i32 i32 i32 i32 i64)))
  (import "env" "rect" (func $rect (param i32 i32 i32)))
  (import "env" "trace" (func $trace (param i32) (result i32)))
  (import "env" "diskw" (func $diskw (param i32 i32)))
  (import "env" "diskr" (func $diskr (param i32) (result i32)))
  (type $three (func (param i32 i32 i32)))
  (table 1 funcref)
  (elem (i32.const 0) $rect)
  (data (i32.const 0x2100) "here\00")
  (func (export "start") (param i32 f64) (result i64 i32)
    (i32.store16 (i32.const 0x14) (i32.const 0x0032))
    (i32.store (i32.const 0x2000) (i32.add (local.get 0) (i32.const 7)))
    (i32.store (i32.const 0x2004) (call $trace (i32.const 0x2100)))
    (call $diskw (i32.const 0x2100) (i32.const 4))
    (i32.store (i32.const 0x2008) (i32.add (call $diskr (i32.const 0x2200)) (i32.const 3)))
    (i64.const 5) (i32.const 6))
  (func (export "update") (result i32)
    (call $hline (i32.const 10) (i32.const 20) (i32.const 3) (i32.const 99) (i64.const -1))
    (call_indirect (type $three) (i32.const 30) (i32.const 40) (i32.const 5) (i32.const 0))
    (i32.const 1))))"),
                                         .milliseconds = 100});
    EXPECT_EQ(played.status, 0);
    EXPECT_EQ(played.Logs(), std::vector<std::string>{"here"});
    EXPECT_EQ(played.Word(0x2000), 7u);
    EXPECT_EQ(played.Word(0x2004), 0u);
    EXPECT_EQ(played.Word(0x2008), 3u);  // a block of 0 bytes was asked for
    EXPECT_EQ(played.Word(0x2200), 0u);
    EXPECT_EQ(played.Pixel(10, 20), 1u);
    EXPECT_EQ(played.Pixel(12, 20), 1u);
    EXPECT_EQ(played.Pixel(13, 20), 0u);
    EXPECT_EQ(played.Pixel(30, 40), 2u);  // without a height it has an upper edge
}

TEST(CartridgeStart, MemoryDoesNotGrow) {
    const Played played = PlayCartridge({.cartridge = CartridgeOfText(R"((module
  (import "env" "memory" (memory 1))
  (func (export "update")
    (i32.store (i32.const 0x2000) (memory.grow (i32.const 1)))
    (i32.store (i32.const 0x2004) (memory.size)))))"),
                                         .milliseconds = 50});
    EXPECT_EQ(played.Word(0x2000), 0xFFFFFFFFu);
    EXPECT_EQ(played.Word(0x2004), 1u);
}

// --- What is refused

// The one line of standard error; the folder is not made.
std::string Refusal(const std::string& cartridge) {
    const TemporaryFolder folder;
    const ProgramResult made =
        RunProgram("mxwasm", {"--wasm4", cartridge, "-o", folder.path + "/game/"});
    EXPECT_EQ(made.status, 1);
    EXPECT_FALSE(fs::exists(folder.path + "/game"));
    EXPECT_EQ(made.errors.find('\n'), made.errors.size() - 1) << made.errors;
    const size_t reason = made.errors.find(cartridge + ": ");
    return reason == std::string::npos ? made.errors
                                       : made.errors.substr(reason + cartridge.size() + 2);
}

TEST(CartridgeRefused, WhatIsNoCartridgeIsNamedWithItsReason) {
    const TemporaryFolder folder;
    EXPECT_EQ(Refusal(folder.path + "/none.wasm"), "no such file\n");
    WriteTextFile(folder.path + "/words.wasm", "these are words");
    EXPECT_NE(Refusal(folder.path + "/words.wasm"), "");
    EXPECT_EQ(Refusal(CartridgeOfText("(module)")), "a cartridge has one page of memory\n");
    EXPECT_EQ(Refusal(CartridgeOfText("(module (import \"env\" \"memory\" (memory 2)))")),
              "a cartridge has one page of memory\n");
    EXPECT_EQ(Refusal(CartridgeOfText("(module (import \"env\" \"memory\" (memory 1))"
                                      " (import \"env\" \"fly\" (func)))")),
              "unknown import \"env.fly\"\n");
    EXPECT_EQ(Refusal(CartridgeOfText("(module (import \"env\" \"memory\" (memory 1))"
                                      " (import \"env\" \"rect\" (func (param f32))))")),
              "wrong type of the import \"env.rect\"\n");
}

// --- moxi CART.wasm

class OneStep : public testing::Test {
  protected:
    TemporaryFolder folder;
    std::optional<std::string> before;

    void SetUp() override {
        if (const char* const cache = std::getenv("XDG_CACHE_HOME")) {
            before = cache;
        }
        setenv("XDG_CACHE_HOME", (folder.path + "/cache").c_str(), 1);
        setenv("XDG_DATA_HOME", (folder.path + "/share").c_str(), 1);
    }
    void TearDown() override {
        unsetenv("XDG_DATA_HOME");
        unsetenv("XDG_CACHE_HOME");
        if (before) {
            setenv("XDG_CACHE_HOME", before->c_str(), 1);
        }
    }
    ProgramResult Start(const std::string& cartridge) {
        return RunProgram("moxi", {"--headless", "--run-ms", "100", cartridge}, folder.path);
    }
    // MAIN.MX in the cache.
    std::vector<fs::path> Modules() {
        std::vector<fs::path> found;
        std::error_code error;
        for (const auto& entry : fs::recursive_directory_iterator(folder.path + "/cache", error)) {
            if (entry.path().filename() == "MAIN.MX") {
                found.push_back(entry.path());
            }
        }
        return found;
    }
};

TEST_F(OneStep, ACartridgeIsPlayedUnderItsNameAndTranslatedOnce) {
    const std::string cartridge = folder.path + "/A & B.v2.wasm";
    fs::copy_file(OwnCartridge("disk"), cartridge);
    ProgramResult run = Start(cartridge);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "");
    EXPECT_TRUE(fs::exists(folder.path + "/share/Quillmoss Software/A & B.v2/SAVE.DAT"));
    ASSERT_EQ(Modules().size(), 1u);
    const auto made = fs::last_write_time(Modules()[0]);
    EXPECT_EQ(Start(cartridge).errors, "");
    EXPECT_EQ(fs::last_write_time(Modules()[0]), made);
    // Another cartridge of the same name is another translation in the same place.
    fs::copy_file(OwnCartridge("words"), cartridge, fs::copy_options::overwrite_existing);
    run = Start(cartridge);
    EXPECT_EQ(run.errors.substr(0, 16), "log: first line\n");
    ASSERT_EQ(Modules().size(), 1u);
    EXPECT_NE(fs::last_write_time(Modules()[0]), made);
}

TEST_F(OneStep, WhatIsNoCartridgeIsRefusedInOneLine) {
    WriteTextFile(folder.path + "/words.wasm", "these are words");
    const ProgramResult run = Start(folder.path + "/words.wasm");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors.find("moxi: " + folder.path + "/words.wasm: "), 0u) << run.errors;
    EXPECT_EQ(run.errors.find('\n'), run.errors.size() - 1) << run.errors;
    EXPECT_EQ(Modules().size(), 0u);
}

}  // namespace

}  // namespace moxi
