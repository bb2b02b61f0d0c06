#include "surface/add_game.h"

#include <algorithm>
#include <filesystem>

#include "base/utf8.h"
#include "host/home.h"
#include "surface/form.h"
#include "surface/words.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr size_t kMostShown = 50;
// A folder of any size is looked through no further than this.
constexpr size_t kMostLookedAt = 20'000;

bool CanBeGame(const fs::path& file) {
    const std::string extension = file.extension();
    return file.filename() == "MAIN.MX" || extension == ".mxz" || extension == ".zip" ||
           extension == ".wasm";
}

std::string WithHome(const std::string& path) {
    if (path != "~" && path.rfind("~/", 0) != 0) {
        return path;
    }
    return HomeFolder() + path.substr(1);
}

}  // namespace

std::vector<std::string> CompletionsOf(const std::string& path) {
    const std::string whole = WithHome(path);
    const size_t slash = whole.rfind('/');
    if (slash == std::string::npos) {
        return {};
    }
    const std::string folder = whole.substr(0, slash + 1);
    const std::string start = whole.substr(slash + 1);
    std::vector<std::string> found;
    std::error_code error;
    size_t seen = 0;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator() && seen < kMostLookedAt; ++seen) {
        const std::string name = entry->path().filename();
        std::error_code unknown;
        const bool isFolder = entry->is_directory(unknown);
        const bool asked = name[0] != '.' || start[0] == '.';
        if (name.rfind(start, 0) == 0 && asked && (isFolder || CanBeGame(name))) {
            found.push_back(folder + name + (isFolder ? "/" : ""));
        }
        entry.increment(error);
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::string Completed(const std::string& path) {
    const std::vector<std::string> all = CompletionsOf(path);
    if (all.empty()) {
        return path;
    }
    std::string common = all.front();
    for (const std::string& one : all) {
        common.resize(static_cast<size_t>(
            std::mismatch(common.begin(), common.end(), one.begin(), one.end()).first -
            common.begin()));
    }
    // Never to within a character: different ones may begin with the same bytes.
    const std::string& one = all.front();
    while (common.size() < one.size() && !common.empty() && IsContinuation(one[common.size()])) {
        common.pop_back();
    }
    return common.size() > WithHome(path).size() ? common : path;
}

std::string PlainPath(const std::string& path) {
    std::string plain = WithHome(path);
    while (plain.size() > 1 && plain.back() == '/') {
        plain.pop_back();
    }
    return plain;
}

void BuildAddGame(Surface& surface, i32 width, i32 height, double scale, const std::string& path,
                  const std::string& problem) {
    BeginControls(surface, width, height, scale);
    surface.title = Words("Add a game");
    Control& field =
        AddControl(surface, Role::Field, kPathField, Words("A game's folder, archive or file"));
    field.value = path;
    if (!problem.empty()) {
        AddControl(surface, Role::Note, "problem", problem);
    }
    size_t count = 0;
    for (const std::string& completion : CompletionsOf(path)) {
        if (++count > kMostShown) {
            break;
        }
        AddControl(surface, Role::Row, completion, completion);
    }
    AddControl(surface, Role::Button, kAddButton, Words("Add")).part = Part::Foot;
    AddControl(surface, Role::Button, kCancelButton, Words("Cancel")).part = Part::Foot;
    LayOutForm(surface);
}

}  // namespace moxi
