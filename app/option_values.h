#pragma once
// What the values of options may be.

#include <string>

#include "base/types.h"
#include "desktop/desktop.h"

namespace moxi {

// Checks say "" or what is wrong with a value.
std::string CheckFilled(const std::string& text);
// Decimal digits and nothing else; at most 2^40.
std::string CheckMilliseconds(const std::string& text);
// A percentage in decimal digits.
std::string CheckVolume(const std::string& text);
// A number of steps, or "fit".
std::string CheckScale(const std::string& text);

// Of a text that its check has found to be one.
u64 NumberOf(const std::string& text);

// "YYYY-MM-DD hh:mm:ss", a date that exists.
bool ParseDate(const std::string& text, DateTime& date);
// A number of bytes, with K, M, G or T a power of 1,024 as many.
bool ParseSize(const std::string& text, u64& bytes);

// Without a trailing "/", but for the root; "" stays.
std::string AbsolutePath(const std::string& path);

}  // namespace moxi
