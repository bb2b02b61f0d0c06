// What a module can reach on disk, with the sandbox and without it, through the program itself.

#include "app/sandbox.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "app/call_filter.h"
#include "app/landlock.h"
#include "app/output_helper.h"
#include "app/reach.h"
#include "base/output_files.h"
#include "desktop/sdl/url_opener.h"
#include "tests/support/calling_module.h"
#include "tests/support/headless_run.h"
#include "vm/guard.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

using Strings = std::vector<std::string>;

constexpr u32 kNone = 0xFFFFFFFF;

// A home folder with a diary in it, a game, and (from its first write on) the game's data folder.
struct Home {
    TemporaryFolder folder;
    std::string path = folder.path + "/home";
    std::string game = folder.path + "/game";
    std::string data = path + "/data";
    std::string diary = path + "/diary.txt";

    Home() {
        fs::create_directories(path);
        fs::create_directories(game);
        WriteTextFile(diary, "dear diary");
        WriteTextFile(game + "/SHIPPED.DAT", "shipped");
        WriteTextFile(folder.path + "/beside.txt", "beside");
    }

    // The results of the calls, as the image at the end holds them; the dump itself goes through
    // the helper process.
    std::vector<u32> Play(const CallingModule& calls, const Strings& options = {},
                          const std::string& script = "") {
        const AssembleResult assembled = WriteGame(game, calls.Source());
        Strings arguments = {"--headless", "--data-folder", data, "--dump-image", "image"};
        if (!script.empty()) {
            WriteTextFile(folder.path + "/script", script);
            arguments.insert(arguments.end(), {"--script", "script"});
        }
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.push_back(game);
        program = RunProgram("moxi", arguments, folder.path);
        EXPECT_EQ(program.status, 0) << program.errors;
        const std::string image = ReadTextFile(folder.path + "/image");
        std::vector<u32> results;
        for (u32 at = SymbolValue(assembled, CallingModule::kResults); at + 4 <= image.size();
             at += CallingModule::kResultSize) {
            u32 value = 0;
            std::memcpy(&value, image.data() + at, 4);
            results.push_back(value);
        }
        return results;
    }

    ProgramResult program;
};

class Sandbox : public testing::Test {
  protected:
    void SetUp() override {
        if (const std::string obstacle = LandlockObstacle(); !obstacle.empty()) {
            GTEST_SKIP() << "no sandbox here: " << obstacle;
        }
    }

    // Opens for writing (made or emptied), writes "gone" and closes. Results 0 and 1.
    static void Overwrite(CallingModule& calls, const std::string& name) {
        const u32 handle = calls.Call(SYS_FILE_OPEN, {calls.Text(name), "0x8302"});
        calls.Call(SYS_FILE_WRITE, {CallingModule::Result(handle), calls.Text("gone"), "4"});
        calls.Call(SYS_FILE_CLOSE, {CallingModule::Result(handle)});
    }

    Home home;
};

TEST_F(Sandbox, AModuleCannotOverwriteAFileInTheHomeFolder) {
    CallingModule calls;
    Overwrite(calls, "../diary.txt");
    Overwrite(calls, "SAVE/GAME1.DAT");
    const std::vector<u32> results = home.Play(calls);
    EXPECT_EQ(results[0], kNone);
    EXPECT_EQ(results[1], 0u);
    EXPECT_EQ(results[4], 4u);
    EXPECT_EQ(ReadTextFile(home.diary), "dear diary");
    EXPECT_EQ(ReadTextFile(home.data + "/SAVE/GAME1.DAT"), "gone");
    EXPECT_EQ(home.program.errors, "");
}

TEST_F(Sandbox, AModuleCannotOverwriteItWhereTheDataFolderIsAlreadyThere) {
    fs::create_directories(home.data);
    CallingModule calls;
    Overwrite(calls, "../diary.txt");
    EXPECT_EQ(home.Play(calls)[0], kNone);
    EXPECT_EQ(ReadTextFile(home.diary), "dear diary");
}

