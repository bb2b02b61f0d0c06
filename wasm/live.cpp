#include "wasm/live.h"

#include <algorithm>
#include <bit>

namespace moxi {

namespace {

constexpr u32 kNone = 0xFFFFFFFF;

// Instructions that are executed one after the other, but for calls.
struct Block {
    u32 first = 0;
    u32 end = 0;            // not included
    std::vector<u32> next;  // the blocks that may follow
};

bool EndsBlock(Kind kind) {
    switch (kind) {
        case Kind::Branch:
        case Kind::TestBranch:
        case Kind::Jump:
        case Kind::TableJump:
        case Kind::JumpRoutine:
        case Kind::Stop:
        case Kind::Return: return true;
        default: return false;
    }
}

// Whether the instruction behind this one may follow it.
bool GoesOn(Kind kind) {
    return kind != Kind::Jump && kind != Kind::TableJump && kind != Kind::JumpRoutine &&
           kind != Kind::Stop && kind != Kind::Return;
}

struct Finder {
    FunctionCode& code;
    Liveness& result;
    std::vector<Block> blocks{};
    // Only variables that live from one block into another take part in the sets: by variable its
    // number among them, or kNone.
    std::vector<u32> global{};
    u32 globals = 0;
    u64 words = 0;                       // of a set of global variables
    std::vector<Variable> variableOf{};  // by number of the global variable
    // Sets of global variables, `words` words for each block: alive where it begins, and where it
    // ends; read before they are written in it; written in it.
    std::vector<u64> in{};
    std::vector<u64> out{};
    std::vector<u64> reads{};
    std::vector<u64> writes{};
    std::vector<u64> open{};     // the global variables that are alive where the walk is
    std::vector<u32> openEnd{};  // where the variable is last read, while it is alive; else 0

