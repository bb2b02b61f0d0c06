#pragma once
// The 8-bit character set of fatal messages and web addresses.

#include <string>
#include <string_view>

namespace moxi {

std::string MacRomanToUtf8(std::string_view text);

}  // namespace moxi
