#pragma once
// Source text of the assembler: files, positions, the errors found, and the limits that keep
// hostile input from taking the machine with it.

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/asm/records.h"

namespace moxi {

namespace mxasm {

// --- Limits

constexpr u64 kMaxSourceFile = u64{512} << 20;    // bytes of one file
constexpr u64 kMaxSourceTotal = u64{1024} << 20;  // bytes of all source files together
constexpr u64 kMaxSection = u64{256} << 20;       // bytes of code or of data
constexpr u32 kMaxIncludeDepth = 32;
constexpr u32 kMaxMacroDepth = 64;
constexpr u64 kMaxExpandedLines = 2'000'000;      // lines made by macros and repeat blocks
constexpr u64 kMaxIncludedLines = 20'000'000;     // lines read from files
constexpr u64 kMaxExpandedText = u64{256} << 20;  // bytes of their body lines and of what they make
constexpr u64 kMaxLine = 1u << 20;                // bytes of one line
constexpr size_t kMaxFixups = 4'000'000;          // values that wait for a later definition
constexpr size_t kMaxSymbols = 2'000'000;
constexpr size_t kMaxErrors = 100;

// --- Positions

struct SourcePosition {
    u32 file = 0;       // index of Sources::files
    u32 line = 0;       // from 1
    u32 column = 0;     // from 1
    u32 expansion = 0;  // index of Sources::expansions; 0 is none
    // The argument of that call, from 1, that the text came from; 0 for the body's own text.
    u32 argument = 0;
};

struct SourceFile {
    std::string name;  // as messages show it
    std::string path;  // what identifies the file; empty for text that came from memory
    std::string text;
    std::vector<size_t> lineStarts;
};

// A call of a macro. An error in the macro's body is shown at the line that calls it.
struct MacroCall {
    SourcePosition from;
    const std::string* macro = nullptr;
    std::vector<SourcePosition> arguments;  // where each of those given stands
};

struct PendingError {
    u64 sequence;  // number of the statement, which orders the errors
    SourcePosition position;
    std::string text;
};

struct Sources {
    std::deque<SourceFile> files;
    std::vector<MacroCall> expansions{1};
    std::vector<PendingError> errors;
    u64 sequence = 0;  // of the statement being assembled
    u64 totalBytes = 0;
    bool stopped = false;  // a limit was met or there are too many errors; nothing more is read
};

// Where an error at `position` is shown: in a line that the author wrote outside of every macro, at
// the argument that it came from or at the macro's name.
SourcePosition AuthorsPosition(const Sources& sources, SourcePosition position);

// Adds a file's text and finds its lines. Returns its index.
u32 AddSource(Sources& sources, std::string name, std::string path, std::string text);

// Line `line` (from 1) without its line end.
std::string_view SourceLine(const SourceFile& file, u32 line);
u32 LineCount(const SourceFile& file);

// Records an error of the current statement, or of the one with the number `sequence`. After
// kMaxErrors of them, one more only tells that there are too many, and stops the assembly.
void Report(Sources& sources, const SourcePosition& position, std::string text);
void ReportAt(Sources& sources, u64 sequence, const SourcePosition& position, std::string text);

// Records an error after which nothing more is read.
void ReportAndStop(Sources& sources, const SourcePosition& position, std::string text);

// The recorded errors in source order.
std::vector<AssembleError> CollectErrors(const Sources& sources);

// --- Files

// The whole of a file. Nothing, with the reason in `why`, when it cannot be read or is larger than
// `limit`. Pipes and devices are read only when `anyKind` is set.
std::optional<std::string> ReadWholeFile(const std::string& path, u64 limit, bool anyKind,
                                         std::string& why);

// `text` in quotes for a message, shortened, with unprintable bytes shown as '?'.
std::string Quoted(std::string_view text);

}  // namespace mxasm

}  // namespace moxi
