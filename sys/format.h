#pragma once
// printf for exactly one value. The format comes from the module, so it is interpreted here and
// never handed to the C library: whatever it says, only the one value is read.

#include <string>

#include "base/types.h"

namespace moxi {

struct FormatValue {
    enum class Kind { Number32, Number64, Text };
    Kind kind;
    u64 number;  // the bits of a number (a 32-bit one in the low half), or the text's address
};

// Formats `format` with `value`. The first conversion that fits the value's kind takes it:
// d i u o x X c with the length modifiers hh h l ll j z t for a number (c without a modifier), s
// for text. "%%" is a percent sign. Every other conversion stands in the result as it stands in
// the format: further ones, those of another kind, n, p, floating point, "*" widths, widths and
// precisions beyond an int.
//
// A number longer or shorter than its conversion asks for is extended (with sign for d and i) or
// cut. Of a text with a precision only that many bytes are touched.
//
// FormattedLength gives the length of what FormatOneValue will give, so that a caller can refuse an
// enormous width before memory is spent on it. A text outside the image is a memory fault.
u64 FormattedLength(const char* format, const FormatValue& value);
std::string FormatOneValue(const char* format, const FormatValue& value);

}  // namespace moxi
