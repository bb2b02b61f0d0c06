// Files that are replaced whole, also where others write the same ones.

#include "base/output_files.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "tests/support/headless_run.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

TEST(OutputFiles, WhatAnotherProcessIsWritingIsLeftAlone) {
    const TemporaryFolder folder;
    const std::string path = folder.path + "/record";
    EXPECT_NE(NewFileOf(path), path + ".new-01234567");
    for (const char* const other : {".new", ".new-01234567"}) {
        WriteTextFile(path + other, "half");
    }
    ASSERT_TRUE(ReplaceFile(path, "mine"));
    EXPECT_EQ(ReadTextFile(path), "mine");
    EXPECT_FALSE(fs::exists(NewFileOf(path)));
    for (const char* const other : {".new", ".new-01234567"}) {
        EXPECT_EQ(ReadTextFile(path + other), "half");
    }
}

TEST(OutputFiles, WhatWasLeftADayAgoIsRemovedAndNothingElse) {
    const TemporaryFolder folder;
    const auto make = [&](const std::string& name, int hoursOld) {
        WriteTextFile(folder.path + "/" + name, "x");
        fs::last_write_time(folder.path + "/" + name,
                            fs::file_time_type::clock::now() - std::chrono::hours(hoursOld));
    };
    make("a.txt.new-0123abcd", 25);
    make("a.txt.new-0123abce", 23);
    make(".new-0123abcd", 25);
    make("a.new-0123abcz", 25);
    make("a.new-0123abc", 25);
    make("a.txt", 25);
    RemoveUnfinishedFiles(folder.path);
    EXPECT_FALSE(fs::exists(folder.path + "/a.txt.new-0123abcd"));
    for (const char* const kept :
         {"a.txt.new-0123abce", ".new-0123abcd", "a.new-0123abcz", "a.new-0123abc", "a.txt"}) {
        EXPECT_TRUE(fs::exists(folder.path + "/" + kept)) << kept;
    }
    RemoveUnfinishedFiles(folder.path + "/nowhere");
}

TEST(OutputFiles, OfALargeFileTheStartIsRead) {
    const TemporaryFolder folder;
    const std::string path = folder.path + "/text";
    WriteTextFile(path, "0123456789");
    std::string text;
    EXPECT_TRUE(ReadStartOfOwnFile(path, 4, text));
    EXPECT_EQ(text, "0123");
    EXPECT_TRUE(ReadStartOfOwnFile(path, 11, text));
    EXPECT_EQ(text, "0123456789");
    EXPECT_FALSE(ReadOwnFile(path, 9, text));
    EXPECT_TRUE(ReadOwnFile(path, 10, text));
    EXPECT_EQ(text, "0123456789");
    EXPECT_FALSE(ReadStartOfOwnFile(folder.path, 4, text));
}

}  // namespace

}  // namespace moxi
