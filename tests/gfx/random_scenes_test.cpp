// Random scenes: the engine with each set of kernels against the yardstick, byte for byte.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <random>

#include "gfx/alpha.h"
#include "gfx/blit.h"
#include "gfx/colour.h"
#include "gfx/draw.h"
#include "gfx/kernels.h"
#include "tests/gfx/reference_bitmap.h"
#include "tests/gfx/reference_blit.h"
#include "tests/gfx/reference_colour.h"
#include "tests/gfx/reference_draw.h"
#include "tests/support/gfx_fixture.h"
#include "vm/guard.h"
#include "vm/heap.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u32 kModuleBitmaps = 3;

class Scene {
  public:
    Scene(u32 seed, i32 largestSize) : random(seed), largest(largestSize) {
        StartGfxBench(largest <= 70 ? 81920 : 700000, static_cast<u32>(Number(1, largest)),
                      static_cast<u32>(Number(1, largest)));
        dirtyTracking = Chance(90);
        hostile = Chance(25);
        // Room before and after the pixels for what leaves them.
        AllocHeap(6000);
        for (u32 i = 0; i < kModuleBitmaps; ++i) {
            handles.push_back(CreateBitmap(static_cast<u32>(Number(0, largest)),
                                           static_cast<u32>(Number(0, largest))));
        }
        for (u32 i = 0; i < kModuleBitmaps; ++i) {
            records.push_back(RecordAddress(handles[i]));
        }
        Paint(image + kTestHeapStart, 6000 + 4);
        for (const u32 handle : handles) {
            const u32 start = PixelAddress(handle);
            const u32 size = heapPtrs[Load<u32>(RecordAddress(handle) + kRecordPixels)].size;
            Paint(image + start, size);
            pixelAddresses.push_back(start);
        }
        Paint(screenBitmap.pixels, u64{screenBitmap.stride} * screenBitmap.height);
        Paint(textBitmap.pixels, u64{textBitmap.stride} * textBitmap.height);
        if (hostile) {
            SpoilRecords();
        }
        world.image.assign(image, image + imageSize);
        world.screen = CopyOf(screenBitmap);
        world.text = CopyOf(textBitmap);
        world.tracking = dirtyTracking;
    }
    ~Scene() { EndGfxBench(); }
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    // One operation on both; false when a fault has ended the scene. Operations that would paint
    // over a record are left out: after them the heap is no longer what it was.
    bool Step() {
        const reference::World before = world;
        bool refFault = false;
        const Operation operation = MakeOperation();
        try {
            operation.onReference();
        } catch (const reference::Fault&) {
            refFault = true;
            world = before;
        }
        if (operation.name != "set clip" && RecordsDiffer(world, before)) {
            world = before;
            return true;
        }
        bool fault = false;
        try {
            operation.onEngine();
        } catch (const ProcessEnded&) {
            fault = true;
        }
        EXPECT_EQ(fault, refFault) << operation.name;
        Compare(operation.name);
        ++(fault ? faults : operations);
        if (fault || ::testing::Test::HasFailure()) {
            return false;
        }
        return true;
    }

    static u64 operations;
    static u64 faults;

  private:
    struct Operation {
        std::string name;
        std::function<void()> onReference;
        std::function<void()> onEngine;
    };

    bool RecordsDiffer(const reference::World& a, const reference::World& b) const {
        for (const u32 record : records) {
            if (!std::equal(a.image.begin() + record, a.image.begin() + record + kRecordSize,
                            b.image.begin() + record)) {
                return true;
            }
        }
        return false;
    }

    i32 Number(i32 low, i32 high) { return std::uniform_int_distribution<i32>(low, high)(random); }
    u32 Any() { return static_cast<u32>(random()); }
    bool Chance(i32 percent) { return Number(1, 100) <= percent; }

    u32 Alpha() {
        static constexpr u32 kAlphas[] = {0, 1, 127, 128, 254, 255};
        return Chance(70) ? kAlphas[Number(0, 5)] : static_cast<u32>(Number(0, 255));
    }
    u32 Colour() { return (Any() & 0xFFFFFF) | Alpha() << 24; }

    // Runs of one alpha, as pictures have them, or pixels that all differ.
    void Paint(u8* bytes, u64 size) {
        const u32 longest = Chance(50) ? 40 : 1;
        u32 left = 0;
        u32 alpha = 0;
        const bool flat = Chance(10);
        const u32 flatColour = Colour();
        for (u64 i = 0; i + 4 <= size; i += 4) {
            if (left == 0) {
                left = 1 + Any() % longest;
                alpha = Alpha();
            }
            --left;
            const u32 colour = Chance(20) ? 0x808080 : Any() & 0xFFFFFF;
            StoreBytes<u32>(bytes + i, flat ? flatColour : colour | alpha << 24);
        }
    }

