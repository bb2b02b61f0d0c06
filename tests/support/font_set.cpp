#include "tests/support/font_set.h"

#include <cstdlib>

namespace moxi {

namespace {

std::string Alias(const std::string& family, const std::vector<std::string>& others) {
    std::string text = "<alias binding=\"same\"><family>" + family + "</family><prefer>";
    for (const std::string& other : others) {
        text += "<family>" + other + "</family>";
    }
    return text + "</prefer></alias>";
}

std::string Configuration(const std::vector<std::string>& folders, const std::string& cache) {
    std::string text =
        "<?xml version=\"1.0\"?><!DOCTYPE fontconfig SYSTEM \"fonts.dtd\"><fontconfig>";
    for (const std::string& folder : folders) {
        text += "<dir>" + folder + "</dir>";
    }
    // Of the folder that many packages share one file counts.
    text += "<selectfont><acceptfont><glob>" + std::string(kEmojiFonts) +
            "/NotoColorEmoji.ttf</glob></acceptfont><rejectfont><glob>" + kEmojiFonts +
            "/*</glob></rejectfont></selectfont>";
    text += "<cachedir>" + cache + "</cachedir>";
    text += Alias("Helvetica", {"Nimbus Sans", "DejaVu Sans"});
    text += Alias("Times", {"Nimbus Roman", "DejaVu Serif"});
    text += Alias("Courier", {"Nimbus Mono PS", "DejaVu Sans Mono"});
    text += Alias("emoji", {"Noto Color Emoji", "DejaVu Sans"});
    // Bitmap fonts are scaled, as they are everywhere.
    text +=
        "<include ignore_missing=\"yes\">"
        "/usr/share/fontconfig/conf.avail/10-scale-bitmap-fonts.conf</include>";
    return text + "</fontconfig>";
}

}  // namespace

FontSet::FontSet(const std::vector<std::string>& folders) {
    const std::string file = folder.path + "/fonts.conf";
    WriteTextFile(file, Configuration(folders, folder.path + "/cache"));
    const char* const before = std::getenv("FONTCONFIG_FILE");
    if (before != nullptr) {
        formerFile = before;
    }
    setenv("FONTCONFIG_FILE", file.c_str(), 1);
    former = FcConfigReference(nullptr);
    FcConfig* const config = FcConfigCreate();
    FcConfigParseAndLoad(config, reinterpret_cast<const FcChar8*>(file.c_str()), FcTrue);
    FcConfigBuildFonts(config);
    FcConfigSetCurrent(config);
    FcConfigDestroy(config);
}

FontSet::~FontSet() {
    if (formerFile.empty()) {
        unsetenv("FONTCONFIG_FILE");
    } else {
        setenv("FONTCONFIG_FILE", formerFile.c_str(), 1);
    }
    FcConfigSetCurrent(former);
    FcConfigDestroy(former);
}

}  // namespace moxi
