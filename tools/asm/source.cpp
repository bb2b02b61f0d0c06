#include "tools/asm/source.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "base/utf8.h"

namespace moxi {

namespace mxasm {

u32 AddSource(Sources& sources, std::string name, std::string path, std::string text) {
    SourceFile file;
    file.name = std::move(name);
    file.path = std::move(path);
    file.text = std::move(text);
    if (file.text.starts_with("\xEF\xBB\xBF")) {
        file.text.erase(0, 3);
    }
    file.lineStarts.push_back(0);
    for (size_t at = file.text.find('\n'); at != std::string::npos;
         at = file.text.find('\n', at + 1)) {
        file.lineStarts.push_back(at + 1);
    }
    // Text that ends with a line feed has no further, empty line.
    if (file.lineStarts.size() > 1 && file.lineStarts.back() == file.text.size()) {
        file.lineStarts.pop_back();
    }
    sources.totalBytes += file.text.size();
    sources.files.push_back(std::move(file));
    return static_cast<u32>(sources.files.size() - 1);
}

std::string_view SourceLine(const SourceFile& file, u32 line) {
    if (line == 0 || line > file.lineStarts.size()) {
        return {};
    }
    const size_t start = file.lineStarts[line - 1];
    const size_t end = line < file.lineStarts.size() ? file.lineStarts[line] : file.text.size();
    std::string_view text = std::string_view(file.text).substr(start, end - start);
    if (text.ends_with('\n')) {
        text.remove_suffix(1);
    }
    if (text.ends_with('\r')) {
        text.remove_suffix(1);
    }
    return text;
}

u32 LineCount(const SourceFile& file) {
    return static_cast<u32>(file.lineStarts.size());
}

void ReportAt(Sources& sources, u64 sequence, const SourcePosition& position, std::string text) {
    if (sources.errors.size() > kMaxErrors) {
        return;
    }
    if (sources.errors.size() == kMaxErrors) {
        text = "too many errors, the rest is not reported";
        sources.stopped = true;
    }
    sources.errors.push_back({sequence, position, std::move(text)});
}

void Report(Sources& sources, const SourcePosition& position, std::string text) {
    ReportAt(sources, sources.sequence, position, std::move(text));
}

void ReportAndStop(Sources& sources, const SourcePosition& position, std::string text) {
    Report(sources, position, std::move(text));
    sources.stopped = true;
}

namespace {

constexpr std::ptrdiff_t kMaxNotes = 8;

const SourcePosition& CallerOf(const MacroCall& call, const SourcePosition& inside) {
    const size_t argument = inside.argument;
    return argument != 0 && argument <= call.arguments.size() ? call.arguments[argument - 1]
                                                              : call.from;
}

AssembleNote MakeNote(const Sources& sources, const SourcePosition& position, std::string text) {
    AssembleNote note;
    const SourceFile& file = sources.files[position.file];
    note.file = file.name;
    note.line = position.line;
    note.column = position.column;
    note.text = std::move(text);
    note.sourceLine = std::string(SourceLine(file, position.line));
    return note;
}

}  // namespace

SourcePosition AuthorsPosition(const Sources& sources, SourcePosition position) {
    while (position.expansion != 0) {
        position = CallerOf(sources.expansions[position.expansion], position);
    }
    return position;
}

std::vector<AssembleError> CollectErrors(const Sources& sources) {
    std::vector<const PendingError*> order;
    for (const PendingError& error : sources.errors) {
        order.push_back(&error);
    }
    std::stable_sort(order.begin(), order.end(), [](const PendingError* a, const PendingError* b) {
        return a->sequence < b->sequence;
    });
    std::vector<AssembleError> errors;
    for (const PendingError* pending : order) {
        AssembleError error;
        error.at = MakeNote(sources, AuthorsPosition(sources, pending->position), pending->text);
        // One mistake in an argument can be met at each place where the macro uses it.
        const bool isKnown =
            std::any_of(errors.begin(), errors.end(), [&error](const AssembleError& other) {
                return other.at.file == error.at.file && other.at.line == error.at.line &&
                       other.at.column == error.at.column && other.at.text == error.at.text;
            });
        if (isKnown) {
            continue;
        }
        SourcePosition place = pending->position;
        while (place.expansion != 0) {
            const MacroCall& call = sources.expansions[place.expansion];
            error.inMacros.push_back(MakeNote(sources, place, "in macro " + *call.macro));
            place = CallerOf(call, place);
        }
        std::reverse(error.inMacros.begin(), error.inMacros.end());
        // Of a macro that calls itself many times, only the first calls and the place itself are
        // shown.
        if (std::ssize(error.inMacros) > kMaxNotes) {
            error.inMacros.erase(error.inMacros.begin() + kMaxNotes - 1, error.inMacros.end() - 1);
        }
        errors.push_back(std::move(error));
    }
    return errors;
}

std::optional<std::string> ReadWholeFile(const std::string& path, u64 limit, bool anyKind,
                                         std::string& why) {
    if (path.find('\0') != std::string::npos) {
        why = "the name holds a NUL";
        return std::nullopt;
    }
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found) {
        why = "no such file";
        return std::nullopt;
    }
    if (error) {
        why = error.message();
        return std::nullopt;
    }
    if (std::filesystem::is_directory(status)) {
        why = "is a folder";
        return std::nullopt;
    }
    if (!anyKind && !std::filesystem::is_regular_file(status)) {
        why = "is not a regular file";
        return std::nullopt;
    }
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!file) {
        why = std::strerror(errno);
        return std::nullopt;
    }
    std::string text;
    std::vector<char> buffer(1u << 16);
    for (;;) {
        const size_t count = std::fread(buffer.data(), 1, buffer.size(), file.get());
        text.append(buffer.data(), count);
        if (text.size() > limit) {
            why = "is larger than " + std::to_string(limit >> 20) + " MB";
            return std::nullopt;
        }
        if (count < buffer.size()) {
            break;
        }
    }
    if (std::ferror(file.get()) != 0) {
        why = "cannot be read";
        return std::nullopt;
    }
    return text;
}

