// The display goes away at each stage of a run, and the process ends: nothing in it waits for an
// answer that cannot come.
#include <csignal>

#include "base/last_wait.h"
#include "desktop/desktop.h"
#include "desktop/sdl/sdl_desktop.h"
#include "tests/window/moxi_window.h"

namespace moxi {

namespace {

bool HasEnded(pid_t process) {
    const std::string status = ReadTextFile("/proc/" + std::to_string(process) + "/status");
    return status.empty() || status.find("State:\tZ") != std::string::npos;
}

void KillDisplay(pid_t server) {
    kill(server, SIGKILL);
    WaitUntil([server] { return HasEnded(server); });
}

int ExitOf(pid_t process) {
    int status = 0;
    const bool ended = WaitUntil([&] { return waitpid(process, &status, WNOHANG) == process; });
    if (!ended) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
        return -100;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

// A program with a window whose server is killed before the window is shown, or after that and
// before the desktop is shut down.
enum class Moment { BeforeTheWindowIsShown, BeforeTheEnd };

pid_t StartProgram(pid_t server, Moment moment) {
    const pid_t process = fork();
    if (process != 0) {
        return process;
    }
    std::string error;
    if (!StartSdlDesktop(&error)) {
        _exit(77);
    }
    desktop.createWindow({100, 100, 600, 400});
    if (moment == Moment::BeforeTheWindowIsShown) {
        KillDisplay(server);
    }
    desktop.showWindow();
    KillDisplay(server);
    EndAtTheLatest(5, 3);
    desktop.shutDown();
    _exit(3);
}

TEST(DisplayEnd, AnXServerThatDiesBeforeTheWindowIsShownEndsTheProcess) {
    XSession session;
    if (!session.Start("800x600x24")) {
        GTEST_SKIP() << "Xvfb is missing";
    }
    EXPECT_EQ(ExitOf(StartProgram(session.server, Moment::BeforeTheWindowIsShown)), 1);
}

TEST(DisplayEnd, AnXServerThatDiesBeforeTheEndChangesNothingOfTheEnd) {
    XSession session;
    if (!session.Start("800x600x24")) {
        GTEST_SKIP() << "Xvfb is missing";
    }
    EXPECT_EQ(ExitOf(StartProgram(session.server, Moment::BeforeTheEnd)), 3);
}

TEST(DisplayEnd, ACompositorThatDiesBeforeTheWindowIsShownEndsTheProcess) {
    WaylandSession session;
    if (!session.Start(800, 600)) {
        GTEST_SKIP() << "weston is missing";
    }
    EXPECT_EQ(ExitOf(StartProgram(session.compositor, Moment::BeforeTheWindowIsShown)), 1);
}

TEST(DisplayEnd, ACompositorThatDiesBeforeTheEndChangesNothingOfTheEnd) {
    WaylandSession session;
    if (!session.Start(800, 600)) {
        GTEST_SKIP() << "weston is missing";
    }
    EXPECT_EQ(ExitOf(StartProgram(session.compositor, Moment::BeforeTheEnd)), 3);
}

// --- The program itself, in its sandbox

TEST_F(MoxiWindow, AKilledXServerAlsoEndsAGameWhosePanelIsOpen) {
    Start();
    Shell("xdotool key --clearmodifiers ctrl+comma");
    WaitForQuiet();
    KillDisplay(session.server);
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_EQ(Errors(), "log: the connection to the display is lost\n");
}

// As when a desktop is logged out of: everything is told to end at the same moment.
TEST_F(MoxiWindow, ASignalAndTheEndOfTheDisplayAtTheSameMomentEndTheGame) {
    const std::string dump = folder.path + "/image";
    for (const int early : {0, 1, 5}) {
        if (session.server < 0) {
            ASSERT_TRUE(session.Start("1400x900x24"));
        }
        std::filesystem::remove(dump);
        Start({"--mute", "--dump-image", dump});
        kill(process, SIGTERM);
        std::this_thread::sleep_for(std::chrono::milliseconds(early));
        kill(session.server, SIGTERM);
        EXPECT_EQ(WaitForExit(), 0) << Errors();
        EXPECT_NE(ReadTextFile(dump), "");
        session.Stop();
    }
}

}  // namespace

}  // namespace moxi
