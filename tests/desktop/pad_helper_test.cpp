// The process that hands over open gamepads, with files in the place of devices: one that holds
// "pad" is one.
#include "desktop/sdl/input/pad_helper.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "base/helper_process.h"
#include "tests/support/headless_run.h"

namespace moxi {

namespace {

bool SaysPad(int file) {
    char text[4] = {};
    return pread(file, text, 3, 0) == 3 && std::strcmp(text, "pad") == 0;
}

class PadHelper : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    }
    void TearDown() override { End(); }

    void Start() {
        helper = fork();
        if (helper == 0) {
            close(ends[0]);
            HandOverPads(ends[1], folder.path, SaysPad);
            _exit(7);
        }
        close(ends[1]);
    }

    int End() {
        if (helper <= 0) {
            return -1;
        }
        close(ends[0]);
        int status = 0;
        waitpid(helper, &status, 0);
        helper = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    void Put(const std::string& name, const std::string& text) {
        // As the kernel makes a device: nobody may read it until it is what it is.
        WriteTextFile(folder.path + "/." + name, text);
        std::filesystem::rename(folder.path + "/." + name, folder.path + "/" + name);
    }

    // What the next file that comes holds from the third letter on; "" when none comes in time.
    std::string Next() {
        pollfd waiting = {ends[0], POLLIN, 0};
        if (poll(&waiting, 1, 5000) != 1) {
            return "";
        }
        char letter = 0;
        int file = -1;
        EXPECT_EQ(TakeWithFile(ends[0], &letter, sizeof letter, file, 0), 1);
        if (file < 0) {
            return "";
        }
        // It is for reading alone.
        EXPECT_EQ(fcntl(file, F_GETFL) & O_ACCMODE, O_RDONLY);
        char text[16] = {};
        EXPECT_GT(pread(file, text, sizeof text - 1, 3), 0);
        close(file);
        return text;
    }

    TemporaryFolder folder;
    int ends[2] = {-1, -1};
    pid_t helper = -1;
};

TEST_F(PadHelper, OnlyPadsAreHandedOver) {
    Put("event0", "keyboard");
    Put("event1", "pad one");
    Put("mouse0", "pad that is called otherwise");
    Put("event", "pad without a number");
    Put("event2x", "pad with a letter");
    std::filesystem::create_symlink("event1", folder.path + "/event3");
    std::filesystem::create_directory(folder.path + "/event4");
    Start();
    EXPECT_EQ(Next(), " one");
    // The next that comes is the next that was made.
    Put("event5", "mouse");
    Put("event6", "pad six");
    EXPECT_EQ(Next(), " six");
}

TEST_F(PadHelper, APadIsHandedOverOnceAndAgainWhenItHasBeenAway) {
    Start();
    Put("event7", "pad seven");
    EXPECT_EQ(Next(), " seven");
    // A change of who may read it, which is none of what it is.
    std::filesystem::permissions(folder.path + "/event7", std::filesystem::perms::owner_read);
    Put("event8", "pad eight");
    EXPECT_EQ(Next(), " eight");
    std::filesystem::remove(folder.path + "/event7");
    Put("event7", "pad seven again");
    EXPECT_EQ(Next(), " seven again");
}

TEST_F(PadHelper, ADeviceThatBecomesReadableLaterIsHandedOverThen) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "root may read everything";
    }
    Start();
    WriteTextFile(folder.path + "/.event9", "pad nine");
    std::filesystem::permissions(folder.path + "/.event9", std::filesystem::perms::none);
    std::filesystem::rename(folder.path + "/.event9", folder.path + "/event9");
    std::filesystem::permissions(folder.path + "/event9", std::filesystem::perms::owner_read);
    EXPECT_EQ(Next(), " nine");
}

TEST_F(PadHelper, ItEndsWithTheConnection) {
    Start();
    EXPECT_EQ(End(), 7);
}

TEST_F(PadHelper, AMachineWithoutDevicesHasNoPadsAndTheHelperWaitsForItsEnd) {
    std::filesystem::remove_all(folder.path);
    Start();
    EXPECT_EQ(End(), 7);
    std::filesystem::create_directory(folder.path);
}

TEST(PadHelperOfTheProgram, WithoutOneNoPadComes) {
    EXPECT_EQ(TakePad(), -1);
}

}  // namespace

}  // namespace moxi
