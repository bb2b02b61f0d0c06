#include "settings_fixture.h"

namespace moxi {

namespace {

// --- Load and save

TEST_F(Settings, AMissingFileGivesAnEmptyBuffer) {
    EXPECT_EQ(Load("NONE.INI"), 0u);
    EXPECT_EQ(AddSection("S"), 1u);
    EXPECT_EQ(Saved(), "[S]\n");
    EXPECT_TRUE(fatalMessages.empty());
}

TEST_F(Settings, FilesBelowTenBytesGiveAnEmptyBuffer) {
    EXPECT_EQ(LoadBytes("[0x=S]\nK="), 0u);
    EXPECT_EQ(Section("S"), 0u);
    EXPECT_EQ(Saved(), "");
}

TEST_F(Settings, ASaveWritesTrueChecksums) {
    Load("NONE.INI");
    AddSection("S");
    Save("1.INI");
    EXPECT_EQ(ReadTestFile(DataPath("1.INI")), "[0x3D535D65=S]\n");
    Number("K", 5);
    Save("1.INI");
    EXPECT_EQ(ReadTestFile(DataPath("1.INI")), "[0x923F7DEB=S]\nK= 5\n");
}

TEST_F(Settings, TrailingBytesOfAChecksumAreSigned) {
    EXPECT_EQ(LoadBytes("[0x00000000=S]\nK=\x80"), 1u);
    Save("1.INI");
    EXPECT_EQ(ReadTestFile(DataPath("1.INI")), "[0x880A5D2E=S]\nK=\x80");
    LoadBytes("[0x00000000=S]\nK=\x80\n");
    Save("1.INI");
    EXPECT_EQ(ReadTestFile(DataPath("1.INI")), "[0x8809DDB8=S]\nK=\x80\n");
}

TEST_F(Settings, AFileWithAWrongChecksumIsSavedWithItsTrueOne) {
    EXPECT_EQ(LoadBytes("[0x00000000=S]\n"), 1u);
    EXPECT_EQ(Section("S"), 1u);
    EXPECT_EQ(Save("1.INI"), 1u);
    EXPECT_EQ(ReadTestFile(DataPath("1.INI")), "[0x3D535D65=S]\n");
}

TEST_F(Settings, EverySectionHasItsOwnChecksum) {
    EXPECT_EQ(LoadBytes("[0x9D3B7DD9=A]\nV= 1\n[nonsense!!=B]\nV= 2\n"), 1u);
    Save("1.INI");
    EXPECT_EQ(ReadTestFile(DataPath("1.INI")), "[0x9D3B7DD9=A]\nV= 1\n[0x9D3C7DDA=B]\nV= 2\n");
}

TEST_F(Settings, LoadReadsTheResourcesFolderAndSaveWritesTheDataFolder) {
    WriteTestFile(ResourcePath("SET.INI"), "[0x00000000=S]\nK= 5\n");
    EXPECT_EQ(Load("SET.INI"), 1u);
    EXPECT_EQ(Save("SET.INI"), 1u);
    EXPECT_EQ(ReadTestFile(ResourcePath("SET.INI")), "[0x00000000=S]\nK= 5\n");
    EXPECT_EQ(ReadTestFile(DataPath("SET.INI")), "[0x923F7DEB=S]\nK= 5\n");
}

TEST_F(Settings, BlanksBeforeTheFirstSectionAreSkippedAndNotSaved) {
    EXPECT_EQ(LoadBytes(" \t\r\n\n [0x00000000=A]\nK=1\n[0x00000000=B]\n"), 1u);
    EXPECT_EQ(Section("A"), 1u);
    EXPECT_EQ(Section("B"), 1u);
    EXPECT_EQ(Section("A"), 1u);
    EXPECT_EQ(DeleteSection(), kResultBefore);
    EXPECT_EQ(Saved(), "[B]\n");
    EXPECT_EQ(Number("K", 7), 1u) << "the first section has become current";
    EXPECT_EQ(Saved(), "[B]\nK= 7\n");
}

TEST_F(Settings, AFileThatDoesNotStartWithASectionIsRefusedAsEmpty) {
    for (const char* const bytes : {"Key=1\n[0x00000000=S]\n", "; comment\n[0x00000000=S]\n",
                                    "            ", "\xEF\xBB\xBF[0x00000000=S]\n"}) {
        EXPECT_EQ(LoadBytes(bytes), 0u);
        EXPECT_EQ(Section("S"), 0u);
        EXPECT_EQ(AddSection("S"), 1u);
        EXPECT_EQ(Saved(), "[S]\n");
    }
}

TEST_F(Settings, ABracketInsideAQuotedStringDoesNotEndASection) {
    LoadBytes("[0x00000000=A]\nK= \"[x\\\"[y\" 1\n[0x00000000=B]\n");
    EXPECT_EQ(Section("B"), 1u);
    Section("A");
    Key("K");
    EXPECT_EQ(ReadString(), "5:[x\"[y");
}

TEST_F(Settings, ABracketInRawTextEndsASectionOnLoad) {
    Load("NONE.INI");
    AddSection("A");
    Raw("K", "a[b");
    AddSection("B");
    EXPECT_EQ(Section("B"), 1u);
    EXPECT_EQ(Saved(), "[A]\nK=a[b\n[B]\n");
    Load("OUT.INI");
    EXPECT_EQ(Section("A"), 1u);
    // The header is taken to be [b, LF, [0xHHHHH and H: what is left of [0x3D425D65=B] is 65=B].
    EXPECT_EQ(NextSection(), "4:65=B");
}

TEST_F(Settings, TheScanOfALoadDoesNotKnowAnEscapedBackslash) {
    // The string is one backslash; the scan takes backslash quote for a quote inside it, and the
    // string ends for it only where the next one starts.
    LoadBytes("[0x00000000=A]\nK= \"\\\\\"\n[0x00000000=B]\nL= \"x\"\n[0x00000000=C]\n");
    EXPECT_EQ(Section("B"), 0u);
    EXPECT_EQ(Section("A"), 1u);
    EXPECT_EQ(Key("K"), 1u);
    EXPECT_EQ(ReadString(), "1:\\");
}

TEST_F(Settings, CommandsWithoutABufferReturn0) {
    const u32 buffer = Room(10);
    for (const u32 command :
         {0x0801u, 0x0803u, 0x0804u, 0x0807u, 0x0808u, 0x080Au, 0x080Eu, 0x080Fu}) {
        EXPECT_EQ(Call(command, {0xFFFFFFFF, 0xFFFFFFFF, 0}), 0u) << "names are not looked at";
    }
    Put(buffer, "####");
    EXPECT_EQ(Call(0x0805, {buffer}), 0u);
    EXPECT_EQ(BytesAt(buffer, 4), "####");
    EXPECT_EQ(ReadString(), "0:");
    EXPECT_EQ(NextSection(), "0:");
    EXPECT_EQ(RawLine(), "0:");
    EXPECT_EQ(AtEnd(), 1u);
    EXPECT_FALSE(fs::exists(DataPath("OUT.INI")));
}

TEST_F(Settings, CommandsWithoutAResultLeaveR14Alone) {
    Load("NONE.INI");
    AddSection("S");
    EXPECT_EQ(Call(0x0809, {}), kResultBefore);
    EXPECT_EQ(Call(0x080C, {}), kResultBefore);
    EXPECT_EQ(Call(0x0802, {}), kResultBefore);
    EXPECT_EQ(Save("OUT.INI"), 0u) << "discarded";
}

TEST_F(Settings, ClearKeepsABuffer) {
    LoadBytes("[0x00000000=S]\nK= 5\n");
    Call(0x080C, {});
    EXPECT_EQ(Key("K"), 0u);
    EXPECT_EQ(AddSection("T"), 1u);
    EXPECT_EQ(Number("A", 1), 1u);
    EXPECT_EQ(String("B", "text"), 1u);
    EXPECT_EQ(Number("B", 2), 1u);
    EXPECT_EQ(Saved(), "[T]\nA= 1\nB= \"text\" 2\n") << "nothing of the old text comes back";
}

TEST_F(Settings, ASaveThatCannotOpenLeavesTheFileAlone) {
    LoadBytes("[0x00000000=S]\nK= 5\n");
    WriteTestFile(DataPath("OLD.INI"), "old");
    systemCalls.open = [](int, const char*, int) -> std::FILE* { return nullptr; };
    EXPECT_EQ(Save("OLD.INI"), 0u);
    systemCalls = originalCalls;
    EXPECT_EQ(ReadTestFile(DataPath("OLD.INI")), "old");
    fs::create_directories(DataPath("FOLDER"));
    EXPECT_EQ(Save("FOLDER"), 0u);
    EXPECT_EQ(Save(std::string(2000, 'x')), 0u);
}

TEST_F(Settings, AShortWriteIsReportedAndTheOtherSectionsAreWritten) {
    LoadBytes("[0x00000000=A]\n[0x00000000=B]\n[0x00000000=C]\n");
    static int writes;
    writes = 0;
    systemCalls.write = [](const void* data, std::size_t count, std::FILE* stream) {
        return ++writes == 2 ? std::size_t{0} : std::fwrite(data, 1, count, stream);
    };
    EXPECT_EQ(Save("1.INI"), 0u);
    EXPECT_EQ(writes, 3);
    const std::string saved = ReadTestFile(DataPath("1.INI"));
    EXPECT_EQ(saved.size(), 30u);
    EXPECT_NE(saved.find("=A]\n["), std::string::npos);
    EXPECT_NE(saved.find("=C]\n"), std::string::npos);
}

// --- Sections

TEST_F(Settings, SectionsAreSelectedByTheirExactName) {
    LoadBytes("[0x00000000=Abc]\n[0x00000000=Ab]\nK=1\n[0x00000000=]\n");
    EXPECT_EQ(Section("Ab"), 1u);
    EXPECT_EQ(Key("K"), 1u);
    EXPECT_EQ(Section("abc"), 0u);
    EXPECT_EQ(Section("A"), 0u);
    EXPECT_EQ(Section("Abc]"), 0u);
    EXPECT_EQ(Section(""), 1u);
}

TEST_F(Settings, ASectionNameContainingABracketCannotBeSelected) {
    Load("NONE.INI");
    EXPECT_EQ(AddSection("a]b"), 1u);
    EXPECT_EQ(Section("a]b"), 0u);
    EXPECT_EQ(Section("a"), 1u) << "a name ends at its first bracket";
    EXPECT_EQ(AddSection("a]b"), 1u);
    EXPECT_EQ(Saved(), "[a]b]\n[a]b]\n");
}

TEST_F(Settings, AddingAnExistingSectionSelectsIt) {
    LoadBytes("[0x00000000=A]\nK= 1\n[0x00000000=B]\nK= 2\n");
    EXPECT_EQ(AddSection("A"), 1u);
    Key("K");
    EXPECT_EQ(ReadNumber(), "1:1");
    EXPECT_EQ(AddSection("B"), 1u);
    EXPECT_EQ(ReadNumber(), "0:4008636142") << "the position has been cleared";
    EXPECT_EQ(Saved(), "[A]\nK= 1\n[B]\nK= 2\n");
}

TEST_F(Settings, AfterAFailedSelectionNoSectionIsCurrent) {
    LoadBytes("[0x00000000=A]\nK= 1\n");
    EXPECT_EQ(Section("B"), 0u);
    EXPECT_EQ(Key("K"), 0u);
    EXPECT_EQ(Number("K", 1), 0u);
    EXPECT_EQ(Raw("K", "1"), 0u);
    EXPECT_EQ(String("K", "1"), 0u);
    EXPECT_EQ(DeleteKey("K"), 0u);
    DeleteSection();
    EXPECT_EQ(NextSection(), "0:");
    EXPECT_EQ(Saved(), "[A]\nK= 1\n");
}

TEST_F(Settings, NextSectionNameStepsFromTheCurrentSection) {
    LoadBytes("[0x00000000=A]\nK= 1\n[0x00000000=Name]\n[0x00000000=C]\n");
    EXPECT_EQ(NextSection(), "4:Name") << "after a load the first section is current";
    EXPECT_EQ(NextSection(), "1:C");
    EXPECT_EQ(NextSection(), "0:");
    EXPECT_EQ(NextSection(), "0:");
    EXPECT_EQ(Key("K"), 0u);
}

TEST_F(Settings, ASectionNameThatDoesNotFitIsCut) {
    for (const auto& [size, expected] :
         {std::pair{5u, "4:Name"}, {4u, "bad:Nam"}, {1u, "bad:"}, {0u, "bad:#"}}) {
        LoadBytes("[0x00000000=A]\n[0x00000000=Name]\n[0x00000000=Open");
        EXPECT_EQ(NextSection(size), expected);
        EXPECT_EQ(NextSection(), "bad:Open") << "the section is current all the same";
    }
}

TEST_F(Settings, DeletingTheLastSectionLeavesNone) {
    Load("NONE.INI");
    AddSection("A");
    AddSection("B");
    DeleteSection();
    EXPECT_EQ(Saved(), "[A]\n");
    DeleteSection();
    EXPECT_EQ(Saved(), "");
    DeleteSection();
    EXPECT_EQ(NextSection(), "0:");
    EXPECT_EQ(AddSection("C"), 1u);
    EXPECT_EQ(Saved(), "[C]\n");
}

// --- Keys and numbers

TEST_F(Settings, NumbersOfThreeStylesAreReadBackInOrder) {
    Load("NONE.INI");
    AddSection("S");
    EXPECT_EQ(Number("K", 5, 0), 1u);
    EXPECT_EQ(Number("K", 31, 2), 1u);
    EXPECT_EQ(Number("K", 15, 1), 1u);
    EXPECT_EQ(Saved(), "[S]\nK= 5 0x0000001F 017\n");
    EXPECT_EQ(Key("K"), 1u);
    EXPECT_EQ(AtEnd(), 0u);
    EXPECT_EQ(ReadNumber(), "1:5");
    EXPECT_EQ(ReadNumber(), "1:31");
    EXPECT_EQ(ReadNumber(), "1:15");
    EXPECT_EQ(AtEnd(), 1u);
    EXPECT_EQ(ReadNumber(), "0:0");
}

TEST_F(Settings, NumbersAreSignedDecimalUnlessAStyleSaysOtherwise) {
    Load("NONE.INI");
    AddSection("S");
    Number("K", 0xFFFFFFFF, 0);
    Number("K", 0xFFFFFFFF, 1);
    Number("K", 0xFFFFFFFF, 2);
    Number("K", 0x80000000, 3);
    Number("K", 0, 1);
    EXPECT_EQ(Saved(), "[S]\nK= -1 037777777777 0xFFFFFFFF -2147483648 00\n");
    Key("K");
    EXPECT_EQ(ReadNumber(), "1:4294967295");
    EXPECT_EQ(ReadNumber(), "1:4294967295");
    EXPECT_EQ(ReadNumber(), "1:4294967295");
    EXPECT_EQ(ReadNumber(), "1:2147483648");
    EXPECT_EQ(ReadNumber(), "1:0");
}

TEST_F(Settings, NumbersInEveryNotation) {
    LoadBytes("[0x00000000=S]\nK=0xAbCdEf\t0X10 0x 08 -0x10 -010 4294967297 1a +5\n");
    Key("K");
    EXPECT_EQ(ReadNumber(), "1:11259375");
    EXPECT_EQ(ReadNumber(), "1:16");
    EXPECT_EQ(ReadNumber(), "1:0") << "0x without a digit is 0";
    EXPECT_EQ(ReadNumber(), "1:0") << "08 is an octal 0";
    EXPECT_EQ(ReadNumber(), "1:8") << "and an 8";
    EXPECT_EQ(ReadNumber(), "1:4294967280");
    EXPECT_EQ(ReadNumber(), "1:4294967288");
    EXPECT_EQ(ReadNumber(), "1:1") << "numbers wrap at 32 bits";
    EXPECT_EQ(ReadNumber(), "1:1");
    EXPECT_EQ(ReadNumber(), "0:0") << "a letter is no number";
    EXPECT_EQ(AtEnd(), 0u);
}

TEST_F(Settings, ReadNumberDoesNotPassTheLineEnd) {
    LoadBytes("[0x00000000=S]\nK= \n5\n");
    Key("K");
    EXPECT_EQ(ReadNumber(), "0:0");
    EXPECT_EQ(AtEnd(), 1u);
}

TEST_F(Settings, ANumberIsStoredInsideTheImage) {
    LoadBytes("[0x00000000=S]\nK= 5\n");
    Key("K");
    ExpectFault(0x0805, {0xFFFFFFF0});
    Section("S");
    EXPECT_EQ(Call(0x0805, {0xFFFFFFF0}), 0u) << "without a position nothing is stored";
}

TEST_F(Settings, SelectKeyKeDoesNotMatchTheLineKey) {
    LoadBytes("[0x00000000=S]\nKey=1\n");
    EXPECT_EQ(Key("Ke"), 0u);
    EXPECT_EQ(Key("key"), 0u);
    EXPECT_EQ(Key("Key="), 0u);
    EXPECT_EQ(Key("Key"), 1u);
}

TEST_F(Settings, KeysMayBeIndentedAndNeedTheEqualsSignAtOnce) {
    LoadBytes("[0x00000000=S]\r\n\t  A=1\r\nB =2\r\n=3\r\n");
    EXPECT_EQ(Key("A"), 1u);
    EXPECT_EQ(Key("B"), 0u);
    EXPECT_EQ(Key(""), 1u);
    EXPECT_EQ(ReadNumber(), "1:3");
}

TEST_F(Settings, ASearchStaysInItsSection) {
    LoadBytes("[0x00000000=A]\nX=1\n[0x00000000=B]\nK=2\n");
    EXPECT_EQ(Key("K"), 0u);
    EXPECT_EQ(ReadNumber(), "0:0") << "the position is the section's end";
    EXPECT_EQ(AtEnd(), 0u) << "where the next header stands";
    Section("B");
    EXPECT_EQ(Key("X"), 0u);
    EXPECT_EQ(AtEnd(), 1u);
}

TEST_F(Settings, NewKeysGoToTheEndOfTheirSection) {
    LoadBytes("[0x00000000=A]\nX= 1\n[0x00000000=B]\nK= 2\n");
    Number("Y", 7);
    EXPECT_EQ(ReadNumber(), "0:4008636142") << "the position is cleared";
    EXPECT_EQ(Saved(), "[A]\nX= 1\nY= 7\n[B]\nK= 2\n");
    EXPECT_EQ(Section("B"), 1u);
    Raw("Z", "raw \"text");
    EXPECT_EQ(Saved(), "[A]\nX= 1\nY= 7\n[B]\nK= 2\nZ=raw \"text\n");
}

TEST_F(Settings, RawValuesReplaceTheLine) {
    LoadBytes("[0x00000000=A]\nX= 1 2 3\nY= 2\n[0x00000000=B]\n");
    EXPECT_EQ(Raw("X", "9"), 1u);
    EXPECT_EQ(RawLine(), "4:Y= 2") << "the position is after the line";
    EXPECT_EQ(Saved(), "[A]\nX=9\nY= 2\n[B]\n");
    Section("A");
    EXPECT_EQ(Raw("X", " a longer value than before"), 1u);
    EXPECT_EQ(Raw("Y", ""), 1u);
    EXPECT_EQ(Saved(), "[A]\nX= a longer value than before\nY=\n[B]\n");
    EXPECT_EQ(Section("B"), 1u);
}

TEST_F(Settings, KeysAreDeletedWithTheEmptyLinesAfterThem) {
    LoadBytes("[0x00000000=A]\nX= 1\n\r\n\nY= 2\n[0x00000000=B]\nX= 3\n");
    EXPECT_EQ(DeleteKey("X"), 1u);
    EXPECT_EQ(DeleteKey("X"), 0u);
    EXPECT_EQ(Saved(), "[A]\nY= 2\n[B]\nX= 3\n");
    EXPECT_EQ(DeleteKey("Y"), 1u);
    EXPECT_EQ(Section("B"), 1u);
    EXPECT_EQ(Saved(), "[A]\n[B]\nX= 3\n");
}

TEST_F(Settings, ALineFollowedByAnEmptyLineIsContinuedOnALineOfItsOwn) {
    LoadBytes("[0x00000000=A]\nK= 1\n\nL= 2\n");
    Number("K", 5);
    EXPECT_EQ(Saved(), "[A]\nK= 1\n 5\nL= 2\n");
    Key("K");
    EXPECT_EQ(ReadNumber(), "1:1");
    EXPECT_EQ(AtEnd(), 1u) << "reading the key does not see it";
    LoadBytes("[0x00000000=A]\nK= 1\n\nL= 2\n");
    String("K", "x");
    EXPECT_EQ(Saved(), "[A]\nK= 1\n \"x\"\nL= 2\n");
}

TEST_F(Settings, ARawValueReplacesTheEmptyLinesToo) {
    LoadBytes("[0x00000000=A]\nK= 1\n\n\nL= 2\n");
    Raw("K", "9");
    EXPECT_EQ(Saved(), "[A]\nK=9\nL= 2\n");
}

TEST_F(Settings, AppendingToALineThatEndsInCrLfReplacesTheLastByte) {
    LoadBytes("[0x00000000=A]\r\nK= 1\r\nL= 2\r\n");
    Number("K", 5);
    EXPECT_EQ(Saved(), "[A]\r\nK= 1\r 5\nL= 2\r\n");
}

TEST_F(Settings, ANewKeyAfterALineWithoutAnEndIsJoinedToIt) {
    LoadBytes("[0x00000000=A]\nK= 1");
    Number("L", 5);
    EXPECT_EQ(Saved(), "[A]\nK= 1L= 5\n");
}

TEST_F(Settings, AppendingToALineWithoutAnEndLosesNothing) {
    LoadBytes("[0x00000000=A]\nK= 1");
    Number("K", 5);
    EXPECT_EQ(Saved(), "[A]\nK= 1 5\n");
}

// --- Whatever bytes a file holds

TEST_F(Settings, HeadersThatTheFileCutsOff) {
    for (const char* const bytes : {"         [", "         [0x", "[0x00000000",
                                    "[0x00000000=", "[0x00000000=S", "[0x00000000=S]"}) {
        EXPECT_EQ(LoadBytes(bytes), 1u) << bytes;
        Key("K");
        RawLine();
        EXPECT_EQ(AddSection("New"), 1u);
        EXPECT_EQ(Number("K", 1), 1u);
        EXPECT_EQ(String("L", "text"), 1u);
        EXPECT_EQ(Section("New"), 1u) << bytes;
        EXPECT_EQ(Save("1.INI"), 1u);
        EXPECT_EQ(Load("1.INI"), 1u);
        nextRoom = 0x2000;
    }
}

TEST_F(Settings, ZeroBytesEndTheText) {
    LoadBytes(std::string_view("[0x00000000=A]\nK=1\n\0\n[0x00000000=B]\n", 36));
    EXPECT_EQ(Section("B"), 0u);
    EXPECT_EQ(AddSection("C"), 1u);
    EXPECT_EQ(Saved(), "[A]\nK=1\n[C]\n");
}

TEST_F(Settings, LinesOf100000Characters) {
    const std::string text(100000, 'x');
    EXPECT_EQ(LoadBytes("[0x00000000=A]\nK= \"" + text + "\"\n" + text + "=5\nL= 1\n"), 1u);
    Key("L");
    EXPECT_EQ(ReadNumber(), "1:1");
    Key("K");
    EXPECT_EQ(ReadString(100), "bad:" + std::string(99, 'x'));
    EXPECT_EQ(DeleteKey("K"), 1u);
    EXPECT_EQ(Saved(), "[A]\n" + text + "=5\nL= 1\n");
}

TEST_F(Settings, AnUnterminatedStringRunsToTheEndOfTheFile) {
    LoadBytes("[0x00000000=A]\nK= \"abc\n[0x00000000=B]\n");
    EXPECT_EQ(Section("B"), 0u);
    Section("A");
    Key("K");
    EXPECT_EQ(ReadString(), "bad:");
}

TEST_F(Settings, BinaryNoiseIsSurvived) {
    u32 seed = 12345;
    const auto random = [&seed] { return seed = seed * 1664525 + 1013904223, seed >> 8; };
    for (int round = 0; round < 400; ++round) {
        std::string bytes = "[";
        const u32 length = 10 + random() % 200;
        while (bytes.size() < length) {
            const char* const alphabet = "[]=\"\\\n\r\t 0x1KS\x80\xFF";
            bytes += random() % 8 == 0 ? static_cast<char>(random()) : alphabet[random() % 16];
        }
        LoadBytes(bytes);
        for (int step = 0; step < 20; ++step) {
            const std::string name(random() % 3, "KS]="[random() % 4]);
            switch (random() % 14) {
                case 0: Section(name); break;
                case 1: Key(name); break;
                case 2: ReadNumber(); break;
                case 3: ReadString(random() % 20); break;
                case 4: AddSection(name); break;
                case 5: Raw(name, std::string(random() % 30, '[')); break;
                case 6: DeleteSection(); break;
                case 7: DeleteKey(name); break;
                case 8: NextSection(random() % 20); break;
                case 9: AtEnd(); break;
                case 10: Number(name, random(), random() % 3); break;
                case 11: String(name, std::string(random() % 50, '"')); break;
                case 12: RawLine(random() % 20); break;
                default: Save("1.INI"); break;
            }
            nextRoom = 0x2000;
        }
    }
    EXPECT_TRUE(fatalMessages.empty());
}

// --- Memory

TEST_F(Settings, WithoutMemoryALoadLeavesNoBuffer) {
    WriteTestFile(DataPath("SET.INI"), "[0x00000000=A]\nK= 1\n");
    systemCalls.allocate = [](std::size_t) -> void* { return nullptr; };
    EXPECT_EQ(Load("SET.INI"), 0u);
    EXPECT_EQ(AddSection("A"), 0u);
    EXPECT_EQ(Load("NONE.INI"), 0u);
    systemCalls = originalCalls;
    EXPECT_EQ(AddSection("A"), 0u);
    EXPECT_EQ(Load("SET.INI"), 1u);
    EXPECT_EQ(OpenFile("SET.INI", kOpenRead), 0u) << "the file has been closed each time";
}

TEST_F(Settings, AnEnormousFileCountsAsOneWithoutMemory) {
    WriteTestFile(DataPath("SET.INI"), "[0x00000000=A]\nK= 1\n");
    fs::resize_file(DataPath("SET.INI"), 0xFFFFFFF0);
    EXPECT_EQ(Load("SET.INI"), 0u);
    EXPECT_EQ(AddSection("B"), 0u);
    // Of a size beyond 4 GiB only the low 32 bits are seen.
    fs::resize_file(DataPath("SET.INI"), 0x100000014);
    EXPECT_EQ(Load("SET.INI"), 1u);
    EXPECT_EQ(Saved(), "[A]\nK= 1\n");
    fs::resize_file(DataPath("SET.INI"), 0x100000009);
    EXPECT_EQ(Load("SET.INI"), 0u);
    EXPECT_EQ(AddSection("B"), 1u);
}

TEST_F(Settings, WithoutMemoryAWriteChangesNothing) {
    LoadBytes("[0x00000000=A]\nK= 1\n");
    systemCalls.allocate = [](std::size_t) -> void* { return nullptr; };
    Number("K", 5);
    Number("L", 5);
    String("K", "text");
    String("L", "text");
    Raw("K", "longer value");
    EXPECT_EQ(AddSection("B"), 0u);
    EXPECT_EQ(Section("A"), 1u);
    EXPECT_EQ(Saved(), "[A]\nK= 1\n");
    systemCalls = originalCalls;
}

}  // namespace

}  // namespace moxi
