#include "surface/words.h"

#include <libintl.h>

#include <clocale>
#include <cstdlib>
#include <string_view>

#include "host/bundle.h"

namespace moxi {

namespace {

constexpr const char* kCatalogue = "moxi";

// A locale for messages alone, which is put on for each text and taken off again: what other
// libraries say, and so the log, is the same everywhere.
constinit locale_t messages = nullptr;

std::string_view Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

// The languages to look for, as LANGUAGE has them; where that is not set, the language of the
// locale.
// "" for English.
std::string Languages() {
    std::string_view locale = Variable("LC_ALL");
    if (locale.empty()) {
        locale = Variable("LC_MESSAGES");
    }
    if (locale.empty()) {
        locale = Variable("LANG");
    }
    // Without a locale LANGUAGE does not count.
    if (locale.empty() || locale == "C" || locale == "POSIX" || locale.substr(0, 2) == "C.") {
        return "";
    }
    const std::string_view list = Variable("LANGUAGE");
    return std::string(list.empty() ? locale.substr(0, locale.find_first_of(".@")) : list);
}

// What can be wrong with a game.
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

void ChooseLanguage() {
    if (messages != nullptr) {
        freelocale(messages);
    }
    messages = nullptr;
    const std::string languages = Languages();
    if (languages.empty()) {
        return;
    }
    // C.UTF-8 is always there, while the user's own locale may not have been generated. LANGUAGE
    // chooses the language in it; in the locale C it would not count.
    setenv("LANGUAGE", languages.c_str(), 1);
    messages = newlocale(LC_MESSAGES_MASK, "C.UTF-8", nullptr);
    bindtextdomain(kCatalogue, OwnResource("locale").c_str());
    bind_textdomain_codeset(kCatalogue, "UTF-8");
}

const char* Words(const char* english) {
    if (messages == nullptr) {
        return english;
    }
    const locale_t before = uselocale(messages);
    const char* const text = dgettext(kCatalogue, english);
    uselocale(before);
    return text;
}

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
