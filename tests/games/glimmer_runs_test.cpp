// Glimmer Hollow: what is kept of a run. The high scores, runs that are left and gone on with, and
// the seeds that gardens are made of.

#include "tests/games/glimmer_rules.h"

namespace moxi {

namespace {

using namespace glimmer;

// --- High scores

TEST_F(GlimmerRules, AScoreAmongTheEightBestAsksForANameAndTakesItsPlace) {
    Events events;
    events.Return().Poke("score", 5500).Poke("seed", 0xABC).Escape().GiveUp().Wait(2450);
    events.Note().Backspace(4);  // one more than there are letters
    for (const char* letter : {"Z", "o", "\xC3\xAB", " ", "\xE8\x9B\x8D", "\xF0\x9F\x8C\x99"}) {
        events.Press("00", letter);
    }
    events.Backspace(1);
    const GameResult asked = PlayGame(events);
    EXPECT_EQ(asked.Notes(), std::vector<u32>{Name});
    GameRun run = RunOf(events.Return().Note());
    run.data = {{kSettings, EightScores()}};
    const GameResult result = PlayGame(run);
    EXPECT_EQ(result.Notes(), (std::vector<u32>{Name, Scores}));
    EXPECT_EQ(result.LongAt("new_place"), 3u);
    EXPECT_EQ(HighScores(result), (Places{{8000, "A"},
                                          {7000, "B"},
                                          {6000, "C"},
                                          {5500, "Zo\xC3\xAB \xE8\x9B\x8D"},
                                          {5000, "D"},
                                          {4000, "E"},
                                          {3000, "F"},
                                          {2000, "G"}}));
    EXPECT_EQ(Setting(result, "4"), "5500 1 0x00000ABC \"Zo\xC3\xAB \xE8\x9B\x8D\"");
    EXPECT_EQ(Setting(result, "Name"), "\"Zo\xC3\xAB \xE8\x9B\x8D\"");
    EXPECT_EQ(Setting(result, "9"), "no line");

    GameRun next;
    next.data = result.data;
    next.events.Wait(100);
    EXPECT_EQ(HighScores(PlayGame(next)), HighScores(result));
}

TEST_F(GlimmerRules, ANameHasRoomFor27BytesAndAnEmptyOneIsFirefly) {
    Events events;
    events.Return().Poke("score", 700).Escape().GiveUp().Wait(2450).Backspace(7);
    Events longName = events;
    for (int i = 0; i < 9; ++i) {
        longName.Press("00", "\xE8\x9B\x8D");  // three bytes each
    }
    longName.Press("00", "x");
    EXPECT_EQ(PlayGame(longName).TextAt("player_name").size(), 27u);
    EXPECT_EQ(HighScores(PlayGame(events.Return())), (Places{{700, "Firefly"}}));
}

TEST_F(GlimmerRules, ClosingTheWindowEntersTheScoreOfARunThatIsOver) {
    Events over;
    over.Return().Poke("score", 700).Escape().GiveUp();
    Events name = over;
    name.Wait(2450).Note().Press("00", "s");
    const Places once = {{700, "Firefly"}};
    EXPECT_EQ(HighScores(PlayGame(RunOf(over.Note().Line("close")), kClosed)), once);
    const GameResult named = PlayGame(RunOf(name.Line("close")), kClosed);
    EXPECT_EQ(named.Notes(), std::vector<u32>{Name});
    EXPECT_EQ(HighScores(named), (Places{{700, "s"}}));
    EXPECT_EQ(Setting(named, "1").substr(0, 6), "700 1 ");
    EXPECT_EQ(Setting(named, "2"), "no line");
}

TEST_F(GlimmerRules, AScoreBelowTheEightBestAsksForNoName) {
    GameRun run =
        RunOf(Events().Return().Poke("score", 900).Escape().GiveUp().Wait(2450).Note().Escape());
    run.data = {{kSettings, EightScores()}};
    const GameResult result = PlayGame(run);
    EXPECT_EQ(result.Notes(), std::vector<u32>{Over});
    EXPECT_EQ(result.LongAt("scene"), Title);
    EXPECT_EQ(HighScores(result).size(), 8u);
    EXPECT_EQ(HighScores(result)[7], (Places::value_type{1000, "H"}));
}

// --- A run that is left and gone on with

TEST_F(GlimmerRules, ARunThatWasLeftGoesOnWhereItWas) {
    Events events;
    events.Return().Wait(2450).Press("7C", "\\x1D", 400).Press("7D", "\\x1F", 300);
    events.Escape().Down(3).Return().Note();
    const GameResult left = PlayGame(events);
    EXPECT_EQ(left.Notes(), std::vector<u32>{Title});
    ASSERT_EQ(left.data.count(kSavedRun), 1u);
    const std::string kept = left.data.at(kSavedRun);
    EXPECT_EQ(kept.size(), At("RUN_SIZE"));
    EXPECT_EQ(kept, left.Bytes("run", "run_end"));
    EXPECT_GT(left.LongAt("night_steps"), 30u);

    GameRun next = RunOf(Events().Return().Note());
    next.data = left.data;
    const GameResult resumed = PlayGame(next);
    EXPECT_EQ(resumed.Notes(), std::vector<u32>{Play});
    EXPECT_EQ(resumed.Bytes("run", "run_end"), kept);
    EXPECT_EQ(resumed.LongAt("random_state"), left.LongAt("random_kept"));
}

// The same 600 steps of the firefly that flies by itself, once in the run that is kept on the way
// and once in a later start of the program: luck and foes are part of what is kept.
TEST_F(GlimmerRules, ARunThatWasKeptGoesOnAsItWouldHave) {
    const auto fly = [](Events& events) {
        events.Poke("intro_steps", 0).Poke("demo_steps", 100000).Poke("demo", 1);
        events.Call("play_steps", 600).Wait(200);
    };
    Events events;
    events.Return().Escape().Call("keep_run");
    fly(events);
    const GameResult first = PlayGame(events);
    Events later;
    later.Return().Escape();
    fly(later);
    GameRun run = RunOf(later);
    run.data = first.data;
    const GameResult second = PlayGame(run);
    EXPECT_EQ(second.LongAt("seed"), first.LongAt("seed"));
    EXPECT_GT(first.LongAt("score"), 0u);
    EXPECT_GE(first.LongAt("night_steps"), 600u);
    EXPECT_EQ(second.Bytes("seed", "run_end"), first.Bytes("seed", "run_end"));
}

TEST_F(GlimmerRules, ClosingTheWindowKeepsTheRunAndNothingElseDoes) {
    const GameResult closed = PlayGame(RunOf(Events().Return().Wait(2500).Line("close")), kClosed);
    ASSERT_EQ(closed.data.count(kSavedRun), 1u);
    EXPECT_EQ(closed.data.at(kSavedRun), closed.Bytes("run", "run_end"));
    const GameResult paused = PlayGame(RunOf(Events().Return().Escape().Line("close")), kClosed);
    EXPECT_EQ(paused.data.count(kSavedRun), 1u);

    const GameResult title = PlayGame(RunOf(Events().Line("close")), kClosed);
    EXPECT_EQ(title.data.count(kSavedRun), 0u);
    const GameResult demo =
        PlayGame(RunOf(Events().Poke("idle_steps", 419).Wait(100).Line("close")), kClosed);
    EXPECT_EQ(demo.data.count(kSavedRun), 0u);
    GameRun over = RunOf(Events().Return().Escape().GiveUp().Line("close"));
    over.data = closed.data;  // the run before is dropped with the new one
    EXPECT_EQ(PlayGame(over, kClosed).data.count(kSavedRun), 0u);
}

// A lantern that has been lit counts once, whenever the window is closed.
TEST_F(GlimmerRules, ARunThatIsLeftAtDawnGoesOnWithTheNextNight) {
    Events events;
    events.Return().Wait(2500).Poke("score", 5000);
    Events leaving = events;
    leaving.Poke("leaving_steps", 60).Poke("glow", 1000).Wait(100).Line("close");
    const GameResult early = PlayGame(RunOf(leaving), kClosed);
    events.Poke("leaving_steps", 9).Poke("glow", 1000).Wait(300).Note().Line("close");
    const GameResult dawn = PlayGame(RunOf(events), kClosed);
    EXPECT_EQ(dawn.Notes(), std::vector<u32>{Dawn});
    for (const GameResult* result : {&early, &dawn}) {
        GameRun next = RunOf(Events().Return());
        next.data = result->data;
        const GameResult resumed = PlayGame(next);
        EXPECT_EQ(resumed.LongAt("scene"), Play);
        EXPECT_EQ(resumed.LongAt("night"), 2u);
        EXPECT_EQ(resumed.LongAt("lantern_lit"), 0u);
        EXPECT_EQ(resumed.LongAt("score"), 6750u);  // 5000, 3 hearts of 250, a glow of 1000
    }
}

TEST_F(GlimmerRules, ARunThatWasAlteredIsRefused) {
    const GameResult closed = PlayGame(RunOf(Events().Return().Wait(100).Line("close")), kClosed);
    ASSERT_EQ(closed.data.count(kSavedRun), 1u);
    for (const u32 place : {0u, 5u, 40u, At("RUN_SIZE") - 1}) {
        GameRun run = RunOf(Events().Return().Note());
        run.data = closed.data;
        run.data[kSavedRun][place] ^= 1;
        const GameResult refused = PlayGame(run);
        EXPECT_EQ(refused.Notes(), std::vector<u32>{Title});
        EXPECT_EQ(Notice(refused), "The night that was kept cannot be read.");
        EXPECT_EQ(refused.LongAt("title_menu"), 5u);  // nothing to resume any more
        EXPECT_EQ(refused.data.count(kSavedRun), 0u);
    }
}

TEST_F(GlimmerRules, ARunThatWasCutIsNotOffered) {
    const GameResult closed = PlayGame(RunOf(Events().Return().Wait(100).Line("close")), kClosed);
    GameRun run = RunOf(Events().Wait(50));
    run.data = closed.data;
    EXPECT_EQ(PlayGame(run).LongAt("title_menu"), 6u);
    run.data[kSavedRun].pop_back();
    EXPECT_EQ(PlayGame(run).LongAt("title_menu"), 5u);
    run.data[kSavedRun] = "";
    EXPECT_EQ(PlayGame(run).LongAt("title_menu"), 5u);
}

// --- Seeds

TEST_F(GlimmerRules, TheSeedGoesToTheClipboardAndComesBack) {
    Events events;
    events.Poke("next_seed", 0x0123ABCD).Press(kKeyC, "c");
    EXPECT_EQ(Notice(PlayGame(events)), "The seed is on the clipboard.");
    const GameResult back = PlayGame(events.Poke("next_seed", 0).Press(kKeyV, "v"));
    EXPECT_EQ(back.TextAt("clip_text"), "GLIMMER-0123ABCD");  // what was on the clipboard
    EXPECT_EQ(back.LongAt("next_seed"), 0x0123ABCDu);
    EXPECT_EQ(Notice(back), "The seed was taken from the clipboard.");
    EXPECT_NE(PlayGame(events.Press(kKeyN, "n")).LongAt("next_seed"), 0x0123ABCDu);
}

// A view of 600 x 400: the strip of the seed is 66 rows high, and each of its words has a third of
// it.
TEST_F(GlimmerRules, TheSeedIsCopiedPastedAndRolledByMouse) {
    Events events;
    events.Wait(100).Poke("next_seed", 0xFEEDBEE5).Click(100, 380).Poke("next_seed", 0);
    EXPECT_EQ(PlayGame(events.Click(300, 380)).LongAt("next_seed"), 0xFEEDBEE5u);
    const u32 rolled = PlayGame(events.Click(500, 380)).LongAt("next_seed");
    EXPECT_NE(rolled, 0xFEEDBEE5u);
    EXPECT_NE(rolled, 0u);
}

TEST_F(GlimmerRules, ASeedIsFoundInAnyText) {
    const auto paste = [](const std::string& text) {
        return PlayGame(
            Events().Poke("next_seed", 7).Line("clipboard \"" + text + "\"").Press(kKeyV, "v"));
    };
    EXPECT_EQ(paste("look: deadBEEF!").LongAt("next_seed"), 0xDEADBEEFu);
    EXPECT_EQ(paste("1234567 12345678").LongAt("next_seed"), 0x12345678u);
    for (const std::string& text : {std::string("1234567"), std::string(20000, 'x')}) {
        const GameResult result = paste(text);
        EXPECT_EQ(result.LongAt("next_seed"), 7u);
        EXPECT_EQ(Notice(result), "There is no seed on the clipboard.");
    }
}

TEST_F(GlimmerRules, TheSeedOfARunIsCopiedFromPause) {
    Events events;
    events.Poke("next_seed", 0x600DCAFE).Return().Escape().Down(2).Return();
    const GameResult result = PlayGame(events.Down().Return().Press(kKeyV, "v"));
    EXPECT_EQ(result.LongAt("scene"), Title);
    EXPECT_EQ(result.LongAt("next_seed"), 0x600DCAFEu);
}

TEST_F(GlimmerRules, ASeedIsTheSameGardenOnEveryDay) {
    const auto garden = [](u32 seed, const std::string& date) {
        GameRun run = RunOf(Events().Poke("next_seed", seed).Return());
        run.options = {"--date", date};
        const GameResult result = PlayGame(run);
        EXPECT_EQ(result.LongAt("seed"), seed);
        return result.Bytes("run", "run_end");
    };
    const std::string once = garden(0xC0FFEE, "2024-03-07 09:05:41");
    EXPECT_EQ(garden(0xC0FFEE, "2025-12-31 23:59:59"), once);
    const u32 cells = At("cells") - At("run");
    EXPECT_NE(garden(0xC0FFEF, "2024-03-07 09:05:41").substr(cells, 4096),
              once.substr(cells, 4096));
}

TEST_F(GlimmerRules, EachStartRollsAnotherSeed) {
    const auto seed = [](const std::string& date) {
        GameRun run = RunOf(Events().Wait(50));
        run.options = {"--date", date};
        return PlayGame(run).LongAt("next_seed");
    };
    EXPECT_NE(seed("2024-03-07 09:05:41"), seed("2024-03-07 09:05:42"));
}

}  // namespace

}  // namespace moxi
