// Directives that steer the assembly: sections, sizes, constants, macros, included files.

#include <algorithm>
#include <filesystem>

#include "tools/asm/assembly.h"

namespace moxi {

namespace mxasm {

namespace {

bool ParseNumber(Assembly& assembly, Cursor& cursor, Expression& expression) {
    return ParseExpression(assembly.sources, assembly.table, cursor, expression);
}

bool ExpectComma(Assembly& assembly, Cursor& cursor) {
    if (cursor.Accept(",")) {
        return true;
    }
    ReportHere(assembly, cursor, "expected a comma");
    return false;
}

bool ParseString(Assembly& assembly, Cursor& cursor, std::string& bytes) {
    if (cursor.Now().kind != TokenKind::String) {
        ReportHere(assembly, cursor, "expected a text in double quotes");
        return false;
    }
    bytes = cursor.Now().bytes;
    ++cursor.at;
    return true;
}

void ChooseSection(Assembly& assembly, Cursor& cursor, Section section) {
    if (ExpectEnd(assembly, cursor)) {
        assembly.section = section;
    }
}

void SetHeaderNumber(Assembly& assembly, HeaderNumber& number, const Expression& expression) {
    number.given = true;
    number.expression = expression;
    number.sequence = assembly.sources.sequence;
    assembly.keepNodes = true;
}

void AssembleSize(Assembly& assembly, Cursor& cursor, HeaderNumber& number) {
    if (number.given) {
        ReportHere(assembly, cursor, "the size is given a second time");
        return;
    }
    Expression expression;
    if (!ParseNumber(assembly, cursor, expression) || !ExpectEnd(assembly, cursor)) {
        return;
    }
    SetHeaderNumber(assembly, number, expression);
}

void AssembleVersion(Assembly& assembly, Cursor& cursor) {
    if (assembly.versionMajor.given) {
        ReportHere(assembly, cursor, "the version is given a second time");
        return;
    }
    Expression major;
    Expression minor;
    if (!ParseNumber(assembly, cursor, major) || !ExpectComma(assembly, cursor) ||
        !ParseNumber(assembly, cursor, minor) || !ExpectEnd(assembly, cursor)) {
        return;
    }
    SetHeaderNumber(assembly, assembly.versionMajor, major);
    SetHeaderNumber(assembly, assembly.versionMinor, minor);
}

// `.equ name, expression` and `.set name, expression`.
void AssembleNamed(Assembly& assembly, Cursor& cursor, bool isVariable) {
    const SourcePosition position = PositionOf(cursor);
    if (cursor.Now().kind != TokenKind::Name) {
        ReportHere(assembly, cursor, "a name is missing");
        return;
    }
    const std::string name(cursor.Now().text);
    ++cursor.at;
    Expression expression;
    if (!ExpectComma(assembly, cursor) || !ParseNumber(assembly, cursor, expression) ||
        !ExpectEnd(assembly, cursor)) {
        return;
    }
    if (isVariable) {
        SetVariable(assembly, name, position, expression);
    } else {
        DefineConstant(assembly, name, position, expression);
    }
}

void AssembleHeader(Assembly& assembly, Cursor& cursor) {
    Expression where;
    i64 offset = 0;
    if (!ParseNumber(assembly, cursor, where) ||
        !KnownNumber(assembly, where, 0, 511, "an offset in the header", offset)) {
        return;
    }
    const SourcePosition position = PositionOf(cursor);
    std::vector<HeaderPatch> patches;
    while (cursor.Accept(",")) {
        HeaderPatch patch;
        patch.sequence = assembly.sources.sequence;
        if (cursor.Now().kind == TokenKind::String) {
            for (const char c : cursor.Now().bytes) {
                patch.fixed = static_cast<u8>(c);
                patches.push_back(patch);
            }
            ++cursor.at;
            continue;
        }
        patch.waits = true;
        if (!ParseNumber(assembly, cursor, patch.expression)) {
            return;
        }
        patches.push_back(patch);
    }
    if (!ExpectEnd(assembly, cursor)) {
        return;
    }
    if (patches.size() > 512 - static_cast<size_t>(offset)) {
        Report(assembly.sources, position, "the bytes reach beyond the header");
        return;
    }
    for (HeaderPatch& patch : patches) {
        patch.offset = static_cast<u32>(offset++);
        assembly.headerPatches.push_back(patch);
    }
    assembly.keepNodes = true;
}

void AssembleError(Assembly& assembly, Cursor& cursor, const SourcePosition& position) {
    std::string text;
    if (ParseString(assembly, cursor, text) && ExpectEnd(assembly, cursor)) {
        ReportAndStop(assembly.sources, position, text);
    }
}

void AssembleAssertion(Assembly& assembly, Cursor& cursor) {
    Assertion assertion;
    assertion.sequence = assembly.sources.sequence;
    if (!ParseNumber(assembly, cursor, assertion.expression)) {
        return;
    }
    if (cursor.Accept(",") && !ParseString(assembly, cursor, assertion.text)) {
        return;
    }
    if (!ExpectEnd(assembly, cursor)) {
        return;
    }
    if (assertion.text.empty()) {
        assertion.text = "the assertion does not hold";
    }
    assembly.keepNodes = true;
    assembly.assertions.push_back(assertion);
}

// --- Files

std::string FolderOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// The file called `name` beside the file being read or in an include folder.
std::string FindFile(const Assembly& assembly, u32 fromFile, const std::string& name) {
    if (name.starts_with('/') || name.find('\0') != std::string::npos) {
        return name;
    }
    std::error_code error;
    std::string beside = FolderOf(assembly.sources.files[fromFile].name) + name;
    if (std::filesystem::exists(beside, error)) {
        return beside;
    }
    for (const std::string& folder : assembly.options.includeFolders) {
        std::string path = (std::filesystem::path(folder) / name).string();
        if (std::filesystem::exists(path, error)) {
            return path;
        }
    }
    return beside;
}

std::string Identity(const std::string& path) {
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::weakly_canonical(path, error);
    return error ? path : whole.string();
}

bool IsBeingRead(const Assembly& assembly, const std::string& identity) {
    return std::any_of(assembly.frames.begin(), assembly.frames.end(),
                       [&](const std::unique_ptr<Frame>& frame) {
                           return frame->kind == FrameKind::File &&
                                  assembly.sources.files[frame->file].path == identity;
                       });
}

// A file is kept once, however often it is included.
u32 FindSource(const Assembly& assembly, const std::string& identity) {
    for (u32 i = 0; i < assembly.sources.files.size(); ++i) {
        if (assembly.sources.files[i].path == identity) {
            return i;
        }
    }
    return ~0u;
}

void AssembleInclude(Assembly& assembly, Cursor& cursor) {
    const SourcePosition position = PositionOf(cursor);
    std::string name;
    if (!ParseString(assembly, cursor, name) || !ExpectEnd(assembly, cursor)) {
        return;
    }
    const auto depth = std::count_if(
        assembly.frames.begin(), assembly.frames.end(),
        [](const std::unique_ptr<Frame>& frame) { return frame->kind == FrameKind::File; });
    if (depth > static_cast<std::ptrdiff_t>(kMaxIncludeDepth)) {
        ReportAndStop(assembly.sources, position, "files include one another too deeply");
        return;
    }
    const std::string path = FindFile(assembly, position.file, name);
    const std::string identity = Identity(path);
    if (IsBeingRead(assembly, identity)) {
        Report(assembly.sources, position, "the file " + Quoted(name) + " includes itself");
        return;
    }
    u32 file = FindSource(assembly, identity);
    if (file == ~0u) {
        std::string why;
        std::optional<std::string> text = ReadWholeFile(path, kMaxSourceFile, false, why);
        if (!text) {
            Report(assembly.sources, position, "cannot include " + Quoted(name) + ": " + why);
            return;
        }
        if (assembly.sources.totalBytes + text->size() > kMaxSourceTotal) {
            ReportAndStop(assembly.sources, position, "the source files are too large");
            return;
        }
        assembly.filesRead.push_back(path);
        file = AddSource(assembly.sources, path, identity, std::move(*text));
    }
    EnterFile(assembly, file, position);
}

void AssembleBinary(Assembly& assembly, Cursor& cursor) {
    const SourcePosition position = PositionOf(cursor);
    std::string name;
    if (!ParseString(assembly, cursor, name)) {
        return;
    }
    i64 range[2] = {0, -1};  // offset and length
    for (i64& number : range) {
        if (!cursor.Accept(",")) {
            break;
        }
        Expression expression;
        if (!ParseNumber(assembly, cursor, expression) ||
            !KnownNumber(assembly, expression, 0, 0xFFFFFFFF, "a place in the file", number)) {
            return;
        }
    }
    if (!ExpectEnd(assembly, cursor)) {
        return;
    }
    if (assembly.section == Section::Bss) {
        Report(assembly.sources, position, ".bss holds no data, only .space");
        return;
    }
    const std::string path = FindFile(assembly, position.file, name);
    std::string why;
    const std::optional<std::string> bytes = ReadWholeFile(path, kMaxSection, false, why);
    if (!bytes) {
        Report(assembly.sources, position, "cannot include " + Quoted(name) + ": " + why);
        return;
    }
    assembly.filesRead.push_back(path);
    const i64 size = static_cast<i64>(bytes->size());
    if (range[1] < 0) {
        range[1] = std::max<i64>(size - range[0], 0);
    }
    if (range[0] > size || range[1] > size - range[0]) {
        Report(assembly.sources, position,
               "the file " + Quoted(name) + " has only " + std::to_string(size) + " bytes");
        return;
    }
    AddText(assembly,
            std::string_view(*bytes).substr(static_cast<size_t>(range[0]),
                                            static_cast<size_t>(range[1])),
            position);
}

}  // namespace

void AssembleDirective(Assembly& assembly, const Line& line, Cursor& cursor) {
    const SourcePosition position = PositionOf(cursor);
    const std::string name = UpperCase(cursor.Now().text);
    if (name == ".MACRO") {
        return StartMacroDefinition(assembly, line, cursor);
    }
    if (name == ".REPT") {
        return StartRepeat(assembly, cursor);
    }
    ++cursor.at;
    if (name == ".CODE") {
        return ChooseSection(assembly, cursor, Section::Code);
    }
    if (name == ".DATA") {
        return ChooseSection(assembly, cursor, Section::Data);
    }
    if (name == ".BSS") {
        return ChooseSection(assembly, cursor, Section::Bss);
    }
    if (name == ".STACK") {
        return AssembleSize(assembly, cursor, assembly.stackSize);
    }
    if (name == ".HEAP") {
        return AssembleSize(assembly, cursor, assembly.heapSize);
    }
    if (name == ".VERSION") {
        return AssembleVersion(assembly, cursor);
    }
    if (name == ".EQU") {
        return AssembleNamed(assembly, cursor, false);
    }
    if (name == ".SET") {
        return AssembleNamed(assembly, cursor, true);
    }
    if (name == ".HEADER") {
        return AssembleHeader(assembly, cursor);
    }
    if (name == ".ERROR") {
        return AssembleError(assembly, cursor, position);
    }
    if (name == ".ASSERT") {
        return AssembleAssertion(assembly, cursor);
    }
    if (name == ".INCLUDE") {
        return AssembleInclude(assembly, cursor);
    }
    if (name == ".INCBIN") {
        return AssembleBinary(assembly, cursor);
    }
    if (name == ".ARGUMENTS") {
        return DeclareArguments(assembly, cursor);
    }
    if (name == ".INVOKED") {
        return NoteInvocation(assembly, cursor, position);
    }
    if (name == ".EXITM") {
        if (ExpectEnd(assembly, cursor)) {
            LeaveMacro(assembly, position);
        }
        return;
    }
    if (name == ".ENDM" || name == ".ENDR") {
        Report(assembly.sources, position,
               name == ".ENDM" ? "there is no open .macro here" : "there is no open .rept here");
        return;
    }
    if (!AssembleData(assembly, name, cursor)) {
        const Token& token = cursor.tokens->at(cursor.at - 1);
        Report(assembly.sources, position,
               Quoted(line.text.substr(token.index, name.size())) + " is no directive" +
                   Suggestion(assembly, token.text));
    }
}

}  // namespace mxasm

}  // namespace moxi
