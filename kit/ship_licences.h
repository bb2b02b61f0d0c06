#pragma once
// The licences of what is shipped with a game and was made by others.

#include <string>
#include <vector>

namespace moxi {

// Copies into `folder`, which is made: for each of the files - libraries, fonts, a SoundFont - what
// the Debian package that it came from says of its licence, once a package, and the licences that
// these texts refer to. Where there are no Debian packages nothing is copied. Returns "" or what is
// wrong.
std::string CopyLicencesOf(const std::vector<std::string>& files, const std::string& folder);

}  // namespace moxi
