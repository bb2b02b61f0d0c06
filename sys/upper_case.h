#pragma once
// Unicode upper-casing.

#include <optional>
#include <string>
#include <string_view>

namespace moxi {

// The full, locale-independent upper-case form of a UTF-8 text; it may be longer than the text.
// Nothing when the text is not valid UTF-8 or there is no memory.
std::optional<std::string> UpperCaseUtf8(std::string_view text);

}  // namespace moxi
