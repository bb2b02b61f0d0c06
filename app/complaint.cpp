#include "app/complaint.h"

#include <unistd.h>

#include <cstdlib>

#include "app/library_lines.h"
#include "base/log.h"
#include "desktop/desktop.h"
#include "desktop/folders.h"
#include "desktop/sdl/sdl_desktop.h"
#include "surface/words.h"

namespace moxi {

namespace {

constinit bool hasTerminal = false;
constinit bool fatalMessageShown = false;

bool IsSet(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr && value[0] != '\0';
}

}  // namespace

void NoteTerminal() {
    hasTerminal = isatty(STDERR_FILENO) == 1 && !IsSet(kFromShelf);
}

int RefuseGame(const Options& options, const std::string& what) {
    const int status = RefuseCommandLine(what);
    if (options.headless || hasTerminal || (!IsSet("DISPLAY") && !IsSet("WAYLAND_DISPLAY"))) {
        return status;
    }
    TakeLibraryLines();
    std::string error;
    if (StartSdlDesktop(&error)) {
        desktop.alert(WithoutControls(InPlayersWords(what)));
        desktop.shutDown();
    }
    GiveBackStandardError();
    return status;
}

void TellOfDamagedModule() {
    if (hasTerminal || fatalMessageShown) {
        return;
    }
    desktop.alert(InPlayersWords(WithoutControls(folders.gameName) +
                                 ": the game's MAIN.MX is damaged or not complete."));
}

void NoteFatalMessage() {
    fatalMessageShown = true;
}

}  // namespace moxi
