// A SoundFont cut to a game's music: what is in it, that it sounds the same, and what becomes of
// damaged ones.

#include "kit/small_soundfont.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>

#include "tests/support/headless_run.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr const char* kSoundFont = "/usr/share/sounds/sf2/TimGM6mb.sf2";

// A piece of one track: channel 1 plays programs 40 and 41, channel 10 kit 25.
std::string Piece(const std::string& events) {
    const std::string track = events + std::string("\x00\xFF\x2F\x00", 4);
    std::string bytes("MThd\0\0\0\6\0\0\0\1\0\x60MTrk\0\0\0", 21);
    bytes += static_cast<char>(track.size());
    return bytes + track;
}

u32 Size32(const std::string& bytes, size_t at) {
    u32 value = 0;
    for (size_t i = 4; i-- > 0;) {
        value = value << 8 | static_cast<u8>(bytes[at + i]);
    }
    return value;
}

Keys KeysOf(std::initializer_list<size_t> numbers) {
    Keys keys;
    for (const size_t number : numbers) {
        keys.set(number);
    }
    return keys;
}

const Keys kAllKeys = ~Keys();

// How many rows of so many bytes a table has, without the closing one.
u32 Rows(const std::string& bytes, const std::string& table, u32 rowSize) {
    const size_t at = bytes.rfind(table);
    return at == std::string::npos ? 0 : Size32(bytes, at + 4) / rowSize - 1;
}

TEST(SmallSoundFont, ProgramsAreThoseOfAllPiecesInTheGame) {
    const TemporaryFolder folder;
    fs::create_directory(folder.path + "/MUSIC");
    const std::string note("\0\x90\x40\x40", 4);
    WriteTextFile(folder.path + "/MUSIC/a.mid",
                  Piece(std::string("\0\xC0\x27\0\xC0\x28", 6) + note +
                        std::string("\0\xC0\x29", 3) + note + std::string("\0\x91\x40\0", 4)));
    WriteTextFile(folder.path + "/tune", Piece(std::string("\0\xC9\x19\0\x99\x24\x7F", 7)));
    WriteTextFile(folder.path + "/MUSIC/broken.mid", "MThd");
    const UsedPrograms used = ProgramsOfMusic(folder.path);
    EXPECT_EQ(used.pieces, 2u);
    EXPECT_EQ(used.melodic, (std::map<u32, Keys>{{40, KeysOf({0x40})}, {41, KeysOf({0x40})}}));
    EXPECT_EQ(used.percussion, (std::map<u32, Keys>{{25, KeysOf({0x24})}}));
    // A message to the whole synthesiser may make any channel one of percussion.
    WriteTextFile(folder.path + "/MUSIC/b.mid",
                  Piece(std::string("\0\xF0\x05\x7E\x7F\x09\x01\xF7\0\xC2\x07", 11) +
                        std::string("\0\x92\x40\x40", 4)));
    EXPECT_EQ(ProgramsOfMusic(folder.path).percussion,
              (std::map<u32, Keys>{{7, kAllKeys}, {25, KeysOf({0x24})}}));
}

TEST(SmallSoundFont, HoldsThePresetsThatAreChosen) {
    const std::string whole = ReadTextFile(kSoundFont);
    ASSERT_GT(whole.size(), 5'000'000u);
    std::string small;
    ASSERT_EQ(
        CutSoundFont(whole,
                     {.melodic = {{0, kAllKeys}, {73, kAllKeys}}, .percussion = {{0, kAllKeys}}},
                     small),
        "");
    // The grand piano, the flute, the standard kit.
    EXPECT_EQ(Rows(small, "phdr", 38), 3u);
    EXPECT_LT(Rows(small, "shdr", 46), Rows(whole, "shdr", 46) / 2);
    EXPECT_LT(small.size(), 2'500'000u);
    EXPECT_EQ(Size32(small, 4) + 8, small.size());
    // With one drum of the kit.
    std::string drum;
    ASSERT_EQ(CutSoundFont(whole, {.percussion = {{0, KeysOf({38})}}}, drum), "");
    EXPECT_EQ(Rows(drum, "phdr", 38), 1u);
    EXPECT_LE(Rows(drum, "shdr", 46), 4u);
    EXPECT_GE(Rows(drum, "shdr", 46), 1u);
    // What has been cut can be cut again, to the same.
    std::string again;
    ASSERT_EQ(
        CutSoundFont(small,
                     {.melodic = {{0, kAllKeys}, {73, kAllKeys}}, .percussion = {{0, kAllKeys}}},
                     again),
        "");
    EXPECT_EQ(again, small);
}

TEST(SmallSoundFont, AGameSoundsTheSame) {
    const TemporaryFolder folder;
    const std::string game = MOXI_BIN_DIR "/../share/moxi/games/glimmer";
    std::string small;
    ASSERT_EQ(CutSoundFont(ReadTextFile(kSoundFont), ProgramsOfMusic(game), small), "");
    WriteTextFile(folder.path + "/small.sf2", small);
    EXPECT_LT(small.size(), 3'000'000u);
    const auto heard = [&](const std::string& soundFont, const std::string& file) {
        const ProgramResult run =
            RunProgram("moxi", {"--headless", "--run-ms", "8000", "--date", "2026-07-01 21:30:00",
                                "--data-folder", folder.path + "/data", "--soundfont", soundFont,
                                "--render-audio", folder.path + "/" + file, game});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.errors, "");
        return ReadTextFile(folder.path + "/" + file);
    };
    const std::string whole = heard(kSoundFont, "whole.wav");
    EXPECT_GT(whole.size(), 1'000'000u);
    // It is not silence.
    EXPECT_GT(std::count_if(whole.begin(), whole.end(), [](char c) { return c != 0; }), 500'000);
    EXPECT_TRUE(whole == heard(folder.path + "/small.sf2", "small.wav"));
}

TEST(SmallSoundFont, DamagedSoundFontsAreRefusedOrCut) {
    std::string base;
    const UsedPrograms used = {.melodic = {{73, kAllKeys}}};
    ASSERT_EQ(CutSoundFont(ReadTextFile(kSoundFont), used, base), "");
    std::string small;
    EXPECT_EQ(CutSoundFont("", used, small), "damaged, or no SoundFont");
    EXPECT_EQ(CutSoundFont("these are words", used, small), "damaged, or no SoundFont");
    for (size_t size = 0; size < base.size(); size += 997) {
        CutSoundFont(base.substr(0, size), used, small);
    }
    // The tables stand at the end.
    const size_t tables = base.rfind("pdta");
    std::mt19937 random(1);
    for (int i = 0; i < 400; ++i) {
        std::string bytes = base;
        for (int change = 0; change < 3; ++change) {
            bytes[tables + random() % (bytes.size() - tables)] = static_cast<char>(random());
        }
        CutSoundFont(bytes, used, small);
    }
}

}  // namespace

}  // namespace moxi
