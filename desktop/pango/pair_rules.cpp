#include "desktop/pango/pair_rules.h"

#include <hb-ot.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <vector>

namespace moxi {

namespace {

struct Deleter {
    void operator()(hb_set_t* set) const { hb_set_destroy(set); }
    void operator()(hb_blob_t* blob) const { hb_blob_destroy(blob); }
    void operator()(hb_font_t* font) const { hb_font_destroy(font); }
    void operator()(hb_shape_plan_t* plan) const { hb_shape_plan_destroy(plan); }
};
using Set = std::unique_ptr<hb_set_t, Deleter>;

Set NewSet() {
    return Set(hb_set_create());
}

// A font table. Its numbers are big-endian, and what lies outside of it reads as 0. So does
// everything after very many reads, because the parts of a hostile table can overlap, so that some
// hundred bytes would keep a reader busy for days. Real fonts need far fewer.
struct Table {
    Table(hb_face_t* face, hb_tag_t tag) : blob(hb_face_reference_table(face, tag)) {
        data = reinterpret_cast<const u8*>(hb_blob_get_data(blob.get(), &size));
    }
    u32 U16(u32 at) const {
        ++reads;
        const bool lies = u64{at} + 2 <= size && !IsEndless();
        return lies ? u32{data[at]} << 8 | data[at + 1] : 0;
    }
    u32 U32(u32 at) const { return U16(at) << 16 | U16(at + 2); }
    bool Empty() const { return size == 0; }
    bool IsEndless() const { return reads > kMostReads; }

    static constexpr u64 kMostReads = u64{1} << 22;

    std::unique_ptr<hb_blob_t, Deleter> blob;
    const u8* data = nullptr;
    unsigned size = 0;
    mutable u64 reads = 0;
};

// A part of a lookup: its type, and its place in the table. Where a large font goes through an
// extension lookup, these are those of the part that it leads to.
struct Subtable {
    u32 type, at;
};

constexpr u32 kPairLookup = 2;
constexpr u32 kLigatureLookup = 4;
constexpr u32 kMarkToBaseLookup = 4;
constexpr u32 kMarkToMarkLookup = 6;
// The flags of a lookup that passes over base glyphs or ligatures.
constexpr u32 kSkipsLetters = 0x0002 | 0x0004;
// The format of a pair's value that holds a horizontal advance and nothing else.
constexpr u32 kOnlyAdvance = 0x0004;

// The place of a lookup in its table.
u32 LookupAt(const Table& table, u32 lookup) {
    const u32 list = table.U16(8);
    return list + table.U16(list + 2 + 2 * lookup);
}

// The parts of a lookup. `extension` is the type of lookup that only leads to others.
std::vector<Subtable> Subtables(const Table& table, u32 lookup, u32 extension) {
    const u32 at = LookupAt(table, lookup);
    std::vector<Subtable> subtables;
    for (u32 i = 0; i < table.U16(at + 4); ++i) {
        const u32 part = at + table.U16(at + 6 + 2 * i);
        const u32 type = table.U16(at);
        subtables.push_back(type == extension
                                ? Subtable{table.U16(part + 2), part + table.U32(part + 4)}
                                : Subtable{type, part});
    }
    return subtables;
}

std::vector<u32> CoveredGlyphs(const Table& table, u32 at) {
    std::vector<u32> glyphs;
    const u32 count = table.U16(at + 2);
    for (u32 i = 0; i < count; ++i) {
        if (table.U16(at) == 1) {
            glyphs.push_back(table.U16(at + 4 + 2 * i));
            continue;
        }
        const u32 range = at + 4 + 6 * i;
        for (u32 glyph = table.U16(range); glyph <= table.U16(range + 2); ++glyph) {
            if (glyphs.size() <= 0xFFFF) {
                glyphs.push_back(glyph);
            }
        }
    }
    return glyphs;
}

struct Reader {
    hb_face_t* face;
    PairRules& rules;

    // False when the face cannot be used by pairs.
    bool Read(hb_shape_plan_t* plan) {
        for (const char* tag : {"morx", "mort", "kerx", "kern", "trak"}) {
            if (!Table(face, hb_tag_from_string(tag, 4)).Empty()) {
                return false;
            }
        }
        return FindGlyphs() && ReadPositions(plan) && ReadSubstitutions(plan);
    }

    bool FindGlyphs() {
        const std::unique_ptr<hb_font_t, Deleter> font(hb_font_create(face));
        for (u32 i = 0; i < kPlainCharacters; ++i) {
            if (!hb_font_get_nominal_glyph(font.get(), kFirstPlain + i, &rules.glyphs[i]) ||
                hb_ot_layout_get_glyph_class(face, rules.glyphs[i]) ==
                    HB_OT_LAYOUT_GLYPH_CLASS_MARK) {
                return false;
            }
        }
        return true;
    }

    // The lookups that apply to plain text. Those of fractions alone are left out: they wait for a
    // fraction slash, which ASCII does not have.
    Set AppliedLookups(hb_shape_plan_t* plan, hb_tag_t tag) const {
        Set planned = NewSet();
        hb_ot_shape_plan_collect_lookups(plan, tag, planned.get());
        unsigned count = hb_ot_layout_table_get_feature_tags(face, tag, 0, nullptr, nullptr);
        std::vector<hb_tag_t> features(count);
        hb_ot_layout_table_get_feature_tags(face, tag, 0, &count, features.data());
        features.resize(count);
        std::erase_if(features, [](hb_tag_t feature) {
            return feature == HB_TAG('f', 'r', 'a', 'c') || feature == HB_TAG('n', 'u', 'm', 'r') ||
                   feature == HB_TAG('d', 'n', 'o', 'm');
        });
        features.push_back(HB_TAG_NONE);
        const Set applied = NewSet();
        hb_ot_layout_collect_lookups(face, tag, nullptr, nullptr, features.data(), applied.get());
        hb_set_intersect(planned.get(), applied.get());
        return planned;
    }

