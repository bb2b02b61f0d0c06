// Macros and repeat blocks: collecting their bodies, calling them, and putting arguments in.

#include <algorithm>

#include "tools/asm/assembly.h"

namespace moxi {

namespace mxasm {

namespace {

std::string_view Trim(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) {
        text.remove_prefix(1);
    }
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) {
        text.remove_suffix(1);
    }
    return text;
}

// The index behind the string or character literal that starts at `at`; at + 1 when none does.
size_t SkipQuoted(std::string_view text, size_t at) {
    const char quote = text[at];
    if (quote != '"' && quote != '\'') {
        return at + 1;
    }
    for (size_t i = at + 1; i < text.size(); ++i) {
        if (text[i] == '\\') {
            ++i;
        } else if (text[i] == quote) {
            return i + 1;
        }
    }
    return text.size();
}

struct Argument {
    std::string text;
    size_t index = 0;  // of its first byte
};

// Cuts text at commas outside of quotes, parentheses and brackets, up to a comment.
std::vector<Argument> SplitArguments(std::string_view text) {
    std::vector<Argument> parts;
    const auto add = [&](size_t from, size_t to) {
        const std::string_view part = Trim(text.substr(from, to - from));
        parts.push_back({std::string(part),
                         part.empty() ? from : static_cast<size_t>(part.data() - text.data())});
    };
    int depth = 0;
    size_t start = 0;
    size_t at = 0;
    while (at < text.size() && text[at] != ';') {
        const char c = text[at];
        if (c == '(' || c == '[') {
            ++depth;
        }
        if (c == ')' || c == ']') {
            --depth;
        }
        if (c == ',' && depth <= 0) {
            add(start, at);
            start = at + 1;
        }
        at = SkipQuoted(text, at);
    }
    at = std::min(at, text.size());
    if (!parts.empty() || !Trim(text.substr(start, at - start)).empty()) {
        add(start, at);
    }
    return parts;
}

bool ParseParameter(Assembly& assembly, const SourcePosition& position, std::string_view text,
                    Macro& macro) {
    MacroParameter parameter;
    const size_t equals = text.find('=');
    if (equals != std::string_view::npos) {
        parameter.hasFallback = true;
        parameter.fallback = std::string(Trim(text.substr(equals + 1)));
        text = Trim(text.substr(0, equals));
    }
    if (text.ends_with("...")) {
        parameter.takesRest = true;
        text = Trim(text.substr(0, text.size() - 3));
    }
    const bool isName =
        !text.empty() && IsNameStart(text[0]) && std::all_of(text.begin(), text.end(), IsNamePart);
    if (!isName) {
        Report(assembly.sources, position, Quoted(text) + " is no name of a parameter");
        return false;
    }
    parameter.name = std::string(text);
    for (const MacroParameter& other : macro.parameters) {
        if (other.takesRest || other.name == parameter.name) {
            Report(assembly.sources, position,
                   other.takesRest ? "a parameter with ... is the last one"
                                   : "two parameters are called " + Quoted(text));
            return false;
        }
    }
    macro.parameters.push_back(parameter);
    return true;
}

void StartCollecting(Assembly& assembly, bool isMacro, Macro macro) {
    assembly.collecting = true;
    assembly.collectingMacro = isMacro;
    assembly.collectDepth = 0;
    macro.body = std::make_shared<Body>();
    assembly.collected = std::move(macro);
}

// Marks the lines that belong to a block of the same kind within the body.
void MarkInnerLines(Body& body, std::string_view opener, std::string_view closer) {
    u32 depth = 0;
    for (BodyLine& line : body.lines) {
        const std::string word = FirstWord(line.text);
        if (word == closer && depth > 0) {
            --depth;
        }
        line.inner = depth > 0;
        if (word == opener) {
            ++depth;
        }
    }
}

void EndMacroDefinition(Assembly& assembly) {
    Macro& macro = assembly.collected;
    if (macro.name.empty()) {
        return;  // its first line was wrong
    }
    const auto [entry, isNew] = assembly.macros.try_emplace(macro.name, macro);
    if (!isNew) {
        Report(assembly.sources, macro.position, "the macro is already defined");
        return;
    }
    ExplainEarlierUses(assembly, macro);
}

bool RoomForFrame(Assembly& assembly, const SourcePosition& position) {
    const auto depth = std::count_if(
        assembly.frames.begin(), assembly.frames.end(),
        [](const std::unique_ptr<Frame>& frame) { return frame->kind != FrameKind::File; });
    if (depth < static_cast<std::ptrdiff_t>(kMaxMacroDepth)) {
        return true;
    }
    ReportAndStop(assembly.sources, position, "macros are nested too deeply (64 levels)");
    return false;
}

void EndRepeat(Assembly& assembly) {
    if (assembly.collectedRepeats == 0 || assembly.collected.body->lines.empty()) {
        return;
    }
    const SourcePosition position = assembly.collected.position;
    if (!RoomForFrame(assembly, position)) {
        return;
    }
    auto frame = std::make_unique<Frame>();
    frame->kind = FrameKind::Repeat;
    frame->body = assembly.collected.body;
    frame->repeats = assembly.collectedRepeats;
    frame->expansion = position.expansion;
    frame->from = position;
    frame->conditions = assembly.conditions.size();
    assembly.frames.push_back(std::move(frame));
}

}  // namespace

