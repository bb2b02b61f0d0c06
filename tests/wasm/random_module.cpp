#include "tests/wasm/random_module.h"

#include <algorithm>

#include "tests/support/random_program.h"
#include "tests/wasm/module_bytes.h"
#include "tests/wasm/operators.h"

namespace moxi {

namespace {

constexpr u32 kFuel = 150;         // function entries and turns of loops in one call from outside
constexpr u32 kUsedMemory = 2048;  // where addresses lie unless they may lie anywhere
constexpr const char* kTypes = "iIfF";

struct Signature {
    std::string parameters;
    std::string results;
    bool operator==(const Signature&) const = default;
};

struct Label {
    std::string types;  // what a branch to it takes
};

class Maker {
  public:
    explicit Maker(u64 seed) : random(seed) {}

    RandomModule Make() {
        result.anyAddress = Chance(30);
        hasMemory = result.anyAddress || !Chance(8);
        hasTable = !Chance(12);
        Plan();
        std::vector<WasmBytes> bodies;
        for (u32 i = 0; i < functions.size(); ++i) {
            bodies.push_back(Function(i));
        }
        Outside(bodies);
        Write(bodies);
        return std::move(result);
    }

  private:
    // --- Choices

    u32 Below(u32 limit) { return static_cast<u32>(random.Next() % limit); }
    bool Chance(u32 percent) { return Below(100) < percent; }
    char AnyType() { return kTypes[Below(4)]; }
    std::string AnyTypes(u32 most) {
        std::string types;
        for (u32 count = Below(most + 1); count > 0; --count) {
            types += AnyType();
        }
        return types;
    }

    void Plan() {
        for (u32 count = 3 + Below(5); count > 0; --count) {
            signatures.push_back({AnyTypes(Chance(20) ? 8 : 4), AnyTypes(Chance(20) ? 4 : 1)});
        }
        signatures.push_back({"", ""});
        for (u32 count = 2 + Below(6); count > 0; --count) {
            functions.push_back(AnySignature());
        }
        globals = "i";  // the fuel
        for (u32 count = Below(7); count > 0; --count) {
            globals += AnyType();
        }
        immutableFrom = static_cast<u32>(globals.size());
        for (u32 count = Below(3); count > 0; --count) {
            globals += AnyType();
        }
        if (hasTable) {
            tableSize = 1 + Below(12);
            passiveElements = Chance(50) ? 1 + Below(5) : 0;
        }
        if (hasMemory) {
            pages = 1 + Below(2);
            maximum = pages + Below(3);  // else the reserve would be seen
            passiveData = Chance(60) ? 1 + Below(40) : 0;
            moreData = Below(3);
        }
    }

    u32 AnySignature() { return Below(static_cast<u32>(signatures.size())); }

    u32 TypeIndex(const Signature& wanted) {
        const auto found = std::find(signatures.begin(), signatures.end(), wanted);
        if (found != signatures.end()) {
            return static_cast<u32>(found - signatures.begin());
        }
        signatures.push_back(wanted);
        return static_cast<u32>(signatures.size() - 1);
    }

    // --- Values

    u64 AnyBits(char type) {
        static constexpr u64 kInteresting[] = {0,
                                               1,
                                               2,
                                               7,
                                               8,
                                               31,
                                               32,
                                               63,
                                               64,
                                               127,
                                               128,
                                               255,
                                               256,
                                               0x7FFF,
                                               0x8000,
                                               0xFFFF,
                                               0x7FFFFFFF,
                                               0x80000000,
                                               0xFFFFFFFF,
                                               0x100000000,
                                               0x7FFFFFFFFFFFFFFF,
                                               0x8000000000000000,
                                               0xFFFFFFFFFFFFFFFF,
                                               0xFFFFFFFFFFFFFFFE,
                                               0x8000000000000001};
        static constexpr u32 kFloats[] = {
            0x00000000, 0x80000000, 0x3F800000, 0xBF800000, 0x3F000000, 0x3FC00000,
            0x40200000, 0x7F800000, 0xFF800000, 0x7FC00000, 0x00000001, 0x80000001,
            0x007FFFFF, 0x00800000, 0x7F7FFFFF, 0x4B000001, 0x4F000000, 0x5F000000,
            0xCF000000, 0xDF000000, 0x4F800000, 0x5F800000, 0x42280000, 0x3EAAAAAB};
        static constexpr u64 kDoubles[] = {
            0x0000000000000000, 0x8000000000000000, 0x3FF0000000000000, 0xBFF0000000000000,
            0x3FE0000000000000, 0x3FF8000000000000, 0x4004000000000000, 0x7FF0000000000000,
            0xFFF0000000000000, 0x7FF8000000000000, 0x0000000000000001, 0x8000000000000001,
            0x000FFFFFFFFFFFFF, 0x0010000000000000, 0x7FEFFFFFFFFFFFFF, 0x41E0000000000000,
            0xC1E0000000200000, 0x43E0000000000000, 0x43F0000000000000, 0x4330000000000001,
            0x3690000000000000, 0x380FFFFFE0000000, 0x47EFFFFFF0000000, 0x3FD5555555555555};
        const u64 any = random.Next();
        if (type == 'i' || type == 'I') {
            const u64 bits = Chance(30)   ? Below(16)
                             : Chance(60) ? kInteresting[Below(std::size(kInteresting))]
                                          : any >> Below(64);
            return type == 'i' ? bits & 0xFFFFFFFF : bits;
        }
        if (type == 'f') {
            if (Chance(60)) {
                return kFloats[Below(std::size(kFloats))];
            }
            return Chance(50)
                       ? std::bit_cast<u32>(
                             static_cast<float>(static_cast<i64>(any) >> (20 + Below(40))) / 64)
                       : any & 0xFFFFFFFF;
        }
        if (Chance(60)) {
            return kDoubles[Below(std::size(kDoubles))];
        }
        return Chance(50) ? std::bit_cast<u64>(
                                static_cast<double>(static_cast<i64>(any) >> (10 + Below(50))) / 64)
                          : any;
    }

