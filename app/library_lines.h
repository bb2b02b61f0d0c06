#pragma once
// What libraries write to standard error by themselves comes as lines of the system log, one for
// one, so that nothing stands there but the program's own kinds of lines.

namespace moxi {

// Libraries' lines are kept from here on. What the program itself writes (base/log.h) is not
// touched.
void TakeLibraryLines();

// Tells what has been kept and from here on each line as it comes, from a thread of its own.
void TellLibraryLines();

// Tells the rest; what libraries write afterwards goes to standard error as it is. Nothing when
// there is nothing to give back.
void GiveBackStandardError();

}  // namespace moxi
