#pragma once
// The version of MOXI and of all its tools, which is also that of the modules that it runs. The
// build reads it here for packages (CMakeLists.txt).

#include "base/types.h"

namespace moxi {

constexpr u8 kMajorVersion = 6;
constexpr u8 kMinorVersion = 2;
constexpr const char kVersionText[] = "6.2";
static_assert(kVersionText[0] - '0' == kMajorVersion && kVersionText[2] - '0' == kMinorVersion);

}  // namespace moxi