TEST_F(Sandbox, WithoutTheSandboxTheOperatingSystemLetsItThrough) {
    CallingModule calls;
    Overwrite(calls, "../diary.txt");
    const std::vector<u32> results = home.Play(calls, {"--no-sandbox"});
    EXPECT_EQ(results[0], 0u);
    EXPECT_EQ(ReadTextFile(home.diary), "gone");
    EXPECT_EQ(home.program.errors, "log: no sandbox: the game may do what you may do\n");
}

TEST_F(Sandbox, WhatLiesOutsideAnswersAsIfItWereNotThere) {
    fs::create_directories(home.data);
    CallingModule calls;
    calls.Call(SYS_FILE_SIZE, {calls.Text("../diary.txt")});
    calls.Call(SYS_FILE_OPEN, {calls.Text("../diary.txt"), "0x8000"});
    const std::vector<u32> results = home.Play(calls);
    EXPECT_EQ(results[0], kNone);
    EXPECT_EQ(results[1], kNone);
}

TEST_F(Sandbox, NoServiceChangesAnythingOutside) {
    for (const bool made : {false, true}) {
        if (made) {
            fs::create_directories(home.data + "/HERE");
        }
        CallingModule calls;
        calls.Call(SYS_FILE_DELETE, {calls.Text("../diary.txt")});
        calls.Call(SYS_FILE_DELETE, {calls.Text("../beside.txt")});  // beside the game's own folder
        calls.Call(SYS_MAKE_FOLDER, {calls.Text("../FOLDER")});
        calls.Call(SYS_REMOVE_FOLDER, {calls.Text("../empty")});
        calls.Call(SYS_FILE_MOVE, {calls.Text("../diary.txt"), calls.Text("STOLEN.TXT")});
        calls.Call(SYS_FILE_OPEN, {calls.Text("../NEW/NEW.DAT"), "0x8302"});
        calls.Call(SYS_SETTINGS_LOAD, {calls.Text("NONE.INI")});
        calls.Call(SYS_SETTINGS_SAVE, {calls.Text("../diary.txt")});
        fs::create_directories(home.path + "/empty");
        const std::vector<u32> results = home.Play(calls);
        EXPECT_EQ(results[2], kNone);
        EXPECT_EQ(results[5], kNone);
        EXPECT_EQ(results[7], 0u);
        EXPECT_EQ(ReadTextFile(home.diary), "dear diary");
        EXPECT_EQ(ReadTextFile(home.folder.path + "/beside.txt"), "beside");
        EXPECT_FALSE(fs::exists(home.path + "/FOLDER"));
        EXPECT_FALSE(fs::exists(home.path + "/NEW"));
        EXPECT_TRUE(fs::exists(home.path + "/empty"));
        EXPECT_TRUE(fs::exists(home.data)) << "a name with folders makes them, the first one here";
        fs::remove_all(home.data);
    }
}

TEST_F(Sandbox, ALinkOutOfTheDataFolderLeadsToNothingThatCanBeWritten) {
    fs::create_directories(home.data);
    fs::create_symlink(home.diary, home.data + "/LINK.TXT");
    fs::create_directory_symlink(home.path, home.data + "/LINK");
    CallingModule calls;
    Overwrite(calls, "LINK.TXT");
    Overwrite(calls, "LINK/diary.txt");
    Overwrite(calls, "LINK/NEW.TXT");
    const std::vector<u32> results = home.Play(calls);
    EXPECT_EQ(results[0], kNone);
    EXPECT_EQ(results[3], kNone);
    EXPECT_EQ(results[6], kNone);
    EXPECT_EQ(ReadTextFile(home.diary), "dear diary");
    EXPECT_FALSE(fs::exists(home.path + "/NEW.TXT"));
}

TEST_F(Sandbox, AFileOfTheGameCanStillBeDeleted) {
    for (const bool made : {false, true}) {
        if (made) {
            fs::create_directories(home.data);
        }
        WriteTextFile(home.game + "/SHIPPED.DAT", "shipped");
        CallingModule calls;
        calls.Call(SYS_FILE_DELETE, {calls.Text("SHIPPED.DAT")});
        home.Play(calls);
        EXPECT_FALSE(fs::exists(home.game + "/SHIPPED.DAT"));
        EXPECT_EQ(fs::exists(home.data), made);
    }
}

