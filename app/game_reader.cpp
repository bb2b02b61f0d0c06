#include "app/game_reader.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include "app/call_filter.h"
#include "app/landlock.h"
#include "app/reach.h"
#include "base/log.h"
#include "desktop/folders.h"
#include "host/bundle.h"
#include "host/game_info.h"

namespace moxi {

namespace {

// Wide enough for a card on a large screen.
constexpr u32 kLargestSide = 384;
constexpr u32 kLongestText = 1024;
constexpr int kPatienceMilliseconds = 3000;

// --- The process that reads

void Send(int pipe, const void* bytes, size_t size) {
    const char* at = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t count = write(pipe, at, size);
        if (count <= 0) {
            _exit(1);
        }
        at += count;
        size -= static_cast<size_t>(count);
    }
}

void SendNumber(int pipe, u32 number) {
    Send(pipe, &number, sizeof number);
}

void SendText(int pipe, const std::string& text) {
    const u32 size = static_cast<u32>(std::min<size_t>(text.size(), kLongestText));
    SendNumber(pipe, size);
    Send(pipe, text.data(), size);
}

// The picture in the means of squares of whole pixels.
PngPicture Smaller(const PngPicture& picture) {
    const u32 step = (std::max(picture.width, picture.height) + kLargestSide - 1) / kLargestSide;
    if (step <= 1) {
        return picture;
    }
    PngPicture small = {picture.width / step, picture.height / step, {}};
    for (u32 y = 0; y < small.height; ++y) {
        for (u32 x = 0; x < small.width; ++x) {
            u32 sums[4] = {};
            for (u32 row = y * step; row < (y + 1) * step; ++row) {
                const u8* const pixels =
                    picture.pixels.data() + 4 * (size_t{row} * picture.width + size_t{x} * step);
                for (u32 i = 0; i < 4 * step; ++i) {
                    sums[i % 4] += pixels[i];
                }
            }
            for (const u32 sum : sums) {
                small.pixels.push_back(static_cast<u8>(sum / (step * step)));
            }
        }
    }
    return small;
}

void SendGame(int pipe, const GameToRead& game) {
    const bool found = !game.files.empty() && FindGame(game.files).empty();
    const GameInfo info = found ? InfoOfGame() : GameInfo();
    SendText(pipe, found ? folders.gameName : "");
    SendText(pipe, info.author);
    SendText(pipe, info.licence);
    SendText(pipe, info.source);
    PngPicture picture;
    if (!(found && ReadGameIcon(picture)) && !ReadIconFile(game.picture, picture)) {
        picture = {};
    }
    picture = Smaller(picture);
    SendNumber(pipe, picture.width);
    SendNumber(pipe, picture.height);
    Send(pipe, picture.pixels.data(), picture.pixels.size());
}

[[noreturn]] void ReadAndSend(int pipe, const std::vector<GameToRead>& games, bool restricted) {
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        dup2(nowhere, stream);
    }
    // What is wrong with a game is said when it is played.
    errorDescriptor = nowhere;
    if (restricted) {
        LimitResources();
        LandlockRules rules(true);
        for (const std::string& place : LibraryPlaces()) {
            rules.PermitReading(place);
        }
        for (const GameToRead& game : games) {
            rules.PermitReading(game.files);
            rules.PermitReading(game.picture);
        }
        rules.Restrict();
        FilterGameCalls();
    }
    for (const GameToRead& game : games) {
        SendGame(pipe, game);
    }
    _exit(0);
}

// --- This process

// False when nothing comes for long, or no more.
bool Receive(int pipe, void* bytes, size_t size) {
    char* at = static_cast<char*>(bytes);
    while (size > 0) {
        pollfd wait = {.fd = pipe, .events = POLLIN, .revents = 0};
        const int ready = poll(&wait, 1, kPatienceMilliseconds);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        const ssize_t count = ready > 0 ? read(pipe, at, size) : 0;
        if (count <= 0) {
            return false;
        }
        at += count;
        size -= static_cast<size_t>(count);
    }
    return true;
}

bool ReceiveText(int pipe, std::string& text) {
    u32 size = 0;
    if (!Receive(pipe, &size, sizeof size) || size > kLongestText) {
        return false;
    }
    text.resize(size);
    return Receive(pipe, text.data(), size);
}

bool ReceivePicture(int pipe, std::shared_ptr<const Picture>& picture) {
    u32 width = 0;
    u32 height = 0;
    if (!Receive(pipe, &width, sizeof width) || !Receive(pipe, &height, sizeof height) ||
        width > kLargestSide || height > kLargestSide) {
        return false;
    }
    if (width == 0 || height == 0) {
        return true;
    }
    Picture read = {static_cast<i32>(width), static_cast<i32>(height), {}};
    read.pixels.resize(size_t{4} * width * height);
    if (!Receive(pipe, read.pixels.data(), read.pixels.size())) {
        return false;
    }
    picture = std::make_shared<const Picture>(std::move(read));
    return true;
}

bool ReceiveGame(int pipe, GameRead& game) {
    return ReceiveText(pipe, game.name) && ReceiveText(pipe, game.author) &&
           ReceiveText(pipe, game.licence) && ReceiveText(pipe, game.source) &&
           ReceivePicture(pipe, game.picture);
}

// Reads from the first game on; where the process ends early or says nothing, up to that game.
size_t ReadSome(const std::vector<GameToRead>& games, bool restricted, GameRead* read) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return 0;
    }
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        ReadAndSend(ends[1], games, restricted);
    }
    close(ends[1]);
    size_t count = 0;
    while (child > 0 && count < games.size() && ReceiveGame(ends[0], read[count])) {
        ++count;
    }
    if (count < games.size()) {
        read[count] = {};
    }
    close(ends[0]);
    if (child > 0) {
        // Also where it has told all: nobody waits for one that a game has taken over.
        kill(child, SIGKILL);
        while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    return count;
}

}  // namespace

std::vector<GameRead> ReadGames(const std::vector<GameToRead>& games, bool restricted) {
    std::vector<GameRead> read(games.size());
    // A game that its reader does not survive takes no other with it.
    for (size_t done = 0; done < games.size();) {
        const std::vector<GameToRead> rest(games.begin() + static_cast<std::ptrdiff_t>(done),
                                           games.end());
        done += ReadSome(rest, restricted, read.data() + done) + 1;
    }
    return read;
}

}  // namespace moxi
