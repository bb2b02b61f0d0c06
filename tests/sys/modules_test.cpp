// The corner cases of the services as a module meets them: through its own SYS instructions, in the
// real program.

#include <gtest/gtest.h>

#include "tests/support/calling_module.h"

namespace moxi {

namespace {

constexpr u32 kUntouched = CallingModule::kUntouched;
constexpr u32 kMinusOne = 0xFFFFFFFF;
using Strings = std::vector<std::string>;

// --- Dispatch

TEST(ServiceModules, GroupsOneAndFourLeaveR14Alone) {
    CallingModule module;
    const u32 first = module.Call(0x0100);
    const u32 second = module.Call(0x04FF);
    module.Run();
    EXPECT_EQ(module.Of(first), kUntouched);
    EXPECT_EQ(module.Of(second), kUntouched);
    EXPECT_EQ(module.result.Fatals(), Strings{});
}

TEST(ServiceModules, Command0A00NamesTheAddressOfTheSysInstruction) {
    CallingModule module;
    module.Call(0x0A00);
    module.Run();
    char text[64];
    std::snprintf(text, sizeof text, "Unknown SYS command at 0x%8.8X. Ack!",
                  module.result.Label("sys0"));
    EXPECT_EQ(module.result.Fatals(), Strings{text});
    EXPECT_EQ(std::string(text).substr(0, 30), "Unknown SYS command at 0x00000");
    EXPECT_EQ(module.Of(0), kUntouched);
}

TEST(ServiceModules, Command0307IsUnknownAlthoughLaterOnesAreValid) {
    CallingModule module;
    module.Call(0x0307);
    module.Run();
    EXPECT_EQ(module.result.Fatals().size(), 1u);
    EXPECT_EQ(module.Of(0), kUntouched);
}

TEST(ServiceModules, Command0203IsIgnoredSilently) {
    CallingModule module;
    module.Call(0x0203);
    module.Run();
    EXPECT_EQ(module.result.Fatals(), Strings{});
    EXPECT_EQ(module.Of(0), kUntouched);
}

TEST(ServiceModules, AnUnalignedParameterBlockWorks) {
    CallingModule module;
    module.Call(SYS_LENGTH, {module.Text("abc")});
    module.Run();
    EXPECT_EQ(module.result.Label("block0") % 4, 1u);
    EXPECT_EQ(module.Of(0), 3u);
}

// --- Text

TEST(ServiceModules, MinusOneIsAppendedToScore) {
    CallingModule module;
    const std::string text = module.Room(40);
    module.Call(SYS_COPY_STRING, {text, module.Text("Score: ")});
    const u32 append = module.Call(SYS_APPEND_FORMAT, {text, module.Text("%d"), "4", "0xFFFFFFFF"});
    module.Run();
    EXPECT_EQ(module.Of(append), 2u);
    EXPECT_EQ(module.result.TextAt(text), "Score: -1");
}

TEST(ServiceModules, AStringIsAppendedByFormat) {
    CallingModule module;
    const std::string text = module.Room(40);
    module.Call(SYS_APPEND_FORMAT, {text, module.Text("%s"), "1", module.Text("abc")});
    module.Run();
    EXPECT_EQ(module.Of(0), 3u);
    EXPECT_EQ(module.result.TextAt(text), "abc");
}

TEST(ServiceModules, CopyStringWithEqualAddressesLeavesTheStringAsItIs) {
    CallingModule module;
    const std::string text = module.Text("as it is");
    module.Call(SYS_COPY_STRING, {text, text});
    module.Run();
    EXPECT_EQ(module.result.TextAt(text), "as it is");
}

TEST(ServiceModules, FillBytesWith141FillsWith41) {
    CallingModule module;
    const std::string room = module.Room(8);
    module.Call(SYS_FILL_BYTES, {room, "0x141", "5"});
    module.Run();
    EXPECT_EQ(module.result.TextAt(room), "AAAAA");
}

TEST(ServiceModules, UpperCasingSharpSMakesTheStringLonger) {
    CallingModule module;
    const std::string room = module.Room(40);
    module.Call(SYS_COPY_STRING, {room, module.Text("stra\xC3\x9F"
                                                    "e \xEF\xAC\x81 \xCF\x82 \xC4\xB1")});
    module.Call(SYS_UPPER_CASE, {room});
    const u32 length = module.Call(SYS_LENGTH, {room});
    module.run.options = {};
    module.Run();
    EXPECT_EQ(module.result.TextAt(room), "STRASSE FI \xCE\xA3 I");
    EXPECT_EQ(module.Of(length), 15u);
}

// --- Files

TEST(ServiceModules, ReadOnlyOpenPrefersTheDataFolder) {
    CallingModule module;
    module.run.data["A"] = "data";
    module.run.resources["A"] = "resources";
    const u32 open = module.Call(SYS_FILE_OPEN, {module.Text("A"), "0x8000"});
    const std::string buffer = module.Room(20);
    const u32 read = module.Call(SYS_FILE_READ, {CallingModule::Result(open), buffer, "20"});
    module.Run();
    EXPECT_EQ(module.Of(open), 0u);
    EXPECT_EQ(module.Of(read), 4u);
    EXPECT_EQ(module.result.TextAt(buffer), "data");
}

TEST(ServiceModules, UpdateOfAShippedFileFailsAfterMakingItsFolders) {
    CallingModule module;
    module.run.resources["S/T/A"] = "resources";
    const u32 open = module.Call(SYS_FILE_OPEN, {module.Text("S/T/A"), "0x8002"});
    // The folder exists now: a file can be made in it, and it is a folder that a find reports.
    const std::string attribute = module.Room(4);
    const u32 find =
        module.Call(SYS_FIND_FIRST, {module.Text("S/*"), module.Room(100), attribute, "0"});
    module.Run();
    EXPECT_EQ(module.Of(open), kMinusOne);
    EXPECT_EQ(module.Of(find), 0u);
    EXPECT_EQ(module.result.LongAt(attribute), 16u);
    EXPECT_EQ(module.result.data.size(), 0u);
}

TEST(ServiceModules, CreateMakesTheFoldersOfItsName) {
    CallingModule module;
    const u32 open = module.Call(SYS_FILE_OPEN, {module.Text("A/B/C.DAT"), "0x8302"});
    module.Call(SYS_FILE_WRITE, {CallingModule::Result(open), module.Text("xyz"), "3"});
    module.Call(SYS_FILE_CLOSE, {CallingModule::Result(open)});
    module.Run();
    EXPECT_EQ(module.result.data.at("A/B/C.DAT"), "xyz");
}

TEST(ServiceModules, HandlesAreReusedFromTheTopDown) {
    CallingModule module;
    module.run.data["A"] = "x";
    const std::string name = module.Text("A");
    std::vector<u32> opens;
    opens.reserve(5);
    for (int i = 0; i < 3; ++i) {
        opens.push_back(module.Call(SYS_FILE_OPEN, {name, "0x8000"}));
    }
    module.Call(SYS_FILE_CLOSE, {"1"});
    opens.push_back(module.Call(SYS_FILE_OPEN, {name, "0x8000"}));
    module.Call(SYS_FILE_CLOSE, {"3"});
    module.Call(SYS_FILE_CLOSE, {"2"});
    opens.push_back(module.Call(SYS_FILE_OPEN, {name, "0x8000"}));
    module.Run();
    const u32 expected[] = {0, 1, 2, 3, 1};
    for (u32 i = 0; i < 5; ++i) {
        EXPECT_EQ(module.Of(opens[i]), expected[i]) << i;
    }
}

TEST(ServiceModules, AFindYieldsANameOfBothFoldersOnce) {
    CallingModule module;
    module.run.data["X.SAV"] = "1";
    module.run.resources["X.SAV"] = "2";
    const std::string name = module.Room(100);
    const std::string attribute = module.Room(4);
    const std::string folder = module.Room(4);
    const u32 first = module.Call(SYS_FIND_FIRST, {module.Text("*.SAV"), name, attribute, folder});
    const u32 next = module.Call(SYS_FIND_NEXT, {name, attribute, folder});
    module.Call(SYS_END_FIND);
    module.Run();
    EXPECT_EQ(module.Of(first), 0u);
    EXPECT_EQ(module.Of(next), kMinusOne);
    EXPECT_EQ(module.result.TextAt(name), "X.SAV");
    EXPECT_EQ(module.result.LongAt(attribute), 0u);
    EXPECT_EQ(module.result.LongAt(folder), 1u);
}

TEST(ServiceModules, MusicNamesLoseTheirParentFolder) {
    CallingModule module;
    module.run.resources["MUSICBOX.DAT"] = "box";
    module.run.resources["MUSIC/A.MID"] = "midi!";
    module.run.data["SAVED"] = "the data folder exists";
    const u32 box = module.Call(SYS_FILE_SIZE, {module.Text("../MUSICBOX.DAT")});
    const u32 piece = module.Call(SYS_FILE_SIZE, {module.Text("../MUSIC/A.MID")});
    // The name of exactly ../MUSIC is the music folder: made in the data folder, it is found there.
    const u32 made = module.Call(SYS_MAKE_FOLDER, {module.Text("../MUSIC")});
    const std::string folder = module.Room(4);
    const u32 find =
        module.Call(SYS_FIND_FIRST, {module.Text("MUSI?"), module.Room(100), "0", folder});
    module.Run();
    EXPECT_EQ(module.Of(box), 3u);
    EXPECT_EQ(module.Of(piece), 5u);
    EXPECT_EQ(module.Of(made), 0u);
    EXPECT_EQ(module.Of(find), 0u);
    EXPECT_EQ(module.result.LongAt(folder), 1u);
}

TEST(ServiceModules, Base64OfManAndOfM) {
    CallingModule module;
    const u32 open = module.Call(SYS_FILE_OPEN, {module.Text("OUT"), "0x8302"});
    const u32 man = module.Call(SYS_FILE_WRITE_BASE64, {"@0", module.Text("Man"), "3"});
    const u32 m = module.Call(SYS_FILE_WRITE_BASE64, {"@0", module.Text("M"), "1"});
    const u32 none = module.Call(SYS_FILE_WRITE_BASE64, {"@0", "0", "0"});
    module.Run();
    EXPECT_EQ(module.Of(open), 0u);
    EXPECT_EQ(module.Of(man), 4u);
    EXPECT_EQ(module.Of(m), 4u);
    EXPECT_EQ(module.Of(none), 4u);
    EXPECT_EQ(module.result.data.at("OUT"), "TWFuTQ======") << "the file is open at the exit";
}

TEST(ServiceModules, TheTimeOfAMissingFileFillsAllOfR14) {
    CallingModule module;
    module.Code("  MOVE.Q R14, #0x7777777700000000");
    const u32 time = module.Call(SYS_FILE_TIME, {module.Text("NONE")});
    module.Run();
    EXPECT_EQ(module.QuadOf(time), 0x00000000FFFFFFFFu);
}

// --- Settings

TEST(ServiceModules, NumbersAppendedInThreeStylesAreReadBack) {
    CallingModule module;
    const std::string key = module.Text("K");
    const std::string number = module.Room(12);
    module.Call(SYS_SETTINGS_LOAD, {module.Text("SET.INI")});
    module.Call(SYS_SETTINGS_ADD_SECTION, {module.Text("S")});
    module.Call(SYS_SETTINGS_APPEND_NUMBER, {key, "5", "0"});
    module.Call(SYS_SETTINGS_APPEND_NUMBER, {key, "31", "2"});
    module.Call(SYS_SETTINGS_APPEND_NUMBER, {key, "15", "1"});
    const u32 select = module.Call(SYS_SETTINGS_KEY, {key});
    const u32 before = module.Call(SYS_SETTINGS_AT_END);
    module.Call(SYS_SETTINGS_READ_NUMBER, {number});
    module.Call(SYS_SETTINGS_READ_NUMBER, {number + "+4"});
    module.Call(SYS_SETTINGS_READ_NUMBER, {number + "+8"});
    const u32 after = module.Call(SYS_SETTINGS_AT_END);
    const u32 save = module.Call(SYS_SETTINGS_SAVE, {module.Text("SET.INI")});
    module.Run();
    EXPECT_EQ(module.Of(select), 1u);
    EXPECT_EQ(module.Of(before), 0u);
    EXPECT_EQ(module.Of(after), 1u);
    EXPECT_EQ(module.Of(save), 1u);
    const u32 numbers = module.result.Label(number);
    EXPECT_EQ(module.result.Long(numbers), 5u);
    EXPECT_EQ(module.result.Long(numbers + 4), 31u);
    EXPECT_EQ(module.result.Long(numbers + 8), 15u);
    EXPECT_EQ(module.result.data.at("SET.INI"), "[0x38F1A386=S]\nK= 5 0x0000001F 017\n");
}

TEST(ServiceModules, AStringWithAQuoteIsReadBack) {
    CallingModule module;
    module.run.data["SET.INI"] = "[0x00000000=S]\nK= 1\n";
    const std::string key = module.Text("K");
    const std::string buffer = module.Room(20);
    module.Call(SYS_SETTINGS_LOAD, {module.Text("SET.INI")});
    const u32 append = module.Call(SYS_SETTINGS_APPEND_STRING, {key, module.Text("a\"b")});
    module.Call(SYS_SETTINGS_KEY, {key});
    module.Call(SYS_SETTINGS_READ_NUMBER, {module.Room(4)});
    const u32 read = module.Call(SYS_SETTINGS_READ_STRING, {buffer, "20"});
    module.Call(SYS_SETTINGS_SAVE, {module.Text("OUT.INI")});
    module.Run();
    EXPECT_EQ(module.Of(append), 1u);
    EXPECT_EQ(module.Of(read), 3u);
    EXPECT_EQ(module.result.TextAt(buffer), "a\"b");
    EXPECT_EQ(module.result.data.at("OUT.INI").substr(11), "=S]\nK= 1 \"a\\\"b\"\n");
}

TEST(ServiceModules, AFileWithAWrongChecksumIsSavedWithItsTrueOne) {
    CallingModule module;
    module.run.data["SET.INI"] = "[0x00000000=S]\n";
    const u32 load = module.Call(SYS_SETTINGS_LOAD, {module.Text("SET.INI")});
    const u32 save = module.Call(SYS_SETTINGS_SAVE, {module.Text("SET.INI")});
    module.Run();
    EXPECT_EQ(module.Of(load), 1u);
    EXPECT_EQ(module.Of(save), 1u);
    EXPECT_EQ(module.result.data.at("SET.INI"), "[0x3D535D65=S]\n");
}

TEST(ServiceModules, KeyKeDoesNotMatchTheLineKey) {
    CallingModule module;
    module.run.data["SET.INI"] = "[0x00000000=S]\nKey=1\n";
    module.Call(SYS_SETTINGS_LOAD, {module.Text("SET.INI")});
    const u32 part = module.Call(SYS_SETTINGS_KEY, {module.Text("Ke")});
    const u32 whole = module.Call(SYS_SETTINGS_KEY, {module.Text("Key")});
    module.Run();
    EXPECT_EQ(module.Of(part), 0u);
    EXPECT_EQ(module.Of(whole), 1u);
}

TEST(ServiceModules, ASectionNameWithABracketCannotBeSelected) {
    CallingModule module;
    module.Call(SYS_SETTINGS_LOAD, {module.Text("SET.INI")});
    const u32 add = module.Call(SYS_SETTINGS_ADD_SECTION, {module.Text("a]b")});
    const u32 select = module.Call(SYS_SETTINGS_SECTION, {module.Text("a]b")});
    module.Run();
    EXPECT_EQ(module.Of(add), 1u);
    EXPECT_EQ(module.Of(select), 0u);
}

TEST(ServiceModules, AnEmptyLineAfterAKeyIsReplacedByAnAppendedValue) {
    CallingModule module;
    module.run.data["SET.INI"] = "[0x00000000=S]\nK= 1\n\nL= 2\n";
    const std::string key = module.Text("K");
    module.Call(SYS_SETTINGS_LOAD, {module.Text("SET.INI")});
    module.Call(SYS_SETTINGS_APPEND_NUMBER, {key, "5", "0"});
    module.Call(SYS_SETTINGS_KEY, {key});
    module.Call(SYS_SETTINGS_READ_NUMBER, {module.Room(4)});
    const u32 end = module.Call(SYS_SETTINGS_AT_END);
    module.Call(SYS_SETTINGS_SAVE, {module.Text("SET.INI")});
    module.Run();
    EXPECT_EQ(module.Of(end), 1u) << "reading the key afterwards does not see it";
    EXPECT_EQ(module.result.data.at("SET.INI").substr(11), "=S]\nK= 1\n 5\nL= 2\n");
}

TEST(ServiceModules, TheGapOfANewStringIsKeptTooSmall) {
    CallingModule module;
    module.run.data["SET.INI"] = "[0x00000000=A]\n[0x00000000=B]\nV= 2\n";
    module.Call(SYS_SETTINGS_LOAD, {module.Text("SET.INI")});
    module.Call(SYS_SETTINGS_APPEND_STRING, {module.Text("K"), module.Text("abc")});
    const u32 next = module.Call(SYS_SETTINGS_SECTION, {module.Text("B")});
    module.Call(SYS_SETTINGS_SAVE, {module.Text("SET.INI")});
    module.Run();
    EXPECT_EQ(module.Of(next), 0u) << "its header has been overwritten";
    EXPECT_EQ(module.result.data.at("SET.INI").substr(11), "=A]\nK= \"abc\"\n");
}

// --- Time

// A module whose timer counts its ticks. The period is changed in `change` on the third tick.
HeadlessResult RunTimer(const std::string& start, const std::string& change, u32 milliseconds) {
    HeadlessRun run;
    run.source = R"(
        .code
start:  LINK 0, 0
        MOVE.L R0, [FP+12]
        CMP.L R0, #1
        BEQ begin
        CMP.L R0, #11
        BEQ tick
        RETURN 0
begin:  )" + start +
                 R"(
        RETURN 0
tick:   ADD.L [ticks], #1
        MOVE.L R0, [ticks]
        CMP.L R0, #3
        BNE done
        )" + change +
                 R"(
done:   RETURN 0
        .data
stop:   .long 0x0200, 0
fifty:  .long 0x0200, 50
hundred: .long 0x0200, 100
one:    .long 0x0200, 1
        .bss
ticks:  .space 4
)";
    run.options = {"--run-ms", std::to_string(milliseconds)};
    return RunHeadless(run);
}

