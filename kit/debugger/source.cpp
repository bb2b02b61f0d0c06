#include "kit/debugger/source.h"

#include <algorithm>
#include <bit>
#include <filesystem>
#include <map>
#include <optional>
#include <sstream>

#include "base/bytes.h"
#include "base/log.h"
#include "host/bundle.h"
#include "kit/debugger/terminal.h"
#include "kit/lines.h"
#include "kit/module_memory.h"
#include "kit/symbols.h"
#include "tools/asm/source.h"
#include "vm/opcodes.h"

namespace moxi {

namespace {

namespace fs = std::filesystem;

constexpr u64 kMostSource = u64{16} << 20;

// Finds a source by the name that the compiler was given, which is relative to the folder it ran
// in: most likely the current one, the game's, or the one around the game's.
std::optional<std::string> ReadSource(const std::string& name) {
    const fs::path folder = fs::path(ModulePath()).parent_path();
    std::string why;
    for (const fs::path& path :
         {fs::path(name), folder / name, folder.parent_path() / name, fs::path(name).filename()}) {
        if (auto text = mxasm::ReadWholeFile(path.string(), kMostSource, false, why)) {
            return text;
        }
    }
    return std::nullopt;
}

// The lines of a file; none where it is not to be found.
const std::vector<std::string>& SourceOf(const std::string& name) {
    static std::map<std::string, std::vector<std::string>> sources;
    const auto [found, isNew] = sources.try_emplace(name);
    if (!isNew) {
        return found->second;
    }
    std::istringstream text(ReadSource(name).value_or(""));
    for (std::string line; std::getline(text, line);) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        found->second.push_back(line);
    }
    return found->second;
}

std::string TextOfLine(const std::string& file, u32 line) {
    const std::vector<std::string>& lines = SourceOf(file);
    return line >= 1 && line <= lines.size() ? lines[line - 1] : "";
}

std::string Character(u8 value) {
    const bool isSeen = value >= 32 && value < 127;
    return isSeen ? FormatText("%u '%c'", value, value) : FormatText("%u", value);
}

u32 BytesOf(const std::string& kind) {
    if (kind == "i8" || kind == "u8" || kind == "bool" || kind == "char") {
        return 1;
    }
    if (kind == "i16" || kind == "u16") {
        return 2;
    }
    return kind == "i64" || kind == "u64" || kind == "f64" ? 8 : 4;
}

// The first bytes of `bits` as a value of that kind.
std::string TextOf(u64 bits, const std::string& kind) {
    if (kind == "i8") {
        return FormatText("%d", static_cast<i8>(bits));
    }
    if (kind == "u8") {
        return FormatText("%u", static_cast<u8>(bits));
    }
    if (kind == "i16") {
        return FormatText("%d", static_cast<i16>(bits));
    }
    if (kind == "u16") {
        return FormatText("%u", static_cast<u16>(bits));
    }
    if (kind == "i32") {
        return FormatText("%d", static_cast<i32>(bits));
    }
    if (kind == "u32") {
        return FormatText("%u", static_cast<u32>(bits));
    }
    if (kind == "i64") {
        return FormatText("%ld", static_cast<i64>(bits));
    }
    if (kind == "u64") {
        return FormatText("%lu", bits);
    }
    if (kind == "f32") {
        return FormatText("%.9g", f64{std::bit_cast<f32>(static_cast<u32>(bits))});
    }
    if (kind == "f64") {
        return FormatText("%.17g", std::bit_cast<f64>(bits));
    }
    if (kind == "bool") {
        return (bits & 0xFF) != 0 ? "true" : "false";
    }
    if (kind == "char") {
        return Character(static_cast<u8>(bits));
    }
    return FormatText("0x%X", static_cast<u32>(bits));
}

constexpr const char* kOutside = "outside the image";

std::string ValueAt(u32 address, const std::string& kind) {
    if (kind == "block") {
        return FormatText("(at 0x%8.8X)", address);
    }
    u8 bytes[8] = {};
    const u32 count = BytesOf(kind);
    for (u32 i = 0; i < count; ++i) {
        const std::optional<u8> byte = Peek<u8>(address + i);
        if (!byte) {
            return kOutside;
        }
        bytes[i] = *byte;
    }
    return TextOf(LoadBytes<u64>(bytes), kind);
}

}  // namespace

