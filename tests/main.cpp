// The start of every test program: a machine of its own, whatever the real one is like. What a test
// needs from outside it names, and what it gets by default is the same for every user, language and
// set of fonts.

#include <fontconfig/fontconfig.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/support/headless_run.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

// Desktops, sound servers, input methods, folders and languages of whoever runs the tests.
constexpr const char* kForeign[] = {
    "DISPLAY",         "WAYLAND_DISPLAY",  "WAYLAND_SOCKET",
    "XAUTHORITY",      "XDG_SESSION_TYPE", "XDG_CURRENT_DESKTOP",
    "XDG_DATA_HOME",   "XDG_CONFIG_HOME",  "XDG_STATE_HOME",
    "XDG_DATA_DIRS",   "XDG_CONFIG_DIRS",  "DBUS_SESSION_BUS_ADDRESS",
    "SDL_VIDEODRIVER", "SDL_AUDIODRIVER",  "SDL_DISKAUDIOFILE",
    "SDL_IM_MODULE",   "AUDIODEV",         "PULSE_SERVER",
    "XMODIFIERS",      "LANGUAGE",         "LC_ALL",
    "LC_CTYPE",        "LC_COLLATE",       "LC_MESSAGES",
    "LC_MONETARY",     "LC_NUMERIC",       "LC_TIME",
    "FONTCONFIG_PATH", "FC_LANG",          "PANGO_LANGUAGE",
};

void Set(const char* name, const std::string& value) {
    setenv(name, value.c_str(), 1);
}

// Where what is expensive to make anew, such as the list of fonts, may stay between runs.
std::string CacheFolder(const std::string& home) {
    const std::string kept = MOXI_BIN_DIR "/../test-cache";
    std::error_code error;
    fs::create_directories(kept, error);
    return access(kept.c_str(), W_OK) == 0 ? kept : home + "/cache";
}

void NameTheSurroundings(const std::string& home) {
    for (const char* const name : kForeign) {
        unsetenv(name);
    }
    umask(022);
    fs::create_directory(home + "/run");
    fs::permissions(home + "/run", fs::perms::owner_all);
    Set("HOME", home);
    Set("XDG_CACHE_HOME", CacheFolder(home));
    Set("XDG_RUNTIME_DIR", home + "/run");
    Set("LANG", "C.UTF-8");
    Set("TZ", "UTC");
    Set("FONTCONFIG_FILE", MOXI_SOURCE_DIR "/tests/support/fonts.conf");
    Set("SDL_SOUNDFONTS", "/usr/share/sounds/sf2/TimGM6mb.sf2");
}

// Programs in the sandbox cannot write the list of fonts, and Fontconfig would tell each time.
void ListFonts() {
    FcConfig* const config = FcInitLoadConfigAndFonts();
    if (config != nullptr) {
        FcConfigDestroy(config);
    }
}

int Main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // A test program that a test starts has what the test has given it.
    constexpr const char* kNamed = "MOXI_TEST_SURROUNDINGS";
    if (std::getenv(kNamed) != nullptr) {
        return RUN_ALL_TESTS();
    }
    const TemporaryFolder home;
    NameTheSurroundings(home.path);
    Set(kNamed, home.path);
    ListFonts();
    return RUN_ALL_TESTS();
}

}  // namespace

}  // namespace moxi

int main(int argc, char** argv) {
    return moxi::Main(argc, argv);
}