    void Constant(char type, u64 bits) {
        switch (type) {
            case 'i':
                code.Byte(0x41);
                code.Signed(static_cast<i32>(bits));
                break;
            case 'I':
                code.Byte(0x42);
                code.Signed(static_cast<i64>(bits));
                break;
            case 'f':
                code.Byte(0x43);
                code.Fixed(bits, 4);
                break;
            default:
                code.Byte(0x44);
                code.Fixed(bits, 8);
                break;
        }
    }

    void Op(u32 byte) { code.Byte(byte); }
    void Op(u32 byte, u32 index) {
        code.Byte(byte);
        code.Unsigned(index);
    }

    u32 LocalOf(char type) {
        std::vector<u32> fitting;
        for (u32 i = 0; i < locals.size(); ++i) {
            if (locals[i] == type) {
                fitting.push_back(i);
            }
        }
        return fitting[Below(static_cast<u32>(fitting.size()))];
    }

    void Leaf(char type) {
        std::vector<u32> fitting;
        for (u32 i = 1; i < globals.size(); ++i) {
            if (globals[i] == type) {
                fitting.push_back(i);
            }
        }
        if (!fitting.empty() && Chance(20)) {
            Op(0x23, fitting[Below(static_cast<u32>(fitting.size()))]);
        } else if (Chance(60)) {
            Op(0x20, LocalOf(type));
        } else {
            Constant(type, AnyBits(type));
        }
    }

    // What is not a number becomes one certain thing, before its bits can be seen.
    void Canonical(char type) {
        if (type != 'f' && type != 'F') {
            return;
        }
        const u32 scratch = LocalOf(type);
        Op(0x22, scratch);
        Constant(type, type == 'f' ? 0x7FC00000 : 0x7FF8000000000000);
        Op(0x20, scratch);
        Op(0x20, scratch);
        Op(type == 'f' ? 0x5B : 0x61);
        Op(0x1B);
    }

    void Value(char type, u32 depth) {
        if (budget == 0 || depth == 0) {
            return Leaf(type);
        }
        --budget;
        const u32 choice = Below(100);
        if (choice < 12) {
            return Leaf(type);
        }
        if (choice < 52) {
            return Numeric(type, depth);
        }
        if (choice < 60) {
            return Load(type, depth);
        }
        if (choice < 66) {
            return Called(type, depth);
        }
        if (choice < 72) {
            return Block(type, depth);
        }
        if (choice < 76) {
            return Loop(type, depth);
        }
        if (choice < 82) {
            return If(type, depth);
        }
        if (choice < 87) {
            return Select(type, depth);
        }
        if (choice < 91) {
            Value(type, depth - 1);
            return Op(0x22, LocalOf(type));
        }
        if (choice < 94) {
            return BranchIfWithValue(type, depth);
        }
        if (choice < 95 && hasMemory && type == 'i') {
            return SizeOrGrow(depth);
        }
        if (choice < 96) {
            return DeadCode(type, depth);
        }
        Leaf(type);
    }

    void Numeric(char type, u32 depth) {
        static const std::vector<NumericOperator>& all = NumericOperators();
        const NumericOperator* chosen = nullptr;
        do {
            chosen = &all[Below(static_cast<u32>(all.size()))];
        } while (chosen->result != type);
        const std::string& name = chosen->name;
        const bool divides =
            name.find("div_") != std::string::npos || name.find("rem_") != std::string::npos;
        const bool truncates = name.find(".trunc_f") != std::string::npos;
        const bool seesBits = name.find("reinterpret_f") != std::string::npos;
        for (size_t i = 0; i < chosen->operands.size(); ++i) {
            const char operand = chosen->operands[i];
            if (truncates && !Chance(2)) {
                // Small numbers, so that few conversions trap.
                Value('i', depth - 1);
                Constant('i', 0xFFF);
                Op(0x71);
                Op(operand == 'f' ? 0xB2 : 0xB7);
                continue;
            }
            Value(operand, depth - 1);
            if (divides && i == 1 && !Chance(3)) {
                Constant(operand, 1 + Below(2) * 62);
                Op(operand == 'i' ? 0x72 : 0x84);
            }
            if (seesBits || (i == 1 && name.find("copysign") != std::string::npos)) {
                Canonical(operand);
            }
        }
        for (const u8 byte : chosen->bytes) {
            code.Byte(byte);
        }
    }

    // --- Memory. `size` bytes are touched from the address plus an offset.

    u32 Address(u32 size, u32 depth) {
        Value('i', depth);
        if (result.anyAddress && Chance(4)) {
            return Chance(50) ? Below(0x30000) : static_cast<u32>(random.Next());
        }
        Constant('i', Chance(50) ? 0x3FF : 0x3F8);
        Op(0x71);
        return Below(kUsedMemory - 0x400 - size);
    }

