#pragma once
// What the player has chosen for the host itself. No module ever sees any of it. One readable text
// file holds it, `$XDG_CONFIG_HOME/moxi/preferences`:
//
//     music-volume = 80
//     [game Glimmer Hollow]
//     music-volume = 40
//
// What stands above the first heading is for all games, a section for the game of that name alone.
// An option of the command line wins for its run and is not saved.

#include <string>

#include "base/types.h"
#include "host/preference_record.h"

namespace moxi {

// What holds now.
extern Preferences preferences;

enum class PreferenceScope : u8 { AllGames, ThisGame };

// The user's file; "" for a user without a home. A link is followed, so that it stays one.
std::string UsersPreferenceFile();

// Reads the file, before the process restricts itself. What can be read of a broken one is read;
// each other line is one line in the log. "" for no file: nothing is read and nothing kept. One
// that is not there yet is made by the first change; where the player has named it, the log says
// so.
void ReadPreferences(const std::string& path, bool isNamed = false);
// The file that ReadPreferences was given.
const std::string& PreferenceFile();
// From now on the sections of this game count; of one whose name is all blanks those of "(no
// name)".
void ChoosePreferencesOf(const std::string& game);

// Where the menu's screenshots go, as the file said when it was read; the helper process that
// writes them knows no other place. "" when there is none. A hidden folder, or one within a hidden
// folder, is refused, links resolved: programs keep settings there that they obey.
std::string ScreenshotFolder();

// --- Single ones, by the names that they have in the file: "music-volume", "key.w", "pad.a". A
// value is as in the file, too.

// False, and nothing changes, when there is no such name or it cannot have this value.
bool SetPreference(PreferenceScope scope, const std::string& name, const std::string& value);
// Back to what holds otherwise.
void ForgetPreference(PreferenceScope scope, const std::string& name);
void ForgetAllPreferences(PreferenceScope scope);
// For this run alone, until it is set in either scope.
bool SetPreferenceForRun(const std::string& name, const std::string& value);

// What holds for all games, or for this one; the command line aside.
Preferences StoredPreferences(PreferenceScope scope);
// Whether the game has a value of its own.
bool IsThisGamesOwn(const std::string& name);
// The value of a preference, as in the file.
std::string PreferenceText(const Preferences& of, const std::string& name);

// A process that has run a game must not lower what protects the player: that web addresses are
// opened only after a question. True when `after`, the text of a
// preference file, asks less often than `before` for any game. Such a change holds for its run and
// is not saved; whoever wants it for good chooses it on the shelf or writes it into the file.
bool AsksLess(const std::string& before, const std::string& after);
// From now on such changes are saved, too: for the shelf's process, which runs no game.
void SaveWhatAsksLess();

// Writes what was set and forgotten since it was read or last saved into the file, which may have
// changed since. Everything else in it stays as it is, comments and lines that nobody understands
// too. True when there was nothing to write or nowhere to write it. A failure is one log line.
bool SavePreferences();

// For tests.
void ResetPreferences();

}  // namespace moxi
