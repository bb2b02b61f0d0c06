#pragma once
// What happens when the host itself gets no memory: on the main thread the run ends with a fatal
// message and status 1, its dumps written. Another thread gives up the piece of work at hand when
// an operator new of ours fails, and ends the run in the same way, but without the box, when a
// small allocation of a C library does.

namespace moxi {

// Puts the reserve aside that the end of a run needs. Before it a lack of memory ends the process
// as the C++ library has it, without a word.
void PrepareForOutOfMemory();

// The run is ending because of it: nothing that can do without memory asks for any.
bool MemoryIsOut();

}  // namespace moxi
