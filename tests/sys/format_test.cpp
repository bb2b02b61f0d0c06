// The one-value formatter against values worked out by hand and against the C library.

#include "sys/format.h"

#include <cstdarg>

#include "service_fixture.h"

namespace moxi {

namespace {

using Kind = FormatValue::Kind;

std::string Format32(const char* format, u32 value) {
    const FormatValue number = {Kind::Number32, value};
    std::string text = FormatOneValue(format, number);
    EXPECT_EQ(FormattedLength(format, number), text.size());
    return text;
}

std::string Format64(const char* format, u64 value) {
    return FormatOneValue(format, {Kind::Number64, value});
}

class Format : public ServiceTest {
  protected:
    std::string FormatText(const char* format, std::string_view value) {
        const FormatValue text = {Kind::Text, Text(value)};
        EXPECT_EQ(FormattedLength(format, text), FormatOneValue(format, text).size());
        return FormatOneValue(format, text);
    }
};

TEST_F(Format, NumbersOf32Bits) {
    EXPECT_EQ(Format32("%d", 0xFFFFFFFF), "-1");
    EXPECT_EQ(Format32("%i", 0x80000000), "-2147483648");
    EXPECT_EQ(Format32("%u", 0xFFFFFFFF), "4294967295");
    EXPECT_EQ(Format32("%o", 8), "10");
    EXPECT_EQ(Format32("%x", 0xABCDEF), "abcdef");
    EXPECT_EQ(Format32("%X", 0xABCDEF), "ABCDEF");
    EXPECT_EQ(Format32("0x%8.8X", 0x1F), "0x0000001F");
    EXPECT_EQ(Format32("%c%%", 'A'), "A%");
    EXPECT_EQ(Format32("%c", 0x141), "A");
}

TEST_F(Format, NumbersOf64Bits) {
    EXPECT_EQ(Format64("%lld", 0xFFFFFFFFFFFFFFFF), "-1");
    EXPECT_EQ(Format64("%lld", 0x8000000000000000), "-9223372036854775808");
    EXPECT_EQ(Format64("%llu", 0xFFFFFFFFFFFFFFFF), "18446744073709551615");
    EXPECT_EQ(Format64("%llx", 0x0123456789ABCDEF), "123456789abcdef");
    EXPECT_EQ(Format64("%llo", 0xFFFFFFFFFFFFFFFF), "1777777777777777777777");
    EXPECT_EQ(Format64("%lX", 0xFFFFFFFFFF), "FFFFFFFFFF");
    EXPECT_EQ(Format64("%jd", 0xFFFFFFFFFFFFFFFE), "-2");
    EXPECT_EQ(Format64("%zu", 1), "1");
    EXPECT_EQ(Format64("%td", 2), "2");
}

TEST_F(Format, LengthModifiersCutTheNumber) {
    EXPECT_EQ(Format32("%hhd", 0x1FF), "-1");
    EXPECT_EQ(Format32("%hhu", 0x1FF), "255");
    EXPECT_EQ(Format32("%hd", 0x18000), "-32768");
    EXPECT_EQ(Format32("%hx", 0x12345), "2345");
    EXPECT_EQ(Format64("%d", 0x1FFFFFFFF), "-1");
    EXPECT_EQ(Format64("%hhu", 0x1FF), "255");
}

TEST_F(Format, LongConversionsOfAShortNumberExtendIt) {
    EXPECT_EQ(Format32("%ld", 0xFFFFFFFF), "-1");
    EXPECT_EQ(Format32("%lld", 0xFFFFFFFF), "-1");
    EXPECT_EQ(Format32("%lu", 0xFFFFFFFF), "4294967295");
    EXPECT_EQ(Format32("%llx", 0xFFFFFFFF), "ffffffff");
}

TEST_F(Format, FlagsWidthAndPrecision) {
    EXPECT_EQ(Format32("%5d|", 42), "   42|");
    EXPECT_EQ(Format32("%-5d|", 42), "42   |");
    EXPECT_EQ(Format32("%05d|", static_cast<u32>(-42)), "-0042|");
    EXPECT_EQ(Format32("%+d", 42), "+42");
    EXPECT_EQ(Format32("% d", 42), " 42");
    EXPECT_EQ(Format32("%#x", 255), "0xff");
    EXPECT_EQ(Format32("%#X", 255), "0XFF");
    EXPECT_EQ(Format32("%#o", 8), "010");
    EXPECT_EQ(Format32("%#x", 0), "0");
    EXPECT_EQ(Format32("%.0d|", 0), "|");
    EXPECT_EQ(Format32("%#.0o", 0), "0");
    EXPECT_EQ(Format32("%08.3d|", 7), "     007|");
    EXPECT_EQ(Format32("%3c|", 'x'), "  x|");
    EXPECT_EQ(Format32("%-3c|", 'x'), "x  |");
}

TEST_F(Format, Texts) {
    EXPECT_EQ(FormatText("%s", "abc"), "abc");
    EXPECT_EQ(FormatText("<%5s>", "abc"), "<  abc>");
    EXPECT_EQ(FormatText("<%-5s>", "abc"), "<abc  >");
    EXPECT_EQ(FormatText("<%.2s>", "abc"), "<ab>");
    EXPECT_EQ(FormatText("<%5.1s>", "abc"), "<    a>");
    EXPECT_EQ(FormatText("<%.s>", "abc"), "<>");
}

TEST_F(Format, AFormatWithoutAConversionIsItsText) {
    EXPECT_EQ(Format32("plain", 1), "plain");
    EXPECT_EQ(Format32("", 1), "");
    EXPECT_EQ(Format32("100%%", 1), "100%");
}

TEST_F(Format, OnlyTheFirstFittingConversionTakesTheValue) {
    EXPECT_EQ(Format32("%d %d %x", 5), "5 %d %x");
    EXPECT_EQ(Format32("%s %d", 5), "%s 5");
    EXPECT_EQ(FormatText("%d %s %s", "abc"), "%d abc %s");
    EXPECT_EQ(Format32("%n%d%n", 5), "%n5%n");
}

TEST_F(Format, ConversionsOfAnotherKindStandAsTheyStand) {
    for (const char* const format :
         {"%s",           "%n",   "%p",  "%f",  "%5.2f", "%e",    "%G",    "%a",
          "%Lf",          "%lln", "%hn", "%m",  "%*d",   "%.*d",  "%*.*d", "%-*d",
          "%lc",          "%ls",  "%C",  "%S",  "%1$d",  "%y",    "%",     "%-",
          "%5",           "%.",   "%l",  "%5%", "%Ld",   "%hhhd", "%llld", "%99999999999d",
          "%.2147483648d"}) {
        EXPECT_EQ(Format32(format, 5), format);
        EXPECT_EQ(Format64(format, 5), format);
    }
    for (const char* const format : {"%d", "%n", "%p", "%c", "%hs", "%ls", "%*s", "%.*s", "%x"}) {
        EXPECT_EQ(FormatText(format, "abc"), format);
    }
}

TEST_F(Format, AnEnormousWidthIsCountedWithoutMemory) {
    const FormatValue number = {Kind::Number32, 7};
    EXPECT_EQ(FormattedLength("%2147483647d", number), 2147483647u);
    EXPECT_EQ(FormattedLength("%.2147483647d", number), 2147483647u);
}

TEST_F(Format, ATextIsTouchedOnlyAsFarAsItsPrecision) {
    Put(kImageSize - 3, "abc");
    const FormatValue text = {Kind::Text, kImageSize - 3};
    EXPECT_EQ(FormatOneValue("%.3s", text), "abc");
    EXPECT_EQ(FormatOneValue("%.0s", {Kind::Text, 0xFFFFFFFF}), "");
    EXPECT_EQ(FormatOneValue("%d", {Kind::Text, 0xFFFFFFFF}), "%d") << "nothing is touched";
    EXPECT_THROW(FormatOneValue("%.4s", text), ProcessEnded);
    EXPECT_THROW(FormatOneValue("%s", text), ProcessEnded);
    EXPECT_THROW(FormatOneValue("%s", {Kind::Text, kImageSize}), ProcessEnded);
}

// The C library's answer. The format is one that the tests below make.
std::string CLibrary(const char* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

TEST_F(Format, AgreesWithTheCLibraryForEveryCombination) {
    const char* const flags[] = {"",   "-",  "+",  " ",  "#",  "0",  "-+",
                                 "+0", " 0", "#0", "-#", "+ ", "-0", "0-+ #"};
    const char* const widths[] = {"", "1", "3", "12", "40"};
    const char* const precisions[] = {"", ".", ".0", ".1", ".5", ".20"};
    const u64 values[] = {0,
                          1,
                          7,
                          8,
                          255,
                          0x7FFFFFFF,
                          0x80000000,
                          0xFFFFFFFF,
                          0xFFFFFFFFFFFFFFFF,
                          0x8000000000000000,
                          0x123456789ABCDEF0};
    u32 compared = 0;
    for (const char* flag : flags) {
        for (const char* width : widths) {
            for (const char* precision : precisions) {
                for (const char* modifier : {"", "hh", "h", "l", "ll", "j", "z", "t"}) {
                    for (const char type : {'d', 'i', 'u', 'o', 'x', 'X'}) {
                        const std::string format =
                            std::string("<%") + flag + width + precision + modifier + type + ">";
                        const bool isLong = modifier[0] != 0 && modifier[0] != 'h';
                        for (const u64 value : values) {
                            if (isLong) {
                                ASSERT_EQ(Format64(format.c_str(), value),
                                          CLibrary(format.c_str(), value))
                                    << format << " " << value;
                            } else {
                                ASSERT_EQ(Format32(format.c_str(), static_cast<u32>(value)),
                                          CLibrary(format.c_str(), static_cast<u32>(value)))
                                    << format << " " << value;
                            }
                            ++compared;
                        }
                    }
                }
                const std::string format = std::string("<%") + flag + width + precision + "s>";
                ASSERT_EQ(FormatText(format.c_str(), "abcdef"), CLibrary(format.c_str(), "abcdef"))
                    << format;
                nextRoom = 0x2000;
            }
            const std::string format = std::string("<%") + flag + width + "c>";
            ASSERT_EQ(Format32(format.c_str(), 'x'), CLibrary(format.c_str(), 'x')) << format;
        }
    }
    EXPECT_EQ(compared, 14u * 5 * 6 * 8 * 6 * 11);
}

}  // namespace

}  // namespace moxi
