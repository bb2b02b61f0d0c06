// The debugger beside a real window: it stops the game while the desktop goes on.

#include <gtest/gtest.h>

#include "tests/kit/debugged.h"
#include "tests/support/desktop_session.h"
#include "tests/support/headless_run.h"

namespace moxi {

namespace {

TEST(Debugger, WorksWithAWindow) {
    if (!IsProgramInstalled("Xvfb")) {
        GTEST_SKIP() << "Xvfb is missing";
    }
    XSession desktop;
    ASSERT_TRUE(desktop.Start("1400x900x24"));
    const Debugged game(kTicking);
    Interactive session(game, "");
    ASSERT_TRUE(session.WaitFor("=> 00000200 <start>"));
    session.Enter("b add");
    session.Enter("c");
    ASSERT_TRUE(session.WaitFor("breakpoint 1\n=> 00000248 <add>  LINK     8, 0\n"));
    session.Enter("k");
    ASSERT_TRUE(session.WaitFor("#1  00000230 <start+48>"));
    session.Enter("save 0 " + game.folder.path + "/screen.png");
    ASSERT_TRUE(session.WaitFor("screen.png: 1400 x 900\n"));
    session.Enter("c");
    ASSERT_TRUE(
        session.WaitFor("(moxi) c\nbreakpoint 1\n=> 00000248 <add>  LINK     8, 0\n(moxi) k"));
    session.Enter("q");
    EXPECT_EQ(session.WaitForExit(), 0);
    EXPECT_EQ(ReadTextFile(game.folder.path + "/errors"), "log: hi\\n\n");
}

}  // namespace

}  // namespace moxi
