// What the debugger shows and changes: registers, memory, instructions, the heap, bitmaps, the
// queue, names. Addresses and values are worked out by hand from the instructions' lengths.

#include <gtest/gtest.h>

#include <filesystem>

#include "base/log.h"
#include "tests/kit/debugged.h"
#include "tests/support/picture.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

TEST(Debugger, RegistersAreShownAndSet) {
    const Debugged game(kTicking);
    EXPECT_EQ(
        game.Talk("u 0x21C\nr\nset R3 = -5\nset.q r4 = 0x123456789ABCDEF0\nset.d R5 = 1.5\n"
                  "r R3\nr R5\nset flags = 5\nset pc = 0x244\nset SP = SP - 16\nr\np R4\n"
                  "set.w R4 = 0x1111\np R4\ns\n"),
        "(moxi) u 0x21C\n=> 0000021C <start+28>  PUSH.L   #3\n"
        "(moxi) r\n"
        "R0  0000000000000000  R1  0000000000000000  R2  0000000000000000  R3  0000000000000000\n"
        "R4  0000000000000000  R5  0000000000000000  R6  0000000000000000  R7  0000000000000000\n"
        "R8  0000000000000000  R9  0000000000000000  R10 0000000000000000  R11 0000000000000000\n"
        "R12 000000000000000B  R13 0000000000000000  R14 0000000000000000  R15 0000000000000000\n"
        "PC  0000021C <start+28>  SP  00001240  FP  00001250  flags  Z\n"
        "(moxi) set R3 = -5\n"
        "(moxi) set.q r4 = 0x123456789ABCDEF0\n"
        "(moxi) set.d R5 = 1.5\n"
        "(moxi) r R3\n"
        "R3 = 0x00000000FFFFFFFB\n"
        "quad 4294967291, long -5, word -5, byte -5\n"
        "double 2.1219957884949441e-314, float -nan\n"
        "(moxi) r R5\n"
        "R5 = 0x3FF8000000000000\n"
        "quad 4609434218613702656, long 0, word 0, byte 0\n"
        "double 1.5, float 0\n"
        "(moxi) set flags = 5\n"
        "(moxi) set pc = 0x244\n"
        "(moxi) set SP = SP - 16\n"
        "(moxi) r\n"
        "R0  0000000000000000  R1  0000000000000000  R2  0000000000000000  R3  00000000FFFFFFFB\n"
        "R4  123456789ABCDEF0  R5  3FF8000000000000  R6  0000000000000000  R7  0000000000000000\n"
        "R8  0000000000000000  R9  0000000000000000  R10 0000000000000000  R11 0000000000000000\n"
        "R12 000000000000000B  R13 0000000000000000  R14 0000000000000000  R15 0000000000000000\n"
        "PC  00000244 <start@done>  SP  00001230  FP  00001250  flags  ON\n"
        "(moxi) p R4\n-1698898192 = 0x9ABCDEF0\n"
        "(moxi) set.w R4 = 0x1111\n"
        "(moxi) p R4\n-1698950895 = 0x9ABC1111\n"
        // The RETURN that has been chosen is executed in place of the PUSH.
        "(moxi) s\nmessage 11 MSG_TICK: 0x0, 0x0, 0x0\n"
        "=> 00000200 <start>  LINK     0, 2\n" +
            std::string(kEndOfTalk));
}

