#include "desktop/sdl/window/points.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "desktop/common/rectangles.h"

namespace moxi {

constinit i32 pointSize = 1;
constinit i32 screenPointSize = 1;

// A game asks for no smaller window.
constexpr i32 kLeastWidth = 600;
constexpr i32 kLeastHeight = 400;

namespace {

i32 FloorDiv(i64 value, i64 by) {
    const i64 quotient = value / by;
    return static_cast<i32>(value % by < 0 ? quotient - 1 : quotient);
}

i32 CeilDiv(i32 value, i32 by) {
    return -FloorDiv(-i64{value}, by);
}

// The number that a text begins with; 0 for another text.
double NumberOf(const char* text) {
    double number = 0;
    if (text == nullptr) {
        return 0;
    }
    std::from_chars(text, text + std::strlen(text), number, std::chars_format::fixed);
    return std::isfinite(number) ? number : 0;
}

}  // namespace

i32 MostSteps(const ScreenArea& mainScreen) {
    return std::max(std::min(mainScreen.width / kLeastWidth, mainScreen.height / kLeastHeight), 1);
}

namespace {

double WantedDensity(const char* dpi, const char* gdkScale) {
    constexpr double kPlainDpi = 96;
    return std::max(NumberOf(dpi) / kPlainDpi, NumberOf(gdkScale));
}

}  // namespace

i32 DensityOf(const char* dpi, const char* gdkScale, const ScreenArea& mainScreen) {
    const double wanted = std::round(WantedDensity(dpi, gdkScale));
    return static_cast<i32>(std::clamp<double>(wanted, 1, MostSteps(mainScreen)));
}

double BoxDensityOf(const char* dpi, const char* gdkScale, const ScreenArea& mainScreen) {
    constexpr double kStepsOfOne = 4;
    const double wanted = std::round(WantedDensity(dpi, gdkScale) * kStepsOfOne) / kStepsOfOne;
    return std::clamp<double>(wanted, 1, MostSteps(mainScreen));
}

ViewSize ViewOf(const ScreenArea& content) {
    return {std::max(content.width / pointSize, 1), std::max(content.height / pointSize, 1)};
}

namespace {

Borders InPoints(const Borders& borders) {
    return {CeilDiv(borders.top, pointSize), CeilDiv(borders.left, pointSize),
            CeilDiv(borders.bottom, pointSize), CeilDiv(borders.right, pointSize)};
}

}  // namespace

WindowFrame FrameOf(const ScreenArea& content, const Borders& borders,
                    const ScreenArea& mainScreen) {
    const WindowFrame pixels = FromArea(content, mainScreen);
    const Borders around = InPoints(borders);
    const ViewSize view = ViewOf(content);
    return {FloorDiv(pixels.x, screenPointSize) - around.left,
            FloorDiv(pixels.y, screenPointSize) - around.bottom,
            view.width + around.left + around.right, view.height + around.top + around.bottom};
}

ScreenArea ContentOf(const WindowFrame& frame, const Borders& borders,
                     const ScreenArea& mainScreen) {
    const Borders around = InPoints(borders);
    const auto side = [](i64 points) {
        return static_cast<i32>(std::clamp<i64>(points * pointSize, pointSize, kLargestSize));
    };
    const auto place = [](i64 points) {
        return static_cast<i32>(std::clamp<i64>(points * screenPointSize, INT32_MIN, INT32_MAX));
    };
    return ToArea({place(i64{frame.x} + around.left), place(i64{frame.y} + around.bottom),
                   side(i64{frame.width} - around.left - around.right),
                   side(i64{frame.height} - around.top - around.bottom)},
                  mainScreen);
}

WindowFrame ScreenFrameOf(const ScreenArea& screen, const ScreenArea& mainScreen) {
    const WindowFrame pixels = FromArea(screen, mainScreen);
    return {FloorDiv(pixels.x, screenPointSize), FloorDiv(pixels.y, screenPointSize),
            std::max(pixels.width / screenPointSize, 1),
            std::max(pixels.height / screenPointSize, 1)};
}

namespace {

i32 Middle(i32 room, i32 size) {
    return std::max(room - size, 0) / 2;
}

}  // namespace

ScreenArea PlaceIn(ViewSize room, ViewSize picture, Fitting fitting, i32 steps) {
    const i64 width = std::max(picture.width, 1);
    const i64 height = std::max(picture.height, 1);
    if (fitting != Fitting::Steps) {
        steps = static_cast<i32>(std::min(room.width / width, room.height / height));
    }
    // By fractions, or larger than the room even at one step: scaled until it fits.
    if (fitting == Fitting::Fractions || steps < 1) {
        const bool isWide = width * room.height > height * room.width;
        const i64 shownWidth = isWide ? room.width : room.height * width / height;
        const i64 shownHeight = isWide ? room.width * height / width : room.height;
        const ViewSize shown = {static_cast<i32>(std::max<i64>(shownWidth, 1)),
                                static_cast<i32>(std::max<i64>(shownHeight, 1))};
        return {Middle(room.width, shown.width), Middle(room.height, shown.height), shown.width,
                shown.height};
    }
    const ViewSize shown = {static_cast<i32>(width * steps), static_cast<i32>(height * steps)};
    // At one step the view has the size of the room, but for a moment while the size changes.
    if (fitting == Fitting::Steps && steps == 1) {
        return {0, 0, shown.width, shown.height};
    }
    return {Middle(room.width, shown.width), Middle(room.height, shown.height), shown.width,
            shown.height};
}

Point PicturePoint(Point inRoom, const ScreenArea& place, ViewSize picture) {
    return {FloorDiv((i64{inRoom.x} - place.x) * picture.width, std::max(place.width, 1)),
            FloorDiv((i64{inRoom.y} - place.y) * picture.height, std::max(place.height, 1))};
}

Point RoomPoint(Point inPicture, const ScreenArea& place, ViewSize picture) {
    const auto middle = [](i64 at, i64 size, i64 count) {
        return FloorDiv((2 * at + 1) * size, 2 * std::max<i64>(count, 1));
    };
    return {place.x + middle(inPicture.x, place.width, picture.width),
            place.y + middle(inPicture.y, place.height, picture.height)};
}

}  // namespace moxi
