#include "tests/support/patterns.h"

#include <map>
#include <regex>

namespace moxi {

namespace {

// Most are asked for once a line of a long text.
const std::regex& Compiled(const std::string& pattern) {
    static std::map<std::string, std::regex> compiled;
    const auto known = compiled.find(pattern);
    return known != compiled.end() ? known->second
                                   : compiled.emplace(pattern, std::regex(pattern)).first->second;
}

Match GroupsOf(const std::smatch& found) {
    return {found.begin(), found.end()};
}

}  // namespace

Match FirstMatch(const std::string& text, const std::string& pattern) {
    std::smatch found;
    return std::regex_search(text, found, Compiled(pattern)) ? GroupsOf(found) : Match();
}

Match WholeMatch(const std::string& text, const std::string& pattern) {
    std::smatch found;
    return std::regex_match(text, found, Compiled(pattern)) ? GroupsOf(found) : Match();
}

std::vector<Match> AllMatches(const std::string& text, const std::string& pattern) {
    std::vector<Match> all;
    const std::sregex_iterator end;
    for (std::sregex_iterator at(text.begin(), text.end(), Compiled(pattern)); at != end; ++at) {
        all.push_back(GroupsOf(*at));
    }
    return all;
}

std::string ReplaceMatches(const std::string& text, const std::string& pattern,
                           const std::string& with) {
    return std::regex_replace(text, Compiled(pattern), with);
}

}  // namespace moxi