std::string SetTimer(const std::string& block) {
    return "MOVE.L R15, #" + block + "\n SYS\n";
}

// The host posts ticks of its own to an idle module (about one in 80 ms), so the module's ticks are
// what comes on top of a run without a timer.
u32 TicksWithin(const std::string& start, const std::string& change, u32 milliseconds) {
    const HeadlessResult with = RunTimer(start, change, milliseconds);
    EXPECT_EQ(with.status, 0);
    return with.LongAt("ticks");
}

TEST(ServiceModules, ARunningTimerKeepsItsPeriod) {
    const std::string hundred = SetTimer("hundred");
    EXPECT_EQ(TicksWithin(hundred + SetTimer("fifty"), "", 5000), TicksWithin(hundred, "", 5000));
    const u32 changed = TicksWithin(hundred + SetTimer("stop") + SetTimer("fifty"), "", 5000);
    EXPECT_EQ(changed, TicksWithin(SetTimer("fifty"), "", 5000));
    EXPECT_GE(changed, TicksWithin(hundred, "", 5000) + 30);
}

TEST(ServiceModules, StoppingATimerThatDoesNotRunHasNoEffect) {
    EXPECT_EQ(TicksWithin(SetTimer("stop"), "", 1000), TicksWithin("", "", 1000));
}

