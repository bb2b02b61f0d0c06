// Bundles as somebody may have packed them, made at random: links to anywhere, pipes and folders in
// the place of files, information and interface files of any content. Each is refused in one line
// or plays, and nothing outside of the game and its data changes.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <random>

#include "tests/support/calling_module.h"
#include "tests/support/headless_run.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr u32 kBundles = 40;
constexpr u32 kMostThings = 8;

class Chooser {
  public:
    explicit Chooser(u32 seed) : random(seed) {}
    u32 Below(u32 limit) { return static_cast<u32>(random() % limit); }
    template <size_t kSize>
    std::string Of(const std::array<const char*, kSize>& some) {
        return some[Below(kSize)];
    }
    std::string Bytes(u32 most) {
        std::string bytes(Below(most + 1), '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(Below(256));
        }
        return bytes;
    }

  private:
    std::mt19937 random;
};

constexpr std::array kPlaces = {"Contents/Info.plist",
                                "Info.plist",
                                "Contents/Resources",
                                "Resources",
                                "Contents/Resources/MAIN.MX",
                                "Resources/MAIN.MX",
                                "MAIN.MX",
                                "Contents/Resources/Info.plist",
                                "Resources/Info.plist",
                                "Contents/Resources/A.DAT",
                                "A.DAT",
                                "Contents"};
constexpr std::array kTargets = {
    ".",          "..",       "../..",   "/",         "/etc/passwd", "/dev/zero",      "MAIN.MX",
    "../MAIN.MX", "Contents", "nothing", "Resources", "../tax.pdf",  "../../Downloads"};
constexpr std::array kNames = {"Lands", ".", "..", "../../.ssh", "", ".hidden", "a/b", "Lands 2"};

// What a game tries that has been let in: reading, deleting and writing beside itself.
std::string Module() {
    CallingModule calls;
    for (const char* const name :
         {"tax.pdf", "../tax.pdf", "../../tax.pdf", "A.DAT", "../../../tax.pdf"}) {
        const std::string text = calls.Text(name);
        calls.Call(SYS_FILE_DELETE, {text});
        const u32 handle = calls.Call(SYS_FILE_OPEN, {text, "0x8302"});
        calls.Call(SYS_FILE_WRITE, {CallingModule::Result(handle), text, "4"});
        calls.Call(SYS_FILE_CLOSE, {CallingModule::Result(handle)});
    }
    return calls.Source();
}

struct User {
    TemporaryFolder folder;
    std::string home = folder.path + "/home";
    std::string downloads = home + "/Downloads";
    std::string game = downloads + "/Game.app";

    User() {
        fs::create_directories(game);
        fs::create_directories(home + "/.ssh");
        fs::create_directories(home + "/.local/share/Quillmoss Software/other");
        WriteTextFile(home + "/.ssh/id_rsa", "a private key");
        WriteTextFile(home + "/tax.pdf", "taxes");
        WriteTextFile(downloads + "/tax.pdf", "taxes");
        WriteTextFile(home + "/.local/share/Quillmoss Software/other/SAVE", "saved");
    }

    void Add(const std::string& module, Chooser& choose) const {
        const std::string place = choose.Of(kPlaces);
        const fs::path path = fs::path(game) / place;
        std::error_code error;
        if (fs::symlink_status(path, error).type() != fs::file_type::not_found) {
            return;
        }
        // Not through a link that leads out of here.
        fs::create_directories(path.parent_path(), error);
        const fs::path real = fs::canonical(path.parent_path(), error);
        if (error || real.string().rfind(game, 0) != 0) {
            return;
        }
        switch (choose.Below(8)) {
            case 0:
            case 1: fs::create_symlink(choose.Of(kTargets), path, error); return;
            case 2: mkfifo(path.c_str(), 0666); return;
            case 3: fs::create_directory(path, error); return;
            case 4: WriteTextFile(path, choose.Bytes(2000)); return;
            default: break;
        }
        if (place.ends_with(".plist")) {
            WriteTextFile(path, "<plist version=\"1.0\"><dict><key>ZULGameName</key><string>" +
                                    choose.Of(kNames) + "</string></dict></plist>");
        } else {
            WriteTextFile(path, module);
        }
    }

    // Everything that is not the game's: name -> what it is and holds.
    std::map<std::string, std::string> Outside() const {
        std::map<std::string, std::string> found;
        const std::string data = home + "/.local/share/Quillmoss Software/";
        const std::string state = home + "/.local/state";
        for (auto entry = fs::recursive_directory_iterator(folder.path);
             entry != fs::recursive_directory_iterator(); ++entry) {
            const std::string path = entry->path();
            const bool isOwnData = path.rfind(data, 0) == 0 && path.rfind(data + "other", 0) != 0;
            if (path == game || path == state || isOwnData) {
                entry.disable_recursion_pending();
                continue;
            }
            found[path] = entry->is_regular_file() ? ReadTextFile(path) : "no file";
        }
        return found;
    }

    ProgramResult Run(const std::string& named) const {
        return RunProgram("/usr/bin/env",
                          {"-u", "XDG_DATA_HOME", "-u", "XDG_STATE_HOME", "HOME=" + home,
                           MOXI_BIN_DIR "/moxi", "--headless", "--run-ms", "20", named},
                          folder.path);
    }
};

TEST(RandomBundles, AreRefusedOrPlayedAndNothingElseChanges) {
    std::string module;
    {
        const TemporaryFolder folder;
        WriteGame(folder.path, Module());
        module = ReadTextFile(folder.path + "/MAIN.MX");
    }
    u32 played = 0;
    u32 refused = 0;
    for (u32 seed = 0; seed < kBundles; ++seed) {
        Chooser choose(seed);
        const User user;
        const u32 things = 1 + choose.Below(kMostThings);
        for (u32 i = 0; i < things; ++i) {
            user.Add(module, choose);
        }
        const auto before = user.Outside();
        const bool bare = choose.Below(3) == 0;
        const ProgramResult result = user.Run(bare ? user.game + "/MAIN.MX" : user.game);
        EXPECT_EQ(user.Outside(), before) << seed;
        EXPECT_EQ(result.output, "") << seed;
        const auto lines = std::count(result.errors.begin(), result.errors.end(), '\n');
        switch (result.status) {
            case 0: ++played; break;
            // No module, or one that faulted: a line for it, and one for a name that is none.
            case 1:
                ++refused;
                EXPECT_LE(lines, 2) << seed << ' ' << result.errors;
                break;
            case 2:
                ++refused;
                EXPECT_EQ(lines, 1) << seed << ' ' << result.errors;
                EXPECT_TRUE(result.errors.starts_with("moxi: ")) << seed << ' ' << result.errors;
                break;
            default: ADD_FAILURE() << seed << ": status " << result.status << result.errors;
        }
    }
    EXPECT_GE(played, 5u);
    EXPECT_GE(refused, 5u);
}

}  // namespace

}  // namespace moxi