std::string AtLine(u32 address) {
    const std::string name = LineName(address);
    return name.empty() ? "" : " at " + name;
}

void ShowLine(u32 address) {
    const CodeLine* const line = LineAt(address);
    if (line == nullptr) {
        return;
    }
    std::string text = TextOfLine(FileOfLine(*line), line->line);
    text.erase(0, text.find_first_not_of(" \t"));
    Say(LineName(address) + (text.empty() ? "" : "  " + text));
}

void ShowSource(const std::string& file, u32 line, u32 count, u32 address) {
    const std::vector<std::string>& lines = SourceOf(file);
    if (lines.empty()) {
        return Say(file + ": the source is not to be found");
    }
    const CodeLine* const here = LineAt(address);
    const u32 half = count / 2;
    const u32 first = line > half ? line - half : 1;
    for (u32 at = first; at < first + count && at <= lines.size(); ++at) {
        const bool isHere = here != nullptr && here->line == at && FileOfLine(*here) == file;
        Say(FormatText("%s%5u  ", isHere ? "=>" : "  ", at) + lines[at - 1]);
    }
    if (first > lines.size()) {
        Say(FormatText("%s has %zu lines", file.c_str(), lines.size()));
    }
}

FrameRegisters RegistersNow() {
    FrameRegisters registers{};
    for (u32 r = 0; r < 16; ++r) {
        registers.places[r] = RegisterAddress(r);
    }
    return registers;
}

// LINK has saved R(14-n)..R13 below the locals.
void Unwind(FrameRegisters& registers, u32 function, u32 fp) {
    const u32 link = Peek<u32>(function).value_or(0);
    const u32 count = SavedRegisters(link);
    if (SingleOf(link) != Single::Link || count > 14) {
        return;
    }
    const u32 saved = fp - LocalBytes(link) - 8 * count;
    for (u32 i = 0; i < count; ++i) {
        registers.places[14 - count + i] = saved + 8 * i;
    }
}

namespace {

std::string ValueOf(const CodeVariable& variable, u32 pc, u32 fp, const FrameRegisters& registers) {
    const auto place =
        std::find_if(variable.places.begin(), variable.places.end(),
                     [pc](const VariablePlace& each) { return each.from <= pc && pc < each.to; });
    if (place == variable.places.end()) {
        return "not known here";
    }
    const bool isNumber = place->kind == VariablePlace::Kind::Number;
    if (isNumber && !place->isMemory) {
        return TextOf(static_cast<u64>(place->number), variable.kind);
    }
    if (isNumber) {
        return ValueAt(static_cast<u32>(place->number), variable.kind);
    }
    const u32 at = place->kind == VariablePlace::Kind::Frame ? fp + static_cast<u32>(place->slot)
                                                             : registers.places[place->reg];
    if (!place->isMemory) {
        return ValueAt(at, variable.kind);
    }
    const std::optional<u32> base = Peek<u32>(at);
    return base ? ValueAt(*base + static_cast<u32>(place->number), variable.kind) : kOutside;
}

std::string Named(u32 pc, u32 fp, const FrameRegisters& registers, bool arguments) {
    const FunctionSymbol* const function = FunctionSymbolAt(pc);
    if (function == nullptr || pc < BodyOf(function->address)) {
        return "";
    }
    std::string text;
    for (const CodeVariable& variable : VariablesOf(function->address)) {
        if (variable.isArgument != arguments || pc < variable.from || pc >= variable.to) {
            continue;
        }
        const std::string value = ValueOf(variable, pc, fp, registers);
        text += (text.empty() ? "" : ", ") + variable.name + "=" + value;
    }
    return text;
}

}  // namespace

std::string NamedArguments(u32 pc, u32 fp, const FrameRegisters& registers) {
    return Named(pc, fp, registers, true);
}

std::string NamedVariables(u32 pc, u32 fp, const FrameRegisters& registers) {
    return Named(pc, fp, registers, false);
}

}  // namespace moxi
