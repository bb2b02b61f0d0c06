// The examples of the services' pages that are no program by themselves are put into one and run.

#include <gtest/gtest.h>

#include "tests/support/headless_run.h"
#include "tests/support/picture.h"
#include "tests/support/sound_bytes.h"

namespace moxi {

namespace {

const std::string kDocs = MOXI_SOURCE_DIR "/docs/";

std::string AllExamples(const std::string& page) {
    std::string all;
    for (const std::string& example : ExamplesOf(kDocs + page)) {
        all += example;
    }
    return all;
}

TEST(SoundPage, EveryServiceHasAnExample) {
    const std::string all = AllExamples("services-sound.md");
    for (const char* command : {"0x0600", "0x0601", "0x0602", "0x0603", "0x0604"}) {
        EXPECT_NE(all.find(std::string(".long   ") + command), std::string::npos) << command;
    }
}

TEST(SoundPage, TheExamplesPlayStopAndMeasure) {
    HeadlessRun run;
    run.source =
        "start:  LINK 0, 0\n"
        "        MOVE.L R0, [FP+12]\n"
        "        CMP.L R0, #1\n"
        "        BEQ examples\n"
        "        RETURN 0\n"
        "        .bss\n"
        "        .align 4\n"
        "bang_ms: .space 4\n"
        "        .code\n"
        "examples:\n";
    // Each jump of an example leads behind it.
    for (const std::string& example : ExamplesOf(kDocs + "services-sound.md")) {
        run.source += example + "        .code\n";
        for (const char* label : {"is_quiet", "other"}) {
            if (example.find(std::string(" ") + label) != std::string::npos) {
                run.source += std::string(label) + ":\n";
            }
        }
    }
    run.source += "        STOP\n";
    run.resources["MUSIC/THEME.MID"] =
        MidiFile(0, 96, {NoteOn(0, 60) + NoteOff(96, 60) + EndOfTrack(0)});
    run.resources["SOUNDS/BANG.WAV"] = WavFile({}, std::string(44100, '\0'));
    const HeadlessResult result = RunHeadless(run);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, std::vector<std::string>{});
    // Half a second of 16-bit mono, and the margin.
    EXPECT_EQ(result.LongAt("bang_ms"), 700u);
}

TEST(TextPage, TheExamplesWriteAParagraph) {
    const TemporaryFolder folder;
    HeadlessRun run;
    run.source = AllExamples("services-text-images.md");
    run.options = {"--run-ms", "50", "--dump-view", folder.path + "/view.png"};
    const HeadlessResult result = RunHeadless(run);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, std::vector<std::string>{});
    const Picture view = ReadPicture(folder.path + "/view.png");
    // Seventy characters in lines of 200 pixels, 24 high: more than two lines, fewer than eight.
    u32 lines = 0;
    while (lines < 8 && view.Colour(20, 20 + lines * 24, 200, 24) == 0xFFFFFFFF) {
        ++lines;
    }
    EXPECT_GT(lines, 2u);
    EXPECT_LT(lines, 8u);
}

}  // namespace

}  // namespace moxi
