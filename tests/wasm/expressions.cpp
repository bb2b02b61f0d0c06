#include "tests/wasm/expressions.h"

#include <random>
#include <span>

#include "tests/wasm/module_bytes.h"
#include "tests/wasm/operators.h"

namespace moxi {

namespace {

constexpr std::string_view kTypes = "iIfF";
constexpr u32 kLocalsOfType = 2;  // the parameters i i I I, and f f F F from their bits
constexpr u32 kScratch = 8;       // then one local of each type, for what is written and read again
constexpr u32 kCells = 1024;      // where a function stores; below it lies what it loads

// What has operands and a result but is no numeric operator.
struct Form {
    const char* name;
    std::string_view operands;
    char result;
    u8 byte = 0;  // of a load or a store
};
constexpr Form kForms[] = {
    {"i32.load", "i", 'i', 0x28},
    {"i64.load", "i", 'I', 0x29},
    {"f32.load", "i", 'f', 0x2A},
    {"f64.load", "i", 'F', 0x2B},
    {"i32.load8_s", "i", 'i', 0x2C},
    {"i32.load8_u", "i", 'i', 0x2D},
    {"i32.load16_s", "i", 'i', 0x2E},
    {"i32.load16_u", "i", 'i', 0x2F},
    {"i64.load8_s", "i", 'I', 0x30},
    {"i64.load8_u", "i", 'I', 0x31},
    {"i64.load16_s", "i", 'I', 0x32},
    {"i64.load16_u", "i", 'I', 0x33},
    {"i64.load32_s", "i", 'I', 0x34},
    {"i64.load32_u", "i", 'I', 0x35},
    {"i32.store", "ii", 'i', 0x36},
    {"i64.store", "iI", 'I', 0x37},
    {"f32.store", "if", 'f', 0x38},
    {"f64.store", "iF", 'F', 0x39},
    {"i32.store8", "ii", 'i', 0x3A},
    {"i32.store16", "ii", 'i', 0x3B},
    {"i64.store8", "iI", 'I', 0x3C},
    {"i64.store16", "iI", 'I', 0x3D},
    {"i64.store32", "iI", 'I', 0x3E},
    {"select", "iii", 'i'},
    {"select", "IIi", 'I'},
    {"select", "ffi", 'f'},
    {"select", "FFi", 'F'},
    {"if", "iii", 'i'},
    {"if", "iII", 'I'},
    {"if", "iff", 'f'},
    {"br_if", "ii", 'i'},
    {"tee", "i", 'i'},
    {"tee", "I", 'I'},
    {"tee", "f", 'f'},
    {"tee", "F", 'F'},
    {"update", "ii", 'i', 0x36},
    {"update", "iI", 'I', 0x37},
    {"update", "ii", 'i', 0x3A},
    {"update", "ii", 'i', 0x3B},
    {"update", "iI", 'I', 0x3E},
};

// An operator of either kind.
struct Operator {
    std::string name;
    std::string operands;
    char result;
    std::vector<u8> bytes;
    const Form* form = nullptr;
};

const std::vector<Operator>& Operators() {
    static const std::vector<Operator> all = [] {
        std::vector<Operator> found;
        for (const NumericOperator& op : NumericOperators()) {
            found.push_back({op.name, op.operands, op.result, op.bytes});
        }
        for (const Form& form : kForms) {
            found.push_back(
                {form.name, std::string(form.operands), form.result, {form.byte}, &form});
        }
        return found;
    }();
    return all;
}

struct Pair {
    u32 outer = 0;
    u32 place = 0;  // which operand the inner one is
    u32 inner = 0;
};

const std::vector<Pair>& Pairs() {
    static const std::vector<Pair> all = [] {
        std::vector<Pair> found;
        const std::vector<Operator>& ops = Operators();
        for (u32 outer = 0; outer < ops.size(); ++outer) {
            for (u32 place = 0; place < ops[outer].operands.size(); ++place) {
                for (u32 inner = 0; inner < ops.size(); ++inner) {
                    if (ops[inner].result == ops[outer].operands[place]) {
                        found.push_back({outer, place, inner});
                    }
                }
            }
        }
        return found;
    }();
    return all;
}

char AsInteger(char type) {
    return type == 'f' ? 'i' : type == 'F' ? 'I' : type;
}

class Writer {
  public:
    explicit Writer(u64 seed) : random(seed) { anyAddress = Choose(4) == 0; }