    void FindBlocks();
    void FindGlobals();
    void Solve();
    void Walk();
    void OpenBlock(u64 index);
    void WalkBlock(const Block& block);
    void Read(Variable variable, u32 position);
    void Write(Variable variable, u32 position);
    void WalkCall(const Instruction& instruction, u32 i);
};

void Finder::FindBlocks() {
    const u32 count = static_cast<u32>(code.instructions.size());
    std::vector<u32> blockOfLabel(code.labels, 0);
    for (u32 i = 0; i < count; ++i) {
        const Instruction& instruction = code.instructions[i];
        const bool starts =
            i == 0 || instruction.kind == Kind::Label || EndsBlock(code.instructions[i - 1].kind);
        if (starts) {
            if (!blocks.empty()) {
                blocks.back().end = i;
            }
            blocks.push_back({i, i, {}});
        }
        if (instruction.kind == Kind::Label) {
            blockOfLabel[instruction.target] = static_cast<u32>(blocks.size() - 1);
        }
    }
    if (!blocks.empty()) {
        blocks.back().end = count;
    }
    for (u32 k = 0; k < blocks.size(); ++k) {
        const Instruction& last = code.instructions[blocks[k].end - 1];
        if (GoesOn(last.kind) && k + 1 < blocks.size()) {
            blocks[k].next.push_back(k + 1);
        }
        switch (last.kind) {
            case Kind::Branch:
            case Kind::TestBranch:
            case Kind::Jump: blocks[k].next.push_back(blockOfLabel[last.target]); break;
            case Kind::TableJump:
                for (const u32 label : code.tables[last.target]) {
                    blocks[k].next.push_back(blockOfLabel[label]);
                }
                break;
            default: break;
        }
    }
}

// Gives numbers to the variables that live from one block into another.
void Finder::FindGlobals() {
    global.assign(code.variables, kNone);
    std::vector<u32> home(code.variables, kNone);
    for (u32 k = 0; k < blocks.size(); ++k) {
        for (u32 i = blocks[k].first; i < blocks[k].end; ++i) {
            ForEachVariable(code.instructions[i], [&](Variable variable, bool isRead, bool) {
                if (variable < kFirstVariable || global[variable] != kNone) {
                    return;
                }
                // What a block reads before it writes it comes from elsewhere, be it from this very
                // block's last round in a loop.
                if (home[variable] == kNone && !isRead) {
                    home[variable] = k;
                }
                if (home[variable] == k) {
                    return;
                }
                global[variable] = globals++;
                variableOf.push_back(variable);
            });
        }
    }
}

// Fills the sets of all blocks. Blocks are taken from the last one to the first, the way that the
// flow goes, so that few rounds are enough.
void Finder::Solve() {
    words = (u64{globals} + 63) / 64;
    const u64 size = words * blocks.size();
    in.assign(size, 0);
    out.assign(size, 0);
    reads.assign(size, 0);
    writes.assign(size, 0);
    for (u32 k = 0; k < blocks.size(); ++k) {
        u64* const read = reads.data() + k * words;
        u64* const written = writes.data() + k * words;
        for (u32 i = blocks[k].first; i < blocks[k].end; ++i) {
            ForEachVariable(code.instructions[i],
                            [&](Variable variable, bool isRead, bool isWritten) {
                                if (variable < kFirstVariable || global[variable] == kNone) {
                                    return;
                                }
                                const u32 bit = global[variable];
                                const u64 mask = u64{1} << (bit % 64);
                                if (isRead && (written[bit / 64] & mask) == 0) {
                                    read[bit / 64] |= mask;
                                }
                                if (isWritten) {
                                    written[bit / 64] |= mask;
                                }
                            });
        }
    }
    bool changed = true;
    while (changed) {
        changed = false;
        for (u64 k = blocks.size(); k-- > 0;) {
            for (const u32 next : blocks[k].next) {
                for (u64 w = 0; w < words; ++w) {
                    out[k * words + w] |= in[next * words + w];
                }
            }
            for (u64 w = 0; w < words; ++w) {
                const u64 at = k * words + w;
                const u64 value = reads[at] | (out[at] & ~writes[at]);
                changed |= value != in[at];
                in[at] = value;
            }
        }
    }
}

// The walk goes backward, so the first read that it meets is where the variable's range ends.
void Finder::Read(Variable variable, u32 position) {
    if (openEnd[variable] != 0) {
        return;
    }
    openEnd[variable] = position + 1;
    if (global[variable] != kNone) {
        open[global[variable] / 64] |= u64{1} << (global[variable] % 64);
    }
}

// Where a variable is written its range begins; what nobody reads still takes one position.
void Finder::Write(Variable variable, u32 position) {
    const u32 end = openEnd[variable] != 0 ? openEnd[variable] : position + 1;
    openEnd[variable] = 0;
    if (global[variable] != kNone) {
        open[global[variable] / 64] &= ~(u64{1} << (global[variable] % 64));
    }
    std::vector<Range>& list = result.ranges[variable];
    // Ranges are found from the last one to the first; one that touches the next is joined to it.
    if (!list.empty() && list.back().from <= end) {
        list.back().from = position;
    } else {
        list.push_back({position, end});
    }
}

// What a call does beside its operands: it may change R0..R5, and reads those with arguments.
void Finder::WalkCall(const Instruction& instruction, u32 i) {
    if (instruction.isSetjmp) {
        for (Variable variable = kFirstVariable; variable < code.variables; ++variable) {
            if (openEnd[variable] != 0) {
                result.crossesSetjmp.push_back(variable);
            }
        }
    }
    for (Variable r = 0; r <= kLastCallerSaved; ++r) {
        Write(r, 2 * i + 1);
    }
    for (Variable r = 0; r < instruction.arguments; ++r) {
        Read(r, 2 * i);
    }
}

// Takes the walk from the beginning of the block behind to the end of this one. What is alive at
// both stays open; the ranges of the rest begin there, or end here.
void Finder::OpenBlock(u64 index) {
    for (u64 w = 0; w < words; ++w) {
        // May be less than that block's `in`: dead instructions in it have been removed since, and
        // with them what they read.
        const u64 behind = open[w];
        const u64 here = out[index * words + w];
        for (u64 bits = behind & ~here; bits != 0; bits &= bits - 1) {
            Write(variableOf[64 * w + static_cast<u64>(std::countr_zero(bits))],
                  2 * blocks[index + 1].first);
        }
        for (u64 bits = here & ~behind; bits != 0; bits &= bits - 1) {
            Read(variableOf[64 * w + static_cast<u64>(std::countr_zero(bits))],
                 2 * blocks[index].end - 1);
        }
    }
}

// Goes through a block backward, notes ranges, and removes what is dead: an instruction that only
// writes a variable which is not alive, and whose flags no branch behind it tests.
void Finder::WalkBlock(const Block& block) {
    bool flagsAreWanted = false;
    for (u32 i = block.end; i-- > block.first;) {
        Instruction& instruction = code.instructions[i];
        if (instruction.kind == Kind::Branch) {
            flagsAreWanted = true;
        }
        const bool givesFlags = flagsAreWanted && SetsFlags(instruction);
        if (givesFlags) {
            flagsAreWanted = false;
        }
        if (!givesFlags && IsPure(instruction) && instruction.a.variable >= kFirstVariable &&
            openEnd[instruction.a.variable] == 0) {
            instruction.kind = Kind::Nothing;
            continue;
        }
        const bool isCall = instruction.kind == Kind::Call ||
                            instruction.kind == Kind::CallRoutine ||
                            instruction.kind == Kind::CallRegister;
        if (isCall) {
            WalkCall(instruction, i);
        }
        if (instruction.kind == Kind::Return) {
            for (Variable r = 0; r < instruction.arguments; ++r) {
                Read(r, 2 * i);
            }
        }
        ForEachVariable(instruction, [&](Variable variable, bool, bool isWritten) {
            if (isWritten) {
                Write(variable, 2 * i + 1);
            }
        });
        ForEachVariable(instruction, [&](Variable variable, bool isRead, bool) {
            if (isRead) {
                Read(variable, 2 * i);
            }
        });
    }
}

void Finder::Walk() {
    openEnd.assign(code.variables, 0);
    open.assign(words, 0);
    for (u64 k = blocks.size(); k-- > 0;) {
        OpenBlock(k);
        WalkBlock(blocks[k]);
    }
    for (Variable variable = 0; variable < code.variables; ++variable) {
        if (openEnd[variable] != 0) {
            Write(variable, 0);
        }
    }
    for (std::vector<Range>& list : result.ranges) {
        std::reverse(list.begin(), list.end());
    }
}

}  // namespace

Liveness FindLiveness(FunctionCode& code) {
    Liveness result;
    result.ranges.resize(code.variables);
    Finder finder{code, result};
    finder.FindBlocks();
    finder.FindGlobals();
    finder.Solve();
    finder.Walk();
    return result;
}

// Looks up each range of the shorter list in the longer one, so it takes little time where one of
// them is long.
bool Overlap(const std::vector<Range>& a, const std::vector<Range>& b) {
    const std::vector<Range>& few = a.size() <= b.size() ? a : b;
    const std::vector<Range>& many = a.size() <= b.size() ? b : a;
    auto at = many.begin();
    for (const Range& range : few) {
        at = std::lower_bound(at, many.end(), range.from,
                              [](const Range& other, u32 from) { return other.to <= from; });
        if (at == many.end()) {
            return false;
        }
        if (at->from < range.to) {
            return true;
        }
    }
    return false;
}

}  // namespace moxi
