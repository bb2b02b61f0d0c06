#pragma once
// The name section.

#include <string_view>

#include "wasm/module.h"

namespace moxi {

// Takes the names of functions and globals from the name sections among `module.custom`. A damaged
// section is left out from where it is damaged on: names do nothing but help people. A name that is
// not UTF-8 becomes empty, control characters become question marks.
void ReadNames(Module& module);

}  // namespace moxi
