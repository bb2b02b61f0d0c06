#include "surface/words.h"

#include <libintl.h>

#include <clocale>
#include <cstdlib>
#include <string>
#include <string_view>

#include "host/bundle.h"

namespace moxi {

namespace {

constexpr const char* kCatalogue = "moxi";

// Messages alone are in the player's language, and those of other libraries are not: what the log
// says is the same everywhere. So there is a locale that is put on for each text and taken off.
constinit locale_t messages = nullptr;

std::string_view Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

// What LANGUAGE would say, where it does not. "" and "C" are English.
std::string Languages() {
    std::string_view locale = Variable("LC_ALL");
    if (locale.empty()) {
        locale = Variable("LC_MESSAGES");
    }
    if (locale.empty()) {
        locale = Variable("LANG");
    }
    // Who has no language set has no list of languages either.
    if (locale.empty() || locale == "C" || locale == "POSIX" || locale.substr(0, 2) == "C.") {
        return "";
    }
    const std::string_view list = Variable("LANGUAGE");
    return std::string(list.empty() ? locale.substr(0, locale.find_first_of(".@")) : list);
}

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
    // The user's own locale may not have been generated, and this one always is there. Which
    // language it is, the variable says; in the C locale it would not count.
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

}  // namespace moxi
