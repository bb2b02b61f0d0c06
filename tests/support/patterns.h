#pragma once
// Regular expressions of ECMAScript. They are compiled in one file: each that includes <regex>
// itself takes seconds longer to compile.

#include <string>
#include <vector>

namespace moxi {

// A match: the whole and its groups behind it, an empty text for a group that took no part. Empty
// where there is none.
using Match = std::vector<std::string>;

// The first in the text.
Match FirstMatch(const std::string& text, const std::string& pattern);

// The text as a whole.
Match WholeMatch(const std::string& text, const std::string& pattern);

// One behind the other.
std::vector<Match> AllMatches(const std::string& text, const std::string& pattern);

// The text with each match replaced; $1 is the first group.
std::string ReplaceMatches(const std::string& text, const std::string& pattern,
                           const std::string& with);

}  // namespace moxi
