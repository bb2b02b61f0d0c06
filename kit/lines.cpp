#include "kit/lines.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <map>
#include <optional>
#include <sstream>

#include "base/log.h"
#include "host/bundle.h"
#include "kit/symbols.h"
#include "tools/asm/source.h"

namespace moxi {

namespace {

constexpr u64 kMostBytes = u64{64} << 20;

struct Lines {
    std::vector<CodeLine> lines;  // ascending
    std::vector<std::string> files;
    std::vector<CodeVariable> variables;  // ascending by function
};
Lines known;

// --- The file

template <class T>
bool TakeNumber(std::string_view text, T& value, int base = 10) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    return error == std::errc() && end == text.data() + text.size();
}

std::string_view TakeField(std::string_view& text) {
    const size_t blank = text.find(' ');
    const std::string_view field = text.substr(0, blank);
    text = blank == std::string_view::npos ? std::string_view() : text.substr(blank + 1);
    return field;
}

// "R7", "FP-16" for what is there, "#5" for the number; of what lies in memory a base of that kind,
// or "0", and an offset.
bool TakePlace(std::string_view text, VariablePlace& place) {
    const std::string_view base = TakeField(text);
    place.kind = VariablePlace::Kind::Number;
    if (base.starts_with("FP-")) {
        place.kind = VariablePlace::Kind::Frame;
        if (!TakeNumber(base.substr(3), place.slot) || place.slot < 0) {
            return false;
        }
        place.slot = -place.slot;
    } else if (base.starts_with('R')) {
        place.kind = VariablePlace::Kind::Register;
        if (!TakeNumber(base.substr(1), place.reg) || place.reg >= 16) {
            return false;
        }
    } else if (place.isMemory ? base != "0" : !base.starts_with('#')) {
        return false;
    }
    if (place.isMemory) {
        return TakeNumber(text, place.number);
    }
    if (place.kind == VariablePlace::Kind::Number && !TakeNumber(base.substr(1), place.number)) {
        return false;
    }
    return text.empty();
}

// 000003A0 argument i32 count
// 000003A0 variable 000003C0 000003E0 i32 i
bool TakeVariable(u32 function, bool isArgument, std::string_view text, Lines& read) {
    CodeVariable variable{function, isArgument, 0, 0xFFFFFFFF, "", "", {}};
    if (!isArgument && (!TakeNumber(TakeField(text), variable.from, 16) ||
                        !TakeNumber(TakeField(text), variable.to, 16))) {
        return false;
    }
    variable.kind = std::string(TakeField(text));
    variable.name = std::string(text);
    if (!IsKindOfValue(variable.kind) || variable.name.empty()) {
        return false;
    }
    read.variables.push_back(std::move(variable));
    return true;
}

// 000003A0 12 main.c
// 000003A0 0
// 000003A0 argument i32 count
// 000003A8 value 000003B0 R7
// 000003B0 memory 000003C0 FP-16 -4
bool ReadLine(std::string_view text, Lines& read, std::map<std::string, u32, std::less<>>& files) {
    u32 address = 0;
    if (!TakeNumber(TakeField(text), address, 16)) {
        return false;
    }
    const std::string_view what = TakeField(text);
    if (what == "argument" || what == "variable") {
        return TakeVariable(address, what == "argument", text, read);
    }
    if (what == "value" || what == "memory") {
        VariablePlace place{};
        place.from = address;
        place.isMemory = what == "memory";
        if (!TakeNumber(TakeField(text), place.to, 16) || !TakePlace(text, place)) {
            return false;
        }
        if (read.variables.empty()) {
            return false;
        }
        read.variables.back().places.push_back(place);
        return true;
    }
    CodeLine line{address, 0, 0};
    if (!TakeNumber(what, line.line) || (line.line != 0) == text.empty()) {
        return false;
    }
    if (line.line != 0) {
        const auto number = static_cast<u32>(read.files.size());
        const auto [file, isNew] = files.try_emplace(std::string(text), number);
        if (isNew) {
            read.files.emplace_back(text);
        }
        line.file = file->second;
    }
    read.lines.push_back(line);
    return true;
}

// "" or what is wrong.
std::string ReadAll(const std::string& text, Lines& read) {
    std::map<std::string, u32, std::less<>> files;
    std::istringstream lines(text);
    u32 number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        if (!line.empty() && !ReadLine(line, read, files)) {
            return FormatText("line %u: no line of code", number);
        }
    }
    std::stable_sort(read.lines.begin(), read.lines.end(),
                     [](const auto& a, const auto& b) { return a.address < b.address; });
    std::stable_sort(read.variables.begin(), read.variables.end(),
                     [](const auto& a, const auto& b) { return a.function < b.function; });
    return "";
}

// --- Finding

std::vector<CodeLine>::const_iterator FirstAbove(u32 address) {
    return std::upper_bound(known.lines.begin(), known.lines.end(), address,
                            [](u32 at, const CodeLine& line) { return at < line.address; });
}