    void MemoryArgument(u32 offset, u32 size) {
        u32 most = 0;
        while ((2u << most) <= size) {
            ++most;
        }
        code.Unsigned(Below(most + 1));
        code.Unsigned(offset);
    }

    struct Access {
        u8 byte;
        u8 size;
    };

    void Load(char type, u32 depth) {
        if (!hasMemory) {
            return Leaf(type);
        }
        static constexpr Access kLong[] = {{0x28, 4}, {0x2C, 1}, {0x2D, 1}, {0x2E, 2}, {0x2F, 2}};
        static constexpr Access kQuad[] = {{0x29, 8}, {0x30, 1}, {0x31, 1}, {0x32, 2},
                                           {0x33, 2}, {0x34, 4}, {0x35, 4}};
        const Access access = type == 'i'   ? kLong[Below(5)]
                              : type == 'I' ? kQuad[Below(7)]
                              : type == 'f' ? Access{0x2A, 4}
                                            : Access{0x2B, 8};
        const u32 offset = Address(access.size, depth - 1);
        Op(access.byte);
        MemoryArgument(offset, access.size);
    }

    void StoreValue(u32 depth) {
        static constexpr Access kLong[] = {{0x36, 4}, {0x3A, 1}, {0x3B, 2}};
        static constexpr Access kQuad[] = {{0x37, 8}, {0x3C, 1}, {0x3D, 2}, {0x3E, 4}};
        const char type = AnyType();
        const Access access = type == 'i'   ? kLong[Below(3)]
                              : type == 'I' ? kQuad[Below(4)]
                              : type == 'f' ? Access{0x38, 4}
                                            : Access{0x39, 8};
        const u32 offset = Address(access.size, depth - 1);
        if (Chance(25) && (type == 'i' || type == 'I')) {
            // Read, change, write at one address.
            const u32 local = LocalOf('i');
            Op(0x22, local);
            Op(0x20, local);
            static constexpr u8 kLoads[] = {0x28, 0x29, 0x2D, 0x2F, 0x31, 0x33, 0x35};
            u8 load = type == 'i' ? kLoads[0] : kLoads[1];
            if (access.byte == 0x3A) {
                load = 0x2D;
            }
            if (access.byte == 0x3B) {
                load = 0x2F;
            }
            if (access.byte == 0x3C) {
                load = 0x31;
            }
            if (access.byte == 0x3D) {
                load = 0x33;
            }
            if (access.byte == 0x3E) {
                load = 0x35;
            }
            Op(load);
            MemoryArgument(offset, access.size);
            Value(type, depth - 1);
            static constexpr u8 kChanges[] = {0x6A, 0x6B, 0x71, 0x72, 0x73};
            const u32 change = Below(5);
            Op(type == 'i' ? kChanges[change] : kChanges[change] + 0x12u);
        } else {
            Value(type, depth - 1);
            Canonical(type);
        }
        Op(access.byte);
        MemoryArgument(offset, access.size);
    }

    void SizeOrGrow(u32 depth) {
        if (Chance(50)) {
            return Op(0x3F, 0);
        }
        Value('i', depth - 1);
        Constant('i', 1);
        Op(0x71);
        if (Chance(20)) {
            Constant('i', 0x10001);
            Op(0x72);
        }
        Op(0x40, 0);
    }

    // A place and a length in the used memory, or what may lie anywhere.
    void SmallLength(u32 depth, u32 most) {
        Value('i', depth);
        if (result.anyAddress && Chance(4)) {
            return;
        }
        Constant('i', most);
        Op(0x71);
    }

    void Bulk(u32 depth) {
        if (!hasMemory) {
            return;
        }
        const u32 kind = Below(passiveData != 0 ? 4 : 2);
        const auto place = [&] {
            Value('i', depth - 1);
            if (result.anyAddress && Chance(4)) {
                return;
            }
            Constant('i', 0x3FF);
            Op(0x71);
        };
        if (kind == 0) {
            place();
            Value('i', depth - 1);
            Chance(60) ? SmallLength(depth - 1, 0x7F) : Constant('i', Below(40));
            Op(0xFC, 11);
            code.Unsigned(0);
        } else if (kind == 1) {
            place();
            place();
            Chance(60) ? SmallLength(depth - 1, 0x7F) : Constant('i', Below(40));
            Op(0xFC, 10);
            code.Unsigned(0);
            code.Unsigned(0);
        } else if (kind == 2) {
            const u32 from = Below(passiveData);
            place();
            Constant('i', result.anyAddress ? from : 0);
            // A dropped segment has no bytes: without checks only 0 of them are taken.
            Constant('i', result.anyAddress ? Below(passiveData - from + 1) : 0);
            Op(0xFC, 8);
            code.Unsigned(1);
            code.Unsigned(0);
        } else {
            Op(0xFC, 9);
            code.Unsigned(1);
        }
    }

    // --- Calls

    // The stack holds `results`; the one at `index` stays.
    void KeepOne(const std::string& results, size_t index) {
        for (size_t i = results.size(); --i > index;) {
            Op(0x1A);
        }
        if (index == 0) {
            return;
        }
        const u32 scratch = LocalOf(results[index]);
        Op(0x21, scratch);
        for (size_t i = 0; i < index; ++i) {
            Op(0x1A);
        }
        Op(0x20, scratch);
    }

    // By value: what is made here may move the labels and signatures.
    void Arguments(std::string types, u32 depth) {  // NOLINT(performance-unnecessary-value-param)
        for (const char type : types) {
            Value(type, depth);
        }
    }

