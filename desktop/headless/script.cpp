#include "desktop/headless/script.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

#include "base/hex_digit.h"
#include "desktop/common/rectangles.h"

namespace moxi {

namespace {

constexpr i64 kLargestKeyCode = 0x7F;
constexpr i64 kLatestTime = i64{1} << 40;  // ms; some decades

// What is wrong with a line. Thrown by the reader, caught by ParseScript.
struct LineError {
    std::string what;
};

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

bool ParseInteger(std::string_view word, int base, i64& value) {
    const char* const end = word.data() + word.size();
    const auto result = std::from_chars(word.data(), end, value, base);
    return !word.empty() && result.ec == std::errc() && result.ptr == end;
}

// Takes the words and texts of one line from left to right. Each function throws a LineError, in
// which `what` names the argument, when the line does not go on with what it takes.
class LineReader {
  public:
    explicit LineReader(std::string_view line) : rest(line) { SkipBlanks(); }

    bool AtEnd() const { return rest.empty(); }

    std::string_view Word(const char* what) {
        if (rest.empty()) {
            throw LineError{std::string(what) + " is missing"};
        }
        return Take(Peek().size());
    }

    // The word that comes next, "" at the end.
    std::string_view Peek() const {
        size_t length = 0;
        while (length < rest.size() && !IsBlank(rest[length])) {
            ++length;
        }
        return rest.substr(0, length);
    }

    i64 Integer(const char* what, i64 least, i64 most) {
        const std::string_view word = Word(what);
        i64 value = 0;
        if (!ParseInteger(word, 10, value)) {
            throw LineError{std::string(what) + " is no whole number: " + std::string(word)};
        }
        return InRange(what, value, least, most);
    }

    i64 Position(const char* what) {
        return Integer(what, std::numeric_limits<i32>::min(), std::numeric_limits<i32>::max());
    }

    i64 KeyCode() {
        const std::string_view word = Word("the key code");
        i64 value = 0;
        if (word.front() == '-' || !ParseInteger(word, 16, value) || value > kLargestKeyCode) {
            throw LineError{"the key code is not 00 to 7F: " + std::string(word)};
        }
        return value;
    }

    // A number of 32 bits, signed or not, in decimal or, with 0x before it, in hexadecimal.
    i64 MessageWord(const char* what) {
        const std::string_view word = Word(what);
        i64 value = 0;
        const bool hex = word.size() > 2 && word[0] == '0' && (word[1] == 'x' || word[1] == 'X') &&
                         word[2] != '-';
        if (hex ? !ParseInteger(word.substr(2), 16, value) : !ParseInteger(word, 10, value)) {
            throw LineError{std::string(what) + " is no number: " + std::string(word)};
        }
        return InRange(what, value, std::numeric_limits<i32>::min(),
                       std::numeric_limits<u32>::max());
    }

    double Decimal(const char* what) {
        const std::string_view word = Word(what);
        double value = 0;
        const char* const end = word.data() + word.size();
        const auto result = std::from_chars(word.data(), end, value, std::chars_format::fixed);
        if (result.ec != std::errc() || result.ptr != end || !std::isfinite(value)) {
            throw LineError{std::string(what) + " is no decimal number: " + std::string(word)};
        }
        return value;
    }

    std::string Text(const char* what) {
        if (rest.empty()) {
            throw LineError{std::string(what) + " is missing"};
        }
        if (rest.front() != '"') {
            throw LineError{std::string(what) + " is not in double quotes"};
        }
        std::string text;
        size_t i = 1;
        while (i < rest.size() && rest[i] != '"') {
            if (rest[i] == '\\') {
                text += Escape(i);
            } else {
                text += rest[i++];
            }
        }
        if (i >= rest.size()) {
            throw LineError{std::string(what) + " lacks its closing quote"};
        }
        if (i + 1 < rest.size() && !IsBlank(rest[i + 1])) {
            throw LineError{"unexpected characters after the closing quote"};
        }
        Take(i + 1);
        return text;
    }

    std::string File() {
        if (!rest.empty() && rest.front() == '"') {
            std::string name = Text("the file name");
            if (name.empty()) {
                throw LineError{"the file name is empty"};
            }
            return name;
        }
        return std::string(Word("the file name"));
    }

  private:
    std::string_view rest;

    void SkipBlanks() {
        while (!rest.empty() && IsBlank(rest.front())) {
            rest.remove_prefix(1);
        }
    }

    std::string_view Take(size_t length) {
        const std::string_view word = rest.substr(0, length);
        rest.remove_prefix(length);
        SkipBlanks();
        return word;
    }

    static i64 InRange(const char* what, i64 value, i64 least, i64 most) {
        if (value < least || value > most) {
            throw LineError{std::string(what) + " is out of range: " + std::to_string(value)};
        }
        return value;
    }

