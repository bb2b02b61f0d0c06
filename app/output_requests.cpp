#include "app/output_requests.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <set>
#include <string_view>

#include "base/helper_process.h"
#include "base/output_files.h"

namespace moxi {

namespace {

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
        case kRequestRead:
        case kRequestPutInPlace: return IsOneOf(places.ownFiles, path);
        case kRequestOpen:
        case kRequestMakeNew:
        case kRequestRemove:
            if (path == places.guardedFile) {
                return false;
            }
            // Of pictures only those of this run are written and removed.
            if (IsPicture(places, path)) {
                return what == kRequestMakeNew || picturesOfRun.count(path) != 0;
            }
            return IsOneOf(places.files, path) || IsOwn(places, path);
        default: return false;
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

}  // namespace

void ServeOutputRequest(int connection, const OutputPlaces& places, std::string_view request) {
    const std::string path(request.substr(1));
    const char what = request[0];
    // The system's calls would end the name at its first null, behind what has been looked at.
    if (path.find('\0') != std::string::npos) {
        return Answer(connection, EACCES, -1);
    }
    if (!IsPermitted(places, what, path)) {
        return Answer(connection, EACCES, -1);
    }
    if (what == kRequestRemove) {
        return Answer(connection, unlink(path.c_str()) == 0 ? 0 : errno, -1);
    }
    if (what == kRequestPutInPlace && path == places.guardedFile) {
        return Answer(connection, PutGuardedInPlace(places), -1);
    }
    if (what == kRequestPutInPlace) {
        return Answer(connection, PutNewFileInPlace(path) ? 0 : errno, -1);
    }
    // A new user has no pictures folder yet.
    if (IsPicture(places, path)) {
        mkdir(places.picturesFolder.c_str(), 0777);
    }
    if (what != kRequestRead && IsOwn(places, path)) {
        MakeFolderOf(path);
    }
    const int writing = O_WRONLY | O_CREAT | (what == kRequestMakeNew ? O_EXCL : O_TRUNC);
    const int file = open(
        path.c_str(), (what == kRequestRead ? O_RDONLY | O_NONBLOCK : writing) | O_CLOEXEC, 0666);
    Answer(connection, file >= 0 ? 0 : errno, file);
    if (file >= 0 && IsPicture(places, path)) {
        picturesOfRun.insert(path);
    }
    if (file >= 0) {
        close(file);
    }
}

void ForgetPicturesOfRun() {
    picturesOfRun.clear();
}

}  // namespace moxi
