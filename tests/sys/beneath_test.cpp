// Names beneath a folder, by the kernel and by walking: both give the same answers.

#include "sys/beneath.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

namespace moxi {

namespace fs = std::filesystem;

namespace {

class Beneath : public testing::TestWithParam<Resolution> {
  protected:
    void SetUp() override {
        std::string pattern = fs::temp_directory_path() / "moxi-beneath-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        root = pattern;
        fs::create_directories(root + "/in/a/b");
        Write("outside", "outside");
        Write("in/file", "file");
        Write("in/a/b/deep", "deep");
        folder = open((root + "/in").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        ResolveNames(GetParam());
    }
    void TearDown() override {
        ResolveNames(Resolution::Beneath);
        close(folder);
        fs::remove_all(root);
    }

    void Write(const std::string& name, const std::string& text) const {
        std::ofstream(root + "/" + name) << text;
    }
    std::string Text(const std::string& name) const {
        std::ifstream file(root + "/" + name);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    // What a name leads to: a file's text, or the error.
    std::string Read(const std::string& name, int flags = O_RDONLY) const {
        const int file = OpenBeneath(folder, name.c_str(), flags);
        if (file < 0) {
            return std::strerror(errno);
        }
        char text[100];
        const ssize_t size = read(file, text, sizeof text);
        const std::string problem = size < 0 ? std::strerror(errno) : "";
        close(file);
        return size < 0 ? problem : std::string(text, static_cast<size_t>(size));
    }

    std::string root;
    int folder = -1;
};

const std::string kNotThere = "No such file or directory";

TEST_P(Beneath, NamesInsideAreFound) {
    EXPECT_EQ(Read("file"), "file");
    EXPECT_EQ(Read("./a//b/./deep"), "deep");
    EXPECT_EQ(Read("a/../file"), "file");
    EXPECT_EQ(Read("a/b/../../file"), "file");
    EXPECT_EQ(Read("/file"), "file") << "a name is relative to the folder";
    EXPECT_EQ(Read("///a/b/deep"), "deep");
}

TEST_P(Beneath, NamesThatLeadOutAreNotThere) {
    for (const char* const name :
         {"../outside", "a/../../outside", "..", "../in/file", "/../outside",
          "a/b/../../../outside", "a/../..", "/etc/passwd"}) {
        EXPECT_EQ(Read(name), kNotThere) << name;
        struct stat status;
        EXPECT_EQ(StatBeneath(folder, name, &status), -1) << name;
        EXPECT_EQ(errno, ENOENT) << name;
    }
}

TEST_P(Beneath, WhatIsNoFolderHasNothingBelow) {
    EXPECT_EQ(Read("file/x"), "Not a directory");
    EXPECT_EQ(Read("file/"), "Not a directory");
    EXPECT_EQ(Read("file/.."), "Not a directory");
    EXPECT_EQ(Read("absent/.."), kNotThere);
    EXPECT_EQ(Read("a"), "Is a directory");
    EXPECT_EQ(Read(""), "Is a directory");
    EXPECT_EQ(Read("a/b/.."), "Is a directory");
}

TEST_P(Beneath, LinksInsideAreFollowedAndOthersAreNot) {
    fs::create_symlink("../file", root + "/in/a/up");
    fs::create_symlink("a/b", root + "/in/short");
    fs::create_symlink("../outside", root + "/in/out");
    fs::create_symlink("../..", root + "/in/a/way");
    fs::create_symlink(root + "/in/file", root + "/in/absolute");
    fs::create_symlink("loop", root + "/in/loop");
    EXPECT_EQ(Read("a/up"), "file");
    EXPECT_EQ(Read("short/deep"), "deep");
    EXPECT_EQ(Read("short/../b/deep"), "deep") << "beside where the link leads";
    for (const char* const name : {"out", "a/way/outside", "absolute", "loop", "loop/x", "out/"}) {
        EXPECT_EQ(Read(name), kNotThere) << name;
    }
}

TEST_P(Beneath, FilesAreMadeInsideAlone) {
    const int made = OpenBeneath(folder, "a/new", O_RDWR | O_CREAT);
    ASSERT_GE(made, 0);
    EXPECT_EQ(write(made, "new", 3), 3);
    close(made);
    EXPECT_EQ(Text("in/a/new"), "new");
    fs::create_symlink("../made", root + "/in/out");
    fs::create_symlink("made", root + "/in/to");
    EXPECT_EQ(OpenBeneath(folder, "out", O_RDWR | O_CREAT), -1);
    EXPECT_EQ(OpenBeneath(folder, "../made", O_RDWR | O_CREAT), -1);
    EXPECT_FALSE(fs::exists(root + "/made"));
    close(OpenBeneath(folder, "to", O_RDWR | O_CREAT));
    EXPECT_TRUE(fs::exists(root + "/in/made")) << "a link to a name inside makes it";
    EXPECT_EQ(OpenBeneath(folder, "x/", O_RDWR | O_CREAT), -1);
    EXPECT_EQ(errno, EISDIR);
}

TEST_P(Beneath, FoldersAreMadeAndRemovedInsideAlone) {
    EXPECT_EQ(MakeFolderBeneath(folder, "new"), 0);
    EXPECT_EQ(MakeFolderBeneath(folder, "a/new/"), 0);
    EXPECT_TRUE(fs::is_directory(root + "/in/a/new"));
    EXPECT_EQ(MakeFolderBeneath(folder, "a"), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(MakeFolderBeneath(folder, "a/.."), -1);
    EXPECT_EQ(errno, EEXIST);
    for (const char* const name : {"../new", "..", "a/../../new"}) {
        EXPECT_EQ(MakeFolderBeneath(folder, name), -1) << name;
        EXPECT_EQ(errno, ENOENT) << name;
    }
    EXPECT_FALSE(fs::exists(root + "/new"));
    fs::create_directory(root + "/empty");
    EXPECT_EQ(RemoveFolderBeneath(folder, "../empty"), -1);
    EXPECT_EQ(RemoveFolderBeneath(folder, ""), -1);
    EXPECT_EQ(RemoveFolderBeneath(folder, "a/new"), 0);
    EXPECT_TRUE(fs::exists(root + "/empty"));
}

TEST_P(Beneath, NamesAreRemovedAndMovedInsideAlone) {
    EXPECT_EQ(UnlinkBeneath(folder, "../outside"), -1);
    EXPECT_EQ(RenameBeneath(folder, "../outside", "stolen"), -1);
    EXPECT_EQ(RenameBeneath(folder, "file", "../file"), -1);
    EXPECT_EQ(Text("outside"), "outside");
    EXPECT_EQ(RenameBeneath(folder, "file", "a/b/deep"), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(RenameBeneath(folder, "file", "a/file"), 0);
    EXPECT_EQ(Text("in/a/file"), "file");
    fs::create_symlink("../outside", root + "/in/out");
    EXPECT_EQ(UnlinkBeneath(folder, "out"), 0) << "the link itself goes";
    EXPECT_EQ(Text("outside"), "outside");
}

INSTANTIATE_TEST_SUITE_P(Ways, Beneath,
                         testing::Values(Resolution::Beneath, Resolution::BeneathByWalking),
                         [](const auto& way) {
                             return way.param == Resolution::Beneath ? "ByTheKernel" : "ByWalking";
                         });

TEST(BeneathBothWays, GiveTheSameAnswerForAnyName) {
    std::string pattern = fs::temp_directory_path() / "moxi-beneath-XXXXXX";
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    const std::string root = pattern;
    fs::create_directories(root + "/in/a/b");
    std::ofstream(root + "/in/f") << "f";
    std::ofstream(root + "/in/a/f") << "af";
    std::ofstream(root + "/f") << "outside";
    fs::create_symlink("..", root + "/in/a/u");
    fs::create_symlink("a/b/../f", root + "/in/l");
    fs::create_symlink("../f", root + "/in/o");
    fs::create_symlink("l", root + "/in/a/l");
    const int folder = open((root + "/in").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    const auto answer = [folder](const std::string& name, Resolution way) -> std::string {
        ResolveNames(way);
        struct stat status = {};
        const int result = StatBeneath(folder, name.c_str(), &status);
        const int error = errno;
        ResolveNames(Resolution::Beneath);
        return result < 0 ? std::strerror(error) : std::to_string(status.st_ino);
    };
    std::mt19937 random(7);
    int found = 0;
    for (int i = 0; i < 20000; ++i) {
        constexpr const char* kParts[] = {"a", "b", "f", "u", "l", "o", "..", ".", "", "x"};
        std::string name;
        for (auto parts = random() % 6; parts > 0; --parts) {
            name += kParts[random() % 10];
            if (parts > 1 || random() % 4 == 0) {
                name += "/";
            }
        }
        const std::string byKernel = answer(name, Resolution::Beneath);
        EXPECT_EQ(answer(name, Resolution::BeneathByWalking), byKernel) << name;
        found += byKernel[0] <= '9' ? 1 : 0;
    }
    EXPECT_GT(found, 1000);
    close(folder);
    fs::remove_all(root);
}

}  // namespace

}  // namespace moxi