TEST(Debugger, MemoryIsShownInEverySizeAndSet) {
    const Debugged game(R"(
        .stack 4096
        .heap 4096
start:  RETURN 0
        .data
data:   .byte 0x41, 0x42, 0xFF, 0
        .long 0x12345678
        .quad 0x1122334455667788
        .float 0.5
        .double -2.25
text:   .asciz "a\"b\\c\n\x01z"
)");
    // Data begins at 0x208: 4, 4, 8, 4 and 8 bytes, then the text.
    EXPECT_EQ(
        game.Talk("m.b data 8\nm.w data, 3\nm data+4 1\nm.l data 5\nm.q data+8 1\n"
                  "m.f data+16 1\nm.d data+20 1\nx text\nx text+9\n"
                  "set.b [data] = 'Z', -1, 0x80\nm.b data 3\nset.w [data+4] = 0xFFFF\n"
                  "m data+4 1\nset.f [data+16] = -1.5\nm.f data+16 1\n"
                  "set [text] = 0x44434241, 0\nx text\np [data].b\np [data+2].W\np ['a'-0x59]\n"),
        "(moxi) m.b data 8\n"
        "00000208  41 42 FF 00 78 56 34 12                          AB..xV4.\n"
        "(moxi) m.w data, 3\n00000208  4241 00FF 5678\n"
        "(moxi) m data+4 1\n0000020C  12345678\n"
        "(moxi) m.l data 5\n00000208  00FF4241 12345678 55667788 11223344\n"
        "00000218  3F000000\n"
        "(moxi) m.q data+8 1\n00000210  1122334455667788\n"
        "(moxi) m.f data+16 1\n00000218  0.5\n"
        "(moxi) m.d data+20 1\n0000021C  -2.25\n"
        "(moxi) x text\n\"a\\\"b\\\\c\\n\\x01z\", 8 bytes\n"
        "(moxi) x text+9\n\"\", 0 bytes\n"
        "(moxi) set.b [data] = 'Z', -1, 0x80\n"
        "(moxi) m.b data 3\n"
        "00000208  5A FF 80                                         Z..\n"
        "(moxi) set.w [data+4] = 0xFFFF\n"
        "(moxi) m data+4 1\n0000020C  1234FFFF\n"
        "(moxi) set.f [data+16] = -1.5\n"
        "(moxi) m.f data+16 1\n00000218  -1.5\n"
        "(moxi) set [text] = 0x44434241, 0\n"
        "(moxi) x text\n\"ABCD\", 4 bytes\n"
        "(moxi) p [data].b\n90 = 0x0000005A\n"
        "(moxi) p [data+2].W\n128 = 0x00000080\n"
        // 'a' is 0x61: the LONG at 8, R0.
        "(moxi) p ['a'-0x59]\n0 = 0x00000000\n" +
            std::string(kEndOfTalk));
}

TEST(Debugger, PlacesOutsideTheImageAreSaid) {
    // Nothing but 8 bytes of code, a stack of 4096 and a heap of 4096: the image ends at 0x2204.
    const Debugged game("        .stack 4096\n        .heap 4096\nstart:  RETURN 0\n");
    EXPECT_EQ(
        game.Talk("m 0x21FC\nm.b 0x2204\nm 0xFFFFFFFC\nx 0xFFFFFFFF\np [0x2201]\n"
                  "p [0x2200]\nset [0x2200] = 1, 2\nset [-4] = 1\nb 0x2204\nwatch 0x2201\n"
                  "u 0xF0000000\na 0x21FC 3\na 0x3000\nset.b [0x21F8] = 1,1,1,1,1,1,1,1,1,1,1,1\n"
                  "x 0x21F8\n"),
        "(moxi) m 0x21FC\n000021FC  00000000 00000000\n0x00002204 is outside the image\n"
        "(moxi) m.b 0x2204\n0x00002204 is outside the image\n"
        "(moxi) m 0xFFFFFFFC\n0xFFFFFFFC is outside the image\n"
        "(moxi) x 0xFFFFFFFF\nthe text at 0xFFFFFFFF has no end inside the image\n"
        "(moxi) p [0x2201]\n0x00002201 is outside the image\n"
        "(moxi) p [0x2200]\n0 = 0x00000000\n"
        "(moxi) set [0x2200] = 1, 2\n0x00002204 is outside the image\n"
        "(moxi) set [-4] = 1\n0xFFFFFFFC is outside the image\n"
        "(moxi) b 0x2204\n0x00002204 is outside the image\n"
        "(moxi) watch 0x2201\n0x00002201 is outside the image\n"
        "(moxi) u 0xF0000000\n0xF0000000 is outside the image\n"
        "(moxi) a 0x21FC 3\n   000021FC  TBEQ.B   R0, 0x0\n"
        "   00002204  ; outside the image\n"
        "(moxi) a 0x3000\n   00003000  ; outside the image\n"
        "(moxi) set.b [0x21F8] = 1,1,1,1,1,1,1,1,1,1,1,1\n"
        "(moxi) x 0x21F8\nthe text at 0x000021F8 has no end inside the image\n" +
            std::string(kEndOfTalk));
}

