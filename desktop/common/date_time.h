#pragma once
// Dates of the desktop and those of the C library.

#include <ctime>

#include "desktop/desktop.h"

namespace moxi {

DateTime DateOf(const std::tm& parts);
std::tm PartsOf(const DateTime& date);  // without the day of the week and of the year

// The wall clock in the local time zone.
std::tm LocalParts();

}  // namespace moxi
