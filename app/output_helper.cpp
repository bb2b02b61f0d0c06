#include "app/output_helper.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <set>

#include "app/call_filter.h"
#include "base/helper_process.h"
#include "base/output_files.h"

namespace moxi {

namespace {

constexpr char kOpen = 'o';
constexpr char kRemove = 'r';
constexpr char kMakeNew = 'n';
constexpr char kRead = 'f';
constexpr char kPutInPlace = 'p';
// One request is a letter and a path, in one packet.
constexpr size_t kLongestRequest = 4097;

constinit int helper = -1;  // our end of the connection
const OutputFiles directFiles = outputFiles;

// --- The helper

// The player chooses the folder in a file that this process writes too, so names alone keep it to
// pictures there.
bool IsPicture(const OutputPlaces& places, const std::string& path) {
    const std::string start = places.picturesFolder + "/MOXI ";
    constexpr std::string_view kEnd = ".png";
    return !places.picturesFolder.empty() && path.rfind(start, 0) == 0 &&
           path.find('/', start.size()) == std::string::npos &&
           path.size() >= start.size() + kEnd.size() &&
           path.compare(path.size() - kEnd.size(), kEnd.size(), kEnd) == 0;
}

std::set<std::string> picturesOfRun;

bool IsOneOf(const std::vector<std::string>& files, const std::string& path) {
    return std::find(files.begin(), files.end(), path) != files.end();
}

bool IsOwn(const OutputPlaces& places, const std::string& path) {
    return std::any_of(places.ownFiles.begin(), places.ownFiles.end(), [&](const std::string& own) {
        return path == own || path == NewFileOf(own);
    });
}

bool IsPermitted(const OutputPlaces& places, char what, const std::string& path) {
    switch (what) {
        case kRead:
        case kPutInPlace: return IsOneOf(places.ownFiles, path);
        default:
            if (path == places.guardedFile) {
                return false;
            }
            // Of pictures only those of this run are written and removed.
            if (IsPicture(places, path)) {
                return what == kMakeNew || picturesOfRun.count(path) != 0;
            }
            return IsOneOf(places.files, path) || IsOwn(places, path);
    }
}

// --- The guarded file

constexpr size_t kLargestGuardedFile = size_t{1} << 20;

bool ReadGuarded(const std::string& path, std::string& contents) {
    const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) {
        return errno == ENOENT;
    }
    char part[4096];
    ssize_t size = 0;
    while ((size = read(file, part, sizeof part)) > 0 && contents.size() < kLargestGuardedFile) {
        contents.append(part, static_cast<size_t>(size));
    }
    close(file);
    return size == 0;
}

bool WriteGuarded(const std::string& path, const std::string& contents) {
    unlink(path.c_str());
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0) {
        return false;
    }
    bool written = true;
    for (size_t at = 0; written && at < contents.size();) {
        const ssize_t size = write(file, contents.data() + at, contents.size() - at);
        written = size > 0;
        at += static_cast<size_t>(std::max<ssize_t>(size, 0));
    }
    written = fsync(file) == 0 && written;
    return close(file) == 0 && written;
}

// The game's process still holds the new file open, so what takes the old one's place is a copy of
// what has been looked at. 0, or the number of the error.
int PutGuardedInPlace(const OutputPlaces& places) {
    const std::string newFile = NewFileOf(places.guardedFile);
    const std::string copy = NewFileOf(newFile);
    std::string before;
    std::string after;
    if (!ReadGuarded(places.guardedFile, before) || !ReadGuarded(newFile, after)) {
        return EIO;
    }
    if (!places.mayChange(before, after)) {
        return EACCES;
    }
    const bool replaced = WriteGuarded(copy, after) && rename(copy.c_str(), newFile.c_str()) == 0 &&
                          PutNewFileInPlace(places.guardedFile);
    return replaced ? 0 : errno;
}

// A new user has neither the folder of all programs' settings nor ours in it.
void MakeFolderOf(const std::string& path) {
    const std::string folder = path.substr(0, path.find_last_of('/'));
    mkdir(folder.substr(0, folder.find_last_of('/')).c_str(), 0700);
    mkdir(folder.c_str(), 0700);
}

// The answer to a request: its error number, and with it the open file.
void Answer(int connection, int error, int file) {
    SendWithFile(connection, &error, sizeof error, file, MSG_NOSIGNAL);
}

