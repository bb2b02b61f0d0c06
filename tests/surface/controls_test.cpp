// The toolkit: focus, keys, pointer, fields, scrolling, the text of the controls, and drawing.

#include "surface/controls.h"

#include <gtest/gtest.h>

#include "desktop/desktop.h"
#include "surface/form.h"

namespace moxi {

namespace {

using Strings = std::vector<std::string>;

constexpr u8 kReturn = 0x24;
constexpr u8 kTab = 0x30;
constexpr u8 kSpace = 0x31;
constexpr u8 kBackspace = 0x33;
constexpr u8 kEscape = 0x35;
constexpr u8 kHome = 0x73;
constexpr u8 kDelete = 0x75;
constexpr u8 kEnd = 0x77;
constexpr u8 kLeft = 0x7B;
constexpr u8 kRight = 0x7C;
constexpr u8 kDown = 0x7D;
constexpr u8 kUp = 0x7E;

// A list of one control of each kind, each 100 x 20, one below the other, in a view of 100 x 60.
class Controls : public ::testing::Test {
  protected:
    void SetUp() override {
        BeginControls(surface, 200, 200, 1);
        surface.title = "Test";
        Add(Role::Heading, "heading");
        Add(Role::Slider, "slider").percent = 52;
        Add(Role::Check, "check");
        Add(Role::Choice, "choice");
        Add(Role::Button, "grey").enabled = false;
        Add(Role::Row, "row");
        Add(Role::Field, "field").value = "a\xC3\xA4z";
        surface.view = {0, 0, 100, 60};
        surface.bodyHeight = 140;
        EndControls(surface);
    }

    Control& Add(Role role, const std::string& id) {
        Control& control = AddControl(surface, role, id, "The " + id);
        control.box = {0, 20.0 * static_cast<double>(surface.controls.size() - 1), 100, 20};
        return control;
    }
    Want Press(u8 code, const std::string& text = "", bool shift = false, bool command = false) {
        SurfaceInput input;
        input.kind = SurfaceInputKind::KeyDown;
        input.code = code;
        input.text = text;
        input.shift = shift;
        input.command = command;
        return HandleInput(surface, input);
    }
    Want Point(SurfaceInputKind kind, i32 x, i32 y) {
        SurfaceInput input;
        input.kind = kind;
        input.x = x;
        input.y = y;
        return HandleInput(surface, input);
    }
    const Control& Of(const std::string& id) { return *FindControl(surface, id); }