    void Invoke(u32 function, u32 depth) {
        const u32 type = functions[function];
        const std::string parameters = signatures[type].parameters;
        Arguments(parameters, depth);
        if (hasTable && !isSmall && Chance(35)) {
            // Most of the time the entry is one of this type.
            std::vector<u32> fitting;
            for (u32 i = 0; i < tableSize; ++i) {
                if (table[i] != kEmpty && signatures[functions[table[i]]] == signatures[type]) {
                    fitting.push_back(i);
                }
            }
            if (!fitting.empty() || Chance(3)) {
                if (fitting.empty() || Chance(3)) {
                    Value('i', depth);
                    Constant('i', 15);
                    Op(0x71);
                } else {
                    Constant('i', fitting[Below(static_cast<u32>(fitting.size()))]);
                }
                Op(0x11, type);
                code.Unsigned(0);
                return;
            }
        }
        Op(0x10, function);
    }

    // Small functions use no fuel, so they call only small ones that came before.
    bool MayCall(u32 function) const {
        return !isSmall || (function < smallOnes.size() && smallOnes[function]);
    }

    void Called(char type, u32 depth) {
        std::vector<u32> fitting;
        for (u32 i = 0; i < functions.size(); ++i) {
            if (MayCall(i) && signatures[functions[i]].results.find(type) != std::string::npos) {
                fitting.push_back(i);
            }
        }
        if (fitting.empty()) {
            return Leaf(type);
        }
        const u32 function = fitting[Below(static_cast<u32>(fitting.size()))];
        Invoke(function, depth - 1);
        const std::string results = signatures[functions[function]].results;
        KeepOne(results, results.find(type));
    }

    void CallForNothing(u32 depth) {
        const u32 function = Below(static_cast<u32>(functions.size()));
        if (!MayCall(function)) {
            return;
        }
        Invoke(function, depth - 1);
        const std::string results = signatures[functions[function]].results;
        for (size_t i = results.size(); i-- > 0;) {
            if (Chance(50)) {
                Op(0x21, LocalOf(results[i]));
            } else {
                Op(0x1A);
            }
        }
    }

    // --- Control

    void BlockType(const std::string& parameters, const std::string& results) {
        if (parameters.empty() && results.empty()) {
            return Op(0x40);
        }
        if (parameters.empty() && results.size() == 1) {
            return Op(ValueTypeByte(results[0]));
        }
        code.Signed(TypeIndex({parameters, results}));
    }

    // Takes what a block was given from the stack.
    void TakeParameters(const std::string& parameters) {
        for (size_t i = parameters.size(); i-- > 0;) {
            if (Chance(70)) {
                Op(0x21, LocalOf(parameters[i]));
            } else {
                Op(0x1A);
            }
        }
    }

    std::string MoreResults(char type) {
        std::string results(1, type);
        if (Chance(20)) {
            results += AnyTypes(2);
        }
        return results;
    }

    void Statements(u32 most, u32 depth) {
        for (u32 count = Below(most + 1); count > 0; --count) {
            Statement(depth);
        }
    }

    void Block(char type, u32 depth) {
        const std::string parameters = Chance(20) ? AnyTypes(2) : "";
        const std::string results = MoreResults(type);
        Arguments(parameters, depth - 1);
        Op(0x02);
        BlockType(parameters, results);
        labels.push_back({results});
        TakeParameters(parameters);
        Statements(2, depth - 1);
        Arguments(results, depth - 1);
        labels.pop_back();
        Op(0x0B);
        KeepOne(results, 0);
    }

    // At the beginning of each turn and of each function: without fuel the function ends.
    void UseFuel() {
        Op(0x23, 0);
        Op(0x45);
        Op(0x04, 0x40);
        for (const char type : current.results) {
            Constant(type, 0);
        }
        Op(0x0F);
        Op(0x0B);
        Op(0x23, 0);
        Constant('i', 1);
        Op(0x6B);
        Op(0x24, 0);
    }

    void Loop(char type, u32 depth) {
        const std::string parameters = Chance(30) ? AnyTypes(2) : "";
        const std::string results = MoreResults(type);
        Arguments(parameters, depth - 1);
        Op(0x03);
        BlockType(parameters, results);
        labels.push_back({parameters});
        TakeParameters(parameters);
        UseFuel();
        Statements(3, depth - 1);
        if (Chance(50)) {
            Arguments(parameters, depth - 1);
            Value('i', depth - 1);
            Op(0x0D, 0);
            for (size_t i = 0; i < parameters.size(); ++i) {
                Op(0x1A);
            }
        }
        Arguments(results, depth - 1);
        labels.pop_back();
        Op(0x0B);
        KeepOne(results, 0);
    }

    // The usual loop with a counter.
    void CountedLoop(u32 depth) {
        const u32 counter = static_cast<u32>(locals.size());
        locals += 'x';  // not chosen by others
        counters.push_back(counter);
        Constant('i', 1 + Below(6));
        Op(0x21, counter);
        Op(0x03, 0x40);
        labels.push_back({""});
        UseFuel();
        Statements(3, depth - 1);
        Op(0x20, counter);
        Constant('i', Chance(50) ? 1 : 0xFFFFFFFF);
        const bool adds = code.bytes.back() != 1;
        Op(adds ? 0x6A : 0x6B);
        Op(0x22, counter);
        if (Chance(30)) {
            Constant('i', 0);
            Op(0x47);
        }
        Op(0x0D, 0);
        labels.pop_back();
        Op(0x0B);
    }

