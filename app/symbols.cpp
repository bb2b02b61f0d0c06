#include "app/symbols.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <vector>

#include "app/bundle.h"

namespace {

constexpr std::string_view kKinds[] = {"code", "data", "bss", "const"};

// Functions and variables by address; of several at one address the first.
std::vector<ModuleSymbol> places;

// "00000200 code start". False when the line is nothing of the kind.
bool ParseLine(const std::string& line, u64& value, std::string& kind, std::string& name) {
    const size_t kindAt = line.find(' ') + 1;
    const size_t nameAt = line.find(' ', kindAt) + 1;
    if (kindAt == 0 || nameAt == 0 || nameAt == line.size()) return false;
    const char* const digitsEnd = line.data() + kindAt - 1;
    const auto [stop, error] = std::from_chars(line.data(), digitsEnd, value, 16);
    if (error != std::errc() || stop != digitsEnd) return false;
    kind = line.substr(kindAt, nameAt - 1 - kindAt);
    name = line.substr(nameAt);
    return std::find(std::begin(kKinds), std::end(kKinds), kind) != std::end(kKinds);
}

auto FirstAbove(u32 address) {
    return std::upper_bound(
        places.begin(), places.end(), address,
        [](u32 wanted, const ModuleSymbol& symbol) { return wanted < symbol.address; });
}

}  // namespace

std::string LoadSymbols(const std::string& path) {
    places.clear();
    std::ifstream file(path, std::ios::binary);
    if (!file) return path + ": cannot be read";
    std::vector<ModuleSymbol> found;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        u64 value = 0;
        std::string kind;
        std::string name;
        if (!ParseLine(line, value, kind, name)) {
            return path + ":" + std::to_string(number) + ": no line of a symbol file";
        }
        const bool local = name.find('@') != std::string::npos;
        if (kind == "const" || value > 0xFFFFFFFF || local) continue;
        found.push_back({static_cast<u32>(value), kind == "code", name});
    }
    if (file.bad()) return path + ": cannot be read";
    const auto below = [](const ModuleSymbol& a, const ModuleSymbol& b) {
        return a.address < b.address;
    };
    std::stable_sort(found.begin(), found.end(), below);
    places = std::move(found);
    return "";
}

std::string SymbolFile() {
    return std::filesystem::path(ModulePath()).replace_filename("MAIN.SYM");
}

const ModuleSymbol* SymbolAt(u32 address) {
    auto place = FirstAbove(address);
    if (place == places.begin()) return nullptr;
    const u32 start = std::prev(place)->address;
    while (place != places.begin() && std::prev(place)->address == start) --place;
    return place->isCode ? &*place : nullptr;
}

u32 NextSymbolAddress(u32 address) {
    const auto place = FirstAbove(address);
    return place == places.end() ? 0xFFFFFFFF : place->address;
}
