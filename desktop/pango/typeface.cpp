#include "desktop/pango/typeface.h"

#include <fontconfig/fontconfig.h>
#include <pango/pangofc-font.h>
#include <pango/pangofc-fontmap.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "base/log.h"

namespace moxi {

namespace {

constexpr u32 kStyles = 12;
constexpr double kResolution = 72;  // dots an inch: one point is one pixel
constexpr int kLookUpSize = 16;     // any size: the faces are scalable

// A family and the fonts that have its metrics.
struct Family {
    const char* name;
    std::array<std::string_view, 6> equals;
};
constexpr Family kFamilies[] = {
    {"Helvetica",
     {"Helvetica", "Nimbus Sans", "Nimbus Sans L", "Arial", "Liberation Sans", "TeX Gyre Heros"}},
    {"Times",
     {"Times", "Nimbus Roman", "Nimbus Roman No9 L", "Times New Roman", "Liberation Serif",
      "TeX Gyre Termes"}},
    {"Courier",
     {"Courier", "Nimbus Mono PS", "Nimbus Mono L", "Courier New", "Liberation Mono",
      "TeX Gyre Cursor"}},
};

struct Deleter {
    void operator()(cairo_font_options_t* options) const { cairo_font_options_destroy(options); }
    void operator()(Typeface* face) const {
        pango_font_description_free(face->description);
        if (face->cairoFace != nullptr) {
            cairo_font_face_destroy(face->cairoFace);
        }
        if (face->hbFace != nullptr) {
            hb_face_destroy(face->hbFace);
        }
        delete face;
    }
};

PangoFontMap* fontMap = nullptr;
PangoContext* context = nullptr;
std::unique_ptr<cairo_font_options_t, Deleter> fontOptions;
std::unique_ptr<Typeface, Deleter> typefaces[kStyles];
bool missingReported[std::size(kFamilies)] = {};

// Makes sure that there is memory for looking a font up, also for the stacks of Pango's threads;
// without it, `new` fails here, where the process can still end in order. fontconfig, which those
// threads ask, does not check its allocations.
void RequireMemory() {
    constexpr std::size_t kForAFont = std::size_t{64} << 20;
    static void* volatile block = nullptr;
    block = ::operator new(kForAFont);
    ::operator delete(block);
}

// A rule for fontconfig: where two fonts have a character, one without colours goes before one with
// them, as a text is drawn in one colour.
constexpr const char* kPlainFontsFirst =
    "<?xml version=\"1.0\"?><!DOCTYPE fontconfig SYSTEM \"urn:fontconfig:fonts.dtd\"><fontconfig>"
    "<match target=\"pattern\"><edit name=\"color\" mode=\"assign\" binding=\"strong\">"
    "<bool>false</bool></edit></match></fontconfig>";

// The current configuration of fontconfig, to which that rule is added once.
FcConfig* TextConfiguration() {
    static FcConfig* known = nullptr;  // referenced, so that its address is not used again
    FcInit();                          // before Pango's own threads ask fontconfig for anything
    FcConfig* const current = FcConfigGetCurrent();
    if (current != known) {
        FcConfigParseAndLoadFromMemory(current, reinterpret_cast<const FcChar8*>(kPlainFontsFirst),
                                       FcFalse);
        if (known != nullptr) {
            FcConfigDestroy(known);
        }
        known = FcConfigReference(current);
    }
    return current;
}

void Start() {
    RequireMemory();
    FcConfig* const configuration = TextConfiguration();
    fontMap = pango_cairo_font_map_new_for_font_type(CAIRO_FONT_TYPE_FT);
    pango_fc_font_map_set_config(PANGO_FC_FONT_MAP(fontMap), configuration);
    pango_cairo_font_map_set_resolution(PANGO_CAIRO_FONT_MAP(fontMap), kResolution);
    context = pango_font_map_create_context(fontMap);
    pango_context_set_round_glyph_positions(context, FALSE);
    fontOptions.reset(cairo_font_options_create());
    cairo_font_options_set_hint_style(fontOptions.get(), CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(fontOptions.get(), CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_antialias(fontOptions.get(), CAIRO_ANTIALIAS_GRAY);
    pango_cairo_context_set_font_options(context, fontOptions.get());
}

PangoFontDescription* Describe(FontStyle style) {
    PangoFontDescription* const description = pango_font_description_new();
    pango_font_description_set_family_static(description,
                                             kFamilies[static_cast<u32>(style.family)].name);
    pango_font_description_set_weight(description,
                                      style.bold ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
    if (style.italic) {
        pango_font_description_set_style(description, style.family == FontFamily::Times
                                                          ? PANGO_STYLE_ITALIC
                                                          : PANGO_STYLE_OBLIQUE);
    }
    return description;
}

void ReportMissing(FontFamily family, const char* used) {
    const u32 index = static_cast<u32>(family);
    const Family& wanted = kFamilies[index];
    if (missingReported[index] ||
        std::find(wanted.equals.begin(), wanted.equals.end(), used) != wanted.equals.end()) {
        return;
    }
    missingReported[index] = true;
    SystemLog(std::string("The font ") + wanted.name + " is missing, " + used + " is used");
}

// Whether a font can be used without Pango: its file can be scaled to every size, and fontconfig
// does not slant, thicken or vary it.
bool IsPlain(FcPattern* pattern) {
    FcMatrix* matrix = nullptr;
    FcBool flag = FcFalse;
    FcChar8* variations = nullptr;
    if (FcPatternGetMatrix(pattern, FC_MATRIX, 0, &matrix) == FcResultMatch) {
        return false;
    }
    if (FcPatternGetBool(pattern, FC_EMBOLDEN, 0, &flag) == FcResultMatch && flag != FcFalse) {
        return false;
    }
    if (FcPatternGetString(pattern, FC_FONT_VARIATIONS, 0, &variations) == FcResultMatch) {
        return false;
    }
    return FcPatternGetBool(pattern, FC_SCALABLE, 0, &flag) == FcResultMatch && flag != FcFalse;
}

bool SameFile(PangoFont* a, PangoFont* b) {
    FcPattern* const patterns[2] = {pango_fc_font_get_pattern(PANGO_FC_FONT(a)),
                                    pango_fc_font_get_pattern(PANGO_FC_FONT(b))};
    std::string_view files[2];
    int indices[2] = {0, 0};
    for (int i = 0; i < 2; ++i) {
        FcChar8* file = nullptr;
        if (FcPatternGetString(patterns[i], FC_FILE, 0, &file) != FcResultMatch) {
            return false;
        }
        files[i] = reinterpret_cast<const char*>(file);
        FcPatternGetInteger(patterns[i], FC_INDEX, 0, &indices[i]);
    }
    return files[0] == files[1] && indices[0] == indices[1];
}

// Asks Pango how it would set `sample`, a character of a script: in which script and language, and
// whether with `font`.
ScriptSettings SettingsFor(const char* sample, PangoFont* font, const Typeface& face) {
    PangoContext* const itemizer = pango_font_map_create_context(fontMap);
    pango_cairo_context_set_font_options(itemizer, fontOptions.get());
    pango_context_set_round_glyph_positions(itemizer, FALSE);
    pango_context_set_font_description(itemizer, face.description);
    PangoAttrList* const attributes = pango_attr_list_new();
    GList* const items =
        pango_itemize(itemizer, sample, 0, static_cast<int>(std::string_view(sample).size()),
                      attributes, nullptr);
    ScriptSettings settings = {false, HB_SCRIPT_COMMON, HB_LANGUAGE_INVALID};
    if (items != nullptr) {
        const PangoAnalysis& analysis = static_cast<const PangoItem*>(items->data)->analysis;
        settings.simple =
            analysis.font == font || (analysis.font != nullptr && SameFile(analysis.font, font));
        settings.script = hb_script_from_iso15924_tag(
            g_unicode_script_to_iso15924(static_cast<GUnicodeScript>(analysis.script)));
        settings.language =
            hb_language_from_string(pango_language_to_string(analysis.language), -1);
    }
    g_list_free_full(items, reinterpret_cast<GDestroyNotify>(pango_item_free));
    pango_attr_list_unref(attributes);
    g_object_unref(itemizer);
    return settings;
}

SimpleScript Classify(const Typeface& face, hb_font_t* font, u32 character) {
    hb_codepoint_t glyph = 0;
    if (!hb_font_get_nominal_glyph(font, character, &glyph)) {
        return SimpleScript::None;
    }
    switch (g_unichar_type(character)) {
        case G_UNICODE_CONTROL:
        case G_UNICODE_FORMAT:
        case G_UNICODE_UNASSIGNED:
        case G_UNICODE_NON_SPACING_MARK:
        case G_UNICODE_ENCLOSING_MARK:
        case G_UNICODE_SPACING_MARK: return SimpleScript::None;
        default: break;
    }
    SimpleScript script = SimpleScript::None;
    switch (g_unichar_get_script(character)) {
        case G_UNICODE_SCRIPT_COMMON: script = SimpleScript::Common; break;
        case G_UNICODE_SCRIPT_LATIN: script = SimpleScript::Latin; break;
        case G_UNICODE_SCRIPT_GREEK: script = SimpleScript::Greek; break;
        case G_UNICODE_SCRIPT_CYRILLIC: script = SimpleScript::Cyrillic; break;
        default: return SimpleScript::None;
    }
    return face.scripts[static_cast<u32>(script)].simple ? script : SimpleScript::None;
}

void ClassifyCharacters(Typeface& face, hb_font_t* font) {
    for (u32 c = 0; c < kSimpleLimit; ++c) {
        face.characters[c] = Classify(face, font, c);
    }
    for (u32 c = kPunctuationStart; c < kPunctuationEnd; ++c) {
        face.punctuation[c - kPunctuationStart] = Classify(face, font, c);
    }
    face.euro = Classify(face, font, kEuroSign);
    face.wholeAscii = true;
    for (u32 c = ' '; c <= '~'; ++c) {
        if (face.characters[c] == SimpleScript::None) {
            face.wholeAscii = false;
        }
    }
}

Typeface* LookUp(FontStyle style) {
    Typeface* const face = new Typeface{};
    std::fill(std::begin(face->characters), std::end(face->characters), SimpleScript::None);
    std::fill(std::begin(face->punctuation), std::end(face->punctuation), SimpleScript::None);
    face->euro = SimpleScript::None;
    face->description = Describe(style);
    pango_font_description_set_absolute_size(face->description, kLookUpSize * PANGO_SCALE);
    PangoFont* const font = pango_context_load_font(context, face->description);
    if (font == nullptr || !PANGO_IS_FC_FONT(font)) {
        ReportMissing(style.family, "none");
        if (font != nullptr) {
            g_object_unref(font);
        }
        return face;
    }
    FcPattern* const pattern = pango_fc_font_get_pattern(PANGO_FC_FONT(font));
    FcChar8* family = nullptr;
    if (FcPatternGetString(pattern, FC_FAMILY, 0, &family) == FcResultMatch) {
        ReportMissing(style.family, reinterpret_cast<const char*>(family));
    }
    cairo_scaled_font_t* const scaled = pango_cairo_font_get_scaled_font(PANGO_CAIRO_FONT(font));
    hb_font_t* const hbFont = pango_font_get_hb_font(font);
    if (IsPlain(pattern) && scaled != nullptr && hbFont != nullptr) {
        face->cairoFace = cairo_font_face_reference(cairo_scaled_font_get_font_face(scaled));
        face->hbFace = hb_face_reference(hb_font_get_face(hbFont));
        constexpr const char* kSamples[kSimpleScripts] = {"1", "a", "\xCE\xB1", "\xD1\x8F"};
        for (u32 i = 0; i < kSimpleScripts; ++i) {
            face->scripts[i] = SettingsFor(kSamples[i], font, *face);
        }
        ClassifyCharacters(*face, hbFont);
        for (u32 i = 0; i < kPairScripts; ++i) {
            face->pairs[i] =
                ReadPairRules(face->hbFace, face->scripts[i].script, face->scripts[i].language);
        }
    }
    g_object_unref(font);
    return face;
}

}  // namespace

PangoContext* TextContext() {
    if (context == nullptr) {
        Start();
    }
    return context;
}

const cairo_font_options_t* TextFontOptions() {
    if (context == nullptr) {
        Start();
    }
    return fontOptions.get();
}

const Typeface& TypefaceOf(FontStyle style) {
    const u32 index =
        static_cast<u32>(style.family) * 4 + (style.bold ? 2U : 0U) + (style.italic ? 1U : 0U);
    if (context == nullptr) {
        Start();
    }
    if (typefaces[index] == nullptr) {
        RequireMemory();
        typefaces[index].reset(LookUp(style));
    }
    return *typefaces[index];
}

void ResetTypefaces() {
    for (auto& face : typefaces) {
        face.reset();
    }
    std::fill(std::begin(missingReported), std::end(missingReported), false);
    if (context != nullptr) {
        g_object_unref(context);
        g_object_unref(fontMap);
        context = nullptr;
        fontMap = nullptr;
        fontOptions.reset();
    }
}

// fontconfig, and D-Bus behind SDL, keep small things for good, without a pointer that the leak
// check could follow. NOLINTBEGIN(bugprone-reserved-identifier): the names are the leak check's
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig\nleak:libdbus-1\n";
}
extern "C" const char* __lsan_default_options();
extern "C" const char* __lsan_default_options() {
    return "print_suppressions=0";
}
// NOLINTEND(bugprone-reserved-identifier)

}  // namespace moxi
