#include "desktop/sdl/input/key_text.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "base/utf8.h"
#include "desktop/control_characters.h"
#include "desktop/events.h"
#include "desktop/sdl/input/scancodes.h"
#include "desktop/sdl/loop/gate.h"

namespace moxi {

constexpr std::size_t kTextMessageBytes = 8;
constexpr std::size_t kKeys = 128;

namespace {

constinit std::optional<KeyPress> heldBack;
// What each key was told with, for its release.
std::array<std::string, kKeys> pressedText;

}  // namespace

std::string Utf8(char32_t character) {
    std::string text;
    if (character != 0) {
        AppendUtf8(text, character);
    }
    return text;
}

namespace {

// Capitals of the alphabets that keyboards have; the C library's tables depend on the locale.
char32_t Capital(char32_t c) {
    const auto within = [c](char32_t first, char32_t last) { return c >= first && c <= last; };
    if (within('a', 'z') || (within(0xE0, 0xFE) && c != 0xF7)) {
        return c - 32;
    }
    if (c == 0xFF) {
        return 0x178;
    }
    if (within(0x100, 0x137) || within(0x14A, 0x177)) {
        return c & ~char32_t{1};
    }
    if (within(0x139, 0x148) || within(0x179, 0x17E)) {
        return c % 2 == 0 ? c - 1 : c;
    }
    if (within(0x3B1, 0x3C9) && c != 0x3C2) {
        return c - 32;  // Greek
    }
    if (within(0x430, 0x44F)) {
        return c - 32;  // Cyrillic
    }
    if (within(0x450, 0x45F)) {
        return c - 80;
    }
    if (within(0x490, 0x4BF)) {
        return c & ~char32_t{1};
    }
    if (within(0x561, 0x586)) {
        return c - 48;  // Armenian
    }
    return c;
}

}  // namespace

char32_t ShiftedCharacter(char32_t plain) {
    constexpr std::string_view kPlain = "`1234567890-=[]\\;',./";
    constexpr std::string_view kShifted = "~!@#$%^&*()_+{}|:\"<>?";
    if (plain < 0x80) {
        const std::size_t at = kPlain.find(static_cast<char>(plain));
        if (plain != 0 && at != std::string_view::npos) {
            return static_cast<unsigned char>(kShifted[at]);
        }
    }
    return Capital(plain);
}

std::vector<std::string> SplitText(const std::string& utf8, std::size_t limit) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    while (start < utf8.size()) {
        std::size_t end = std::min(start + limit, utf8.size());
        const std::size_t cut = CharacterStart(utf8, end);
        if (cut > start) {
            end = cut;  // else the text is no UTF-8, and any place is as good
        }
        pieces.push_back(utf8.substr(start, end - start));
        start = end;
    }
    return pieces;
}

namespace {

bool IsFixed(u8 code) {
    return ControlCharacter(code) != 0;
}

// The key's own character with Command held, whatever text a desktop makes of that; "" where the
// layout has none, and without Command.
std::string TextWithCommand(const KeyPress& press) {
    if (!press.command) {
        return "";
    }
    if (!press.shift) {
        return Utf8(press.plain);
    }
    if (press.shifted != 0) {
        return Utf8(press.shifted);
    }
    return Utf8(ShiftedCharacter(press.plain));
}

void TellKeyDown(const KeyPress& press, const std::string& text) {
    heldBack.reset();
    pressedText[press.code] = text;
    Tell(desktopEvents.keyDown, press.code, text);
}

}  // namespace

void PressKey(const KeyPress& press) {
    FinishKeyPress();
    if (press.code >= kKeys) {
        return;
    }
    heldBack = press;
    // Keys that have their own control character wait for nothing.
    if (IsFixed(press.code)) {
        FinishKeyPress();
    }
}

void FinishKeyPress() {
    if (!heldBack) {
        return;
    }
    const KeyPress press = *heldBack;
    if (const char control = ControlCharacter(press.code)) {
        TellKeyDown(press, std::string(1, control));
    } else if (const std::string own = TextWithCommand(press); !own.empty()) {
        TellKeyDown(press, own);
    } else if (const char keypad = KeypadControlCharacter(press.code)) {
        TellKeyDown(press, std::string(1, keypad));
    } else {
        TellKeyDown(press, "");  // a dead key, or one without a character
    }
}

void TypeText(const std::string& text) {
    if (text.empty()) {
        return;
    }
    if (heldBack) {
        const KeyPress press = *heldBack;
        const std::string own = TextWithCommand(press);
        TellKeyDown(press, own.empty() ? text : own);
        return;
    }
    for (const std::string& piece : SplitText(text, kTextMessageBytes)) {
        Tell(desktopEvents.textInput, piece);
    }
}

void ReleaseKey(u8 code) {
    FinishKeyPress();
    if (code >= kKeys) {
        return;
    }
    const std::string text = std::exchange(pressedText[code], {});
    Tell(desktopEvents.keyUp, code, text);
}

bool KeyPressIsHeldBack() {
    return heldBack.has_value();
}

void ResetKeyText() {
    heldBack.reset();
    pressedText.fill({});
}

}  // namespace moxi
