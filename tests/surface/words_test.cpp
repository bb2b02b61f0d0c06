// The catalogues of the host's own texts.

#include "surface/words.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/message_log.h"
#include "tests/support/patterns.h"

namespace moxi {

namespace {

namespace fs = std::filesystem;

const std::string kSource = MOXI_SOURCE_DIR;

// Every literal of the source that is shown in the player's language.
std::set<std::string> TextsOfSource() {
    std::set<std::string> texts;
    const std::string call = R"re(\b(Words|ForTranslation)\(\s*((?:"(?:[^"\\]|\\.)*"\s*)+)\))re";
    for (const char* const room : {"surface", "app"}) {
        for (const auto& file : fs::directory_iterator(kSource + "/" + room)) {
            const std::string source = ReadTextFile(file.path().string());
            for (const Match& found : AllMatches(source, call)) {
                // Literals that stand after one another are one.
                std::string text = ReplaceMatches(found[2], R"("\s*")", "");
                text = text.substr(1, text.find_last_of('"') - 1);
                if (!text.empty()) {
                    texts.insert(text);
                }
            }
        }
    }
    return texts;
}

// The entries of a catalogue; each text is one line of it.
std::map<std::string, std::string> Entries(const std::string& language) {
    std::map<std::string, std::string> entries;
    std::istringstream file(ReadTextFile(kSource + "/share/locale/" + language + ".po"));
    std::string id;
    for (std::string line; std::getline(file, line);) {
        const auto quoted = [&line] {
            const size_t from = line.find('"') + 1;
            return line.substr(from, line.find_last_of('"') - from);
        };
        if (line.rfind("msgid ", 0) == 0) {
            id = quoted();
        }
        if (line.rfind("msgstr ", 0) == 0 && !id.empty()) {
            entries[id] = quoted();
        }
        EXPECT_EQ(line.find("fuzzy"), std::string::npos) << language << ": " << line;
    }
    return entries;
}

size_t Count(const std::string& text, const std::string& what) {
    size_t count = 0;
    for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; ++at) {
        ++count;
    }
    return count;
}

TEST(Catalogues, TranslateEveryTextAndNothingElse) {
    const std::set<std::string> texts = TextsOfSource();
    ASSERT_TRUE(texts.contains("Preferences"));
    for (const char* const language : {"de", "fr", "es", "ru", "ja"}) {
        const auto entries = Entries(language);
        for (const std::string& text : texts) {
            const auto entry = entries.find(text);
            ASSERT_TRUE(entry != entries.end()) << language << " lacks: " << text;
            EXPECT_FALSE(entry->second.empty()) << language << " lacks: " << text;
            EXPECT_EQ(Count(entry->second, "%s"), Count(text, "%s")) << language << ": " << text;
            EXPECT_EQ(Count(entry->second, "%1"), Count(text, "%1")) << language << ": " << text;
        }
        for (const auto& [id, translation] : entries) {
            EXPECT_TRUE(texts.contains(id)) << language << " has, and nobody says: " << id;
        }
    }
}

// The title and the first tab of the panel in the real program, with these variables set.
std::string PanelIn(const std::vector<std::pair<const char*, const char*>>& variables) {
    for (const auto& [name, value] : variables) {
        setenv(name, value, 1);
    }
    const TemporaryFolder folder;
    WriteGame(folder.path + "/game", LoggingModule().Source());
    WriteTextFile(folder.path + "/script",
                  "10 modifiers command\n20 key-down 2B \",\"\n30 screenshot shot.png\n");
    RunProgram(
        "moxi",
        {"--headless", "--script", "script", "--dump-ui", "ui", "--data-folder", "data", "game"},
        folder.path);
    for (const auto& [name, value] : variables) {
        unsetenv(name);
    }
    const std::string controls = ReadTextFile(folder.path + "/ui");
    return controls.substr(0, controls.find(" at "));
}

TEST(Languages, AreChosenByTheVariablesOfTheDesktop) {
    const auto in = [](const char* title, const char* tab) {
        return std::string("surface \"") + title + "\" 1000x600\ntab page-sound \"" + tab + "\"";
    };
    const std::string english = in("Preferences", "Sound");
    const std::string german = in("Einstellungen", "Ton");
    unsetenv("LC_ALL");
    unsetenv("LANGUAGE");
    EXPECT_EQ(PanelIn({{"LANG", "C"}}), english);
    EXPECT_EQ(PanelIn({{"LANG", "C.UTF-8"}}), english);
    EXPECT_EQ(PanelIn({{"LANG", "en_GB.UTF-8"}}), english);
    EXPECT_EQ(PanelIn({{"LANG", "xx_YY"}}), english);
    EXPECT_EQ(PanelIn({{"LANG", "de_AT.UTF-8"}}), german);
    EXPECT_EQ(PanelIn({{"LANG", "fr_CA"}}), in("Préférences", "Son"));
    EXPECT_EQ(PanelIn({{"LANG", "es_MX.UTF-8"}}), in("Preferencias", "Sonido"));
    EXPECT_EQ(PanelIn({{"LANG", "ru_RU.KOI8-R"}}), in("Настройки", "Звук"));
    EXPECT_EQ(PanelIn({{"LANG", "ja_JP.UTF-8"}}), in("環境設定", "サウンド"));
    EXPECT_EQ(PanelIn({{"LANG", "fr"}, {"LC_MESSAGES", "de_DE@euro"}}), german);
    EXPECT_EQ(PanelIn({{"LC_MESSAGES", "fr"}, {"LC_ALL", "de"}}), german);
    EXPECT_EQ(PanelIn({{"LANG", "fr"}, {"LANGUAGE", "xx:de:fr"}}), german);
    // Who has no language set has no list of languages either.
    EXPECT_EQ(PanelIn({{"LANG", "C"}, {"LANGUAGE", "de"}}), english);
}

}  // namespace

}  // namespace moxi
