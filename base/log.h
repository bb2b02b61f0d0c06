#pragma once
// The system log, and formatted text for it.

#include <string>
#include <string_view>

// One line on standard error, "log: TEXT"; a line feed is written as \n and a backslash as \\.
// Any thread.
void SystemLog(std::string_view text);

// Where the lines go: standard error, or a copy of it while that is kept for libraries' lines
// (app/library_lines.h).
inline constinit int errorDescriptor = 2;

// The same with another prefix than "log: ".
void WriteErrorLine(std::string_view prefix, std::string_view text);

// printf into a string, for messages with addresses and numbers.
[[gnu::format(printf, 1, 2)]] std::string FormatText(const char* format, ...);
