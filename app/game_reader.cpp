#include "app/game_reader.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <set>
#include <string_view>

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
// So many games are read at a time. Those that take longer than the first patience are tried once
// more when all others have been read, within what is left of the whole time.
constexpr size_t kReaders = 8;
constexpr auto kPatience = std::chrono::milliseconds(400);
constexpr auto kLongPatience = std::chrono::milliseconds(3000);
constexpr auto kWholePatience = std::chrono::milliseconds(6000);
constexpr auto kTimeForEach = std::chrono::milliseconds(10);

using Clock = std::chrono::steady_clock;

// --- The process that reads

void AppendNumber(std::string& message, u32 number) {
    message.append(reinterpret_cast<const char*>(&number), sizeof number);
}

void AppendText(std::string& message, const std::string& text) {
    const u32 size = static_cast<u32>(std::min<size_t>(text.size(), kLongestText));
    AppendNumber(message, size);
    message.append(text, 0, size);
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

// The folder to read of; "" when there is none. An archive's or a cartridge's is in the cache, if
// it still is.
std::string FilesOf(const GameToRead& game) {
    std::error_code error;
    if (std::filesystem::is_directory(game.path, error)) {
        return game.path;
    }
    return HoldsModule(game.files) ? game.files : "";
}

bool IsMissing(const GameToRead& game) {
    std::error_code error;
    if (std::filesystem::is_directory(game.path, error)) {
        return !HoldsModule(game.path);
    }
    return !std::filesystem::is_regular_file(game.path, error);
}

std::string MessageOf(const GameToRead& game) {
    const std::string files = FilesOf(game);
    const bool found = !files.empty() && FindGame(files).empty();
    const GameInfo info = found ? InfoOfGame() : GameInfo();
    std::string message;
    AppendNumber(message, IsMissing(game) ? 1 : 0);
    AppendText(message, found ? folders.gameName : "");
    AppendText(message, info.author);
    AppendText(message, info.licence);
    AppendText(message, info.source);
    PngPicture picture;
    if (!(found && ReadGameIcon(picture)) && !ReadIconFile(game.picture, picture)) {
        picture = {};
    }
    picture = Smaller(picture);
    AppendNumber(message, picture.width);
    AppendNumber(message, picture.height);
    message.append(reinterpret_cast<const char*>(picture.pixels.data()), picture.pixels.size());
    return message;
}

// Where the process may read.
struct Reach {
    std::vector<std::string> places;
    bool restricted = true;
};

void Restrict(const Reach& reach, const GameToRead& game) {
    LimitResources();
    LandlockRules rules(true);
    for (const std::string& place : reach.places) {
        rules.PermitReading(place);
    }
    rules.PermitReading(FilesOf(game));
    rules.PermitReading(game.picture);
    rules.Restrict();
    FilterGameCalls();
}

[[noreturn]] void ReadAndSend(int pipe, const GameToRead& game, const Reach& reach) {
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        dup2(nowhere, stream);
    }
    // What is wrong with a game is said when it is played.
    errorDescriptor = nowhere;
    beforeGameIsRead(game);
    if (reach.restricted) {
        Restrict(reach, game);
    }
    const std::string message = MessageOf(game);
    for (size_t sent = 0; sent < message.size();) {
        const ssize_t count = write(pipe, message.data() + sent, message.size() - sent);
        if (count <= 0) {
            _exit(1);
        }
        sent += static_cast<size_t>(count);
    }
    _exit(0);
}

// --- What it has told

// Takes what comes next; false when the message is over before.
bool Take(std::string_view& message, void* bytes, size_t size) {
    if (message.size() < size) {
        return false;
    }
    std::memcpy(bytes, message.data(), size);
    message.remove_prefix(size);
    return true;
}

bool TakeNumber(std::string_view& message, u32& number) {
    return Take(message, &number, sizeof number);
}

bool TakeText(std::string_view& message, std::string& text) {
    u32 size = 0;
    if (!TakeNumber(message, size) || size > kLongestText) {
        return false;
    }
    text.resize(size);
    return Take(message, text.data(), size);
}

bool TakePicture(std::string_view& message, std::shared_ptr<const RgbaPicture>& picture) {
    u32 width = 0;
    u32 height = 0;
    if (!TakeNumber(message, width) || !TakeNumber(message, height) || width > kLargestSide ||
        height > kLargestSide) {
        return false;
    }
    if (width == 0 || height == 0) {
        return true;
    }
    RgbaPicture read = {static_cast<i32>(width), static_cast<i32>(height), {}};
    read.pixels.resize(size_t{4} * width * height);
    if (!Take(message, read.pixels.data(), read.pixels.size())) {
        return false;
    }
    picture = std::make_shared<const RgbaPicture>(std::move(read));
    return true;
}

}  // namespace

GameRead GameOfMessage(std::string_view message) {
    GameRead game;
    u32 missing = 0;
    if (!TakeNumber(message, missing) || !TakeText(message, game.name) ||
        !TakeText(message, game.author) || !TakeText(message, game.licence) ||
        !TakeText(message, game.source) || !TakePicture(message, game.picture)) {
        return {};
    }
    game.isMissing = missing != 0;
    return game;
}

