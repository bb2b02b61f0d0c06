#include "desktop/sdl/input/pad_helper.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <set>
#include <string_view>

#include "base/helper_process.h"
#include "desktop/sdl/input/input_device.h"

namespace moxi {

constexpr const char* kFolder = "/dev/input";
// Events of changes that are read at a time.
constexpr std::size_t kChangeRoom = 4096;

namespace {

constinit int helper = -1;  // our end of the connection

// --- The helper

bool SendPad(int connection, int file) {
    constexpr char kLetter = 'p';
    return SendWithFile(connection, &kLetter, sizeof kLetter, file, MSG_NOSIGNAL | MSG_DONTWAIT) >=
           0;
}

bool IsEventName(std::string_view name) {
    constexpr std::string_view kStart = "event";
    return name.size() > kStart.size() && name.starts_with(kStart) &&
           name.find_first_not_of("0123456789", kStart.size()) == std::string_view::npos;
}

struct Watch {
    int connection;
    int folder;
    bool (*isPad)(int file);
    std::set<std::string> sent = {};
};

void Offer(Watch& watch, const std::string& name) {
    if (!IsEventName(name) || watch.sent.count(name) != 0) {
        return;
    }
    const int file =
        openat(watch.folder, name.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    // A new device may be made readable a moment later. That is a change of it, which is looked at.
    if (file < 0) {
        return;
    }
    if (watch.isPad(file) && SendPad(watch.connection, file)) {
        watch.sent.insert(name);
    }
    close(file);
}

void OfferAll(Watch& watch, const char* path) {
    DIR* const folder = opendir(path);
    if (folder == nullptr) {
        return;
    }
    while (const dirent* const entry = readdir(folder)) {
        Offer(watch, entry->d_name);
    }
    closedir(folder);
}

void TakeChanges(Watch& watch, int changes, const char* path) {
    alignas(inotify_event) char room[kChangeRoom];
    const ssize_t size = read(changes, room, sizeof room);
    for (ssize_t at = 0; at < size;) {
        inotify_event change;
        std::memcpy(&change, room + at, sizeof change);
        const std::string name = change.len > 0 ? room + at + sizeof change : "";
        at += static_cast<ssize_t>(sizeof change + change.len);
        if ((change.mask & IN_Q_OVERFLOW) != 0) {
            watch.sent.clear();
            OfferAll(watch, path);
        } else if ((change.mask & (IN_DELETE | IN_MOVED_FROM)) != 0) {
            watch.sent.erase(name);
        } else {
            Offer(watch, name);
        }
    }
}

}  // namespace

void HandOverPads(int connection, const std::string& folder, bool (*isPad)(int file)) {
    const int place = open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    const int changes = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    // Before the first look, so that nothing comes between them.
    const int watched = inotify_add_watch(
        changes, folder.c_str(), IN_CREATE | IN_ATTRIB | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO);
    Watch watch = {.connection = connection, .folder = place, .isPad = isPad};
    if (place >= 0) {
        OfferAll(watch, folder.c_str());
    }
    // A machine without such devices gets none.
    pollfd waiting[] = {{connection, POLLIN, 0}, {watched >= 0 ? changes : -1, POLLIN, 0}};
    while (poll(waiting, 2, -1) >= 0 || errno == EINTR) {
        // Nobody writes into the connection, so this is its end.
        if (waiting[0].revents != 0) {
            break;
        }
        if (waiting[1].revents != 0) {
            TakeChanges(watch, changes, folder.c_str());
        }
    }
    close(changes);
    close(place);
}

namespace {

bool IsPadOfKernel(int file) {
    InputDevice device;
    return ReadInputDevice(file, device) && IsPad(device);
}

}  // namespace

// --- This process

void StartPadHelper(void (*confine)()) {
    if (helper >= 0) {
        return;
    }
    helper = StartHelperProcess([confine](int connection) {
        CloseOthers(connection);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            std::signal(signal, SIG_IGN);
        }
        confine();
        HandOverPads(connection, kFolder, IsPadOfKernel);
    });
}

void StopPadHelper() {
    if (helper >= 0) {
        close(helper);
    }
    helper = -1;
}

int TakePad() {
    if (helper < 0) {
        return -1;
    }
    char letter = 0;
    int file = -1;
    TakeWithFile(helper, &letter, sizeof letter, file, MSG_DONTWAIT);
    return file;
}

}  // namespace moxi
