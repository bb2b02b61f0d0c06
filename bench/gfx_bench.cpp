// Times the drawing code against memcpy and memset, pixman, SDL's blitter and the engine's own
// scalar loops, all on the same work, and prints a table in Markdown.
//
//   gfx_bench [--rounds N] [--kernels NAME] [FILTER]
//
// In every round each contender does the work of a case once after the other, for about a
// millisecond of processor time; a ratio is the median over the rounds of the ratios within a
// round, so that what else the machine does meanwhile falls on all of them. FILTER picks the cases
// whose name holds it.

#include <SDL.h>
#include <pixman.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench/timing.h"
#include "gfx/alpha.h"
#include "gfx/bitmap.h"
#include "gfx/blit.h"
#include "gfx/colour.h"
#include "gfx/draw.h"
#include "gfx/kernels.h"
#include "gfx/screen.h"
#include "tests/gfx/reference_blit.h"
#include "tests/gfx/reference_colour.h"
#include "vm/guard.h"
#include "vm/heap.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr i32 kScreenWidth = 1920;
constexpr i32 kScreenHeight = 1080;
constexpr u32 kHeapStart = 4096;
constexpr u32 kImageBytes = 64 << 20;
constexpr double kBatchSeconds = 0.001;

int rounds = 41;
std::string filter;

// --- Measuring

struct Contender {
    std::string name;
    std::function<void()> work;
};

struct Goal {
    std::string against;
    double ratio;
};

struct Case {
    std::string name;
    std::function<void()> work;
    std::vector<Contender> others;
    std::vector<Goal> goals;
};

double TimeBatch(const std::function<void()>& work, int repeats) {
    const double start = ProcessorSeconds();
    for (int i = 0; i < repeats; ++i) {
        work();
    }
    return (ProcessorSeconds() - start) / repeats;
}

int RepeatsFor(const std::function<void()>& work) {
    work();
    int repeats = 1;
    while (TimeBatch(work, repeats) * repeats < kBatchSeconds) {
        repeats *= 2;
    }
    return repeats;
}

void Run(const Case& test) {
    if (test.name.find(filter) == std::string::npos) {
        return;
    }
    const int ownRepeats = RepeatsFor(test.work);
    std::vector<int> repeats;
    for (const Contender& other : test.others) {
        repeats.push_back(RepeatsFor(other.work));
    }
    std::vector<double> own;
    std::vector<std::vector<double>> ratios(test.others.size());
    for (int round = 0; round < rounds; ++round) {
        own.push_back(TimeBatch(test.work, ownRepeats));
        for (std::size_t i = 0; i < test.others.size(); ++i) {
            ratios[i].push_back(TimeBatch(test.others[i].work, repeats[i]) / own.back());
        }
    }
    std::printf("| %s | %.3f us, best %.3f |", test.name.c_str(), Median(own) * 1e6,
                *std::min_element(own.begin(), own.end()) * 1e6);
    for (std::size_t i = 0; i < test.others.size(); ++i) {
        const double ratio = Median(ratios[i]);
        std::printf("%s %.2f x %s", i == 0 ? "" : ",", ratio, test.others[i].name.c_str());
        for (const Goal& goal : test.goals) {
            if (goal.against != test.others[i].name) {
                continue;
            }
            std::printf(" (goal %.2f%s)", goal.ratio, ratio >= goal.ratio ? "" : ", MISSED");
        }
    }
    std::printf(" |\n");
    std::fflush(stdout);
}

// --- Pictures

u32 NewBitmap(i32 width, i32 height) {
    return CreateBitmap(static_cast<u32>(width), static_cast<u32>(height));
}

u32* PixelsOf(u32 handle) {
    return reinterpret_cast<u32*>(image + GetHeapAdr(Load<u32>(GetHeapAdr(handle) + 28)));
}

enum class Kind { Opaque, Transparent, RandomAlpha, Disc, Sprite };

