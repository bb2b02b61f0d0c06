#include <clocale>

#include "service_fixture.h"
#include "sys/upper_case.h"

namespace moxi {

namespace {

class TextGroup : public ServiceTest {
  protected:
    // A string with room behind it.
    u32 Destination(std::string_view text) {
        const u32 address = Room(1000);
        std::memset(image + address, '#', 1000);
        Put(address, std::string(text) + '\0');
        return address;
    }
    // A string whose NUL is the image's last byte.
    static u32 AtTheEnd(std::string_view text) {
        const u32 address = kImageSize - static_cast<u32>(text.size()) - 1;
        Put(address, std::string(text) + '\0');
        return address;
    }
    std::string Upper(std::string_view text) {
        const u32 address = Destination(text);
        EXPECT_EQ(Call(0x0305, {address}), kResultBefore);
        return TextAt(address);
    }
};

// --- Formatted append

TEST_F(TextGroup, MinusOneIsAppendedAfterScore) {
    const u32 text = Destination("Score: ");
    EXPECT_EQ(Call(0x0300, {text, Text("%d"), 4, 0xFFFFFFFF}), 2u);
    EXPECT_EQ(TextAt(text), "Score: -1");
    EXPECT_EQ(BytesAt(text + 10, 2), "##");
}

TEST_F(TextGroup, ATextIsAppendedByItsAddress) {
    const u32 text = Destination("");
    EXPECT_EQ(Call(0x0300, {text, Text("%s"), 1, Text("abc")}), 3u);
    EXPECT_EQ(TextAt(text), "abc");
}

TEST_F(TextGroup, ANumberOf64BitsStandsInTwoWords) {
    const u32 text = Destination("n=");
    EXPECT_EQ(Call(0x0300, {text, Text("%llx"), 8, 0x89ABCDEF, 0x01234567}), 15u);
    EXPECT_EQ(TextAt(text), "n=123456789abcdef");
}

TEST_F(TextGroup, AnUnsupportedSizeIsReportedAndAppendsNothing) {
    for (const u32 size : {0u, 2u, 3u, 5u, 16u, 0xFFFFFFFFu}) {
        const u32 text = Destination("old");
        EXPECT_EQ(Call(0x0300, {text, Text("%d"), size, 1}), 0u);
        EXPECT_EQ(TextAt(text), "old");
        ASSERT_EQ(fatalMessages.size(), 1u);
        EXPECT_EQ(fatalMessages[0], "SYS_PRTFMT: unsupported arg size");
        fatalMessages.clear();
    }
}

TEST_F(TextGroup, FormatsWithOtherConversionsPrintThemAsTheyStand) {
    const u32 text = Destination("");
    EXPECT_EQ(Call(0x0300, {text, Text("%n%s%*d%f %d %d"), 4, 7}), 14u);
    EXPECT_EQ(TextAt(text), "%n%s%*d%f 7 %d");
    EXPECT_EQ(Call(0x0300, {text, Text("%x"), 1, 0xFFFFFFFF}), 2u);
    EXPECT_EQ(TextAt(text), "%n%s%*d%f 7 %d%x");
}

TEST_F(TextGroup, ANulCharacterEndsTheAppendedText) {
    const u32 text = Destination("");
    EXPECT_EQ(Call(0x0300, {text, Text("a%cb"), 4, 0}), 1u);
    EXPECT_EQ(BytesAt(text, 5), std::string("a\0b\0#", 5));
}

TEST_F(TextGroup, AStringMayBeAppendedToItself) {
    const u32 text = Destination("ab");
    EXPECT_EQ(Call(0x0300, {text, Text("-%s"), 1, text}), 3u);
    EXPECT_EQ(TextAt(text), "ab-ab");
}

TEST_F(TextGroup, AFormattedTextThatLeavesTheImageIsAFault) {
    const u32 text = kImageSize - 8;
    Store<u8>(text, 0);
    ExpectFault(0x0300, {text, Text("%8d"), 4, 1});
    EXPECT_EQ(Load<u8>(text), 0);
    EXPECT_EQ(Call(0x0300, {text, Text("%7d"), 4, 1}), 7u);
    ExpectFault(0x0300, {Destination(""), Text("%2147483647d"), 4, 1});
    ExpectFault(0x0300, {kImageSize, Text("%d"), 4, 1});
    ExpectFault(0x0300, {Destination(""), 0xFFFFFFFF, 4, 1});
}

// --- Strings

TEST_F(TextGroup, CopyString) {
    const u32 text = Destination("old text");
    EXPECT_EQ(Call(0x0301, {text, Text("new")}), kResultBefore);
    EXPECT_EQ(BytesAt(text, 9), std::string("new\0text\0", 9));
}

TEST_F(TextGroup, CopyStringWithEqualAddressesLeavesTheStringAsItIs) {
    const u32 text = Destination("same");
    Call(0x0301, {text, text});
    EXPECT_EQ(TextAt(text), "same");
    EXPECT_EQ(Call(0x0301, {0xFFFFFFFF, 0xFFFFFFFF}), kResultBefore) << "nothing is touched";
}

TEST_F(TextGroup, AppendString) {
    const u32 text = Destination("ab");
    EXPECT_EQ(Call(0x0302, {text, Text("cd")}), kResultBefore);
    EXPECT_EQ(BytesAt(text, 6), std::string("abcd\0#", 6));
}

TEST_F(TextGroup, LengthOfAString) {
    EXPECT_EQ(Call(0x0303, {Text("")}), 0u);
    EXPECT_EQ(Call(0x0303, {Text("h\xC3\xA9")}), 3u);
    EXPECT_EQ(Call(0x0303, {AtTheEnd("abc")}), 3u);
}

TEST_F(TextGroup, StringsCompareAsUnsignedBytes) {
    EXPECT_EQ(Call(0x0304, {Text("abc"), Text("abc")}), 0u);
    EXPECT_LT(static_cast<i32>(Call(0x0304, {Text("abc"), Text("abd")})), 0);
    EXPECT_GT(static_cast<i32>(Call(0x0304, {Text("abc"), Text("ab")})), 0);
    EXPECT_LT(static_cast<i32>(Call(0x0304, {Text(""), Text("a")})), 0);
    EXPECT_GT(static_cast<i32>(Call(0x0304, {Text("\x80"), Text("\x7F")})), 0);
}

TEST_F(TextGroup, StringsThatLeaveTheImageAreFaults) {
    Store<u8>(kImageSize - 1, 'x');
    ExpectFault(0x0301, {Destination(""), kImageSize - 1});
    ExpectFault(0x0302, {kImageSize - 1, Text("a")});
    ExpectFault(0x0303, {kImageSize - 1});
    ExpectFault(0x0303, {kImageSize});
    ExpectFault(0x0304, {kImageSize - 1, Text("xy")});
    ExpectFault(0x0305, {kImageSize - 1});
    ExpectFault(0x030E, {kImageSize - 1});
    EXPECT_GT(static_cast<i32>(Call(0x0304, {kImageSize - 1, Text("a")})), 0)
        << "only the bytes up to the first difference are touched";
    // The whole result must fit, and nothing is written when it does not.
    ExpectFault(0x0301, {kImageSize - 3, Text("abc")});
    EXPECT_EQ(BytesAt(kImageSize - 3, 3), std::string("\0\0x", 3));
    Store<u8>(kImageSize - 1, 0);
    ExpectFault(0x0302, {kImageSize - 1, Text("a")});
    EXPECT_EQ(Call(0x0302, {kImageSize - 1, Text("")}), kResultBefore);
}

// --- Upper-casing

TEST_F(TextGroup, UpperCasingSharpSMakesTheStringLonger) {
    const u32 text = Destination(
        "Stra\xC3\x9F"
        "e!");
    Call(0x0305, {text});
    EXPECT_EQ(BytesAt(text, 10), std::string("STRASSE!\0#", 10));
}

TEST_F(TextGroup, UpperCasingIsFullUnicode) {
    EXPECT_EQ(Upper(""), "");
    EXPECT_EQ(Upper("abc xyz 09"), "ABC XYZ 09");
    EXPECT_EQ(Upper("\xC3\xA4\xC3\xB6\xC3\xBC"), "\xC3\x84\xC3\x96\xC3\x9C");  // a, o, u umlaut
    EXPECT_EQ(Upper("\xEF\xAC\x81"), "FI");                                    // the ligature fi
    EXPECT_EQ(Upper("\xCF\x83\xCF\x82"), "\xCE\xA3\xCE\xA3");  // sigma and final sigma
    EXPECT_EQ(Upper("i\xC4\xB1"), "II");                       // i and dotless i
    EXPECT_EQ(Upper("\xF0\x90\x90\xA8"), "\xF0\x90\x90\x80");  // Deseret, beyond 16 bits
    // Iota with dialytika and tonos has no upper-case letter of its own: it becomes three.
    EXPECT_EQ(Upper("\xCE\x90"), "\xCE\x99\xCC\x88\xCC\x81");
    EXPECT_EQ(Upper("\xC5\x89"), "\xCA\xBCN");  // n preceded by an apostrophe
    EXPECT_EQ(Upper("\xD5\xA5\xD6\x82"), "\xD4\xB5\xD5\x92");
}

TEST_F(TextGroup, UpperCasingDoesNotDependOnTheLocale) {
    const char* const before = std::setlocale(LC_ALL, nullptr);
    const std::string saved = before;
    for (const char* const name : {"tr_TR.UTF-8", "az_AZ.UTF-8", "lt_LT.UTF-8", "el_GR.UTF-8"}) {
        setenv("LC_ALL", name, 1);
        std::setlocale(LC_ALL, "");
        EXPECT_EQ(UpperCaseUtf8("i\xCC\x87"), "I\xCC\x87");
        EXPECT_EQ(UpperCaseUtf8("\xCE\xAC"), "\xCE\x86");  // alpha with tonos keeps the tonos
    }
    unsetenv("LC_ALL");
    std::setlocale(LC_ALL, saved.c_str());
}

TEST_F(TextGroup, InvalidUtf8StaysAsItIs) {
    for (const char* const text : {"ab\xFF", "ab\xC3",
                                   "\x80"
                                   "ab",
                                   "a\xC0\x80",
                                   "a\xED\xA0\x80"
                                   "b",
                                   "a\xF4\x90\x80\x80", "\xE2\x82"}) {
        EXPECT_EQ(Upper(text), text);
    }
}

TEST_F(TextGroup, AnUpperCaseFormThatLeavesTheImageIsAFault) {
    // A dotless i with a caron below the end: 2 bytes become 3.
    const u32 text = AtTheEnd("\xC7\xB0");
    ExpectFault(0x0305, {text});
    EXPECT_EQ(TextAt(text), "\xC7\xB0");
    EXPECT_EQ(Upper("\xC7\xB0"), "J\xCC\x8C");
}

// --- Bytes

TEST_F(TextGroup, CopyAndMoveBytes) {
    const u32 bytes = Room(10);
    Put(bytes, "0123456789");
    EXPECT_EQ(Call(0x030A, {bytes, bytes + 5, 3}), kResultBefore);
    EXPECT_EQ(BytesAt(bytes, 10), "5673456789");
    EXPECT_EQ(Call(0x030B, {bytes + 1, bytes, 9}), kResultBefore);
    EXPECT_EQ(BytesAt(bytes, 10), "5567345678");
    Call(0x030B, {bytes, bytes + 1, 9});
    EXPECT_EQ(BytesAt(bytes, 10), "5673456788");
}

TEST_F(TextGroup, FillBytesTakesTheLowEightBits) {
    const u32 bytes = Room(4);
    Put(bytes, "....");
    EXPECT_EQ(Call(0x030C, {bytes, 0x141, 3}), kResultBefore);
    EXPECT_EQ(BytesAt(bytes, 4), "AAA.");
}

TEST_F(TextGroup, CompareBytes) {
    EXPECT_EQ(Call(0x030D, {Text("a\0b"), Text("a\0b"), 3}), 0u);
    EXPECT_LT(static_cast<i32>(Call(0x030D, {Text(std::string_view("a\0b", 3)),
                                             Text(std::string_view("a\0c", 3)), 3})),
              0);
    EXPECT_GT(static_cast<i32>(Call(0x030D, {Text("\x80"), Text("\x7F"), 1})), 0);
    EXPECT_EQ(Call(0x030D, {Text("a"), Text("b"), 0}), 0u);
}

TEST_F(TextGroup, NegativeCountsAreEnormousAndZeroTouchesNothing) {
    for (const u32 count : {0x80000000u, 0xFFFFFFFFu, kImageSize}) {
        ExpectFault(0x030A, {0x2000, 0x3000, count});
        ExpectFault(0x030B, {0x2000, 0x3000, count});
        ExpectFault(0x030C, {0x2000, 0, count});
        ExpectFault(0x030D, {0x2000, 0x3000, count});
    }
    EXPECT_EQ(Call(0x030A, {0xFFFFFFFF, 0xFFFFFFFF, 0}), kResultBefore);
    EXPECT_EQ(Call(0x030B, {0xFFFFFFFF, 0xFFFFFFFF, 0}), kResultBefore);
    EXPECT_EQ(Call(0x030C, {0xFFFFFFFF, 0, 0}), kResultBefore);
    EXPECT_EQ(Call(0x030D, {0xFFFFFFFF, 0xFFFFFFFF, 0}), 0u);
}

TEST_F(TextGroup, ByteRangesAreCheckedWhole) {
    Put(kImageSize - 4, "1234");
    ExpectFault(0x030A, {kImageSize - 4, 0x2000, 5});
    ExpectFault(0x030B, {0x2000, kImageSize - 4, 5});
    ExpectFault(0x030C, {kImageSize - 4, 0, 5});
    EXPECT_EQ(BytesAt(kImageSize - 4, 4), "1234");
    EXPECT_EQ(Call(0x030C, {kImageSize - 4, 'x', 4}), kResultBefore);
}

// --- Debug print and the rest

TEST_F(TextGroup, DebugPrintGoesToTheSystemLogAsItStands) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(Call(0x030E, {Text("50% %s\\\nend")}), kResultBefore);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "log: 50% %s\\\\\\nend\n");
}

TEST_F(TextGroup, OtherSubCommandsAreUnknown) {
    for (const u32 sub : {6u, 7u, 8u, 9u, 15u, 16u, 255u}) {
        EXPECT_EQ(Call(0x0300 + sub, {}), kResultBefore);
    }
    EXPECT_EQ(fatalMessages,
              std::vector<std::string>(7, "Unknown SYS command at 0x0000ABCD. Ack!"));
}

}  // namespace

}  // namespace moxi
