#pragma once
// A game that means harm, run by the real program in a home folder of its own: what the module was
// answered, how the run ended, and whether anything has changed that is none of its business.

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/support/calling_module.h"
#include "tests/support/headless_run.h"

namespace moxi {

// What the run has to do without.
enum class Walls {
    All,           // as the tests' own user, on this kernel
    FilesAlone,    // on a kernel with neither Landlock nor openat2
    OldLandlock,   // on a kernel with Landlock's first version
    OrdinaryUser,  // as a user without any privilege
};

// A link is a name of the folder that it lies in, also where it leads to nothing.
enum class Listed { No, Yes };

class HostileGame {
  public:
    HostileGame();

    // --- The place. Everything but the game's own data folder has to stay as it is.

    const std::string& Home() const { return home; }
    const std::string& Game() const { return game; }
    const std::string& Data() const { return data; }  // not made
    std::string MakeData();                           // made, as if the game had run before
    // A way from the data folder and from the game's folder to a file in the home folder.
    static std::string ToHome(const std::string& name) { return "../../../../" + name; }
    static std::string GameToHome(const std::string& name) { return "../home/" + name; }

    // --- What the module does

    u32 Call(u32 command, const std::vector<std::string>& arguments = {}) {
        return calls.Call(command, arguments);
    }
    // The same, and what the service has to answer.
    u32 Expect(u32 answer, u32 command, const std::vector<std::string>& arguments = {});
    std::string Text(const std::string& text) { return calls.Text(text); }
    std::string Room(u32 size) { return calls.Room(size); }
    // Every service that opens, measures or plays a name, or lists it, finds nothing.
    void ExpectNothingAt(const std::string& name, Listed listed = Listed::No);
    // No service that writes, makes, moves or deletes a name changes anything.
    void ExpectUntouched(const std::string& name);
    // A module of one's own in the place of the calls.
    void SetModule(const std::string& assembly) { source = assembly; }
    void SetModuleBytes(const std::string& bytes);

    // --- The end

    int status = 0;                    // expected; -1 for 0 or 1
    std::string lastLine;              // expected of standard error, "" for any
    bool keepsData = true;             // the data folder may have changed
    std::vector<std::string> changes;  // paths that may have changed

    // Runs the game and fails the running test where it was answered otherwise or has changed
    // anything. The result is for what else is to be looked at.
    ProgramResult Run(Walls walls);

  private:
    std::map<std::string, std::string> Snapshot() const;
    void CheckAnswers(const AssembleResult& assembled) const;
    ProgramResult Start(Walls walls) const;

    TemporaryFolder root;
    std::string home;
    std::string game;
    std::string data;
    std::string source;
    std::string bytes;
    CallingModule calls;
    std::vector<std::pair<u32, u32>> expected;
};

}  // namespace moxi