    static reference::HostPixels CopyOf(const HostBitmap& bitmap) {
        reference::HostPixels copy;
        copy.bytes.assign(bitmap.pixels, bitmap.pixels + u64{bitmap.stride} * bitmap.height);
        copy.width = static_cast<i32>(bitmap.width);
        copy.height = static_cast<i32>(bitmap.height);
        copy.clipX = bitmap.clipX;
        copy.clipY = bitmap.clipY;
        copy.clipWidth = bitmap.clipWidth;
        copy.clipHeight = bitmap.clipHeight;
        return copy;
    }

    // What a module may write into its records.
    void SpoilRecords() {
        for (const u32 record : records) {
            if (Chance(60)) {
                Store<i32>(record + kRecordStride, Number(-300, 300));
            }
            if (Chance(40)) {
                Store<i32>(record + kRecordWidth, Number(-5, 90));
            }
            if (Chance(40)) {
                Store<i32>(record + kRecordHeight, Number(-5, 90));
            }
            for (u32 i = 0; i < 4; ++i) {
                if (Chance(40)) {
                    Store<i32>(record + kRecordClip + 4 * i, Number(-30, 100));
                }
            }
        }
    }

    u32 AnyHandle() {
        const i32 choice = Number(0, 9);
        if (choice < 3) {
            return kScreenBitmap;
        }
        if (choice == 3) {
            return kTextBitmap;
        }
        return handles[static_cast<u32>(Number(0, kModuleBitmaps - 1))];
    }

    // The yardstick's view of a bitmap. Opened when it is used: clips change.
    reference::Bitmap Open(u32 handle) {
        if (handle == kScreenBitmap) {
            return OpenHost(world.screen);
        }
        if (handle == kTextBitmap) {
            return OpenHost(world.text);
        }
        for (u32 i = 0; i < kModuleBitmaps; ++i) {
            if (handles[i] == handle) {
                return OpenModule(world, records[i], pixelAddresses[i]);
            }
        }
        return {};
    }

    i32 Position() { return Number(-30, largest + 5); }
    i32 Size() { return Chance(10) ? Number(-5, 0) : Number(0, largest); }
    i32 LimitOf(i32 position) { return Chance(50) ? 0 : position + Number(-10, 90); }

    Operation MakeOperation() {
        const u32 handle = AnyHandle();
        const bool screen = handle == kScreenBitmap;
        const i32 x = Position();
        const i32 y = Position();
        const i32 w = Size();
        const i32 h = Size();
        const u32 fill = Colour();
        const u32 frame = Chance(50) ? Colour() : Colour() & 0xFFFFFF;
        switch (Number(0, 13)) {
            case 0:
                return {"blend pixel",
                        [=, this] { BlendPixel(world, Open(handle), screen, x, y, fill); },
                        [=] { moxi::BlendPixel(handle, x, y, fill); }};
            case 1: return GetPixelOperation(handle, x, y);
            case 2: return LineOperation(handle, x, y);
            case 3:
                return {
                    "rectangle",
                    [=, this] { Rectangle(world, Open(handle), screen, x, y, w, h, fill, frame); },
                    [=] { moxi::Rectangle(handle, x, y, w, h, fill, frame); }};
            case 4:
                return {
                    "ellipse",
                    [=, this] { Ellipse(world, Open(handle), screen, x, y, w, h, fill, frame); },
                    [=] { moxi::Ellipse(handle, x, y, w, h, fill, frame); }};
            case 5: return ClipOperation(handle, x, y, w, h);
            case 6: {
                const u32 pattern = Chance(50) ? 0xFFFFFFFF : Any();
                return {"line pattern", [=, this] { world.linePattern = pattern; },
                        [=] { SetLinePattern(pattern); }};
            }
            case 7: return SetAlphaOperation(handle, x, y, w, h);
            case 8: {
                const u32 hue = Any() & 255;
                return {"hue square",
                        [=, this] {
                            const i32 width = w >= 0 || hue % 2 == 0 ? w : -w;
                            HueSquare(world, Open(handle), screen, x, y, width, h, hue);
                        },
                        [=] {
                            const i32 width = w >= 0 || hue % 2 == 0 ? w : -w;
                            moxi::HueSquare(handle, x, y, width, h, hue);
                        }};
            }
            case 9: {
                const reference::AdjustArguments args = {x,
                                                         y,
                                                         w,
                                                         h,
                                                         Chance(50) ? -1 : Number(0, 300),
                                                         Chance(50) ? -1 : Number(0, 300),
                                                         Chance(50) ? 0 : Number(-300, 300),
                                                         Chance(50) ? 0 : Number(-300, 300)};
                return {"adjust colours",
                        [=, this] { AdjustColours(world, Open(handle), screen, args); },
                        [=] {
                            moxi::AdjustColours(handle, x, y, w, h, args.hue, args.sat, args.bright,
                                                args.contrast);
                        }};
            }
            case 10:
            case 11: return ScaledOperation(handle);
            default: return BlitOperation(handle);
        }
    }

