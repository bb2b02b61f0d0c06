#pragma once
// The system log, and formatted text for it.

#include <string>
#include <string_view>

namespace moxi {

// One line on standard error, "log: TEXT"; a line feed is written as \n, a backslash as \\ and any
// other control character (a byte below 32, or 127) as \x1B: nothing in a text reaches the terminal
// as a command. Any thread.
void SystemLog(std::string_view text);

// Where the lines go: standard error, or a copy of it while that is kept for libraries' lines
// (app/library_lines.h).
inline constinit int errorDescriptor = 2;

// From now on at most 1,000 lines a second are written. How many were left out says one line more,
// before the next line that is written.
void LimitLog();
// The last chance to say so.
void EndLog();

// The same with another prefix than "log: ".
void WriteErrorLine(std::string_view prefix, std::string_view text);

// A text without control characters, each written as \x1B.
std::string WithoutControls(std::string_view text);

// printf into a string, for messages with addresses and numbers.
[[gnu::format(printf, 1, 2)]] std::string FormatText(const char* format, ...);

}  // namespace moxi