TEST_F(Sandbox, FilesMoveFromFolderToFolderInsideTheDataFolder) {
    CallingModule calls;
    Overwrite(calls, "A/ONE.DAT");
    calls.Call(SYS_MAKE_FOLDER, {calls.Text("B")});
    calls.Call(SYS_FILE_MOVE, {calls.Text("A/ONE.DAT"), calls.Text("B/TWO.DAT")});
    calls.Call(SYS_REMOVE_FOLDER, {calls.Text("A")});
    home.Play(calls);
    EXPECT_EQ(ReadTextFile(home.data + "/B/TWO.DAT"), "gone");
    EXPECT_FALSE(fs::exists(home.data + "/A"));
}

TEST_F(Sandbox, AStartAloneMakesNoDataFolder) {
    CallingModule calls;
    calls.Call(SYS_MAKE_FOLDER, {calls.Text("SAVE")});
    EXPECT_EQ(home.Play(calls)[0], kNone) << "only the last level is made";
    EXPECT_FALSE(fs::exists(home.data));
}

TEST_F(Sandbox, TwoRunsOfAGameWithoutADataFolderBothWrite) {
    CallingModule first;
    Overwrite(first, "ONE.DAT");
    CallingModule second;
    // The folder appears while the game runs: the other start of the game has made it.
    second.Call(SYS_FILE_DELETE, {second.Text("ABSENT")});
    Overwrite(second, "TWO.DAT");
    home.Play(first);
    const std::vector<u32> results = home.Play(second);
    EXPECT_EQ(results[1], 0u);
    EXPECT_EQ(ReadTextFile(home.data + "/ONE.DAT"), "gone");
    EXPECT_EQ(ReadTextFile(home.data + "/TWO.DAT"), "gone");
}

TEST_F(Sandbox, EveryOptionThatNamesAFileStillWritesIt) {
    CallingModule calls;
    calls.Call(SYS_FILE_DELETE, {calls.Text("ABSENT")});
    const Strings options = {"--dump-screen",  "screen.png", "--dump-view", "view.png",
                             "--trace",        "trace",      "--record",    "record",
                             "--render-audio", "sound.wav"};
    home.Play(calls, options, "10 activate\n20 screenshot shot.png\n");
    for (const char* const name :
         {"image", "screen.png", "view.png", "trace", "record", "sound.wav", "shot.png"}) {
        EXPECT_GT(ReadTextFile(home.folder.path + "/" + name).size(), 10u) << name;
    }
    EXPECT_EQ(home.program.errors, "");
}

TEST_F(Sandbox, AFileThatAnOptionNamesAndThatCannotBeWrittenIsToldOfAsBefore) {
    CallingModule calls;
    calls.Call(SYS_FILE_DELETE, {calls.Text("ABSENT")});
    home.Play(calls, {"--dump-view", "absent/view.png"});
    EXPECT_EQ(home.program.errors, "log: absent/view.png: cannot be written\n");
}

TEST_F(Sandbox, AFileBesideADumpIsNotOpenToTheModule) {
    CallingModule calls;
    Overwrite(calls, "../../beside.txt");
    Overwrite(calls, "../../image");
    const std::vector<u32> results = home.Play(calls);
    EXPECT_EQ(results[0], kNone);
    EXPECT_EQ(results[3], kNone);
    EXPECT_EQ(ReadTextFile(home.folder.path + "/beside.txt"), "beside");
}

