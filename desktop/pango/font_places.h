#pragma once
// The places where fontconfig reads beside those of the distribution.

#include <string>
#include <vector>

namespace moxi {

// The paths of all folders of fonts and caches and of all files and folders of configuration, where
// the user or the machine has a configuration of its own. Empty where there is only the
// distribution's, whose folders are known; the answer is then cheap.
std::vector<std::string> OwnFontPlaces();

}  // namespace moxi