    // False when the lookups for positions do more than change the advance of a pair's first glyph.
    // Those that place marks do no harm, as plain text has no marks.
    bool ReadPositions(hb_shape_plan_t* plan) const {
        const Table table(face, HB_OT_TAG_GPOS);
        const Set lookups = AppliedLookups(plan, HB_OT_TAG_GPOS);
        for (u32 lookup = HB_SET_VALUE_INVALID; hb_set_next(lookups.get(), &lookup);) {
            if ((table.U16(LookupAt(table, lookup) + 2) & kSkipsLetters) != 0) {
                return false;
            }
            for (const Subtable& part : Subtables(table, lookup, 9)) {
                const bool pair = part.type == kPairLookup &&
                                  (table.U16(part.at + 4) & ~kOnlyAdvance) == 0 &&
                                  table.U16(part.at + 6) == 0;
                const bool mark =
                    (part.type == kMarkToBaseLookup || part.type == kMarkToMarkLookup) &&
                    !CoversPlain(CoveredGlyphs(table, part.at + table.U16(part.at + 2)));
                if (!pair && !mark) {
                    return false;
                }
            }
        }
        return !table.IsEndless();
    }

    bool CoversPlain(const std::vector<u32>& glyphs) const {
        return std::any_of(glyphs.begin(), glyphs.end(), [&](u32 glyph) {
            return std::find(std::begin(rules.glyphs), std::end(rules.glyphs), glyph) !=
                   std::end(rules.glyphs);
        });
    }

    // Takes in the ligatures. False when any other substitution concerns plain characters.
    bool ReadSubstitutions(hb_shape_plan_t* plan) {
        const Table table(face, HB_OT_TAG_GSUB);
        const Set lookups = AppliedLookups(plan, HB_OT_TAG_GSUB);
        for (u32 lookup = HB_SET_VALUE_INVALID; hb_set_next(lookups.get(), &lookup);) {
            if ((table.U16(LookupAt(table, lookup) + 2) & kSkipsLetters) != 0) {
                return false;
            }
            for (const Subtable& part : Subtables(table, lookup, 7)) {
                if (part.type != kLigatureLookup) {
                    if (TouchesPlain(lookup)) {
                        return false;
                    }
                } else if (!ReadLigatures(table, part.at)) {
                    return false;
                }
            }
        }
        return !table.IsEndless();
    }

    bool TouchesPlain(u32 lookup) const {
        const Set before = NewSet();
        const Set input = NewSet();
        const Set after = NewSet();
        hb_ot_layout_lookup_collect_glyphs(face, HB_OT_TAG_GSUB, lookup, before.get(), input.get(),
                                           after.get(), nullptr);
        return std::any_of(std::begin(rules.glyphs), std::end(rules.glyphs), [&](u32 glyph) {
            return hb_set_has(before.get(), glyph) || hb_set_has(input.get(), glyph) ||
                   hb_set_has(after.get(), glyph);
        });
    }

    bool ReadLigatures(const Table& table, u32 at) {
        const std::vector<u32> firsts = CoveredGlyphs(table, at + table.U16(at + 2));
        for (u32 i = 0; i < table.U16(at + 4) && i < firsts.size(); ++i) {
            const u32 set = at + table.U16(at + 6 + 2 * i);
            for (u32 j = 0; j < table.U16(set); ++j) {
                const u32 ligature = set + table.U16(set + 2 + 2 * j);
                const u32 parts = table.U16(ligature + 2);
                if (parts < 2) {
                    return false;
                }
                u32 last = firsts[i];
                for (u32 k = 1; k < parts; ++k) {
                    const u32 next = table.U16(ligature + 2 + 2 * k);
                    Join(last, next);
                    last = next;
                }
            }
        }
        return true;
    }

    void Join(u32 first, u32 second) {
        for (u32 a = 0; a < kPlainCharacters; ++a) {
            if (rules.glyphs[a] != first) {
                continue;
            }
            for (u32 b = 0; b < kPlainCharacters; ++b) {
                if (rules.glyphs[b] == second) {
                    rules.joined[a][b] = true;
                }
            }
        }
    }
};

}  // namespace

PairRules ReadPairRules(hb_face_t* face, hb_script_t script, hb_language_t language) {
    PairRules rules = {};
    hb_segment_properties_t properties = HB_SEGMENT_PROPERTIES_DEFAULT;
    properties.direction = HB_DIRECTION_LTR;
    properties.script = script;
    properties.language = language;
    const std::unique_ptr<hb_shape_plan_t, Deleter> plan(
        hb_shape_plan_create_cached(face, &properties, nullptr, 0, nullptr));
    const char* const shaper = hb_shape_plan_get_shaper(plan.get());
    rules.usable = shaper != nullptr && std::string_view(shaper) == "ot" &&
                   Reader{face, rules}.Read(plan.get());
    return rules;
}

}  // namespace moxi
