// What a game that means harm finds closed, through the program itself.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "base/log.h"
#include "tests/support/calling_module.h"
#include "tests/support/headless_run.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

using Strings = std::vector<std::string>;

// A user with a download folder, and games of the name that the test gives them.
struct User {
    TemporaryFolder folder;
    std::string home = folder.path + "/home";
    std::string downloads = home + "/Downloads";

    User() {
        fs::create_directories(downloads);
        WriteTextFile(downloads + "/tax.pdf", "taxes");
    }

    std::string Data(const std::string& name) const {
        return home + "/.local/share/Quillmoss Software/" + name;
    }

    // A run as this user, with and without what the kernel offers.
    ProgramResult Run(const std::string& game, const Strings& options = {}) const {
        const std::string moxi = std::string(MOXI_BIN_DIR) + "/moxi";
        Strings arguments = {"-u", "XDG_DATA_HOME", "-u", "XDG_STATE_HOME", "HOME=" + home,
                             moxi, "--headless"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.push_back(game);
        return RunProgram("/usr/bin/env", arguments, folder.path);
    }
};

std::string ListOf(const std::string& name) {
    return "<plist version=\"1.0\"><dict><key>ZULGameName</key><string>" + name +
           "</string></dict></plist>";
}

// Writes `text` to a file of the data folder.
void Write(CallingModule& calls, const std::string& name, const std::string& text) {
    const u32 handle = calls.Call(SYS_FILE_OPEN, {calls.Text(name), "0x8302"});
    calls.Call(SYS_FILE_WRITE,
               {CallingModule::Result(handle), calls.Text(text), std::to_string(text.size())});
    calls.Call(SYS_FILE_CLOSE, {CallingModule::Result(handle)});
}

constexpr const char* kUnlocked = "log: no sandbox: the game may do what you may do\n";

TEST(LockedRoom, ABareModuleDeletesNothingBesideIt) {
    for (const bool locked : {true, false}) {
        const User user;
        CallingModule calls;
        calls.Call(SYS_FILE_DELETE, {calls.Text("tax.pdf")});
        WriteGame(user.downloads, calls.Source());
        const Strings options = locked ? Strings{} : Strings{"--no-sandbox"};
        EXPECT_EQ(user.Run(user.downloads + "/MAIN.MX", options).errors, locked ? "" : kUnlocked);
        EXPECT_EQ(ReadTextFile(user.downloads + "/tax.pdf"), "taxes");
        // The home folder itself is no game's own either.
        WriteTextFile(user.home + "/notes.txt", "notes");
        CallingModule more;
        more.Call(SYS_FILE_DELETE, {more.Text("notes.txt")});
        more.Call(SYS_FILE_DELETE, {more.Text("Downloads/tax.pdf")});
        WriteGame(user.home, more.Source());
        user.Run(user.home, options);
        EXPECT_EQ(ReadTextFile(user.home + "/notes.txt"), "notes");
        EXPECT_EQ(ReadTextFile(user.downloads + "/tax.pdf"), "taxes");
    }
}

TEST(LockedRoom, AGameDeletesItsOwnFiles) {
    const User user;
    const std::string game = user.downloads + "/game";
    CallingModule calls;
    calls.Call(SYS_FILE_DELETE, {calls.Text("OLD.DAT")});
    WriteGame(game, calls.Source());
    WriteTextFile(game + "/OLD.DAT", "old");
    user.Run(game);
    EXPECT_FALSE(fs::exists(game + "/OLD.DAT"));
}

TEST(LockedRoom, AnArchiveWhoseResourcesAreALinkIsRefusedInOneLine) {
    const User user;
    const std::string game = user.downloads + "/Trap.app";
    fs::create_directories(game + "/Contents");
    CallingModule calls;
    calls.Call(SYS_FILE_DELETE, {calls.Text("tax.pdf")});
    WriteGame(user.downloads, calls.Source());
    fs::create_directory_symlink("../..", game + "/Contents/Resources");
    const ProgramResult result = user.Run(game);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.errors, "moxi: " + game +
                                 ": Contents/Resources is a link that leads out of the game's "
                                 "folder\n");
    EXPECT_EQ(ReadTextFile(user.downloads + "/tax.pdf"), "taxes");
}

