#include "host/home.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace moxi {

namespace {

// What the variable says if it is an absolute path, without a trailing "/" but for the root; "" if
// not.
std::string AbsoluteVariable(const char* name) {
    const char* const value = std::getenv(name);
    std::string path = value != nullptr && value[0] == '/' ? value : "";
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

std::string HomeOfDatabase() {
    constexpr size_t kLargestEntry = 65536;
    std::vector<char> room(kLargestEntry);
    passwd entry = {};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, room.data(), room.size(), &found) != 0 || found == nullptr) {
        return "";
    }
    struct stat status;
    const std::string home = entry.pw_dir != nullptr ? entry.pw_dir : "";
    const bool exists = stat(home.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    return exists && home[0] == '/' ? home : "";
}

}  // namespace

std::string HomeFolder() {
    const std::string home = AbsoluteVariable("HOME");
    return home.empty() ? HomeOfDatabase() : home;
}

std::string BaseFolder(const char* variable, const std::string& belowHome) {
    std::string folder = AbsoluteVariable(variable);
    if (!folder.empty()) {
        return folder;
    }
    const std::string home = HomeFolder();
    return home.empty() ? "" : home + "/" + belowHome;
}

}  // namespace moxi
