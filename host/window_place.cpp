#include "host/window_place.h"

#include <algorithm>
#include <cstdio>

#include "base/log.h"
#include "base/output_files.h"
#include "host/window.h"

namespace moxi {

namespace {

constexpr u64 kLargestFile = 1 << 20;
constexpr i32 kLeastSide = 50;
constexpr i32 kMostSide = 32767;
// So much of the title bar has to be on a screen, across and down.
constexpr i32 kReachable = 64;
constexpr i32 kTitleBar = 20;

std::string placeFile;
std::string placeName;
std::optional<WindowFrame> remembered;
std::optional<WindowFrame> noted;
constinit bool windowIsGone = false;

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        if (end > start) {
            lines.push_back(text.substr(start, end - start));
        }
        start = end + 1;
    }
    return lines;
}

// The frame and the name of a line; false for a line that is none.
bool ReadLine(const std::string& line, WindowFrame& frame, std::string& name) {
    int end = 0;
    if (std::sscanf(line.c_str(), "%d %d %d %d%n", &frame.x, &frame.y, &frame.width, &frame.height,
                    &end) != 4 ||
        line[static_cast<size_t>(end)] != ' ') {
        return false;
    }
    // Names may begin with blanks.
    name = line.substr(static_cast<size_t>(end) + 1);
    const auto isSide = [](i32 side) { return side >= kLeastSide && side <= kMostSide; };
    return !name.empty() && isSide(frame.width) && isSide(frame.height);
}

// The upper edge of the frame, as far as it is on a screen.
bool IsReachable(const WindowFrame& frame, const WindowFrame& screen) {
    const i64 left = std::max(frame.x, screen.x);
    const i64 right = std::min(i64{frame.x} + frame.width, i64{screen.x} + screen.width);
    const i64 top = i64{frame.y} + frame.height;
    return right - left >= std::min(kReachable, frame.width) &&
           top <= i64{screen.y} + screen.height + kTitleBar && top - kTitleBar >= screen.y;
}

}  // namespace

std::optional<WindowFrame> FindPlace(const std::string& places, const std::string& game) {
    std::optional<WindowFrame> found;
    for (const std::string& line : LinesOf(places)) {
        WindowFrame frame;
        std::string name;
        if (ReadLine(line, frame, name) && name == game) {
            found = frame;
        }
    }
    return found;
}

std::string WithPlace(const std::string& places, const std::string& game,
                      const std::optional<WindowFrame>& frame) {
    std::vector<std::string> lines;
    for (const std::string& line : LinesOf(places)) {
        WindowFrame ignored;
        std::string name;
        if (ReadLine(line, ignored, name) && name != game) {
            lines.push_back(line);
        }
    }
    if (frame) {
        lines.push_back(
            FormatText("%d %d %d %d ", frame->x, frame->y, frame->width, frame->height) + game);
    }
    const size_t first = lines.size() > kMostPlaces ? lines.size() - kMostPlaces : 0;
    std::string text;
    for (size_t i = first; i < lines.size(); ++i) {
        text += lines[i] + "\n";
    }
    return text;
}

WindowFrame OnAScreen(WindowFrame frame, const std::vector<Screen>& screens) {
    const bool reachable = std::any_of(screens.begin(), screens.end(), [&](const Screen& screen) {
        return IsReachable(frame, screen.visibleFrame);
    });
    if (reachable || screens.empty()) {
        return frame;
    }
    const WindowFrame& room = screens.front().visibleFrame;
    frame.width = std::min(frame.width, room.width);
    frame.height = std::min(frame.height, room.height);
    frame.x = room.x + (room.width - frame.width) / 2;
    frame.y = room.y + (room.height - frame.height) / 2;
    return frame;
}

void ReadWindowPlace(const std::string& file, const std::string& game) {
    placeFile = game.find('\n') == std::string::npos ? file : "";
    placeName = game;
    std::string places;
    if (placeFile.empty() || !ReadOwnFile(placeFile, kLargestFile, places)) {
        return;
    }
    remembered = FindPlace(places, game);
}

void RestoreWindowPlace(void (*setFrame)(WindowFrame frame)) {
    if (!remembered || modulePlacesWindow) {
        return;
    }
    setFrame(OnAScreen(*remembered, desktop.screens()));
}

void NoteWindowPlace() {
    if (windowIsGone || desktop.isFullScreen() || miniaturized) {
        return;
    }
    const WindowFrame frame = desktop.windowFrame();
    // A window that is lost in full screen has no other frame any more.
    for (const Screen& screen : desktop.screens()) {
        if (frame == screen.frame) {
            return;
        }
    }
    noted = frame;
}

void NoteLastWindowPlace() {
    NoteWindowPlace();
    windowIsGone = true;
}

void SaveWindowPlace() {
    if (placeFile.empty()) {
        return;
    }
    NoteWindowPlace();
    if (!noted && !modulePlacesWindow) {
        return;
    }
    const std::optional<WindowFrame> frame = modulePlacesWindow ? std::nullopt : noted;
    if (frame == remembered) {
        return;
    }
    std::string places;
    ReadOwnFile(placeFile, kLargestFile, places);
    if (!ReplaceFile(placeFile, WithPlace(places, placeName, frame))) {
        SystemLog(placeFile + ": cannot be written");
    }
}

void ResetWindowPlace() {
    placeFile.clear();
    placeName.clear();
    remembered.reset();
    noted.reset();
    windowIsGone = false;
}

}  // namespace moxi