// Whoever opens the module of an unpacked archive has not named the folder above.
TEST(LockedRoom, AModuleThatIsALinkToAFolderMakesThatFolderNoGame) {
    const User user;
    const std::string game = user.downloads + "/trap";
    fs::create_directories(game);
    CallingModule calls;
    calls.Call(SYS_FILE_DELETE, {calls.Text("tax.pdf")});
    WriteGame(user.downloads, calls.Source());
    fs::create_directory_symlink("..", game + "/MAIN.MX");
    const ProgramResult result = user.Run(game + "/MAIN.MX");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.errors, "moxi: " + game +
                                 "/MAIN.MX: MAIN.MX is a link that leads out of the game's "
                                 "folder\n");
    EXPECT_EQ(ReadTextFile(user.downloads + "/tax.pdf"), "taxes");
}

TEST(LockedRoom, AGameDoesNotTakeOverAnotherOfItsName) {
    const User user;
    // The victim has saved something; the thief has its name and plants a module.
    CallingModule victim;
    Write(victim, "SAVE.DAT", "mine");
    WriteGame(user.downloads + "/victim", victim.Source());
    WriteTextFile(user.downloads + "/victim/Info.plist", ListOf("Lands"));
    EXPECT_EQ(user.Run(user.downloads + "/victim").errors, "");
    CallingModule thief;
    Write(thief, "MAIN.MX", "MOXI6 of the thief");
    Write(thief, "SAVE.DAT", "stolen");
    WriteGame(user.downloads + "/thief", thief.Source());
    WriteTextFile(user.downloads + "/thief/Info.plist", ListOf("Lands"));
    EXPECT_EQ(user.Run(user.downloads + "/thief").errors,
              "log: the data folder \"Lands\" is another game's, this one's is \"Lands 2\"\n");
    EXPECT_EQ(ReadTextFile(user.Data("Lands") + "/SAVE.DAT"), "mine");
    EXPECT_FALSE(fs::exists(user.Data("Lands") + "/MAIN.MX"));
    EXPECT_EQ(ReadTextFile(user.Data("Lands 2") + "/SAVE.DAT"), "stolen");
    EXPECT_EQ(user.Run(user.downloads + "/victim").errors, "");
}

TEST(LockedRoom, NamesThatLeadElsewhereMakeNoFolderThere) {
    for (const std::string name : {".", "..", "../..", "a/b", ".ssh", ""}) {
        const User user;
        CallingModule calls;
        Write(calls, "SAVE.DAT", "saved");
        WriteGame(user.downloads + "/game", calls.Source());
        WriteTextFile(user.downloads + "/game/Info.plist", ListOf(name));
        const ProgramResult result = user.Run(user.downloads + "/game");
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
        EXPECT_EQ(ReadTextFile(user.Data("game") + "/SAVE.DAT"), "saved") << name;
    }
}

TEST(LockedRoom, NoNameMakesAFolderOutsideOfTheDataFolder) {
    for (const bool made : {true, false}) {
        const User user;
        if (made) {
            fs::create_directories(user.Data("game"));
        }
        CallingModule calls;
        Write(calls, "x/../../evil/a.dat", "evil");
        Write(calls, "../evil/a.dat", "evil");
        Write(calls, "x/../../../evil/b/a.dat", "evil");
        calls.Call(SYS_MAKE_FOLDER, {calls.Text("../evil")});
        calls.Call(SYS_MAKE_FOLDER, {calls.Text("x/../../evil")});
        WriteGame(user.downloads + "/game", calls.Source());
        user.Run(user.downloads + "/game");
        for (const auto& entry : fs::recursive_directory_iterator(user.folder.path)) {
            EXPECT_NE(entry.path().filename(), "evil") << entry.path();
        }
    }
}

