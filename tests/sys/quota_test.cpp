// How much the data folder may hold, through the file services.

#include "sys/quota.h"

#include "service_fixture.h"

namespace moxi {

namespace {

class Quota : public ServiceTest {
  protected:
    void SetUp() override {
        ServiceTest::SetUp();
        folders.dataLimit = 10000;
        ResetQuota();
    }
    void TearDown() override {
        folders.dataLimit = u64{1} << 30;
        ServiceTest::TearDown();
    }

    // Opens, writes `count` bytes and closes; how many were written.
    static u32 Put(const char* name, u32 count, u32 mode = kOpenCreate, u32 at = 0) {
        const u32 file = OpenFile(name, mode);
        EXPECT_NE(file, kNoFile) << name;
        SeekFile(file, at, 0);
        const std::string bytes(count, 'x');
        const u32 written = WriteFile(file, bytes.data(), count);
        CloseFile(file);
        return written;
    }
    u64 Size(const std::string& name) const { return fs::file_size(DataPath(name)); }
};

TEST_F(Quota, AWriteThatPassesTheLimitComesShortAsOnAFullDisk) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(Put("A.DAT", 6000), 6000u);
    EXPECT_EQ(Put("B.DAT", 6000), 4000u);
    EXPECT_EQ(Put("C.DAT", 1), 0u);
    EXPECT_EQ(Size("A.DAT"), 6000u);
    EXPECT_EQ(Size("B.DAT"), 4000u);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "log: the data folder is full: it may hold 10000 bytes\n");
}

TEST_F(Quota, ExactlyTheLimitFitsInManyWrites) {
    for (u32 i = 0; i < 100; ++i) {
        ASSERT_EQ(Put(("D/" + std::to_string(i)).c_str(), 100), 100u) << i;
    }
    EXPECT_EQ(Put("MORE", 1), 0u);
}

TEST_F(Quota, WhatIsWrittenOverTakesNoRoom) {
    EXPECT_EQ(Put("A.DAT", 10000), 10000u);
    EXPECT_EQ(Put("A.DAT", 5000, kOpenUpdate, 2000), 5000u);
    EXPECT_EQ(Put("A.DAT", 5000, kOpenUpdate, 7000), 3000u);
    EXPECT_EQ(Put("A.DAT", 9000), 9000u) << "emptied first";
    EXPECT_EQ(Put("B.DAT", 9000), 1000u);
}

TEST_F(Quota, DeletingMakesRoom) {
    EXPECT_EQ(Put("A.DAT", 9000), 9000u);
    EXPECT_EQ(Put("B.DAT", 2000), 1000u);
    DeleteFile("A.DAT");
    EXPECT_EQ(Put("C.DAT", 10000), 9000u);
}

TEST_F(Quota, WhatLayThereBeforeCountsWithItsFolders) {
    WriteTestFile(DataPath("OLD/DEEP/A.DAT"), std::string(7000, 'x'));
    fs::create_symlink("OLD/DEEP/A.DAT", DataPath("LINK.DAT"));
    EXPECT_EQ(Put("B.DAT", 5000), 3000u);
}

TEST_F(Quota, AFileWithAHoleHoldsWhatIsInItsBlocks) {
    folders.dataLimit = 100000;
    EXPECT_EQ(Put("HOLE.DAT", 10, kOpenCreate, 50000000), 10u);
    EXPECT_GT(Size("HOLE.DAT"), 50000000u);
    EXPECT_EQ(Put("A.DAT", 60000), 60000u);
}

TEST_F(Quota, RoomThatSomebodyElseMadeIsFoundAfterSomeTries) {
    EXPECT_EQ(Put("A.DAT", 10000), 10000u);
    const u32 file = OpenFile("B.DAT", kOpenCreate);
    EXPECT_EQ(WriteFile(file, "x", 1), 0u);
    fs::remove(DataPath("A.DAT"));
    u32 written = 0;
    for (u32 tries = 0; tries < 100; ++tries) {
        written += WriteFile(file, "x", 1);
    }
    CloseFile(file);
    EXPECT_GT(written, 30u);
}

