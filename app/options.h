#pragma once
// The command line.

#include <optional>
#include <string>
#include <vector>

#include "desktop/headless/headless_desktop.h"

namespace moxi {

// There is one of it.  NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct Options {
    std::vector<std::string> arguments;  // all of the command line
    std::string game;                    // "" when none was named
    std::string named;                   // what was named in its place: an archive or a cartridge
    std::string dataFolder;
    bool mute = false;
    std::optional<u32> musicVolume;  // percent of the amplitude; else as the preferences say
    std::optional<u32> soundVolume;
    std::string preferences;  // a file of preferences in the place of the user's
    std::string soundfont;
    bool fullScreen = false;
    std::string scale;  // "" when none was named; else one that preferences take, too
    bool headless = false;
    HeadlessOptions headlessOptions;
    std::string dumpImage;
    std::string dumpScreen;
    std::string dumpView;
    std::string dumpUi;
    std::string trace;
    std::string record;
    std::string renderAudio;
    // Whether the kernel restricts the process, and whether names may lead out of the folders.
    bool sandbox = true;
    bool unlocked = false;
    bool openUrls = false;
    u64 dataLimit = u64{1} << 30;  // bytes
    bool translate = true;
    // The author's kit.
    bool debug = false;
    std::string profile;
    bool watch = false;
    std::string bundle;
    std::vector<std::string> pack;  // the game to pack and the archive to make
    bool withSymbols = false;       // --bundle and --pack take the module's symbols along
    std::string newGame;            // the folder of a game to begin
    bool newInC = false;
    bool newInLua = false;
};

// What the command line asks for: a run, or an end with this status (help and version have been
// printed, a wrong command line has been reported in one line on standard error).
std::optional<int> ParseCommandLine(int argc, const char* const* argv, Options& options);

// Reports what is wrong in one line on standard error. Returns the exit status for it, 2.
int RefuseCommandLine(const std::string& what);

// The usage in one line, on standard error.
void PrintUsage();

}  // namespace moxi
