#include "desktop/synth/game_music.h"

#include <strings.h>

#include <filesystem>

namespace moxi {

namespace {

bool SoundsLikeMusic(const std::filesystem::path& name) {
    const std::string ending = name.extension().string();
    return strcasecmp(name.c_str(), "MUSIC") == 0 || strcasecmp(ending.c_str(), ".mid") == 0 ||
           strcasecmp(ending.c_str(), ".midi") == 0;
}

}  // namespace

bool HasMusic(const std::string& resources) {
    namespace fs = std::filesystem;
    std::error_code error;
    fs::directory_iterator entry(resources, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        if (SoundsLikeMusic(entry->path().filename())) {
            return true;
        }
    }
    return false;
}

}  // namespace moxi
