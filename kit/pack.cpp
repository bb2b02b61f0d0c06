#include "kit/pack.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "desktop/folders.h"
#include "host/archive.h"
#include "kit/game_files.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr int kFailed = 1;
constexpr int kUnusable = 2;

bool Exists(const fs::path& path) {
    std::error_code error;
    return fs::symlink_status(path, error).type() != fs::file_type::not_found;
}

// Packs the game by way of `folder`, a temporary one: its files are copied and checked there first,
// as for a folder to ship.
std::string Pack(const fs::path& folder, const std::string& archive, bool symbols) {
    std::error_code error;
    const fs::path files = folder / "files";
    fs::create_directory(files, error);
    std::string problem = CopyGameFiles(files, symbols);
    if (!problem.empty()) {
        return problem;
    }
    const fs::path unfinished = folder / "archive";
    problem = WriteArchive(files, unfinished);
    if (!problem.empty()) {
        return archive + ": " + problem;
    }
    // A hard link fails where a file has come meanwhile, and so replaces nothing.
    if (link(unfinished.c_str(), archive.c_str()) == 0) {
        return "";
    }
    if (errno == EEXIST) {
        return archive + ": is there already";
    }
    // Some file systems have no hard links. This copy replaces nothing either.
    fs::copy_file(unfinished, archive, error);
    if (!error) {
        return "";
    }
    if (error != std::errc::file_exists) {
        std::error_code ignored;
        fs::remove(archive, ignored);
    }
    return archive + ": " + error.message();
}

}  // namespace

PackResult PackGame(std::string game, std::string out, bool symbols) {
    if (const std::string problem = FindGameToCopy(game, out); !problem.empty()) {
        return {kUnusable, problem};
    }
    if (Exists(out)) {
        return {kUnusable, out + ": is there already"};
    }
    const fs::path archive = CanonicalPath(out);
    if (LiesInFolder(archive, CanonicalPath(folders.resources))) {
        return {kUnusable, out + ": lies among the game's own files"};
    }
    HoldEndSignals();
    std::string folder = (archive.parent_path() / ".moxi-pack-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
        return {kFailed, out + ": " + std::strerror(errno)};
    }
    const std::string problem = Pack(folder, archive.string(), symbols);
    std::error_code error;
    fs::remove_all(folder, error);
    if (problem.empty()) {
        return {};
    }
    return {kFailed, problem};
}

}  // namespace moxi