TEST(Debugger, DisassemblesWithNamesAndMarksTheNextInstructionAndBreakpoints) {
    const Debugged game(kTicking);
    EXPECT_EQ(game.Talk("b add\na start 11\na add 2\ns\na PC 2\na\n"),
              "(moxi) b add\nbreakpoint 1: at 00000248 <add>\n"
              "(moxi) a start 11\n"
              "start:\n"
              "=> 00000200  LINK     0, 2\n"
              "   00000204  MOVE.B   [HDR_RESULT], #1\n"
              "   0000020C  MOVE.L   R12, [FP+12]\n"
              "   00000210  CMP.L    R12, #11\n"
              "   00000218  BNE      start@done\n"
              "   0000021C  PUSH.L   #3\n"
              "   00000220  PUSH.L   [ticks]\n"
              "   00000228  CALL     add, 8\n"
              "   00000230  MOVE.L   [ticks], R13\n"
              "   00000238  MOVE.L   R15, #block\n"
              "   00000240  SYS\n"
              "(moxi) a add 2\n"
              "add:\n"
              " * 00000248  LINK     8, 0\n"
              "   0000024C  MOVE.L   R13, [FP+12]\n"
              "(moxi) s\n=> 00000204 <start+4>  MOVE.B   [HDR_RESULT], #1\n"
              "(moxi) a PC 2\n"
              "=> 00000204  MOVE.B   [HDR_RESULT], #1\n"
              "   0000020C  MOVE.L   R12, [FP+12]\n"
              // Ten without a count.
              "(moxi) a\n"
              "=> 00000204  MOVE.B   [HDR_RESULT], #1\n"
              "   0000020C  MOVE.L   R12, [FP+12]\n"
              "   00000210  CMP.L    R12, #11\n"
              "   00000218  BNE      start@done\n"
              "   0000021C  PUSH.L   #3\n"
              "   00000220  PUSH.L   [ticks]\n"
              "   00000228  CALL     add, 8\n"
              "   00000230  MOVE.L   [ticks], R13\n"
              "   00000238  MOVE.L   R15, #block\n"
              "   00000240  SYS\n" +
                  std::string(kEndOfTalk));
}

TEST(Debugger, TheTraceEndsWithTheInstructionExecutedLast) {
    const Debugged game(kTicking);
    EXPECT_EQ(game.Talk("t\nu add\nt 3\nt 1\n"),
              "(moxi) t\nnothing has been executed\n"
              "(moxi) u add\n=> 00000248 <add>  LINK     8, 0\n"
              "(moxi) t 3\n0000021C <start+28>  PUSH.L   #3\n"
              "00000220 <start+32>  PUSH.L   [ticks]\n"
              "00000228 <start+40>  CALL     add, 8\n"
              "(moxi) t 1\n00000228 <start+40>  CALL     add, 8\n" +
                  std::string(kEndOfTalk));
}

// Makes three blocks of 100, 40 and 24 bytes, locks the second twice and frees the third; then a
// bitmap of 3 x 2, whose pixels take the place of the freed block.
constexpr const char* kHeapAndBitmap = R"(
        .stack  4096
        .heap   65536
        .macro  SERVICE command, bytes
        PUSH.L  #\command
        CALL    service, (\bytes) + 4
        .endm
start:  LINK    0, 0
        PUSH.L  #100
        SERVICE 0x0900, 4
        MOVE.L  [handles], R14
        PUSH.L  #40
        SERVICE 0x0900, 4
        MOVE.L  [handles+4], R14
        PUSH.L  #24
        SERVICE 0x0900, 4
        MOVE.L  [handles+8], R14
        PUSH.L  R14
        SERVICE 0x0901, 4
        MOVE.L  [lock+4], [handles+4]
        MOVE.L  R15, #lock
        SYS
        SYS
        PUSH.L  #2
        PUSH.L  #3
        SERVICE 0x0513, 8
        MOVE.L  [bitmap], R14
full:   NOP
        STOP
service:
        LINK    0, 0
        LEA.L   R15, [FP+12]
        SYS
        RETURN  0
        .data
lock:   .long   0x0902, 0
        .bss
handles: .space 12
bitmap: .space 4
)";

