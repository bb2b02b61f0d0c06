#include "surface/problems.h"

#include <string_view>

#include "surface/words.h"

namespace moxi {

namespace {

constexpr const char* kReasons[] = {
    ForTranslation("there is no such game"),
    ForTranslation("neither a folder nor a MAIN.MX"),
    ForTranslation("the folder cannot be read"),
    ForTranslation("there is no game in it"),
    ForTranslation("there is more than one game in it"),
    ForTranslation("too large for an archive of a game"),
    ForTranslation("damaged, or no archive"),
    ForTranslation("cannot be unpacked"),
    ForTranslation("libzip, which opens archives, is not installed"),
    ForTranslation("cannot be written"),
    ForTranslation("the game's MAIN.MX is damaged or not complete."),
};

}  // namespace

std::string InPlayersWords(const std::string& problem) {
    for (const char* const reason : kReasons) {
        const std::string_view english = reason;
        const size_t at = problem.rfind(": " + std::string(english));
        if (at == std::string::npos) {
            continue;
        }
        const size_t begin = at + 2;
        const std::string rest = problem.substr(begin + english.size());
        if (rest.empty() || rest.starts_with(": ")) {
            return problem.substr(0, begin) + Words(reason) + rest;
        }
    }
    return problem;
}

}  // namespace moxi
