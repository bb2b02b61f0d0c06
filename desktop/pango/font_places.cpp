#include "desktop/pango/font_places.h"

#include <fontconfig/fontconfig.h>
#include <unistd.h>

#include <cstdlib>

namespace moxi {

namespace {

std::string InHome(const char* name) {
    const char* const home = std::getenv("HOME");
    return home != nullptr ? std::string(home) + name : "";
}

bool HasOwnConfiguration() {
    for (const char* const variable :
         {"FONTCONFIG_FILE", "FONTCONFIG_PATH", "FONTCONFIG_SYSROOT", "XDG_CONFIG_HOME"}) {
        if (std::getenv(variable) != nullptr) {
            return true;
        }
    }
    for (const std::string& file :
         {std::string("/etc/fonts/local.conf"), InHome("/.config/fontconfig/fonts.conf"),
          InHome("/.config/fontconfig/conf.d"), InHome("/.fonts.conf")}) {
        if (access(file.c_str(), F_OK) == 0) {
            return true;
        }
    }
    return false;
}

void Append(FcStrList* list, std::vector<std::string>& places) {
    if (list == nullptr) {
        return;
    }
    while (const FcChar8* const place = FcStrListNext(list)) {
        places.emplace_back(reinterpret_cast<const char*>(place));
    }
    FcStrListDone(list);
}

}  // namespace

std::vector<std::string> OwnFontPlaces() {
    std::vector<std::string> places;
    if (!HasOwnConfiguration()) {
        return places;
    }
    FcConfig* const config = FcInitLoadConfig();
    if (config == nullptr) {
        return places;
    }
    Append(FcConfigGetFontDirs(config), places);
    Append(FcConfigGetConfigDirs(config), places);
    Append(FcConfigGetConfigFiles(config), places);
    Append(FcConfigGetCacheDirs(config), places);
    FcConfigDestroy(config);
    return places;
}

}  // namespace moxi
