#pragma once
// The part of the C header that is made from the table of services:
// library/c/include/moxi/services.h.

#include <string>

namespace moxi {

// The whole files. A test holds those in the tree equal to them; `mxservices` and `mxservices page`
// print them.
std::string ServicesHeader();
std::string ServicesPage();

}  // namespace moxi
