#include "kit/ship_licences.h"

#include <glib.h>

#include <filesystem>
#include <set>
#include <sstream>

#include "base/read_file.h"
#include "base/types.h"
#include "kit/ship_runtime.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr u64 kLargestText = 4 << 20;
constexpr const char* kCommonLicences = "/usr/share/common-licenses/";

// What a program writes to its standard output; "" when it cannot be run.
std::string OutputOf(std::vector<std::string> words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    char* output = nullptr;
    const auto flags = static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDERR_TO_DEV_NULL);
    if (g_spawn_sync(nullptr, arguments.data(), nullptr, flags, nullptr, nullptr, &output, nullptr,
                     nullptr, nullptr) == 0) {
        return "";
    }
    std::string text = output;
    g_free(output);
    return text;
}

// The packages that the files belong to.
std::set<std::string> PackagesOf(const std::vector<std::string>& files) {
    std::vector<std::string> words = {"dpkg-query", "-S"};
    for (const std::string& file : files) {
        std::error_code error;
        const std::string real = fs::canonical(file, error);
        if (error) {
            continue;
        }
        words.push_back(real);
        // Packages built before /lib became a link to /usr/lib list the file under /lib.
        if (real.rfind("/usr/lib", 0) == 0) {
            words.push_back(real.substr(4));
        }
    }
    std::set<std::string> packages;
    if (words.size() == 2) {
        return packages;
    }
    std::istringstream lines(OutputOf(words));
    for (std::string line; std::getline(lines, line);) {
        packages.insert(line.substr(0, line.find_first_of(":,")));
    }
    return packages;
}

// The names of the common licences that a text refers to.
std::set<std::string> CommonLicencesIn(const std::string& text) {
    std::set<std::string> names;
    const std::string folder = kCommonLicences;
    for (size_t at = text.find(folder); at != std::string::npos; at = text.find(folder, at)) {
        at += folder.size();
        size_t end = at;
        while (end < text.size() && (g_ascii_isalnum(text[end]) != 0 || text[end] == '-' ||
                                     text[end] == '.' || text[end] == '+')) {
            ++end;
        }
        std::string name = text.substr(at, end - at);
        while (!name.empty() && name.back() == '.') {
            name.pop_back();
        }
        if (!name.empty()) {
            names.insert(name);
        }
    }
    return names;
}

}  // namespace

std::string CopyLicencesOf(const std::vector<std::string>& files, const std::string& folder) {
    std::error_code error;
    fs::create_directory(folder, error);
    if (error) {
        return folder + ": " + error.message();
    }
    const auto place = [&folder](const std::string& name) { return folder + "/" + name; };
    std::set<std::string> common;
    for (const std::string& package : PackagesOf(files)) {
        const std::string from = "/usr/share/doc/" + package + "/copyright";
        std::string text;
        if (!ReadWholeFile(from, kLargestText, text).empty()) {
            continue;
        }
        if (std::string problem = CopyOneFile(from, place(package + ".txt")); !problem.empty()) {
            return problem;
        }
        for (const std::string& name : CommonLicencesIn(text)) {
            common.insert(name);
        }
    }
    for (const std::string& name : common) {
        const std::string from = kCommonLicences + name;
        if (!fs::is_regular_file(from, error)) {
            continue;
        }
        std::string problem = CopyOneFile(from, place(name));
        if (!problem.empty()) {
            return problem;
        }
    }
    return "";
}

}  // namespace moxi
