// Archives from anywhere: what is unpacked, and what is refused before anything of it is written.

#include "host/archive.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/headless_run.h"
#include "tests/support/zip_bytes.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

struct Unpacked {
    TemporaryFolder around;
    std::string folder = around.path + "/in/here";
    std::string problem;

    explicit Unpacked(const std::string& bytes, const ArchiveLimits& limits = {}) {
        fs::create_directories(folder);
        WriteTextFile(around.path + "/archive", bytes);
        const int file = open((around.path + "/archive").c_str(), O_RDONLY);
        problem = UnpackArchive(file, folder, limits);
        close(file);
        // Whatever an archive says, it writes nowhere else.
        EXPECT_EQ(Count(around.path), 2);
        EXPECT_EQ(Count(around.path + "/in"), 1);
    }
    static int Count(const std::string& path) {
        return static_cast<int>(
            std::distance(fs::directory_iterator(path), fs::directory_iterator()));
    }
    int Files() const { return Count(folder); }
    std::string Text(const std::string& name) const { return ReadTextFile(folder + "/" + name); }
};

std::string ProblemWith(const std::vector<ZipEntry>& entries, const ArchiveLimits& limits = {}) {
    return Unpacked(ZipOf(entries), limits).problem;
}

TEST(Archive, FilesAndFoldersAreUnpackedWithTheirContent) {
    const Unpacked unpacked(ZipOf({{"Game/", ""},
                                   {"Game/MAIN.MX", "module"},
                                   {"Game/MUSIC/a.mid", std::string(100'000, 'x')},
                                   {"Game/Übung.txt", "ü"},
                                   PackedZeros("Game/zeros", 70'000)}));
    EXPECT_EQ(unpacked.problem, "");
    EXPECT_EQ(unpacked.Text("Game/MAIN.MX"), "module");
    EXPECT_EQ(unpacked.Text("Game/MUSIC/a.mid"), std::string(100'000, 'x'));
    EXPECT_EQ(unpacked.Text("Game/Übung.txt"), "ü");
    EXPECT_EQ(unpacked.Text("Game/zeros"), std::string(70'000, '\0'));
    EXPECT_EQ(fs::status(unpacked.folder + "/Game/MAIN.MX").permissions(), fs::perms{0644});
}

TEST(Archive, NamesThatLeadOutOfTheFolderAreRefusedBeforeAnythingIsWritten) {
    for (const std::string name :
         {"../x", "a/../../x", "..", "a/..", "a/../b", "../../../../../../tmp/x"}) {
        const Unpacked unpacked(ZipOf({{"first", "1"}, {name, "x"}}));
        EXPECT_EQ(unpacked.problem, name + ": the name leads out of the folder");
        EXPECT_EQ(unpacked.Files(), 0);
    }
    EXPECT_EQ(ProblemWith({{"/etc/x", "x"}}), "/etc/x: an absolute name");
    EXPECT_EQ(ProblemWith({{"..\\x", "x"}}), "..\\x: a name with a backslash");
    EXPECT_EQ(ProblemWith({{"a//b", "x"}}), "a//b: a name with an empty part");
    EXPECT_EQ(ProblemWith({{"./b", "x"}}), "./b: a name with an empty part");
    EXPECT_EQ(ProblemWith({{"", "x"}}), ": an entry without a name");
    EXPECT_EQ(ProblemWith({{"a\nb", "x"}}), "a\nb: a name with control characters");
    // What is wrong is seen, however long the name is.
    EXPECT_EQ(ProblemWith({{std::string(1025, 'n'), "x"}}),
              std::string(200, 'n') + "...: the name is too long");
}

TEST(Archive, LinksPipesAndDevicesAreRefused) {
    const auto kind = [](u32 mode) { return mode << 16; };
    EXPECT_EQ(ProblemWith({{"link", "/etc/passwd", kind(0120777)}}), "link: a link");
    EXPECT_EQ(ProblemWith({{"folder/", "", kind(0120777)}}), "folder/: a link");
    EXPECT_EQ(ProblemWith({{"pipe", "", kind(0010644)}}), "pipe: neither a file nor a folder");
    EXPECT_EQ(ProblemWith({{"disk", "", kind(0060644)}}), "disk: neither a file nor a folder");
    EXPECT_EQ(ProblemWith({{"file", "", kind(0040755)}}), "file: neither a file nor a folder");
    EXPECT_EQ(ProblemWith({{"file", "x", kind(0100644)}, {"d/", "", kind(0040755)}}), "");
}

TEST(Archive, TwoEntriesOfANameAndFilesInFilesAreRefused) {
    EXPECT_EQ(ProblemWith({{"a", "1"}, {"b", "2"}, {"a", "3"}}), "a: there are two of this name");
    EXPECT_EQ(ProblemWith({{"a", "1"}, {"a/", ""}}), "a: there are two of this name");
    EXPECT_EQ(ProblemWith({{"a/", ""}, {"a/", ""}}), "a: there are two of this name");
    EXPECT_EQ(ProblemWith({{"a", "1"}, {"a/b", "2"}}),
              "a/b: its folder a: a file where a folder is needed");
    EXPECT_EQ(ProblemWith({{"a/b", "2"}, {"a", "1"}}), "a: a folder where a file is needed");
    EXPECT_EQ(ProblemWith({{"a/b", "1"}, {"a/", ""}, {"a/c/d", "2"}, {"a/c/", ""}}), "");
}

TEST(Archive, NamesThatDifferByCapitalsAloneAreRefusedBeforeAnythingIsWritten) {
    const Unpacked unpacked(
        ZipOf({{"Contents/Resources/MAIN.MX", "1"}, {"x", "2"}, {"CONTENTS/Info.plist", "3"}}));
    EXPECT_EQ(unpacked.problem,
              "CONTENTS/Info.plist: its folder CONTENTS: differs from Contents by capitals alone");
    EXPECT_EQ(unpacked.Files(), 0);
    EXPECT_EQ(ProblemWith({{"Ant.png", "1"}, {"ant.PNG", "2"}}),
              "ant.PNG: differs from Ant.png by capitals alone");
    EXPECT_EQ(ProblemWith({{"a/Ant.png", "1"}, {"b/ant.png", "2"}}), "");
}

TEST(Archive, NamesInMoreThan64PartsAreRefused) {
    const auto nested = [](int folders) {
        std::string name;
        for (int i = 0; i < folders; ++i) {
            name += "d/";
        }
        return name + "file";
    };
    EXPECT_EQ(ProblemWith({{nested(63), "1"}}), "");
    EXPECT_EQ(ProblemWith({{nested(64), "1"}}), nested(64) + ": in too many folders");
}

TEST(Archive, EncryptedEntriesAndUnknownMethodsAreRefused) {
    EXPECT_EQ(ProblemWith({{.name = "a", .content = "0123456789abc", .flags = 1}}), "a: encrypted");
    EXPECT_EQ(ProblemWith({{.name = "a", .content = "x", .method = 98, .unpacked = "x"}}),
              "a: compressed in an unknown way");
}

TEST(Archive, MoreEntriesThanTheLimitAreRefused) {
    std::vector<ZipEntry> entries;
    for (int i = 0; i <= 16384; ++i) {
        entries.push_back({"f" + std::to_string(i), ""});
    }
    const Unpacked unpacked(ZipOf(entries));
    EXPECT_EQ(unpacked.problem, "it has more than 16384 entries");
    EXPECT_EQ(unpacked.Files(), 0);
    entries.resize(10);
    EXPECT_EQ(ProblemWith(entries, {.entries = 10}), "");
    EXPECT_EQ(ProblemWith(entries, {.entries = 9}), "it has more than 9 entries");
}

TEST(Archive, BombsAreRefusedBeforeAnythingIsWritten) {
    // 48 MiB of zeros take about 48 KiB.
    const Unpacked bomb(ZipOf({{"a", "1"}, PackedZeros("zeros", 48u << 20)}));
    EXPECT_EQ(bomb.problem, "unpacked it is more than 100 times as large");
    EXPECT_EQ(bomb.Files(), 0);
    // The same in many files, each of them small.
    std::vector<ZipEntry> many;
    const ZipEntry small = PackedZeros("", 1u << 20);
    for (int i = 0; i < 48; ++i) {
        many.push_back(small);
        many.back().name = "f" + std::to_string(i);
    }
    EXPECT_EQ(ProblemWith(many), "unpacked it is more than 100 times as large");
    many.resize(20);
    EXPECT_EQ(ProblemWith(many), "");
    EXPECT_EQ(ProblemWith(many, {.bytes = 19u << 20}), "unpacked it is larger than 19 MiB");
}

TEST(Archive, AnEntryThatIsLargerThanItSaysIsCutOff) {
    ZipEntry liar = PackedZeros("zeros", 1u << 20);
    liar.unpacked.resize(1000);
    const Unpacked unpacked(ZipOf({liar}));
    EXPECT_EQ(unpacked.problem.rfind("zeros: ", 0), 0u) << unpacked.problem;
    EXPECT_LE(fs::file_size(unpacked.folder + "/zeros"), 1000u);
}

TEST(Archive, EveryCutOfAnArchiveIsRefusedOrUnpacksWhole) {
    const std::string whole = ZipOf({{"M", "module"}, PackedZeros("zeros", 5000)});
    for (size_t size = 0; size < whole.size(); ++size) {
        const Unpacked unpacked(whole.substr(0, size));
        EXPECT_NE(unpacked.problem, "") << size;
        EXPECT_EQ(unpacked.Files(), 0) << size;
    }
}

TEST(Archive, AnyWrongByteIsRefusedOrUnpacksFilesAlone) {
    const std::string whole = ZipOf({{"a/b", "text"}, PackedZeros("c", 5000)});
    for (size_t at = 0; at < whole.size(); ++at) {
        std::string bytes = whole;
        bytes[at] = static_cast<char>(~bytes[at]);
        const Unpacked unpacked(bytes);
        for (const auto& entry : fs::recursive_directory_iterator(unpacked.folder)) {
            EXPECT_FALSE(entry.is_symlink());
            EXPECT_TRUE(entry.is_directory() || entry.is_regular_file());
        }
    }
}

TEST(Archive, WhatIsNoArchiveIsRefused) {
    EXPECT_EQ(Unpacked("these are words").problem.rfind("damaged, or no archive: ", 0), 0u);
    EXPECT_EQ(Unpacked("").problem.rfind("damaged, or no archive: ", 0), 0u);
    EXPECT_EQ(Unpacked("12345", {.archiveBytes = 4}).problem, "too large for an archive of a game");
}

TEST(Archive, TheSameFilesGiveTheSameArchiveAndComeBackWhole) {
    const TemporaryFolder folder;
    const std::string files = folder.path + "/files";
    fs::create_directories(files + "/MUSIC");
    WriteTextFile(files + "/MAIN.MX", std::string(3000, 'm'));
    WriteTextFile(files + "/MUSIC/tune.mid", "tune");
    WriteTextFile(files + "/picture.PNG", "picture");
    ASSERT_EQ(WriteArchive(files, folder.path + "/one"), "");
    fs::last_write_time(files + "/MAIN.MX", fs::file_time_type{});
    ASSERT_EQ(WriteArchive(files, folder.path + "/two"), "");
    EXPECT_EQ(ReadTextFile(folder.path + "/one"), ReadTextFile(folder.path + "/two"));
    EXPECT_LT(fs::file_size(folder.path + "/one"), 1000u);
    const Unpacked back(ReadTextFile(folder.path + "/one"));
    EXPECT_EQ(back.problem, "");
    EXPECT_EQ(back.Text("MAIN.MX"), std::string(3000, 'm'));
    EXPECT_EQ(back.Text("MUSIC/tune.mid"), "tune");
    EXPECT_EQ(back.Text("picture.PNG"), "picture");
    EXPECT_EQ(WriteArchive(files, folder.path + "/one"), "File already exists");
}

TEST(Archive, WhatWouldNotBeUnpackedIsNotWritten) {
    const TemporaryFolder folder;
    const std::string files = folder.path + "/files";
    fs::create_directories(files);
    WriteTextFile(files + "/MAIN.MX", std::string(1 << 20, '\0'));
    const std::string out = folder.path + "/out";
    EXPECT_EQ(WriteArchive(files, out, {.smallBytes = 1000}),
              "unpacked it is more than 100 times as large");
    EXPECT_FALSE(fs::exists(out));
    EXPECT_EQ(WriteArchive(files, out, {.archiveBytes = 100}),
              "too large for an archive of a game");
    EXPECT_FALSE(fs::exists(out));
    EXPECT_EQ(WriteArchive(files, out), "");
    WriteTextFile(files + "/main.mx", "");
    EXPECT_EQ(WriteArchive(files, out + "2"), "main.mx: differs from MAIN.MX by capitals alone");
    EXPECT_FALSE(fs::exists(out + "2"));
}

TEST(Archive, TheGameIsTheFolderItselfOrTheOneFolderWithAGame) {
    const TemporaryFolder folder;
    std::string problem;
    EXPECT_EQ(GameInFolder(folder.path, problem), "");
    EXPECT_EQ(problem, "there is no game in it");
    fs::create_directories(folder.path + "/__MACOSX");
    fs::create_directories(folder.path + "/One/Contents/Resources");
    WriteTextFile(folder.path + "/One/Contents/Resources/MAIN.MX", "");
    problem.clear();
    EXPECT_EQ(GameInFolder(folder.path, problem), folder.path + "/One");
    EXPECT_EQ(problem, "");
    fs::create_directories(folder.path + "/Two");
    WriteTextFile(folder.path + "/Two/MAIN.MX", "");
    EXPECT_EQ(GameInFolder(folder.path, problem), "");
    EXPECT_EQ(problem, "there is more than one game in it");
    WriteTextFile(folder.path + "/MAIN.MX", "");
    EXPECT_EQ(GameInFolder(folder.path, problem), folder.path);
}

}  // namespace

}  // namespace moxi