TEST(Debugger, ListsTheBlocksOfTheHeap) {
    const Debugged game(kHeapAndBitmap);
    const u32 heap = SymbolValue(game.assembled, "bitmap") + 4 + 4096;
    const std::string talk = game.Talk("u full\nheap\nheap 2\nheap 9\nheap 0x10000\nheap all\n");
    char first[64];
    std::snprintf(first, sizeof first, "heap %8.8X, 65536 bytes, ", heap);
    EXPECT_NE(talk.find(first), std::string::npos) << talk;
    // Block 0 belongs to the host. The record of the bitmap has 32 bytes, its pixels 24.
    EXPECT_NE(talk.find(", 200 of them handed out so far\n"
                        "allocated      4 blocks, 160 bytes\n"
                        "locked         1 block, 40 bytes\n"
                        "freed          0 blocks, 0 bytes\n"
                        "unused     65531 handles\n"),
              std::string::npos)
        << talk;
    const auto row = [heap](u32 handle, u32 offset, u32 bytes, const char* state) {
        return FormatText("%6u  %8.8X  %10u  %10u  ", handle, heap + offset, bytes, bytes) + state;
    };
    const std::string head = "handle   address       bytes       asked\n";
    // The frame of the message has 24 bytes, FP follows, and a lock lasts for 20 bytes more than
    // SP.
    const std::string locked =
        FormatText("locked, 2 locks until SP is above 0x%8.8X\n", heap - 28 + 20);
    const std::string rows = head + row(0, 0, 4, "allocated\n") + row(1, 4, 100, "allocated\n") +
                             row(2, 104, 40, locked.c_str()) + row(3, 144, 24, "allocated\n") +
                             row(4, 168, 32, "allocated\n");
    EXPECT_NE(talk.find(rows + "(moxi) heap 2\n"), std::string::npos) << talk;
    EXPECT_NE(talk.find("(moxi) heap 2\n" + head + row(2, 104, 40, locked.c_str())),
              std::string::npos);
    EXPECT_NE(talk.find("(moxi) heap 9\n0x9 is no handle of a block\n"), std::string::npos);
    EXPECT_NE(talk.find("(moxi) heap 0x10000\n0x10000 is no handle of a block\n"),
              std::string::npos);
    EXPECT_TRUE(talk.ends_with(rows + kEndOfTalk));
}

TEST(Debugger, ListsBitmapsAndWritesThemAsPng) {
    const Debugged game(kHeapAndBitmap);
    const u32 pixels = SymbolValue(game.assembled, "bitmap") + 4 + 4096 + 144;
    const std::string fill =
        FormatText("set [0x%X] = 0x80010203, 2, 3, 4, 5, 0xFFC0B0A0\n", pixels);
    const std::string talk = game.Talk(
        "u full\n" + fill +
            "bitmaps\nbitmaps 4\nbitmaps 1\nbitmaps 0xFFFFFFFF\nsave [bitmap] two words.png\n"
            "save 0 screen.png\nsave 0xFFFFFFFE text.png\nsave 1 one.png\nsave 0\n"
            "save 0 no/such/folder.png\n",
        {"--desktop", "40x30"});
    const std::string row =
        FormatText("         4  3 x 2, stride 12, clip 0, 0, 3 x 2, pixels 3 at 0x%8.8X\n", pixels);
    EXPECT_EQ(talk.substr(talk.find("(moxi) bitmaps")),
              "(moxi) bitmaps\n"
              "         0  40 x 30, stride 160, clip 0, 0, 40 x 30, the screen\n"
              "0xFFFFFFFE  40 x 256, stride 160, clip 0, 0, 40 x 256, the text bitmap\n" +
                  row + "(moxi) bitmaps 4\n" + row + "(moxi) bitmaps 1\n" +
                  FormatText("         1  0 x 0, stride 0, clip 0, 0, 0 x 0, pixels 0 at 0x%8.8X\n",
                             pixels - 144) +
                  "the record may be none of a bitmap\n"
                  "(moxi) bitmaps 0xFFFFFFFF\n0xFFFFFFFF is no bitmap\n"
                  "(moxi) save [bitmap] two words.png\ntwo words.png: 3 x 2\n"
                  "(moxi) save 0 screen.png\nscreen.png: 40 x 30\n"
                  "(moxi) save 0xFFFFFFFE text.png\ntext.png: 40 x 256\n"
                  "(moxi) save 1 one.png\nbitmap 0x1: 0 x 0 with stride 0 is no picture\n"
                  "(moxi) save 0\nthe name of a file is missing\n"
                  "(moxi) save 0 no/such/folder.png\nno/such/folder.png: cannot be written\n" +
                  kEndOfTalk);
    const std::string file = game.folder.path + "/two words.png";
    const Picture picture = ReadPicture(file);
    ASSERT_EQ(picture.width, 3u);
    ASSERT_EQ(picture.height, 2u);
    EXPECT_EQ(picture.At(0, 0), 0x030201u);
    EXPECT_EQ(picture.At(1, 0), 0x020000u);
    EXPECT_EQ(picture.At(2, 1), 0xA0B0C0u);
    // Truecolour with alpha.
    EXPECT_EQ(ReadTextFile(file).at(25), 6);
}

