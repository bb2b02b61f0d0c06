// What a cartridge's tones sound like, from what moxi renders.

#include <gtest/gtest.h>

#include "tests/cartridges/played.h"
#include "tests/support/headless_run.h"
#include "tests/support/listen.h"

namespace moxi {

namespace {

Recording Listen(const std::string& name, u32 milliseconds) {
    const TemporaryFolder folder;
    const std::string path = folder.path + "/sound.wav";
    const Played played = PlayCartridge({.cartridge = OwnCartridge(name),
                                         .milliseconds = milliseconds,
                                         .options = {"--render-audio", path}});
    EXPECT_EQ(played.lines, std::vector<std::string>());
    return ReadRecording(path);
}

Recording Side(const Recording& recording, size_t side) {
    Recording one = recording;
    for (size_t i = 1 - side; i < one.samples.size(); i += 2) {
        one.samples[i] = 0;
    }
    return one;
}

// Half of the changes of sign of the left side, a second.
f64 Cycles(const Recording& recording) {
    u32 changes = 0;
    for (size_t i = 2; i < recording.samples.size(); i += 2) {
        changes += (recording.samples[i - 2] < 0) != (recording.samples[i] < 0) ? 1 : 0;
    }
    return changes / 2.0 / (static_cast<f64>(recording.Frames()) / 44100);
}

TEST(CartridgeSound, EachChannelHasItsPitchLevelAndSide) {
    const Recording all = Listen("tones", 7500);
    // A 440 for half a second from the 31st frame on, 15 % of 32,767.
    EXPECT_NEAR(FirstSound(all, 1000), 0.5, 0.012);
    EXPECT_EQ(Peak(Part(all, 0.52, 0.98)), 4915);
    EXPECT_NEAR(Cycles(Part(all, 0.52, 0.98)), 440, 3);
    EXPECT_EQ(Peak(Part(all, 1.03, 1.48)), 0);
    // A slide from 220 to 880 within 0.6 s at half the volume: the middle is 550.
    EXPECT_EQ(Peak(Part(all, 1.53, 1.98)), 2457);
    EXPECT_NEAR(Cycles(Part(all, 1.75, 1.85)), 550, 25);
    // A triangle has 25 %.
    EXPECT_NEAR(Peak(Part(all, 2.52, 2.98)), 8191, 30);
    EXPECT_NEAR(Cycles(Part(all, 2.52, 2.98)), 330, 3);
    // Noise on the left at two fifths.
    EXPECT_EQ(Peak(Side(Part(all, 3.52, 3.8), 0)), 1966);
    EXPECT_EQ(Peak(Side(Part(all, 3.4, 4.4), 1)), 0);
    // MIDI note 69 on the right.
    EXPECT_EQ(Peak(Side(Part(all, 4.4, 5.4), 0)), 0);
    EXPECT_EQ(Peak(Side(Part(all, 4.52, 4.98), 1)), 4915);
    EXPECT_EQ(StrongestKey(Part(all, 4.52, 4.98)), 69);
    EXPECT_EQ(Peak(Part(all, 7.2, 7.5)), 0);
}

TEST(CartridgeSound, AToneRisesToItsPeakFallsToItsLevelAndFades) {
    const Recording all = Listen("envelope", 3000);
    // Half seconds from 0.5 on: up to 4,915, down to 40 % of it, which is 1,966, there, to 0. Each
    // place is looked at for 10 ms, in which the level changes by 98 at most; a tone may be 12 ms
    // late.
    const auto level = [&](f64 time) { return Peak(Part(all, time - 0.005, time + 0.005)); };
    EXPECT_EQ(level(0.45), 0);
    EXPECT_NEAR(level(0.75), 2457, 220);
    EXPECT_NEAR(level(1.01), 4915, 120);
    EXPECT_NEAR(level(1.25), 3440, 140);
    EXPECT_NEAR(level(1.75), 1966, 2);
    EXPECT_NEAR(level(2.25), 983, 100);
    EXPECT_EQ(level(2.6), 0);
}

TEST(CartridgeSound, ACutFromOneMixtureToTheNextIsNotHeard) {
    const Recording right = Side(Listen("held", 3000), 1);
    // 220 Hz at 8,191: 163 from one sample to the next, as loud at the cuts as between them. A cut
    // may be a millisecond off.
    const Recording held = Part(right, 0.52, 2.4);
    EXPECT_LE(LargestStep(held), 163 * 2);
    EXPECT_LE(Peak(held), 8191);
    for (f64 from = 0.52; from < 2.4; from += 0.02) {
        // A triangle's mean magnitude, of both sides.
        EXPECT_NEAR(Loudness(Part(right, from, from + 0.02)), 8191 / 32768.0 / 1.7321 / 1.4142,
                    0.005)
            << from;
    }
}

TEST(CartridgeSound, TheHighestNoiseDoesNotHoldTheGameUp) {
    // MIDI note 255, as noise: over 400 million steps of its generator for each sample.
    const Played played = PlayCartridge({.cartridge = CartridgeOfText(R"((module
  (import "env" "memory" (memory 1))
  (import "env" "tone" (func $tone (param i32 i32 i32 i32)))
  (func (export "update")
    (call $tone (i32.const 255) (i32.const 60) (i32.const 100) (i32.const 0x43)))))"),
                                         .milliseconds = 305});
    EXPECT_TRUE(played.frames == 19 || played.frames == 20) << played.frames;
}

TEST(CartridgeSound, TheMixtureIsOneFileOfTheDataFolder) {
    const TemporaryFolder folder;
    PlayCartridge({.cartridge = OwnCartridge("tones"),
                   .milliseconds = 800,
                   .dataFolder = folder.path + "/data"});
    const std::string wav = ReadTextFile(folder.path + "/data/SOUND.WAV");
    // Half a second of two channels of 16 bits behind the header.
    EXPECT_EQ(wav.size(), 44u + 22050 * 4);
    EXPECT_EQ(wav.substr(0, 4) + wav.substr(8, 4), "RIFFWAVE");
}

}  // namespace

}  // namespace moxi
