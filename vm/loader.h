#pragma once

namespace moxi {

// Loads MAIN.MX into the module image.

// True on success. On failure the fatal message box or, where the design has none, one line of
// the system log has said why, and the caller ends the application.
bool LoadModule();

}  // namespace moxi
