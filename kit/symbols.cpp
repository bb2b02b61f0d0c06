#include "kit/symbols.h"

#include <algorithm>
#include <filesystem>

#include "host/bundle.h"
#include "tools/asm/source.h"
#include "tools/dis/disassembler.h"

namespace moxi {

namespace {

constexpr u64 kMostBytes = u64{64} << 20;

SymbolNames symbols;
// Functions and variables by address, without the local labels.
std::vector<FunctionSymbol> functions;

std::vector<FunctionSymbol> FunctionsOf(const SymbolNames& names) {
    std::vector<FunctionSymbol> found;
    for (const auto& [address, all] : names.byAddress) {
        const auto name = std::find_if(all.begin(), all.end(), [](const std::string& one) {
            return one.find('@') == std::string::npos;
        });
        if (name == all.end()) {
            continue;
        }
        found.push_back({address, !names.variables.contains(address), *name});
    }
    return found;
}

auto FirstAbove(u32 address) {
    return std::upper_bound(
        functions.begin(), functions.end(), address,
        [](u32 wanted, const FunctionSymbol& symbol) { return wanted < symbol.address; });
}

}  // namespace

std::string LoadSymbols(const std::string& path) {
    std::string why;
    const std::optional<std::string> text = mxasm::ReadWholeFile(path, kMostBytes, false, why);
    SymbolNames read;
    if (text) {
        why = ParseSymbolFile(*text, read);
    }
    if (!why.empty()) {
        return path + ": " + why;
    }
    symbols = std::move(read);
    functions = FunctionsOf(symbols);
    return "";
}

std::string SymbolFile() {
    return std::filesystem::path(ModulePath()).replace_filename("MAIN.SYM");
}

size_t SymbolCount() {
    return symbols.values.size();
}

std::optional<u32> ValueOfSymbol(std::string_view name) {
    const auto symbol = symbols.values.find(name);
    if (symbol == symbols.values.end()) {
        return std::nullopt;
    }
    return static_cast<u32>(symbol->second);
}

const std::vector<std::string>& NamesAt(u32 address) {
    static const std::vector<std::string> kNone;
    const auto names = symbols.byAddress.find(address);
    return names == symbols.byAddress.end() ? kNone : names->second;
}

std::optional<u32> NearestNamed(u32 address) {
    const auto above = symbols.byAddress.upper_bound(address);
    if (above == symbols.byAddress.begin()) {
        return std::nullopt;
    }
    return std::prev(above)->first;
}

const FunctionSymbol* FunctionSymbolAt(u32 address) {
    const auto above = FirstAbove(address);
    if (above == functions.begin()) {
        return nullptr;
    }
    const FunctionSymbol& nearest = *std::prev(above);
    return nearest.isCode ? &nearest : nullptr;
}

u32 NextFunctionSymbol(u32 address) {
    const auto above = FirstAbove(address);
    return above == functions.end() ? 0xFFFFFFFF : above->address;
}

}  // namespace moxi
