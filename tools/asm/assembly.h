#pragma once
// The state of one assembly, and the steps that its files share.

#include <map>
#include <memory>
#include <unordered_set>

#include "tools/asm/encoder.h"

namespace moxi {

namespace mxasm {

// --- Where lines come from

// A line of a macro's or repeat block's body.
struct BodyLine {
    std::string text;
    std::vector<u32> columns;  // source column of each byte; empty when they are the text's own
    u32 file = 0;
    u32 line = 0;
    // It lies in a block of the same kind within the body, so its \@ or \+ is left for that block.
    bool inner = false;
};

struct Body {
    std::vector<BodyLine> lines;
};

struct MacroParameter {
    std::string name;
    std::string fallback;  // what it stands for when its argument is empty or missing
    bool hasFallback = false;
    bool takesRest = false;  // it takes all further arguments, with the commas between them
};

struct Macro {
    std::string name;
    std::vector<MacroParameter> parameters;
    std::shared_ptr<Body> body;
    SourcePosition position;
};

enum class FrameKind : u8 { File, Macro, Repeat };

// One level of the stack of texts that are being read.
struct Frame {
    FrameKind kind = FrameKind::File;
    u32 file = 0;       // of a file
    u32 next = 0;       // line of the file or the body that comes next, from 0
    u32 expansion = 0;  // index of Sources::expansions
    std::shared_ptr<Body> body;
    const Macro* macro = nullptr;
    std::vector<std::string> arguments;
    u64 number = 0;         // of this macro call, or of the round of the repeat block, from 0
    u64 repeats = 0;        // rounds of the repeat block
    size_t conditions = 0;  // open .if blocks when the frame was entered
    SourcePosition from;
    // The line being read, after substitution.
    std::string text;
    std::vector<u32> columns;
    std::vector<u16> origins;  // SourcePosition::argument of each byte
};

// An open .if block.
struct Condition {
    bool active = false;   // the lines now read are assembled
    bool decided = false;  // an earlier part was chosen, or the whole block is skipped
    bool sawElse = false;
    SourcePosition position;
};

// --- What is produced

struct SectionState {
    std::vector<u8> bytes;
    u64 size = 0;  // equal to bytes.size() but for .bss
    u64 alignment = 1;
};

// A value that is put into its place at the end of the source. `sequence`, here and below, is the
// number of the statement, by which errors are ordered.
struct Fixup {
    Slot slot = Slot::Byte;
    Section section = Section::Code;
    u32 offset = 0;  // in the section
    Expression expression;
    u64 sequence = 0;
};

// A byte of the header that .header sets.
struct HeaderPatch {
    u32 offset = 0;
    u8 fixed = 0;        // its value
    bool waits = false;  // its value is that of `expression`, at the end of the source
    Expression expression;
    u64 sequence = 0;
};

struct Assertion {
    Expression expression;
    std::string text;
    u64 sequence = 0;
};

// How many arguments, in LONGs, a routine takes, as .arguments says.
struct DeclaredArguments {
    i64 count = 0;
    SourcePosition position;
};

// A call that .invoked tells of. At the end of the source it is compared with what the routine
// takes.
struct Invocation {
    u32 routine = 0;  // symbol
    i64 count = 0;
    SourcePosition position;
    u64 sequence = 0;
};

// A number for the header, such as .stack's.
struct HeaderNumber {
    i64 fallback = 0;
    bool given = false;
    Expression expression = {};
    u64 sequence = 0;
};

// What a line of the source made, for the listing.
struct ListingLine {
    u32 file = 0;
    u32 line = 0;
    u32 depth = 0;  // of macro expansion
    Section section = Section::Code;
    u64 offset = 0;
    u64 size = 0;
    std::string text;
};

struct Assembly {
    AssembleOptions options;
    Sources sources;
    SymbolTable table;
    std::map<std::string, Macro> macros;  // nodes stay where they are
    std::vector<std::unique_ptr<Frame>> frames;
    std::vector<Condition> conditions;
    SectionState sections[kSectionCount];
    Section section = Section::Code;
    std::vector<u32> floatingLabels;
    std::vector<Fixup> fixups;
    std::vector<HeaderPatch> headerPatches;
    std::vector<Assertion> assertions;
    std::map<u32, DeclaredArguments> declaredArguments;  // by the routine's symbol
    std::vector<Invocation> invocations;
    // The errors about words that may turn out to be macros defined later, by the word.
    std::multimap<std::string, size_t> unknownWords;
    HeaderNumber stackSize{65536, false, {}, 0};
    HeaderNumber heapSize{1048576, false, {}, 0};
    HeaderNumber versionMajor{6, false, {}, 0};
    HeaderNumber versionMinor{2, false, {}, 0};
    std::vector<ListingLine> listing;
    std::vector<std::string> filesRead;
    u64 expansionCount = 0;
    u64 expandedLines = 0;
    u64 expandedText = 0;
    u64 includedLines = 0;
    bool keepNodes = false;  // expressions of this statement are evaluated again at the end

