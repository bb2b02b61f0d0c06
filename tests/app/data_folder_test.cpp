// Where a game's data goes, through the program itself.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "tests/support/calling_module.h"
#include "tests/support/headless_run.h"

namespace moxi {

namespace {

namespace fs = std::filesystem;

using Strings = std::vector<std::string>;

// A game that writes SAVE.DAT, in a folder whose current folder is another one.
class DataFolder : public testing::Test {
  protected:
    void SetUp() override {
        fs::create_directories(here);
        fs::create_directories(game);
        CallingModule calls;
        const u32 handle = calls.Call(SYS_FILE_OPEN, {calls.Text("SAVE.DAT"), "0x8302"});
        calls.Call(SYS_FILE_WRITE, {CallingModule::Result(handle), calls.Text("gone"), "4"});
        calls.Call(SYS_FILE_CLOSE, {CallingModule::Result(handle)});
        calls.Call(SYS_FILE_OPEN, {calls.Text("MORE.DAT"), "0x8302"});
        WriteGame(game, calls.Source());
    }

    // `environment` is what env takes: -u NAME and NAME=VALUE.
    ProgramResult Run(const std::string& environment, const Strings& options = {},
                      const std::string& user = "") {
        Strings arguments = {"-c", user + "env " + environment + " \"$0\" \"$@\"",
                             std::string(MOXI_BIN_DIR) + "/moxi", "--headless"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.push_back(game);
        return RunProgram("/bin/sh", arguments, here);
    }

    // As a user whom the system does not know and who has no home. Files of the run go to
    // `temporary`.
    ProgramResult RunWithoutHome(const Strings& options = {}) {
        fs::create_directories(temporary);
        for (const std::string& path : {folder.path, here, game, temporary}) {
            fs::permissions(path, fs::perms{0777});
        }
        WriteTextFile(here + "/MAIN.MX", "not the game");
        return Run("-u HOME -u XDG_DATA_HOME TMPDIR=" + temporary, options,
                   "exec setpriv --reuid 54321 --regid 54321 --clear-groups ");
    }

    static constexpr const char* kSave = "/Quillmoss Software/game/SAVE.DAT";
    TemporaryFolder folder;
    std::string here = folder.path + "/here";
    std::string game = folder.path + "/game";
    std::string temporary = folder.path + "/tmp";
};

TEST_F(DataFolder, ATrailingSlashOfItsNameIsNotDoubled) {
    CallingModule calls;
    const std::string buffer = calls.Room(1024);
    calls.Call(SYS_DATA_FOLDER, {buffer});
    const AssembleResult assembled = WriteGame(game, calls.Source());
    const ProgramResult result =
        Run("", {"--data-folder", folder.path + "/data/", "--dump-image", folder.path + "/image"});
    EXPECT_EQ(result.status, 0) << result.errors;
    const std::string image = ReadTextFile(folder.path + "/image");
    const u32 at = SymbolValue(assembled, buffer);
    ASSERT_LT(at, image.size());
    EXPECT_EQ(std::string(image.c_str() + at), folder.path + "/data/");
}

TEST_F(DataFolder, ItIsBelowXdgDataHomeElseBelowTheHome) {
    EXPECT_EQ(Run("XDG_DATA_HOME=" + folder.path + "/x HOME=" + folder.path + "/h").errors, "");
    EXPECT_EQ(ReadTextFile(folder.path + "/x" + kSave), "gone");
    EXPECT_EQ(Run("-u XDG_DATA_HOME HOME=" + folder.path + "/h").errors, "");
    EXPECT_EQ(ReadTextFile(folder.path + "/h/.local/share" + kSave), "gone");
}

TEST_F(DataFolder, ARelativeXdgDataHomeIsIgnored) {
    EXPECT_EQ(Run("XDG_DATA_HOME=data HOME=" + folder.path + "/h").errors, "");
    EXPECT_EQ(ReadTextFile(folder.path + "/h/.local/share" + kSave), "gone");
    EXPECT_TRUE(fs::is_empty(here));
}

TEST_F(DataFolder, WithoutAHomeInTheEnvironmentThePasswordDatabaseHasOne) {
    if (getuid() != 0) {
        GTEST_SKIP() << "the home of who runs this would be written to";
    }
    // What lies in the current folder is no module of the game's.
    WriteTextFile(here + "/MAIN.MX", "not the game");
    // Only read: nothing is written to the home of root.
    CallingModule calls;
    const std::string buffer = calls.Room(1024);
    calls.Call(SYS_DATA_FOLDER, {buffer});
    const AssembleResult assembled = WriteGame(game, calls.Source());
    const ProgramResult result =
        Run("-u HOME -u XDG_DATA_HOME", {"--dump-image", folder.path + "/image"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    const std::string image = ReadTextFile(folder.path + "/image");
    const u32 at = SymbolValue(assembled, buffer);
    ASSERT_LT(at, image.size());
    EXPECT_EQ(std::string(image.c_str() + at), "/root/.local/share/Quillmoss Software/game/");
}

TEST_F(DataFolder, AUserWithoutAnyHomeSavesIntoAFolderThatGoesAtTheEnd) {
    if (getuid() != 0) {
        GTEST_SKIP() << "only root can be somebody else";
    }
    const ProgramResult result = RunWithoutHome();
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_TRUE(result.errors.starts_with("log: no home folder: saved data goes to " + temporary +
                                          "/moxi-"))
        << result.errors;
    EXPECT_TRUE(result.errors.ends_with(" and is removed at the end\n")) << result.errors;
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1);
    EXPECT_TRUE(fs::is_empty(temporary));
    EXPECT_FALSE(fs::exists(here + "/SAVE.DAT"));
}

TEST_F(DataFolder, WithoutAHomeAScreenshotHasNoPlaceAndIsRefused) {
    if (getuid() != 0) {
        GTEST_SKIP() << "only root can be somebody else";
    }
    WriteTextFile(folder.path + "/script", "10 modifiers command shift\n20 key-down 01 \"S\"\n");
    const ProgramResult result = RunWithoutHome({"--script", folder.path + "/script"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_TRUE(
        result.errors.ends_with("\nlog: screenshot: there is no home folder to keep it in\n"))
        << result.errors;
    EXPECT_EQ(std::distance(fs::directory_iterator(here), {}), 1);  // the module that is none
}

// The times of one file that came with the game, of one that this run has written, and of the
// folder that both lie in.
TEST_F(DataFolder, WhatARunWithADateHasWrittenIsAsOldAsItsClockSays) {
    CallingModule calls;
    const u32 handle = calls.Call(SYS_FILE_OPEN, {calls.Text("NEW.DAT"), "0x8302"});
    calls.Call(SYS_FILE_WRITE, {CallingModule::Result(handle), calls.Text("text"), "4"});
    calls.Call(SYS_FILE_CLOSE, {CallingModule::Result(handle)});
    std::vector<u32> times;
    for (const char* const name : {"OLD.DAT", "NEW.DAT", "."}) {
        times.push_back(calls.Call(SYS_FILE_TIME, {calls.Text(name)}));
    }
    const AssembleResult assembled = WriteGame(game, calls.Source());
    const std::string data = folder.path + "/data";
    fs::create_directories(data);
    WriteTextFile(data + "/OLD.DAT", "text");
    const timespec old[2] = {{1000000000, 0}, {1234567890, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, (data + "/OLD.DAT").c_str(), old, 0), 0);
    const Strings options = {"--data-folder",       data,           "--date",
                             "2024-05-06 12:53:20", "--dump-image", folder.path + "/image"};
    ASSERT_EQ(Run("TZ=Asia/Tokyo", options).status, 0);
    const std::string image = ReadTextFile(folder.path + "/image");
    const auto timeOf = [&](u32 call) {
        u32 time = 0;
        std::memcpy(&time, image.data() + SymbolValue(assembled, CallingModule::ResultLabel(call)),
                    4);
        return time;
    };
    EXPECT_EQ(timeOf(times[0]), 1234567890u);
    EXPECT_EQ(timeOf(times[1]), 1715000000u) << "the date as if it were UTC";
    EXPECT_EQ(timeOf(times[2]), 1715000000u);
}

TEST_F(DataFolder, OneThatCannotBeMadeIsOneLineAtTheFirstWrite) {
    WriteTextFile(folder.path + "/file", "in the way");
    const std::string data = folder.path + "/file/data";
    EXPECT_EQ(Run("", {"--data-folder", data}).errors,
              "log: data cannot be written to " + data + "/: Not a directory\n");
}

}  // namespace

}  // namespace moxi