    Operation GetPixelOperation(u32 handle, i32 x, i32 y) {
        const auto pixel = std::make_shared<u32>(0);
        return {"get pixel", [=, this] { *pixel = GetPixel(Open(handle), x, y); },
                [=] { EXPECT_EQ(moxi::GetPixel(handle, x, y), *pixel); }};
    }

    Operation LineOperation(u32 handle, i32 x, i32 y) {
        const i32 x2 = Chance(25) ? x : Position();
        const i32 y2 = Chance(25) ? y : Position();
        const u32 colour = Colour();
        return {
            "line " + std::to_string(handle) + ": " + std::to_string(x) + "," + std::to_string(y) +
                " to " + std::to_string(x2) + "," + std::to_string(y2) + " colour " +
                std::to_string(colour),
            [=, this] { Line(world, Open(handle), handle == kScreenBitmap, x, y, x2, y2, colour); },
            [=] { moxi::Line(handle, x, y, x2, y2, colour); }};
    }

    // Clips are tests' own arithmetic: they are set in both, the words saved are not looked at.
    Operation ClipOperation(u32 handle, i32 x, i32 y, i32 w, i32 h) {
        if (handle == kTextBitmap || (hostile && handle != kScreenBitmap)) {
            return {"nothing", [] {}, [] {}};
        }
        const bool whole = Chance(40);
        return {"set clip",
                [=, this] {
                    const reference::Bitmap bitmap = Open(handle);
                    const i32 cx = whole ? 0 : std::min(std::max(x, 0), bitmap.width);
                    const i32 cy = whole ? 0 : std::min(std::max(y, 0), bitmap.height);
                    const i32 cw = std::max(std::min(whole ? 999 : w, bitmap.width - cx), 0);
                    const i32 ch = std::max(std::min(whole ? 999 : h, bitmap.height - cy), 0);
                    if (handle == kScreenBitmap) {
                        world.screen.clipX = cx;
                        world.screen.clipY = cy;
                        world.screen.clipWidth = cw;
                        world.screen.clipHeight = ch;
                        return;
                    }
                    for (u32 i = 0; i < kModuleBitmaps; ++i) {
                        if (handles[i] != handle) {
                            continue;
                        }
                        u8* const clip = world.image.data() + records[i] + kRecordClip;
                        StoreBytes<i32>(clip, cx);
                        StoreBytes<i32>(clip + 4, cy);
                        StoreBytes<i32>(clip + 8, cw);
                        StoreBytes<i32>(clip + 12, ch);
                    }
                },
                [=] {
                    if (whole) {
                        SetClip(handle, 0, 0, 999, 999, 0);
                    } else {
                        SetClip(handle, x, y, w, h, 0);
                    }
                }};
    }

    Operation SetAlphaOperation(u32 handle, i32 x, i32 y, i32 w, i32 h) {
        static constexpr i64 kSelectors[] = {-1, -2, -3, 0x808080, 0x7F00000000808080};
        const i64 selector =
            Chance(80) ? kSelectors[Number(0, 4)] : static_cast<i64>(Any() & 0xFFFFFF);
        const u32 alpha = Alpha() | (Chance(20) ? 0x300 : 0);
        const auto count = std::make_shared<u64>(0);
        return {"set alpha",
                [=, this] {
                    *count = SetAlpha(world, Open(handle), handle == kScreenBitmap, x, y, w, h,
                                      selector, alpha);
                },
                [=] { EXPECT_EQ(moxi::SetAlpha(handle, x, y, w, h, selector, alpha), *count); }};
    }

