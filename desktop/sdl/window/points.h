#pragma once
// Between the points of the application and the desktop's pixels: where the view is enlarged, a
// point is several of them. On Wayland these are the compositor's own pixels, which it enlarges
// itself on a screen with a high density.

#include "desktop/desktop.h"
#include "desktop/sdl/window/geometry.h"

namespace moxi {

// Pixels of a point's side, and those of a screen's point: screens keep their sizes while the
// player changes the scale, since a game ends when they change.
extern constinit i32 pointSize;
extern constinit i32 screenPointSize;

// The scale that the desktop asks for: the density of the X server's resources or of GDK_SCALE,
// whichever is larger, in whole steps; no more than leaves room for the smallest window of a game.
// `dpi` is the text of Xft.dpi, `gdkScale` that of the variable; either may be anything.
i32 DensityOf(const char* dpi, const char* gdkScale, const ScreenArea& mainScreen);
// The same in quarters, for what is drawn at any size.
double BoxDensityOf(const char* dpi, const char* gdkScale, const ScreenArea& mainScreen);
// The most steps that leave room for that window, at least 1.
i32 MostSteps(const ScreenArea& mainScreen);

// The view that content has room for, at least 1 x 1.
ViewSize ViewOf(const ScreenArea& content);

// The frame in points around content, and the content of a frame. Borders are whole points, so that
// a frame that is asked for as it was told stays the same.
WindowFrame FrameOf(const ScreenArea& content, const Borders& borders,
                    const ScreenArea& mainScreen);
ScreenArea ContentOf(const WindowFrame& frame, const Borders& borders,
                     const ScreenArea& mainScreen);

// A screen, or a part of one, in points.
WindowFrame ScreenFrameOf(const ScreenArea& screen, const ScreenArea& mainScreen);

// Where a picture of this size is shown in a room of this size.
enum class Fitting : u8 {
    Steps,      // enlarged by `steps`, and in the middle of what remains
    Whole,      // by as many whole steps as there is room for
    Fractions,  // until it touches two edges
};
ScreenArea PlaceIn(ViewSize room, ViewSize picture, Fitting fitting, i32 steps);

// The picture's pixel at a point of the room; outside of the place it goes on with the same step.
struct Point {
    i32 x = 0;
    i32 y = 0;

    bool operator==(const Point&) const = default;
};
Point PicturePoint(Point inRoom, const ScreenArea& place, ViewSize picture);
// The middle of a picture's pixel in the room.
Point RoomPoint(Point inPicture, const ScreenArea& place, ViewSize picture);

}  // namespace moxi