TEST_F(Sandbox, AGameThatNamesItselfAfterAFolderAboveGetsNothingThere) {
    WriteTextFile(home.game + "/Info.plist",
                  "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                  "<key>ZULGameName</key><string>../..</string></dict></plist>");
    CallingModule calls;
    Overwrite(calls, "diary.txt");
    WriteGame(home.game, calls.Source());
    const std::string support = home.path + "/share";
    fs::create_directories(support + "/Quillmoss Software");
    ASSERT_EQ(setenv("XDG_DATA_HOME", support.c_str(), 1), 0);
    const ProgramResult result = RunProgram("moxi", {"--headless", home.game}, home.folder.path);
    unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(ReadTextFile(home.diary), "dear diary");
}

// --- In a process of its own: the exit status of `body`.

template <class Body>
int StatusOf(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(body());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(Sandbox, NoProgramCanBeStarted) {
    const auto run = [](bool restricted) {
        return StatusOf([restricted] {
            if (restricted) {
                StartSandbox({.game = "/", .dataFolder = "/"});
            }
            execl("/bin/true", "true", nullptr);
            return errno == EACCES ? 13 : 101;
        });
    };
    EXPECT_EQ(run(false), 0);
    EXPECT_EQ(run(true), 13);
}

TEST_F(Sandbox, WhatLibrariesReadStaysOpenAndTheRestOfTheHomeFolderDoesNot) {
    const Strings open = {"/.fonts/a.ttf",
                          "/.local/share/fonts/a.ttf",
                          "/.config/fontconfig/fonts.conf",
                          "/.cache/fontconfig/a.cache",
                          "/.local/share/icons/theme",
                          "/.config/pulse/cookie",
                          "/.Xauthority",
                          "/soundfont.sf2"};
    const Strings shut = {"/.ssh/id_rsa", "/.config/secret", "/.local/share/keyrings/login.keyring",
                          "/.cache/other", "/.bash_history"};
    for (const Strings& names : {open, shut}) {
        for (const std::string& name : names) {
            fs::create_directories(fs::path(home.path + name).parent_path());
            WriteTextFile(home.path + name, "text");
        }
    }
    fs::create_directories(home.data);
    const int status = StatusOf([&] {
        setenv("HOME", home.path.c_str(), 1);
        for (const char* const name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
            unsetenv(name);
        }
        StartSandbox({.game = home.game,
                      .dataFolder = home.data,
                      .devices = true,
                      .readable = {home.path + "/soundfont.sf2"}});
        TightenSandbox(home.data, home.game);
        const auto isOpen = [](const std::string& path) {
            return ::open(path.c_str(), O_RDONLY | O_CLOEXEC) >= 0;
        };
        int number = 1;
        for (const std::string& name : open) {
            if (!isOpen(home.path + name)) {
                return number;
            }
            ++number;
        }
        for (const std::string& name : shut) {
            if (isOpen(home.path + name)) {
                return number;
            }
            ++number;
        }
        for (const char* const path : {"/usr/share/fonts", "/etc/fonts", "/usr/share/zoneinfo",
                                       "/dev/null", "/dev/urandom", "/proc/meminfo"}) {
            if (!isOpen(path) && fs::exists(path)) {
                return number;
            }
            ++number;
        }
        for (const char* const path : {"/etc/shadow", "/etc/hostname", "/proc/1/environ", "/root",
                                       "/home", "/tmp", "/var/log", "/"}) {
            if (isOpen(path)) {
                return number;
            }
            ++number;
        }
        return 0;
    });
    EXPECT_EQ(status, 0);
}

TEST_F(Sandbox, AFurtherFileIsMadeAndCanBeWritten) {
    const std::string sound = home.path + "/sound.raw";
    const int status = StatusOf([this, &sound] {
        fs::create_directories(home.data);
        StartSandbox({.game = home.game, .dataFolder = home.data, .files = {sound}});
        if (open(home.diary.c_str(), O_WRONLY | O_CLOEXEC) >= 0) {
            return 101;
        }
        return open(sound.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC) >= 0 ? 0 : 102;
    });
    EXPECT_EQ(status, 0);
}

TEST(OutputHelper, OpensTheFilesThatItWasToldOfAndNoOthers) {
    const Home home;
    const std::string pictures = home.folder.path + "/pictures";
    fs::create_directories(pictures + "/deeper");
    WriteTextFile(pictures + "/MOXI old.png", "old");
    const std::string dump = home.path + "/dump";
    const auto opens = [](const std::string& path) {
        std::FILE* const file = outputFiles.open(path);
        return file != nullptr && std::fputs("text", file) >= 0 && std::fclose(file) == 0;
    };
    const int status = StatusOf([&] {
        if (!StartOutputHelper({{dump}, pictures})) {
            return 100;
        }
        // Pictures of earlier runs stay as they are.
        if (opens(pictures + "/MOXI old.png") || outputFiles.makeNew(pictures + "/MOXI old.png")) {
            return 109;
        }
        outputFiles.remove(pictures + "/MOXI old.png");
        if (!outputFiles.makeNew(pictures + "/MOXI a.png")) {
            return 110;
        }
        if (!opens(dump) || !opens(pictures + "/MOXI a.png")) {
            return 101;
        }
        if (opens(home.diary) || opens(home.path + "/./dump")) {
            return 102;
        }
        if (opens(pictures + "/../b.png") || opens(pictures + "/deeper/b.png")) {
            return 103;
        }
        if (opens(pictures + "/MOXI /../b.png") || opens(pictures + "/MOXI a.sh")) {
            return 106;
        }
        if (opens(pictures + "/a.png")) {
            return 107;
        }
        if (opens(pictures + "/MOXI a.sh" + std::string(1, '\0') + ".png")) {
            return 108;
        }
        if (opens(std::string(5000, 'x')) || opens("")) {
            return 104;
        }
        outputFiles.remove(home.diary);
        outputFiles.remove(pictures + "/MOXI a.png");
        StopOutputHelper();
        return opens(home.path + "/direct") ? 0 : 105;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ReadTextFile(dump), "text");
    EXPECT_EQ(ReadTextFile(home.diary), "dear diary");
    EXPECT_EQ(ReadTextFile(home.path + "/direct"), "text");
    EXPECT_FALSE(fs::exists(pictures + "/MOXI a.png"));
    EXPECT_EQ(ReadTextFile(pictures + "/MOXI old.png"), "old");
    EXPECT_FALSE(fs::exists(home.folder.path + "/b.png"));
    EXPECT_FALSE(fs::exists(pictures + "/MOXI a.sh"));
}

TEST(OutputHelper, ReadsAndReplacesTheHostsOwnFilesAndNoOthers) {
    const Home home;
    const std::string own = home.path + "/config/moxi/preferences";
    const int status = StatusOf([&] {
        if (!StartOutputHelper({{}, "", {own}})) {
            return 100;
        }
        std::string text;
        if (ReadOwnFile(own, 100, text)) {
            return 101;
        }
        // The folders are made with it.
        if (!ReplaceFile(own, "first") || !ReplaceFile(own, "second")) {
            return 102;
        }
        if (!ReadOwnFile(own, 100, text) || text != "second") {
            return 103;
        }
        if (ReadOwnFile(own, 5, text)) {
            return 104;
        }
        if (ReadOwnFile(home.diary, 100, text)) {
            return 105;
        }
        if (ReplaceFile(home.diary, "mine") || outputFiles.putInPlace(home.diary)) {
            return 106;
        }
        if (ReplaceFile(NewFileOf(own), "mine")) {
            return 107;
        }
        return 0;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ReadTextFile(own), "second");
    EXPECT_FALSE(fs::exists(NewFileOf(own)));
    EXPECT_EQ(ReadTextFile(home.diary), "dear diary");
}

// As a process that a game has taken over would try it.
TEST(OutputHelper, AGuardedFileChangesOnlyAsItMay) {
    const Home home;
    const std::string own = home.path + "/preferences";
    WriteTextFile(own, "old");
    const auto rewind = [](int file, const char* text) {
        return lseek(file, 0, SEEK_SET) == 0 && write(file, text, 4) == 4;
    };
    const int status = StatusOf([&] {
        OutputPlaces places = {{}, "", {own}};
        places.guardedFile = own;
        places.mayChange = [](const std::string& before, const std::string& after) {
            return before == "old" && after == "good";
        };
        if (!StartOutputHelper(places)) {
            return 100;
        }
        if (ReplaceFile(own, "evil")) {
            return 101;
        }
        // Neither past the new file, nor by emptying or removing it.
        if (outputFiles.open(own) != nullptr || outputFiles.makeNew(own)) {
            return 102;
        }
        outputFiles.remove(own);
        // What is looked at is not changed afterwards through what is still open.
        std::FILE* const kept = outputFiles.open(NewFileOf(own));
        if (kept == nullptr || !rewind(fileno(kept), "good") || !outputFiles.putInPlace(own)) {
            return 103;
        }
        return rewind(fileno(kept), "evil") ? 0 : 104;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ReadTextFile(own), "good");
    EXPECT_FALSE(fs::exists(NewFileOf(own)));
    EXPECT_FALSE(fs::exists(NewFileOf(NewFileOf(own))));
}

TEST(OutputHelper, APipeInThePlaceOfAFileOfTheHostsOwnHoldsNothingUp) {
    const Home home;
    const std::string own = home.path + "/preferences";
    ASSERT_EQ(mkfifo(own.c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(NewFileOf(own).c_str(), 0600), 0);
    const int status = StatusOf([&] {
        std::string text;
        if (ReadOwnFile(own, 100, text)) {
            return 100;
        }
        if (!StartOutputHelper({{}, "", {own}})) {
            return 101;
        }
        if (ReadOwnFile(own, 100, text)) {
            return 102;
        }
        if (!ReplaceFile(own, "mine")) {
            return 103;
        }
        return 0;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ReadTextFile(own), "mine");
}

// All keyboards lie beside the gamepads there.
TEST_F(Sandbox, NoFolderOfInputDevicesIsOpenToTheGame) {
    std::vector<std::string> places = DesktopDevices();
    for (const auto& more : {DesktopPlaces(), LibraryPlaces(), DriverCaches()}) {
        places.insert(places.end(), more.begin(), more.end());
    }
    for (const std::string& place : places) {
        const std::string real = fs::weakly_canonical(place).string();
        EXPECT_FALSE(real == "/" || real == "/dev" || real.starts_with("/dev/input") ||
                     real.starts_with("/dev/hidraw") || real.starts_with("/dev/uinput"))
            << place;
    }
}

TEST_F(Sandbox, TheProcessThatOpensGamepadsReachesNothingElse) {
    const int status = StatusOf([this] {
        ConfinePadHelper();
        const auto isRefused = [](int file) { return file < 0; };
        if (!isRefused(open(home.diary.c_str(), O_RDONLY))) {
            return 1;
        }
        if (!isRefused(open((home.path + "/new").c_str(), O_WRONLY | O_CREAT, 0600))) {
            return 2;
        }
        if (!isRefused(open("/dev/null", O_RDONLY))) {
            return 3;
        }
        if (kCheckedAccess) {
            return 0;
        }
        return isRefused(socket(AF_INET, SOCK_STREAM, 0)) && isRefused(fork()) ? 0 : 4;
    });
    EXPECT_EQ(status, 0);
}

TEST_F(Sandbox, TheUrlOpenerIsOutsideIt) {
    const std::string tools = home.folder.path + "/tools";
    fs::create_directories(tools);
    WriteTextFile(tools + "/xdg-open", "#!/bin/sh\necho \"$1\" >" + home.folder.path + "/opened\n");
    fs::permissions(tools + "/xdg-open", fs::perms::all);
    const int status = StatusOf([this, &tools] {
        setenv("PATH", (tools + ":" + getenv("PATH")).c_str(), 1);
        StartUrlOpener(FilterUrlHelperCalls);
        StartSandbox({.game = home.game, .dataFolder = home.data});
        TightenSandbox(home.data, home.game);
        AskBeforeUrls(false);
        OpenUrl("https://example.org/");
        return 0;
    });
    // Until the opener has written its line; the runner's own limit ends a wait in vain.
    while (ReadTextFile(home.folder.path + "/opened") != "https://example.org/\n") {
        usleep(1000);
    }
    EXPECT_EQ(status, 0);
}

}  // namespace

}  // namespace moxi
