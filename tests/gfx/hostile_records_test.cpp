// Bitmap records that a module has spoilt, every field at its extremes, under every graphics
// command with arguments at their extremes: each command ends, in order or with the machine's
// memory fault, and reaches no byte that is neither the image's nor the host bitmaps'.

#include <filesystem>
#include <memory>
#include <random>

#include "desktop/desktop.h"
#include "desktop/folders.h"
#include "desktop/pango/pango_engine.h"
#include "gfx/draw.h"
#include "gfx/draw_text.h"
#include "gfx/fonts.h"
#include "gfx/graphics_group.h"
#include "gfx/image_files.h"
#include "gfx/patience.h"
#include "sys/files.h"
#include "tests/support/gfx_fixture.h"
#include "tests/support/headless_run.h"
#include "vm/guard.h"
#include "vm/heap.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u32 kMost = 0x7FFFFFFF;
constexpr u32 kLeast = 0x80000000;
constexpr u32 kBlock = 600;  // of arguments
constexpr u32 kText = 700;
constexpr u32 kPoints = 760;

// The record's eight words, in their order.
using Record = std::array<u32, 8>;

class HostileRecords : public ::testing::Test {
  protected:
    void SetUp() override {
        StartGfxBench(8192, 40, 30);
        folders = {};
        folders.resources = folders.dataOverride = folder.path;
        InitFolders();
        StartPangoText();
        desktop.endIsForced = [] { return ++questions != 0; };
        std::memcpy(image + kText, "A.BMP", 6);
        first = MakeBitmap(8, 8, 0x80402010);
        second = MakeBitmap(8, 8, 0xFF102030);
        pixels = Load<u32>(RecordAddress(first) + kRecordPixels);
        kept.assign(image, image + imageSize);
        std::copy_n(heapPtrs, kHandles, keptHandles);
        std::copy_n(heapListHeads, 4, keptHeads);
        keptFree = heapFree;
    }
    void TearDown() override {
        ResetFiles();
        folders = {};
        EndGfxBench();
    }

    // Everything as it was after SetUp.
    void Restore() {
        std::memcpy(image, kept.data(), kept.size());
        for (Selection* selection : {&dstSelection, &srcSelection}) {
            selection->handle = kNoBitmap;
        }
        std::copy_n(keptHandles, kHandles, heapPtrs);
        std::copy_n(keptHeads, 4, heapListHeads);
        heapFree = keptFree;
        heapPointerCount = 0;
        SetLinePattern(0xFFFFFFFF);
        pixelsUnasked = 0;
        vmEvents.messages.clear();
    }

    void Spoil(const Record& record) {
        for (u32 i = 0; i < 8; ++i) {
            Store<u32>(heapPtrs[first].offset + 4 * i, record[i]);
        }
    }

    // True when the command came back or was ended at its question, false when it ended in the
    // machine's fault.
    bool Run(u32 sub, const std::vector<u32>& arguments) {
        for (u32 i = 0; i < arguments.size(); ++i) {
            Store<u32>(kBlock + 4 * i, arguments[i]);
        }
        command = sub;
        questions = 0;
        try {
            RunGuarded([] { SysGraphicsGroup(command, kBlock); });
            return true;
        } catch (const ProcessEnded& end) {
            EXPECT_EQ(end.status, 1);
            if (questions != 0) {
                return true;
            }
            EXPECT_EQ(vmEvents.messages.back(),
                      "Memory fault at 0x00000200. Terminating. So sorry.");
            return false;
        }
    }

    static inline u32 command = 0;
    static inline u32 questions = 0;  // of the last run; each ends it
    TemporaryFolder folder;
    u32 first = 0;
    u32 second = 0;
    u32 pixels = 0;
    static constexpr u32 kHandles = 64;  // more than a test makes
    std::vector<u8> kept;
    HeapRecord keptHandles[kHandles];
    i32 keptHeads[4];
    u32 keptFree = 0;
};

