#include "host/game_info.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "base/read_file.h"
#include "base/utf8.h"
#include "desktop/desktop.h"
#include "desktop/folders.h"
#include "host/plist.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr u32 kLargestSide = 1024;
constexpr u64 kLargestIcon = 8 << 20;
constexpr u64 kLargestLicence = 1 << 20;
constexpr size_t kLongestText = 200;

// What an icon family holds, the sizes that suit a window first: 128, 256, 64, 32, 512, 1024.
constexpr std::string_view kMembers[] = {"ic07", "ic13", "ic08", "ic12", "icp6",
                                         "icp5", "ic11", "ic14", "ic09", "ic10"};

// The first of the information files that is there; an empty node where there is none.
pugi::xml_node LoadInformation(pugi::xml_document& document) {
    const fs::path game = folders.bundle;
    for (const fs::path& file : {game / "Contents" / "Info.plist", game / "Info.plist",
                                 fs::path(folders.resources) / "Info.plist"}) {
        std::error_code error;
        if (!fs::exists(file, error)) {
            continue;
        }
        pugi::xml_node dictionary;
        return LoadPlist(file, document, dictionary) ? dictionary : pugi::xml_node();
    }
    return {};
}

// A file among the resources; a name that leads out of them is no name.
fs::path ResourceNamed(const std::string& name) {
    if (name.empty()) {
        return {};
    }
    std::error_code error;
    const fs::path folder = fs::canonical(folders.resources, error);
    fs::path file = folder / name;
    if (!file.has_extension()) {
        file += ".icns";
    }
    file = fs::canonical(file, error);
    if (error) {
        return {};
    }
    const fs::path below = file.lexically_relative(folder);
    return below.empty() || *below.begin() == ".." ? fs::path() : file;
}

u32 BigEndian(std::string_view bytes, size_t at) {
    u32 value = 0;
    for (size_t i = at; i < at + 4; ++i) {
        value = value << 8 | static_cast<u8>(bytes[i]);
    }
    return value;
}

// The member's bytes; none where the family has no such member.
std::string_view Member(std::string_view family, std::string_view type) {
    constexpr size_t kHeader = 8;
    for (size_t at = kHeader; at + kHeader <= family.size();) {
        const u32 size = BigEndian(family, at + 4);
        if (size < kHeader || size > family.size() - at) {
            return {};
        }
        if (family.substr(at, 4) == type) {
            return family.substr(at + kHeader, size - kHeader);
        }
        at += size;
    }
    return {};
}

// On one line, without what is no character.
std::string OneLine(std::string text) {
    text = text.substr(0, text.find('\n'));
    std::erase_if(text, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 127; });
    text.erase(0, std::min(text.find_first_not_of(' '), text.size()));
    if (text.size() <= kLongestText) {
        return text;
    }
    return text.substr(0, CharacterStart(text, kLongestText));
}

// The first line that is not blank of a text that lies with the game.
std::string FirstLineOfLicence() {
    for (const std::string& folder : {folders.bundle, folders.resources}) {
        for (const char* const name :
             {"LICENSE", "LICENSE.txt", "LICENCE", "LICENCE.txt", "COPYING", "COPYING.txt"}) {
            std::error_code error;
            const fs::path file = fs::path(folder) / name;
            std::string text;
            if (fs::is_symlink(file, error) ||
                !ReadWholeFile(file, kLargestLicence, text).empty()) {
                continue;
            }
            text.erase(0, std::min(text.find_first_not_of(" \t\r\n"), text.size()));
            if (!text.empty()) {
                return OneLine(text);
            }
        }
    }
    return "";
}

}  // namespace

GameInfo InfoOfGame() {
    pugi::xml_document document;
    const pugi::xml_node dictionary = LoadInformation(document);
    const auto text = [&](const char* key) {
        return OneLine(PlistString(dictionary, key).value_or(""));
    };
    GameInfo info = {text("ZULGameAuthor"), text("ZULGameLicence"), text("ZULGameSource")};
    if (info.author.empty()) {
        info.author = text("NSHumanReadableCopyright");
    }
    if (info.licence.empty()) {
        info.licence = FirstLineOfLicence();
    }
    return info;
}

bool ReadIconFile(const std::string& path, PngPicture& picture) {
    std::string bytes;
    if (path.empty() || !ReadWholeFile(path, kLargestIcon, bytes).empty()) {
        return false;
    }
    if (bytes.compare(0, 4, "icns") != 0) {
        return ReadPng(bytes, kLargestSide, picture);
    }
    for (const std::string_view type : kMembers) {
        if (ReadPng(Member(bytes, type), kLargestSide, picture)) {
            return true;
        }
    }
    return false;
}

bool ReadGameIcon(PngPicture& picture) {
    pugi::xml_document document;
    const std::string named =
        PlistString(LoadInformation(document), "CFBundleIconFile").value_or("");
    for (const std::string& name :
         {named, std::string("ICON.PNG"), std::string("PICTURES/ICON.PNG")}) {
        if (ReadIconFile(ResourceNamed(name), picture)) {
            return true;
        }
    }
    return false;
}

void SetWindowIcon(const std::string& fallback) {
    if (desktop.setWindowIcon == nullptr) {
        return;
    }
    PngPicture picture;
    if (!ReadGameIcon(picture) && !ReadIconFile(fallback, picture)) {
        return;
    }
    desktop.setWindowIcon(picture.pixels.data(), picture.width, picture.height);
}

}  // namespace moxi
