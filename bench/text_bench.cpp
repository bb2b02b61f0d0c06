// Draw Text against a plain Pango and Cairo draw of the same text: a label that was never drawn
// before, one that was, and a paragraph that a module lays out line by line. And the time for long
// texts, which is to grow with their length whatever they are made of.

#include <benchmark/benchmark.h>
#include <pango/pangocairo.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "base/bytes.h"
#include "desktop/pango/pango_engine.h"
#include "gfx/bitmap.h"
#include "gfx/draw_text.h"
#include "gfx/kernels.h"
#include "gfx/screen.h"
#include "vm/guard.h"
#include "vm/heap.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u32 kImageSize = 8 << 20;
constexpr u32 kBlock = 1024;
constexpr u32 kText = 2048;
constexpr i32 kFontSize = 19;  // what a box of height 23 gets: a line of 22.8
constexpr u32 kBoxHeight = 23;
constexpr u32 kParagraphWidth = 320;

std::string NewLabel() {
    static unsigned count = 0;
    char text[64];
    std::snprintf(text, sizeof text, "Score %08u of the quick brown fox, ok?", count++);
    return std::string(text, 40);
}

std::string Paragraph() {
    constexpr std::string_view kWords =
        "It was late when the last of the travellers came down from the hills and asked for a "
        "bed. ";
    std::string text;
    while (text.size() < 2000) {
        text += kWords;
    }
    text.resize(2000);
    return text;
}

// --- A plain draw

struct Plain {
    PangoContext* context;
    PangoLayout* layout;
    cairo_surface_t* surface;
    cairo_t* cairo;
};

Plain MakePlain() {
    Plain plain;
    PangoFontMap* const map = pango_cairo_font_map_new_for_font_type(CAIRO_FONT_TYPE_FT);
    pango_cairo_font_map_set_resolution(PANGO_CAIRO_FONT_MAP(map), 72);
    plain.context = pango_font_map_create_context(map);
    pango_context_set_round_glyph_positions(plain.context, FALSE);
    cairo_font_options_t* const options = cairo_font_options_create();
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    pango_cairo_context_set_font_options(plain.context, options);
    cairo_font_options_destroy(options);
    plain.layout = pango_layout_new(plain.context);
    PangoFontDescription* const font = pango_font_description_from_string("Helvetica");
    pango_font_description_set_absolute_size(font, kFontSize * PANGO_SCALE);
    pango_layout_set_font_description(plain.layout, font);
    pango_font_description_free(font);
    plain.surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 1920, 256);
    plain.cairo = cairo_create(plain.surface);
    return plain;
}

Plain& ThePlain() {
    static Plain plain = MakePlain();
    return plain;
}

void DrawPlain() {
    cairo_move_to(ThePlain().cairo, 0, 0);
    pango_cairo_show_layout(ThePlain().cairo, ThePlain().layout);
}

void PlainNewLabel(benchmark::State& state) {
    for (auto _ : state) {
        const std::string text = NewLabel();
        pango_layout_set_text(ThePlain().layout, text.data(), static_cast<int>(text.size()));
        DrawPlain();
    }
}

// A label that needs two fonts.
void PlainNewLabelWithAStar(benchmark::State& state) {
    for (auto _ : state) {
        const std::string text = "\xE2\x98\x85 " + NewLabel();
        pango_layout_set_text(ThePlain().layout, text.data(), static_cast<int>(text.size()));
        DrawPlain();
    }
}

void PlainLaidOutLabel(benchmark::State& state) {
    pango_layout_set_text(ThePlain().layout, NewLabel().c_str(), -1);
    for (auto _ : state) {
        DrawPlain();
    }
}

// --- Draw Text

void StartMachine() {
    static bool started = false;
    if (started) {
        return;
    }
    started = true;
    AllocateImage(kImageSize);
    heapStart = 1 << 20;
    heapSize = kImageSize - heapStart;
    InitHeapTable();
    AllocHeap(4);
    ChooseKernels();
    StartPangoText();
    CreateScreenBitmap(1920, 1080);
}

u32 Draw(u32 text, u32 width, u32 flags, u32 background) {
    const u32 words[9] = {kScreenBitmap, text,  100,        100,       width,
                          kBoxHeight,    flags, background, 0xFF102030};
    for (u32 i = 0; i < 9; ++i) {
        Store<u32>(kBlock + 4 * i, words[i]);
    }
    return DrawText(kBlock);
}

void SetText(std::string_view text) {
    std::memcpy(image + kText, text.data(), text.size());
    image[kText + text.size()] = 0;
}

void NewLabelOver(benchmark::State& state, u32 background) {
    StartMachine();
    for (auto _ : state) {
        SetText(NewLabel());
        benchmark::DoNotOptimize(Draw(kText, 400, 0, background));
    }
}

void NewLabelWithAStar(benchmark::State& state) {
    StartMachine();
    for (auto _ : state) {
        SetText("\xE2\x98\x85 " + NewLabel());
        benchmark::DoNotOptimize(Draw(kText, 450, 0, kNoBackground));
    }
}