// (bottom - 1) * stride is 2^31 * -2^31 = -2^62 and the first row 0; with the pixels of a record
// that begins 2^31 rows higher the sum passes 2^63.
TEST_F(HostileRecords, ASumBeyondAnyAddressIsAMemoryFault) {
    for (const u32 stride : {kMost, kLeast, kMost - 3}) {
        for (const u32 clipY : {kLeast, kMost, 1u}) {
            Restore();
            Spoil({kMost, kMost, stride, kMost, clipY, kMost, kMost, pixels});
            EXPECT_FALSE(Run(1, {first, kMost, clipY, kMost, kMost, 0xFFFFFFFF, 0}))
                << stride << ' ' << clipY;
        }
    }
}

TEST_F(HostileRecords, RowsFarBeyondTheClipWrapToNoPixelOfTheImage) {
    // 2^32 - 2 rows of 2^31 bytes downward: modulo 2^64 the end would lie in the image again.
    Spoil({kMost, kMost, kLeast, 0, kMost, kMost, kMost, pixels});
    EXPECT_FALSE(Run(1, {first, 0, kMost, 8, kMost, 0xFFFFFFFF, 0}));
    Restore();
    Spoil({kMost, kMost, kLeast, 0, kMost, kMost, kMost, pixels});
    EXPECT_FALSE(Run(5, {first, 0, kMost, 8, kMost, kMost, 0, 0x80}));
}

// --- Drawing that would take days: 2^31 rows of 8 pixels that all lie on one another

TEST_F(HostileRecords, DrawingThatTakesDaysAsksWhetherToGoOn) {
    constexpr u32 kColour = 0x80402010;
    struct Case {
        const char* what;
        u32 sub;
        std::vector<u32> arguments;
        u32 pattern = 0xFFFFFFFF;
    };
    const Case cases[] = {
        {"line", 0, {first, kPoints, 2, kColour}},
        {"dashed line", 0, {first, kPoints, 2, kColour}, 0xAAAAAAAA},
        {"filled rectangle", 1, {first, 0, 0, 8, kMost, kColour, 0}},
        {"framed rectangle", 1, {first, 0, 0, 8, kMost, 0, kColour}},
        {"copy", 3, {first, 0, 0, first, 0, 0, 8, kMost, 0, 0, 0}},
        {"copies of one pixel", 3, {first, 0, 0, second, 0, 0, 1, 1, 0, 8, kMost}},
        {"alpha", 5, {first, 0, 0, 8, kMost, 0xFFFFFFFF, 0xFFFFFFFF, 9}},
        {"scaled copies", 8, {first, 0, 0, 2, 2, second, 0, 0, 4, 4, 8, kMost}},
        {"large boxes", 8, {second, 0, 0, 4, 1, first, 0, 0, 8, 1 << 25, 0, 0}},
        // 2^35 + 2^30 parts of a pixel are 2^30 as a word.
        {"larger boxes", 8, {second, 0, 0, 4, 1, first, 0, 0, 8, 1 << 30 | 1 << 25, 0, 0}},
        {"colours", 15, {first, 0, 0, 8, kMost, 1, 2, 3, 4}},
        {"hue square", 17, {first, 0, 0, 8, kMost, 100}},
        {"ellipse", 18, {first, 0, 0, 11, 65537, kColour, kColour}},
    };
    for (const Case& each : cases) {
        Restore();
        Spoil({8, kMost, 0, 0, 0, 8, kMost, pixels});
        const u32 corners[] = {0, 0, 0, kMost};
        for (u32 i = 0; i < 4; ++i) {
            Store<u32>(kPoints + 4 * i, corners[i]);
        }
        SetLinePattern(each.pattern);
        EXPECT_TRUE(Run(each.sub, each.arguments)) << each.what;
        EXPECT_EQ(questions, 1u) << each.what;
    }
}

// 2^35 parts of a pixel are 0 as a word, and of an empty box only the first pixel is looked at.
TEST_F(HostileRecords, ABoxOf2To30RowsIsEmptyAndDrawnAtOnce) {
    Spoil({8, kMost, 0, 0, 0, 8, kMost, pixels});
    EXPECT_TRUE(Run(8, {second, 0, 0, 4, 1, first, 0, 0, 8, 1 << 30, 0, 0}));
    EXPECT_EQ(questions, 0u);
}

