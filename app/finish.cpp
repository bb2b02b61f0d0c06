#include "app/finish.h"

#include <cstdio>
#include <cstdlib>

#include "app/record.h"
#include "app/trace.h"
#include "base/output_files.h"
#include "desktop/audio_out.h"
#include "desktop/desktop.h"
#include "gfx/bitmap.h"
#include "gfx/png_write.h"
#include "host/view.h"
#include "vm/diagnostics.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"

namespace {

struct Dumps {
    std::string image;
    std::string screen;
    std::string view;
};

Dumps dumps;

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

void PrepareFinish(const Options& options) {
    dumps = {options.dumpImage, options.dumpScreen, options.dumpView};
}

void Finish(int status) {
    static bool finishing = false;
    // A failure while the end is being written ends at once.
    if (finishing) std::_Exit(status);
    finishing = true;
    if (moduleStarted > 0) WriteDumps();
    CloseTrace();
    CloseRecording();
    audioOut.shutDown();
    desktop.shutDown();
    std::exit(status);
}
