// What is wrong with a game is said in a box where there is no terminal; and what a run leaves on
// record.

#include "tests/support/zip_bytes.h"
#include "tests/window/moxi_window.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

class Complaint : public MoxiWindow {
  protected:
    // Starts it as a double click does, as the user of an own home.
    void Open(const std::string& path, const Lines& options = {}) {
        Lines arguments = {"env", "HOME=" + folder.path, "XDG_STATE_HOME=" + folder.path + "/state",
                           std::string(MOXI_BIN_DIR) + "/moxi", "--mute"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.push_back(path);
        process = StartProcess(arguments, folder.path + "/errors");
    }
    // Waits for a window of this name and presses Return in it.
    void Dismiss(const std::string& title) {
        name = title;
        ASSERT_TRUE(WaitUntil([this] { return !Window().empty(); })) << Errors();
        Shell("xdotool windowactivate --sync " + Window() + " key Return");
    }
};

TEST_F(Complaint, AWrongPathIsABoxAndALine) {
    Open(folder.path + "/nowhere");
    Dismiss("MOXI");
    EXPECT_EQ(WaitForExit(), 2);
    EXPECT_EQ(Errors(), "moxi: " + folder.path + "/nowhere: there is no such game\n");
}

TEST_F(Complaint, AnArchiveWithoutAGameIsABoxAndALine) {
    const std::string archive = folder.path + "/letters.mxz";
    WriteTextFile(archive, ZipOf({{"letter.txt", "dear Anna"}}));
    Open(archive);
    Dismiss("MOXI");
    EXPECT_EQ(WaitForExit(), 2);
    EXPECT_EQ(Errors(), "moxi: " + archive + ": there is no game in it\n");
}

TEST_F(Complaint, ADamagedModuleIsABoxAndALine) {
    fs::resize_file(game + "/MAIN.MX", fs::file_size(game + "/MAIN.MX") - 1);
    Open(game);
    Dismiss("Message Log");
    EXPECT_EQ(WaitForExit(), 1);
    EXPECT_NE(Errors().find("log: MAIN.MX: the file ends after "), std::string::npos) << Errors();
    const std::string record = OutputOf("cat " + folder.path + "/state/moxi/games/*.txt");
    EXPECT_NE(record.find("played = 0\n"), std::string::npos) << record;
}

TEST_F(Complaint, ARunInAWindowIsOnRecordWithAPicture) {
    Open(game);
    name = "Message Log";
    ASSERT_TRUE(WaitUntil([this] { return !Window().empty(); })) << Errors();
    Shell("sleep 1.5; xdotool windowactivate --sync " + Window() + " key ctrl+q");
    EXPECT_EQ(WaitForExit(), 0);
    std::string record;
    int pictures = 0;
    for (const auto& entry : fs::directory_iterator(folder.path + "/state/moxi/games")) {
        if (entry.path().extension() == ".txt") {
            record = ReadTextFile(entry.path());
        }
        pictures += entry.path().extension() == ".png" ? 1 : 0;
    }
    EXPECT_NE(record.find("\npath = " + game + "\n"), std::string::npos) << record;
    EXPECT_NE(record.find("\nname = Message Log\n"), std::string::npos);
    EXPECT_EQ(record.find("\nseconds = 0\n"), std::string::npos);
    EXPECT_NE(record.find("\nshelf = yes\n"), std::string::npos);
    EXPECT_LE(pictures, 1);
    fs::remove_all(folder.path + "/state");
    Open(game, {"--headless", "--run-ms", "100"});
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_FALSE(fs::exists(folder.path + "/state/moxi/games"));
}

}  // namespace

}  // namespace moxi
