#include "app/cartridge.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "app/call_filter.h"
#include "app/sandbox.h"
#include "base/log.h"
#include "host/bundle.h"
#include "host/checksum.h"
#include "host/home.h"
#include "host/plist.h"
#include "wasm/translate.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr int kFailed = 1;
constexpr const char* kModuleFile = "MAIN.MX";
constexpr std::string_view kWasmStart("\0asm", 4);
constexpr std::uintmax_t kLargestCartridge = 16u << 20;

struct Cartridge {
    std::string path;
    std::string bytes;
    std::string console;  // what it is joined with
    fs::path place;       // KEY and the game folder, alone
    fs::path game;        // named after the cartridge
};

std::string ReadFileOrNothing(const fs::path& path, size_t most = kLargestCartridge) {
    std::ifstream file(path, std::ios::binary);
    std::string bytes(most, '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(most));
    bytes.resize(static_cast<size_t>(file.gcount()));
    return bytes;
}

int Refuse(const std::string& path, const std::string& why) {
    RefuseCommandLine(path + ": " + why);
    return kFailed;
}

bool IsCartridge(const fs::path& path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error) || path.filename() == kModuleFile) {
        return false;
    }
    return path.extension() == ".wasm" || ReadFileOrNothing(path, kWasmStart.size()) == kWasmStart;
}

// A key that changes with the cartridge, the console and the program.
std::string KeyOf(const Cartridge& cartridge) {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    const auto changed = fs::last_write_time(program, error).time_since_epoch().count();
    return HashOfText(cartridge.bytes) + " " + HashOfText(cartridge.console) + " " +
           std::to_string(changed) + " " + std::to_string(fs::file_size(program, error)) + "\n";
}

// The last part of the path without its extension, where that can name a game.
std::string NameOf(const fs::path& path) {
    std::string name = path.stem().string();
    if (name.empty() || name[0] == '.') {
        name = "cartridge";
    }
    return name;
}

std::string PropertyList(const std::string& name) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n"
           "<key>ZULGameName</key><string>" +
           EscapedXml(name) + "</string>\n</dict></plist>\n";
}

// Whoever starts the game meanwhile sees the old file or the new one.
bool ReplaceFile(const fs::path& path, std::string_view bytes) {
    const std::string part = path.string() + "." + std::to_string(getpid());
    std::ofstream file(part, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    std::error_code error;
    if (file) {
        fs::rename(part, path, error);
    }
    if (file && !error) {
        return true;
    }
    fs::remove(part, error);
    return false;
}

int TranslateCartridge(const Cartridge& cartridge, const std::string& key) {
    TranslateOptions options;
    options.cartridge = cartridge.bytes;
    options.libraryFolder = OwnResource("library");
    const TranslatedModule made = Translate(cartridge.console, options);
    if (!made.ok) {
        for (const std::string& error : made.errors) {
            Refuse(cartridge.path, error);
        }
        return kFailed;
    }
    const std::string_view module(reinterpret_cast<const char*>(made.bytes.data()),
                                  made.bytes.size());
    if (!ReplaceFile(cartridge.game / kModuleFile, module) ||
        !ReplaceFile(cartridge.game / "Info.plist", PropertyList(NameOf(cartridge.path))) ||
        !ReplaceFile(cartridge.place / "KEY", key)) {
        return Refuse(cartridge.path,
                      "its translation cannot be written to " + cartridge.game.string());
    }
    return 0;
}

// A cartridge comes from anywhere: it is read by a process of its own that can write to its place
// in the cache alone.
int TranslateApart(const Cartridge& cartridge, const std::string& key, bool restricted) {
    const pid_t child = fork();
    if (child == 0) {
        if (restricted) {
            StartSandbox({.game = cartridge.path, .dataFolder = cartridge.place});
            FilterGameCalls();
        }
        _exit(TranslateCartridge(cartridge, key));
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
        return Refuse(cartridge.path, "it cannot be translated");
    }
    return WEXITSTATUS(status);
}

}  // namespace

std::optional<int> PrepareCartridge(Options& options) {
    if (!IsCartridge(options.game)) {
        return std::nullopt;
    }
    Cartridge cartridge;
    cartridge.path = options.game;
    std::error_code error;
    if (fs::file_size(cartridge.path, error) > kLargestCartridge) {
        return Refuse(cartridge.path, error ? error.message() : "too large for a cartridge");
    }
    cartridge.bytes = ReadFileOrNothing(cartridge.path);
    if (cartridge.bytes.empty()) {
        return Refuse(cartridge.path, "empty, or it cannot be read");
    }
    const std::string console = OwnResource("wasm4/console.wasm");
    cartridge.console = ReadFileOrNothing(console);
    if (cartridge.console.empty()) {
        return Refuse(console, "cannot be read");
    }
    const fs::path cache = BaseFolder("XDG_CACHE_HOME", ".cache");
    if (cache.empty()) {
        return Refuse(cartridge.path, "there is no cache folder to translate it to");
    }
    constexpr size_t kFolderName = 16;
    const std::string real = fs::canonical(cartridge.path, error).string();
    cartridge.place = cache / "moxi" / "cartridges" / HashOfText(real).substr(0, kFolderName);
    cartridge.game = cartridge.place / NameOf(cartridge.path);
    const std::string key = KeyOf(cartridge);
    if (ReadFileOrNothing(cartridge.place / "KEY") != key ||
        !fs::exists(cartridge.game / kModuleFile, error)) {
        fs::create_directories(cartridge.game, error);
        if (error) {
            return Refuse(cartridge.game.string(), error.message());
        }
        if (const int status = TranslateApart(cartridge, key, options.sandbox)) {
            // Nothing is left of what is no cartridge.
            fs::remove_all(cartridge.place, error);
            return status;
        }
    }
    options.game = cartridge.game;
    return std::nullopt;
}

}  // namespace moxi
