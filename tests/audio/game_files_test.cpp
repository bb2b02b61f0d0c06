// Music and sounds that other programs made: those of two free games, where they are installed.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "audio/score.h"
#include "audio/wav.h"
#include "desktop/synth/renderer.h"
#include "desktop/synth/sound_file.h"
#include "tests/support/headless_run.h"
#include "tests/support/listen.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr const char* kMusic = "/usr/share/games/openttd/baseset/openmsx";
constexpr const char* kSounds = "/usr/share/games/lbreakout2";

struct KnownPiece {
    const char* name;
    u64 end;    // nanoseconds to one beat after the longest track
    u32 notes;  // key presses
};

// Worked out in exact fractions by a program of its own.
constexpr KnownPiece kPieces[] = {
    {"5432gone_redfarn.mid", 60501953125u, 1274u},
    {"be_sharp_bw_redfarn.mid", 140100145180u, 3701u},
    {"boogi_marabi_redfarn.mid", 100393467860u, 3192u},
    {"busy_schedule.mid", 132094159178u, 3137u},
    {"careless_perc_redfarn.mid", 158441162110u, 1772u},
    {"chemistry_lab.mid", 129831757500u, 1310u},
    {"chuggachugga.mid", 84737668844u, 1552u},
    {"city_blues_redfarn.mid", 76501953125u, 1844u},
    {"coconut_run2.mid", 68333265000u, 843u},
    {"flying_scotsman.mid", 90221875000u, 2355u},
    {"harp_harmony.mid", 133384482000u, 2025u},
    {"keep_on_rolling.mid", 196730743000u, 6094u},
    {"linns_basket.mid", 240625000000u, 3999u},
    {"midnight_snow_run.mid", 139640004500u, 2004u},
    {"mighty_giant_run.mid", 114375000000u, 2296u},
    {"modern_motion.mid", 154505208334u, 3432u},
    {"moo_redfarn.mid", 146501953125u, 2621u},
    {"mosey_along_redfarn.mid", 75858741106u, 2447u},
    {"no_work_song_redfarn.mid", 131307397102u, 3566u},
    {"relax_song.mid", 192500000000u, 3462u},
    {"run_for_your_life.mid", 245999877000u, 4667u},
    {"say_what_redfarn.mid", 87693858985u, 2261u},
    {"slow_neasy_redfarn.mid", 75112772110u, 1787u},
    {"the_fast_route.mid", 164873046875u, 3671u},
    {"the_hobo_redfarn.mid", 137620770118u, 2901u},
    {"train_filled_with_cash.mid", 70555485000u, 941u},
    {"ttsong_iii_imuh3.mid", 65494791667u, 1897u},
    {"ttsong_iv_imuh3.mid", 115117187500u, 2477u},
    {"tttheme2.mid", 103822978238u, 4056u},
    {"ultimate_run.mid", 74000000000u, 1120u},
    {"wood_whistles.mid", 122500000000u, 1660u},
};

std::span<const u8> AsBytes(const std::string& file) {
    return {reinterpret_cast<const u8*>(file.data()), file.size()};
}

TEST(GameFiles, MusicEndsWhenAnotherProgramSaysSo) {
    if (!fs::exists(kMusic)) {
        GTEST_SKIP() << "the pieces are not installed";
    }
    for (const KnownPiece& piece : kPieces) {
        const fs::path path = fs::path(kMusic) / piece.name;
        if (!fs::exists(path)) {
            continue;
        }
        const std::string bytes = ReadTextFile(path.string());
        SmfFile file;
        std::string reason;
        ASSERT_TRUE(ReadSmf(AsBytes(bytes), file, reason)) << piece.name << ": " << reason;
        const Score score = PrepareScore(file);
        EXPECT_EQ(score.end, piece.end) << piece.name;
        const auto notes = std::count_if(
            score.piece->events.begin(), score.piece->events.end(), [](const MusicEvent& event) {
                return (event.status & 0xF0) == 0x90 && event.data2 > 0;
            });
        EXPECT_EQ(notes, piece.notes) << piece.name;
    }
}

TEST(GameFiles, MusicIsHeardWithoutClipping) {
    if (!fs::exists(kMusic)) {
        GTEST_SKIP() << "the pieces are not installed";
    }
    Synth* const synth = LoadSynth("");
    if (synth == nullptr) {
        GTEST_SKIP() << "no SoundFont is installed";
    }
    for (const KnownPiece& piece : kPieces) {
        const std::string bytes = ReadTextFile((fs::path(kMusic) / piece.name).string());
        SmfFile file;
        std::string reason;
        if (!ReadSmf(AsBytes(bytes), file, reason)) {
            continue;
        }
        const Score score = PrepareScore(file);
        Renderer renderer;
        renderer.synth = synth;
        SetMusic(renderer, score.piece.get());
        Recording heard = {std::vector<i16>(size_t{2} * 44100 * 5)};
        Render(renderer, heard.samples.data(), static_cast<u32>(heard.Frames()));
        EXPECT_GT(Loudness(heard), 0.003) << piece.name;
        EXPECT_LT(Peak(heard), 32767) << piece.name;
        SetMusic(renderer, nullptr);
    }
    DeleteSynth(synth);
}

TEST(GameFiles, SoundsLastAsLongAsTheirHeaderSays) {
    if (!fs::exists(kSounds)) {
        GTEST_SKIP() << "the sounds are not installed";
    }
    u32 compared = 0;
    for (const auto& entry : fs::recursive_directory_iterator(kSounds)) {
        if (entry.path().extension() != ".wav") {
            continue;
        }
        const std::string bytes = ReadTextFile(entry.path().string());
        Sound sound;
        std::string reason;
        ASSERT_TRUE(DecodeSound(AsBytes(bytes), sound, reason)) << entry.path() << reason;
        const u32 milliseconds = WavMilliseconds(AsBytes(bytes));
        if (milliseconds == 0) {
            continue;  // with chunks that are not stepped over
        }
        const f64 decoded = static_cast<f64>(sound.samples.size()) / 2 / 44.1;
        EXPECT_NEAR(milliseconds - 200.0, decoded, 2) << entry.path();
        ++compared;
    }
    EXPECT_GT(compared, 10u);
}

}  // namespace

}  // namespace moxi
