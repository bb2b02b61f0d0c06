// The examples of docs/services-graphics.md make one program, together with the frame that
// docs/system-services.md gives. It must assemble, run, and draw the pictures on the page.

#include <gtest/gtest.h>
#include <spng.h>

#include <cstdlib>

#include "tests/support/headless_run.h"

namespace moxi {

namespace {

const std::string kDocs = MOXI_SOURCE_DIR "/docs/";

std::string Pixels(const std::string& png) {
    spng_ctx* const context = spng_ctx_new(0);
    spng_set_png_buffer(context, png.data(), png.size());
    size_t size = 0;
    spng_decoded_image_size(context, SPNG_FMT_RGBA8, &size);
    std::string pixels(size, '\0');
    if (spng_decode_image(context, pixels.data(), size, SPNG_FMT_RGBA8, 0) != 0) {
        pixels.clear();
    }
    spng_ctx_free(context);
    return pixels;
}

TEST(GraphicsDocumentation, EveryServiceHasAnExample) {
    std::string all;
    for (const std::string& example : ExamplesOf(kDocs + "services-graphics.md")) {
        all += example;
    }
    for (u32 command = 0x0500; command <= 0x0513; ++command) {
        char text[32];
        std::snprintf(text, sizeof text, "SERVICE 0x%04X,", command);
        EXPECT_NE(all.find(text), std::string::npos) << text;
    }
}

// With MOXI_UPDATE_PICTURES in the environment the pictures are written instead of compared.
TEST(GraphicsDocumentation, TheExamplesDrawThePicturesOnThePage) {
    HeadlessRun run;
    run.source = ExamplesOf(kDocs + "system-services.md").front();
    for (const std::string& example : ExamplesOf(kDocs + "services-graphics.md")) {
        run.source += example +
                      "        MOVE.L  R0, [results]\n        MOVE.L  [R0], R14\n"
                      "        ADD.L   [results], #4\n";
    }
    run.source +=
        "        STOP\n        .data\nresults: .long room\n        .bss\nroom: .space 99\n";
    // The frame's heap is made for other examples.
    const size_t heap = run.source.find(".heap   65536");
    ASSERT_NE(heap, std::string::npos);
    run.source.replace(heap, 13, ".heap   999999");
    const HeadlessResult result = RunHeadless(run);
    ASSERT_EQ(result.status, 0);
    EXPECT_EQ(result.Fatals(), std::vector<std::string>{});
    for (const char* name :
         {"graphics-shapes.png", "graphics-sprites.png", "graphics-colours.png"}) {
        ASSERT_TRUE(result.data.contains(name)) << name;
        const std::string file = kDocs + "pictures/" + name;
        if (std::getenv("MOXI_UPDATE_PICTURES") != nullptr) {
            WriteTextFile(file, result.data.at(name));
        }
        EXPECT_EQ(Pixels(result.data.at(name)), Pixels(ReadTextFile(file))) << name;
        EXPECT_EQ(Pixels(result.data.at(name)).size(), 240U * 100 * 4) << name;
    }
    const u32 info = result.Label("info");
    EXPECT_EQ(result.Long(info), 240U);
    EXPECT_EQ(result.Long(info + 4), 100U);
    EXPECT_EQ(result.LongAt("old"), 0xFFFFFFFF);
    EXPECT_EQ(result.Long(result.Label("room") + 4 * 6), 12U) << "draw text";
}

}  // namespace

}  // namespace moxi
