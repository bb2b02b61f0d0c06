// Where a game lies and what it is called: names that games choose for themselves, links that lead
// out of their folder, things that are no files.

#include "host/bundle.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "desktop/folders.h"
#include "tests/support/headless_run.h"
#include "tests/support/vm_fixture.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

std::string List(const std::string& entries) {
    return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>" + entries + "</dict></plist>";
}

std::string Named(const std::string& name) {
    return List("<key>ZULGameName</key><string>" + name + "</string>");
}

class Bundle : public ::testing::Test {
  protected:
    void SetUp() override {
        game = folder.path + "/Lands.app";
        fs::create_directories(game + "/Contents/Resources");
        WriteTextFile(game + "/Contents/Resources/MAIN.MX", "MOXI");
        WriteTextFile(folder.path + "/secret.txt", "secret");
        home = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
    }
    void TearDown() override {
        folders = {};
        setenv("HOME", home.c_str(), 1);
    }

    // What FindGame says; `lines` is what it logs.
    std::string Find(const std::string& path) {
        StandardError errors;
        std::string problem = FindGame(path);
        lines = errors.Text();
        return problem;
    }
    std::string InformationPath() const { return game + "/Contents/Info.plist"; }
    std::string NameFor(const std::string& list) {
        WriteTextFile(InformationPath(), list);
        EXPECT_EQ(Find(game), "");
        return folders.gameName;
    }

    TemporaryFolder folder;
    std::string game;
    std::string home;
    std::string lines;
};

// --- Names

TEST_F(Bundle, AGoodNameIsTakenFromTheInformationFile) {
    EXPECT_EQ(NameFor(Named("Far Lands")), "Far Lands");
    EXPECT_EQ(NameFor(Named("Lands...")), "Lands...");
    EXPECT_EQ(lines, "");
}

TEST_F(Bundle, ANameThatLeadsElsewhereIsReplacedByTheFoldersOwnWithOneLine) {
    for (const char* const name : {"", ".", "..", ".hidden", "a/b", "/", "../Other", "Other/"}) {
        EXPECT_EQ(NameFor(Named(name)), "Lands") << name;
        EXPECT_EQ(lines, "log: " + InformationPath() + ": \"" + name +
                             "\" can be no game's name, it is \"Lands\"\n");
    }
}

TEST_F(Bundle, WithoutAListOrWithoutTheKeyTheNameIsTheFolders) {
    EXPECT_EQ(NameFor(List("<key>Other</key><string>X</string>")), "Lands");
    EXPECT_EQ(lines, "");
    EXPECT_EQ(NameFor("bplist00"), "Lands");
    EXPECT_EQ(lines, "log: " + InformationPath() + ": no readable XML property list\n");
}

TEST_F(Bundle, AFolderWhoseNameBeginsWithADotGivesANameWithout) {
    for (const auto& [folderName, name] :
         {std::pair{".lands", "lands"}, {"..lands.app", "lands"}, {"...", "Game"}}) {
        const std::string path = folder.path + "/" + folderName;
        fs::create_directories(path);
        WriteTextFile(path + "/MAIN.MX", "MOXI");
        EXPECT_EQ(Find(path), "");
        EXPECT_EQ(folders.gameName, name) << folderName;
    }
}

// --- What is no file

TEST_F(Bundle, NothingInThePlaceOfTheInformationFileHaltsTheStart) {
    const std::string line = "log: " + InformationPath() + ": no readable XML property list\n";
    ASSERT_EQ(mkfifo(InformationPath().c_str(), 0600), 0);
    EXPECT_EQ(Find(game), "");
    EXPECT_EQ(lines, line);
    fs::remove(InformationPath());

    fs::create_directory(InformationPath());
    EXPECT_EQ(Find(game), "");
    EXPECT_EQ(lines, line);
    fs::remove(InformationPath());

    const int end = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    ASSERT_LT(InformationPath().size(), sizeof address.sun_path);
    InformationPath().copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(end, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(Find(game), "");
    EXPECT_EQ(lines, line);
    close(end);
    EXPECT_EQ(folders.gameName, "Lands");
}

// --- Links

TEST_F(Bundle, LinksThatLeadOutOfTheGameAreRefused) {
    const std::string resources = game + "/Contents/Resources";
    const std::string end = " is a link that leads out of the game's folder";

    fs::create_symlink("../../secret.txt", InformationPath());
    EXPECT_EQ(Find(game), game + ": Contents/Info.plist" + end);
    fs::remove(InformationPath());
    fs::create_symlink("/dev/zero", InformationPath());
    EXPECT_EQ(Find(game), game + ": Contents/Info.plist" + end);
    fs::remove(InformationPath());

    fs::remove(resources + "/MAIN.MX");
    fs::create_symlink(folder.path + "/secret.txt", resources + "/MAIN.MX");
    EXPECT_EQ(Find(game), game + ": Contents/Resources/MAIN.MX" + end);

    fs::remove_all(resources);
    WriteTextFile(folder.path + "/MAIN.MX", "MOXI");
    fs::create_directory_symlink("../..", resources);
    EXPECT_EQ(Find(game), game + ": Contents/Resources" + end);
    fs::remove(resources);
    fs::remove_all(game + "/Contents");
    fs::create_directories(folder.path + "/Elsewhere/Resources");
    WriteTextFile(folder.path + "/Elsewhere/Resources/MAIN.MX", "MOXI");
    fs::create_directory_symlink("../Elsewhere", game + "/Contents");
    EXPECT_EQ(Find(game), game + ": Contents/Resources" + end);
}

TEST_F(Bundle, LinksInsideOfTheGameAndALinkToTheGameAreFollowed) {
    fs::rename(game + "/Contents/Resources", game + "/Files");
    fs::create_directory_symlink("../Files", game + "/Contents/Resources");
    fs::create_directory_symlink(game, folder.path + "/Link.app");
    EXPECT_EQ(Find(folder.path + "/Link.app"), "");
    EXPECT_EQ(folders.resources, folder.path + "/Link.app/Contents/Resources");
    EXPECT_TRUE(folders.deletableResources);
}

// --- Deleting

TEST_F(Bundle, AGameMayDeleteItsOwnFilesAndNotThoseOfAFolderItMerelyLiesIn) {
    EXPECT_EQ(Find(game), "");
    EXPECT_TRUE(folders.deletableResources);
    const std::string plain = game + "/Contents/Resources";
    EXPECT_EQ(Find(plain), "");
    EXPECT_TRUE(folders.deletableResources);
    EXPECT_EQ(Find(plain + "/MAIN.MX"), "");
    EXPECT_FALSE(folders.deletableResources) << "a MAIN.MX among other downloads";
    setenv("HOME", plain.c_str(), 1);
    EXPECT_EQ(Find(plain), "");
    EXPECT_FALSE(folders.deletableResources) << "the home folder";
    EXPECT_EQ(Find(game), "");
    EXPECT_FALSE(folders.deletableResources) << "a folder above it";
    // The same home, by another name.
    fs::create_directory_symlink(plain, folder.path + "/home");
    setenv("HOME", (folder.path + "/home").c_str(), 1);
    EXPECT_EQ(Find(plain), "");
    EXPECT_FALSE(folders.deletableResources);
}

}  // namespace

}  // namespace moxi
