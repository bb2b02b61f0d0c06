#pragma once
// A folder that takes the place of the user's own where a user has none.

#include <string>

namespace moxi {

// Makes a private folder below $TMPDIR or /tmp and gives its path, "" when that fails. Another
// process removes it with all it holds as soon as this one has ended, however it ends: a copy of
// this one with the rights of the moment, so it is made before the sandbox and before threads.
std::string MakeTemporaryFolder();

// Has the folder removed, and returns when it is gone. Nothing when none was made.
void RemoveTemporaryFolder();

}  // namespace moxi
