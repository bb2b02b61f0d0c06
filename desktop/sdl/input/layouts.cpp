#include "desktop/sdl/input/layouts.h"

#include <xkbcommon/xkbcommon.h>

#include <bitset>
#include <memory>

#include "desktop/sdl/input/key_text.h"
#include "desktop/us_layout.h"

namespace moxi {

namespace {
struct KeyName {
    u8 code;
    const char* name;  // of the keymap
};

// The keys that layouts differ in. Rows E to B from the top, places from the left.
constexpr KeyName kKeyNames[] = {
    {0x32, "TLDE"}, {0x12, "AE01"}, {0x13, "AE02"}, {0x14, "AE03"}, {0x15, "AE04"}, {0x17, "AE05"},
    {0x16, "AE06"}, {0x1A, "AE07"}, {0x1C, "AE08"}, {0x19, "AE09"}, {0x1D, "AE10"}, {0x1B, "AE11"},
    {0x18, "AE12"}, {0x5D, "AE13"}, {0x0C, "AD01"}, {0x0D, "AD02"}, {0x0E, "AD03"}, {0x0F, "AD04"},
    {0x11, "AD05"}, {0x10, "AD06"}, {0x20, "AD07"}, {0x22, "AD08"}, {0x1F, "AD09"}, {0x23, "AD10"},
    {0x21, "AD11"}, {0x1E, "AD12"}, {0x00, "AC01"}, {0x01, "AC02"}, {0x02, "AC03"}, {0x03, "AC04"},
    {0x05, "AC05"}, {0x04, "AC06"}, {0x26, "AC07"}, {0x28, "AC08"}, {0x25, "AC09"}, {0x29, "AC10"},
    {0x27, "AC11"}, {0x2A, "BKSL"}, {0x0A, "LSGT"}, {0x06, "AB01"}, {0x07, "AB02"}, {0x08, "AB03"},
    {0x09, "AB04"}, {0x0B, "AB05"}, {0x2D, "AB06"}, {0x2E, "AB07"}, {0x2B, "AB08"}, {0x2F, "AB09"},
    {0x2C, "AB10"}, {0x5E, "AB11"}, {0x31, "SPCE"},
};

using State = std::unique_ptr<xkb_state, void (*)(xkb_state*)>;
constinit const LayoutSource* source = nullptr;

}  // namespace

void UseLayoutSource(const LayoutSource* theSource) {
    source = theSource;
}

namespace {

char32_t Character(xkb_keymap* keymap, u8 code, bool shift, u32 group) {
    for (const KeyName& key : kKeyNames) {
        if (key.code != code) {
            continue;
        }
        const xkb_keycode_t keycode = xkb_keymap_key_by_name(keymap, key.name);
        const State state(xkb_state_new(keymap), xkb_state_unref);
        if (keycode == XKB_KEYCODE_INVALID || state == nullptr) {
            return 0;
        }
        const xkb_mod_index_t index = xkb_keymap_mod_get_index(keymap, XKB_MOD_NAME_SHIFT);
        const xkb_mod_mask_t held = shift && index != XKB_MOD_INVALID ? 1u << index : 0;
        xkb_state_update_mask(state.get(), held, 0, 0, 0, 0, group);
        return xkb_state_key_get_utf32(state.get(), keycode);
    }
    return 0;
}

bool IsLayoutKey(u8 code) {
    for (const KeyName& key : kKeyNames) {
        if (key.code == code) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::optional<KeyCharacters> CharactersOnKey(u8 code, std::optional<u32> group) {
    xkb_keymap* const keymap = source != nullptr && IsLayoutKey(code) ? source->keymap() : nullptr;
    if (keymap == nullptr) {
        return std::nullopt;
    }
    const u32 layout = group ? *group : source->group();
    return KeyCharacters{Character(keymap, code, false, layout),
                         Character(keymap, code, true, layout)};
}

namespace {

// Layouts of other scripts have some Latin letter here and there, Latin ones nearly all of them.
bool IsLatinLayout(xkb_keymap* keymap, u32 group) {
    constexpr std::size_t kHalfOfTheAlphabet = 13;
    std::bitset<26> letters;
    for (const KeyName& key : kKeyNames) {
        const char32_t character = Character(keymap, key.code, false, group);
        if (character >= 'a' && character <= 'z') {
            letters.set(character - 'a');
        }
    }
    return letters.count() >= kHalfOfTheAlphabet;
}

bool IsLatinLetter(const std::string& text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const bool isLetter = (first >= 'a' && first <= 'z') || (first >= 'A' && first <= 'Z');
    return isLetter || (first >= 0x80 && IsLatin(text));
}

}  // namespace

std::string LatinText(u8 code, const std::string& text) {
    xkb_keymap* const keymap = source != nullptr && IsLayoutKey(code) ? source->keymap() : nullptr;
    if (keymap != nullptr && !text.empty() && !IsLatinLetter(text)) {
        // A sign on a Latin layout is meant; on another one it lies where a letter may be wanted.
        if (IsLatinLayout(keymap, source->group())) {
            return text;
        }
        for (u32 group = 0; group < xkb_keymap_num_layouts(keymap); ++group) {
            if (!IsLatinLayout(keymap, group)) {
                continue;
            }
            const char32_t latin = Character(keymap, code, false, group);
            return latin != 0 ? Utf8(latin) : text;
        }
    }
    const bool hasOwn =
        keymap != nullptr ? IsLatinLetter(text.empty() ? "a" : text) : IsLatin(text);
    const char us = UsCharacter(code);
    return hasOwn || us == 0 ? text : std::string(1, us);
}

}  // namespace moxi
