#include "app/finish.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "app/complaint.h"
#include "app/library_lines.h"
#include "app/play_record.h"
#include "app/record.h"
#include "app/temporary_folder.h"
#include "app/trace.h"
#include "base/last_wait.h"
#include "base/log.h"
#include "base/output_files.h"
#include "desktop/audio_out.h"
#include "desktop/desktop.h"
#include "gfx/bitmap.h"
#include "gfx/png_write.h"
#include "host/preferences.h"
#include "host/view.h"
#include "host/window_place.h"
#include "kit/debugger/debugger.h"
#include "kit/profile.h"
#include "surface/shown.h"
#include "translate/translator.h"
#include "vm/diagnostics.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"

namespace moxi {

namespace {

struct Dumps {
    std::string image;
    std::string screen;
    std::string view;
    std::string controls;
};

// Servers of display and sound answer within this, or not at all.
constexpr unsigned kSecondsForServers = 5;

Dumps dumps;
constinit bool hasServers = false;
constinit std::atomic<bool> finishing = false;

void Report(const std::string& path) {
    SystemLog(path + ": cannot be written");
}

bool WriteImage(const std::string& path) {
    std::FILE* const file = outputFiles.open(path);
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fwrite(image, 1, imageSize, file) == imageSize;
    return std::fclose(file) == 0 && written;
}

bool WriteControls(const std::string& path) {
    std::FILE* const file = outputFiles.open(path);
    if (file == nullptr) {
        return false;
    }
    const std::string text = DumpShownControls();
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    return std::fclose(file) == 0 && written;
}

void WriteDumps() {
    if (!dumps.image.empty() && !WriteImage(dumps.image)) {
        Report(dumps.image);
    }
    if (!dumps.screen.empty() && screenBitmap.pixels != nullptr &&
        !WritePngFile(dumps.screen, screenBitmap.pixels, screenBitmap.width, screenBitmap.height,
                      screenBitmap.stride, PngFormat::Rgba)) {
        Report(dumps.screen);
    }
    if (!dumps.view.empty() && !WriteScreenshot(dumps.view)) {
        Report(dumps.view);
    }
    if (!dumps.controls.empty() && !WriteControls(dumps.controls)) {
        Report(dumps.controls);
    }
}

}  // namespace

void WriteDumpsOfForcedEnd() {
    if (finishing.exchange(true)) {
        return;
    }
    CloseProfileOfBusyModule();
    SettleTranslatedRun();
    if (moduleStarted > 0) {
        WriteDumps();
    }
    EndLog();
}

void PrepareFinish(const Options& options) {
    dumps = {options.dumpImage, options.dumpScreen, options.dumpView, options.dumpUi};
    hasServers = !options.headless;
}

void Finish(int status) {
    // A failure while the end is being written ends at once.
    if (finishing.exchange(true)) {
        std::_Exit(status);
    }
    if (moduleStarted > 0) {
        WriteDumps();
    }
    if (moduleStarted == 0 && status == 1) {
        TellOfDamagedModule();
    }
    RecordPlayEnd();
    SavePreferences();
    if (moduleStarted > 0) {
        SaveWindowPlace();
    }
    CloseProfile();
    CloseTrace();
    CloseDebugger(status);
    CloseRecording();
    RemoveTemporaryFolder();
    EndLog();
    // All that is to be kept has been. What follows gives back what the system takes back anyway.
    if (hasServers) {
        EndAtTheLatest(kSecondsForServers, status);
    }
    audioOut.shutDown();
    desktop.shutDown();
    GiveBackStandardError();
    std::exit(status);
}

}  // namespace moxi
