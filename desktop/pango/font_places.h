#pragma once
// Where fontconfig reads that it does not read by default.

#include <string>
#include <vector>

namespace moxi {

// The folders of fonts, configuration and caches where the user or the machine has a configuration
// of its own; none where there is only the distribution's, whose folders are known. Cheap then.
std::vector<std::string> OwnFontPlaces();

}  // namespace moxi