TEST(ServiceModules, ATimerThatIsStoppedTicksNoMore) {
    EXPECT_LE(TicksWithin(SetTimer("fifty"), SetTimer("stop"), 300), 6u);
}

TEST(ServiceModules, APeriodOfOneMillisecondIsAccepted) {
    // The tick of the host takes one message from the queue every 5 ms: that is the fastest pace.
    EXPECT_GE(TicksWithin(SetTimer("one"), "", 1000), 190u);
}

TEST(ServiceModules, ATimerKeepsItsPhaseOverTenThousandFirings) {
    HeadlessRun run;
    run.source = R"(
        .code
start:  LINK 0, 0
        MOVE.L R0, [FP+12]
        CMP.L R0, #1
        BEQ begin
        CMP.L R0, #11
        BNE done
        ADD.L [ticks], #1
        MOVE.L R15, #clock
        SYS
        MOVE.L R0, R14
        MODU.L R0, #5
        BEQ done
        ADD.L [late], #1
done:   RETURN 0
begin:  MOVE.L R15, #timer
        SYS
        RETURN 0
        .data
timer:  .long 0x0200, 10
clock:  .long 0x0201
        .bss
ticks:  .space 4
late:   .space 4
)";
    run.options = {"--run-ms", "100000"};
    const HeadlessResult result = RunHeadless(run);
    EXPECT_EQ(result.status, 0);
    EXPECT_GE(result.LongAt("ticks"), 9999u);
    // Messages are delivered at multiples of 5 ms. A timer that drifted would sooner or later be
    // due between them, and virtual time with it.
    EXPECT_EQ(result.LongAt("late"), 0u);
}

