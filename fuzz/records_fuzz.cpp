// The text files that the host keeps or finds beside a game, with any content: preferences, the
// record of play, places of windows, information files, and what the tools for C wrote of lines and
// names. Some of them a process that a game has taken over may have written.

#include <fuzzer/FuzzedDataProvider.h>
#include <iterator>

#include "base/output_files.h"
#include "desktop/folders.h"
#include "fuzz/memory_file.h"
#include "fuzz/require.h"
#include "host/game_info.h"
#include "host/played.h"
#include "host/plist.h"
#include "host/preferences.h"
#include "host/window_place.h"
#include "kit/lines.h"
#include "kit/symbols.h"

namespace moxi {

namespace {

// What the preferences would write; nothing reaches a disk.
void KeepInMemory() {
    outputFiles.open = [](const std::string&) -> std::FILE* { return std::tmpfile(); };
    outputFiles.remove = [](const std::string&) {};
    outputFiles.putInPlace = [](const std::string&) { return true; };
}

constexpr const char* kNames[] = {"music-volume", "mute",   "scale",  "ask-before-opening",
                                  "filter",       "key.w",  "pad.a",  "screenshot-folder",
                                  "full-screen",  "key.99", "nothing"};
constexpr const char* kValues[] = {"yes", "no", "50", "fit", "a", "/tmp", "~/x", "", "smooth"};

void ReadAndChangePreferences(FuzzedDataProvider& input) {
    const std::string game = input.ConsumeRandomLengthString(30);
    std::vector<u8> changes = input.ConsumeBytes<u8>(12);
    const std::string text = input.ConsumeRemainingBytesAsString();
    const MemoryFile file(text);
    KeepInMemory();
    ReadPreferences(file.Path());
    ChoosePreferencesOf(game);
    for (size_t i = 0; i + 2 < changes.size(); i += 3) {
        const auto scope =
            (changes[i] & 1) != 0 ? PreferenceScope::ThisGame : PreferenceScope::AllGames;
        const char* const name = kNames[changes[i + 1] % std::size(kNames)];
        const char* const value = kValues[changes[i + 2] % std::size(kValues)];
        switch (changes[i] >> 1 & 3) {
            case 0: ForgetPreference(scope, name); break;
            case 1: ForgetAllPreferences(scope); break;
            default:
                if (SetPreference(scope, name, value) && scope == PreferenceScope::AllGames) {
                    Require(PreferenceText(StoredPreferences(scope), name) == value);
                }
        }
    }
    SavePreferences();
    Require(!AsksLess(text, text));
    Require(preferences.musicVolume <= 100 && preferences.soundVolume <= 100);
    ResetPreferences();
}

void ReadPlayed(const std::string& text) {
    PlayedGame game;
    if (!ParsePlayed(text, game)) {
        return;
    }
    Require(game.path[0] == '/');
    // What is written is read as what it was.
    PlayedGame again;
    Require(ParsePlayed(TextOfPlayed(game), again) && TextOfPlayed(again) == TextOfPlayed(game));
}

void ReadPlaces(FuzzedDataProvider& input) {
    const std::string game = input.ConsumeRandomLengthString(20);
    const std::string text = input.ConsumeRemainingBytesAsString();
    const auto place = FindPlace(text, game);
    const std::string with = WithPlace(text, game, WindowFrame{1, 2, 300, 400});
    if (!game.empty() && game.find('\n') == std::string::npos) {
        Require(FindPlace(with, game)->width == 300);
        Require(!FindPlace(WithPlace(with, game, {}), game));
    }
    if (place) {
        const WindowFrame seen = OnAScreen(*place, {});
        Require(seen.width >= 50 && seen.width <= 32767);
    }
}

void ReadLines(const std::string& text) {
    const MemoryFile file(text);
    LoadLines(file.Path());
    for (const u32 address : {0u, 1u, 512u, 4096u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        if (const CodeLine* const line = LineAt(address)) {
            Require(line->address <= address);
            FileOfLine(*line);
        }
        NextLine(address);
        LineName(address);
        BodyOf(address);
        for (const CodeVariable& variable : VariablesOf(address)) {
            Require(variable.function == address);
        }
    }
    std::vector<u32> addresses;
    FindLine("main.c", 3, addresses);
}

void ReadSymbols(const std::string& text) {
    const MemoryFile file(text);
    LoadSymbols(file.Path());
    for (const u32 address : {0u, 1u, 512u, 4096u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        NamesAt(address);
        if (const auto named = NearestNamed(address)) {
            Require(*named <= address);
        }
        if (const FunctionSymbol* const function = FunctionSymbolAt(address)) {
            Require(function->address <= address);
        }
        NextFunctionSymbol(address);
    }
    ValueOfSymbol("start");
}

void ReadPlist(const std::string& text) {
    const MemoryFile file(text);
    pugi::xml_document document;
    pugi::xml_node dictionary;
    if (!LoadPlist(file.Path(), document, dictionary)) {
        return;
    }
    PlistString(dictionary, "ZULGameName");
    PlistValue(dictionary, "items");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    switch (input.ConsumeIntegralInRange<u32>(0, 5)) {
        case 0: ReadAndChangePreferences(input); break;
        case 1: ReadPlayed(input.ConsumeRemainingBytesAsString()); break;
        case 2: ReadPlaces(input); break;
        case 3: ReadLines(input.ConsumeRemainingBytesAsString()); break;
        case 4: ReadSymbols(input.ConsumeRemainingBytesAsString()); break;
        default: ReadPlist(input.ConsumeRemainingBytesAsString()); break;
    }
    return 0;
}

}  // namespace moxi
