#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "service_fixture.h"

namespace moxi {

namespace {

class Files : public ServiceTest {
  protected:
    u32 Open(std::string_view name, u32 mode) { return Call(0x0000, {Text(name), mode}); }
    u32 Write(u32 handle, std::string_view bytes) {
        return Call(0x0003, {handle, Text(bytes), static_cast<u32>(bytes.size())});
    }
    std::string Read(u32 handle, u32 count) {
        const u32 buffer = Room(count);
        const u32 read = Call(0x0002, {handle, buffer, count});
        EXPECT_LE(read, count);
        return BytesAt(buffer, read);
    }
    static u32 Close(u32 handle) { return Call(0x0008, {handle}); }
};

// --- Folders

TEST_F(Files, TheDataFolderLiesInTheStudiosFolderOfTheSupportFolder) {
    folders.dataOverride.clear();
    folders.support = "/home/ann/.local/share";
    folders.gameName = "Quest of Ann";
    InitFolders();
    EXPECT_STREQ(BuildPath("SAVE/1", true),
                 "/home/ann/.local/share/Quillmoss Software/Quest of Ann/SAVE/1");
    EXPECT_EQ(BuildPath("A", false), ResourcePath("A"));
}

TEST_F(Files, WithoutASupportFolderDataNamesAreRelativeToTheCurrentFolder) {
    folders.dataOverride.clear();
    InitFolders();
    EXPECT_STREQ(BuildPath("SAVE/1", true), "SAVE/1");
}

TEST_F(Files, TheMusicFolderLiesBesideTheOtherFiles) {
    EXPECT_EQ(BuildPath("../MUSIC/A.MID", true), DataPath("MUSIC/A.MID"));
    EXPECT_EQ(BuildPath("../MUSIC/A.MID", false), ResourcePath("MUSIC/A.MID"));
}

TEST_F(Files, MusicboxIsShortenedToo) {
    EXPECT_EQ(BuildPath("../MUSICBOX.DAT", true), DataPath("MUSICBOX.DAT"));
}

TEST_F(Files, ANameOfExactlyMusicBecomesTheMusicFolder) {
    EXPECT_EQ(BuildPath("../MUSIC", true), DataPath("MUSIC"));
}

TEST_F(Files, NoOtherPartOfANameIsInterpreted) {
    EXPECT_EQ(BuildPath("../music/A", true), DataPath("../music/A"));
    EXPECT_EQ(BuildPath("../MUSI", true), DataPath("../MUSI"));
    EXPECT_EQ(BuildPath("a/../../b//c", true), DataPath("a/../../b//c"));
    EXPECT_EQ(BuildPath("/etc/x", true), DataPath("/etc/x"));
    EXPECT_EQ(BuildPath("", true), DataPath(""));
    EXPECT_EQ(BuildPath("\xFF\x80 \n", true), DataPath("\xFF\x80 \n"));
}

TEST_F(Files, APathOf1023BytesIsBuiltAndOneOf1024IsNot) {
    const std::size_t folder = DataPath("").size();
    const std::string fits(1023 - folder, 'x');
    EXPECT_EQ(BuildPath(fits.c_str(), true), DataPath(fits));
    EXPECT_EQ(BuildPath((fits + "x").c_str(), true), nullptr);
}

// --- Open

TEST_F(Files, ReadOnlyOpenOfANamePresentInBothFoldersOpensTheDataFolderCopy) {
    WriteTestFile(DataPath("A"), "data");
    WriteTestFile(ResourcePath("A"), "resources");
    EXPECT_EQ(Open("A", 0x8000), 0u);
    EXPECT_EQ(Read(0, 100), "data");
}

TEST_F(Files, ReadOnlyOpenFallsBackToTheResourcesFolder) {
    WriteTestFile(ResourcePath("A"), "resources");
    EXPECT_EQ(Open("A", 0x8000), 0u);
    EXPECT_EQ(Read(0, 100), "resources");
}

TEST_F(Files, ReadOnlyOpenOfAMissingFileFailsAndMakesNothing) {
    EXPECT_EQ(Open("SUB/A", 0x8000), 0xFFFFFFFFu);
    EXPECT_FALSE(fs::exists(DataPath("SUB")));
}

TEST_F(Files, UpdateOfAFileThatOnlyTheResourcesFolderHasFailsAfterMakingTheFolders) {
    WriteTestFile(ResourcePath("S/T/A"), "resources");
    EXPECT_EQ(Open("S/T/A", 0x8002), 0xFFFFFFFFu);
    EXPECT_TRUE(fs::is_directory(DataPath("S/T")));
    EXPECT_FALSE(fs::exists(DataPath("S/T/A")));
    EXPECT_EQ(ReadTestFile(ResourcePath("S/T/A")), "resources");
}

TEST_F(Files, UpdateReadsAndWritesAnExistingFile) {
    WriteTestFile(DataPath("A"), "0123456789");
    EXPECT_EQ(Open("A", 0x8002), 0u);
    EXPECT_EQ(Read(0, 3), "012");
    EXPECT_EQ(Write(0, "xy"), 2u);
    EXPECT_EQ(Read(0, 2), "56");
    Close(0);
    EXPECT_EQ(ReadTestFile(DataPath("A")), "012xy56789");
}

TEST_F(Files, CreateOfABCMakesTheFoldersInTheDataFolder) {
    fs::remove(DataPath(""));
    EXPECT_EQ(Open("A/B/C.DAT", 0x8302), 0u);
    EXPECT_EQ(Write(0, "abc"), 3u);
    EXPECT_EQ(Call(0x0004, {0, 1, 0}), 1u);
    EXPECT_EQ(Read(0, 10), "bc");
    Close(0);
    EXPECT_TRUE(fs::is_directory(DataPath("A")));
    EXPECT_TRUE(fs::is_directory(DataPath("A/B")));
    EXPECT_EQ(ReadTestFile(DataPath("A/B/C.DAT")), "abc");
}

TEST_F(Files, CreateTruncatesAndLeavesTheShippedFileAlone) {
    WriteTestFile(DataPath("A"), "long contents");
    WriteTestFile(ResourcePath("A"), "shipped");
    EXPECT_EQ(Open("A", 0x8302), 0u);
    EXPECT_EQ(fs::file_size(DataPath("A")), 0u);
    EXPECT_EQ(ReadTestFile(ResourcePath("A")), "shipped");
}

TEST_F(Files, AnyOtherModeReadsTheDataFolderAloneAndMakesTheFolders) {
    WriteTestFile(DataPath("A"), "data");
    WriteTestFile(ResourcePath("S/B"), "resources");
    EXPECT_EQ(Open("A", 0), 0u);
    EXPECT_EQ(Read(0, 100), "data");
    EXPECT_EQ(Write(0, "x"), 0u);
    EXPECT_EQ(Open("S/B", 0x8001), 0xFFFFFFFFu);
    EXPECT_TRUE(fs::is_directory(DataPath("S")));
}

TEST_F(Files, NamesAreBytesAndPassThroughUnchanged) {
    const std::string name = "\xC3\xA9t\xC3\xA9 \xFF";
    EXPECT_EQ(Open(name, 0x8302), 0u);
    Close(0);
    EXPECT_TRUE(fs::exists(DataPath(name)));
}

TEST_F(Files, NamesThatDoNotFitThePathAreNotFoundAndMakeNothing) {
    for (const std::size_t length : {std::size_t{1024}, std::size_t{5000}}) {
        std::string name;
        while (name.size() < length) {
            name += "folder/";
        }
        EXPECT_EQ(Open(name, 0x8000), 0xFFFFFFFFu);
        EXPECT_EQ(Open(name, 0x8302), 0xFFFFFFFFu);
        EXPECT_EQ(Call(0x0006, {Text(name)}), 0xFFFFFFFFu);
        EXPECT_EQ(Call(0x0009, {Text(name)}), 0xFFFFFFFFu);
        Call(0x0005, {Text(name)});
        Call(0x0007, {Text(name)});
        Call(0x000F, {Text(name), Text("x")});
        WriteTestFile(DataPath("old"), "old");
        Call(0x000F, {Text("old"), Text(name)});
        EXPECT_TRUE(fs::exists(DataPath("old")));
    }
    EXPECT_FALSE(fs::exists(DataPath("folder")));
    EXPECT_TRUE(fatalMessages.empty());
}

TEST_F(Files, AnEmptyNameCannotBeWritten) {
    EXPECT_EQ(Open("", 0x8302), 0xFFFFFFFFu);
    EXPECT_EQ(Open("", 0x8002), 0xFFFFFFFFu);
}

TEST_F(Files, AFolderOpenedForReadingHasNothingToRead) {
    fs::create_directories(DataPath("F"));
    const u32 handle = Open("F", 0x8000);
    EXPECT_EQ(handle, 0u);
    EXPECT_EQ(Read(handle, 10), "");
    EXPECT_EQ(Open("F", 0x8302), 0xFFFFFFFFu);
}

// --- Handles

TEST_F(Files, ASlotBelowTheTopIsNotReusedUntilTheSlotsAboveItAreClosed) {
    for (u32 i = 0; i < 3; ++i) {
        EXPECT_EQ(Open("A", 0x8302), i);
    }
    Close(1);
    EXPECT_EQ(Open("A", 0x8302), 3u);
    Close(3);
    Close(2);
    EXPECT_EQ(Open("A", 0x8302), 1u);
}

TEST_F(Files, AClosedSlotBelowTheTopIsABadHandle) {
    WriteTestFile(DataPath("A"), "data");
    for (u32 i = 0; i < 3; ++i) {
        Open("A", 0x8000);
    }
    Close(1);
    EXPECT_EQ(Read(1, 4), "");
    EXPECT_EQ(Write(1, "x"), 0u);
    EXPECT_EQ(Call(0x0001, {1}), 0xFFFFFFFFu);
    EXPECT_EQ(Call(0x0004, {1, 0, 0}), 0xFFFFFFFFu);
    Close(1);
    EXPECT_EQ(Open("A", 0x8000), 3u);
}

TEST_F(Files, BadHandlesAreHarmless) {
    for (const u32 handle : {0u, 1u, 95u, 96u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        EXPECT_EQ(Call(0x0001, {handle}), 0xFFFFFFFFu);
        EXPECT_EQ(Call(0x0002, {handle, 0xFFFFFFF0, 0xFFFFFFFF}), 0u);
        EXPECT_EQ(Call(0x0003, {handle, 0xFFFFFFF0, 0xFFFFFFFF}), 0u);
        EXPECT_EQ(Call(0x0004, {handle, 0, 0}), 0xFFFFFFFFu);
        EXPECT_EQ(Call(0x0008, {handle}), kResultBefore);
        EXPECT_EQ(Call(0x000E, {handle, 0xFFFFFFF0, 3}), 0u);
    }
}

TEST_F(Files, The97thOpenIsRefusedAndChangesNothing) {
    WriteTestFile(DataPath("B"), "keep");
    for (u32 i = 0; i < 96; ++i) {
        EXPECT_EQ(Open("A", 0x8302), i);
    }
    EXPECT_EQ(Open("B", 0x8302), 0xFFFFFFFFu);
    EXPECT_EQ(Open("B", 0x8000), 0xFFFFFFFFu);
    EXPECT_EQ(Open("S/C", 0x8302), 0xFFFFFFFFu);
    EXPECT_EQ(ReadTestFile(DataPath("B")), "keep");
    EXPECT_FALSE(fs::exists(DataPath("S")));
    Close(50);
    EXPECT_EQ(Open("B", 0x8302), 0xFFFFFFFFu) << "an empty slot below the top does not help";
    Close(95);
    EXPECT_EQ(Open("B", 0x8000), 95u);
}

// --- Read, write, seek, end of file

TEST_F(Files, TheEndIsOnlyKnownAfterAReadHasHitIt) {
    WriteTestFile(DataPath("A"), "1234");
    Open("A", 0x8000);
    EXPECT_EQ(Read(0, 4), "1234");
    EXPECT_EQ(Call(0x0001, {0}), 0u);
    EXPECT_EQ(Read(0, 1), "");
    EXPECT_EQ(Call(0x0001, {0}), 1u);
    EXPECT_EQ(Call(0x0004, {0, 0, 2}), 4u);
    EXPECT_EQ(Call(0x0001, {0}), 0u) << "a seek to the end does not set the indicator";
    EXPECT_EQ(Read(0, 10), "");
    EXPECT_EQ(Call(0x0001, {0}), 1u);
}

TEST_F(Files, AReadAtTheEndIsRefusedEvenWhenTheFileHasGrown) {
    WriteTestFile(DataPath("A"), "1234");
    Open("A", 0x8000);
    EXPECT_EQ(Read(0, 10), "1234");
    WriteTestFile(DataPath("A"), "12345678");
    EXPECT_EQ(Read(0, 10), "");
    EXPECT_EQ(Call(0x0004, {0, 4, 0}), 4u);
    EXPECT_EQ(Read(0, 10), "5678");
}

TEST_F(Files, SeeksAreUnsignedAndForward) {
    WriteTestFile(DataPath("A"), "0123456789");
    Open("A", 0x8000);
    EXPECT_EQ(Call(0x0004, {0, 4, 0}), 4u);
    EXPECT_EQ(Call(0x0004, {0, 3, 1}), 7u);
    EXPECT_EQ(Read(0, 1), "7");
    // 8 + 4,294,967,286 = 4,294,967,294
    EXPECT_EQ(Call(0x0004, {0, 0xFFFFFFF6, 1}), 0xFFFFFFFEu);
    // 4,294,967,294 + 4 wraps to 2 in the low 32 bits.
    EXPECT_EQ(Call(0x0004, {0, 4, 1}), 2u);
    EXPECT_EQ(Read(0, 1), "") << "the position is beyond 4 GiB";
    EXPECT_EQ(Call(0x0004, {0, 5, 2}), 15u);
}

TEST_F(Files, SeekOriginsAbove2FailAndChangeNothing) {
    WriteTestFile(DataPath("A"), "0123456789");
    Open("A", 0x8000);
    Call(0x0004, {0, 4, 0});
    EXPECT_EQ(Call(0x0004, {0, 0, 3}), 0xFFFFFFFFu);
    EXPECT_EQ(Call(0x0004, {0, 0, 0xFFFFFFFF}), 0xFFFFFFFFu);
    EXPECT_EQ(Read(0, 1), "4");
}

TEST_F(Files, WritingToAReadOnlyHandleWritesNothing) {
    WriteTestFile(DataPath("A"), "0123");
    Open("A", 0x8000);
    EXPECT_EQ(Write(0, "x"), 0u);
    EXPECT_EQ(ReadTestFile(DataPath("A")), "0123");
}

TEST_F(Files, AddressZeroIsAnOrdinaryAddress) {
    Open("A", 0x8302);
    EXPECT_EQ(Call(0x0003, {0, 0, 16}), 16u);
    Call(0x0004, {0, 0, 0});
    EXPECT_EQ(Call(0x0002, {0, 0, 8}), 8u);
}

TEST_F(Files, AReadTakesWhatTheFileHasWhateverTheCount) {
    WriteTestFile(DataPath("A"), "0123456789");
    Open("A", 0x8000);
    EXPECT_EQ(Call(0x0002, {0, kImageSize - 10, 0xFFFFFFFF}), 10u);
    EXPECT_EQ(BytesAt(kImageSize - 10, 10), "0123456789");
    EXPECT_EQ(Call(0x0001, {0}), 1u);
}

TEST_F(Files, AReadOfMoreThanFitsTheImageIsAFault) {
    WriteTestFile(DataPath("A"), "0123456789");
    Open("A", 0x8000);
    Put(kImageSize - 9, "#########");
    ExpectFault(0x0002, {0, kImageSize - 9, 10});
    EXPECT_EQ(BytesAt(kImageSize - 9, 9), "#########");
    ExpectFault(0x0002, {0, 0xFFFFFFFF, 1});
}

TEST_F(Files, AReadBeyondTheImageWithNothingLeftInTheFileTouchesNothing) {
    WriteTestFile(DataPath("A"), "01");
    Open("A", 0x8000);
    Read(0, 2);
    EXPECT_EQ(Call(0x0002, {0, kImageSize + 100, 100}), 0u);
    EXPECT_EQ(Call(0x0001, {0}), 1u);
}

TEST_F(Files, AWriteFromBeyondTheImageIsAFault) {
    Open("A", 0x8302);
    ExpectFault(0x0003, {0, kImageSize - 9, 10});
    ExpectFault(0x0003, {0, 100, 0xFFFFFFFF});
    EXPECT_EQ(Call(0x0003, {0, 0xFFFFFFFF, 0}), 0u) << "a count of 0 touches nothing";
    EXPECT_EQ(fs::file_size(DataPath("A")), 0u);
}

TEST_F(Files, AWriteIsOnDiskAtOnce) {
    Open("A", 0x8302);
    Write(0, "abc");
    EXPECT_EQ(ReadTestFile(DataPath("A")), "abc");
}

// --- Size, time and kind

TEST_F(Files, SizeAndTimeComeFromTheDataFolderFirst) {
    WriteTestFile(DataPath("A"), "12345");
    WriteTestFile(ResourcePath("A"), "123");
    const timespec times[2] = {{1000000000, 0}, {1234567890, 0}};
    utimensat(AT_FDCWD, DataPath("A").c_str(), times, 0);
    EXPECT_EQ(Call(0x0009, {Text("A")}), 5u);
    EXPECT_EQ(Call(0x000A, {Text("A")}), 1234567890u);
    EXPECT_EQ(Load<u64>(kHeaderR14), 1234567890u) << "the upper half becomes 0";
    u32 time = 0;
    u32 kind = 0;
    EXPECT_EQ(FileSize("A", &time, &kind), 5u);
    EXPECT_EQ(kind, 1u);
}

TEST_F(Files, SizeAndTimeFallBackToTheResourcesFolder) {
    WriteTestFile(ResourcePath("A"), "123");
    EXPECT_EQ(Call(0x0009, {Text("A")}), 3u);
    EXPECT_EQ(Load<u64>(kHeaderR14) >> 32, 0x11223344u) << "the upper half keeps what it held";
}

TEST_F(Files, TheTimeOfAMissingFileIsAllOnesInTheLowHalf) {
    EXPECT_EQ(Call(0x0009, {Text("A")}), 0xFFFFFFFFu);
    Call(0x000A, {Text("A")});
    EXPECT_EQ(Load<u64>(kHeaderR14), 0x00000000FFFFFFFFu);
    u32 time = 7;
    u32 kind = 8;
    EXPECT_EQ(FileSize("A", &time, &kind), 0xFFFFFFFFu);
    EXPECT_EQ(time, 7u);
    EXPECT_EQ(kind, 8u);
}

TEST_F(Files, AFolderIsOfKind2) {
    fs::create_directories(DataPath("F"));
    u32 time = 0;
    u32 kind = 0;
    FileSize("F", &time, &kind);
    EXPECT_EQ(kind, 2u);
}

TEST_F(Files, TheSizeOfAFileBeyond4GiBIsItsLow32Bits) {
    WriteTestFile(DataPath("A"), "");
    if (truncate(DataPath("A").c_str(), (off_t{1} << 32) + 5) != 0) {
        GTEST_SKIP();
    }
    EXPECT_EQ(Call(0x0009, {Text("A")}), 5u);
    Open("A", 0x8000);
    EXPECT_EQ(Call(0x0004, {0, 0, 2}), 5u);
}

TEST_F(Files, AnUnreadableFileHasATimeAndNoSize) {
    if (geteuid() == 0) {
        // Nothing is unreadable to this user, so the open itself is made to fail.
        systemCalls.open = [](int, const char*, int) -> std::FILE* { return nullptr; };
    }
    WriteTestFile(DataPath("A"), "12345");
    chmod(DataPath("A").c_str(), 0);
    u32 time = 0;
    u32 kind = 0;
    EXPECT_EQ(FileSize("A", &time, &kind), 0xFFFFFFFFu);
    EXPECT_NE(time, 0u);
    EXPECT_EQ(kind, 1u);
}

TEST_F(Files, AFileThatVanishesBetweenStatAndOpenHasNoSize) {
    WriteTestFile(DataPath("A"), "12345");
    systemCalls.open = [](int folder, const char* file, int flags) {
        UnlinkBeneath(folder, file);
        return OpenStreamBeneath(folder, file, flags);
    };
    EXPECT_EQ(Call(0x0009, {Text("A")}), 0xFFFFFFFFu);
}

// --- Delete, folders, move

TEST_F(Files, DeleteTakesTheDataFolderCopyAndThenTheResource) {
    WriteTestFile(DataPath("A"), "1");
    WriteTestFile(ResourcePath("A"), "2");
    EXPECT_EQ(Call(0x0005, {Text("A")}), kResultBefore);
    EXPECT_FALSE(fs::exists(DataPath("A")));
    EXPECT_TRUE(fs::exists(ResourcePath("A")));
    Call(0x0005, {Text("A")});
    EXPECT_FALSE(fs::exists(ResourcePath("A")));
    Call(0x0005, {Text("A")});
}

TEST_F(Files, DeleteOnAFolderDoesNothingAndLooksNoFurther) {
    fs::create_directories(DataPath("A"));
    WriteTestFile(ResourcePath("A"), "2");
    Call(0x0005, {Text("A")});
    EXPECT_TRUE(fs::is_directory(DataPath("A")));
    EXPECT_TRUE(fs::exists(ResourcePath("A")));
}

TEST_F(Files, MakeFolderMakesOneLevelAndIsContentWithAnExistingName) {
    EXPECT_EQ(Call(0x0006, {Text("F")}), 0u);
    EXPECT_TRUE(fs::is_directory(DataPath("F")));
    EXPECT_EQ(Call(0x0006, {Text("F")}), 0u);
    EXPECT_EQ(Call(0x0006, {Text("G/H")}), 0xFFFFFFFFu);
    EXPECT_FALSE(fs::exists(DataPath("G")));
    WriteTestFile(DataPath("A"), "1");
    EXPECT_EQ(Call(0x0006, {Text("A")}), 0u) << "a file of that name counts as existing";
}

TEST_F(Files, RemoveFolderTakesOnlyEmptyFolders) {
    fs::create_directories(DataPath("E"));
    WriteTestFile(DataPath("F/A"), "1");
    WriteTestFile(DataPath("B"), "1");
    EXPECT_EQ(Call(0x0007, {Text("E")}), kResultBefore);
    Call(0x0007, {Text("F")});
    Call(0x0007, {Text("B")});
    Call(0x0007, {Text("missing")});
    EXPECT_FALSE(fs::exists(DataPath("E")));
    EXPECT_TRUE(fs::exists(DataPath("F/A")));
    EXPECT_TRUE(fs::exists(DataPath("B")));
}

TEST_F(Files, MoveRenamesFilesAndFoldersInsideTheDataFolder) {
    WriteTestFile(DataPath("A"), "1");
    WriteTestFile(DataPath("F/X"), "2");
    EXPECT_EQ(Call(0x000F, {Text("A"), Text("F/B")}), kResultBefore);
    Call(0x000F, {Text("F"), Text("G")});
    EXPECT_EQ(ReadTestFile(DataPath("G/B")), "1");
    EXPECT_EQ(ReadTestFile(DataPath("G/X")), "2");
}

TEST_F(Files, MoveNeverReplacesAnything) {
    WriteTestFile(DataPath("A"), "1");
    WriteTestFile(DataPath("B"), "2");
    fs::create_directories(DataPath("E"));
    fs::create_directories(DataPath("F"));
    Call(0x000F, {Text("A"), Text("B")});
    Call(0x000F, {Text("A"), Text("E")});
    Call(0x000F, {Text("F"), Text("E")});
    Call(0x000F, {Text("A"), Text("missing/A")});
    EXPECT_EQ(ReadTestFile(DataPath("A")), "1");
    EXPECT_EQ(ReadTestFile(DataPath("B")), "2");
    EXPECT_TRUE(fs::is_directory(DataPath("E")));
    EXPECT_TRUE(fs::is_directory(DataPath("F")));
    WriteTestFile(ResourcePath("R"), "3");
    Call(0x000F, {Text("R"), Text("C")});
    EXPECT_FALSE(fs::exists(DataPath("C")));
}

// --- Limits of the system

TEST_F(Files, AWriteBeyondTheFileSizeLimitComesShort) {
    Open("A", 0x8302);
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit small = before;
    small.rlim_cur = 100;
    setrlimit(RLIMIT_FSIZE, &small);
    const std::string bytes(150, 'x');
    const u32 first = Write(0, bytes);
    const u32 second = Write(0, "y");
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(first, 100u);
    EXPECT_EQ(second, 0u);
}

TEST_F(Files, AFullDiskShowsInTheResultOfTheWrite) {
    systemCalls.open = [](int, const char*, int) { return std::fopen("/dev/full", "r+be"); };
    Open("FULL", 0x8002);
    EXPECT_EQ(Write(0, "x"), 0u);
    EXPECT_EQ(Call(0x000E, {0, Text("abc"), 3}), 0u);
}

// --- Base64

TEST_F(Files, Base64OfManWritesTWFu) {
    Open("A", 0x8302);
    EXPECT_EQ(Call(0x000E, {0, Text("Man"), 3}), 4u);
    EXPECT_EQ(ReadTestFile(DataPath("A")), "TWFu");
}

TEST_F(Files, Base64OfMWritesTQAndTwoFillers) {
    Open("A", 0x8302);
    EXPECT_EQ(Call(0x000E, {0, Text("M"), 1}), 4u);
    EXPECT_EQ(ReadTestFile(DataPath("A")), "TQ==");
}

TEST_F(Files, Base64OfTwoBytesHasOneFiller) {
    Open("A", 0x8302);
    EXPECT_EQ(Call(0x000E, {0, Text("\xFB\xFF"), 2}), 4u);
    EXPECT_EQ(ReadTestFile(DataPath("A")), "+/8=");
}

TEST_F(Files, Base64OfNothingWritesFourFillers) {
    Open("A", 0x8302);
    EXPECT_EQ(Call(0x000E, {0, 0xFFFFFFFF, 0}), 4u);
    EXPECT_EQ(Call(0x000E, {0, 0xFFFFFFFF, 0xFFFFFFFF}), 4u);
    EXPECT_EQ(Call(0x000E, {0, 0xFFFFFFFF, 0x80000000}), 4u);
    EXPECT_EQ(ReadTestFile(DataPath("A")), "============");
}

TEST_F(Files, Base64OfManyBytesHasNoLineBreaks) {
    Open("A", 0x8302);
    const u32 data = Room(10000);
    std::memset(image + data, 0, 10000);
    EXPECT_EQ(Call(0x000E, {0, data, 10000}), 13336u);
    // 3,333 groups of zeros, then one byte.
    EXPECT_EQ(ReadTestFile(DataPath("A")), std::string(13334, 'A') + "==");
}

TEST_F(Files, Base64OfDataBeyondTheImageIsAFault) {
    Open("A", 0x8302);
    ExpectFault(0x000E, {0, kImageSize - 2, 3});
    EXPECT_EQ(fs::file_size(DataPath("A")), 0u);
}

TEST_F(Files, SubCommandsFrom16AreUnknown) {
    EXPECT_EQ(Call(0x0010, {}), kResultBefore);
    EXPECT_EQ(Call(0x00FF, {}), kResultBefore);
    EXPECT_EQ(fatalMessages.size(), 2u);
}

// --- debug.log

TEST_F(Files, TwoDebugLogStringsAAndBLeaveAbAtTheEndOfTheFile) {
    std::ofstream(DataPath("debug.log")) << "old ";
    AppendToDebugLog("a");
    AppendToDebugLog("b");
    EXPECT_EQ(ReadTestFile(DataPath("debug.log")), "old ab");
}

TEST_F(Files, WhenDebugLogDoesNotExistItIsCreatedByTheFirstLineWritten) {
    AppendToDebugLog("first");
    EXPECT_EQ(ReadTestFile(DataPath("debug.log")), "first");
}

TEST_F(Files, DebugLogStaysOpenAfterNoLineSoThatAllHandlesAreLeft) {
    for (u32 i = 0; i < 2 * kMaximalOpenFiles; ++i) {
        AppendToDebugLog("x");
    }
    EXPECT_EQ(ReadTestFile(DataPath("debug.log")),
              std::string(std::size_t{2} * kMaximalOpenFiles, 'x'));
    for (u32 i = 0; i < kMaximalOpenFiles; ++i) {
        EXPECT_EQ(OpenFile("debug.log", kOpenRead), i);
    }
    EXPECT_EQ(OpenFile("debug.log", kOpenRead), kNoFile);
}

TEST_F(Files, ADebugLogThatCannotBeOpenedDropsTheLine) {
    fs::create_directories(DataPath("debug.log"));
    AppendToDebugLog("lost");
    EXPECT_TRUE(fs::is_empty(DataPath("debug.log")));
}

}  // namespace

}  // namespace moxi