TEST(ServiceModules, TwoReadingsOfTheClockASecondApartDifferByAThousand) {
    HeadlessRun run;
    run.source = R"(
        .code
start:  LINK 0, 0
        MOVE.L R0, [FP+12]
        CMP.L R0, #13
        BNE done
        MOVE.L R15, #block
        SYS
        MOVE.L R1, [count]
        LSL.L R1, #2
        MOVE.L [R1+times], R14
        ADD.L [count], #1
done:   RETURN 0
        .data
block:  .long 0x0201
        .bss
count:  .space 4
times:  .space 80
)";
    run.script = "1000 post 13 0 0 0\n2000 post 13 0 0 0\n";
    const HeadlessResult result = RunHeadless(run);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.LongAt("count"), 2u);
    const u32 times = result.Label("times");
    EXPECT_NEAR(result.Long(times + 4) - result.Long(times), 1000, 1);
}

TEST(ServiceModules, TheDateComesFromTheDesktop) {
    CallingModule module;
    module.run.options = {"--date", "2024-03-07 09:05:41"};
    const std::string buffer = module.Room(20);
    module.Call(SYS_DATE_TIME, {buffer});
    module.Run();
    EXPECT_EQ(module.result.TextAt(buffer), "2024-03-07 09:05:41");
    EXPECT_EQ(module.Of(0), kUntouched);
}

// --- Heap

TEST(ServiceModules, ALockThroughTheServiceOutlivesTheServiceRoutine) {
    // The routine that calls SYS returns with SP 20 bytes above: the lock is not below that.
    HeadlessRun run;
    run.source = R"(
        .code
start:  LINK 0, 0
        MOVE.L R0, [FP+12]
        CMP.L R0, #1
        BNE done
        CALL work, 0
done:   RETURN 0
work:   LINK 0, 0
        PUSH.L #16
        PUSH.L #0x0900
        CALL service, 8
        MOVE.L [handle], R14
        PUSH.L R14
        PUSH.L #0x0902
        CALL service, 8
        MOVE.L [address], R14
        RETURN 0
service:
        LINK 0, 0
        LEA.L R15, [FP+12]
        SYS
        RETURN 0
        .bss
handle: .space 4
address: .space 4
)";
    const HeadlessResult result = RunHeadless(run);
    // A lock left over at the end of the message would end the process with status 1.
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.Fatals(), Strings{});
    EXPECT_EQ(result.LongAt("handle"), 1u);
}

}  // namespace

}  // namespace moxi
