#pragma once
// The services for languages other than C: library/rust/src/sys.rs and
// library/assemblyscript/services.ts.

#include <string>

namespace moxi {

// The whole files. A test holds those in the tree equal to them; `mxservices rust` and
// `mxservices assemblyscript` print them.
std::string RustServices();
std::string AssemblyScriptServices();

}  // namespace moxi