    // A macro definition or repeat block whose lines are being collected.
    bool collecting = false;
    bool collectingMacro = false;
    u32 collectDepth = 0;
    Macro collected;
    u64 collectedRepeats = 0;
};

// --- Lines (lines.cpp)

// The next line of the innermost text; false at the end of everything. Ends frames on the way.
bool NextLine(Assembly& assembly, Line& line);
void EnterFile(Assembly& assembly, u32 file, const SourcePosition& from);
// Leaves the innermost macro at once.
void LeaveMacro(Assembly& assembly, const SourcePosition& position);

// --- Macros and repeat blocks (macros.cpp)

void StartMacroDefinition(Assembly& assembly, const Line& line, Cursor& cursor);
void StartRepeat(Assembly& assembly, Cursor& cursor);
// Takes a line into the body that is being collected, or ends it.
void CollectLine(Assembly& assembly, const Line& line);
void CallMacro(Assembly& assembly, const Macro& macro, const Line& line, Cursor& cursor);
// Makes the frame's line of a body line, with the arguments put in. False when it becomes too long.
bool Substitute(Assembly& assembly, Frame& frame, const BodyLine& body);

// --- Conditions (conditions.cpp)

// Handles the line if its first word is a directive of conditional assembly.
bool HandleCondition(Assembly& assembly, const Line& line, const std::string& word);
bool IsSkipping(const Assembly& assembly);

// --- Directives (directives.cpp) and data (data.cpp)

// The cursor stands at the directive.
void AssembleDirective(Assembly& assembly, const Line& line, Cursor& cursor);
// False when the directive is none for data.
bool AssembleData(Assembly& assembly, const std::string& name, Cursor& cursor);

// --- Arguments of routines (invocations.cpp)

// .arguments N: the routine at the latest label of the code takes N LONGs. Ignored when more than
// the routine's LINK stands between the label and here.
void DeclareArguments(Assembly& assembly, Cursor& cursor);
// .invoked ROUTINE, N: the routine is called with N LONGs.
void NoteInvocation(Assembly& assembly, Cursor& cursor, const SourcePosition& position);
// Reports each call with another number than its routine takes, where that is known.
void CheckInvocations(Assembly& assembly);

// --- Words that have no meaning (suggestions.cpp)

// "; did you mean 'MOVE'?" for a word that is much like a known one, else "".
std::string Suggestion(const Assembly& assembly, std::string_view word);
// Reports a word that has no meaning. One that stands before a directive was meant as a label.
void ReportUnknownWord(Assembly& assembly, std::string_view word, const SourcePosition& position,
                       bool standsBeforeDirective);
// Called when a macro has just been defined: the errors about uses before it then say so.
void ExplainEarlierUses(Assembly& assembly, const Macro& macro);
// "FILE:LINE" of a position; in a macro, of the author's line that calls it.
std::string PlaceInWords(const Sources& sources, const SourcePosition& position);
// "1 argument", "3 arguments".
std::string ArgumentsInWords(size_t count);

// --- Statements (statement.cpp)

void AssembleLine(Assembly& assembly, const Line& line);
void DefineLabel(Assembly& assembly, const Token& token, const SourcePosition& position);
void DefineConstant(Assembly& assembly, const std::string& name, const SourcePosition& position,
                    const Expression& expression);
void SetVariable(Assembly& assembly, const std::string& name, const SourcePosition& position,
                 const Expression& expression);
// Fixes the labels that the alignment of the next instruction could still move: something else now
// follows them, or the source ends.
void SettleFloatingLabels(Assembly& assembly);

// Adds `count` bytes of `fill` to the current section. False when the section becomes too large,
// which is reported and stops the assembly; the same goes for AddText and AddValue.
bool AddBytes(Assembly& assembly, u64 count, u8 fill, const SourcePosition& position);
bool AddText(Assembly& assembly, std::string_view bytes, const SourcePosition& position);
// Adds the unit of a slot with the value, which is put in now or, when it is not known yet, at the
// end.
bool AddValue(Assembly& assembly, Slot slot, const Expression& expression);
// Puts the value, now or at the end, into the unit at `offset` in the current section.
void PlaceValue(Assembly& assembly, Slot slot, u64 offset, const Expression& expression);

// Evaluates what must be a known whole number from `low` to `high`. Otherwise false, which is
// reported; `what` names the number there.
bool KnownNumber(Assembly& assembly, const Expression& expression, i64 low, i64 high,
                 const char* what, i64& number);
// Reports an error at the cursor.
void ReportHere(Assembly& assembly, const Cursor& cursor, const std::string& what);
// False, which is reported, when something follows the statement.
bool ExpectEnd(Assembly& assembly, const Cursor& cursor);

// --- The end (finish.cpp)

// Puts in the values that wait, and makes the file. With errors, `result` only holds them and the
// names of the files read.
void Finish(Assembly& assembly, AssembleResult& result);

// --- Listing (listing.cpp)

std::string FormatListing(const Assembly& assembly, const std::vector<u8>& file,
                          const AssembleResult& result);

}  // namespace mxasm

}  // namespace moxi