    void If(char type, u32 depth) {
        const std::string parameters = Chance(20) ? AnyTypes(2) : "";
        const std::string results = MoreResults(type);
        Arguments(parameters, depth - 1);
        Value('i', depth - 1);
        Op(0x04);
        BlockType(parameters, results);
        labels.push_back({results});
        TakeParameters(parameters);
        Statements(1, depth - 1);
        Arguments(results, depth - 1);
        Op(0x05);
        TakeParameters(parameters);
        Statements(1, depth - 1);
        Arguments(results, depth - 1);
        labels.pop_back();
        Op(0x0B);
        KeepOne(results, 0);
    }

    void Select(char type, u32 depth) {
        Value(type, depth - 1);
        Value(type, depth - 1);
        Value('i', depth - 1);
        Op(0x1B);
    }

    void BranchIfWithValue(char type, u32 depth) {
        std::vector<u32> fitting;
        for (u32 i = 0; i < labels.size(); ++i) {
            if (labels[labels.size() - 1 - i].types == std::string(1, type)) {
                fitting.push_back(i);
            }
        }
        Value(type, depth - 1);
        if (fitting.empty()) {
            return;
        }
        Value('i', depth - 1);
        Op(0x0D, fitting[Below(static_cast<u32>(fitting.size()))]);
    }

    // A branch somewhere, with its values.
    void Branch(u32 depth) {
        const u32 label = Below(static_cast<u32>(labels.size()));
        Arguments(labels[labels.size() - 1 - label].types, depth);
        Op(0x0C, label);
    }

    void BranchTable(u32 depth) {
        const u32 first = Below(static_cast<u32>(labels.size()));
        const std::string types = labels[labels.size() - 1 - first].types;
        std::vector<u32> fitting;
        for (u32 i = 0; i < labels.size(); ++i) {
            if (labels[labels.size() - 1 - i].types == types) {
                fitting.push_back(i);
            }
        }
        Arguments(types, depth);
        Value('i', depth);
        if (Chance(70)) {
            Constant('i', 7);
            Op(0x71);
        }
        const u32 count = Chance(5) ? 200 : Below(8);
        Op(0x0E, count);
        for (u32 i = 0; i <= count; ++i) {
            code.Unsigned(fitting[Below(static_cast<u32>(fitting.size()))]);
        }
    }

    // Behind a branch the stack may be taken to hold anything.
    void AfterBranch() {
        switch (Below(5)) {
            case 0:
                Op(0x6A);
                Op(0x1A);
                break;
            case 1:
                Op(0x1B);
                Op(0x1A);
                break;
            case 2:
                Op(0x45);
                Op(0x04, 0x40);
                Op(0x00);
                Op(0x0B);
                break;
            case 3: Op(0x21, LocalOf('F')); break;
            default: break;
        }
    }

    void DeadCode(char type, u32 depth) {
        Value('i', depth - 1);
        Op(0x04);
        Op(ValueTypeByte(type));
        labels.push_back({std::string(1, type)});
        if (Chance(50)) {
            Branch(depth - 1);
        } else {
            Arguments(current.results, depth - 1);
            Op(0x0F);
        }
        AfterBranch();
        if (Chance(50)) {
            Value(type, 1);
        }
        Op(0x05);
        Value(type, depth - 1);
        labels.pop_back();
        Op(0x0B);
    }

    void Conditional(u32 depth) {
        Value('i', depth - 1);
        Op(0x04, 0x40);
        labels.push_back({""});
        const u32 choice = Below(100);
        if (choice < 15) {
            Branch(depth - 1);
            AfterBranch();
        } else if (choice < 30) {
            BranchTable(depth - 1);
            AfterBranch();
        } else if (choice < 40) {
            Arguments(current.results, depth - 1);
            Op(0x0F);
        } else if (choice < 41) {
            Op(0x00);
            AfterBranch();
        } else {
            Statements(3, depth - 1);
        }
        if (Chance(40)) {
            Op(0x05);
            Statements(2, depth - 1);
        }
        labels.pop_back();
        Op(0x0B);
    }

    // A local is made of itself, as compilers do at the heads and ends of loops.
    void Update(u32 depth) {
        static constexpr u64 kMasks[] = {0xFF, 0xFFFF, 0x7F, 1,          3,
                                         24,   16,     8,    0x7FFFFFFF, 0xFFFFFFFF};
        const char type = Chance(70) ? 'i' : 'I';
        const u32 local = LocalOf(type);
        const u32 base = type == 'i' ? 0x6A : 0x7C;  // add
        Op(0x20, local);
        if (Chance(70)) {
            static constexpr u8 kChanges[] = {0, 1, 7, 8, 9, 10, 11, 12};
            const u32 change = kChanges[Below(std::size(kChanges))];
            if (Chance(70)) {
                Constant(type, kMasks[Below(std::size(kMasks))]);
            } else {
                Value(type, depth - 1);
            }
            Op(base + change);
            if (Chance(30)) {
                // Widened again by shifts or by masks.
                const u64 count = type == 'i' ? 24 - 8 * Below(2) : 32 + 16 * Below(2);
                Constant(type, count);
                Op(base + 10);
                Constant(type, count);
                Op(base + 11 + Below(2));
            }
        } else {
            static constexpr u8 kLong[] = {0xC0, 0xC1};
            static constexpr u8 kQuad[] = {0xC2, 0xC3, 0xC4};
            Op(type == 'i' ? kLong[Below(2)] : kQuad[Below(3)]);
        }
        Op(0x21, local);
    }

