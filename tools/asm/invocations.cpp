// How many arguments routines take, and with how many they are called. The machine does not mind a
// wrong number; the routine reads what lies beside its arguments.

#include "tools/asm/assembly.h"

namespace moxi {

namespace mxasm {

namespace {

constexpr i64 kMostArguments = 16383;  // as many LONGs as CALL can count
constexpr u64 kLinkSize = 4;

}  // namespace

void DeclareArguments(Assembly& assembly, Cursor& cursor) {
    const SourcePosition position = PositionOf(cursor);
    Expression expression;
    i64 count = 0;
    if (!ParseExpression(assembly.sources, assembly.table, cursor, expression) ||
        !KnownNumber(assembly, expression, 0, kMostArguments, "a number of arguments", count) ||
        !ExpectEnd(assembly, cursor)) {
        return;
    }
    const u32 routine = assembly.table.scope[0];
    if (routine == kNoSymbol) {
        return;
    }
    const u64 start = assembly.table.symbols[routine].offset;
    if (assembly.sections[0].size - start > kLinkSize) {
        return;
    }
    assembly.declaredArguments[routine] = {count, position};
}

void NoteInvocation(Assembly& assembly, Cursor& cursor, const SourcePosition& position) {
    const Token& token = cursor.Now();
    const bool isName = token.kind == TokenKind::Name && cursor.Next().text == ",";
    const std::string name(token.text);
    Expression expression;
    i64 count = 0;
    if (!ParseExpression(assembly.sources, assembly.table, cursor, expression)) {
        return;
    }
    if (!cursor.Accept(",")) {
        return ReportHere(assembly, cursor, "expected a comma");
    }
    if (!ParseExpression(assembly.sources, assembly.table, cursor, expression) ||
        !KnownNumber(assembly, expression, 0, kMostArguments, "a number of arguments", count) ||
        !ExpectEnd(assembly, cursor) || !isName) {
        return;
    }
    assembly.invocations.push_back(
        {InternSymbol(assembly.table, name), count, position, assembly.sources.sequence});
}

void CheckInvocations(Assembly& assembly) {
    for (const Invocation& call : assembly.invocations) {
        const auto found = assembly.declaredArguments.find(call.routine);
        if (found == assembly.declaredArguments.end()) {
            continue;
        }
        const DeclaredArguments& declared = found->second;
        if (declared.count == call.count) {
            continue;
        }
        ReportAt(assembly.sources, call.sequence, call.position,
                 Quoted(assembly.table.symbols[call.routine].name) + " takes " +
                     ArgumentsInWords(static_cast<size_t>(declared.count)) + " (" +
                     PlaceInWords(assembly.sources, declared.position) + "), " +
                     std::to_string(call.count) + (call.count == 1 ? " is given" : " are given"));
    }
}

}  // namespace mxasm

}  // namespace moxi
