#pragma once
// The host's own texts in the player's language. English stands in the source; the other languages
// are catalogues among the host's own resources, chosen by LANGUAGE, LC_ALL, LC_MESSAGES and LANG.
// The fatal texts, the log and the command line stay as they are.

#include <string>

namespace moxi {

// Finds the catalogue. Without it texts stay English. Before there are threads.
void ChooseLanguage();

// The text in the player's language, in UTF-8, valid for good. `english` is a literal: the
// catalogues' keys are collected from the source.
const char* Words(const char* english);

// Marks a literal that is translated elsewhere, when it is shown.
constexpr const char* ForTranslation(const char* english) {
    return english;
}

// A line `PATH: REASON` of the command line with the reason in the player's language, as far as it
// is one of those that players meet; the path, and what follows the reason, stay as they are.
std::string InPlayersWords(const std::string& problem);

}  // namespace moxi