u32 MakePicture(i32 width, i32 height, Kind kind) {
    std::mt19937 random(7);
    const u32 handle = NewBitmap(width, height);
    u32* pixel = PixelsOf(handle);
    const double radius = std::min(width, height) * 0.45;
    for (i32 y = 0; y < height; ++y) {
        for (i32 x = 0; x < width; ++x) {
            const double distance = std::hypot(x - width / 2.0, y - height / 2.0);
            u32 alpha = 0;
            switch (kind) {
                case Kind::Opaque: alpha = 255; break;
                case Kind::Transparent: break;
                case Kind::RandomAlpha: alpha = static_cast<u32>(random()) & 255; break;
                case Kind::Disc:
                    // Soft over a tenth of the radius.
                    alpha = static_cast<u32>(
                        255 * std::clamp((radius - distance) / (radius * 0.1), 0.0, 1.0));
                    break;
                case Kind::Sprite:
                    // A ragged shape with a hard edge one pixel soft, as drawn figures have it.
                    alpha = static_cast<u32>(
                        255 * std::clamp(
                                  radius * (0.8 + 0.2 * std::sin(9 * std::atan2(y - height / 2.0,
                                                                                x - width / 2.0))) -
                                      distance,
                                  0.0, 1.0));
                    break;
            }
            *pixel++ = (static_cast<u32>(random()) & 0xFFFFFF) | alpha << 24;
        }
    }
    return handle;
}

// --- Contenders

pixman_image_t* PixmanOf(u32 handle, i32 width, i32 height) {
    return pixman_image_create_bits(PIXMAN_a8b8g8r8, width, height, PixelsOf(handle), 4 * width);
}

pixman_image_t* pixmanScreen = nullptr;
// The same pixels with red and blue exchanged: pixman has its fastest fill for this order.
pixman_image_t* pixmanFillScreen = nullptr;
SDL_Surface* sdlScreen = nullptr;

SDL_Surface* SurfaceOf(u32 handle, i32 width, i32 height) {
    SDL_Surface* const surface = SDL_CreateRGBSurfaceWithFormatFrom(
        PixelsOf(handle), width, height, 32, 4 * width, SDL_PIXELFORMAT_RGBA32);
    SDL_SetSurfaceBlendMode(surface, SDL_BLENDMODE_BLEND);
    return surface;
}

Contender Memcpy(u32 handle, i32 width, i32 height, i32 x, i32 y) {
    return {"memcpy", [=] {
                const u8* from = reinterpret_cast<const u8*>(PixelsOf(handle));
                u8* to = screenBitmap.pixels + y * i64{screenBitmap.stride} + 4 * x;
                for (i32 row = 0; row < height; ++row) {
                    std::memcpy(to, from, 4 * static_cast<std::size_t>(width));
                    from += 4 * width;
                    to += screenBitmap.stride;
                }
            }};
}

Contender Pixman(u32 handle, i32 width, i32 height, i32 x, i32 y) {
    pixman_image_t* const source = PixmanOf(handle, width, height);
    return {"pixman", [=] {
                pixman_image_composite32(PIXMAN_OP_OVER, source, nullptr, pixmanScreen, 0, 0, 0, 0,
                                         x, y, width, height);
            }};
}

Contender Sdl(u32 handle, i32 width, i32 height, i32 x, i32 y) {
    SDL_Surface* const source = SurfaceOf(handle, width, height);
    return {"SDL", [=] {
                SDL_Rect to = {x, y, width, height};
                SDL_BlitSurface(source, nullptr, sdlScreen, &to);
            }};
}

// The engine's own scalar loops on the same work.
Contender Scalar(const std::function<void()>& work) {
    return {"scalar", [=] {
                const Kernels* const chosen = kernels;
                kernels = &scalarKernels;
                work();
                kernels = chosen;
            }};
}

