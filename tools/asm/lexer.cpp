#include "tools/asm/lexer.h"

#include <algorithm>
#include <charconv>

#include "base/hex_digit.h"

namespace moxi {

namespace mxasm {

bool IsNameStart(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool IsNamePart(char c) {
    return IsNameStart(c) || (c >= '0' && c <= '9');
}

std::string UpperCase(std::string_view text) {
    std::string upper(text);
    for (char& c : upper) {
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
        }
    }
    return upper;
}

std::string FirstWord(std::string_view text) {
    size_t at = 0;
    const auto skipBlanks = [&] {
        while (at < text.size() && (text[at] == ' ' || text[at] == '\t')) {
            ++at;
        }
    };
    for (;;) {
        skipBlanks();
        const size_t start = at;
        if (at < text.size() && (text[at] == '.' || text[at] == '@')) {
            ++at;
        }
        while (at < text.size() && IsNamePart(text[at])) {
            ++at;
        }
        const std::string_view word = text.substr(start, at - start);
        skipBlanks();
        const bool isLabel = !word.empty() && at < text.size() && text[at] == ':';
        if (!isLabel) {
            return UpperCase(word);
        }
        ++at;
    }
}

SourcePosition PositionIn(const Line& line, size_t index) {
    SourcePosition position = line.position;
    if (line.arguments != nullptr && !line.arguments->empty()) {
        // A place beyond the end of the line belongs to what stands at its end.
        position.argument = (*line.arguments)[std::min(index, line.arguments->size() - 1)];
    }
    if (line.columns == nullptr) {
        position.column = static_cast<u32>(index + 1);
    } else if (index < line.columns->size()) {
        position.column = (*line.columns)[index];
    } else {
        position.column = line.columns->empty() ? 1 : line.columns->back() + 1;
    }
    return position;
}

namespace {

constexpr std::string_view kTwoCharOperators[] = {"<<", ">>", "<=", ">=", "==", "!=", "&&", "||"};
constexpr std::string_view kOneCharOperators = "+-*/%&|^~!<>()[]#,:=$";

struct Scanner {
    Sources& sources;
    const Line& line;
    std::string_view text;
    size_t at = 0;

