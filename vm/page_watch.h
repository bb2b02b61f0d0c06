#pragma once
// Pages of the image that nobody is expected to write, since code of the module was translated
// there: they are protected against writing, and the first write into one, by whomever, lifts its
// protection and is remembered. So what is still watched has not changed.

#include "base/types.h"

namespace moxi {

// Begins anew for the image as it is now: nothing is watched.
void StartWatching();

// Nothing is watched any more.
void StopWatching();

// Watches the pages of the bytes [start, end) of the image from now on. False when that cannot be:
// for the header's page, for what lies beyond the first 16 MB, and for a page that was written
// while it was watched.
bool WatchPages(u32 start, u32 end);

// Whether all these bytes have been watched since, and nobody has written into their pages.
bool ArePagesWatched(u32 start, u32 end);

// Whether a watched page has been written since this was asked last.
bool WasWatchedPageWritten();

// A write failed at this place of the host's memory: true when that was the watch's doing and it
// can be done again. In a signal's handler, on any thread.
bool LetPageGo(const void* address);

// The same before the system itself writes into the host's memory there, which would fail.
void LetPagesGo(const void* start, u64 size);

}  // namespace moxi
