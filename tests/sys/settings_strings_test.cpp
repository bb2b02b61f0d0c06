// Strings and raw lines of settings files, and the gap that a new string leaves.

#include "settings_fixture.h"

namespace moxi {

namespace {

// --- Strings

TEST_F(Settings, AStringAppendedToAnExistingKeyIsQuotedAndEscaped) {
    LoadBytes("[0x00000000=S]\nK= 1\n");
    EXPECT_EQ(String("K", "a\"b"), 1u);
    EXPECT_EQ(Saved(), "[S]\nK= 1 \"a\\\"b\"\n");
    Key("K");
    EXPECT_EQ(ReadNumber(), "1:1");
    EXPECT_EQ(ReadString(), "3:a\"b");
    EXPECT_EQ(AtEnd(), 1u);
    String("K", "\\");
    EXPECT_EQ(Saved(), "[S]\nK= 1 \"a\\\"b\" \"\\\\\"\n");
}

TEST_F(Settings, AStringMustFitItsBuffer) {
    LoadBytes("[0x00000000=S]\nK= \"abc\"\n");
    for (const auto& [size, expected] :
         {std::pair{4u, "3:abc"}, {3u, "bad:ab"}, {1u, "bad:"}, {0u, "bad:#"}}) {
        Key("K");
        EXPECT_EQ(ReadString(size), expected);
    }
    Key("K");
    EXPECT_EQ(ReadString(2), "bad:a");
    EXPECT_EQ(ReadString(), "3:abc") << "the position has stayed";
    LoadBytes("[0x00000000=S]\nK= \"\"\n");
    Key("K");
    EXPECT_EQ(ReadString(1), "0:");
}

TEST_F(Settings, WhereNoQuoteStandsThereIsNoString) {
    LoadBytes("[0x00000000=S]\nK= 5 \"a\"\n");
    Key("K");
    EXPECT_EQ(ReadString(), "0:");
    EXPECT_EQ(ReadNumber(), "1:5");
    EXPECT_EQ(ReadString(), "1:a");
    EXPECT_EQ(ReadString(), "0:");
}

TEST_F(Settings, ControlCharactersAndMissingQuotesMakeAStringBad) {
    LoadBytes("[0x00000000=S]\nK= \"abc\nL= \"a\tb\"\nM= \"\x80\xFF\"\nN= \"end");
    Key("K");
    EXPECT_EQ(ReadString(), "bad:");
    Key("L");
    EXPECT_EQ(ReadString(), "bad:");
    Key("M");
    EXPECT_EQ(ReadString(), "2:\x80\xFF") << "characters are unsigned";
    Key("N");
    EXPECT_EQ(ReadString(), "bad:end");
}

TEST_F(Settings, AStringIsStoredInsideTheImage) {
    LoadBytes("[0x00000000=S]\nK= \"abcd\"\n");
    Key("K");
    EXPECT_EQ(Call(0x0806, {kImageSize - 5, 0xFFFFFFFF}), 4u) << "only what is written counts";
    Key("K");
    ExpectFault(0x0806, {kImageSize - 4, 0xFFFFFFFF});
}

// --- The gap of a new string

TEST_F(Settings, ANewStringAtTheEndOfTheBufferIsWhole) {
    Load("NONE.INI");
    AddSection("S");
    EXPECT_EQ(String("K", "hello"), 1u);
    EXPECT_EQ(Saved(), "[S]\nK= \"hello\"\n");
    EXPECT_EQ(Key("K"), 1u);
    EXPECT_EQ(ReadString(), "5:hello");
    EXPECT_EQ(AtEnd(), 1u);
    // Further lines at the end stay whole too: an insertion there moves nothing.
    String("L", "world");
    Number("M", 5);
    Raw("N", "raw");
    EXPECT_EQ(Saved(), "[S]\nK= \"hello\"\nL= \"world\"\nM= 5\nN=raw\n");
    AddSection("T");
    String("K", "again");
    EXPECT_EQ(Saved(), "[S]\nK= \"hello\"\nL= \"world\"\nM= 5\nN=raw\n[T]\nK= \"again\"\n");
    EXPECT_EQ(Section("S"), 1u);
    EXPECT_EQ(Section("T"), 1u);
}

TEST_F(Settings, ANewStringOverwritesTheNextSectionsHeader) {
    LoadBytes("[0x00000000=A]\n[0x00000000=B]\nV= 2\n");
    EXPECT_EQ(String("K", "abc"), 1u);
    EXPECT_EQ(Key("K"), 1u);
    EXPECT_EQ(ReadString(), "3:abc");
    // The gap has 1 + 3 bytes, K= "abc" and its line end take 9: 5 bytes of the header are gone,
    // and the first section's length leads to the header's sixth byte.
    EXPECT_EQ(Section("B"), 0u);
    EXPECT_EQ(Saved(), "[A]\nK= \"abc\"\n");
}

TEST_F(Settings, AnInsertionBelowAStringPastTheUsedLengthMovesOnlyTheBytesBelowIt) {
    Load("NONE.INI");
    AddSection("S");
    Number("A", 1);
    // 5 + 9 bytes after the header; the used length counts 5 + 4 and the NUL.
    String("K", "abc");
    EXPECT_EQ(Saved(), "[S]\nA= 1\nK= \"abc\"\n");
    // " 2" moves K= "a by two bytes over "bc; the last two bytes stay: c is overwritten by the
    // moved a, and of what stood behind it the quote and the line end remain.
    Number("A", 2);
    EXPECT_EQ(Saved(), std::string("[S]\nA= 1 2\nK= \"a\"\n\0\0", 20));
}

TEST_F(Settings, ANewStringMayBeDeletedAgain) {
    Load("NONE.INI");
    AddSection("S");
    Number("A", 1);
    String("K", "hello");
    EXPECT_EQ(DeleteKey("K"), 1u);
    EXPECT_EQ(Key("K"), 0u);
    EXPECT_EQ(Saved(), "[S]\nA= 1\n");
    String("K", "hello");
    Raw("K", " 1");
    EXPECT_EQ(Saved(), "[S]\nA= 1\nK= 1\n");
    Number("L", 7);
    EXPECT_EQ(Saved(), "[S]\nA= 1\nK= 1\nL= 7\n");
}

TEST_F(Settings, TheGapsOverhangNeverPassesTheBuffersCapacity) {
    Load("NONE.INI");
    AddSection("S");
    for (u32 length = 1; length < 3000; length += 331) {
        String("K" + std::to_string(length), std::string(length, 'x'));
        nextRoom = 0x2000;
    }
    for (u32 length = 1; length < 3000; length += 331) {
        EXPECT_EQ(Key("K" + std::to_string(length)), 1u);
        EXPECT_EQ(ReadString(4000), std::to_string(length) + ":" + std::string(length, 'x'));
        nextRoom = 0x2000;
    }
}

// --- Raw lines

TEST_F(Settings, RawLinesOfASectionAreReadInOrder) {
    LoadBytes("[0x00000000=A]\r\n\r\nX= 1\n\n  Y=\"a\\\"b\"\r\n[0x00000000=B]\nZ=1\n");
    EXPECT_EQ(RawLine(), "4:X= 1");
    EXPECT_EQ(RawLine(), "9:  Y=\"a\"b\"");
    EXPECT_EQ(RawLine(), "0:") << "the section has been read out";
    EXPECT_EQ(Key("X"), 0u) << "and is no longer current";
    EXPECT_EQ(Section("B"), 1u);
    EXPECT_EQ(RawLine(), "3:Z=1");
    EXPECT_EQ(RawLine(), "0:");
}

TEST_F(Settings, ARawLineIsTheRestOfTheLineAtAPosition) {
    LoadBytes("[0x00000000=A]\nX= 1 rest\nY= 2\n");
    Key("X");
    ReadNumber();
    EXPECT_EQ(RawLine(), "5: rest");
    EXPECT_EQ(RawLine(), "4:Y= 2");
}

TEST_F(Settings, ARawLineThatIsCutOrHasNoEndIsBad) {
    LoadBytes("[0x00000000=A]\nX= 1\nY= 2");
    EXPECT_EQ(RawLine(5), "4:X= 1");
    Section("A");
    EXPECT_EQ(RawLine(4), "bad:X= ");
    EXPECT_EQ(RawLine(), "bad:Y= 2") << "the next line follows all the same";
    Section("A");
    EXPECT_EQ(RawLine(1), "bad:");
    Section("A");
    EXPECT_EQ(RawLine(0), "bad:#");
    Section("A");
    EXPECT_EQ(Key("Y"), 1u);
    EXPECT_EQ(RawLine(), "bad: 2");
    EXPECT_EQ(RawLine(), "0:");
}

TEST_F(Settings, ASectionWithoutLinesHasNoRawLine) {
    LoadBytes("[0x00000000=A]\n\n[0x00000000=B]\n");
    EXPECT_EQ(RawLine(), "0:");
    EXPECT_EQ(NextSection(), "0:") << "no section is current";
    Section("B");
    EXPECT_EQ(RawLine(), "0:");
}

}  // namespace

}  // namespace moxi
