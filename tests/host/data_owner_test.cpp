// Whose a data folder is: games of one name, moved and replaced games, folders of before there were
// stamps, and what may go wrong with a stamp.

#include "host/data_owner.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "desktop/folders.h"
#include "host/bundle.h"
#include "sys/files.h"
#include "tests/support/headless_run.h"
#include "tests/support/vm_fixture.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

class DataOwner : public ::testing::Test {
  protected:
    void SetUp() override {
        MakeGame("one", "first module");
        MakeGame("two", "second module");
    }
    void TearDown() override {
        ForgetDataFolder();
        folders = {};
    }

    // A game that calls itself "Lands".
    void MakeGame(const std::string& name, const std::string& module) const {
        fs::create_directories(Path(name));
        WriteTextFile(Path(name) + "/MAIN.MX", module);
        WriteTextFile(Path(name) + "/Info.plist",
                      "<plist version=\"1.0\"><dict><key>ZULGameName</key>"
                      "<string>Lands</string></dict></plist>");
    }
    std::string Path(const std::string& name) const { return folder.path + "/" + name; }
    std::string Data(const std::string& name) const {
        return folder.path + "/share/Quillmoss Software/" + name;
    }

    // The name of the data folder that a start of the game takes; `lines` is what it logs.
    std::string Start(const std::string& name) {
        folders = {};
        folders.support = folder.path + "/share";
        folders.state = folder.path + "/state/moxi";
        MakeStateFolder();
        EXPECT_EQ(FindGame(Path(name)), "");
        StandardError errors;
        EXPECT_EQ(ChooseDataFolder(), "");
        lines = errors.Text();
        return fs::path(DataFolder()).filename();
    }
    // The same, and the game writes something.
    std::string Play(const std::string& name) {
        std::string data = Start(name);
        fs::create_directories(DataFolder());
        return data;
    }

    TemporaryFolder folder;
    std::string lines;
};

constexpr const char* kSecond =
    "log: the data folder \"Lands\" is another game's, this one's is \"Lands 2\"\n";

TEST_F(DataOwner, TheFirstGameTakesTheNameAndNothingIsMadeByTheStart) {
    EXPECT_EQ(Start("one"), "Lands");
    EXPECT_EQ(lines, "");
    EXPECT_TRUE(folders.moduleInData);
    EXPECT_FALSE(fs::exists(folder.path + "/share"));
}

TEST_F(DataOwner, AnotherGameOfTheNameGetsANumberAndSaysSo) {
    EXPECT_EQ(Play("one"), "Lands");
    EXPECT_EQ(Play("two"), "Lands 2");
    EXPECT_EQ(lines, kSecond);
    MakeGame("three", "third module");
    EXPECT_EQ(Play("three"), "Lands 3");
    // Each comes back to its own.
    EXPECT_EQ(Start("two"), "Lands 2");
    EXPECT_EQ(lines, kSecond);
    EXPECT_EQ(Start("one"), "Lands");
    EXPECT_EQ(lines, "");
    EXPECT_EQ(Start("three"), "Lands 3");
}

TEST_F(DataOwner, AGameComesBackToItsNumberWhereTheFirstFolderIsGone) {
    Play("one");
    Play("two");
    fs::remove_all(Data("Lands"));
    EXPECT_EQ(Start("two"), "Lands 2");
    EXPECT_EQ(Start("one"), "Lands");
}

TEST_F(DataOwner, AGameThatWroteNothingLeavesTheNameToTheNext) {
    EXPECT_EQ(Start("one"), "Lands");
    EXPECT_EQ(Start("two"), "Lands");
    EXPECT_EQ(lines, "");
}

TEST_F(DataOwner, AGameThatIsStillRunningKeepsTheNameBeforeItsFirstWrite) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        Start("one");
        const char started = 1;
        if (write(ends[1], &started, 1) != 1) {
            _exit(1);
        }
        pause();
    }
    char byte = 0;
    ASSERT_EQ(read(ends[0], &byte, 1), 1);
    EXPECT_EQ(Start("two"), "Lands 2");
    EXPECT_EQ(Start("one"), "Lands") << "a second start of the same game";
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(ends[0]);
    close(ends[1]);
}

