#include "host/icon.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>

#include "desktop/desktop.h"
#include "desktop/folders.h"
#include "gfx/png_read.h"
#include "host/plist.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr u32 kLargestSide = 1024;
constexpr std::uintmax_t kLargestFile = 8 << 20;

// What an icon family holds, the sizes that suit a window first: 128, 256, 64, 32, 512, 1024.
constexpr std::string_view kMembers[] = {"ic07", "ic13", "ic08", "ic12", "icp6",
                                         "icp5", "ic11", "ic14", "ic09", "ic10"};

std::string ReadSmallFile(const fs::path& path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error) || fs::file_size(path, error) > kLargestFile) return "";
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// A file among the resources; a name that leads out of them is no name.
fs::path ResourceNamed(const std::string& name) {
    if (name.empty()) return {};
    std::error_code error;
    const fs::path folder = fs::canonical(folders.resources, error);
    fs::path file = folder / name;
    if (!file.has_extension()) file += ".icns";
    file = fs::canonical(file, error);
    if (error) return {};
    const fs::path below = file.lexically_relative(folder);
    return below.empty() || *below.begin() == ".." ? fs::path() : file;
}

fs::path IconOfGame() {
    const fs::path game = folders.bundle;
    for (const fs::path& file : {game / "Contents" / "Info.plist", game / "Info.plist",
                                 fs::path(folders.resources) / "Info.plist"}) {
        std::error_code error;
        if (!fs::exists(file, error)) continue;
        pugi::xml_document document;
        pugi::xml_node dictionary;
        if (!LoadPlist(file, document, dictionary)) return {};
        return ResourceNamed(PlistString(dictionary, "CFBundleIconFile").value_or(""));
    }
    return {};
}

u32 BigEndian(std::string_view bytes, size_t at) {
    u32 value = 0;
    for (size_t i = at; i < at + 4; ++i) value = value << 8 | static_cast<u8>(bytes[i]);
    return value;
}

// The member's bytes; none where the family has no such member.
std::string_view Member(std::string_view family, std::string_view type) {
    constexpr size_t kHeader = 8;
    for (size_t at = kHeader; at + kHeader <= family.size();) {
        const u32 size = BigEndian(family, at + 4);
        if (size < kHeader || size > family.size() - at) return {};
        if (family.substr(at, 4) == type) return family.substr(at + kHeader, size - kHeader);
        at += size;
    }
    return {};
}

bool ReadIcon(std::string_view bytes, PngPicture& picture) {
    if (bytes.substr(0, 4) != "icns") return ReadPng(bytes, kLargestSide, picture);
    for (const std::string_view type : kMembers) {
        if (ReadPng(Member(bytes, type), kLargestSide, picture)) return true;
    }
    return false;
}

}  // namespace

void SetWindowIcon(const std::string& fallback) {
    if (desktop.setWindowIcon == nullptr) return;
    PngPicture picture;
    if (!ReadIcon(ReadSmallFile(IconOfGame()), picture) &&
        !ReadIcon(ReadSmallFile(fallback), picture)) {
        return;
    }
    desktop.setWindowIcon(picture.pixels.data(), picture.width, picture.height);
}

}  // namespace moxi