    void AddPair(const Pair& pair) {
        Begin();
        EmitOperator(pair.outer, 0, static_cast<int>(pair.place), pair.inner);
        End(Operators()[pair.outer].result);
    }

    void AddTree() {
        Begin();
        const u32 outer = Choose(static_cast<u32>(Operators().size()));
        EmitOperator(outer, 3, -1, 0);
        End(Operators()[outer].result);
    }

    RandomModule Finish();

  private:
    u32 Choose(u32 count) { return static_cast<u32>(random() % count); }
    u64 Corner(char type) {
        // Bits of numbers of the other kind are numbers, too.
        const bool other = Choose(4) == 0;
        const char seen = type == 'i' && other ? 'f' : type == 'I' && other ? 'F' : type;
        const std::vector<u64>& corners = Corners(seen);
        return corners[Choose(static_cast<u32>(corners.size()))];
    }
    void Byte(u32 value) { code.Byte(value); }
    void GetLocal(u32 local) {
        Byte(0x20);
        code.Unsigned(local);
    }
    void SetLocal(u32 local) {
        Byte(0x21);
        code.Unsigned(local);
    }
    static u32 LocalOf(char type, u32 number) {
        return static_cast<u32>(kTypes.find(type)) * kLocalsOfType + number;
    }
    static u32 ScratchOf(char type) { return kScratch + static_cast<u32>(kTypes.find(type)); }
    void Mask(u32 mask) {
        Byte(0x41);
        code.Signed(mask);
        Byte(0x71);
    }

    void Begin();
    void End(char type);
    void EmitConstant(char type);
    void EmitLeaf(char type);
    void EmitValue(char type, u32 depth);
    void EmitOperand(char type, u32 depth, bool isPair, u32 inner, bool isCanonical);
    void EmitOperator(u32 index, u32 depth, int place, u32 inner);
    void EmitForm(const Operator& op, u32 depth, int place, u32 inner);
    void EmitLoad(const Operator& op, u32 depth, int place, u32 inner);
    void EmitStore(const Operator& op, u32 depth, int place, u32 inner);
    void EmitCanonical(char type);
    void MemoryOperator(u32 byte, u32 offset) {
        const bool isByte =
            std::string_view("\x2C\x2D\x30\x31\x3A\x3C").find(static_cast<char>(byte)) !=
            std::string_view::npos;
        Byte(byte);
        code.Unsigned(isByte ? 0 : Choose(2));  // aligned as a byte, or as two
        code.Unsigned(offset);
    }