std::string Quoted(std::string_view text) {
    const bool cut = text.size() > 60;
    std::string quoted = "'";
    for (const char c : text.substr(0, 60)) {
        const bool control = static_cast<u8>(c) < 32 || c == 127;
        quoted += control ? '?' : c;
    }
    if (cut) {
        quoted += "...";
    }
    return quoted + "'";
}

}  // namespace mxasm

namespace {

// The part of a source line that is shown: long lines are cut around the column, and bytes that
// would disturb a terminal are shown as '?'.
void AppendSourceLine(std::string& out, const AssembleNote& note) {
    constexpr size_t kWidth = 160;
    const size_t column = note.column == 0 ? 0 : note.column - 1;
    size_t start = 0;
    if (note.sourceLine.size() > kWidth && column > kWidth / 2) {
        start = std::min(column - kWidth / 2, note.sourceLine.size());
    }
    const std::string_view shown = std::string_view(note.sourceLine).substr(start, kWidth);
    out += "  ";
    for (const char c : shown) {
        const bool control = (static_cast<u8>(c) < 32 && c != '\t') || c == 127;
        out += control ? '?' : c;
    }
    out += "\n  ";
    for (size_t i = start; i < column; ++i) {
        const char c = i - start < shown.size() ? shown[i - start] : ' ';
        if (c == '\t') {
            out += '\t';
        } else if (!IsContinuation(c)) {
            out += ' ';
        }
    }
    out += "^\n";
}

void AppendNote(std::string& out, const AssembleNote& note, const char* kind) {
    out += note.file + ":" + std::to_string(note.line) + ":" + std::to_string(note.column) + ": " +
           kind + ": " + note.text + "\n";
    AppendSourceLine(out, note);
}

}  // namespace

std::string FormatError(const AssembleError& error) {
    std::string out;
    AppendNote(out, error.at, "error");
    for (const AssembleNote& note : error.inMacros) {
        AppendNote(out, note, "note");
    }
    return out;
}

std::string FormatErrors(const AssembleResult& result) {
    std::string out;
    for (const AssembleError& error : result.errors) {
        out += FormatError(error);
    }
    return out;
}

}  // namespace moxi
