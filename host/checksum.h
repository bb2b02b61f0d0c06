#pragma once
// Names for contents: SHA-256, in hexadecimal digits.

#include <string>
#include <string_view>

namespace moxi {

std::string HashOfText(std::string_view text);

// Of a regular file from its start; "" when it is none or cannot be read. An open file is read
// where it stands and stays open.
std::string HashOfFile(int file);
std::string HashOfFile(const std::string& path);

}  // namespace moxi
