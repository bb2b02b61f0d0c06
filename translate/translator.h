#pragma once
// Translates modules while they run: code that is executed often goes on in the processor's own
// instructions. Nothing that a module, a service or a message can see depends on it.

#include "base/types.h"

namespace moxi {

struct TranslatorOptions {
    // Instructions executed between two looks at where the module is.
    u32 interval = 1000;
    // Looks that find an address before its code is translated.
    i32 threshold = 16;
    // How many of the newest entries of the PC trace are always complete.
    u32 traceDepth = 16;
    // Instructions, no more than kLargestRegion (translate/region.h).
    u32 largestRegion = 600;
};

// Lets the interpreter of the loaded image translate. An earlier image's code is forgotten. Unless
// it is running then, the interpreter goes on by itself.
enum class TranslatorStart {
    Running,
    Unsupported,    // this processor, or a build that interprets alone
    ImageTooLarge,  // less than 128 KB smaller than the address space
    NoMemory,       // to execute from
};
TranslatorStart StartTranslator(const TranslatorOptions& options);

// The interpreter goes on by itself from the next message on.
void StopTranslator();

// Brings into the header what the running module's registers hold, where another thread than its
// own is about to look at the image of a run that does not end. Waits a second at most.
void SettleTranslatedRun();

// How much there is, for tests and benchmarks.
struct TranslatorCounts {
    u64 regions = 0;       // translated
    u64 instructions = 0;  // in them
    u64 bytes = 0;         // of the processor's code
    u64 entries = 0;       // from the interpreter into translated code
    u64 changes = 0;       // regions given up because the module's code had changed
};
extern TranslatorCounts translatorCounts;

}  // namespace moxi
