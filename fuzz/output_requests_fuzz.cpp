// What a game's process that has been taken over may ask the output helper for: any requests in any
// order, with anything written into the files that come back. Nothing but the permitted files
// comes into being or changes, and the preferences never ask less than they did.

#include <fcntl.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "app/output_requests.h"
#include "base/helper_process.h"
#include "base/output_files.h"
#include "fuzz/confined_start.h"
#include "fuzz/require.h"
#include "host/preferences.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr u32 kMostRequests = 24;
constexpr char kLetters[] = {kRequestOpen, kRequestRemove,     kRequestMakeNew,
                             kRequestRead, kRequestPutInPlace, 'z'};
constexpr const char* kStarts[] = {"/own/preferences",
                                   "/own/places",
                                   "/out/dump.txt",
                                   "/pictures/MOXI ",
                                   "/secret.txt",
                                   "/pictures/MOXI old.png",
                                   "/own",
                                   "/pictures/",
                                   "/../",
                                   "/home/preferences"};
constexpr const char* kTexts[] = {"",
                                  "ask-before-opening = yes\n",
                                  "ask-before-opening = no\n",
                                  "[game A]\nask-before-opening = no\n",
                                  "mute = yes\n",
                                  "[game \nask-before-opening = no\n"};
constexpr const char* kFirstPreferences = "ask-before-opening = yes\n[game B]\nmute = no\n";

std::string InFolder(const std::string& name) {
    return confine::folder + name;
}

std::string Contents(const std::string& name) {
    std::ifstream file(InFolder(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void MakeFiles() {
    confine::EmptyFolder();
    for (const char* const folder : {"/own", "/out", "/pictures"}) {
        fs::create_directory(InFolder(folder));
    }
    std::ofstream(InFolder("/own/preferences")) << kFirstPreferences;
    std::ofstream(InFolder("/secret.txt")) << "secret";
    std::ofstream(InFolder("/pictures/MOXI old.png")) << "old";
}

std::string RandomPath(FuzzedDataProvider& input) {
    std::string path = InFolder(input.PickValueInArray(kStarts));
    switch (input.ConsumeIntegralInRange<u32>(0, 5)) {
        case 0: return path + input.ConsumeRandomLengthString(40);
        case 1: return path + input.ConsumeRandomLengthString(10) + ".png";
        case 2: return NewFileOf(path);
        case 3: return NewFileOf(NewFileOf(path));
        case 4: return input.ConsumeRandomLengthString(30);
        default: return path;
    }
}

void UseFile(FuzzedDataProvider& input, int file) {
    const std::string text = input.ConsumeBool() ? std::string(input.PickValueInArray(kTexts))
                                                 : input.ConsumeRandomLengthString(100);
    const bool canWrite = (fcntl(file, F_GETFL) & O_ACCMODE) != O_RDONLY;
    Require((write(file, text.data(), text.size()) >= 0) == canWrite);
    // Held open and written once more when the file may have got another name.
    close(file);
}

bool IsPicture(const fs::path& path) {
    const std::string name = path.filename();
    return path.parent_path() == InFolder("/pictures") && name.starts_with("MOXI ") &&
           name.ends_with(".png");
}

bool MayExist(const fs::path& path) {
    for (const char* const name : {"/own/preferences", "/own/places"}) {
        if (path == InFolder(name) || path == NewFileOf(InFolder(name))) {
            return true;
        }
    }
    return path == InFolder("/out/dump.txt") || path == InFolder("/secret.txt") || IsPicture(path);
}

void LookAtFiles() {
    for (const auto& entry : fs::recursive_directory_iterator(confine::folder)) {
        Require(entry.is_directory() || (entry.is_regular_file() && MayExist(entry.path())));
    }
    Require(Contents("/secret.txt") == "secret" && Contents("/pictures/MOXI old.png") == "old");
    Require(!AsksLess(kFirstPreferences, Contents("/own/preferences")));
}

// The number that the next file will have: the same as before when none stays open.
int NextFile() {
    const int file = dup(STDERR_FILENO);
    close(file);
    return file;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    MakeFiles();
    ForgetPicturesOfRun();
    const int next = NextFile();
    const OutputPlaces places = {
        .files = {InFolder("/out/dump.txt")},
        .picturesFolder = InFolder("/pictures"),
        .ownFiles = {InFolder("/own/preferences"), InFolder("/own/places")},
        .guardedFile = InFolder("/own/preferences"),
        .mayChange = [](const std::string& before, const std::string& after) {
            return !AsksLess(before, after);
        }};
    int ends[2];
    Require(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) == 0);
    int kept = -1;
    for (u32 i = 0; i < kMostRequests && input.remaining_bytes() != 0; ++i) {
        const std::string request = input.PickValueInArray(kLetters) + RandomPath(input);
        ServeOutputRequest(ends[1], places, request.substr(0, kLongestOutputRequest));
        int error = -1;
        int file = -1;
        Require(TakeWithFile(ends[0], &error, sizeof error, file, MSG_DONTWAIT) == sizeof error);
        Require((file >= 0) ==
                (error == 0 && request[0] != kRequestRemove && request[0] != kRequestPutInPlace));
        if (file >= 0 && input.ConsumeBool()) {
            // Written later, when it may have another name.
            std::swap(file, kept);
        }
        if (file >= 0) {
            UseFile(input, file);
        }
    }
    if (kept >= 0) {
        UseFile(input, kept);
    }
    LookAtFiles();
    close(ends[0]);
    close(ends[1]);
    Require(NextFile() == next);
    return 0;
}

}  // namespace moxi
