// Where the next line comes from: files, macro bodies and repeat blocks, one upon another.

#include "tools/asm/assembly.h"

namespace moxi {

namespace mxasm {

namespace {

void EndFrame(Assembly& assembly) {
    Frame& frame = *assembly.frames.back();
    if (assembly.collecting) {
        Report(assembly.sources, assembly.collected.position,
               assembly.collectingMacro ? "this .macro has no .endm" : "this .rept has no .endr");
        assembly.collecting = false;
    }
    while (assembly.conditions.size() > frame.conditions) {
        Report(assembly.sources, assembly.conditions.back().position, "this block has no .endif");
        assembly.conditions.pop_back();
    }
    assembly.frames.pop_back();
}

// Counts a line that a macro or a repeat block makes; stops the assembly beyond the limit.
bool CountExpanded(Assembly& assembly, const Frame& frame, size_t bytes) {
    ++assembly.expandedLines;
    assembly.expandedText += bytes;
    if (assembly.expandedLines <= kMaxExpandedLines && assembly.expandedText <= kMaxExpandedText) {
        return true;
    }
    ReportAndStop(assembly.sources, frame.from,
                  "macros and repeat blocks make too much text from here");
    return false;
}

bool NextBodyLine(Assembly& assembly, Frame& frame, Line& line) {
    const BodyLine& body = frame.body->lines[frame.next++];
    if (!CountExpanded(assembly, frame, body.text.size())) {
        return false;
    }
    line.position = {body.file, body.line, 0, frame.expansion};
    if (!Substitute(assembly, frame, body)) {
        return false;
    }
    line.text = frame.text;
    line.columns = frame.columns.empty() ? nullptr : &frame.columns;
    line.arguments = &frame.origins;
    return true;
}

bool NextFileLine(Assembly& assembly, Frame& frame, Line& line) {
    const SourceFile& file = assembly.sources.files[frame.file];
    ++frame.next;
    line.text = SourceLine(file, frame.next);
    line.columns = nullptr;
    line.arguments = nullptr;
    line.position = {frame.file, frame.next, 0, frame.expansion};
    SourcePosition position = line.position;
    position.column = 1;
    if (++assembly.includedLines > kMaxIncludedLines) {
        ReportAndStop(assembly.sources, position, "the source has too many lines");
        return false;
    }
    if (line.text.size() > kMaxLine) {
        Report(assembly.sources, position, "the line is longer than 1 MB");
        line.text = {};
    }
    return true;
}

}  // namespace

bool NextLine(Assembly& assembly, Line& line) {
    while (!assembly.frames.empty() && !assembly.sources.stopped) {
        Frame& frame = *assembly.frames.back();
        if (frame.kind == FrameKind::File) {
            if (frame.next < LineCount(assembly.sources.files[frame.file])) {
                return NextFileLine(assembly, frame, line);
            }
        } else if (frame.next < frame.body->lines.size()) {
            return NextBodyLine(assembly, frame, line);
        } else if (!assembly.collecting && frame.kind == FrameKind::Repeat &&
                   frame.number + 1 < frame.repeats) {
            // The blocks opened in one round end in it.
            while (assembly.conditions.size() > frame.conditions) {
                Report(assembly.sources, assembly.conditions.back().position,
                       "this block has no .endif");
                assembly.conditions.pop_back();
            }
            ++frame.number;
            frame.next = 0;
            continue;
        }
        EndFrame(assembly);
    }
    return false;
}

void EnterFile(Assembly& assembly, u32 file, const SourcePosition& from) {
    auto frame = std::make_unique<Frame>();
    frame->kind = FrameKind::File;
    frame->file = file;
    frame->from = from;
    frame->expansion = from.expansion;
    frame->conditions = assembly.conditions.size();
    assembly.frames.push_back(std::move(frame));
}

void LeaveMacro(Assembly& assembly, const SourcePosition& position) {
    size_t depth = assembly.frames.size();
    while (depth > 0 && assembly.frames[depth - 1]->kind == FrameKind::Repeat) {
        --depth;
    }
    if (depth == 0 || assembly.frames[depth - 1]->kind != FrameKind::Macro) {
        Report(assembly.sources, position, ".exitm stands in no macro");
        return;
    }
    assembly.conditions.resize(assembly.frames[depth - 1]->conditions);
    assembly.frames.resize(depth - 1);
}

}  // namespace mxasm

}  // namespace moxi