TEST_F(DataOwner, AMovedGameAndANewVersionKeepTheirData) {
    Play("one");
    WriteTextFile(Path("one") + "/MAIN.MX", "first module, mended");
    EXPECT_EQ(Start("one"), "Lands");
    fs::rename(Path("one"), Path("moved"));
    EXPECT_EQ(Start("moved"), "Lands");
    WriteTextFile(Path("moved") + "/MAIN.MX", "first module, mended twice");
    EXPECT_EQ(Start("moved"), "Lands");
    EXPECT_EQ(lines, "");
    EXPECT_EQ(Start("two"), "Lands 2");
}

TEST_F(DataOwner, AModuleInTheDataFolderIsRunOnlyForTheGameThatMadeIt) {
    Play("one");
    WriteTextFile(Data("Lands") + "/MAIN.MX", "newer");
    Start("one");
    EXPECT_EQ(ModulePath(), Data("Lands") + "/MAIN.MX");
    Start("two");
    EXPECT_EQ(ModulePath(), Path("two") + "/MAIN.MX");
}

TEST_F(DataOwner, AFolderOfBeforeThereWereStampsIsTheFirstGamesThatComes) {
    fs::create_directories(Data("Lands"));
    WriteTextFile(Data("Lands") + "/SAVE.DAT", "saved");
    EXPECT_EQ(Start("two"), "Lands");
    EXPECT_EQ(lines, "");
    EXPECT_EQ(Start("one"), "Lands 2");
}

TEST_F(DataOwner, ButNotWithAModuleInIt) {
    fs::create_directories(Data("Lands"));
    WriteTextFile(Data("Lands") + "/MAIN.MX", "whose?");
    EXPECT_EQ(Start("one"), "Lands 2");
    EXPECT_EQ(lines, kSecond);
    EXPECT_EQ(ModulePath(), Path("one") + "/MAIN.MX");
}

TEST_F(DataOwner, AGameThatIsCalledLikeAnothersNumberDoesNotGetItsFolder) {
    Play("one");
    Play("two");
    MakeGame("three", "third module");
    WriteTextFile(Path("three") + "/Info.plist",
                  "<plist version=\"1.0\"><dict><key>ZULGameName</key>"
                  "<string>Lands 2</string></dict></plist>");
    EXPECT_EQ(Start("three"), "Lands 2 2");
}

TEST_F(DataOwner, AFolderThatTheUserNamesHasNoStamp) {
    folders.dataOverride = folder.path + "/mine";
    EXPECT_EQ(ChooseDataFolder(), "");
    EXPECT_TRUE(folders.moduleInData);
    EXPECT_EQ(DataFolder(), folder.path + "/mine");
    EXPECT_FALSE(fs::exists(folder.path + "/state"));
}

TEST_F(DataOwner, WithoutAStampTheFolderIsUsedAndNoModuleInItIsRun) {
    Play("one");
    for (const auto& entry : fs::directory_iterator(folder.path + "/state/moxi")) {
        const std::string stamp = entry.path();
        fs::remove(stamp);
        ASSERT_EQ(mkfifo(stamp.c_str(), 0600), 0);
        break;
    }
    EXPECT_EQ(Start("one"), "Lands");
    EXPECT_EQ(lines,
              "log: " + folder.path +
                  "/state/moxi: no stamp of the data folder can be kept: Invalid argument\n");
    EXPECT_FALSE(folders.moduleInData);
}

TEST_F(DataOwner, AStampThatSaysNothingIsWrittenAnew) {
    Play("one");
    for (const auto& entry : fs::directory_iterator(folder.path + "/state/moxi")) {
        WriteTextFile(entry.path(), "moxi data folder 1\ngarbage");
    }
    EXPECT_EQ(Start("one"), "Lands");
    EXPECT_EQ(Start("two"), "Lands 2");
}

}  // namespace

}  // namespace moxi