void SeenLabelOver(benchmark::State& state, u32 background) {
    StartMachine();
    SetText(NewLabel());
    for (auto _ : state) {
        benchmark::DoNotOptimize(Draw(kText, 400, 0, background));
    }
}

void LayOutParagraph(u32 flags, const std::string& paragraph) {
    SetText(paragraph);
    u32 address = kText;
    while (image[address] != 0) {
        const u32 used = Draw(address, kParagraphWidth, flags, 0) & 0xFFFF;
        if (used == 0) {
            break;
        }
        address += used;
        if (image[address] == ' ') {
            ++address;
        }
    }
}

void ParagraphSeen(benchmark::State& state, u32 flags) {
    StartMachine();
    const std::string paragraph = Paragraph();
    for (auto _ : state) {
        LayOutParagraph(flags, paragraph);
    }
}

void ParagraphNew(benchmark::State& state, u32 flags) {
    StartMachine();
    std::string paragraph = Paragraph();
    u32 count = 0;
    for (auto _ : state) {
        // Every word of the paragraph becomes another one.
        state.PauseTiming();
        u32 value = ++count * 2654435761U;
        for (char& c : paragraph) {
            if (c == ' ') {
                continue;
            }
            value = value * 1664525 + 1013904223;
            c = static_cast<char>('a' + (value >> 24) % 26);
        }
        state.ResumeTiming();
        LayOutParagraph(flags, paragraph);
    }
}

// A text of so many characters, drawn as a whole and cut where it leaves its box.
void LongText(benchmark::State& state, const char* pattern, u32 flags) {
    StartMachine();
    const std::string_view characters = pattern;
    std::string text;
    i64 count = 0;
    for (std::size_t i = 0; count < state.range(0); i = (i + 1) % characters.size()) {
        if ((static_cast<u8>(characters[i]) & 0xC0) != 0x80) {
            ++count;
        }
        if (count < state.range(0)) {
            text += characters[i];
        }
    }
    for (auto _ : state) {
        // No two are the same, so that none is remembered.
        SetText(std::to_string(++count) + text);
        benchmark::DoNotOptimize(Draw(kText, 400, flags, kNoBackground));
    }
}

void Steps(benchmark::internal::Benchmark* benchmark) {
    benchmark->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMillisecond);
}

constexpr u32 kTransparent = 0;  // over what is there
constexpr u32 kGrey = 0xFF808080;

BENCHMARK(PlainNewLabel);
BENCHMARK_CAPTURE(NewLabelOver, screen, kTransparent);
BENCHMARK_CAPTURE(NewLabelOver, colour, kGrey);
BENCHMARK_CAPTURE(NewLabelOver, white, kNoBackground);
BENCHMARK(PlainNewLabelWithAStar);
BENCHMARK(NewLabelWithAStar);
BENCHMARK(PlainLaidOutLabel);
BENCHMARK_CAPTURE(SeenLabelOver, screen, kTransparent);
BENCHMARK_CAPTURE(SeenLabelOver, colour, kGrey);
BENCHMARK_CAPTURE(SeenLabelOver, white, kNoBackground);
BENCHMARK_CAPTURE(ParagraphNew, drawn, kTextWrap | kTextCut);
BENCHMARK_CAPTURE(ParagraphNew, measured, kTextWrap | kTextCut | kTextMeasureOnly);
BENCHMARK_CAPTURE(ParagraphSeen, drawn, kTextWrap | kTextCut);
BENCHMARK_CAPTURE(ParagraphSeen, measured, kTextWrap | kTextCut | kTextMeasureOnly);

BENCHMARK_CAPTURE(LongText, letters, "We took the AVATAR. ", 0)->Apply(Steps);
BENCHMARK_CAPTURE(LongText, spaces, " ", 0)->Apply(Steps);
BENCHMARK_CAPTURE(LongText, tabs, "\t", 0)->Apply(Steps);
BENCHMARK_CAPTURE(LongText, marks, "\xCC\x81", 0)->Apply(Steps);
BENCHMARK_CAPTURE(LongText, scripts, "a\xD0\xAF\xE6\x97\xA5\xD7\x90 \xE2\x98\x85", 0)->Apply(Steps);
BENCHMARK_CAPTURE(LongText, arabic, "\xD8\xA8\xD8\xA7\xD9\x84 ", 0)->Apply(Steps);
BENCHMARK_CAPTURE(LongText, devanagari, "\xE0\xA4\xA8\xE0\xA4\xAE\xE0\xA5\x87 ", 0)->Apply(Steps);
BENCHMARK_CAPTURE(LongText, tabs_cut, "\t", kTextCut)->Apply(Steps);
BENCHMARK_CAPTURE(LongText, marks_cut, "\xCC\x81", kTextCut)->Apply(Steps);
BENCHMARK_CAPTURE(LongText, scripts_cut, "a\xD0\xAF\xE6\x97\xA5\xD7\x90 \xE2\x98\x85", kTextCut)
    ->Apply(Steps);

}  // namespace

}  // namespace moxi

BENCHMARK_MAIN();
