#pragma once
// Which data folder is a game's own. Games choose their names, so two can have the same one; the
// folder belongs to the game that made it. A stamp in the host's state folder, which no game
// reaches, says which game that is.

#include <string>

namespace moxi {

// Makes the state folder, where stamps lie, while the process is still free to do so: a stage of
// main that comes before the sandbox.
void MakeStateFolder();

// Finds the data folder of the game in `folders`: the one that carries its name, or where that is
// another game's, the name with a number (one log line). Sets folders.dataName and
// folders.moduleInData. A folder given by the user is taken as it is. The folder itself is not
// made. Returns "" or why there is none.
std::string ChooseDataFolder();

// Lets go of what is held so that no other game takes the folder before it is made. For tests.
void ForgetDataFolder();

}  // namespace moxi
