#pragma once
// The files that are made from the table of services: the part of the C header
// library/c/include/moxi/services.h with its page docs/c-services.md (kit/c_header.cpp), and the
// services for Rust and AssemblyScript, library/rust/src/sys.rs and
// library/assemblyscript/services.ts (kit/bindings.cpp).

#include <string>

namespace moxi {

// The whole files. A test holds those in the tree equal to them; `mxservices` prints them, by its
// argument: none, `page`, `rust` and `assemblyscript`.
std::string ServicesHeader();
std::string ServicesPage();
std::string RustServices();
std::string AssemblyScriptServices();

}  // namespace moxi
