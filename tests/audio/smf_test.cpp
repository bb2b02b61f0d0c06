// The MIDI file reader and the times that come of it, against files made by hand.

#include "audio/smf.h"

#include <gtest/gtest.h>

#include <random>

#include "audio/score.h"
#include "tests/support/sound_bytes.h"

namespace moxi {

namespace {

std::span<const u8> AsBytes(const std::string& file) {
    return {reinterpret_cast<const u8*>(file.data()), file.size()};
}

// The events of a file that has to be readable.
SmfFile Read(const std::string& bytes) {
    SmfFile file;
    std::string reason;
    EXPECT_TRUE(ReadSmf(AsBytes(bytes), file, reason)) << reason;
    return file;
}

// Why a file is refused; "" when it is not.
std::string Refusal(const std::string& bytes) {
    SmfFile file;
    std::string reason;
    return ReadSmf(AsBytes(bytes), file, reason) ? "" : reason;
}

Score ScoreOf(const std::string& bytes) {
    return PrepareScore(Read(bytes));
}

std::vector<u64> Frames(const Score& score) {
    std::vector<u64> frames;
    for (const MusicEvent& event : score.piece->events) {
        frames.push_back(event.frame);
    }
    return frames;
}

std::vector<u64> Ticks(const SmfFile& file) {
    std::vector<u64> ticks;
    for (const SmfEvent& event : file.events) {
        ticks.push_back(event.tick);
    }
    return ticks;
}

// 96 ticks a beat, one track.
std::string OneTrack(const std::string& events) {
    return MidiFile(0, 96, {events});
}

// --- Times

TEST(MusicTimes, ABeatIsHalfASecondUntilATempoIsGiven) {
    const Score score = ScoreOf(OneTrack(NoteOn(0, 60) + NoteOff(96, 60) + EndOfTrack(0)));
    EXPECT_EQ(Frames(score), (std::vector<u64>{0, 22050}));
    EXPECT_EQ(score.end, 1'000'000'000u);  // one beat and one beat more
}

TEST(MusicTimes, TempoChangesCountFromTheirTick) {
    // Beats 0 and 1 take 0.5 s, beat 2 takes 1 s, beats 3 and on 0.25 s.
    const Score score =
        ScoreOf(OneTrack(NoteOn(96, 60) + Tempo(96, 1'000'000) + NoteOn(48, 61) +
                         Tempo(48, 250'000) + NoteOn(0, 62) + NoteOn(192, 63) + EndOfTrack(96)));
    // Beat 1: 0.5 s; beat 2.5: 1.5 s; beat 3: 2 s; beat 5: 2.5 s.
    EXPECT_EQ(Frames(score), (std::vector<u64>{22050, 66150, 88200, 110250}));
    // The track ends at beat 6, 2.75 s; the beat more takes 0.25 s.
    EXPECT_EQ(score.end, 3'000'000'000u);
}

TEST(MusicTimes, ATempoInOneTrackHoldsForAllTracks) {
    const std::string conductor = Tempo(0, 1'000'000) + EndOfTrack(0);
    const std::string notes = NoteOn(96, 60) + EndOfTrack(96);
    const Score score = ScoreOf(MidiFile(1, 96, {conductor, notes}));
    EXPECT_EQ(Frames(score), std::vector<u64>{44100});
    EXPECT_EQ(score.end, 3'000'000'000u);
}

TEST(MusicTimes, ATempoOnTheLastTickCountsForTheBeatAfterTheEnd) {
    const Score score = ScoreOf(OneTrack(NoteOn(0, 60) + Tempo(96, 2'000'000) + EndOfTrack(0)));
    EXPECT_EQ(score.end, 2'500'000'000u);
}

TEST(MusicTimes, FractionsOfMicrosecondsAddUpWithoutAnError) {
    // 7 ticks a beat at 1,000,001 microseconds: after 7,000 ticks exactly 1,000.001 s.
    std::string events;
    for (int i = 0; i < 7000; ++i) {
        events += NoteOn(1, 60);
    }
    const Score score = ScoreOf(MidiFile(0, 7, {Tempo(0, 1'000'001) + events + EndOfTrack(0)}));
    EXPECT_EQ(score.end, 1'001'001'001'000u);
    // 1,000.001 s are 44,100,044.1 frames.
    EXPECT_EQ(score.piece->events.back().frame, 44'100'044u);
}

TEST(MusicTimes, AnEndBetweenTwoNanosecondsIsReachedAtTheLaterOne) {
    // 3 ticks a beat, one tick: 500,000 / 3 microseconds, then 500,000 more.
    const Score score = ScoreOf(MidiFile(0, 3, {EndOfTrack(1)}));
    EXPECT_EQ(score.end, 666'666'667u);
}

TEST(MusicTimes, RealTimeDivisionCountsFramesAndTicksAndABeatIsHalfASecond) {
    // 25 frames a second, 40 ticks a frame: a tick is a millisecond.
    const Score score = ScoreOf(MidiFile(0, 0xE728, {NoteOn(1000, 60) + EndOfTrack(1000)}));
    EXPECT_EQ(Frames(score), std::vector<u64>{44100});
    EXPECT_EQ(score.end, 2'500'000'000u);
}

TEST(MusicTimes, ATempoMeansNothingWithRealTimeDivision) {
    const Score score =
        ScoreOf(MidiFile(0, 0xE250, {Tempo(0, 3'000'000) + NoteOn(2400, 60) + EndOfTrack(0)}));
    EXPECT_EQ(Frames(score), std::vector<u64>{44100});  // 30 frames of 80 ticks
    EXPECT_EQ(score.end, 1'500'000'000u);
}

TEST(MusicTimes, TwentyNineFramesAreThirtyThatLoseOneInAThousandAndOne) {
    // 30,000 frames of 2 ticks last 1,001 s.
    const Score score = ScoreOf(MidiFile(0, 0xE302, {EndOfTrack(60000)}));
    EXPECT_EQ(score.end, 1'001'500'000'000u);
}

TEST(MusicTimes, TwentyFourFramesOfOneTick) {
    EXPECT_EQ(ScoreOf(MidiFile(0, 0xE801, {EndOfTrack(48)})).end, 2'500'000'000u);
}

TEST(MusicTimes, TheLongestTrackDecidesAndItsEndEventCounts) {
    const std::string file =
        MidiFile(1, 96, {NoteOn(0, 60) + EndOfTrack(960), NoteOn(480, 62) + EndOfTrack(0)});
    EXPECT_EQ(ScoreOf(file).end, 5'500'000'000u);  // beat 10, and one more
}

TEST(MusicTimes, ATrackWithoutAnEndEventEndsAtItsLastEvent) {
    EXPECT_EQ(ScoreOf(OneTrack(NoteOn(96, 60) + NoteOff(96, 60))).end, 1'500'000'000u);
}

TEST(MusicTimes, AFileWithoutTracksEndsAfterOneBeat) {
    EXPECT_EQ(ScoreOf(MidiFile(1, 480, {})).end, 500'000'000u);
}

TEST(MusicTimes, ATempoOfZeroIsLeftOut) {
    EXPECT_EQ(ScoreOf(OneTrack(Tempo(0, 0) + NoteOn(96, 60) + EndOfTrack(0))).end, 1'000'000'000u);
}

TEST(MusicTimes, TimesThatDoNotFitAreNever) {
    // The slowest tempo, one tick a beat, the longest pauses: each lasts 142 years.
    std::string events = Tempo(0, 0xFFFFFF);
    for (int i = 0; i < 200; ++i) {
        events += NoteOn(0x0FFFFFFF, 60);
    }
    const Score score = ScoreOf(MidiFile(0, 1, {events + EndOfTrack(0)}));
    EXPECT_EQ(score.end, UINT64_MAX);
    EXPECT_EQ(score.piece->events.back().frame, UINT64_MAX);
}

// --- Events

TEST(MidiReader, RunningStatusRepeatsTheLastStatus) {
    const SmfFile file =
        Read(OneTrack(NoteOn(0, 60) + Bytes({10, 64, 90, 10, 67, 80}) + EndOfTrack(0)));
    ASSERT_EQ(file.events.size(), 3u);
    EXPECT_EQ(Ticks(file), (std::vector<u64>{0, 10, 20}));
    EXPECT_EQ(file.events[2].status, 0x90);
    EXPECT_EQ(file.events[2].data1, 67);
    EXPECT_EQ(file.events[2].data2, 80);
}

TEST(MidiReader, RunningStatusOutlivesAMetaEvent) {
    const SmfFile file = Read(OneTrack(NoteOn(0, 60) + Bytes({0, 0xFF, 0x01, 2, 'h', 'i'}) +
                                       Bytes({5, 60, 0}) + EndOfTrack(0)));
    ASSERT_EQ(file.events.size(), 2u);
    EXPECT_EQ(file.events[1].data2, 0);
}

TEST(MidiReader, ProgramChangesAndChannelPressureHaveOneDataByte) {
    const SmfFile file = Read(
        OneTrack(Bytes({0, 0xC3, 5, 0, 0xD3, 7, 0, 0xE3, 1, 2, 0, 0xB3, 7, 100, 0, 0xA3, 60, 9}) +
                 EndOfTrack(0)));
    ASSERT_EQ(file.events.size(), 5u);
    EXPECT_EQ(file.events[0].status, 0xC3);
    EXPECT_EQ(file.events[0].data1, 5);
    EXPECT_EQ(file.events[1].status, 0xD3);
    EXPECT_EQ(file.events[2].data2, 2);
    EXPECT_EQ(file.events[4].status, 0xA3);
}

TEST(MidiReader, TracksAreMergedByTickAndInTheirOrder) {
    const SmfFile file = Read(MidiFile(1, 96,
                                       {NoteOn(10, 1) + NoteOn(10, 2) + EndOfTrack(0),
                                        NoteOn(5, 3) + NoteOn(5, 4) + EndOfTrack(0)}));
    std::vector<int> keys;
    for (const SmfEvent& event : file.events) {
        keys.push_back(event.data1);
    }
    EXPECT_EQ(keys, (std::vector<int>{3, 1, 4, 2}));
}

TEST(MidiReader, TracksOfFormat2StartTogether) {
    const SmfFile file =
        Read(MidiFile(2, 96, {NoteOn(96, 1) + EndOfTrack(0), NoteOn(48, 2) + EndOfTrack(0)}));
    EXPECT_EQ(Ticks(file), (std::vector<u64>{48, 96}));
    EXPECT_EQ(file.longestTrack, 96u);
}

TEST(MidiReader, SystemExclusiveMessagesComeWithoutTheirFrame) {
    const SmfFile file =
        Read(OneTrack(Bytes({0, 0xF0, 5, 0x7E, 0x7F, 9, 1, 0xF7}) + EndOfTrack(0)));
    ASSERT_EQ(file.events.size(), 1u);
    EXPECT_EQ(file.events[0].status, 0xF0);
    EXPECT_EQ(file.sysex, (std::vector<u8>{4, 0x7E, 0x7F, 9, 1}));
}

TEST(MidiReader, SystemExclusiveMessagesMayComeInPackets) {
    const SmfFile file =
        Read(OneTrack(Bytes({0, 0xF0, 2, 0x43, 0x10, 10, 0xF7, 2, 0x4C, 1, 10, 0xF7, 2, 2, 0xF7}) +
                      EndOfTrack(0)));
    ASSERT_EQ(file.events.size(), 1u);
    EXPECT_EQ(file.events[0].tick, 20u);
    EXPECT_EQ(file.sysex, (std::vector<u8>{5, 0x43, 0x10, 0x4C, 1, 2}));
}

TEST(MidiReader, OddSystemExclusiveMessagesAreLeftOut) {
    std::string longOne = Bytes({0, 0xF0}) + MidiNumber(500) + std::string(499, '\1') + "\xF7";
    const SmfFile file = Read(OneTrack(
        longOne + Bytes({0, 0xF0, 1, 0xF7}) + Bytes({0, 0xF0, 0}) + Bytes({0, 0xF7, 2, 0xF3, 1}) +
        Bytes({0, 0xF0, 3, 1, 0x90, 0xF7}) + Bytes({0, 0xF0, 1, 5}) + EndOfTrack(0)));
    EXPECT_TRUE(file.events.empty());
    EXPECT_TRUE(file.sysex.empty());
}

TEST(MidiReader, AMessageWithABadDataByteIsLeftOut) {
    const SmfFile file = Read(OneTrack(Bytes({0, 0x90, 60, 0x85}) + Bytes({0, 0xB0, 0x90, 1}) +
                                       NoteOn(0, 61) + EndOfTrack(0)));
    ASSERT_EQ(file.events.size(), 1u);
    EXPECT_EQ(file.events[0].data1, 61);
}

TEST(MidiReader, NothingIsReadAfterTheEndOfATrack) {
    const SmfFile file = Read(OneTrack(NoteOn(0, 60) + EndOfTrack(10) + Bytes({0xF4, 0xFF})));
    EXPECT_EQ(file.events.size(), 1u);
    EXPECT_EQ(file.longestTrack, 10u);
}

TEST(MidiReader, UnknownChunksLongHeadersAndBytesBehindTheLastTrackAreSkipped) {
    std::string file = "MThd" + Bytes({0, 0, 0, 8, 0, 0, 0, 1, 0, 96, 1, 2});
    file += "XFIH" + Bytes({0, 0, 0, 3, 1, 2, 3});
    file += MidiTrack(NoteOn(0, 60) + EndOfTrack(0)) + "tail";
    EXPECT_EQ(Read(file).events.size(), 1u);
}

// --- Damaged files

TEST(MidiReader, RefusesWhatIsNoMidiFile) {
    EXPECT_EQ(Refusal(""), "not a MIDI file");
    EXPECT_EQ(Refusal("MTh"), "not a MIDI file");
    EXPECT_EQ(Refusal("RIFF" + std::string(100, '\0')), "not a MIDI file");
}

TEST(MidiReader, RefusesHeadersOfNoKnownForm) {
    const std::string track = MidiTrack(EndOfTrack(0));
    const std::string header = "a MIDI header of no known form";
    EXPECT_EQ(Refusal("MThd" + Bytes({0, 0, 0, 6, 0, 0, 0})), header);
    EXPECT_EQ(Refusal("MThd" + Bytes({0, 0, 0, 5, 0, 0, 0, 1, 0, 96}) + track), header);
    EXPECT_EQ(Refusal(MidiHeader(3, 1, 96) + track), header);
    EXPECT_EQ(Refusal("MThd" + Bytes({0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 1, 0, 96}) + track),
              "the file ends before its last track");
}

TEST(MidiReader, RefusesDivisionsThatDivideByZeroOrAreUnknown) {
    for (const u32 division : {0x0000u, 0xE700u, 0xE200u, 0x8000u, 0x8001u, 0xFF01u, 0xE401u}) {
        EXPECT_EQ(Refusal(MidiFile(0, division, {EndOfTrack(0)})),
                  "a time division of no known form")
            << division;
    }
}

TEST(MidiReader, RefusesATrackThatIsLongerThanTheFile) {
    const std::string events = NoteOn(0, 60) + EndOfTrack(0);
    for (const int size : {10, 255}) {
        EXPECT_EQ(Refusal(MidiHeader(0, 1, 96) + "MTrk" + Bytes({0, 0, 0, size}) + events),
                  "the file ends before its last track");
    }
    EXPECT_EQ(Refusal(MidiHeader(0, 1, 96) + "MTrk" + Bytes({0xFF, 0xFF, 0xFF, 0xFF}) + events),
              "the file ends before its last track");
}

TEST(MidiReader, RefusesFewerTracksThanTheHeaderSays) {
    EXPECT_EQ(Refusal(MidiHeader(1, 65535, 96) + MidiTrack(EndOfTrack(0))),
              "the file ends before its last track");
}

TEST(MidiReader, Reads65535Tracks) {
    std::string file = MidiHeader(1, 65535, 96);
    for (u32 i = 0; i < 65535; ++i) {
        file += MidiTrack(NoteOn(i, 60) + EndOfTrack(0));
    }
    const SmfFile read = Read(file);
    EXPECT_EQ(read.events.size(), 65535u);
    EXPECT_EQ(read.longestTrack, 65534u);
}

TEST(MidiReader, RefusesNumbersThatDoNotEnd) {
    EXPECT_EQ(Refusal(OneTrack(Bytes({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x90, 60, 1}))),
              "a damaged track");
    EXPECT_EQ(Refusal(OneTrack(std::string(1000, '\xFF'))), "a damaged track");
    EXPECT_EQ(Refusal(OneTrack(Bytes({0, 0xF0, 0x80, 0x80, 0x80, 0x80, 0x80, 1}))),
              "a damaged track");
}

TEST(MidiReader, RefusesEventsThatAreCutOffOrUnknown) {
    for (const std::vector<int>& events : std::vector<std::vector<int>>{
             {0x00},                    // a time without an event
             {0x00, 0x90, 60},          // half a note
             {0x00, 60, 100},           // no status to run on
             {0x00, 0xF0, 10, 1},       // a message longer than its track
             {0x00, 0xFF, 0x51, 3, 7},  // so is this
             {0x00, 0xFF},              //
             {0x00, 0xF1, 1},           // not for files
             {0x00, 0xFE},              //
         }) {
        EXPECT_EQ(Refusal(OneTrack(Bytes(events))), "a damaged track");
    }
}

TEST(MidiReader, EveryPrefixOfAFileIsReadOrRefused) {
    const std::string file =
        MidiFile(1, 96,
                 {Tempo(0, 400'000) + Bytes({0, 0xF0, 5, 0x7E, 0x7F, 9, 1, 0xF7}) + EndOfTrack(0),
                  Bytes({0, 0xC0, 4}) + NoteOn(0, 60) + NoteOff(300, 60) + EndOfTrack(10)});
    for (size_t size = 0; size < file.size(); ++size) {
        EXPECT_NE(Refusal(file.substr(0, size)), "") << size;
    }
    EXPECT_EQ(Refusal(file), "");
}

TEST(MidiReader, RandomTracksDoNoHarm) {
    std::mt19937 random(20240511);
    for (int i = 0; i < 3000; ++i) {
        std::string events;
        for (auto size = random() % 400; size > 0; --size) {
            events += static_cast<char>(random());
        }
        SmfFile file;
        std::string reason;
        const u32 format = static_cast<u32>(random() % 3);
        const u32 division = static_cast<u32>(1 + random() % 32767);
        const std::string bytes = MidiFile(format, division, {events, events});
        if (ReadSmf(AsBytes(bytes), file, reason)) {
            PrepareScore(file);
        }
    }
}

}  // namespace

}  // namespace moxi