bool IsEndOfPath(const std::string& path, const std::string& end) {
    if (!path.ends_with(end)) {
        return false;
    }
    return path.size() == end.size() || path[path.size() - end.size() - 1] == '/';
}

// The number of the file that is meant. "" or what is wrong.
std::string FindFile(const std::string& name, u32& number) {
    std::vector<u32> found;
    for (u32 i = 0; i < known.files.size(); ++i) {
        if (known.files[i] == name) {
            found.assign(1, i);
        }
        if (known.files[i] == name) {
            break;
        }
        if (IsEndOfPath(known.files[i], name)) {
            found.push_back(i);
        }
    }
    if (found.empty()) {
        return known.lines.empty() ? "no lines are known; there is no MAIN.LIN beside the module"
                                   : "no code comes from a file " + mxasm::Quoted(name);
    }
    number = found[0];
    if (found.size() == 1) {
        return "";
    }
    std::string all;
    for (const u32 each : found) {
        all += (all.empty() ? "" : ", ") + known.files[each];
    }
    return mxasm::Quoted(name) + " can be " + all;
}

}  // namespace

std::string LoadLines(const std::string& path) {
    std::string why;
    const std::optional<std::string> text = mxasm::ReadWholeFile(path, kMostBytes, false, why);
    Lines read;
    if (text) {
        why = ReadAll(*text, read);
    }
    if (!why.empty()) {
        return path + ": " + why;
    }
    known = std::move(read);
    return "";
}

std::string LinesFile() {
    return std::filesystem::path(ModulePath()).replace_filename("MAIN.LIN");
}

std::string LoadLinesOfGame() {
    std::error_code error;
    return std::filesystem::exists(LinesFile(), error) ? LoadLines(LinesFile()) : "";
}

size_t LineCount() {
    return known.lines.size();
}

const CodeLine* LineAt(u32 address) {
    const auto above = FirstAbove(address);
    if (above == known.lines.begin()) {
        return nullptr;
    }
    const CodeLine& line = *std::prev(above);
    return line.line == 0 ? nullptr : &line;
}

u32 NextLine(u32 address) {
    const auto above = FirstAbove(address);
    return above == known.lines.end() ? 0xFFFFFFFF : above->address;
}

const std::string& NameOfFile(u32 file) {
    return known.files[file];
}

std::string LineName(u32 address) {
    const CodeLine* const line = LineAt(address);
    return line == nullptr ? "" : FileOfLine(*line) + FormatText(":%u", line->line);
}

bool SplitLineName(std::string_view text, std::string& file, u32& line) {
    const size_t colon = text.rfind(':');
    if (colon == std::string_view::npos || colon == 0) {
        return false;
    }
    file = std::string(text.substr(0, colon));
    return TakeNumber(text.substr(colon + 1), line);
}

std::string FindLine(const std::string& file, u32 line, std::vector<u32>& addresses) {
    u32 number = 0;
    std::string wrong = FindFile(file, number);
    if (!wrong.empty()) {
        return wrong;
    }
    u32 nearest = 0xFFFFFFFF;
    for (const CodeLine& each : known.lines) {
        if (each.line != 0 && each.file == number && each.line >= line) {
            nearest = std::min(nearest, each.line);
        }
    }
    if (nearest == 0xFFFFFFFF) {
        return FormatText("there is no code of line %u of %s or behind it", line,
                          known.files[number].c_str());
    }
    std::vector<u32> functions;
    for (const CodeLine& each : known.lines) {
        if (each.line != nearest || each.file != number) {
            continue;
        }
        const FunctionSymbol* const symbol = FunctionSymbolAt(each.address);
        const u32 function = symbol == nullptr ? 0 : symbol->address;
        if (std::find(functions.begin(), functions.end(), function) != functions.end()) {
            continue;
        }
        functions.push_back(function);
        addresses.push_back(each.address == function ? BodyOf(function) : each.address);
    }
    return "";
}

bool IsKindOfValue(std::string_view kind) {
    static constexpr std::string_view kKinds[] = {"i8",   "u8",   "i16",     "u16",  "i32",
                                                  "u32",  "i64",  "u64",     "f32",  "f64",
                                                  "bool", "char", "pointer", "block"};
    return std::find(std::begin(kKinds), std::end(kKinds), kind) != std::end(kKinds);
}

std::vector<CodeVariable> VariablesOf(u32 function) {
    const auto first = std::lower_bound(
        known.variables.begin(), known.variables.end(), function,
        [](const CodeVariable& variable, u32 address) { return variable.function < address; });
    auto last = first;
    while (last != known.variables.end() && last->function == function) {
        ++last;
    }
    return {first, last};
}

u32 BodyOf(u32 function) {
    const u32 body = NextLine(function);
    return LineAt(function) != nullptr && body < NextFunctionSymbol(function) ? body : function;
}

}  // namespace moxi