    char Peek(size_t ahead = 0) const { return at + ahead < text.size() ? text[at + ahead] : '\0'; }
    bool Fail(size_t index, std::string what) {
        Report(sources, PositionIn(line, index), std::move(what));
        return false;
    }
};

// One character of a string or character literal, escapes resolved.
bool ScanCharacter(Scanner& scan, char& out) {
    const size_t start = scan.at;
    const char c = scan.Peek();
    ++scan.at;
    if (c != '\\') {
        out = c;
        return true;
    }
    const char escape = scan.Peek();
    if (scan.at >= scan.text.size()) {
        return scan.Fail(start, "nothing follows the backslash");
    }
    ++scan.at;
    switch (escape) {
        case 'n': out = '\n'; return true;
        case 'r': out = '\r'; return true;
        case 't': out = '\t'; return true;
        case '0': out = '\0'; return true;
        case '\\':
        case '"':
        case '\'': out = escape; return true;
        case 'x': {
            const int high = HexDigit(scan.Peek());
            const int low = high < 0 ? -1 : HexDigit(scan.Peek(1));
            if (low < 0) {
                return scan.Fail(start, "\\x needs two hexadecimal digits");
            }
            scan.at += 2;
            out = static_cast<char>(high * 16 + low);
            return true;
        }
        default:
            return scan.Fail(start,
                             "unknown escape; there are \\n \\r \\t \\0 \\\\ \\\" \\' and \\xHH");
    }
}

bool ScanString(Scanner& scan, Token& token) {
    const size_t start = scan.at++;
    token.kind = TokenKind::String;
    for (;;) {
        if (scan.at >= scan.text.size()) {
            return scan.Fail(start, "the string has no closing quote");
        }
        if (scan.Peek() == '"') {
            break;
        }
        char c = 0;
        if (!ScanCharacter(scan, c)) {
            return false;
        }
        token.bytes += c;
    }
    ++scan.at;
    return true;
}

bool ScanCharacterLiteral(Scanner& scan, Token& token) {
    const size_t start = scan.at++;
    token.kind = TokenKind::Integer;
    char c = 0;
    if (scan.at >= scan.text.size()) {
        return scan.Fail(start, "the character has no closing quote");
    }
    if (scan.Peek() == '\'') {
        return scan.Fail(start, "there is no character between the quotes");
    }
    if (!ScanCharacter(scan, c)) {
        return false;
    }
    if (scan.Peek() != '\'') {
        return scan.Fail(start, static_cast<u8>(c) >= 0x80
                                    ? "a character is one byte; this one takes several"
                                    : "the character has no closing quote");
    }
    ++scan.at;
    token.integer = static_cast<u8>(c);
    return true;
}

bool ScanInteger(Scanner& scan, Token& token, int base, size_t digitsAt) {
    const char* first = scan.text.data() + digitsAt;
    const char* last = scan.text.data() + scan.text.size();
    const auto [end, error] = std::from_chars(first, last, token.integer, base);
    const size_t start = scan.at;
    if (error == std::errc::result_out_of_range) {
        return scan.Fail(start, "the number does not fit in 64 bits");
    }
    if (error != std::errc{}) {
        return scan.Fail(start, "a digit is missing");
    }
    scan.at = static_cast<size_t>(end - scan.text.data());
    token.kind = TokenKind::Integer;
    return true;
}

// True when the digits at `at` go on as a floating-point number: "1.5" or "1e9", "1e-9".
bool IsFloat(std::string_view text, size_t at) {
    const auto digit = [&](size_t i) {
        return i < text.size() && text[i] >= '0' && text[i] <= '9';
    };
    while (digit(at)) {
        ++at;
    }
    if (at >= text.size()) {
        return false;
    }
    if (text[at] == '.') {
        return digit(at + 1);
    }
    if (text[at] != 'e' && text[at] != 'E') {
        return false;
    }
    const bool sign = at + 1 < text.size() && (text[at + 1] == '-' || text[at + 1] == '+');
    return digit(at + (sign ? 2 : 1));
}

bool ScanNumber(Scanner& scan, Token& token) {
    const size_t start = scan.at;
    const char second = scan.Peek(1);
    const bool isHex = scan.Peek() == '0' && (second == 'x' || second == 'X');
    const bool isBinary = scan.Peek() == '0' && (second == 'b' || second == 'B');
    if (isHex || isBinary) {
        if (!ScanInteger(scan, token, isHex ? 16 : 2, start + 2)) {
            return false;
        }
    } else if (IsFloat(scan.text, start)) {
        const char* first = scan.text.data() + start;
        const char* last = scan.text.data() + scan.text.size();
        const auto [end, error] = std::from_chars(first, last, token.real);
        if (error != std::errc{}) {
            return scan.Fail(start, "the number does not fit in a double");
        }
        scan.at = static_cast<size_t>(end - scan.text.data());
        token.kind = TokenKind::Float;
    } else if (!ScanInteger(scan, token, 10, start)) {
        return false;
    }
    if (IsNamePart(scan.Peek())) {
        return scan.Fail(scan.at, "this does not belong to a number");
    }
    return true;
}

bool ScanPunctuation(Scanner& scan, Token& token) {
    token.kind = TokenKind::Punctuation;
    for (const std::string_view two : kTwoCharOperators) {
        if (scan.text.substr(scan.at, 2) == two) {
            scan.at += 2;
            return true;
        }
    }
    if (scan.text.substr(scan.at, 3) == "...") {
        scan.at += 3;
        return true;
    }
    const char c = scan.Peek();
    if (kOneCharOperators.find(c) != std::string_view::npos) {
        ++scan.at;
        return true;
    }
    if (c == '\\') {
        return scan.Fail(scan.at,
                         "a backslash stands for a macro parameter, \\@ or \\+; there is "
                         "none of that name here");
    }
    if (c == '@') {
        return scan.Fail(scan.at, "a local label is @ and a name");
    }
    if (c == '.') {
        return scan.Fail(scan.at, "a name is missing after the dot");
    }
    return scan.Fail(scan.at, "unexpected character " + Quoted(scan.text.substr(scan.at, 1)));
}

bool ScanToken(Scanner& scan, Token& token) {
    const char c = scan.Peek();
    if (c == '"') {
        return ScanString(scan, token);
    }
    if (c == '\'') {
        return ScanCharacterLiteral(scan, token);
    }
    if (c >= '0' && c <= '9') {
        return ScanNumber(scan, token);
    }
    const bool prefixed = (c == '.' || c == '@') && IsNamePart(scan.Peek(1));
    if (!prefixed && !IsNameStart(c)) {
        return ScanPunctuation(scan, token);
    }
    token.kind = TokenKind::Name;
    if (c == '.') {
        token.kind = TokenKind::DotName;
    }
    if (c == '@') {
        token.kind = TokenKind::LocalName;
    }
    ++scan.at;
    while (IsNamePart(scan.Peek())) {
        ++scan.at;
    }
    return true;
}

}  // namespace

bool Tokenize(Sources& sources, const Line& line, std::vector<Token>& tokens) {
    tokens.clear();
    tokens.reserve(16);  // as many as most lines have
    Scanner scan{sources, line, line.text};
    for (;;) {
        const size_t before = scan.at;
        while (scan.Peek() == ' ' || scan.Peek() == '\t') {
            ++scan.at;
        }
        Token token;
        token.spaceBefore = scan.at != before;
        token.index = static_cast<u32>(scan.at);
        if (scan.at >= scan.text.size() || scan.Peek() == ';') {
            token.text = scan.text.substr(scan.at, 0);
            tokens.push_back(std::move(token));
            return true;
        }
        const size_t start = scan.at;
        if (!ScanToken(scan, token)) {
            return false;
        }
        token.text = scan.text.substr(start, scan.at - start);
        tokens.push_back(std::move(token));
    }
}

}  // namespace mxasm

}  // namespace moxi
