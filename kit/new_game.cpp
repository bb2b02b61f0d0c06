#include "kit/new_game.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "host/bundle.h"
#include "host/plist.h"
#include "kit/new_folder.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr int kFailed = 1;
constexpr int kUnusable = 2;
constexpr std::string_view kPlaceOfName = "@NAME@";

// The name as it can stand in the template's kind of file: a comment and a text in quotes, or XML.
std::string NameFor(const std::string& name, bool isXml) {
    std::string text;
    for (const char c : name) {
        const bool isQuote = !isXml && (c == '"' || c == '\\');
        text += static_cast<unsigned char>(c) < ' ' || isQuote ? ' ' : c;
    }
    return isXml ? EscapedXml(text) : text;
}

std::string CopyTemplate(const fs::path& from, const fs::path& to, const std::string& name) {
    std::ifstream source(from, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(source), {}};
    if (!source) {
        return from.string() + ": cannot be read";
    }
    const std::string put = NameFor(name, from.extension() == ".plist");
    for (size_t at = 0; (at = text.find(kPlaceOfName, at)) != std::string::npos; at += put.size()) {
        text.replace(at, kPlaceOfName.size(), put);
    }
    std::ofstream target(to, std::ios::binary);
    target << text;
    if (!target.flush()) {
        return to.string() + ": cannot be written";
    }
    target.close();
    std::error_code error;
    fs::permissions(to, fs::status(from, error).permissions() | fs::perms::owner_write, error);
    return "";
}

std::string CopyTemplates(const fs::path& from, const fs::path& to, const std::string& name) {
    std::error_code error;
    fs::create_directories(to, error);
    if (error) {
        return to.string() + ": " + error.message();
    }
    fs::directory_iterator entry(from, error);
    if (error) {
        return from.string() + ": " + error.message();
    }
    for (; entry != fs::directory_iterator(); entry.increment(error)) {
        const fs::path target = to / entry->path().filename();
        std::error_code ignored;
        std::string problem = entry->is_directory(ignored)
                                  ? CopyTemplates(entry->path(), target, name)
                                  : CopyTemplate(entry->path(), target, name);
        if (!problem.empty()) {
            return problem;
        }
    }
    return error ? from.string() + ": " + error.message() : "";
}

// A game in Lua is a folder as it stands: the runtime goes into it, with its licence.
std::string CopyLuaRuntime(const fs::path& to) {
    for (const char* const name : {"MAIN.MX", "LUA-LICENCE.txt"}) {
        std::error_code error;
        fs::copy_file(OwnResource(std::string("lua/") + name), to / name, error);
        if (error) {
            return (to / name).string() + ": " + error.message();
        }
    }
    return "";
}

}  // namespace

NewGameResult MakeNewGame(const std::string& folder, const std::string& language) {
    if (const std::string reason = WhyNotNew(folder); !reason.empty()) {
        return {kUnusable, folder + ": " + reason};
    }
    std::error_code error;
    fs::path path = fs::absolute(folder, error).lexically_normal();
    if (!path.has_filename()) {
        path = path.parent_path();
    }
    if (language == "lua" && !fs::exists(OwnResource("lua/MAIN.MX"), error)) {
        return {kFailed,
                OwnResource("lua/MAIN.MX") +
                    ": the Lua runtime is missing: it is made where the source of Lua can be had"};
    }
    std::string problem =
        CopyTemplates(OwnResource("new/" + language), path, path.filename().string());
    if (problem.empty() && language == "lua") {
        problem = CopyLuaRuntime(path);
    }
    if (problem.empty()) {
        return {};
    }
    return {kFailed, problem};
}

}  // namespace moxi