void RunBlits() {
    struct Named {
        const char* name;
        Kind kind;
    };
    constexpr Named kKinds[] = {{"opaque", Kind::Opaque},
                                {"transparent", Kind::Transparent},
                                {"random alpha", Kind::RandomAlpha},
                                {"soft disc", Kind::Disc},
                                {"sprite", Kind::Sprite}};
    for (const Named& named : kKinds) {
        for (const i32 size : {16, 32, 64, 256, 0}) {
            const i32 width = size != 0 ? size : kScreenWidth;
            const i32 height = size != 0 ? size : kScreenHeight;
            const i32 x = size != 0 ? 100 : 0;
            const i32 y = size != 0 ? 50 : 0;
            const u32 picture = MakePicture(width, height, named.kind);
            const auto work = [=] { Blit(0, x, y, picture, 0, 0, width, height, false, 0, 0); };
            std::vector<Goal> goals;
            if (named.kind == Kind::RandomAlpha && size == 256) {
                goals = {{"pixman", 1.6}, {"memcpy", 0.35}};
            }
            if (named.kind == Kind::RandomAlpha && size == 32) {
                goals = {{"pixman", 1.6}};
            }
            if (named.kind == Kind::Opaque && size == 256) {
                goals = {{"pixman", 1.3}, {"memcpy", 0.6}};
            }
            if (named.kind == Kind::Transparent) {
                goals = {{"memcpy", 1.0}};
            }
            if (named.kind == Kind::Disc && size == 256) {
                goals = {{"pixman", 1.9}};
            }
            Run({std::string(named.name) + (size != 0 ? " " + std::to_string(size) : " full"),
                 work,
                 {Memcpy(picture, width, height, x, y), Pixman(picture, width, height, x, y),
                  Sdl(picture, width, height, x, y), Scalar(work)},
                 goals});
            FreeBitmap(picture);
        }
    }
    const u32 tile = MakePicture(32, 32, Kind::Sprite);
    const auto work = [=] {
        Blit(0, 0, 0, tile, 0, 0, 32, 32, false, kScreenWidth, kScreenHeight);
    };
    pixman_image_t* const source = PixmanOf(tile, 32, 32);
    pixman_image_set_repeat(source, PIXMAN_REPEAT_NORMAL);
    Run({"tiled 32 over the screen",
         work,
         {{"pixman",
           [=] {
               pixman_image_composite32(PIXMAN_OP_OVER, source, nullptr, pixmanScreen, 0, 0, 0, 0,
                                        0, 0, kScreenWidth, kScreenHeight);
           }},
          Scalar(work)},
         {}});
}

void RunFills() {
    for (const i32 size : {64, 256, 0}) {
        const i32 width = size != 0 ? size : kScreenWidth;
        const i32 height = size != 0 ? size : kScreenHeight;
        const std::string suffix = size != 0 ? " " + std::to_string(size) : " full";
        const auto opaque = [=] { Rectangle(0, 0, 0, width, height, 0xFF204060, 0); };
        Run({"opaque fill" + suffix,
             opaque,
             {{"memset",
               [=] {
                   u8* to = screenBitmap.pixels;
                   for (i32 row = 0; row < height; ++row, to += screenBitmap.stride) {
                       std::memset(to, 17, 4 * static_cast<std::size_t>(width));
                   }
               }}},
             {{"memset", 0.9}}});
        const auto translucent = [=] { Rectangle(0, 0, 0, width, height, 0x60204060, 0); };
        const pixman_color_t colour = {0x2000, 0x3000, 0x4000, 0x6060};
        pixman_image_t* const solid = pixman_image_create_solid_fill(&colour);
        Run({"translucent fill" + suffix,
             translucent,
             {{"pixman",
               [=] {
                   pixman_image_composite32(PIXMAN_OP_OVER, solid, nullptr, pixmanFillScreen, 0, 0,
                                            0, 0, 0, 0, width, height);
               }},
              Scalar(translucent)},
             {{"pixman", 1.5}}});
    }
}

void RunShapes() {
    const auto lines = [] {
        for (i32 i = 0; i < 64; ++i) {
            Line(0, 10, 10 + i, 500, 900 - 12 * i, 0x80FFC040);
        }
    };
    Run({"64 diagonal lines", lines, {Scalar(lines)}, {}});
    const auto straight = [] {
        for (i32 i = 0; i < 64; ++i) {
            Line(0, 10, 10 + i, 500, 10 + i, 0x80FFC040);
        }
    };
    Run({"64 horizontal lines", straight, {Scalar(straight)}, {}});
    const auto ellipse = [] { Ellipse(0, 100, 100, 256, 200, 0x80FFC040, 0xFFFFFFFF); };
    Run({"ellipse 256 x 200", ellipse, {Scalar(ellipse)}, {}});
}

