#pragma once
// Turns the desktop's dates into those of the C library and back. Nothing is checked: both sides
// must be real dates.

#include <ctime>

#include "desktop/desktop.h"

namespace moxi {

DateTime DateOf(const std::tm& parts);
std::tm PartsOf(const DateTime& date);  // without the day of the week and of the year

// The date and time of the wall clock now, in the local time zone.
std::tm LocalParts();

}  // namespace moxi
