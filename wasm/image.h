#pragma once
// Puts the parts of a translated module together: code, the translator's own data, the runtime,
// passive segments, linear memory, and behind the file the rest of the memory, the stack, the heap.

#include "wasm/image_parts.h"

namespace moxi {

// Makes the file in `result.bytes`, with symbols and assembly as the options ask, and sets
// `result.ok`. What is wrong goes to `result.errors`, and `ok` stays false. The variables in
// `parts` are moved out.
void BuildImage(ImageParts& parts, const TranslateOptions& options, TranslatedModule& result);

}  // namespace moxi
