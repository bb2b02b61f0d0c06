#pragma once
// The name section, and what names may look like.

#include <string_view>

#include "wasm/module.h"

namespace moxi {

// Takes the names of functions and globals from the name section. A damaged one is left out from
// where it is damaged: names do nothing but help people.
void ReadNames(Module& module);

}  // namespace moxi