void StartMacroDefinition(Assembly& assembly, const Line& line, Cursor& cursor) {
    Macro macro;
    macro.position = PositionOf(cursor);
    ++cursor.at;
    if (cursor.Now().kind != TokenKind::Name) {
        ReportHere(assembly, cursor, "the macro needs a name");
        StartCollecting(assembly, true, std::move(macro));
        return;
    }
    const Token& token = cursor.Now();
    if (IsMnemonic(UpperCase(token.text)) || IsReservedName(token.text)) {
        ReportHere(assembly, cursor, Quoted(token.text) + " is an instruction or a register");
        StartCollecting(assembly, true, std::move(macro));
        return;
    }
    macro.position = PositionOf(cursor);
    const size_t rest = token.index + token.text.size();
    bool good = true;
    for (const Argument& argument : SplitArguments(line.text.substr(rest))) {
        good = good && ParseParameter(assembly, PositionIn(line, rest), argument.text, macro);
    }
    if (good) {
        macro.name = std::string(token.text);
    }
    StartCollecting(assembly, true, std::move(macro));
}

void StartRepeat(Assembly& assembly, Cursor& cursor) {
    Macro block;
    block.position = PositionOf(cursor);
    ++cursor.at;
    Expression expression;
    i64 count = 0;
    if (!ParseExpression(assembly.sources, assembly.table, cursor, expression) ||
        !KnownNumber(assembly, expression, 0, 0x7FFFFFFF, "a repeat count", count) ||
        !ExpectEnd(assembly, cursor)) {
        count = 0;
    }
    assembly.collectedRepeats = static_cast<u64>(count);
    StartCollecting(assembly, false, std::move(block));
}

void CollectLine(Assembly& assembly, const Line& line) {
    const std::string word = FirstWord(line.text);
    const std::string_view opener = assembly.collectingMacro ? ".MACRO" : ".REPT";
    const std::string_view closer = assembly.collectingMacro ? ".ENDM" : ".ENDR";
    if (word == opener) {
        ++assembly.collectDepth;
    }
    if (word == closer) {
        if (assembly.collectDepth == 0) {
            assembly.collecting = false;
            MarkInnerLines(*assembly.collected.body, opener, closer);
            if (assembly.collectingMacro) {
                EndMacroDefinition(assembly);
            } else {
                EndRepeat(assembly);
            }
            return;
        }
        --assembly.collectDepth;
    }
    BodyLine body;
    body.text = std::string(line.text);
    if (line.columns != nullptr) {
        body.columns = *line.columns;
    }
    body.file = line.position.file;
    body.line = line.position.line;
    assembly.collected.body->lines.push_back(std::move(body));
}

void CallMacro(Assembly& assembly, const Macro& macro, const Line& line, Cursor& cursor) {
    const SourcePosition position = PositionOf(cursor);
    const Token& token = cursor.Now();
    const size_t rest = token.index + token.text.size();
    std::vector<std::string> arguments;
    std::vector<SourcePosition> places;
    for (Argument& argument : SplitArguments(line.text.substr(rest))) {
        arguments.push_back(std::move(argument.text));
        places.push_back(PositionIn(line, rest + argument.index));
    }
    const size_t given = arguments.size();
    const size_t wanted = macro.parameters.size();
    const bool takesRest = wanted > 0 && macro.parameters.back().takesRest;
    if (given > wanted && !takesRest) {
        Report(assembly.sources, position,
               "macro " + macro.name + " takes " + ArgumentsInWords(wanted) + ", " +
                   std::to_string(given) + (given == 1 ? " is given" : " are given"));
        return;
    }
    if (takesRest && given > wanted) {
        for (size_t i = wanted; i < given; ++i) {
            arguments[wanted - 1] += ", " + arguments[i];
        }
        arguments.resize(wanted);
    }
    for (size_t i = 0; i < wanted; ++i) {
        const MacroParameter& parameter = macro.parameters[i];
        if (i >= arguments.size()) {
            arguments.emplace_back();
        }
        if (!arguments[i].empty()) {
            continue;
        }
        if (i >= given && !parameter.hasFallback && !parameter.takesRest) {
            Report(assembly.sources, position,
                   "macro " + macro.name + " needs its argument " + Quoted(parameter.name));
            return;
        }
        arguments[i] = parameter.fallback;
    }
    if (macro.body->lines.empty() || !RoomForFrame(assembly, position)) {
        return;
    }
    auto frame = std::make_unique<Frame>();
    frame->kind = FrameKind::Macro;
    frame->macro = &macro;
    frame->body = macro.body;
    frame->arguments = std::move(arguments);
    frame->number = assembly.expansionCount++;
    frame->from = position;
    frame->conditions = assembly.conditions.size();
    frame->expansion = static_cast<u32>(assembly.sources.expansions.size());
    assembly.sources.expansions.push_back({position, &macro.name, std::move(places)});
    assembly.frames.push_back(std::move(frame));
}