// --- Everything times everything

class Chooser {
  public:
    explicit Chooser(u32 seed) : random(seed) {}
    u32 Below(u32 limit) { return static_cast<u32>(random() % limit); }
    u32 Of(std::initializer_list<u32> values) {
        return values.begin()[Below(static_cast<u32>(values.size()))];
    }
    u32 Extreme() {
        return Of({0, 1, 2, 7, 8, 9, 40, 0xFFFF, 0x10000, 0x3FFFFFFF, 0x40000000, kMost - 1, kMost,
                   kLeast, kLeast + 1, 0xC0000000, 0xFFFFFFF8, 0xFFFFFFFE, 0xFFFFFFFF});
    }
    u32 Stride() {
        return Of({0, 32, 0xFFFFFFE0, 160, 0x10000, 0xFFFF0000, 0x3FFFFFFF, 0x40000000, 0xC0000000,
                   kMost, kLeast, kMost - 3, kLeast + 4});
    }

  private:
    std::mt19937 random;
};

std::vector<u32> Arguments(u32 sub, u32 handle, u32 other, Chooser& choose) {
    const auto e = [&] { return choose.Extreme(); };
    const u32 colour = choose.Of({0, 0xFFFFFFFF, 0x80FF00FF, 0x01000000});
    switch (sub) {
        case 0:
            for (u32 i = 0; i < 6; ++i) {
                Store<u32>(kPoints + 4 * i, e());
            }
            return {handle, kPoints, choose.Of({2, 3, 0, 1, 0x20000000}), colour};
        case 1:
        case 18: return {handle, e(), e(), e(), e(), colour, choose.Of({0, colour})};
        case 2: return {kText};
        case 3: {
            std::vector<u32> words = {handle,          e(), e(), other, e(), e(), e(), e(),
                                      choose.Below(2), e(), e()};
            if (choose.Below(2) == 0) {
                std::swap(words[0], words[3]);
            }
            if (choose.Below(2) == 0) {
                words[9] = words[10] = 0;
            }
            return words;
        }
        case 5: return {handle, e(), e(), e(), e(), e(), choose.Of({0, 0xFFFFFFFF}), e()};
        case 8: {
            std::vector<u32> words = {handle, e(), e(), e(), e(), other,
                                      e(),    e(), e(), e(), e(), e()};
            if (choose.Below(2) == 0) {
                std::swap(words[0], words[5]);
            }
            if (choose.Below(2) == 0) {
                words[10] = words[11] = 0;
            }
            return words;
        }
        case 9: return {handle, kText, choose.Below(3)};
        case 12: return {handle, choose.Of({kPoints, e()})};
        case 13: return {handle, e(), e(), e(), e(), choose.Of({0, kPoints})};
        case 14: return {choose.Of({0xFFFFFFFF, 0xAAAAAAAA, 0x80000000})};
        case 16: return {handle, kText, e(), e(), e(), e(), e(), colour, colour};
        default: return {handle, e(), e(), e(), e(), e(), e(), e(), e(), e()};
    }
}

TEST_F(HostileRecords, EveryCommandOnEveryRecordEndsInOrderOrWithTheFault) {
    const StandardError quiet(true);
    u32 ended = 0;
    u32 faulted = 0;
    for (u32 seed = 0; seed < 20000; ++seed) {
        Chooser choose(seed);
        Restore();
        Record record;
        for (u32& word : record) {
            word = choose.Extreme();
        }
        record[2] = choose.Stride();
        record[7] = choose.Below(8) == 0 ? choose.Extreme() : pixels;
        Spoil(record);
        const u32 other = choose.Of({first, second, kScreenBitmap, kTextBitmap});
        // Freeing is the heap's business, and what is made is in the way of the next.
        u32 sub = choose.Below(20);
        if (sub == 4 || sub == 19) {
            sub = 1;
        }
        (Run(sub, Arguments(sub, first, other, choose)) ? ended : faulted)++;
    }
    EXPECT_GT(ended, 1000u);
    EXPECT_GT(faulted, 1000u);
}

}  // namespace

}  // namespace moxi