    // A loop that reads bytes until one is found, with its end in the middle.
    void Scan(u32 depth) {
        if (!hasMemory) {
            return;
        }
        const u32 value = LocalOf('i');
        u32 place = LocalOf('i');
        const u32 counter = static_cast<u32>(locals.size());
        locals += 'x';
        if (place == value) {
            place = counter;
        }
        const auto load = [&] {
            Op(0x20, place);
            Constant('i', 0x3FF);
            Op(0x71);
            Op(Chance(80) ? 0x2D : 0x2C);
            MemoryArgument(Below(100), 1);
            Op(0x21, value);
        };
        load();
        Op(0x03, 0x40);
        labels.push_back({""});
        UseFuel();
        Op(0x02, 0x40);
        labels.push_back({""});
        Op(0x20, value);
        Constant('i', 0xFF);
        Op(0x71);
        Op(0x22, value);
        Constant('i', Chance(50) ? 0 : Below(256));
        Op(0x47);
        Op(0x0D, 0);
        Statements(1, depth - 1);
        Op(0x0C, static_cast<u32>(labels.size() - 1 - scanEnd));
        labels.pop_back();
        Op(0x0B);
        Statements(1, depth - 1);
        Op(0x20, place);
        Constant('i', 1);
        Op(0x6A);
        Op(0x21, place);
        load();
        Op(0x0C, 0);
        labels.pop_back();
        Op(0x0B);
    }

    void ScanInBlock(u32 depth) {
        Op(0x02, 0x40);
        const size_t outer = scanEnd;
        scanEnd = labels.size();
        labels.push_back({""});
        Scan(depth);
        labels.pop_back();
        scanEnd = outer;
        Op(0x0B);
    }

    void TableStatement(u32) {
        if (!hasTable) {
            return;
        }
        if (passiveElements != 0 && Chance(50)) {
            // The destination takes what the table's entries had before: types change with it, so
            // the count is 0.
            Constant('i', Below(tableSize));
            Constant('i', 0);
            Constant('i', 0);
            Op(0xFC, 12);
            code.Unsigned(1);
            code.Unsigned(0);
        } else if (passiveElements != 0 && Chance(30)) {
            Op(0xFC, 13);
            code.Unsigned(1);
        } else {
            const u32 count = Below(tableSize + 1);
            const u32 place = Below(tableSize - count + 1);
            Constant('i', place);
            Constant('i', place);
            Constant('i', count);
            Op(0xFC, 14);
            code.Unsigned(0);
            code.Unsigned(0);
        }
    }

    void Statement(u32 depth) {
        if (budget == 0 || depth == 0) {
            return;
        }
        --budget;
        const u32 choice = Below(100);
        if (choice < 20) {
            const char type = AnyType();
            Value(type, depth - 1);
            Op(0x21, LocalOf(type));
        } else if (choice < 28) {
            Update(depth);
        } else if (choice < 30) {
            ScanInBlock(depth);
        } else if (choice < 40) {
            if (immutableFrom < 2) {
                return;
            }
            const u32 global = 1 + Below(immutableFrom - 1);
            Value(globals[global], depth - 1);
            Op(0x24, global);
        } else if (choice < 58) {
            if (hasMemory) {
                StoreValue(depth);
            }
        } else if (choice < 63) {
            Value(AnyType(), depth - 1);
            Op(0x1A);
        } else if (choice < 76) {
            Conditional(depth);
        } else if (choice < 83) {
            CountedLoop(depth);
        } else if (choice < 88) {
            CallForNothing(depth);
        } else if (choice < 92) {
            Bulk(depth);
        } else if (choice < 94) {
            TableStatement(depth);
        } else if (choice < 97) {
            Op(0x02, 0x40);
            labels.push_back({""});
            Statements(3, depth - 1);
            if (Chance(50)) {
                Value('i', depth - 1);
                Op(0x0D, 0);
                Statements(2, depth - 1);
            }
            labels.pop_back();
            Op(0x0B);
        } else {
            Op(0x01);
        }
    }

    // --- Functions

    WasmBytes Function(u32 index) {
        if (index == 0 && hasTable) {
            table.assign(tableSize, kEmpty);
            for (u32& entry : table) {
                if (!Chance(15)) {
                    entry = Below(static_cast<u32>(functions.size()));
                }
            }
        }
        current = signatures[functions[index]];
        // Each type has a local at least; parameters first.
        locals = current.parameters;
        isSmall = Chance(40);
        std::string own = kTypes;
        if (!isSmall) {
            own += AnyTypes(6);
        }
        locals += own;
        counters.clear();
        code = {};
        labels = {{current.results}};
        if (isSmall) {
            budget = 1 + Below(7);
            Statements(2, 3);
            Arguments(current.results, 3);
        } else {
            budget = 20 + Below(Chance(10) ? 400 : 90);
            UseFuel();
            Statements(6, 5);
            Arguments(current.results, 4);
        }
        smallOnes.push_back(isSmall);
        isSmall = false;
        Op(0x0B);
        WasmBytes body;
        const u32 count = static_cast<u32>(locals.size() - current.parameters.size());
        body.Unsigned(count);
        for (size_t i = current.parameters.size(); i < locals.size(); ++i) {
            body.Unsigned(1);
            body.Byte(locals[i] == 'x' ? 0x7F : ValueTypeByte(locals[i]));
        }
        body.Add(code);
        return body;
    }