// --- This process

namespace {

struct Reader {
    size_t game = 0;
    pid_t process = -1;
    int pipe = -1;
    Clock::time_point until;
    std::string message;
};

// Processes that were killed and may be waiting for a disk that is not there any more.
std::vector<pid_t> killed;
// Games that could not be read in time.
std::set<std::string> slowGames;

bool StartReader(const GameToRead& game, const Reach& reach, Reader& reader) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    reader.process = fork();
    if (reader.process == 0) {
        close(ends[0]);
        ReadAndSend(ends[1], game, reach);
    }
    close(ends[1]);
    if (reader.process < 0) {
        close(ends[0]);
        return false;
    }
    reader.pipe = ends[0];
    return true;
}

void StopReader(const Reader& reader) {
    close(reader.pipe);
    // Killed even where it has sent all: a process that a game has taken over might never end.
    kill(reader.process, SIGKILL);
    killed.push_back(reader.process);
}

void CollectKilled() {
    std::erase_if(killed, [](pid_t process) { return waitpid(process, nullptr, WNOHANG) != 0; });
}

// False when there is no more to come.
bool Receive(Reader& reader) {
    constexpr size_t kMost =
        sizeof(u32) * 7 + size_t{4} * kLongestText + size_t{4} * kLargestSide * kLargestSide;
    char part[65536];
    const ssize_t count = read(reader.pipe, part, sizeof part);
    if (count < 0 && errno == EINTR) {
        return true;
    }
    if (count <= 0 || reader.message.size() > kMost) {
        return false;
    }
    reader.message.append(part, static_cast<size_t>(count));
    return true;
}

// Waits until one of them has sent something or its time is over.
void WaitForReaders(const std::vector<Reader>& readers, std::vector<pollfd>& waits) {
    waits.clear();
    if (readers.empty()) {
        return;
    }
    Clock::time_point first = Clock::time_point::max();
    for (const Reader& reader : readers) {
        waits.push_back({.fd = reader.pipe, .events = POLLIN, .revents = 0});
        first = std::min(first, reader.until);
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(first - Clock::now()).count();
    poll(waits.data(), waits.size(), static_cast<int>(std::max<i64>(left, 0)));
}

struct Pass {
    const std::vector<GameToRead>& games;
    std::vector<GameRead>& read;
    const Reach& reach;
    Clock::time_point end;
    std::chrono::milliseconds patience;
};

// Starts reading a game. False where no time is left, or no process can be made.
bool Begin(const Pass& pass, size_t game, std::vector<Reader>& readers) {
    if (Clock::now() >= pass.end) {
        return false;
    }
    Reader reader;
    reader.game = game;
    reader.until = std::min(Clock::now() + pass.patience, pass.end);
    if (!StartReader(pass.games[game], pass.reach, reader)) {
        return false;
    }
    readers.push_back(std::move(reader));
    return true;
}

// Takes what has come. Readers that have told all, or have had their time, are gone afterwards.
void TakeWhatCame(const Pass& pass, const std::vector<pollfd>& waits, std::vector<Reader>& readers,
                  std::vector<size_t>& late) {
    for (size_t i = readers.size(); i-- > 0;) {
        Reader& reader = readers[i];
        const bool hasEnded = waits[i].revents != 0 && !Receive(reader);
        if (!hasEnded && Clock::now() < reader.until) {
            continue;
        }
        if (hasEnded) {
            pass.read[reader.game] = GameOfMessage(reader.message);
        } else {
            late.push_back(reader.game);
        }
        StopReader(reader);
        readers.erase(readers.begin() + static_cast<std::ptrdiff_t>(i));
    }
}

// Reads these games. Returns those that had no time, or more than is their due.
std::vector<size_t> ReadPass(const Pass& pass, const std::vector<size_t>& which) {
    std::vector<size_t> late;
    std::vector<Reader> readers;
    std::vector<pollfd> waits;
    for (size_t next = 0; next < which.size() || !readers.empty();) {
        for (; next < which.size() && readers.size() < kReaders; ++next) {
            if (!Begin(pass, which[next], readers)) {
                late.push_back(which[next]);
            }
        }
        WaitForReaders(readers, waits);
        TakeWhatCame(pass, waits, readers, late);
        CollectKilled();
    }
    return late;
}

}  // namespace

std::vector<GameRead> ReadGames(const std::vector<GameToRead>& games, bool restricted) {
    std::vector<GameRead> read(games.size());
    const Reach reach = {restricted ? LibraryPlaces() : std::vector<std::string>(), restricted};
    std::vector<size_t> which;
    for (size_t i = 0; i < games.size(); ++i) {
        if (slowGames.count(games[i].path) == 0) {
            which.push_back(i);
        }
    }
    const Clock::time_point end = Clock::now() + kWholePatience + kTimeForEach * games.size();
    which = ReadPass({games, read, reach, end, kPatience}, which);
    which = ReadPass({games, read, reach, end, kLongPatience}, which);
    for (const size_t i : which) {
        slowGames.insert(games[i].path);
    }
    return read;
}

}  // namespace moxi
