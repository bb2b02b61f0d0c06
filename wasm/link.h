#pragma once
// What the imports of modules stand for: the machine's services, or the functions of another module
// in the same image.

#include <string>
#include <vector>

#include "wasm/select.h"

namespace moxi {

// Finds what every import of a module that stands alone is. Names each one that nothing stands for.
void ResolveImports(ModulePlan& plan, std::vector<std::string>& errors);

// The same of a module and a cartridge that is linked to it. The first imports the cartridge's
// functions from "cart", those that it lacks do nothing, and cart.memory is where its memory lies.
// The cartridge imports functions that the first one exports, and its memory, from "env".
void ResolveLinked(ModulePlan& first, ModulePlan& cartridge, std::vector<std::string>& errors);

}  // namespace moxi
