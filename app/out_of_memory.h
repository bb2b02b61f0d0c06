#pragma once
// What happens when the host itself gets no memory: on the main thread the run ends with a fatal
// message and status 1, its dumps written; another thread gives up the piece of work at hand.

// To be called first of all.
void PrepareForOutOfMemory();
