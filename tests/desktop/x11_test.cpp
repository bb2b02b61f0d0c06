// The SDL desktop on Xvfb with openbox, driven by xdotool as a person would.
#include <gtest/gtest.h>

#include <cstdlib>

#include "../support/desktop_probe.h"
#include "../support/desktop_session.h"

namespace {
class X11 : public testing::Test {
  protected:
    void SetUp() override {
        if (!session.Start("1400x900x24")) GTEST_SKIP() << "Xvfb, openbox or xdotool is missing";
    }
    XSession session;
    DesktopProbe probe;
};

TEST_F(X11, Everything) {
    probe.Start();
    ASSERT_GE(probe.WaitFor("draw"), 0);
    probe.WaitForQuiet();
    std::system("xdotool search --name Probe getwindowgeometry");
    std::system("xdotool key a shift+b Return mousemove 300 500 click 1 click 4 click 5");
    probe.WaitForQuiet();
    std::system("import -window root /tmp/shot.png");
    std::system("xprop -name Probe WM_CLASS _NET_FRAME_EXTENTS");
    std::system("xdotool search --name Probe windowclose");
    probe.WaitForQuiet();
    for (auto& l : probe.Log()) puts(l.c_str());
}
}  // namespace