    std::mt19937_64 random;
    bool anyAddress = false;
    WasmBytes code;
    std::vector<std::string> names;
    std::vector<WasmBytes> bodies;
    std::vector<char> results;
    RandomModule module;
};

void Writer::Begin() {
    code = {};
    // f f F F, and the scratch locals.
    code.Raw("\x06\x02\x7D\x02\x7C\x01\x7F\x01\x7E\x01\x7D\x01\x7C");
    // A function finds its cells as no other one has left them.
    for (const u32 argument : {kCells, 0u, 512u}) {
        Byte(0x41);
        code.Signed(argument);
    }
    code.Raw(std::string_view("\xFC\x0B\0", 3));  // memory.fill
    for (u32 i = 0; i < kLocalsOfType; ++i) {
        GetLocal(LocalOf('i', i));
        Byte(0xBE);
        SetLocal(LocalOf('f', i));
        GetLocal(LocalOf('I', i));
        Byte(0xBF);
        SetLocal(LocalOf('F', i));
    }
}

// Of results that are not numbers the bits are not laid down.
void Writer::End(char type) {
    EmitCanonical(type);
    if (type == 'f') {
        Byte(0xBC);
    }
    if (type == 'F') {
        Byte(0xBD);
    }
    Byte(0x0B);
    const std::string name = "e" + std::to_string(bodies.size());
    names.push_back(name);
    bodies.push_back(code);
    results.push_back(AsInteger(type));
    for (u32 i = 0; i < 5; ++i) {
        module.calls.push_back(
            {name, {Corner('i'), Corner('i'), Corner('I'), Corner('I')}, "iiII"});
    }
}

void Writer::EmitCanonical(char type) {
    if (type != 'f' && type != 'F') {
        return;
    }
    const u32 scratch = ScratchOf(type);
    Byte(0x22);
    code.Unsigned(scratch);
    Byte(type == 'f' ? 0x43 : 0x44);
    code.Fixed(type == 'f' ? 0x7FC00000 : 0x7FF8000000000000, type == 'f' ? 4 : 8);
    GetLocal(scratch);
    GetLocal(scratch);
    Byte(type == 'f' ? 0x5B : 0x61);
    Byte(0x1B);
}

void Writer::EmitConstant(char type) {
    const u64 bits = Corner(type);
    Byte(type == 'i' ? 0x41 : type == 'I' ? 0x42 : type == 'f' ? 0x43 : 0x44);
    switch (type) {
        case 'i': code.Signed(static_cast<i32>(bits)); return;
        case 'I': code.Signed(static_cast<i64>(bits)); return;
        case 'f': code.Fixed(bits, 4); return;
        default: code.Fixed(bits, 8); return;
    }
}

void Writer::EmitLeaf(char type) {
    switch (Choose(8)) {
        case 0:
        case 1: EmitConstant(type); return;
        case 2:
            Byte(0x23);  // a global
            code.Unsigned(kTypes.find(type));
            return;
        case 3:
            GetLocal(LocalOf('i', Choose(kLocalsOfType)));
            Mask(248);
            MemoryOperator(0x28 + static_cast<u32>(kTypes.find(type)), Choose(64));
            return;
        default: GetLocal(LocalOf(type, Choose(kLocalsOfType))); return;
    }
}

void Writer::EmitValue(char type, u32 depth) {
    if (depth == 0 || Choose(4) == 0) {
        return EmitLeaf(type);
    }
    for (;;) {
        const u32 index = Choose(static_cast<u32>(Operators().size()));
        if (Operators()[index].result == type) {
            return EmitOperator(index, depth - 1, -1, 0);
        }
    }
}

// The operand of a pair is the inner operator's, whose own operands are leaves.
void Writer::EmitOperand(char type, u32 depth, bool isPair, u32 inner, bool isCanonical) {
    if (isPair) {
        EmitOperator(inner, 0, -1, 0);
    } else {
        EmitValue(type, depth);
    }
    if (isCanonical && (isPair || depth > 0)) {
        EmitCanonical(type);
    }
}

void Writer::EmitOperator(u32 index, u32 depth, int place, u32 inner) {
    const Operator& op = Operators()[index];
    if (op.form != nullptr) {
        return EmitForm(op, depth, place, inner);
    }
    // Bits of what is not a number may become a number here.
    const bool seesBits = op.name.find("reinterpret_f") != std::string::npos ||
                          op.name.find("copysign") != std::string::npos;
    for (u32 i = 0; i < op.operands.size(); ++i) {
        EmitOperand(op.operands[i], depth, static_cast<int>(i) == place, inner, seesBits);
    }
    for (const u8 byte : op.bytes) {
        Byte(byte);
    }
}

void Writer::EmitLoad(const Operator& op, u32 depth, int place, u32 inner) {
    EmitOperand('i', depth, place == 0, inner, false);
    const bool isOutside = anyAddress && Choose(8) == 0;
    if (!isOutside) {
        Mask(Choose(2) == 0 ? 248 : 255);
    }
    MemoryOperator(op.form->byte, isOutside && Choose(2) == 0 ? 65530 : Choose(64));
}

// address, value; then what has been stored is the result. "update" stores what is there, combined
// with the value.
void Writer::EmitStore(const Operator& op, u32 depth, int place, u32 inner) {
    const bool isUpdate = op.name == "update";
    const char type = op.operands[1];
    const u32 offset = kCells + Choose(64);
    const u32 byte = op.form->byte;
    constexpr u8 kLoads[] = {0x28, 0x29, 0x2A, 0x2B, 0x2D, 0x2F, 0x31, 0x33, 0x35};
    const u32 load = kLoads[byte - 0x36];
    const u32 kept = ScratchOf('i');
    EmitOperand('i', depth, place == 0, inner, false);
    Mask(248);
    Byte(0x22);
    code.Unsigned(kept);
    EmitConstant(AsInteger(type));
    MemoryOperator(AsInteger(type) == 'i' ? 0x36 : 0x37, offset);
    GetLocal(kept);
    if (isUpdate) {
        const bool isTurned = Choose(2) == 0;
        static constexpr u8 kOps[] = {0x6A, 0x6B, 0x71, 0x72, 0x73, 0x6C};
        static constexpr u8 kLongOps[] = {0x7C, 0x7D, 0x83, 0x84, 0x85, 0x7E};
        const auto value = [&] { EmitOperand(type, depth, place == 1, inner, false); };
        const auto there = [&] {
            GetLocal(kept);
            MemoryOperator(load, offset);
        };
        if (isTurned && place != 1 && depth == 0) {
            value();
            there();
        } else {
            there();
            value();
        }
        const u32 which = Choose(6);
        Byte(type == 'i' ? kOps[which] : kLongOps[which]);
    } else {
        EmitOperand(type, depth, place == 1, inner, true);
    }
    MemoryOperator(byte, offset);
    GetLocal(kept);
    Mask(248);
    MemoryOperator(load, offset);
}

void Writer::EmitForm(const Operator& op, u32 depth, int place, u32 inner) {
    const auto operand = [&](u32 i) {
        EmitOperand(op.operands[i], depth, static_cast<int>(i) == place, inner, false);
    };
    if (op.form->byte != 0) {
        return op.operands.size() == 1 ? EmitLoad(op, depth, place, inner)
                                       : EmitStore(op, depth, place, inner);
    }
    if (op.name == "select") {
        operand(0);
        operand(1);
        operand(2);
        Byte(0x1B);
    } else if (op.name == "if") {
        operand(0);
        Byte(0x04);
        Byte(ValueTypeByte(op.result));
        operand(1);
        Byte(0x05);
        operand(2);
        Byte(0x0B);
    } else if (op.name == "br_if") {
        Byte(0x02);
        Byte(0x7F);
        operand(0);
        operand(1);
        code.Raw(std::string_view("\x0D\0\x1A\x41\x11\x0B", 6));  // br_if 0 drop 17 end
    } else {
        // A value that is used twice: x and x with all bits turned, or its double.
        const u32 scratch = ScratchOf(op.result);
        operand(0);
        Byte(0x22);
        code.Unsigned(scratch);
        GetLocal(scratch);
        Byte(op.result == 'i' ? 0x6A : op.result == 'I' ? 0x7C : op.result == 'f' ? 0x92 : 0xA0);
    }
}

RandomModule Writer::Finish() {
    WasmBytes file;
    file.Raw(kWasmHeader);
    WasmBytes section;
    section.Unsigned(2);
    for (const char result : {'i', 'I'}) {
        section.Raw("\x60\x04\x7F\x7F\x7E\x7E\x01");
        section.Byte(ValueTypeByte(result));
    }
    file.Section(1, section);
    section = {};
    section.Unsigned(bodies.size());
    for (const char result : results) {
        section.Unsigned(result == 'i' ? 0 : 1);
    }
    file.Section(3, section);
    section = {};
    section.Raw(std::string_view("\1\0\1", 3));
    file.Section(5, section);
    section = {};
    section.Unsigned(kTypes.size());
    for (const char type : kTypes) {
        section.Byte(ValueTypeByte(type));
        section.Byte(1);
        code = {};
        EmitConstant(type);
        section.Add(code);
        section.Byte(0x0B);
    }
    file.Section(6, section);
    AddFunctions(file, names, bodies);
    // What is loaded: corners of all types.
    WasmBytes data;
    while (data.bytes.size() < 512) {
        data.Fixed(Corner(kTypes[Choose(4)]), 8);
    }
    section = {};
    section.Unsigned(1);
    section.Raw(std::string_view("\0\x41\0\x0B", 4));
    section.Text(data.bytes);
    file.Section(11, section);
    module.bytes = file.bytes;
    module.anyAddress = anyAddress;
    return module;
}

}  // namespace

u32 PairCount() {
    return static_cast<u32>(Pairs().size());
}

RandomModule MakePairsModule(u32 first, u32 count, u64 seed) {
    Writer writer(seed);
    for (const Pair& pair : std::span(Pairs()).subspan(first, count)) {
        writer.AddPair(pair);
    }
    return writer.Finish();
}

RandomModule MakeTreesModule(u32 count, u64 seed) {
    Writer writer(seed);
    for (u32 i = 0; i < count; ++i) {
        writer.AddTree();
    }
    return writer.Finish();
}

}  // namespace moxi