void RunScaling() {
    const auto scaled = [](i32 from, i32 to, bool goal) {
        const u32 picture = MakePicture(from, from, Kind::RandomAlpha);
        const auto work = [=] {
            BlitScaled({0, 100, 100, to, to, picture, 0, 0, from, from, 0, 0});
        };
        pixman_image_t* const source = PixmanOf(picture, from, from);
        const pixman_fixed_t factor = pixman_double_to_fixed(static_cast<double>(from) / to);
        pixman_transform_t transform;
        pixman_transform_init_scale(&transform, factor, factor);
        pixman_image_set_transform(source, &transform);
        int count = 0;
        pixman_fixed_t* const parameters = pixman_filter_create_separable_convolution(
            &count, factor, factor, PIXMAN_KERNEL_IMPULSE, PIXMAN_KERNEL_IMPULSE, PIXMAN_KERNEL_BOX,
            PIXMAN_KERNEL_BOX, 4, 4);
        pixman_image_set_filter(source, PIXMAN_FILTER_SEPARABLE_CONVOLUTION, parameters, count);
        std::vector<Goal> goals;
        if (goal) {
            goals = {{"pixman box", 4.0}};
        }
        Run({"scaled " + std::to_string(from) + " to " + std::to_string(to),
             work,
             {{"pixman box",
               [=] {
                   pixman_image_composite32(PIXMAN_OP_OVER, source, nullptr, pixmanScreen, 0, 0, 0,
                                            0, 100, 100, to, to);
               }},
              Scalar(work)},
             goals});
        FreeBitmap(picture);
    };
    scaled(256, 100, true);
    scaled(256, 32, false);
    scaled(100, 256, false);
    scaled(32, 256, false);
}

// The tests' yardstick, which draws pixel by pixel on a picture of its own.
Contender Yardstick(i32 size,
                    const std::function<void(reference::World&, const reference::Bitmap&)>& work) {
    struct Scene {
        reference::World world;
        std::vector<u8> bytes;
    };
    const auto scene = std::make_shared<Scene>();
    std::mt19937 random(3);
    for (i32 i = 0; i < size * size * 4; ++i) {
        scene->bytes.push_back(static_cast<u8>(random()));
    }
    return {
        "yardstick", [=] {
            work(scene->world, {&scene->bytes, true, 0, size, size, 4 * size, 0, 0, size, size});
        }};
}

