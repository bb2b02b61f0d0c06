#include "wasm/skip_operands.h"

#include "wasm/operators.h"

namespace moxi {

namespace {

void SkipPrefixed(ByteCursor& cursor) {
    const u32 number = cursor.Unsigned32();
    switch (static_cast<enum Prefixed>(number)) {
        case Prefixed::MemoryInit:
        case Prefixed::MemoryCopy:
        case Prefixed::TableInit:
        case Prefixed::TableCopy:
            cursor.Unsigned32();
            cursor.Unsigned32();
            break;
        case Prefixed::DataDrop:
        case Prefixed::MemoryFill:
        case Prefixed::ElemDrop: cursor.Unsigned32(); break;
    }
}

}  // namespace

void SkipOperands(ByteCursor& cursor, u8 opcode) {
    if (kOperators.memory[opcode].text != nullptr) {
        cursor.Unsigned32();
        cursor.Unsigned32();
        return;
    }
    switch (static_cast<Opcode>(opcode)) {
        case Opcode::Block:
        case Opcode::Loop:
        case Opcode::If: cursor.Signed33(); break;
        case Opcode::Br:
        case Opcode::BrIf:
        case Opcode::Call:
        case Opcode::LocalGet:
        case Opcode::LocalSet:
        case Opcode::LocalTee:
        case Opcode::GlobalGet:
        case Opcode::GlobalSet:
        case Opcode::MemorySize:
        case Opcode::MemoryGrow: cursor.Unsigned32(); break;
        case Opcode::BrTable: {
            const u32 count = cursor.Unsigned32();
            for (u64 i = 0; i <= count; ++i) {
                cursor.Unsigned32();
            }
            break;
        }
        case Opcode::CallIndirect:
        case Opcode::SelectTyped:
            cursor.Unsigned32();
            cursor.Unsigned32();
            break;
        case Opcode::I32Const:
        case Opcode::I64Const: cursor.Signed64(); break;
        case Opcode::F32Const: cursor.Word(); break;
        case Opcode::F64Const: cursor.Quad(); break;
        case Opcode::Prefix: SkipPrefixed(cursor); break;
        default: break;
    }
}

}  // namespace moxi