    static char Seen(char type) { return type == 'f' ? 'i' : type == 'F' ? 'I' : type; }
    static std::string Seen(std::string types) {
        for (char& type : types) {
            type = Seen(type);
        }
        return types;
    }

    // What the outside calls: for each function one with integers in place of floating point.
    void Outside(std::vector<WasmBytes>& bodies) {
        const u32 inner = static_cast<u32>(functions.size());
        for (u32 i = 0; i < inner; ++i) {
            const Signature signature = signatures[functions[i]];
            const std::string parameters = Seen(signature.parameters);
            code = {};
            locals = parameters + kTypes;
            Constant('i', kFuel);
            Op(0x24, 0);
            for (u32 p = 0; p < parameters.size(); ++p) {
                Op(0x20, p);
                if (signature.parameters[p] == 'f') {
                    Op(0xBE);
                }
                if (signature.parameters[p] == 'F') {
                    Op(0xBF);
                }
            }
            Op(0x10, i);
            // From the last result on into locals of their own, made into integers, and back.
            std::string own = kTypes;
            const u32 firstOwn = static_cast<u32>(parameters.size()) + 4;
            const std::string results = Seen(signature.results);
            for (size_t r = results.size(); r-- > 0;) {
                const char type = signature.results[r];
                CanonicalIn(type, static_cast<u32>(parameters.size()));
                if (type == 'f') {
                    Op(0xBC);
                }
                if (type == 'F') {
                    Op(0xBD);
                }
                Op(0x21, firstOwn + static_cast<u32>(r));
            }
            own += results;
            for (u32 r = 0; r < results.size(); ++r) {
                Op(0x20, firstOwn + r);
            }
            Op(0x0B);
            AddOutside(bodies, {parameters, results}, own, "f" + std::to_string(i));
        }
        State(bodies);
        for (u32 round = 0; round < 2; ++round) {
            for (u32 i = 0; i < inner; ++i) {
                if (!Chance(70)) {
                    continue;
                }
                const std::string types = Seen(signatures[functions[i]].parameters);
                RandomModule::Call call{"f" + std::to_string(i), {}, types};
                for (size_t p = 0; p < types.size(); ++p) {
                    call.arguments.push_back(AnyBits(signatures[functions[i]].parameters[p]));
                }
                result.calls.push_back(call);
            }
            result.calls.push_back({"state", {}, ""});
        }
    }

    void CanonicalIn(char type, u32 firstLocal) {
        if (type != 'f' && type != 'F') {
            return;
        }
        const u32 scratch = firstLocal + (type == 'f' ? 2 : 3);
        Op(0x22, scratch);
        Constant(type, type == 'f' ? 0x7FC00000 : 0x7FF8000000000000);
        Op(0x20, scratch);
        Op(0x20, scratch);
        Op(type == 'f' ? 0x5B : 0x61);
        Op(0x1B);
    }

    void AddOutside(std::vector<WasmBytes>& bodies, const Signature& signature,
                    const std::string& own, const std::string& name) {
        functions.push_back(TypeIndex(signature));
        exports.emplace_back(name, static_cast<u32>(functions.size() - 1));
        WasmBytes body;
        body.Unsigned(own.size());
        for (const char type : own) {
            body.Unsigned(1);
            body.Byte(ValueTypeByte(type));
        }
        body.Add(code);
        bodies.push_back(body);
    }

    // All of the globals and of the used memory in one number.
    void State(std::vector<WasmBytes>& bodies) {
        code = {};
        locals = kTypes;
        const auto mix = [&] {
            Op(0x85);
            Constant('I', 7);
            Op(0x89);
            Constant('I', 0x9E3779B97F4A7C15);
            Op(0x7C);
            Op(0x21, 1);
        };
        for (u32 i = 1; i < globals.size(); ++i) {
            Op(0x23, i);
            CanonicalIn(globals[i], 0);
            if (globals[i] == 'i') {
                Op(0xAD);
            }
            if (globals[i] == 'f') {
                Op(0xBC);
                Op(0xAD);
            }
            if (globals[i] == 'F') {
                Op(0xBD);
            }
            Op(0x20, 1);
            mix();
        }
        if (hasMemory) {
            Op(0x3F, 0);
            Op(0xAD);
            Op(0x20, 1);
            mix();
            Constant('i', kUsedMemory - 8);
            Op(0x21, 0);
            Op(0x03, 0x40);
            Op(0x20, 0);
            Op(0x29);
            code.Unsigned(3);
            code.Unsigned(0);
            Op(0x20, 1);
            mix();
            Op(0x20, 0);
            Constant('i', 8);
            Op(0x6B);
            Op(0x22, 0);
            Constant('i', 0);
            Op(0x4E);
            Op(0x0D, 0);
            Op(0x0B);
        }
        Op(0x20, 1);
        Op(0x0B);
        AddOutside(bodies, {"", "I"}, kTypes, "state");
    }

    // --- The file