void Serve(int connection, const OutputPlaces& places, const char* request, size_t size) {
    const std::string path(request + 1, size - 1);
    const char what = request[0];
    // The system's calls would end the name at its first null, behind what has been looked at.
    if (path.find('\0') != std::string::npos) {
        return Answer(connection, EACCES, -1);
    }
    if (!IsPermitted(places, what, path)) {
        return Answer(connection, EACCES, -1);
    }
    if (what == kRemove) {
        return Answer(connection, unlink(path.c_str()) == 0 ? 0 : errno, -1);
    }
    if (what == kPutInPlace && path == places.guardedFile) {
        return Answer(connection, PutGuardedInPlace(places), -1);
    }
    if (what == kPutInPlace) {
        return Answer(connection, PutNewFileInPlace(path) ? 0 : errno, -1);
    }
    // A new user has no pictures folder yet.
    if (IsPicture(places, path)) {
        mkdir(places.picturesFolder.c_str(), 0777);
    }
    if (what != kRead && IsOwn(places, path)) {
        MakeFolderOf(path);
    }
    const int writing = O_WRONLY | O_CREAT | (what == kMakeNew ? O_EXCL : O_TRUNC);
    const int file =
        open(path.c_str(), (what == kRead ? O_RDONLY | O_NONBLOCK : writing) | O_CLOEXEC, 0666);
    Answer(connection, file >= 0 ? 0 : errno, file);
    if (file >= 0 && IsPicture(places, path)) {
        picturesOfRun.insert(path);
    }
    if (file >= 0) {
        close(file);
    }
}

// Until the other end is closed. Signals that ask for an end are the game's to answer.
[[noreturn]] void ServeRequests(int connection, const OutputPlaces& places) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        std::signal(signal, SIG_IGN);
    }
    FilterOutputHelperCalls();
    char request[kLongestRequest];
    for (;;) {
        const ssize_t size = recv(connection, request, sizeof request, 0);
        if (size <= 0) {
            _exit(0);
        }
        Serve(connection, places, request, static_cast<size_t>(size));
    }
}

// --- This process

// The open file, or -1 and errno.
int Ask(char what, const std::string& path) {
    const std::string request = what + path;
    if (request.size() > kLongestRequest) {
        errno = ENAMETOOLONG;
        return -1;
    }
    if (send(helper, request.data(), request.size(), MSG_NOSIGNAL) < 0) {
        return -1;
    }
    int error = 0;
    int file = -1;
    ssize_t size = 0;
    do {
        size = TakeWithFile(helper, &error, sizeof error, file, 0);
    } while (size < 0 && errno == EINTR);
    if (size != sizeof error) {
        errno = EPIPE;
        return -1;
    }
    errno = error;
    return file;
}

std::FILE* Stream(int file, const char* mode) {
    if (file < 0) {
        return nullptr;
    }
    std::FILE* const stream = fdopen(file, mode);
    if (stream == nullptr) {
        close(file);
    }
    return stream;
}

std::FILE* OpenThroughHelper(const std::string& path) {
    return Stream(Ask(kOpen, path), "wb");
}

std::FILE* ReadThroughHelper(const std::string& path) {
    return Stream(Ask(kRead, path), "rb");
}

bool PutInPlaceThroughHelper(const std::string& path) {
    Ask(kPutInPlace, path);
    return errno == 0;
}

bool MakeNewThroughHelper(const std::string& path) {
    const int file = Ask(kMakeNew, path);
    if (file >= 0) {
        close(file);
    }
    return file >= 0;
}

}  // namespace

bool StartOutputHelper(const OutputPlaces& places) {
    const bool needed =
        !places.files.empty() || !places.picturesFolder.empty() || !places.ownFiles.empty();
    if (helper >= 0 || !needed) {
        return true;
    }
    // The helper has to know the names of this process.
    NewFileOf("");
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        return false;
    }
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        ServeRequests(ends[1], places);
    }
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        return false;
    }
    helper = ends[0];
    outputFiles = {
        .open = OpenThroughHelper,
        .remove = [](const std::string& path) { Ask(kRemove, path); },
        .makeNew = MakeNewThroughHelper,
        .read = ReadThroughHelper,
        .putInPlace = PutInPlaceThroughHelper,
    };
    return true;
}

void StopOutputHelper() {
    if (helper >= 0) {
        close(helper);
    }
    helper = -1;
    outputFiles = directFiles;
}

}  // namespace moxi
