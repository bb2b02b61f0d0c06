#include "host/archive_names.h"

#include <algorithm>
#include <string_view>

namespace moxi {

namespace {

// Deeper folders are no game's, and each costs a name.
constexpr size_t kMostParts = 64;

std::string InSmallLetters(std::string name) {
    for (char& c : name) {
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
    }
    return name;
}

}  // namespace

std::string WhyNoName(const std::string& name, u64 mostBytes) {
    if (name.empty()) {
        return "an entry without a name";
    }
    if (name.size() > mostBytes) {
        return "the name is too long";
    }
    if (name[0] == '/') {
        return "an absolute name";
    }
    if (name.find('\\') != std::string::npos) {
        return "a name with a backslash";
    }
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 127; };
    if (std::any_of(name.begin(), name.end(), isControl)) {
        return "a name with control characters";
    }
    size_t parts = 0;
    for (size_t start = 0; start <= name.size(); ++parts) {
        const size_t end = std::min(name.find('/', start), name.size());
        const std::string_view part = std::string_view(name).substr(start, end - start);
        if (part == "..") {
            return "the name leads out of the folder";
        }
        if (part.empty() || part == ".") {
            return "a name with an empty part";
        }
        start = end + 1;
    }
    return parts > kMostParts ? "in too many folders" : "";
}

std::string ArchiveNames::TakeOne(const std::string& name, bool isFolder, bool isEntry) {
    const auto [found, isNew] = taken.try_emplace(InSmallLetters(name));
    Taken& known = found->second;
    if (isNew) {
        known = {name, isFolder, isEntry};
        return "";
    }
    if (known.name != name) {
        return "differs from " + known.name + " by capitals alone";
    }
    if (known.isEntry && isEntry) {
        return "there are two of this name";
    }
    if (known.isFolder != isFolder) {
        return isFolder ? "a file where a folder is needed" : "a folder where a file is needed";
    }
    known.isEntry = known.isEntry || isEntry;
    return "";
}

std::string ArchiveNames::Take(const std::string& name, bool isFolder) {
    for (size_t slash = name.find('/'); slash != std::string::npos;
         slash = name.find('/', slash + 1)) {
        const std::string above = name.substr(0, slash);
        std::string problem = TakeOne(above, true, false);
        if (!problem.empty()) {
            return problem.insert(0, "its folder " + above + ": ");
        }
    }
    return TakeOne(name, isFolder, true);
}

}  // namespace moxi