    void Write(const std::vector<WasmBytes>& bodies) {
        WasmBytes module;
        module.Raw(kWasmHeader);
        WasmBytes section;
        section.Unsigned(signatures.size());
        for (const Signature& signature : signatures) {
            section.Byte(0x60);
            for (const std::string& types : {signature.parameters, signature.results}) {
                section.Unsigned(types.size());
                for (const char type : types) {
                    section.Byte(ValueTypeByte(type));
                }
            }
        }
        module.Section(1, section);
        section = {};
        section.Unsigned(functions.size());
        for (const u32 type : functions) {
            section.Unsigned(type);
        }
        module.Section(3, section);
        if (hasTable) {
            section = {};
            section.Raw("\x01\x70");
            section.Byte(0);
            section.Unsigned(tableSize);
            module.Section(4, section);
        }
        if (hasMemory) {
            section = {};
            section.Byte(1);
            section.Byte(maximum != 0 ? 1 : 0);
            section.Unsigned(pages);
            if (maximum != 0) {
                section.Unsigned(maximum);
            }
            module.Section(5, section);
        }
        WriteGlobals(module);
        section = {};
        section.Unsigned(exports.size());
        for (const auto& [name, function] : exports) {
            section.Text(name);
            section.Byte(0);
            section.Unsigned(function);
        }
        module.Section(7, section);
        if (hasTable) {
            WriteElements(module);
        }
        if (hasMemory && passiveData != 0) {
            section = {};
            section.Unsigned(2 + moreData);
            module.Section(12, section);
        }
        section = {};
        section.Unsigned(bodies.size());
        for (const WasmBytes& body : bodies) {
            section.Text(body.bytes);
        }
        module.Section(10, section);
        if (hasMemory) {
            WriteData(module);
        }
        result.bytes = module.bytes;
    }

    void WriteGlobals(WasmBytes& module) {
        code = {};
        code.Unsigned(globals.size());
        for (u32 i = 0; i < globals.size(); ++i) {
            code.Byte(ValueTypeByte(globals[i]));
            code.Byte(i < immutableFrom ? 1 : 0);
            Constant(globals[i], AnyBits(globals[i]));
            Op(0x0B);
        }
        module.Section(6, code);
    }

    void WriteElements(WasmBytes& module) {
        // Runs of entries that are not empty, then a passive segment.
        std::vector<std::pair<u32, u32>> runs;
        for (u32 i = 0; i < tableSize; ++i) {
            if (table[i] == kEmpty) {
                continue;
            }
            u32 end = i;
            while (end < tableSize && table[end] != kEmpty) {
                ++end;
            }
            runs.emplace_back(i, end);
            i = end;
        }
        // Segment 1 is the passive one.
        WasmBytes section;
        const bool any = !runs.empty();
        const u32 count = passiveElements != 0 ? static_cast<u32>(runs.size()) + (any ? 1 : 2)
                                               : static_cast<u32>(runs.size());
        section.Unsigned(count);
        const auto active = [&](u32 from, u32 to) {
            section.Byte(0);
            section.Byte(0x41);
            section.Signed(from);
            section.Byte(0x0B);
            section.Unsigned(to - from);
            for (u32 i = from; i < to; ++i) {
                section.Unsigned(table[i]);
            }
        };
        if (any) {
            active(runs[0].first, runs[0].second);
        } else if (passiveElements != 0) {
            active(0, 0);
        }
        if (passiveElements != 0) {
            section.Byte(1);
            section.Byte(0);
            section.Unsigned(passiveElements);
            for (u32 i = 0; i < passiveElements; ++i) {
                section.Unsigned(Below(static_cast<u32>(functions.size())));
            }
        }
        for (size_t i = 1; i < runs.size(); ++i) {
            active(runs[i].first, runs[i].second);
        }
        module.Section(9, section);
    }

    std::string AnyText(u32 size) {
        std::string text;
        for (u32 i = 0; i < size; ++i) {
            text.push_back(static_cast<char>(random.Next()));
        }
        return text;
    }

    void WriteData(WasmBytes& module) {
        WasmBytes section;
        section.Unsigned((passiveData != 0 ? 2 : 1) + moreData);
        const auto active = [&] {
            section.Byte(0);
            section.Byte(0x41);
            section.Signed(Below(kUsedMemory));
            section.Byte(0x0B);
            section.Text(AnyText(Below(60)));
        };
        active();
        if (passiveData != 0) {
            section.Byte(1);
            section.Text(AnyText(passiveData));
        }
        for (u32 i = 0; i < moreData; ++i) {
            active();
        }
        module.Section(11, section);
    }

    static constexpr u32 kEmpty = 0xFFFFFFFF;

    Random random;
    RandomModule result;
    std::vector<Signature> signatures;
    std::vector<u32> functions;   // their signatures
    std::vector<bool> smallOnes;  // of those that are made
    std::string globals;          // their types
    u32 immutableFrom = 0;
    std::vector<std::pair<std::string, u32>> exports;
    bool hasMemory = true;
    bool hasTable = true;
    u32 pages = 1;
    u32 maximum = 0;
    u32 passiveData = 0;  // bytes of data segment 1
    u32 moreData = 0;     // active segments behind it
    u32 tableSize = 0;
    u32 passiveElements = 0;  // entries of element segment 1
    std::vector<u32> table;

    // Of the function that is being made
    WasmBytes code;
    Signature current;
    std::string locals;
    std::vector<u32> counters;
    std::vector<Label> labels;
    bool isSmall = false;  // small enough to be built in where it is called
    size_t scanEnd = 0;    // the label behind the innermost scan
    u32 budget = 0;
};

}  // namespace

RandomModule MakeRandomModule(u64 seed) {
    return Maker(seed).Make();
}

}  // namespace moxi
