#pragma once
// What the tests of Glimmer Hollow's rules share.

#include <string>
#include <utility>
#include <vector>

#include "tests/games/glimmer_game.h"
#include "vm/guard.h"

namespace moxi {

namespace glimmer {

constexpr const char* kSettings = "GLIMMER.INI";
constexpr const char* kSavedRun = "SAVE/RUN.DAT";

// Keys by their place: of the letters C, M, N, P and V.
constexpr const char* kKeyC = "08";
constexpr const char* kKeyM = "2E";
constexpr const char* kKeyN = "2D";
constexpr const char* kKeyP = "23";
constexpr const char* kKeyV = "09";

// Eight high scores from 8000 down to 1000, the highest of "A".
inline std::string EightScores() {
    std::string text = "[0x00000000=Options]\nMusic= 1\nName= \"Zed\"\n[0x00000000=Scores]\n";
    for (int place = 1; place <= 8; ++place) {
        text += std::to_string(place) + "= " + std::to_string(9000 - 1000 * place) +
                " 2 0x00000010 \"" + static_cast<char>('A' + place - 1) + "\"\n";
    }
    return text;
}

using Places = std::vector<std::pair<u32, std::string>>;

// The points and names of the high scores in the module's memory.
inline Places HighScores(const GameResult& result) {
    Places scores;
    for (u32 place = 0; place < 8; ++place) {
        const u32 address = At("places") + place * At("PLACE_SIZE");
        if (result.Long(address) == 0) {
            break;
        }
        scores.emplace_back(result.Long(address), result.Text(address + At("place_name")));
    }
    return scores;
}

// The value of a line of the settings.
inline std::string Setting(const GameResult& result, const std::string& key) {
    const auto file = result.data.find(kSettings);
    if (file == result.data.end()) {
        return "no file";
    }
    const std::string text = "\n" + file->second;
    const size_t line = text.find("\n" + key + "=");
    if (line == std::string::npos) {
        return "no line";
    }
    const size_t start = line + key.size() + 3;  // a blank before the value
    return text.substr(start, text.find_first_of("\r\n", start) - start);
}

inline std::string Notice(const GameResult& result) {
    return result.Text(result.LongAt("told"));
}

inline GameRun RunOf(const Events& events) {
    GameRun run;
    run.events = events;
    return run;
}

// What the module does is the same in every build of the host. In those that check each access of
// the host's, where a start alone takes seconds, the tests of the other suite are enough.
class GlimmerRules : public testing::Test {
  protected:
    void SetUp() override {
        if (kCheckedAccess) {
            GTEST_SKIP() << "the release build plays it";
        }
    }
};

}  // namespace glimmer

}  // namespace moxi
