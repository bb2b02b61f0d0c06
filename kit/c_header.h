#pragma once
// The part of the C header that is made from the table of services:
// library/c/include/moxi/services.h.

#include <string>

// The whole file. A test holds the one in the tree equal to it; `mxservices` prints it.
std::string ServicesHeader();
