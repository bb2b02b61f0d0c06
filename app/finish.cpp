#include "app/finish.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "app/library_lines.h"
#include "app/record.h"
#include "app/temporary_folder.h"
#include "app/trace.h"
#include "base/log.h"
#include "base/output_files.h"
#include "desktop/audio_out.h"
#include "desktop/desktop.h"
#include "gfx/bitmap.h"
#include "gfx/png_write.h"
#include "host/view.h"
#include "kit/debugger/debugger.h"
#include "kit/profile.h"
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
};

Dumps dumps;
constinit std::atomic<bool> finishing = false;

void Report(const std::string& path) {
    SystemLog(path + ": cannot be written");
}

bool WriteImage(const std::string& path) {
    std::FILE* const file = outputFiles.open(path);
    if (file == nullptr) return false;
    const bool written = std::fwrite(image, 1, imageSize, file) == imageSize;
    return std::fclose(file) == 0 && written;
}

void WriteDumps() {
    if (!dumps.image.empty() && !WriteImage(dumps.image)) Report(dumps.image);
    if (!dumps.screen.empty() && screenBitmap.pixels != nullptr &&
        !WritePngFile(dumps.screen, screenBitmap.pixels, screenBitmap.width, screenBitmap.height,
                      screenBitmap.stride, PngFormat::Rgba)) {
        Report(dumps.screen);
    }
    if (!dumps.view.empty() && !WriteScreenshot(dumps.view)) Report(dumps.view);
}

}  // namespace

void WriteDumpsOfForcedEnd() {
    if (finishing.exchange(true)) return;
    CloseProfileOfBusyModule();
    SettleTranslatedRun();
    if (moduleStarted > 0) WriteDumps();
    EndLog();
}

void PrepareFinish(const Options& options) {
    dumps = {options.dumpImage, options.dumpScreen, options.dumpView};
}

void Finish(int status) {
    // A failure while the end is being written ends at once.
    if (finishing.exchange(true)) std::_Exit(status);
    if (moduleStarted > 0) WriteDumps();
    CloseProfile();
    CloseTrace();
    CloseDebugger(status);
    CloseRecording();
    audioOut.shutDown();
    desktop.shutDown();
    RemoveTemporaryFolder();
    EndLog();
    GiveBackStandardError();
    std::exit(status);
}

}  // namespace moxi