    Surface surface;
};

TEST_F(Controls, TabGoesRoundThoseThatCanBeUsed) {
    Strings order;
    for (int i = 0; i < 6; ++i) {
        order.push_back(surface.focus);
        Press(kTab);
    }
    EXPECT_EQ(order, (Strings{"slider", "check", "choice", "row", "field", "slider"}));
    Press(kTab, "", true);
    Press(kTab, "", true);
    EXPECT_EQ(surface.focus, "field");
}

TEST_F(Controls, ArrowsGoUpAndDownAndWhatHasTheFocusIsScrolledIntoView) {
    Press(kDown);
    EXPECT_EQ(surface.focus, "check");
    EXPECT_EQ(surface.scroll, 8);  // 20 + 20 + 20 and a margin of 8 in a view of 60
    Press(kDown);
    Press(kDown);
    EXPECT_EQ(surface.focus, "row");
    EXPECT_EQ(surface.scroll, 68);
    Press(kUp);
    Press(kUp);
    Press(kUp);
    EXPECT_EQ(surface.focus, "slider");
    EXPECT_EQ(surface.scroll, 12);
    // Beyond the first one there is the heading to be read.
    Press(kUp);
    EXPECT_EQ(surface.scroll, 0);
}

TEST_F(Controls, ASliderGoesToRoundValuesAndToItsEnds) {
    const Want want = Press(kRight);
    EXPECT_EQ(want.kind, WantKind::Change);
    EXPECT_EQ(want.id, "slider");
    EXPECT_EQ(Of("slider").percent, 55u);
    Press(kLeft);
    EXPECT_EQ(Of("slider").percent, 50u);
    Press(kEnd);
    EXPECT_EQ(Of("slider").percent, 100u);
    EXPECT_EQ(Press(kRight).kind, WantKind::Nothing);
    Press(kHome);
    EXPECT_EQ(Of("slider").percent, 0u);
}

TEST_F(Controls, ReturnAndSpaceSwitchStepAndPress) {
    Focus(surface, "check");
    EXPECT_EQ(Press(kSpace, " ").kind, WantKind::Change);
    EXPECT_TRUE(Of("check").on);
    Press(kReturn, "\r");
    EXPECT_FALSE(Of("check").on);
    Focus(surface, "choice");
    EXPECT_EQ(Press(kReturn).step, 1);
    EXPECT_EQ(Press(kLeft).step, -1);
    Focus(surface, "row");
    EXPECT_EQ(Press(kReturn).kind, WantKind::Press);
    EXPECT_EQ(Press(kDelete).kind, WantKind::Delete);
    EXPECT_EQ(Press(kEscape).kind, WantKind::Leave);
    EXPECT_EQ(Press(0, "a").text, "a");
    Focus(surface, "grey");
    EXPECT_EQ(surface.focus, "row");
}

TEST_F(Controls, AFieldIsEditedByWholeCharacters) {
    Focus(surface, "field");
    Press(kLeft);
    Press(kBackspace, "\b");
    EXPECT_EQ(Of("field").value, "az");
    Press(0, "\xE6\x97\xA5");
    EXPECT_EQ(Of("field").value, "a\xE6\x97\xA5z");
    Press(kHome);
    Press(kDelete, "\x7F");
    Press(kDelete, "\x7F");
    EXPECT_EQ(Of("field").value, "z");
    Press(kEnd);
    Press(kSpace, " ");
    EXPECT_EQ(Of("field").value, "z ");
    EXPECT_EQ(Press(kReturn, "\r").kind, WantKind::Press);
    desktop.clipboardText = [] { return std::optional<std::string>("one\ntwo"); };
    Press(9, "v", false, true);
    EXPECT_EQ(Of("field").value, "z onetwo");
    SurfaceInput text;
    text.kind = SurfaceInputKind::Text;
    text.text = "!";
    EXPECT_EQ(HandleInput(surface, text).kind, WantKind::Change);
    EXPECT_EQ(Of("field").value, "z onetwo!");
    desktop.clipboardText = [] { return std::optional<std::string>(); };
}

TEST_F(Controls, ThePointerPressesWhatItIsReleasedOn) {
    Point(SurfaceInputKind::PointerDown, 50, 45);
    EXPECT_EQ(surface.focus, "check");
    EXPECT_FALSE(Of("check").on);
    EXPECT_EQ(Point(SurfaceInputKind::PointerUp, 50, 45).kind, WantKind::Change);
    EXPECT_TRUE(Of("check").on);
    Point(SurfaceInputKind::PointerDown, 50, 45);
    EXPECT_EQ(Point(SurfaceInputKind::PointerUp, 50, 5).kind, WantKind::Nothing);
    EXPECT_TRUE(Of("check").on);
    // What is scrolled out of view is not there.
    EXPECT_EQ(Point(SurfaceInputKind::PointerDown, 50, 70).kind, WantKind::Nothing);
    EXPECT_EQ(surface.grabbed, "");
}

TEST_F(Controls, TheWheelScrollsAsFarAsThereIsSomething) {
    SurfaceInput wheel;
    wheel.kind = SurfaceInputKind::Wheel;
    wheel.wheel = -1;
    HandleInput(surface, wheel);
    EXPECT_EQ(surface.scroll, 48);
    HandleInput(surface, wheel);
    EXPECT_EQ(surface.scroll, 80);
    wheel.wheel = 5;
    HandleInput(surface, wheel);
    EXPECT_EQ(surface.scroll, 0);
}

TEST_F(Controls, AreDumpedOneALine) {
    surface.scale = 2;
    EXPECT_EQ(DumpControls(surface),
              "surface \"Test\" 400x400\n"
              "heading heading \"The heading\" at 0,0 200x40\n"
              "slider slider \"The slider\" at 0,40 200x40 focused\n"
              "check check \"The check\" value \"off\" at 0,80 200x40\n"
              "choice choice \"The choice\" at 0,120 200x40 out-of-view\n"
              "button grey \"The grey\" at 0,160 200x40 disabled out-of-view\n"
              "row row \"The row\" at 0,200 200x40 out-of-view\n"
              "field field \"The field\" value \"a\xC3\xA4z\" at 0,240 200x40 out-of-view\n");
}

TEST_F(Controls, ALineFeedInANameBeginsNoLine) {
    BeginControls(surface, 200, 200, 1);
    AddControl(surface, Role::Row, "/games/a\nb", "Pond\nbutton \"x\\").box = {0, 0, 100, 20};
    EndControls(surface);
    EXPECT_EQ(DumpControls(surface),
              "surface \"Test\" 200x200\n"
              "row /games/a\\x0Ab \"Pond\\x0Abutton \\\"x\\\\\" at 0,0 100x20 focused\n");
}

TEST_F(Controls, AListThatIsMadeAnewKeepsFocusAndCaret) {
    Focus(surface, "field");
    Press(kLeft);
    SetUp();
    EXPECT_EQ(surface.focus, "field");
    EXPECT_EQ(Of("field").caret, 3u);
    BeginControls(surface, 200, 200, 1);
    Add(Role::Button, "only");
    EndControls(surface);
    EXPECT_EQ(surface.focus, "only");
}

TEST(SurfaceScale, FollowsTheSizeInQuartersAndLargeTextMakesItMore) {
    EXPECT_EQ(SurfaceScale(300, 200, false), 1);
    EXPECT_EQ(SurfaceScale(1280, 800, false), 1);
    EXPECT_EQ(SurfaceScale(1920, 1080, false), 1.5);
    EXPECT_EQ(SurfaceScale(1200, 800, false, 2), 2);
    EXPECT_EQ(SurfaceScale(3840, 2160, false, 2), 3);
    EXPECT_EQ(SurfaceScale(3840, 2160, false, 16), 6);
    EXPECT_EQ(SurfaceScale(3840, 2160, false), 3);
    EXPECT_EQ(SurfaceScale(1280, 800, true), 1.35);
}

// --- Drawing

Colour PixelOf(const Canvas& canvas, i32 x, i32 y) {
    const u8* const pixel = canvas.pixels.data() + 4 * (y * canvas.width + x);
    return {pixel[0], pixel[1], pixel[2]};
}

bool Is(Colour colour, u8 red, u8 green, u8 blue) {
    return colour.red == red && colour.green == green && colour.blue == blue;
}

TEST(Canvas, FillsBoxesAsFarAsTheyCoverPixels) {
    Canvas canvas;
    ResizeCanvas(canvas, 8, 8);
    FillBox(canvas, {1, 1, 4, 4}, {200, 100, 50});
    EXPECT_TRUE(Is(PixelOf(canvas, 0, 0), 0, 0, 0));
    EXPECT_TRUE(Is(PixelOf(canvas, 1, 1), 200, 100, 50));
    EXPECT_TRUE(Is(PixelOf(canvas, 4, 4), 200, 100, 50));
    EXPECT_TRUE(Is(PixelOf(canvas, 5, 4), 0, 0, 0));
    FillBox(canvas, {6, 2, 2, 3}, {200, 100, 50, 0.5});
    EXPECT_TRUE(Is(PixelOf(canvas, 6, 3), 100, 50, 25));
}

TEST(Canvas, StaysInItsClipAndItsSize) {
    Canvas canvas;
    ResizeCanvas(canvas, 6, 6);
    canvas.clip = {2, 2, 2, 2};
    FillRoundBox(canvas, {-100, -100, 300, 300}, 20, {255, 255, 255});
    for (i32 y = 0; y < 6; ++y) {
        for (i32 x = 0; x < 6; ++x) {
            const bool inside = x >= 2 && x < 4 && y >= 2 && y < 4;
            EXPECT_EQ(PixelOf(canvas, x, y).red, inside ? 255 : 0) << x << "," << y;
        }
    }
}

TEST(Canvas, RoundsCornersAndDrawsBordersInside) {
    Canvas canvas;
    ResizeCanvas(canvas, 20, 20);
    FillRoundBox(canvas, {0, 0, 20, 20}, 10, {255, 255, 255});
    EXPECT_EQ(PixelOf(canvas, 0, 0).red, 0);
    EXPECT_EQ(PixelOf(canvas, 10, 10).red, 255);
    EXPECT_EQ(PixelOf(canvas, 10, 1).red, 255);
    ResizeCanvas(canvas, 20, 20);
    DrawRoundBorder(canvas, {2, 2, 16, 16}, 0, 2, {255, 255, 255});
    EXPECT_EQ(PixelOf(canvas, 10, 1).red, 0);
    EXPECT_EQ(PixelOf(canvas, 10, 2).red, 255);
    EXPECT_EQ(PixelOf(canvas, 10, 3).red, 255);
    EXPECT_EQ(PixelOf(canvas, 10, 4).red, 0);
}

TEST(Canvas, ScalesPicturesAndMinglesTheirAlpha) {
    // Red, and green half transparent.
    const RgbaPicture picture = {2, 1, {255, 0, 0, 255, 0, 200, 0, 128}};
    Canvas canvas;
    ResizeCanvas(canvas, 4, 2);
    DrawPicture(canvas, {0, 0, 4, 2}, picture);
    EXPECT_TRUE(Is(PixelOf(canvas, 1, 1), 255, 0, 0));
    EXPECT_TRUE(Is(PixelOf(canvas, 2, 0), 0, 100, 0));
    Darken(canvas, 0.5);
    EXPECT_TRUE(Is(PixelOf(canvas, 1, 1), 127, 0, 0));
}

TEST(Forms, OfAnySizeKeepTheirControlsInTheirFrame) {
    for (const auto& [width, height] : {std::pair{200, 150}, {300, 200}, {600, 400}, {1280, 800}}) {
        Surface surface;
        BeginControls(surface, width, height, 1);
        AddControl(surface, Role::Tab, "tab", "Tab").part = Part::Head;
        for (int i = 0; i < 12; ++i) {
            AddControl(surface, Role::Check, "check" + std::to_string(i), "Check");
        }
        AddControl(surface, Role::Button, "close", "Close").part = Part::Foot;
        LayOutForm(surface);
        EXPECT_GE(surface.frame.x, 0);
        EXPECT_GE(surface.frame.y, 0);
        EXPECT_LE(surface.frame.x + surface.frame.width, width);
        EXPECT_LE(surface.frame.y + surface.frame.height, height);
        EXPECT_GT(surface.view.height, 60);
        for (const Control& control : surface.controls) {
            Reveal(surface, control);
            const Box place = PlaceOf(surface, control);
            EXPECT_GE(place.x, surface.frame.x);
            EXPECT_LE(place.x + place.width, surface.frame.x + surface.frame.width);
            EXPECT_GE(place.y, surface.frame.y) << control.id;
            EXPECT_LE(place.y + place.height, surface.frame.y + surface.frame.height) << control.id;
        }
    }
}

}  // namespace

}  // namespace moxi
