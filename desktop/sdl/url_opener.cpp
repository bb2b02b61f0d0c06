#include "desktop/sdl/url_opener.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "base/helper_process.h"
#include "base/log.h"
#include "desktop/sdl/loop/clock.h"
#include "desktop/sdl/loop/gate.h"
#include "desktop/sdl/window/alert.h"
#include "desktop/sdl/window/game_window.h"

namespace moxi {

constexpr u64 kLongestOpening = 10'000'000'000;
constexpr u32 kMostQuestions = 3;

namespace {

constinit int helper = -1;  // our end of the connection

// The process of the desktop's opener; -1 when it cannot be started.
pid_t OpenWithDesktop(char* url) {
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&quiet, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    char name[] = "xdg-open";
    char* arguments[] = {name, url, nullptr};
    pid_t child = 0;
    // Signals that this process ignores have their usual effect on the opener.
    posix_spawnattr_t usual;
    posix_spawnattr_init(&usual);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGCHLD);
    posix_spawnattr_setsigdefault(&usual, &signals);
    posix_spawnattr_setflags(&usual, POSIX_SPAWN_SETSIGDEF);
    if (posix_spawnp(&child, name, &quiet, &usual, arguments, environ) != 0) {
        SystemLog(std::string("cannot start xdg-open for ") + url);
        child = -1;
    }
    posix_spawnattr_destroy(&usual);
    posix_spawn_file_actions_destroy(&quiet);
    return child;
}

// One opening at a time. An opener that has become the browser itself runs on, and is not waited
// for any longer.
void OpenAndWait(char* url) {
    const u64 until = Nanoseconds() + kLongestOpening;
    const pid_t opener = OpenWithDesktop(url);
    if (opener < 0) {
        return;
    }
    while (waitpid(opener, nullptr, WNOHANG) == 0 && Nanoseconds() < until) {
        usleep(20'000);
    }
}

// One address a packet, until the other end is closed.
template <class Serve>
[[noreturn]] void ServeUrls(int connection, Serve serve) {
    char url[kLongestUrl + 1];
    for (;;) {
        const ssize_t size = recv(connection, url, kLongestUrl, 0);
        if (size <= 0) {
            _exit(0);
        }
        url[size] = '\0';
        serve(url);
    }
}

// Two processes: one that listens to the game's and looks at what it gets, and one that starts
// programs and hears of good addresses alone. The first believes nothing that the game's process
// has found: neither that the address is good nor that there are few of them.
[[noreturn]] void BecomeUrlOpener(int connection, void (*confine)()) {
    CloseOthers(connection);
    std::signal(SIGINT, SIG_IGN);   // the keyboard's interrupt is the game's
    std::signal(SIGCHLD, SIG_DFL);  // openers are waited for
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        _exit(1);
    }
    const pid_t starter = fork();
    if (starter < 0) {
        _exit(1);
    }
    if (starter == 0) {
        close(connection);
        close(ends[1]);
        ServeUrls(ends[0], OpenAndWait);
    }
    close(ends[0]);
    confine();
    UrlRate rate;
    ServeUrls(connection, [&](const char* url) {
        if (!IsOpenableUrl(url) || !rate.Take(Nanoseconds())) {
            return;
        }
        // What the starter has no room for is not opened at all.
        send(ends[1], url, std::strlen(url), MSG_NOSIGNAL | MSG_DONTWAIT);
    });
}

}  // namespace

void StartUrlOpener(void (*confine)()) {
    if (helper < 0) {
        helper =
            StartHelperProcess([confine](int connection) { BecomeUrlOpener(connection, confine); });
    }
}

void StopUrlOpener() {
    if (helper >= 0) {
        close(helper);
    }
    helper = -1;
}

namespace {

constinit bool mustAsk = true;
constinit u32 refusals = 0;

}  // namespace

void AskBeforeUrls(bool ask) {
    mustAsk = ask;
    refusals = 0;
}

namespace {

UrlBoxWords boxWords;

}  // namespace

void AskForUrlsWith(const UrlBoxWords& words) {
    boxWords = words;
}

namespace {

std::string QuestionAbout(const std::string& shown) {
    std::string question = boxWords.question;
    const size_t at = question.find("%1");
    return at == std::string::npos ? question + " " + shown : question.replace(at, 2, shown);
}

// Once the player has agreed all addresses of the run are opened. Whoever refuses three times is
// not asked a fourth time.
bool PlayerAgrees(const std::string& url) {
    if (!mustAsk) {
        return true;
    }
    if (refusals == kMostQuestions) {
        return false;
    }
    constexpr int kOpen = 0;
    constexpr int kCancel = 1;
    const InsideDesktop inside;
    const char* const title = GameWindowTitle();
    mustAsk = ShowBox({title[0] != '\0' ? title : "MOXI",
                       QuestionAbout(ShownUrl(url)),
                       {boxWords.open, boxWords.cancel},
                       kCancel},
                      nullptr) != kOpen;
    if (mustAsk) {
        ++refusals;
    }
    return !mustAsk;
}

}  // namespace

void OpenUrl(const std::string& utf8) {
    static constinit UrlRate rate;
    if (!IsOpenableUrl(utf8)) {
        return SystemLog("refused to open " + utf8);
    }
    if (!rate.Take(Nanoseconds())) {
        return SystemLog("refused to open " + utf8 + ": too many addresses in ten seconds");
    }
    if (!PlayerAgrees(utf8)) {
        return SystemLog("not opened, as the player wishes: " + utf8);
    }
    if (helper < 0 || send(helper, utf8.data(), utf8.size(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0) {
        SystemLog("cannot open " + utf8);
    }
}

}  // namespace moxi