TEST(LockedRoom, TheDataFolderHoldsWhatTheOptionSays) {
    const User user;
    CallingModule calls;
    Write(calls, "A.DAT", std::string(1500, 'x'));
    Write(calls, "B.DAT", std::string(1500, 'x'));
    WriteGame(user.downloads + "/game", calls.Source());
    EXPECT_EQ(user.Run(user.downloads + "/game", {"--data-limit", "2K"}).errors,
              "log: the data folder is full: it may hold 2048 bytes\n");
    EXPECT_EQ(fs::file_size(user.Data("game") + "/A.DAT"), 1500u);
    EXPECT_EQ(fs::file_size(user.Data("game") + "/B.DAT"), 548u);
    const ProgramResult wrong = user.Run(user.downloads + "/game", {"--data-limit", "lots"});
    EXPECT_EQ(wrong.status, 2);
    EXPECT_EQ(wrong.errors, "moxi: --data-limit: no size in bytes, K, M, G or T: lots\n");
}

TEST(LockedRoom, ControlCharactersReachNoTerminal) {
    const User user;
    CallingModule calls;
    calls.Call(SYS_OPEN_WEB, {calls.Text("http://a\x1B[2J\x07\x7F\\\n.")});
    calls.Call(SYS_SHOW_MESSAGE, {calls.Text("so\x1B]0;sorry\x07")});
    WriteGame(user.downloads + "/game", calls.Source());
    EXPECT_EQ(user.Run(user.downloads + "/game").errors,
              "log: OpenURL http://a\\x1B[2J\\x07\\x7F\\\\\\n.\nfatal: so\\x1B]0;sorry\\x07\n");
    EXPECT_EQ(user.Run("no\x1B[31m\ngame").errors,
              "moxi: no\\x1B[31m game: there is no such game\n");
}

TEST(LockedRoom, APipeInPlaceOfAFileIsRefusedInOneLine) {
    const User user;
    const std::string game = user.downloads + "/game";
    WriteGame(game, CallingModule().Source());
    const std::string pipe = user.folder.path + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(user.Run(game, {"--script", pipe}).errors, "moxi: " + pipe + ": cannot be read\n");
    EXPECT_EQ(user.Run(game, {"--script", "/dev/zero"}).errors,
              "moxi: /dev/zero: cannot be read\n");
    ASSERT_EQ(mkfifo((game + "/Info.plist").c_str(), 0600), 0);
    EXPECT_EQ(user.Run(game).errors,
              "log: " + game + "/Info.plist: no readable XML property list\n");
    fs::remove(game + "/MAIN.MX");
    ASSERT_EQ(mkfifo((game + "/MAIN.MX").c_str(), 0600), 0);
    EXPECT_EQ(user.Run(game).status, 1);
}

TEST(LockedRoom, HeadlessEveryLineOfAFloodIsWritten) {
    const User user;
    const std::string game = user.downloads + "/game";
    WriteGame(game, R"(
        .code
start:  MOVE.L  R2, #5000
@more:  MOVE.L  R15, #block
        SYS
        SUB.L   R2, #1
        TBNE.L  R2, @more
        STOP
        .data
block:  .long   0x0711, url
url:    .asciz  "file:///x"
)");
    const std::string errors = user.Run(game).errors;
    // 5,000 at each of the two messages of the start.
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 10000);
}

TEST(LockedRoom, WhereThereIsAWindowALongLineOfTheLogIsCut) {
    const TemporaryFolder folder;
    const std::string path = folder.path + "/log";
    const int before = errorDescriptor;
    errorDescriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const std::string text(100'000, 'a');
    SystemLog(text);
    LimitLog();
    SystemLog(text);
    SystemLog(text.substr(0, 4096));
    EndLog();
    close(errorDescriptor);
    errorDescriptor = before;
    EXPECT_TRUE(ReadTextFile(path) == "log: " + text + "\nlog: " + text.substr(0, 4096) +
                                          "...\nlog: " + text.substr(0, 4096) + "\n");
}

}  // namespace

}  // namespace moxi