void RunColours() {
    const u32 picture = MakePicture(256, 256, Kind::RandomAlpha);
    const auto everyPixel = [=] {
        static u32 alpha = 0;
        SetAlpha(picture, 0, 0, 256, 256, kEveryPixel, ++alpha & 255);
    };
    Run({"Set alpha 256",
         everyPixel,
         {Scalar(everyPixel), Yardstick(256,
                                        [](reference::World& world, const reference::Bitmap& to) {
                                            static u32 alpha = 0;
                                            SetAlpha(world, to, false, 0, 0, 256, 256, kEveryPixel,
                                                     ++alpha & 255);
                                        })},
         {{"yardstick", 5.0}}});
    const auto key = [=] { SetAlpha(picture, 0, 0, 256, 256, 0x123456, 0); };
    Run({"Set alpha by key 256",
         key,
         {Scalar(key), Yardstick(256,
                                 [](reference::World& world, const reference::Bitmap& to) {
                                     SetAlpha(world, to, false, 0, 0, 256, 256, 0x123456, 0);
                                 })},
         {{"yardstick", 5.0}}});
    const u32 colours = MakePicture(256, 256, Kind::Opaque);
    const auto adjust = [=] { AdjustColours(colours, 0, 0, 256, 256, -1, -1, 20, 30); };
    // The pixels must not all turn grey or white while they are adjusted again and again.
    const auto fresh = [=] {
        std::mt19937 random(3);
        u32* const pixels = PixelsOf(colours);
        for (i32 i = 0; i < 256 * 256; ++i) {
            pixels[i] = static_cast<u32>(random());
        }
    };
    fresh();
    const auto keep = [=] { AdjustColours(colours, 0, 0, 256, 256, -1, -1, 0, 0); };
    Run({"Adjust colours 256, all kept",
         keep,
         {Scalar(keep),
          Yardstick(256,
                    [](reference::World& world, const reference::Bitmap& to) {
                        AdjustColours(world, to, false, {0, 0, 256, 256, -1, -1, 0, 0});
                    })},
         {{"yardstick", 5.0}}});
    fresh();
    const auto hue = [=] { AdjustColours(colours, 0, 0, 256, 256, 100, -1, 0, 0); };
    Run({"Adjust colours 256, new hue",
         hue,
         {Scalar(hue),
          Yardstick(256,
                    [](reference::World& world, const reference::Bitmap& to) {
                        AdjustColours(world, to, false, {0, 0, 256, 256, 100, -1, 0, 0});
                    })},
         {{"yardstick", 5.0}}});
    fresh();
    Run({"Adjust colours 256, values",
         adjust,
         {Scalar(adjust),
          Yardstick(256,
                    [](reference::World& world, const reference::Bitmap& to) {
                        AdjustColours(world, to, false, {0, 0, 256, 256, -1, -1, 20, 30});
                    })},
         {{"yardstick", 5.0}}});
    const auto square = [=] { HueSquare(colours, 0, 0, 256, 256, 77); };
    Run({"Hue square 256",
         square,
         {Scalar(square), Yardstick(256,
                                    [](reference::World& world, const reference::Bitmap& to) {
                                        HueSquare(world, to, false, 0, 0, 256, 256, 77);
                                    })},
         {{"yardstick", 5.0}}});
}

bool ReadOptions(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--rounds" && i + 1 < argc) {
            rounds = std::max(1, std::atoi(argv[++i]));
        } else if (option == "--kernels" && i + 1 < argc) {
            const std::string name = argv[++i];
            const std::vector<const Kernels*> sets = AvailableKernels();
            const auto set = std::find_if(sets.begin(), sets.end(),
                                          [&](const Kernels* each) { return name == each->name; });
            if (set == sets.end()) {
                std::fprintf(stderr, "gfx_bench: this processor has no %s kernels\n", argv[i]);
                return false;
            }
            kernels = *set;
        } else {
            filter = option;
        }
    }
    return true;
}

int Main(int argc, char** argv) {
    if (!AllocateImage(kImageBytes)) {
        return 1;
    }
    heapStart = kHeapStart;
    heapSize = kImageBytes - kHeapStart;
    InitHeapTable();
    AllocHeap(4);
    if (!CreateScreenBitmap(kScreenWidth, kScreenHeight)) {
        return 1;
    }
    if (!ReadOptions(argc, argv)) {
        return 2;
    }
    pixmanScreen =
        pixman_image_create_bits(PIXMAN_a8b8g8r8, kScreenWidth, kScreenHeight,
                                 reinterpret_cast<u32*>(screenBitmap.pixels), 4 * kScreenWidth);
    pixmanFillScreen =
        pixman_image_create_bits(PIXMAN_a8r8g8b8, kScreenWidth, kScreenHeight,
                                 reinterpret_cast<u32*>(screenBitmap.pixels), 4 * kScreenWidth);
    sdlScreen = SDL_CreateRGBSurfaceWithFormatFrom(screenBitmap.pixels, kScreenWidth, kScreenHeight,
                                                   32, 4 * kScreenWidth, SDL_PIXELFORMAT_RGBA32);
    std::printf("Kernels: %s. A ratio of 2 means twice as fast as the other.\n\n", kernels->name);
    std::printf("| Work | Time | Speed |\n|---|---|---|\n");
    RunBlits();
    RunFills();
    RunShapes();
    RunScaling();
    RunColours();
    return 0;
}

}  // namespace

}  // namespace moxi

int main(int argc, char** argv) {
    return moxi::Main(argc, argv);
}
