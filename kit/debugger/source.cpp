#include "kit/debugger/source.h"

#include <filesystem>
#include <map>
#include <optional>
#include <sstream>

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

// A name is what the compiler was told: relative to where it ran, which was most likely here, in
// the game's folder or the one around it.
std::optional<std::string> ReadSource(const std::string& name) {
    const fs::path folder = fs::path(ModulePath()).parent_path();
    std::string why;
    for (const fs::path& path :
         {fs::path(name), folder / name, folder.parent_path() / name, fs::path(name).filename()}) {
        if (auto text = mxasm::ReadWholeFile(path.string(), kMostSource, false, why)) return text;
    }
    return std::nullopt;
}

// The lines of a file; none where it is not to be found.
const std::vector<std::string>& SourceOf(const std::string& name) {
    static std::map<std::string, std::vector<std::string>> sources;
    const auto [found, isNew] = sources.try_emplace(name);
    if (!isNew) return found->second;
    std::istringstream text(ReadSource(name).value_or(""));
    for (std::string line; std::getline(text, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        found->second.push_back(line);
    }
    return found->second;
}

std::string TextOfLine(const std::string& file, u32 line) {
    const std::vector<std::string>& lines = SourceOf(file);
    return line >= 1 && line <= lines.size() ? lines[line - 1] : "";
}

template <class T>
std::string Shown(u32 address, const char* format) {
    const std::optional<T> value = Peek<T>(address);
    return value ? FormatText(format, *value) : "outside the image";
}

std::string Character(u32 address) {
    const std::optional<u8> value = Peek<u8>(address);
    if (!value) return "outside the image";
    const bool isSeen = *value >= 32 && *value < 127;
    return isSeen ? FormatText("%u '%c'", *value, *value) : FormatText("%u", *value);
}

std::string ValueAt(u32 address, const std::string& kind) {
    if (kind == "i8") return Shown<i8>(address, "%d");
    if (kind == "u8") return Shown<u8>(address, "%u");
    if (kind == "i16") return Shown<i16>(address, "%d");
    if (kind == "u16") return Shown<u16>(address, "%u");
    if (kind == "i32") return Shown<i32>(address, "%d");
    if (kind == "u32") return Shown<u32>(address, "%u");
    if (kind == "i64") return Shown<i64>(address, "%ld");
    if (kind == "u64") return Shown<u64>(address, "%lu");
    if (kind == "f32") {
        const std::optional<f32> value = Peek<f32>(address);
        return value ? FormatText("%.9g", f64{*value}) : "outside the image";
    }
    if (kind == "f64") return Shown<f64>(address, "%.17g");
    if (kind == "bool") {
        const std::optional<u8> value = Peek<u8>(address);
        return !value ? "outside the image" : *value != 0 ? "true" : "false";
    }
    if (kind == "char") return Character(address);
    if (kind == "pointer") return Shown<u32>(address, "0x%X");
    return FormatText("(at 0x%8.8X)", address);
}

}  // namespace

std::string AtLine(u32 address) {
    const std::string name = LineName(address);
    return name.empty() ? "" : " at " + name;
}

void ShowLine(u32 address) {
    const CodeLine* const line = LineAt(address);
    if (line == nullptr) return;
    std::string text = TextOfLine(FileOfLine(*line), line->line);
    text.erase(0, text.find_first_not_of(" \t"));
    Say(LineName(address) + (text.empty() ? "" : "  " + text));
}

void ShowSource(const std::string& file, u32 line, u32 count, u32 address) {
    const std::vector<std::string>& lines = SourceOf(file);
    if (lines.empty()) return Say(file + ": the source is not to be found");
    const CodeLine* const here = LineAt(address);
    const u32 half = count / 2;
    const u32 first = line > half ? line - half : 1;
    for (u32 at = first; at < first + count && at <= lines.size(); ++at) {
        const bool isHere = here != nullptr && here->line == at && FileOfLine(*here) == file;
        Say(FormatText("%s%5u  ", isHere ? "=>" : "  ", at) + lines[at - 1]);
    }
    if (first > lines.size()) Say(FormatText("%s has %zu lines", file.c_str(), lines.size()));
}

FrameRegisters RegistersNow() {
    FrameRegisters registers{};
    for (u32 r = 0; r < 16; ++r) registers.places[r] = RegisterAddress(r);
    return registers;
}

// LINK has saved R(14-n)..R13 below the locals.
void Unwind(FrameRegisters& registers, u32 function, u32 fp) {
    const u32 link = Peek<u32>(function).value_or(0);
    const u32 count = SavedRegisters(link);
    if (SingleOf(link) != Single::Link || count > 14) return;
    const u32 saved = fp - LocalBytes(link) - 8 * count;
    for (u32 i = 0; i < count; ++i) registers.places[14 - count + i] = saved + 8 * i;
}

std::string NamedArguments(u32 pc, u32 fp, const FrameRegisters& registers) {
    const FunctionSymbol* const function = FunctionSymbolAt(pc);
    if (function == nullptr || pc < BodyOf(function->address)) return "";
    std::string text;
    for (const CodeArgument& argument : ArgumentsOf(function->address)) {
        const u32 place = argument.reg == kInFrame ? fp + static_cast<u32>(argument.slot)
                                                   : registers.places[argument.reg];
        const std::optional<u32> base = Peek<u32>(place);
        const std::string value =
            base ? ValueAt(*base + static_cast<u32>(argument.offset), argument.kind)
                 : "outside the image";
        text += (text.empty() ? "" : ", ") + argument.name + "=" + value;
    }
    return text;
}

}  // namespace moxi