namespace {

struct Output {
    Frame& frame;
    const BodyLine& body;

    u32 ColumnAt(size_t index) const {
        return body.columns.empty() ? static_cast<u32>(index + 1) : body.columns[index];
    }
    void Copy(size_t index) {
        frame.text += body.text[index];
        frame.columns.push_back(ColumnAt(index));
        frame.origins.push_back(0);
    }
    void Insert(std::string_view text, size_t index, size_t argument = 0) {
        frame.text += text;
        frame.columns.insert(frame.columns.end(), text.size(), ColumnAt(index));
        frame.origins.insert(frame.origins.end(), text.size(),
                             static_cast<u16>(std::min<size_t>(argument, 0xFFFF)));
    }
};

// Which argument, from 1, is that of the parameter called `name`; 0 when there is none.
size_t FindArgument(const Frame& frame, std::string_view name) {
    if (frame.macro == nullptr) {
        return 0;
    }
    for (size_t i = 0; i < frame.macro->parameters.size(); ++i) {
        if (frame.macro->parameters[i].name == name) {
            return i + 1;
        }
    }
    return 0;
}

// Handles the backslash at `at`; returns the index behind what it stands for.
size_t SubstituteAt(Output& output, size_t at, bool inQuotes) {
    const std::string& text = output.body.text;
    const Frame& frame = output.frame;
    const char next = at + 1 < text.size() ? text[at + 1] : '\0';
    if (next == '@' && frame.kind == FrameKind::Macro && !output.body.inner) {
        output.Insert(std::to_string(frame.number), at);
        return at + 2;
    }
    if (next == '+' && frame.kind == FrameKind::Repeat && !output.body.inner) {
        output.Insert(std::to_string(frame.number), at);
        return at + 2;
    }
    if (next == '(' && at + 2 < text.size() && text[at + 2] == ')' &&
        frame.kind == FrameKind::Macro) {
        return at + 3;
    }
    size_t end = at + 1;
    while (end < text.size() && IsNamePart(text[end])) {
        ++end;
    }
    const std::string_view name = std::string_view(text).substr(at + 1, end - at - 1);
    // Within quotes the short escapes keep their meaning.
    const bool isEscape = inQuotes && (name == "n" || name == "r" || name == "t");
    const size_t argument = isEscape ? 0 : FindArgument(frame, name);
    if (argument != 0) {
        output.Insert(frame.arguments[argument - 1], at, argument);
        return end;
    }
    output.Copy(at);
    if (inQuotes && at + 1 < text.size()) {
        output.Copy(at + 1);
        return at + 2;
    }
    return at + 1;
}

}  // namespace

bool Substitute(Assembly& assembly, Frame& frame, const BodyLine& body) {
    frame.text.clear();
    frame.columns.clear();
    frame.origins.clear();
    Output output{frame, body};
    char quote = '\0';
    size_t at = 0;
    while (at < body.text.size()) {
        const char c = body.text[at];
        if (quote == '\0' && c == ';') {
            break;  // comments are not carried along
        }
        if (c == '\\') {
            at = SubstituteAt(output, at, quote != '\0');
        } else {
            if (quote == '\0' && (c == '"' || c == '\'')) {
                quote = c;
            } else if (c == quote) {
                quote = '\0';
            }
            output.Copy(at);
            ++at;
        }
        if (frame.text.size() > kMaxLine) {
            ReportAndStop(assembly.sources, frame.from, "the macro makes a line longer than 1 MB");
            return false;
        }
    }
    assembly.expandedText += frame.text.size();
    return true;
}

}  // namespace mxasm

}  // namespace moxi
