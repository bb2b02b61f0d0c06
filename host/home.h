#pragma once
// Where the user's own files lie.

#include <string>

namespace moxi {

// $HOME, else the home of the password database, without a trailing "/"; "" where neither names a
// folder by an absolute path. A home of the password database has to exist: accounts without one
// name a folder there that does not.
std::string HomeFolder();

// One of the base folders of a desktop: what the variable says, which counts only when it is an
// absolute path, else `belowHome` in the home folder; "" where there is no home either.
std::string BaseFolder(const char* variable, const std::string& belowHome);

}  // namespace moxi