    Operation BlitOperation(u32 to) {
        const u32 from = Chance(35) ? to : AnyHandle();
        reference::BlitArguments args = {};
        args.dx = Position();
        args.dy = Position();
        // Copies onto the same bitmap mostly lie close to where they come from.
        const bool close = from == to && Chance(70);
        args.sx = close ? args.dx + Number(-12, 12) : Number(-20, 70);
        args.sy = close ? args.dy + Number(-2, 2) : Number(-20, 70);
        args.w = Size();
        args.h = Size();
        args.invert = Chance(30);
        args.right = LimitOf(args.dx);
        args.bottom = LimitOf(args.dy);
        if (args.invert && args.sx > 0 && args.sx < args.right) {
            args.right = 0;
        }
        return {"blit", [=, this] { Blit(world, Open(to), to == kScreenBitmap, Open(from), args); },
                [=] {
                    moxi::Blit(to, args.dx, args.dy, from, args.sx, args.sy, args.w, args.h,
                               args.invert, args.right, args.bottom);
                }};
    }

    Operation ScaledOperation(u32 to) {
        const u32 from = Chance(15) ? to : AnyHandle();
        reference::ScaledArguments args = {};
        args.dx = Position();
        args.dy = Position();
        args.dw = Number(0, largest);
        args.dh = Number(0, largest);
        args.sx = Chance(60) ? Number(0, 10) : Number(-20, 70);
        args.sy = Chance(60) ? Number(0, 10) : Number(-20, 70);
        args.sw = Number(0, largest);
        args.sh = Number(0, largest);
        if (Chance(10)) {
            args.dw = Number(1, 4);
        }
        if (Chance(10)) {
            args.dh = Number(1, 4);
        }
        args.right = LimitOf(args.dx);
        args.bottom = LimitOf(args.dy);
        return {"scaled blit",
                [=, this] {
                    reference::ScaledBlit(world, Open(to), to == kScreenBitmap, Open(from), args);
                },
                [=] {
                    BlitScaled({to, args.dx, args.dy, args.dw, args.dh, from, args.sx, args.sy,
                                args.sw, args.sh, args.right, args.bottom});
                }};
    }

    void Compare(const std::string& name) {
        const bool sameImage = std::equal(world.image.begin(), world.image.end(), image);
        EXPECT_TRUE(sameImage)
            << name << " with the " << kernels->name << " kernels, at "
            << std::mismatch(world.image.begin(), world.image.end(), image).first -
                   world.image.begin();
        EXPECT_TRUE(
            std::equal(world.screen.bytes.begin(), world.screen.bytes.end(), screenBitmap.pixels))
            << name << " with the " << kernels->name << " kernels";
        EXPECT_TRUE(std::equal(world.text.bytes.begin(), world.text.bytes.end(), textBitmap.pixels))
            << name << " with the " << kernels->name << " kernels";
        EXPECT_EQ(dirtyRect.left, world.dirty.left) << name;
        EXPECT_EQ(dirtyRect.top, world.dirty.top) << name;
        EXPECT_EQ(dirtyRect.right, world.dirty.right) << name;
        EXPECT_EQ(dirtyRect.bottom, world.dirty.bottom) << name;
        const u32 pattern = SetLinePattern(0);
        EXPECT_EQ(pattern, world.linePattern) << name;
        SetLinePattern(pattern);
    }

    std::mt19937 random;
    i32 largest;  // width and height of bitmaps
    bool hostile = false;
    std::vector<u32> handles, records, pixelAddresses;
    reference::World world;
};

u64 Scene::operations = 0;
u64 Scene::faults = 0;

void RunScenes(i32 largest, u64 operations) {
    const std::vector<const Kernels*> sets = AvailableKernels();
    const StandardError quiet(true);
    Scene::operations = Scene::faults = 0;
    for (u32 seed = 1; Scene::operations < operations && !::testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("scene " + std::to_string(seed));
        Scene scene(seed, largest);
        kernels = sets[seed % sets.size()];
        for (int i = 0; i < 120 && scene.Step(); ++i) {
        }
    }
    EXPECT_GT(Scene::faults, 0U);
}

TEST(RandomScenes, EveryKernelSetDrawsWhatTheYardstickDraws) {
    RunScenes(70, kCheckedAccess ? 55'000 : 220'000);
}

// Wider than the pieces in which scaled blits and hue squares are worked out.
TEST(RandomScenes, LargeBitmapsAreDrawnAsTheYardstickDrawsThem) {
    RunScenes(200, kCheckedAccess ? 4'000 : 10'000);
}

}  // namespace

}  // namespace moxi
