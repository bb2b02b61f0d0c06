#include "desktop/pango/fits.h"

#include <bit>
#include <functional>
#include <string>

#include "base/utf8.h"
#include "desktop/pango/labels.h"
#include "desktop/pango/layout_text.h"
#include "desktop/pango/simple_text.h"

namespace moxi {

namespace {

constexpr std::size_t kKept = 512;          // answers
constexpr std::size_t kHashedBytes = 24;    // of a text's start
constexpr std::size_t kLongestKept = 1024;  // bytes of a text's part that fits

// An answer that is kept. It depends on the text only up to the end of the first character that
// does not fit, so only that part is kept and compared.
struct Kept {
    u64 font = 0;
    double width = 0;
    std::size_t overflow = 0;
    std::string text;
};
Kept kept[kKept];

Kept& SlotOf(const TextFont& font, std::string_view text, double width) {
    const std::size_t hash = std::hash<std::string_view>()(text.substr(0, kHashedBytes)) ^
                             (font.id + std::bit_cast<u64>(width)) * 0x9E3779B97F4A7C15;
    return kept[(hash ^ hash >> 32) % kKept];
}

// Whether the text is so short that it may well fit as a whole. Then it is measured as a label,
// which is kept.
bool IsShort(const TextFont& font, std::string_view text, double width) {
    constexpr double kNarrow = 0.3;  // of a character, in font sizes
    constexpr double kFew = 8;
    return static_cast<double>(text.size()) < kFew + width / (font.size * kNarrow);
}

}  // namespace

TextFit FitText(TextFont& font, std::string_view text, double width) {
    if (IsShort(font, text, width)) {
        if (FindLabel(font, text, false).width <= width) {
            return {true, 0};
        }
    }
    Kept& slot = SlotOf(font, text, width);
    std::size_t overflow = slot.overflow;
    if (slot.font != font.id || slot.width != width || !text.starts_with(slot.text)) {
        const SimpleScript script = ScriptOfText(font, text);
        overflow = script == SimpleScript::None ? FindLayoutOverflow(font, text, width)
                                                : FindSimpleOverflow(font, text, script, width);
        if (overflow < kLongestKept) {
            slot = {font.id, width, overflow,
                    std::string(text.substr(0, CharacterEnd(text, overflow)))};
        }
    }
    if (overflow == std::string_view::npos) {
        return {true, 0};
    }
    return {false, overflow};
}

void ForgetFits() {
    for (Kept& one : kept) {
        one = {};
    }
}

}  // namespace moxi