    // The character of the escape at rest[i], which is moved past it.
    char Escape(size_t& i) {
        const char kind = i + 1 < rest.size() ? rest[i + 1] : '\0';
        i += 2;
        switch (kind) {
            case '"': return '"';
            case '\\': return '\\';
            case 'n': return '\n';
            case 't': return '\t';
            case 'x': break;
            default: throw LineError{"unknown escape in the text"};
        }
        const int high = i < rest.size() ? HexDigit(rest[i]) : -1;
        const int low = i + 1 < rest.size() ? HexDigit(rest[i + 1]) : -1;
        i += 2;
        if (high < 0 || low < 0) {
            throw LineError{"\\x needs two hexadecimal digits"};
        }
        if (high == 0 && low == 0) {
            throw LineError{"a text cannot hold \\x00"};
        }
        return static_cast<char>(high * 16 + low);
    }
};

void ReadKey(LineReader& line, ScriptEvent& event) {
    event.numbers[0] = line.KeyCode();
    event.text = line.Text("the text");
}

void ReadPoint(LineReader& line, i64* numbers) {
    numbers[0] = line.Position("X");
    numbers[1] = line.Position("Y");
}

void ReadButtonAndPoint(LineReader& line, ScriptEvent& event) {
    event.numbers[0] = line.Integer("the button", 0, std::numeric_limits<i32>::max());
    ReadPoint(line, event.numbers + 1);
}

void ReadModifiers(LineReader& line, ScriptEvent& event) {
    while (!line.AtEnd()) {
        const std::string_view word = line.Word("a modifier");
        if (word == "shift") {
            event.shift = true;
        } else if (word == "command") {
            event.command = true;
        } else if (word == "option") {
            event.option = true;
        } else {
            throw LineError{"unknown modifier: " + std::string(word)};
        }
    }
}

void ReadFullScreen(LineReader& line, ScriptEvent& event) {
    const std::string_view word = line.Word("on or off");
    if (word != "on" && word != "off") {
        throw LineError{"full-screen takes on or off, not " + std::string(word)};
    }
    event.kind = word == "on" ? ScriptEventKind::FullScreenOn : ScriptEventKind::FullScreenOff;
}

void ReadPadButton(LineReader& line, ScriptEvent& event) {
    const std::string_view name = line.Word("the button");
    const auto button = PadButtonNamed(name);
    if (!button) {
        throw LineError{"unknown button: " + std::string(name)};
    }
    event.padButton = *button;
    const std::string_view word = line.Word("down or up");
    if (word != "down" && word != "up") {
        throw LineError{"pad-button takes down or up, not " + std::string(word)};
    }
    event.down = word == "down";
}

void ReadPadAxis(LineReader& line, ScriptEvent& event) {
    const std::string_view name = line.Word("the axis");
    const auto axis = PadAxisNamed(name);
    if (!axis) {
        throw LineError{"unknown axis: " + std::string(name)};
    }
    event.padAxis = *axis;
    const std::string value(line.Peek());
    event.deltas[0] = line.Decimal("the value");
    if (std::abs(event.deltas[0]) > 1) {
        throw LineError{"the value is not -1 to 1: " + value};
    }
}

void ReadArguments(LineReader& line, ScriptEvent& event) {
    switch (event.kind) {
        case ScriptEventKind::KeyDown:
        case ScriptEventKind::KeyUp: ReadKey(line, event); break;
        case ScriptEventKind::Modifiers: ReadModifiers(line, event); break;
        case ScriptEventKind::MouseDown:
            ReadButtonAndPoint(line, event);
            event.numbers[3] =
                line.AtEnd() ? 1 : line.Integer("CLICKS", 0, std::numeric_limits<i32>::max());
            break;
        case ScriptEventKind::MouseUp:
        case ScriptEventKind::MouseDrag: ReadButtonAndPoint(line, event); break;
        case ScriptEventKind::MouseMove: ReadPoint(line, event.numbers); break;
        case ScriptEventKind::Scroll:
            event.deltas[0] = line.Decimal("DX");
            event.deltas[1] = line.Decimal("DY");
            ReadPoint(line, event.numbers);
            break;
        case ScriptEventKind::PadButton: ReadPadButton(line, event); break;
        case ScriptEventKind::PadAxis: ReadPadAxis(line, event); break;
        case ScriptEventKind::Resize:
            event.numbers[0] = line.Integer("the width", 1, kLargestSize);
            event.numbers[1] = line.Integer("the height", 1, kLargestSize);
            break;
        case ScriptEventKind::Move: ReadPoint(line, event.numbers); break;
        case ScriptEventKind::FullScreenOn:
        case ScriptEventKind::FullScreenOff: ReadFullScreen(line, event); break;
        case ScriptEventKind::Expose:
            for (u32 i = 0; i < 4; ++i) {
                constexpr const char* kNames[] = {"X", "Y", "the width", "the height"};
                event.deltas[i] = line.Decimal(kNames[i]);
            }
            break;
        case ScriptEventKind::Screens: {
            const std::string sizes(line.Word("the screen sizes"));
            if (!ParseScreenSizes(sizes, event.screens)) {
                throw LineError{"no list of screen sizes WxH[,WxH..]: " + sizes};
            }
            break;
        }
        case ScriptEventKind::Clipboard: event.text = line.Text("the text"); break;
        case ScriptEventKind::Post:
            for (u32 i = 0; i < 4; ++i) {
                constexpr const char* kNames[] = {"the command", "P1", "P2", "P3"};
                event.numbers[i] = line.MessageWord(kNames[i]);
            }
            break;
        case ScriptEventKind::Drop:
        case ScriptEventKind::Screenshot: event.text = line.File(); break;
        case ScriptEventKind::LiveResizeStart:
        case ScriptEventKind::LiveResizeEnd:
        case ScriptEventKind::Minimize:
        case ScriptEventKind::Restore:
        case ScriptEventKind::Activate:
        case ScriptEventKind::Deactivate:
        case ScriptEventKind::Close:
        case ScriptEventKind::Quit: break;
    }
}

struct EventName {
    std::string_view name;
    ScriptEventKind kind;
};

constexpr EventName kEventNames[] = {
    {"key-down", ScriptEventKind::KeyDown},
    {"key-up", ScriptEventKind::KeyUp},
    {"modifiers", ScriptEventKind::Modifiers},
    {"mouse-down", ScriptEventKind::MouseDown},
    {"mouse-up", ScriptEventKind::MouseUp},
    {"mouse-move", ScriptEventKind::MouseMove},
    {"mouse-drag", ScriptEventKind::MouseDrag},
    {"scroll", ScriptEventKind::Scroll},
    {"pad-button", ScriptEventKind::PadButton},
    {"pad-axis", ScriptEventKind::PadAxis},
    {"resize", ScriptEventKind::Resize},
    {"live-resize-start", ScriptEventKind::LiveResizeStart},
    {"live-resize-end", ScriptEventKind::LiveResizeEnd},
    {"move", ScriptEventKind::Move},
    {"minimize", ScriptEventKind::Minimize},
    {"restore", ScriptEventKind::Restore},
    {"full-screen", ScriptEventKind::FullScreenOn},
    {"activate", ScriptEventKind::Activate},
    {"deactivate", ScriptEventKind::Deactivate},
    {"expose", ScriptEventKind::Expose},
    {"close", ScriptEventKind::Close},
    {"quit", ScriptEventKind::Quit},
    {"screens", ScriptEventKind::Screens},
    {"clipboard", ScriptEventKind::Clipboard},
    {"post", ScriptEventKind::Post},
    {"drop", ScriptEventKind::Drop},
    {"screenshot", ScriptEventKind::Screenshot},
};

ScriptEvent ParseLine(std::string_view text) {
    LineReader line(text);
    ScriptEvent event;
    event.milliseconds = static_cast<u64>(line.Integer("the time", 0, kLatestTime));
    const std::string_view name = line.Word("the event");
    for (const EventName& known : kEventNames) {
        if (known.name != name) {
            continue;
        }
        event.kind = known.kind;
        ReadArguments(line, event);
        if (!line.AtEnd()) {
            throw LineError{"too many arguments for " + std::string(name)};
        }
        return event;
    }
    throw LineError{"unknown event: " + std::string(name)};
}

bool IsSkipped(std::string_view line) {
    if (!line.empty() && line.front() == '#') {
        return true;
    }
    for (const char c : line) {
        if (!IsBlank(c)) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::string ParseScript(const std::string& text, std::vector<ScriptEvent>& events) {
    events.clear();
    u64 latest = 0;
    size_t number = 0;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        std::string_view line = std::string_view(text).substr(start, end - start);
        start = end + 1;
        ++number;
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        if (IsSkipped(line)) {
            continue;
        }
        try {
            if (line.find('\0') != std::string_view::npos) {
                throw LineError{"a NUL in the line"};
            }
            ScriptEvent event = ParseLine(line);
            if (event.milliseconds < latest) {
                throw LineError{"the time goes backwards"};
            }
            latest = event.milliseconds;
            events.push_back(std::move(event));
        } catch (const LineError& error) {
            return std::to_string(number) + ": " + error.what;
        }
    }
    return "";
}

bool ParseScreenSizes(const std::string& text, std::vector<ViewSize>& sizes) {
    sizes.clear();
    for (size_t start = 0; start <= text.size();) {
        const size_t end = std::min(text.find(',', start), text.size());
        const std::string_view item = std::string_view(text).substr(start, end - start);
        const size_t cross = item.find('x');
        i64 width = 0;
        i64 height = 0;
        if (cross == std::string_view::npos || !ParseInteger(item.substr(0, cross), 10, width) ||
            !ParseInteger(item.substr(cross + 1), 10, height) || width < 1 || height < 1 ||
            width > kLargestSize || height > kLargestSize) {
            return false;
        }
        sizes.push_back({static_cast<i32>(width), static_cast<i32>(height)});
        start = end + 1;
    }
    return true;
}

std::string QuoteScriptText(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += c;
        } else if (c == '\n') {
            quoted += "\\n";
        } else if (static_cast<unsigned char>(c) < 32 || c == 127) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02X",
                          static_cast<unsigned>(static_cast<unsigned char>(c)));
            quoted += escape;
        } else {
            quoted += c;
        }
    }
    return quoted + '"';
}

}  // namespace moxi
