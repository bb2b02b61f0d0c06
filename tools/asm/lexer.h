#pragma once
// Splits one line of source into tokens.

#include <string>
#include <string_view>
#include <vector>

#include "tools/asm/source.h"

namespace moxi {

namespace mxasm {

// One line as it is assembled. A line made by a macro keeps the position of the body line it came
// from; `columns` then gives each byte's column there.
struct Line {
    std::string_view text;
    const std::vector<u32>* columns = nullptr;
    const std::vector<u16>* arguments = nullptr;  // SourcePosition::argument of each byte
    SourcePosition position;                      // column unused
};

// The source position of byte `index` (from 0) of a line.
SourcePosition PositionIn(const Line& line, size_t index);

enum class TokenKind : u8 {
    End,         // of the line, or a comment
    Name,        // loop, MOVE, R3
    LocalName,   // @loop
    DotName,     // .long, .L
    Integer,     // 12, 0x1F, 0b11, 'A'
    Float,       // 1.5, 2e9
    String,      // "text", value holds the bytes
    Punctuation  // an operator, bracket or separator, in `text`
};

struct Token {
    TokenKind kind = TokenKind::End;
    bool spaceBefore = false;
    u32 index = 0;          // of the first byte in the line
    std::string_view text;  // as written
    u64 integer = 0;
    f64 real = 0;
    std::string bytes;  // of a string
};

// Tokens of a line, the last one of kind End. Returns false, having reported it, where the text
// holds something that is no token.
bool Tokenize(Sources& sources, const Line& line, std::vector<Token>& tokens);

bool IsNameStart(char c);
bool IsNamePart(char c);

// Upper-case copy of ASCII text.
std::string UpperCase(std::string_view text);

// The first word of a line behind its blanks and labels, in upper case: enough to find the .endm
// and .if lines in text that is only collected or skipped.
std::string FirstWord(std::string_view text);

}  // namespace mxasm

}  // namespace moxi
