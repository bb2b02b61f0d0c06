// Glimmer Hollow, played by event scripts through the real program: its screens, what it keeps
// between runs, and what it does about files that are not as they should be.

#include <random>

#include "tests/games/glimmer_rules.h"
#include "tests/support/listen.h"
#include "tests/support/sound_bytes.h"
#include "vm/guard.h"

namespace moxi {

namespace {

using namespace glimmer;

// --- Screens

TEST(Glimmer, EveryScreenIsReachedAndLeftByKeys) {
    Events events;
    events.Note().Down().Return().Note().Return().Note();                    // high scores and back
    events.Down().Return().Note().Escape().Note();                           // options
    events.Down().Return().Note().Escape().Note();                           // how to play
    events.Up(3).Return().Note();                                            // a new run
    events.Escape().Note().Down().Return().Note();                           // pause, options
    events.Down(6).Return().Note().Escape().Note();                          // back, and on
    events.Poke("intro_steps", 0).Poke("leaving_steps", 1).Wait(50).Note();  // the lantern is lit
    events.Return().Return().Note();                  // all lines, the next night
    events.Press(kKeyP, "p").Note().GiveUp().Note();  // given up
    events.Wait(2450).Note().Return().Note();         // a name, high scores
    events.Escape().Note();
    const GameResult result = PlayGame(events);
    EXPECT_EQ(result.Notes(), (std::vector<u32>{Title, Scores, Title, Options, Title, Help, Title,
                                                Play, Pause, Options, Pause, Play, Dawn, Play,
                                                Pause, Over, Name, Scores, Title}));
}

// The buttons of a view of 600 x 400: the title's are 37 rows apart from 148 on, those of pause 53
// from 96 on, those of options 44 from 96 on; a single button lies above the panel's lower edge.
TEST_F(GlimmerRules, EveryScreenIsReachedAndLeftByMouse) {
    Events events;
    events.Wait(100).Click(300, 203).Note().Click(300, 340).Note();  // high scores and back
    events.Click(300, 240).Note().Click(300, 336).Note();            // options
    events.Click(300, 277).Note().Click(50, 50, 1).Note();           // how to play, right button
    events.Click(300, 166).Note();                                   // a new run
    events.Click(580, 20).Note().Click(300, 172).Note();             // pause button, options
    events.Click(10, 10, 1).Note().Click(300, 119).Note();           // back, and on
    events.Poke("intro_steps", 0).Poke("leaving_steps", 1).Wait(50).Note();  // the lantern is lit
    events.Click(300, 340).Click(300, 340).Note();                 // all lines, the next night
    events.Click(580, 20).Click(300, 331).Click(300, 301).Note();  // given up, yes
    events.Wait(2450).Note().Click(300, 300).Note().Click(300, 340).Note();
    const GameResult result = PlayGame(events);
    EXPECT_EQ(result.Notes(),
              (std::vector<u32>{Scores, Title, Options, Title, Help, Title, Play, Pause, Options,
                                Pause, Play, Dawn, Play, Over, Name, Scores, Title}));
}

TEST_F(GlimmerRules, ThePointerChoosesTheButtonThatItIsOn) {
    Events events;
    events.Wait(100).Line("mouse-move 300 240").Wait(50);
    events.Line("mouse-move 100 240").Wait(50);  // beside it: the choice stays
    EXPECT_EQ(PlayGame(events).LongAt("menu_pick"), 2u);
}

TEST_F(GlimmerRules, AWindowThatIsMinimisedPauses) {
    Events events;
    events.Line("minimize").Wait(50).Note().Line("restore").Wait(50);
    events.Return().Note().Line("minimize").Wait(50).Line("restore").Wait(50).Note();
    EXPECT_EQ(PlayGame(events).Notes(), (std::vector<u32>{Title, Play, Pause}));
}

TEST_F(GlimmerRules, GivingUpAsksFirstAndNoIsTheButtonThatIsChosen) {
    Events events;
    events.Return().Escape().Down(4).Return().Note().Return().Note();  // no
    events.Return().Note().Escape().Note();                            // asked again, and Escape
    events.Return().Down().Return().Note();                            // yes
    const GameResult result = PlayGame(events);
    EXPECT_EQ(result.Notes(), (std::vector<u32>{AskGiveUp, Pause, AskGiveUp, Pause, Over}));
}

// A minute is 3,600 steps.
TEST_F(GlimmerRules, PlayPausesAMinuteAfterTheLatestKey) {
    Events events;
    events.Return().Poke("intro_steps", 0).Wait(100);
    Events away = events;
    away.Poke("idle_steps", 3590).Wait(100).Note().Wait(200).Note();
    EXPECT_EQ(PlayGame(away).Notes(), (std::vector<u32>{Play, Pause}));
    // A key that is held is one, and so is any that is pressed.
    Events flying = events;
    flying.Line("key-down 7C \"\\x1D\"").Poke("idle_steps", 3590).Wait(400).Note();
    EXPECT_EQ(PlayGame(flying).Notes(), std::vector<u32>{Play});
    Events pressing = events;
    pressing.Poke("idle_steps", 3590).Wait(50).Press(kKeyM, "m").Wait(400).Note();
    EXPECT_EQ(PlayGame(pressing).Notes(), std::vector<u32>{Play});
}

TEST_F(GlimmerRules, EscapeOnTheTitleChoosesQuitAndReturnQuits) {
    Events events;
    const GameResult chosen = PlayGame(events.Escape());
    EXPECT_EQ(chosen.LongAt("menu_pick"), 4u);
    EXPECT_EQ(chosen.data.count(kSettings), 0u);
    const GameResult ended = PlayGame(events.Return().Wait(1000));
    EXPECT_EQ(ended.data.count(kSettings), 1u);
    EXPECT_LT(ended.LongAt("steps"), 60u);
}

TEST_F(GlimmerRules, TheFireflyFliesByItselfAfterSevenSecondsAndAnyKeyEndsIt) {
    Events events;
    events.Poke("idle_steps", 360).Wait(700).Note().Wait(1500).Note();
    const GameResult flying = PlayGame(events);
    EXPECT_EQ(flying.Notes(), (std::vector<u32>{Title, Play}));
    EXPECT_EQ(flying.LongAt("demo"), 1u);
    EXPECT_NE(flying.LongAt("night_steps"), 0u);
    EXPECT_EQ(flying.data.size(), 0u);

    const GameResult ended = PlayGame(events.Press(kKeyM, "m").Note());
    EXPECT_EQ(ended.Notes().back(), Title);
    EXPECT_EQ(ended.LongAt("demo"), 0u);
    EXPECT_LT(ended.LongAt("idle_steps"), 60u);  // it waits for as long again

    Events clock =
        Events().Poke("idle_steps", 419).Wait(100).Note().Poke("demo_steps", 2).Wait(100);
    EXPECT_EQ(PlayGame(clock.Note()).Notes(), (std::vector<u32>{Play, Title}));
}

TEST(Glimmer, EveryPictureIsOpaqueInEverySizeOfTheWindow) {
    const std::vector<std::string> sizes = {"600 400",   "601 403", "1920 1080",
                                            "3000 2000", "300 200", "120 90"};
    for (const std::string& size : sizes) {
        if (kCheckedAccess && size != "601 403" && size != "300 200") {
            continue;
        }
        GameRun run;
        if (size.size() > 8) {
            run.desktop = "3200x2300";
        }
        run.data = {{kSettings, EightScores()}};
        Events& events = run.events;
        events.Line("resize " + size).Wait(60);
        const auto show = [&events](Scene scene) {
            events.Call("go_scene", scene).Call("draw_and_note").Wait(20);
        };
        for (const Scene scene : {Title, Scores, Options, Help}) {
            show(scene);
        }
        events.Call("tell", At("copied_text"));
        show(Title);
        events.Call("start_new").Call("draw_and_note");
        events.Poke("intro_steps", 0).Poke("hero_hurt", 110).Poke("petal_steps", 400);
        events.Poke("banner_text", At("awake_text")).Poke("banner_steps", 90);
        events.Poke("lantern_lit", 1).Poke("glow", 500).Call("draw_and_note").Wait(20);
        show(Pause);
        show(AskGiveUp);
        show(Morning);
        events.Call("options_from_pause").Call("draw_and_note");
        show(Dawn);
        events.Poke("dawn_shown", 5).Poke("menu", At("dawn_menu")).Call("draw_and_note");
        show(Over);
        events.Poke("menu", At("over_menu")).Call("draw_and_note");
        show(Name);
        events.Call("start_demo").Call("draw_and_note");
        // Smaller and larger while it is played.
        events.Line("resize 500 300").Wait(40).Call("draw_and_note");
        events.Line("resize 620 440").Wait(40).Call("draw_and_note");
        run.milliseconds = events.now + 20;
        const GameResult result = PlayGame(run);
        EXPECT_EQ(result.LongAt("notes"), 19u) << size;
        EXPECT_EQ(result.Notes("noted_holes"), std::vector<u32>(19, 0)) << size;
    }
}

// --- Sizes

// The view in units, and the pixels of two of them. A window below 600 x 400 has half a pixel for a
// unit; one with room for 800 x 450 units of two pixels has two, and so on.
TEST_F(GlimmerRules, AUnitHasAsManyPixelsAsTheWindowHasRoomFor) {
    struct Case {
        const char* size;
        u32 zoom, width, height;
    };
    for (const Case& c :
         {Case{"600 400", 2, 600, 400}, Case{"599 400", 1, 1198, 800}, Case{"300 200", 1, 600, 400},
          Case{"1280 800", 2, 1280, 800}, Case{"1920 1080", 4, 960, 540},
          Case{"2561 1440", 6, 854, 480}, Case{"3840 2160", 8, 960, 540}}) {
        GameRun run = RunOf(Events().Line(std::string("resize ") + c.size).Wait(60));
        run.desktop = "4000x2300";
        run.milliseconds = run.events.now;  // large pictures take long
        const GameResult result = PlayGame(run);
        EXPECT_EQ(result.LongAt("zoom"), c.zoom) << c.size;
        EXPECT_EQ(result.LongAt("view_width"), c.width) << c.size;
        EXPECT_EQ(result.LongAt("view_height"), c.height) << c.size;
    }
}

// The first garden has 30 x 22 cells of 48 units.
TEST_F(GlimmerRules, TheGardenIsLargerThanALargeWindow) {
    for (const u32 pixels : {2u, 4u}) {
        GameRun run;
        const std::string width = std::to_string(960 * pixels);
        const std::string height = std::to_string(540 * pixels);
        run.desktop = "4000x2300";
        run.events.Return().Line("resize " + width + " " + height).Wait(60);
        run.milliseconds = run.events.now;
        const GameResult result = PlayGame(run);
        EXPECT_EQ(result.LongAt("tile_side"), 48 * pixels);
        EXPECT_GT(30 * result.LongAt("tile_side"), result.LongAt("screen_width"));
        EXPECT_GT(22 * result.LongAt("tile_side"), result.LongAt("screen_height"));
    }
}

// In 1920 x 1080, the options' button of the title's five: that of 960 x 540 units, twice as far.
TEST_F(GlimmerRules, ThePointerFitsInEveryZoom) {
    GameRun run;
    run.desktop = "2000x1200";
    run.events.Line("resize 1920 1080").Wait(100).Click(2 * 480, 2 * 340).Note();
    run.events.Line("resize 300 200").Wait(100).Click(25, 25, 1).Note();
    const GameResult result = PlayGame(run);
    EXPECT_EQ(result.Notes(), (std::vector<u32>{Options, Title}));
}

// --- Nights

// In 65536ths of a pixel.
constexpr u32 kPixel = 65536;

// The address of a field of the first foe of a kind.
u32 FoeField(const GameResult& result, u32 kind, const std::string& field) {
    for (u32 i = 0; i < At("MOST_FOES"); ++i) {
        const u32 record = At("foes") + i * At("FOE_SIZE");
        if (result.Long(record + At("foe_kind")) == kind) {
            return record + At(field);
        }
    }
    ADD_FAILURE() << "no foe of kind " << kind;
    return 0;
}

// A run that begins with this night, without its introduction and without foes of that kind or
// less.
Events NightWithout(u32 night, u32 seed, u32 highestKind, u32 foes) {
    Events events;
    events.Poke("option_first", night).Poke("next_seed", seed).Call("start_new");
    events.Poke("intro_steps", 0);
    for (u32 i = 0; i < foes; ++i) {
        const u32 record = At("foes") + i * At("FOE_SIZE");
        if (highestKind != 0) {
            events.Post(100, record + At("foe_kind"), 0);
        }
    }
    return events;
}

TEST_F(GlimmerRules, TheNightsHaveFiveKindsOfGarden) {
    std::vector<std::string> gardens;
    std::vector<std::string> music;
    for (u32 night = 1; night <= 12; ++night) {
        const u32 line = At("plan") + (night - 1) * At("PLAN_SIZE");
        const std::string& module = std::string(Module().bytes.begin(), Module().bytes.end());
        const auto longAt = [&](u32 address) {
            u32 value = 0;
            std::memcpy(&value, module.data() + address, 4);
            return value;
        };
        const u32 kind = longAt(line + At("plan_kind"));
        gardens.emplace_back(module.c_str() + longAt(kind + At("kind_tiles")));
        music.emplace_back(module.c_str() + longAt(line + At("plan_music")));
    }
    for (std::vector<std::string>* names : {&gardens, &music}) {
        std::sort(names->begin(), names->end());
        names->erase(std::unique(names->begin(), names->end()), names->end());
    }
    EXPECT_EQ(gardens.size(), 5u);
    EXPECT_EQ(music.size(), 6u);
}

// What was found by flying: from 1,200 steps in the first nights to some 5,000 in the last ones. A
// night that cannot be flown to its lantern within 30,000 is noted as 0.
TEST_F(GlimmerRules, ThePilotLightsTheLanternOfEveryNight) {
    GameRun run;
    run.pilot = true;
    run.events.pilot = true;
    for (const u32 seed : {77u, 2u}) {
        for (u32 night = 1; night <= 12; ++night) {
            run.events.Poke("next_seed", seed).Call("fly_night", night);
        }
    }
    run.milliseconds = run.events.now + 20;
    const GameResult result = PlayGame(run);
    for (u32 i = 0; i < 24; ++i) {
        SCOPED_TRACE("flight " + std::to_string(i));
        EXPECT_GT(result.Long(At("flown_steps", true) + 4 * i), 600u);
        EXPECT_EQ(result.Long(At("noted_scenes", true) + 4 * i), i % 12 == 11 ? Morning : Dawn);
    }
}

// Seven of the glow a step, and the fading's one.
TEST_F(GlimmerRules, AWispDrinksTheGlowOfTheFireflyThatItTouches) {
    Events events = NightWithout(3, 77, 0, 0);
    const GameResult before = PlayGame(events);
    const u32 kWisp = 4;
    Events touched = NightWithout(3, 77, kWisp, 24);
    // The first record becomes a wisp on the firefly.
    const u32 record = At("foes");
    touched.Post(100, record + At("foe_kind"), kWisp);
    touched.Post(100, record + At("foe_x"), before.LongAt("hero_x"));
    touched.Post(100, record + At("foe_y"), before.LongAt("hero_y"));
    touched.Poke("glow", 3000).Call("play_steps", 10).Call("note");
    touched.Poke("scene", Pause);
    const GameResult result = PlayGame(touched);
    EXPECT_LE(result.LongAt("glow"), 3000u - 10 * 8);
    EXPECT_GE(result.LongAt("glow"), 2600u);
    EXPECT_EQ(result.LongAt("hearts"), 3u);
}

TEST_F(GlimmerRules, AGustOfTheOrchardPushesTheFirefly) {
    const auto fly = [](u32 night) {
        Events events = NightWithout(night, 77, 5, 24);
        events.Poke("gust_wait", 1).Call("play_steps", 44).Call("note");
        return PlayGame(events.Poke("scene", Pause));
    };
    // Leaves fly for 45 steps before it pushes.
    const GameResult warned = fly(5);
    EXPECT_GT(warned.LongAt("gust_steps"), 100u);
    EXPECT_EQ(warned.LongAt("hero_vx"), 0u);
    Events events = NightWithout(5, 77, 5, 24);
    events.Poke("gust_wait", 1).Call("play_steps", 100).Poke("scene", Pause);
    const GameResult pushed = PlayGame(events);
    EXPECT_NE(pushed.LongAt("hero_vx"), 0u);
    Events still = NightWithout(3, 77, 5, 24);
    still.Poke("gust_wait", 1).Call("play_steps", 100).Poke("scene", Pause);
    EXPECT_EQ(PlayGame(still).LongAt("gust_steps"), 0u);  // the marsh has no wind
}

// A speed of 4 pixels a step is gone after 60 steps over grass: 4 * 0.895^60 is below 0.006. Over
// ice 4 * 0.97^60 is 0.64.
TEST_F(GlimmerRules, OverTheIceOfTheGroveTheFireflyGlides) {
    const auto glide = [](u32 night) {
        Events events = NightWithout(night, 77, 5, 24);
        events.Call("flood");
        events.Poke("hero_vx", 4 * kPixel).Call("play_steps", 60).Poke("scene", Pause);
        return PlayGame(events).LongAt("hero_vx");
    };
    EXPECT_GT(glide(7), kPixel / 2);
    EXPECT_LT(glide(3), kPixel / 100);
}

// It is where the firefly was 200 steps ago: 150 steps after a leap of 300 pixels still where that
// was before, and 230 steps after it, or some more for the time between, at its new place, where it
// touches.
TEST_F(GlimmerRules, TheShadeFliesTheWayOfTheFirefly) {
    const u32 kShade = 5;
    const GameResult start = PlayGame(NightWithout(9, 77, 0, 0).Poke("scene", Pause));
    const u32 record = FoeField(start, kShade, "foe_kind");
    const u32 before = start.LongAt("hero_x");
    const u32 after = before + 300 * kPixel;
    const auto fly = [&](u32 steps) {
        Events flight = NightWithout(9, 77, 5, 24);
        flight.Post(100, record + At("foe_kind"), kShade).Post(100, record + At("foe_wait"), 200);
        flight.Call("play_steps", 100).Poke("hero_x", after).Call("play_steps", steps);
        return PlayGame(flight.Poke("scene", Pause));
    };
    const GameResult early = fly(150);
    EXPECT_EQ(early.LongAt("hero_x"), after);
    EXPECT_EQ(early.Long(record + At("foe_x")), before);
    EXPECT_EQ(early.LongAt("hearts"), 3u);
    const GameResult late = fly(230);
    EXPECT_EQ(late.Long(record + At("foe_x")), after);
    EXPECT_EQ(late.LongAt("hearts"), 2u);
}

TEST_F(GlimmerRules, TheTwelfthLanternBringsTheMorning) {
    Events events;
    events.Poke("option_first", 12).Return().Poke("intro_steps", 0).Poke("score", 1000);
    events.Poke("leaving_steps", 30).Poke("glow", 500).Wait(600).Note();
    Events rest = events;
    rest.Down().Return().Note().Return().Note();
    const GameResult rested = PlayGame(rest);
    EXPECT_EQ(rested.Notes(), (std::vector<u32>{Morning, Name, Scores}));
    // 3 hearts of 250, the glow, and 10,000 for the morning.
    EXPECT_EQ(HighScores(rested), (Places{{1000 + 750 + 500 + 10000, "Firefly"}}));
    EXPECT_EQ(Setting(rested, "Mornings"), "1");
    EXPECT_EQ(rested.data.count(kSavedRun), 0u);

    const GameResult flown = PlayGame(events.Return().Note());
    EXPECT_EQ(flown.Notes(), (std::vector<u32>{Morning, Play}));
    EXPECT_EQ(flown.LongAt("night"), 13u);
    EXPECT_EQ(flown.data.count(kSavedRun), 1u);
}

TEST_F(GlimmerRules, ARunMayBeginWithAnyNightOfNewThingsThatWasReached) {
    Events events;
    events.Down(2).Return().Down(5);  // options, the first night
    const auto chosen = [&](u32 best, int presses) {
        GameRun run = RunOf(events);
        run.data = {{kSettings, "[0x00000000=Options]\nBestNight= " + std::to_string(best) + "\n"}};
        for (int i = 0; i < presses; ++i) {
            run.events.Return();
        }
        return PlayGame(run).TextAt("label_first");
    };
    EXPECT_EQ(chosen(1, 1), "First night: 1");
    EXPECT_EQ(chosen(6, 2), "First night: 5");
    EXPECT_EQ(chosen(6, 3), "First night: 1");
    EXPECT_EQ(chosen(20, 5), "First night: 12");

    Events begun;
    begun.Poke("option_first", 5).Return();
    EXPECT_EQ(PlayGame(begun).LongAt("night"), 5u);
}

// --- Settings

TEST_F(GlimmerRules, OptionsAreKeptForTheNextRun) {
    Events events;
    events.Down(2).Return();                 // options
    events.Return().Down().Return();         // music, sounds
    events.Down().Return().Down().Return();  // fierce, no map
    events.Escape();
    const GameResult switched = PlayGame(events);
    EXPECT_EQ(Setting(switched, "Music"), "0");
    EXPECT_EQ(Setting(switched, "Sounds"), "0");
    EXPECT_EQ(Setting(switched, "Difficulty"), "2");
    EXPECT_EQ(Setting(switched, "Map"), "0");
    EXPECT_EQ(Setting(switched, "FullScreen"), "0");
    EXPECT_EQ(Setting(switched, "Name"), "\"Firefly\"");

    GameRun next = RunOf(Events().Down(2).Return());
    next.data = switched.data;
    const GameResult read = PlayGame(next);
    EXPECT_EQ(read.LongAt("option_music"), 0u);
    EXPECT_EQ(read.LongAt("option_sounds"), 0u);
    EXPECT_EQ(read.LongAt("option_difficulty"), 2u);
    EXPECT_EQ(read.LongAt("option_map"), 0u);
    EXPECT_EQ(read.TextAt("label_level"), "Nights: fierce");
    EXPECT_EQ(read.TextAt("label_music"), "Music: off");
}

TEST_F(GlimmerRules, OptionsThatTheSettingsDoNotNameAreAsAlways) {
    GameRun run = RunOf(Events().Wait(50));
    run.data = {{kSettings, "[0x00000000=Options]\nSounds= 0\n"}};
    const GameResult result = PlayGame(run);
    EXPECT_EQ(result.LongAt("option_music"), 1u);
    EXPECT_EQ(result.LongAt("option_sounds"), 0u);
    EXPECT_EQ(result.LongAt("option_map"), 1u);
    EXPECT_EQ(result.LongAt("option_full"), 0u);
    EXPECT_EQ(result.LongAt("option_difficulty"), 1u);
    EXPECT_EQ(result.TextAt("player_name"), "Firefly");
}

TEST_F(GlimmerRules, FullScreenIsKeptForTheNextRun) {
    const GameResult switched =
        PlayGame(Events().Down(2).Return().Down(4).Return().Wait(200).Escape());
    EXPECT_EQ(Setting(switched, "FullScreen"), "1");
    EXPECT_EQ(switched.LongAt("view_width"), 640u);
    EXPECT_EQ(switched.LongAt("view_height"), 480u);
    GameRun next = RunOf(Events().Wait(300));
    next.data = switched.data;
    EXPECT_EQ(PlayGame(next).LongAt("view_width"), 640u);
}

TEST_F(GlimmerRules, AMenuComesBackWithTheButtonThatWasPressed) {
    Events events;
    events.Down(3).Return().Escape();  // how to play
    EXPECT_EQ(PlayGame(events).LongAt("menu_pick"), 3u);
    EXPECT_EQ(PlayGame(events.Up(3).Return().Escape()).LongAt("menu_pick"), 0u);  // pause
}

TEST_F(GlimmerRules, LeftAndRightSwitchOptionsButDoNotLeave) {
    Events events;
    events.Down(2).Return();                                // options
    events.Press("7B", "\x1C").Down().Press("7C", "\x1D");  // music, sounds
    events.Down(5).Press("7C", "\x1D");                     // back
    const GameResult result = PlayGame(events);
    EXPECT_EQ(result.LongAt("scene"), Options);
    EXPECT_EQ(result.LongAt("option_music"), 0u);
    EXPECT_EQ(result.LongAt("option_sounds"), 0u);
}

TEST(Glimmer, BrokenSettingsDoNoHarm) {
    std::mt19937 random(1);
    std::string noise(4000, '\0');
    for (char& byte : noise) {
        byte = static_cast<char>(random());
    }
    const std::string longName(5000, 'x');
    const std::string options = "[0x00000000=Options]\n";
    const std::string scores = "[0x00000000=Scores]\n";
    const std::vector<std::string> files = {
        noise,
        options + noise,
        scores + "1= 5 5 5 \"A\"\n2=\n3= x\n4= 5 5 5 5 5\n",
        options + "Music= 99999999999\nSounds= -7\nMap= 2147483648\nFullScreen= 4294967295\n" +
            "Difficulty= -2147483648\nName= \"" + longName + "\"\n" + scores +
            "1= 99999999999 -1 -1 \"" + longName + "\"\n2= -5 -5 -5 \"\n",
    };
    for (const std::string& file : files) {
        Events events;
        events.Press("67", "\xEF\x9C\x8E").Press("67", "\xEF\x9C\x8E");  // F11
        events.Down().Return().Note().Escape();                          // high scores
        events.Down().Return().Note().Escape();                          // options
        events.Up(2).Return().Wait(200).Note().Line("close");
        GameRun run = RunOf(events);
        run.data = {{kSettings, file}};
        const GameResult result = PlayGame(run, kClosed);
        EXPECT_EQ(result.Notes(), (std::vector<u32>{Scores, Options, Play})) << file.substr(0, 60);
        EXPECT_LE(result.LongAt("option_difficulty"), 2u);
        EXPECT_LE(result.LongAt("option_music"), 1u);
        EXPECT_LT(result.TextAt("player_name").size(), 28u);
        for (const auto& [points, name] : HighScores(result)) {
            EXPECT_LT(name.size(), 28u);
        }
        EXPECT_EQ(result.data.count(kSettings), 1u);
    }
}

// --- Music and sounds

TEST_F(GlimmerRules, TheMusicFollowsTheGame) {
    Events events;
    events.Note().Down().Return().Note().Escape();       // title, high scores
    events.Up().Return().Note().Poke("intro_steps", 0);  // the first night
    for (const u32 glow : {700u, 1400u, 1600u}) {
        events.Poke("glow", glow).Wait(50).Note();
    }
    events.Poke("leaving_steps", 1).Wait(50).Note();  // dawn
    events.Return().Return().Note();                  // the second night
    events.Escape().Note().GiveUp().Note();           // pause, over
    const GameResult result = PlayGame(events);
    std::vector<std::string> music;
    for (const u32 piece : result.Notes("noted_music")) {
        music.push_back(result.Text(piece).substr(std::strlen("../MUSIC/")));
    }
    EXPECT_EQ(music, (std::vector<std::string>{"TITLE.MID", "SCORES.MID", "NIGHT1.MID",
                                               "DANGER.MID", "DANGER.MID", "NIGHT1.MID", "DAWN.MID",
                                               "NIGHT2.MID", "NIGHT2.MID", "FADE.MID"}));
    EXPECT_EQ(result.Notes("noted_loops"), (std::vector<u32>{1, 1, 1, 1, 1, 1, 0, 1, 1, 0}));
}

// A title of half a second, which is heard again and again; a sad end that is heard once, and then
// the music of the high scores.
TEST_F(GlimmerRules, MusicLoopsUnlessItIsAnEndAndNeverStops) {
    if (!fs::exists("/usr/share/sounds/sf2") && !fs::exists("/usr/share/soundfonts")) {
        GTEST_SKIP() << "no SoundFont is installed";
    }
    const std::string piece =
        MidiFile(0, 96, {Bytes({0, 0xC0, 79}) + NoteOn(0, 69) + NoteOff(72, 69) + EndOfTrack(24)});
    const TemporaryFolder folder;
    const auto play = [&](const Events& events) {
        GameRun run = RunOf(events);
        for (const char* name : {"TITLE", "FADE", "SCORES"}) {
            run.replaced[std::string("MUSIC/") + name + ".MID"] = piece;
        }
        run.options = {"--render-audio", folder.path + "/heard.wav"};
        return PlayGame(run);
    };
    const auto hear = [&](const Events& events) {
        play(events);
        return ReadRecording(folder.path + "/heard.wav");
    };
    const Recording title = hear(Events().Wait(2450));
    EXPECT_GT(Loudness(Part(title, 0.1, 0.4)), 0.01);
    EXPECT_GT(Loudness(Part(title, 2.3, 2.7)), 0.01);
    // Sounds off, so that the music alone is heard.
    const Events over =
        Events().Poke("option_sounds", 0).Return().Escape().GiveUp().Wait(2000).Note();
    EXPECT_GT(Loudness(Part(hear(over), 2.4, 3.0)), 0.01);
    const GameResult result = play(over);
    EXPECT_EQ(result.Text(result.Notes("noted_music").back()), "../MUSIC/SCORES.MID");
    EXPECT_EQ(result.Notes("noted_loops").back(), 1u);
}

// Of full scale -18 dB are 0.126, -22 dB 0.0794 and -14 dB 0.1995; -1 dB is a sample of 29,204.
TEST_F(GlimmerRules, TheMusicOfPlayIsLoudEnoughAndHasRoomForSounds) {
    if (!fs::exists("/usr/share/sounds/sf2") && !fs::exists("/usr/share/soundfonts")) {
        GTEST_SKIP() << "no SoundFont is installed";
    }
    const TemporaryFolder folder;
    GameRun run;
    run.events.Poke("option_sounds", 0).Poke("option_first", 5).Return();
    run.events.Poke("intro_steps", 0).Poke("grace_steps", 100000).Wait(12000);
    run.options = {"--render-audio", folder.path + "/heard.wav"};
    PlayGame(run);
    const Recording heard = Part(ReadRecording(folder.path + "/heard.wav"), 1.0, 12.0);
    EXPECT_GT(Loudness(heard), 0.0794);
    EXPECT_LT(Loudness(heard), 0.1995);
    EXPECT_LT(Peak(heard), 29204);
}

// The length of a sound has a margin of 200 ms. COUNT.WAV has 5,292 bytes of 16-bit mono at 44,100
// Hz, which is 60 ms: 260 ms are 15.6 steps of a sixtieth of a second. LANTERN.WAV has 132,300
// bytes, 1.5 s, NIGHT.WAV and OVER.WAV 185,220, 2.1 s.
TEST_F(GlimmerRules, SoundsSayHowLongThingsTake) {
    const GameResult result = PlayGame(Events().Wait(50));
    EXPECT_EQ(result.LongAt("steps_count"), 15u);
    EXPECT_EQ(result.LongAt("steps_lantern"), 102u);
    EXPECT_EQ(result.LongAt("steps_night"), 138u);
    EXPECT_EQ(result.LongAt("steps_over"), 138u);
}

// --- Files that are missing

TEST(Glimmer, AMissingPictureIsNamed) {
    GameRun run = RunOf(Events().Wait(50));
    run.replaced = {{"PICTURES/OWL.PNG", ""}};
    const GameResult result =
        PlayGame(run,
                 "log: picture PICTURES/OWL.PNG: cannot be read\n"
                 "fatal: Glimmer Hollow cannot read its picture PICTURES/OWL.PNG\n");
    EXPECT_EQ(result.LongAt("steps"), 0u);
}

TEST(Glimmer, MissingSoundsAndMusicHoldNothingUp) {
    GameRun run;
    for (const char* folder : {"SOUNDS", "MUSIC"}) {
        for (const auto& entry : fs::directory_iterator(kSources / "resources" / folder)) {
            run.replaced[std::string(folder) + "/" + entry.path().filename().string()] = "";
        }
    }
    run.events
        .Poke("option_sounds", 0)  // each would be one log line
        .Return()
        .Poke("intro_steps", 0)
        .Poke("leaving_steps", 1)
        .Wait(50)
        .Return()
        .Return()
        .Note();
    run.events.Escape().GiveUp().Wait(200).Note();
    std::string missing;
    for (const char* piece : {"TITLE", "NIGHT1", "DAWN", "NIGHT2", "FADE", "SCORES"}) {
        missing += std::string("log: music ../MUSIC/") + piece + ".MID: cannot be read\n";
    }
    EXPECT_EQ(PlayGame(run, missing).Notes(), (std::vector<u32>{Play, Name}));
}

// --- For long

TEST(Glimmer, ThePilotPlaysForMinutes) {
    GameRun run;
    run.pilot = true;
    run.milliseconds = kCheckedAccess ? 10000 : 120000;
    for (u32 time = 1000; time < run.milliseconds; time += 2500) {
        run.events.now = time;
        run.events.Return();
    }
    const GameResult result = PlayGame(run);
    EXPECT_GT(result.Long(At("steps", true)), run.milliseconds / 1000 * 58);  // 60 a second
}

}  // namespace

}  // namespace moxi