// --- Entries: 1,024 at least

TEST_F(Quota, EmptyFilesAndFoldersAreBoundedInNumber) {
    testing::internal::CaptureStderr();
    for (u32 i = 0; i < 512; ++i) {
        const std::string name = "D/" + std::to_string(i);
        ASSERT_EQ(i % 2 == 0 ? Put(name.c_str(), 0) : MakeFolder(name.c_str()), 0u) << i;
    }
    // With D they are 513.
    for (u32 i = 513; i < 1024; ++i) {
        ASSERT_EQ(Put(std::to_string(i).c_str(), 0), 0u) << i;
    }
    EXPECT_EQ(OpenFile("MORE", kOpenCreate), kNoFile);
    EXPECT_EQ(MakeFolder("MORE"), kNoFile);
    EXPECT_EQ(OpenFile("NEW/MORE", kOpenCreate), kNoFile);
    EXPECT_FALSE(fs::exists(DataPath("NEW")));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "log: the data folder is full: it may hold 1024 files and folders\n");
    // What is there stays in use, and what goes makes room.
    EXPECT_EQ(Put("600", 9), 9u);
    EXPECT_EQ(MakeFolder("D/1"), 0u);
    DeleteFile("601");
    RemoveFolder("D/3");
    EXPECT_EQ(Put("MORE", 0), 0u);
    EXPECT_EQ(MakeFolder("MORE FOLDERS"), 0u);
    EXPECT_EQ(OpenFile("STILL MORE", kOpenCreate), kNoFile);
}

TEST_F(Quota, AFileInAFolderThatIsJustFullIsWrittenAgainWithoutAWord) {
    for (u32 i = 0; i < 1024; ++i) {
        ASSERT_EQ(Put(std::to_string(i).c_str(), 0), 0u) << i;
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(Put("600", 9), 9u);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Quota, AFileThatIsWrittenAgainAndAgainIsOne) {
    for (u32 i = 0; i < 3000; ++i) {
        ASSERT_EQ(Put("SAVE", 0), 0u) << i;
    }
}

TEST_F(Quota, ALargerFolderMayHoldMoreFiles) {
    folders.dataLimit = u64{1} << 30;
    EXPECT_EQ(MostEntries(), 262144u);
}

TEST_F(Quota, NoFolderIsTooDeepToBeCounted) {
    std::string way;
    for (u32 i = 0; i < 200; ++i) {
        way += "a/";
    }
    EXPECT_EQ(Put((way + "A.DAT").c_str(), 9000), 9000u);
    EXPECT_EQ(Put("B.DAT", 1000), 1000u);
    DeleteFile("B.DAT");
    EXPECT_EQ(Put("C.DAT", 2000), 1000u);
}

TEST_F(Quota, AWayThatIsTooLongToBeFollowedIsFull) {
    folders.dataLimit = u64{1} << 30;
    // Of parts that each have a name short enough, put into one another.
    std::string way;
    for (u32 i = 0; i < 4; ++i) {
        way += std::string(200, 'a') + "/";
    }
    for (u32 part = 0; part < 6; ++part) {
        EXPECT_EQ(MakeFolder("P"), 0u);
        EXPECT_EQ(Put(("P/" + way + "A.DAT").c_str(), 0), 0u);
        MoveFile("TOP", ("P/" + way + "TOP").c_str());
        MoveFile("P", "TOP");
    }
    ResetQuota();
    EXPECT_EQ(OpenFile("B.DAT", kOpenCreate), kNoFile);
    // The test's own tidying up goes by names.
    EXPECT_EQ(std::system(("rm -rf '" + DataPath("TOP") + "'").c_str()), 0);
}

}  // namespace

}  // namespace moxi
