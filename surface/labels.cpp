#include "surface/labels.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include "surface/words.h"

namespace moxi {

namespace {

struct Label {
    std::string_view name;
    const char* english;
};

constexpr Label kKeys[] = {
    {"return", ForTranslation("Return")},
    {"space", ForTranslation("Space")},
    {"escape", ForTranslation("Escape")},
    {"tab", ForTranslation("Tab")},
    {"backspace", ForTranslation("Backspace")},
    {"left", ForTranslation("Left arrow")},
    {"right", ForTranslation("Right arrow")},
    {"up", ForTranslation("Up arrow")},
    {"down", ForTranslation("Down arrow")},
    {"home", ForTranslation("Home")},
    {"end", ForTranslation("End")},
    {"page-up", ForTranslation("Page up")},
    {"page-down", ForTranslation("Page down")},
    {"insert", ForTranslation("Insert")},
    {"delete", ForTranslation("Delete")},
    {"minus", "-"},
    {"equals", "="},
    {"left-bracket", "["},
    {"right-bracket", "]"},
    {"backslash", "\\"},
    {"semicolon", ";"},
    {"quote", "'"},
    {"comma", ","},
    {"period", "."},
    {"slash", "/"},
    {"grave", "`"},
    {"keypad-enter", ForTranslation("Keypad Enter")},
};

struct KeypadKey {
    std::string_view name;
    std::string_view sign;
};

constexpr KeypadKey kKeypad[] = {
    {"keypad-point", "."}, {"keypad-plus", "+"},   {"keypad-minus", "-"},
    {"keypad-times", "*"}, {"keypad-divide", "/"}, {"keypad-equals", "="},
};

constexpr std::string_view kPadControls[] = {"a",
                                             "b",
                                             "x",
                                             "y",
                                             "leftshoulder",
                                             "rightshoulder",
                                             "lefttrigger",
                                             "righttrigger",
                                             "back",
                                             "start",
                                             "guide",
                                             "leftstick",
                                             "rightstick",
                                             "dpup",
                                             "dpdown",
                                             "dpleft",
                                             "dpright",
                                             "leftx-",
                                             "leftx+",
                                             "lefty-",
                                             "lefty+",
                                             "rightx-",
                                             "rightx+",
                                             "righty-",
                                             "righty+"};

constexpr Label kPadLabels[] = {
    {"a", "A"},
    {"b", "B"},
    {"x", "X"},
    {"y", "Y"},
    {"leftshoulder", ForTranslation("Left shoulder")},
    {"rightshoulder", ForTranslation("Right shoulder")},
    {"lefttrigger", ForTranslation("Left trigger")},
    {"righttrigger", ForTranslation("Right trigger")},
    {"back", ForTranslation("Back button")},
    {"start", ForTranslation("Start button")},
    {"guide", ForTranslation("Guide button")},
    {"leftstick", ForTranslation("Left stick pressed")},
    {"rightstick", ForTranslation("Right stick pressed")},
    {"dpup", ForTranslation("Cross up")},
    {"dpdown", ForTranslation("Cross down")},
    {"dpleft", ForTranslation("Cross left")},
    {"dpright", ForTranslation("Cross right")},
    {"leftx-", ForTranslation("Left stick to the left")},
    {"leftx+", ForTranslation("Left stick to the right")},
    {"lefty-", ForTranslation("Left stick up")},
    {"lefty+", ForTranslation("Left stick down")},
    {"rightx-", ForTranslation("Right stick to the left")},
    {"rightx+", ForTranslation("Right stick to the right")},
    {"righty-", ForTranslation("Right stick up")},
    {"righty+", ForTranslation("Right stick down")},
};

constexpr std::string_view kPadActions[] = {
    "return",       "space",   "escape",  "tab",    "backspace",  "left",
    "right",        "up",      "down",    "home",   "end",        "page-up",
    "page-down",    "shift",   "command", "option", "mouse-left", "mouse-right",
    "mouse-middle", "pointer", "panel",   "none"};

constexpr Label kActions[] = {
    {"shift", ForTranslation("Shift")},
    {"command", ForTranslation("Ctrl")},
    {"option", ForTranslation("Alt")},
    {"mouse-left", ForTranslation("Left mouse button")},
    {"mouse-right", ForTranslation("Right mouse button")},
    {"mouse-middle", ForTranslation("Middle mouse button")},
    {"pointer", ForTranslation("Moves the pointer")},
    {"panel", ForTranslation("Opens this panel")},
    {"none", ForTranslation("Nothing")},
};

template <size_t n>
const char* Find(const Label (&labels)[n], std::string_view name) {
    const auto* const found =
        std::find_if(std::begin(labels), std::end(labels),
                     [name](const Label& label) { return label.name == name; });
    return found != std::end(labels) ? found->english : nullptr;
}

}  // namespace

std::string Filled(std::string_view text, std::string_view word) {
    std::string filled(text);
    const size_t at = filled.find("%s");
    return at == std::string::npos ? filled : filled.replace(at, 2, word);
}

std::string KeyLabel(std::string_view name) {
    if (const char* const english = Find(kKeys, name)) {
        return Words(english);
    }
    constexpr std::string_view kPrefix = "keypad-";
    if (name.substr(0, kPrefix.size()) == kPrefix) {
        std::string_view sign = name.substr(kPrefix.size());
        for (const KeypadKey& key : kKeypad) {
            if (key.name == name) {
                sign = key.sign;
            }
        }
        return Filled(Words("Keypad %s"), sign);
    }
    std::string label(name);
    const bool isFunctionKey = label.size() > 1 && label[0] == 'f';
    if (label.size() == 1 || isFunctionKey) {
        label[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(label[0])));
    }
    return label.size() == 2 && !isFunctionKey ? Filled(Words("Key %s"), label) : label;
}

std::span<const std::string_view> PadControls() {
    return kPadControls;
}

std::span<const std::string_view> PadActions() {
    return kPadActions;
}

std::string PadControlLabel(std::string_view control) {
    const char* const english = Find(kPadLabels, control);
    return english != nullptr ? Words(english) : std::string(control);
}

std::string PadActionLabel(std::string_view action) {
    const char* const english = Find(kActions, action);
    return english != nullptr ? Words(english) : KeyLabel(action);
}

}  // namespace moxi
