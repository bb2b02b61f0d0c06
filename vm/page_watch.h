#pragma once
// Notices writes into pages of the image that hold translated code. A watched page is
// write-protected. The first write into it, whoever makes it, lifts the protection and is
// remembered, so a page that is still watched has not changed.

#include "base/types.h"

namespace moxi {

// Begins anew for the image as it is now: nothing is watched.
void StartWatching();

// Nothing is watched any more.
void StopWatching();

// Watches the pages of the bytes [start, end) of the image from now on. False when one of them
// cannot be watched: the header's page, pages beyond the first 16 MB, and any page that has been
// written while it was watched.
bool WatchPages(u32 start, u32 end);

// Whether the pages of all these bytes are still watched, so that nothing in them has changed.
bool ArePagesWatched(u32 start, u32 end);

// Whether a watched page has been written since this was asked last.
bool WasWatchedPageWritten();

// Called by the fault handler, on any thread, with the host address of an access that failed. True
// when the page was only watched: its protection is lifted, and the access can be repeated.
bool LetPageGo(const void* address);

// Lifts the protection of pages in advance. Needed before a system call writes there, since such a
// write does not raise a signal but makes the call fail.
void LetPagesGo(const void* start, u64 size);

}  // namespace moxi
