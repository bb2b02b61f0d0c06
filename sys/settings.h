#pragma once
// Settings files: one text file of named sections holding keyed lines, in memory as a whole.
//
//     [0x0001A2F3=Options]
//     Volume= 7
//     Names= "Ann" "Bob"
//
// The number in a section's header is a checksum of the section, written by every save. A section
// is selected, then a key on one of its lines, and the values on the line are read one after
// another from the current position. Nothing in a file is trusted: whatever bytes it holds, every
// function stays inside the buffer and returns.
//
// Every function that needs a buffer, a current section or a position and finds none returns 0
// (or the empty text) and does nothing, unless its comment says otherwise.

#include <string>
#include <string_view>

#include "base/types.h"

namespace moxi {

// A text that was read and the command's result: a length or kBadSettingsText.
struct SettingsText {
    u32 result;
    std::string text;  // what goes into the module's buffer, without its NUL
};
constexpr u32 kBadSettingsText = 0xFFFFFFFF;

// --- Files

// Replaces the buffer by the file's contents and makes its first section current: 1. A file that is
// missing, below 10 bytes, or does not start with a section gives an empty buffer and 0; without
// memory there is no buffer afterwards.
u32 LoadSettings(const char* name);

// Writes all sections, each with its true checksum: 1, or 0 when the file cannot be opened or a
// write came short.
u32 SaveSettings(const char* name);

// Frees the buffer.
void DiscardSettings();

// Empties the buffer and keeps it.
void ClearSettings();

// There is a buffer; there is a section that commands work in.
bool HasSettings();
bool HasCurrentSection();

// --- Sections

// Makes the section current: 1. When there is none of that name, no section is current and a new
// one would go to the end: 0.
u32 SelectSection(std::string_view name);

// Selects the section, made at the end when it does not exist: 1; 0 without memory.
u32 AddSection(std::string_view name);

// Removes the current section; the first one becomes current.
void DeleteSection();

// Makes the section after the current one current and reads its name. `size` is that of the
// module's buffer: a name that does not fit it with its NUL is cut and kBadSettingsText.
SettingsText NextSectionName(u32 size);

// --- Keys of the current section

// Moves the position to the key's first value: 1. Otherwise the position is the section's end: 0.
u32 SelectKey(std::string_view key);

// Removes the key's line with the empty lines after it: 1, or 0 when there is none.
u32 DeleteKey(std::string_view key);

// Replaces the key's line, or adds one, with `text` as it stands; the position is after it.
u32 WriteRawValue(std::string_view key, std::string_view text);

// Adds a value at the end of the key's line, which is made when it does not exist, and clears the
// position. Style 1 is octal, 2 hexadecimal, any other decimal.
//
// A new line for a string opens a gap that is too small for it by the text's length and 2: what
// followed (the next section's header, or nothing) is overwritten. Files and modules rely on it.
u32 AppendNumber(std::string_view key, u32 value, u32 style);
u32 AppendString(std::string_view key, std::string_view text);

// --- Values at the position

struct SettingsNumber {
    bool hasPosition;  // without one there is nothing to store
    u32 result;        // 1 when a digit stood there
    u32 value;
};

// A decimal, octal (0...) or hexadecimal (0x...) number, negative after a "-", modulo 2^32.
SettingsNumber ReadNumber();

// A string in double quotes. 0 when no quote stands there; kBadSettingsText when it holds a
// control character (then the text is empty) or its end does not come within `size` - 1 characters.
SettingsText ReadString(u32 size);

// The rest of the line, or without a position the first line of the section, as it stands but for
// backslashes. kBadSettingsText when it is cut to `size` - 1 characters or has no line end. After
// the last line neither a section nor a position is current.
SettingsText ReadRawLine(u32 size);

// 1 when only blanks stand before the line's end, or there is no position; 0 when not.
u32 AtEndOfLine();

// Discards the buffer and all state. For tests.
void ResetSettings();

}  // namespace moxi
