#pragma once
// The names of preferences and the forms of their values, as they stand in the file.

#include <string>
#include <string_view>

#include "host/preference_record.h"

namespace moxi {

// Sets one preference. Returns "" or what is wrong with the name or the value.
std::string ReadPreference(Preferences& into, std::string_view name, std::string_view value);

// The value of one, "" for a name that there is not.
std::string WritePreference(const Preferences& of, std::string_view name);

// Whether a game may have its own.
bool CanBeOfOneGame(std::string_view name);

}  // namespace moxi
