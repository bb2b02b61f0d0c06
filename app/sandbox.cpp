#include "app/sandbox.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>
#include <thread>

#include "app/call_filter.h"
#include "app/landlock.h"
#include "app/reach.h"
#include "base/log.h"
#include "sys/beneath.h"
#include "vm/guard.h"

namespace moxi {

namespace {

SandboxPlaces places;
std::string deletable;
// What is read by the libraries, found once.
std::vector<std::string> libraries;
// The kernel has Landlock, and it holds.
constinit bool restricted = false;
// The data folder was missing when the process was restricted.
constinit bool toBeNarrowed = false;

enum class Step { Start, Game };

// A build with sanitizers explains its findings with the help of another program.
void PermitSymbolizer(LandlockRules& rules) {
    if (!kCheckedAccess) {
        return;
    }
    const char* const symbolizer = std::getenv("ASAN_SYMBOLIZER_PATH");
    for (const char* const program : {symbolizer, "/usr/bin/llvm-symbolizer", "/usr/bin/addr2line",
                                      "/lib64/ld-linux-x86-64.so.2"}) {
        if (program != nullptr) {
            rules.PermitRunning(program);
        }
    }
}

bool IsFolder(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::string NearestFolder(std::string path) {
    while (!path.empty() && !IsFolder(path)) {
        const size_t slash = path.rfind('/');
        path.resize(slash == std::string::npos ? 0 : slash);
    }
    return path.empty() ? "/" : path;
}

void PermitDesktop(LandlockRules& rules, Step step) {
    for (const std::string& place : DesktopPlaces()) {
        rules.PermitReading(place);
    }
    for (const std::string& device : DesktopDevices()) {
        rules.PermitDevice(device);
    }
    if (step != Step::Start) {
        return;
    }
    for (const std::string& cache : DriverCaches()) {
        rules.PermitWriting(cache);
    }
}

std::string RestrictTo(const std::string& writable, Step step) {
    LandlockRules rules(step == Step::Game);
    for (const std::string& place : libraries) {
        rules.PermitReading(place);
    }
    rules.PermitReading(places.game);
    for (const std::string& place : places.readable) {
        rules.PermitReading(place);
    }
    rules.PermitWriting(writable);
    if (step == Step::Start) {
        rules.PermitWriting(places.stampFolder);
    }
    for (const std::string& folder : places.writable) {
        rules.PermitWriting(folder);
    }
    for (const std::string& file : places.files) {
        rules.PermitWriting(file);
    }
    // What is written there changes nothing.
    for (const char* const sink : {"/dev/null", "/dev/zero", "/dev/full"}) {
        rules.PermitDevice(sink);
    }
    rules.PermitRemovingFiles(step == Step::Start ? places.game : deletable);
    PermitSymbolizer(rules);
    if (places.devices) {
        PermitDesktop(rules, step);
    }
    return rules.Restrict();
}

// Where nothing can be read yet: a folder above the data folder is written, but not read, as long
// as the data folder is missing.
std::string RestrictNear(const std::string& dataFolder, Step step) {
    toBeNarrowed = !IsFolder(dataFolder);
    return RestrictTo(NearestFolder(dataFolder), step);
}

}  // namespace

void StartSandbox(const SandboxPlaces& wanted) {
    LimitResources();
    places = wanted;
    if (places.dataFolder.empty()) {
        places.dataFolder += '.';
    }
    const std::string obstacle = LandlockObstacle();
    if (!obstacle.empty()) {
        return SystemLog("no Landlock: " + obstacle);
    }
    for (const std::string& file : places.files) {
        // Only what is missing: to open and close a pipe would tell its reader that all is over.
        const int made = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (made >= 0) {
            close(made);
        }
    }
    libraries = LibraryPlaces();
    const std::string error = RestrictNear(places.dataFolder, Step::Start);
    restricted = error.empty();
    if (!restricted) {
        SystemLog("no Landlock: " + error);
    }
}

void TightenSandbox(const std::string& dataFolder, const std::string& folderToDeleteIn) {
    places.dataFolder = dataFolder.empty() ? "." : dataFolder;
    deletable = folderToDeleteIn;
    if (restricted) {
        const std::string error = RestrictNear(places.dataFolder, Step::Game);
        if (!error.empty()) {
            SystemLog("Landlock stays wide: " + error);
        }
    }
    const std::string error = FilterGameCalls();
    if (!error.empty()) {
        SystemLog("no filter of system calls: " + error);
    }
}

void ConfinePadHelper() {
    LandlockRules rules(true);
    rules.PermitReadingDevices("/dev/input");
    PermitSymbolizer(rules);
    rules.Restrict();
    FilterPadHelperCalls();
}

void NarrowSandbox() {
    if (!restricted || !toBeNarrowed || !IsFolder(places.dataFolder)) {
        return;
    }
    toBeNarrowed = false;
    const std::string error = RestrictTo(places.dataFolder, Step::Game);
    if (!error.empty()) {
        SystemLog("Landlock stays wide: " + error);
    }
}

void DeleteInSandbox(int folder, const char* name) {
    if (!restricted || !toBeNarrowed) {
        UnlinkBeneath(folder, name);
        return;
    }
    // A restriction holds for a thread, and for good: so this is done by a thread that ends with
    // it.
    try {
        std::thread([folder, name] {
            LandlockRules rules(false);
            rules.PermitRemovingFiles(deletable);
            if (rules.Restrict().empty()) {
                UnlinkBeneath(folder, name);
            }
        }).join();
    } catch (const std::system_error&) {
        SystemLog("no thread to delete a file");
    }
}

}  // namespace moxi
