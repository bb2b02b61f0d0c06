#include "kit/ship_runtime.h"

#include <fontconfig/fontconfig.h>
#include <link.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <vector>

#include "host/bundle.h"
#include "host/plist.h"
#include "kit/search_path.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

// Libraries that have to be the machine's own. Names up to ".so".
constexpr std::string_view kOfTheMachine[] = {
    // The C runtime and what a driver's libraries share with the program.
    "ld-linux-x86-64", "ld-linux-aarch64", "libc", "libm", "libmvec", "libdl", "libpthread",
    "librt", "libresolv", "libutil", "libanl", "libnsl", "libstdc++", "libgcc_s", "libz",
    "libexpat",
    // Display and sound.
    "libX11", "libX11-xcb", "libxcb", "libGL", "libEGL", "libGLX", "libGLdispatch", "libOpenGL",
    "libGLESv2", "libglapi", "libdrm", "libgbm", "libwayland-client", "libwayland-server",
    "libwayland-egl", "libwayland-cursor", "libasound"};

bool IsOfTheMachine(const std::string& name) {
    const std::string_view stem = std::string_view(name).substr(0, name.find(".so"));
    return std::find(std::begin(kOfTheMachine), std::end(kOfTheMachine), stem) !=
           std::end(kOfTheMachine);
}

// The loaded libraries by the paths and names that they were asked for.
std::vector<fs::path> LoadedLibraries() {
    std::vector<fs::path> paths;
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t, void* list) {
            const fs::path path = info->dlpi_name;
            // In this list the program itself has an empty name, and the kernel's part is no file.
            if (path.is_absolute() && !IsOfTheMachine(path.filename())) {
                static_cast<std::vector<fs::path>*>(list)->push_back(path);
            }
            return 0;
        },
        &paths);
    return paths;
}

// A library that is left out together with the one that alone uses it.
struct Follower {
    std::string_view library;
    const char* of;
};
constexpr Follower kFollowers[] = {{"libdb-5.3", "libjack.so.0"}, {"libtinfo", "libreadline.so.8"}};

bool IsFollower(const std::string& name) {
    const std::string_view stem = std::string_view(name).substr(0, name.find(".so"));
    std::error_code error;
    return std::any_of(std::begin(kFollowers), std::end(kFollowers), [&](const Follower& follower) {
        return stem == follower.library && fs::is_regular_file(OwnLibrary(follower.of), error);
    });
}

// The smaller library of the same name that MOXI brings for this, where it does; else the one
// given.
fs::path SmallestOf(const fs::path& library) {
    const fs::path own = OwnLibrary(library.filename());
    std::error_code error;
    return fs::is_regular_file(own, error) ? own : library;
}

// The search path of a program that is shipped: a folder beside it. The build links the program
// with it, and an installation takes it out.
constexpr const char* kSearchPath = "$ORIGIN/lib/moxi";

// The installed font that stands for one of the host's families in a style.
struct FoundFont {
    std::string family;
    std::string file;
};

std::string PatternText(FcPattern* pattern, const char* what) {
    FcChar8* text = nullptr;
    if (FcPatternGetString(pattern, what, 0, &text) != FcResultMatch) {
        return "";
    }
    return reinterpret_cast<const char*>(text);
}

FoundFont FindFont(const char* family, int weight, int slant) {
    FcPattern* const wanted =
        FcPatternBuild(nullptr, FC_FAMILY, FcTypeString, family, FC_WEIGHT, FcTypeInteger, weight,
                       FC_SLANT, FcTypeInteger, slant, nullptr);
    FcConfigSubstitute(nullptr, wanted, FcMatchPattern);
    FcDefaultSubstitute(wanted);
    FcResult result = FcResultNoMatch;
    FcPattern* const found = FcFontMatch(nullptr, wanted, &result);
    FcPatternDestroy(wanted);
    if (found == nullptr) {
        return {};
    }
    FoundFont font = {PatternText(found, FC_FAMILY), PatternText(found, FC_FILE)};
    FcPatternDestroy(found);
    return font;
}

}  // namespace

std::string CopyOneFile(const std::string& from, const std::string& to) {
    std::error_code error;
    fs::copy_file(from, to, fs::copy_options::overwrite_existing, error);
    return error ? from + ": " + error.message() : "";
}

std::string CopyProgram(const std::string& program, const std::string& libraryFolder,
                        std::vector<std::string>& copied) {
    std::string problem = CopyOneFile("/proc/self/exe", program);
    if (problem.empty()) {
        problem = SetSearchPath(program, kSearchPath);
    }
    DropSymbols(program);
    for (const fs::path& library : LoadedLibraries()) {
        if (!problem.empty()) {
            return problem;
        }
        if (IsFollower(library.filename())) {
            continue;
        }
        const fs::path copy = fs::path(libraryFolder) / library.filename();
        problem = CopyOneFile(SmallestOf(library), copy);
        if (!problem.empty()) {
            return problem;
        }
        copied.push_back(library);
        std::error_code error;
        fs::permissions(copy, fs::perms::owner_write, fs::perm_options::add, error);
        DropSearchPath(copy);
    }
    return problem;
}

std::string CopyFonts(const std::string& folder, std::vector<std::string>& copied) {
    FcInit();
    std::string aliases;
    for (const char* const family : {"Helvetica", "Times", "Courier"}) {
        for (const int weight : {FC_WEIGHT_NORMAL, FC_WEIGHT_BOLD}) {
            for (const int slant : {FC_SLANT_ROMAN, FC_SLANT_ITALIC}) {
                const FoundFont font = FindFont(family, weight, slant);
                if (font.file.empty()) {
                    continue;
                }
                const std::string copy = folder + "/" + fs::path(font.file).filename().string();
                if (std::string problem = CopyOneFile(font.file, copy); !problem.empty()) {
                    return problem;
                }
                copied.push_back(font.file);
            }
        }
        aliases += "  <alias binding=\"same\"><family>" + std::string(family) +
                   "</family><prefer><family>" +
                   EscapedXml(FindFont(family, FC_WEIGHT_NORMAL, FC_SLANT_ROMAN).family) +
                   "</family></prefer></alias>\n";
    }
    std::ofstream file(folder + "/fonts.conf");
    file << "<?xml version=\"1.0\"?>\n<!DOCTYPE fontconfig SYSTEM \"urn:fontconfig:fonts.dtd\">\n"
            "<fontconfig>\n"
         << aliases
         << "  <dir prefix=\"relative\">.</dir>\n"
            "  <include ignore_missing=\"yes\">/etc/fonts/fonts.conf</include>\n</fontconfig>\n";
    return file.flush() ? "" : folder + "/fonts.conf: cannot be written";
}

}  // namespace moxi