TEST(Debugger, ListsTheMessagesThatWait) {
    // With a timer of the module's own, messages wait for the host's tick.
    const Debugged game(R"(
        .stack 4096
        .heap 4096
start:  LINK 0, 0
        MOVE.B [HDR_RESULT], #1
        MOVE.L R15, #timer
        MOVE.L R0, [FP+12]
        SUB.L R0, #1
        BNE @done
        SYS
@done:  RETURN 0
        .data
timer:  .long 0x0200, 30000
)");
    WriteTextFile(game.folder.path + "/events",
                  "101 post 100 1 2 3\n101 post 11 0xFFFFFFFF 0 0\n101 post 12 65 1 0\n");
    EXPECT_EQ(game.Talk("queue\nb message 100\nc\nqueue\nb message 12\nc\nqueue\n",
                        {"--script", "events"}),
              "(moxi) queue\n0 messages wait\n"
              "(moxi) b message 100\nbreakpoint 1: message 100\n"
              "(moxi) c\nbreakpoint 1\nmessage 100: 0x1, 0x2, 0x3\n"
              "=> 00000200 <start>  LINK     0, 0\n"
              "(moxi) queue\n2 messages wait\n"
              "message 11 MSG_TICK: 0xFFFFFFFF, 0x0, 0x0\n"
              "message 12 MSG_DOWN: 0x41, 0x1, 0x0\n"
              "(moxi) b message 12\nbreakpoint 2: message 12 MSG_DOWN\n"
              "(moxi) c\nbreakpoint 2\nmessage 12 MSG_DOWN: 0x41, 0x1, 0x0\n"
              "=> 00000200 <start>  LINK     0, 0\n"
              "(moxi) queue\n0 messages wait\n" +
                  std::string(kEndOfTalk));
}

TEST(Debugger, WithoutASymbolFileEverythingWorksByAddress) {
    const Debugged game(kTicking, false);
    const ProgramResult result = game.Run("b 0x248\nc\nk\na 0x240 2\np [0x268]\nsymbols\nb add\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output,
              "The module stands before its first instruction; help lists the commands.\n"
              "there is no MAIN.SYM beside the module\n"
              "message 1 MSG_START1: 0x0, 0x0, 0x0\n"
              "=> 00000200  LINK     0, 2\n"
              "(moxi) b 0x248\nbreakpoint 1: at 00000248\n"
              "(moxi) c\nbreakpoint 1\n=> 00000248  LINK     8, 0\n"
              "(moxi) k\n"
              "#0  00000248, returns to 00000230\n"
              "    8 bytes of arguments: 0x0 0x3\n"
              "#1  00000230  FP=0x00001250\n"
              "    message 11 MSG_TICK: 0x0, 0x0, 0x0\n"
              "(moxi) a 0x240 2\n   00000240  SYS\n   00000244  RETURN   2\n"
              "(moxi) p [0x268]\n0 = 0x00000000\n"
              "(moxi) symbols\n0 symbols\n"
              "(moxi) b add\nthere is no name 'add'\n"
              "the run ends with status 0\n");
}

TEST(Debugger, ACorruptSymbolFileIsSaidAndLeavesTheNamesAsTheyWere) {
    const Debugged game(kTicking);
    WriteTextFile(game.folder.path + "/bad.sym", "00000200 code start\nwhat\n");
    EXPECT_EQ(game.Talk("symbols bad.sym\nsymbols none.sym\nsymbols .\nsymbols\n"),
              "(moxi) symbols bad.sym\nbad.sym: line 2 is no line of a symbol file\n"
              "(moxi) symbols none.sym\nnone.sym: no such file\n"
              "(moxi) symbols .\n.: is a folder\n"
              "(moxi) symbols\n7 symbols\n" +
                  std::string(kEndOfTalk));
    WriteTextFile(game.folder.path + "/other.sym", "00000200 code here\n");
    EXPECT_EQ(game.Talk("symbols other.sym\nwhere\n"),
              "(moxi) symbols other.sym\n1 symbols\n"
              "(moxi) where\nmessage 1 MSG_START1: 0x0, 0x0, 0x0\n"
              "=> 00000200 <here>  LINK     0, 2\n" +
                  std::string(kEndOfTalk));
    WriteTextFile(game.game + "/MAIN.SYM", std::string("\xFF\0\x01 random \n bytes", 16));
    const ProgramResult result = game.Run("s\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("/MAIN.SYM: line 1 is no line of a symbol file\n"),
              std::string::npos)
        << result.output;
}

TEST(Debugger, SymbolsLieBesideTheModuleThatIsLoaded) {
    const Debugged game(kTicking);
    fs::create_directories(game.folder.path + "/data");
    fs::copy(game.game + "/MAIN.MX", game.folder.path + "/data/MAIN.MX");
    EXPECT_NE(game.Run("s\n").output.find("\nthere is no MAIN.SYM beside the module\n"),
              std::string::npos);
}

}  // namespace

}  // namespace moxi
