// How a game ends from outside, in a real window and headless: signals, a lost display, the box
// that offers an end. And what must not end it.
#include "tests/support/sound_bytes.h"
#include "tests/support/x11_client.h"
#include "tests/window/moxi_window.h"

namespace moxi {

namespace {
constexpr const char* kClose = "3 0 0 0";

// --- A real window

TEST_F(MoxiWindow, AKilledXServerEndsTheGameWithOneLineAndTheModuleToldOnce) {
    Start();
    Cause("xdotool key v");  // its refusal cannot bring the window back
    const std::size_t before = Messages().size();
    kill(session.server, SIGKILL);
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_EQ(Errors(), "log: the connection to the display is lost\n");
    ASSERT_EQ(Messages().size(), before + 1);
    EXPECT_EQ(Messages().back(), kClose);
}

TEST_F(MoxiWindow, AConnectionThatAnotherProgramCutsEndsTheGameInOrder) {
    const std::string dump = folder.path + "/image";
    Start({"--mute", "--dump-image", dump});
    Shell("xdotool windowkill " + Window());
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_EQ(Errors(), "log: the connection to the display is lost\n");
    EXPECT_EQ(Messages().back(), kClose);
    EXPECT_NE(ReadTextFile(dump), "");
}

TEST_F(MoxiWindow, AWindowThatAnotherProgramDestroysEndsTheGameInOrder) {
    Start();
    Cause("xdotool key v");
    DestroyX11Window(std::stoul(Window()));
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_EQ(Errors(), "log: the window has been destroyed from outside\n");
    EXPECT_EQ(Messages().back(), kClose);
}

TEST_F(MoxiWindow, AKilledXServerAlsoEndsAGameThatShowsAMessage) {
    Start();
    Shell("xdotool key 8");
    ASSERT_TRUE(WaitUntil([this] { return Window().find('\n') != std::string::npos; }));
    kill(session.server, SIGKILL);
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_EQ(Errors(), "fatal: So sorry.\nlog: the connection to the display is lost\n");
    EXPECT_EQ(Messages().back(), kClose);
}

TEST_F(MoxiWindow, AKilledXServerAlsoEndsAGameThatWaitsForTheClipboard) {
    if (!IsProgramInstalled("xclip")) {
        GTEST_SKIP() << "xclip is missing";
    }
    Start();
    WriteTextFile(folder.path + "/text", "theirs");
    const pid_t owner =
        StartProcess({"xclip", "-quiet", "-selection", "clipboard", folder.path + "/text"}, "");
    EXPECT_TRUE(WaitUntil([] {
        return OutputOf("timeout 5 xclip -selection clipboard -o 2>/dev/null") == "theirs";
    }));
    // It is asked, and does not answer.
    kill(owner, SIGSTOP);
    Shell("xdotool key 1");
    EXPECT_TRUE(WaitForMessage("c 31 1 0"));
    kill(session.server, SIGKILL);
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_EQ(Errors(), "log: the connection to the display is lost\n");
    EXPECT_EQ(Messages().back(), kClose);
    kill(owner, SIGKILL);
    waitpid(owner, nullptr, 0);
}

TEST_F(MoxiWindow, ATerminationSignalAsksTheModuleAndTheNextEndsAtOnce) {
    Start();
    Cause("xdotool key v");
    const std::size_t before = Messages().size();
    kill(process, SIGTERM);
    ASSERT_TRUE(WaitUntil([&] { return Messages().size() > before; }));
    EXPECT_EQ(Messages().back(), kClose);
    // It has refused and goes on.
    EXPECT_EQ(Cause("xdotool key a"), (Lines{"c 41 1 0", "e 61 0 0", "d 41 1 0"}));
    kill(process, SIGTERM);
    EXPECT_EQ(WaitForExit(), -SIGTERM);
}

TEST_F(MoxiWindow, AnInterruptQuitsAsTheMenuDoes) {
    const std::string dump = folder.path + "/image";
    Start({"--mute", "--dump-image", dump});
    kill(process, SIGINT);
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_EQ(Messages().back(), kClose);
    EXPECT_EQ(Errors(), "");
    EXPECT_NE(ReadTextFile(dump), "");
}

TEST_F(MoxiWindow, ASecondSignalEndsAModuleThatIsBusy) {
    Start();
    Shell("xdotool key b");
    ASSERT_TRUE(WaitForMessage("c 42 1 0"));
    kill(process, SIGINT);
    Pause();
    kill(process, SIGTERM);
    EXPECT_EQ(WaitForExit(), -SIGTERM);
}

TEST_F(MoxiWindow, DrawingThatNeverEndsLetsTheUserCloseTheWindow) {
    const std::string dump = folder.path + "/image";
    Start({"--mute", "--dump-image", dump});
    const std::string window = Window();
    Shell("xdotool key 5");
    ASSERT_TRUE(WaitForMessage("c 35 1 0"));
    Shell("xdotool windowactivate --sync " + window + " key alt+F4");
    EndInBox(window);
    EXPECT_EQ(WaitForExit(), 1);
    EXPECT_EQ(Errors(), "log: ended by the user while it did not answer\n");
    EXPECT_NE(ReadTextFile(dump), "");
}

TEST_F(MoxiWindow, AKilledSoundDeviceDoesNotEndTheGame) {
    WriteTextFile(game + "/A.WAV", WavFile({}, SineSamples(1000, 44100, 44100, 0.5)));
    // The device is a pipe to another program.
    const std::string pipe = folder.path + "/device";
    Shell("mkfifo " + pipe);
    const pid_t device = StartProcess({"cat", pipe}, folder.path + "/sound");
    setenv("SDL_AUDIODRIVER", "disk", 1);
    setenv("SDL_DISKAUDIOFILE", pipe.c_str(), 1);
    Start({});
    unsetenv("SDL_AUDIODRIVER");
    Cause("xdotool key 0");
    ASSERT_TRUE(WaitUntil([this] {
        return std::filesystem::file_size(folder.path + "/sound") > 44100;
    })) << Errors();
    StopProcess(device);
    Cause("xdotool key 0");
    EXPECT_EQ(Cause("xdotool key a"), (Lines{"c 41 1 0", "e 61 0 0", "d 41 1 0"}));
    Cause("xdotool key 0");
    Shell("xdotool key alt+F4");
    EXPECT_EQ(WaitForExit(), 0);
    // What SDL has to say of such a device comes before.
    EXPECT_TRUE(Errors().ends_with("\nlog: windowWillClose\n")) << Errors();
}

TEST_F(MoxiWindow, WebAddressesGoToTheDesktopsOpenerAndOthersAreRefused) {
    // The desktop's opener as this desktop has it: writes down what it is asked to open.
    const std::string bin = folder.path + "/bin";
    std::filesystem::create_directory(bin);
    WriteTextFile(bin + "/xdg-open",
                  "#!/bin/sh\nprintf '%s|' \"$#\" \"$@\" >>" + folder.path + "/opened\n");
    Shell("chmod +x " + bin + "/xdg-open");
    const std::string path = std::getenv("PATH");
    setenv("PATH", (bin + ":" + path).c_str(), 1);
    Start({"--mute", "--open-urls"});
    setenv("PATH", path.c_str(), 1);
    Cause("xdotool key 4 key 3");
    EXPECT_TRUE(WaitUntil([this] {
        return ReadTextFile(folder.path + "/opened") == "1|https://example.org/?a=1&b=2|";
    })) << ReadTextFile(folder.path + "/opened");
    EXPECT_EQ(Errors(), "log: refused to open file:///etc/passwd\n");
}

// --- Headless, in this suite because it takes real time

TEST_F(MoxiWindow, HeadlessATerminationSignalAsksTheModule) {
    const std::string dump = folder.path + "/image";
    Launch({"--headless", "--run-ms", "1000000000000", "--dump-image", dump});
    ASSERT_TRUE(WaitUntil([this] { return Messages().size() >= 5; }));
    kill(process, SIGTERM);
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_EQ(Messages().back(), kClose);
    EXPECT_EQ(Errors(), "");
    EXPECT_NE(ReadTextFile(dump), "");
}

TEST_F(MoxiWindow, HeadlessARefusedSignalIsFollowedByOneThatEndsAtOnce) {
    WriteTextFile(folder.path + "/script", "10 key-down 09 \"v\"\n");
    Launch({"--headless", "--run-ms", "1000000000000", "--script", folder.path + "/script"});
    ASSERT_TRUE(WaitForMessage("e 76 0 0"));
    kill(process, SIGINT);
    ASSERT_TRUE(WaitForMessage(kClose));
    kill(process, SIGINT);
    EXPECT_EQ(WaitForExit(), -SIGINT);
}

TEST_F(MoxiWindow, HeadlessASignalEndsDrawingThatNeverEndsWithItsDumps) {
    const std::string dump = folder.path + "/image";
    WriteTextFile(folder.path + "/script", "10 key-down 17 \"5\"\n");
    Launch({"--headless", "--script", folder.path + "/script", "--dump-image", dump});
    ASSERT_TRUE(WaitForMessage("c 35 1 0"));
    kill(process, SIGTERM);
    EXPECT_EQ(WaitForExit(), 1);
    EXPECT_NE(ReadTextFile(dump), "");
}

TEST_F(MoxiWindow, HeadlessASignalThatABusyModuleDoesNotAnswerEndsItAfterAWhile) {
    WriteTextFile(folder.path + "/script", "10 key-down 0B \"b\"\n");
    const std::string dump = folder.path + "/image";
    const std::string profile = folder.path + "/profile";
    Launch({"--headless", "--script", folder.path + "/script", "--dump-image", dump, "--profile",
            profile});
    ASSERT_TRUE(WaitForMessage("c 42 1 0"));
    kill(process, SIGTERM);
    EXPECT_EQ(WaitForExit(), -SIGTERM);
    EXPECT_NE(ReadTextFile(dump), "");
    EXPECT_NE(ReadTextFile(profile).find(" instructions in "), std::string::npos);
    EXPECT_NE(ReadTextFile(profile + ".folded"), "");
}
}  // namespace

}  // namespace moxi
