// Any text as the stamp of a data folder. The game gets a folder that carries its name, and another
// game of the name gets another one.

#include <fuzzer/FuzzedDataProvider.h>

#include <filesystem>
#include <fstream>

#include "desktop/folders.h"
#include "fuzz/confined_start.h"
#include "fuzz/require.h"
#include "host/checksum.h"
#include "host/data_owner.h"
#include "sys/files.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

void MakeGame(const char* name, const std::string& module) {
    const std::string folder = confine::folder + name;
    fs::create_directory(folder);
    std::ofstream(folder + "/MAIN.MX") << module;
}

void UseGame(const char* name, const std::string& gameName) {
    folders = {};
    folders.support = confine::folder + "/share";
    folders.state = confine::folder + "/state";
    folders.bundle = folders.resources = confine::folder + name;
    folders.gameName = gameName;
}

std::string Stamp(FuzzedDataProvider& input, const std::string& folder) {
    if (input.ConsumeBool()) {
        return input.ConsumeRandomLengthString(300);
    }
    const std::string game = confine::folder + (input.ConsumeBool() ? "/A" : "/B");
    const std::string module =
        input.ConsumeBool() ? HashOfFile(game + "/MAIN.MX") : input.ConsumeRandomLengthString(64);
    return "moxi data folder 1\nfolder " + (input.ConsumeBool() ? folder : "/elsewhere") +
           "\ngame " + (input.ConsumeBool() ? game : input.ConsumeRandomLengthString(40)) +
           "\nmodule " + module + "\nfile " + input.ConsumeRandomLengthString(40) +
           (input.ConsumeBool() ? "\n" : "");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    ForgetDataFolder();
    confine::EmptyFolder();
    MakeGame("/A", "module of A");
    MakeGame("/B", "module of B");
    UseGame("/A", "Pond");
    MakeStateFolder();
    const std::string all = DataFolderOfAll();
    for (const char* const name : {"/Pond", "/Pond 2", "/Pond 3"}) {
        if (input.ConsumeBool()) {
            fs::create_directories(all + name);
        }
        if (fs::exists(all + name) && input.ConsumeBool()) {
            std::ofstream(all + name + "/MAIN.MX") << "somebody's";
        }
        if (input.ConsumeBool()) {
            const std::string stamp = Stamp(input, all + name);
            std::ofstream(folders.state + "/data-" + HashOfText(all + name)) << stamp;
        }
    }
    Require(ChooseDataFolder().empty());
    const std::string first = folders.dataName;
    Require(first == "Pond" || first.starts_with("Pond "));
    fs::create_directories(all + "/" + first);
    UseGame("/B", "Pond");
    Require(ChooseDataFolder().empty());
    Require(folders.dataName != first);
    return 0;
}

}  // namespace moxi
