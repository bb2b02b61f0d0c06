#pragma once
// What the imports of modules stand for: the machine's services, or the functions of another module
// in the same image.

#include <string>
#include <vector>

#include "wasm/select.h"

namespace moxi {

// Finds what every import of a module that stands alone is, and fills `plan.imports` (empty before,
// one entry for each imported function). An import that nothing stands for, or whose type is wrong,
// adds a line to `errors`.
void ResolveImports(ModulePlan& plan, std::vector<std::string>& errors);

// The same for a module and a cartridge that is linked to it. The first module imports the
// cartridge's functions from "cart": those that the cartridge lacks do nothing, and cart.memory is
// a function that tells where the cartridge's memory lies. The cartridge imports functions that the
// first module exports, and its memory, from "env".
void ResolveLinked(ModulePlan& first, ModulePlan& cartridge, std::vector<std::string>& errors);

}  // namespace moxi
