#include "wasm/debug_info.h"

#include <algorithm>
#include <map>
#include <unordered_map>

#include "wasm/dwarf.h"

namespace moxi {

namespace {

// DWARF's numbers of the entries and attributes that matter here.
enum class Tag : u64 {
    FormalParameter = 0x05,
    LexicalBlock = 0x0B,
    CompileUnit = 0x11,
    Typedef = 0x16,
    BaseType = 0x24,
    ConstType = 0x26,
    Enumeration = 0x04,
    Pointer = 0x0F,
    Reference = 0x10,
    Subprogram = 0x2E,
    Variable = 0x34,
    Volatile = 0x35,
    Restrict = 0x37,
    RvalueReference = 0x42,
    Atomic = 0x47,
};

// The most attributes of a kind of entry; compilers write some ten. Attributes that take no bytes
// would let a small file cost any amount of time.
constexpr size_t kMostFields = 64;

enum class Attribute : u64 {
    Location = 0x02,
    Name = 0x03,
    ByteSize = 0x0B,
    LowPc = 0x11,
    HighPc = 0x12,
    ConstValue = 0x1C,
    Encoding = 0x3E,
    FrameBase = 0x40,
    Type = 0x49,
    StrOffsetsBase = 0x72,
    AddrBase = 0x73,
    LoclistsBase = 0x8C,
};

constexpr u32 kMostTypeSteps = 16;  // a longer chain of typedefs and qualifiers is taken for a ring
constexpr u64 kMostVariables = 256;  // of a function
constexpr u32 kMostBlocks = 64;      // of a function, nested

// An attribute of an abbreviation: which one it is and in what form its value is written.
struct Field {
    u64 attribute = 0;
    u64 form = 0;
    i64 constant = 0;  // the value itself, in form ImplicitConst
};

// A kind of entry, as .debug_abbrev declares it.
struct Abbreviation {
    u64 tag = 0;
    bool hasChildren = false;
    std::vector<Field> fields;
};
using Abbreviations = std::unordered_map<u64, Abbreviation>;

// An attribute's value: a number, a text or a piece of the section.
struct Value {
    u64 number = 0;
    std::string text;
    std::string_view block;
    bool isOffset = false;  // a plain number: a length, or an offset in a section; no address
    bool isIndex = false;   // the number is an index into a table of offsets
};

// An entry of .debug_info (a function, a variable, a type), as far as it matters here.
struct Entry {
    u64 tag = 0;
    bool isEnd = false;  // no entry: the children of one end here
    bool hasChildren = false;
    std::string name;
    u64 low = 0;
    u64 high = 0;
    bool hasCode = false;
    u64 type = 0;  // from the unit's start; 0 for none
    u64 encoding = 0;
    u64 bytes = 0;
    Value location;
    bool hasLocation = false;
    std::string_view frameBase;
    bool hasNumber = false;  // a constant, whose value is `number`
    i64 number = 0;
};

// What the units of a module share.
struct Shared {
    const Module& module;
    std::string_view abbreviations = SectionOf(module, ".debug_abbrev");
    std::string_view strings = SectionOf(module, ".debug_str");
    std::string_view stringOffsets = SectionOf(module, ".debug_str_offsets");
    std::string_view addresses = SectionOf(module, ".debug_addr");
    std::map<u64, Abbreviations> tables{};  // by their offsets
    // How many bytes of abbreviation tables may still be read. Usually the tables lie one behind
    // the other; a file whose tables overlap could otherwise cost time without bounds.
    u64 left = 2 * abbreviations.size();
    u64 listsLeft = 0;  // the same for lists of places
    std::vector<DebugFunction> functions{};
};

// Reads one compile unit of .debug_info.
struct UnitReader {
    Shared& shared;
    std::string_view unit;  // with its header
    u32 version = 0;
    u32 addressBytes = 4;
    // Where the unit's part of the tables begins: behind the header, unless an attribute says so.
    u64 stringsBase = 8;
    u64 addressesBase = 8;
    u64 listsBase = 12;
    u64 unitBase = 0;  // the unit's lowest address, which lists of places count from
    const Abbreviations* table = nullptr;

    Value ReadValue(ByteCursor& cursor, u64 form, i64 constant) const;
    void TakeField(Entry& entry, const Field& field, const Value& value);
    bool ReadEntry(ByteCursor& cursor, Entry& entry);
    std::string KindOf(u64 type);
    std::vector<DebugPlace> PlacesOf(const Entry& entry);
    void TakeVariable(const Entry& entry, u32 from, u32 to);
    void Run();
    void Walk(ByteCursor cursor);
};

// The table at that offset of .debug_abbrev, as far as it can be read.
Abbreviations ReadAbbreviations(Shared& shared, u64 offset) {
    Abbreviations table;
    if (offset >= shared.abbreviations.size()) {
        return table;
    }
    ByteCursor cursor = CursorOver(shared.abbreviations.substr(offset, shared.left));
    const u64 whole = cursor.Left();
    for (u64 code = ReadLeb(cursor); code != 0; code = ReadLeb(cursor)) {
        Abbreviation row;
        row.tag = ReadLeb(cursor);
        row.hasChildren = cursor.Byte() != 0;
        for (;;) {
            Field field;
            field.attribute = ReadLeb(cursor);
            field.form = ReadLeb(cursor);
            if (field.form == static_cast<u64>(DwarfForm::ImplicitConst)) {
                field.constant = ReadSignedLeb(cursor);
            }
            if (field.attribute == 0 && field.form == 0) {
                break;
            }
            if (row.fields.size() == kMostFields) {
                cursor.Fail("too many fields");
            }
            row.fields.push_back(field);
        }
        if (cursor.failed != nullptr) {
            break;
        }
        table.emplace(code, std::move(row));
    }
    shared.left -= whole - cursor.Left();
    return table;
}

// A number of that many bytes, the lowest one first.
u64 NumberOf(ByteCursor& cursor, u32 bytes) {
    u64 value = 0;
    for (u32 i = 0; i < bytes; ++i) {
        value |= u64{cursor.Byte()} << (8 * i);
    }
    return value;
}

std::string_view Block(ByteCursor& cursor, u64 size) {
    const u8* const at = cursor.Bytes(size);
    if (cursor.failed != nullptr) {
        return {};
    }
    return {reinterpret_cast<const char*>(at), size};
}

// Reads a value in any of DWARF's forms. Those that nothing here needs are only gone over; the
// cursor fails at an unknown one, for its length is unknown, too.
Value UnitReader::ReadValue(ByteCursor& cursor, u64 form, i64 constant) const {
    Value value;
    const auto text = [&](u64 index) {
        return DwarfTextAt(shared.strings, DwarfWordAt(shared.stringOffsets, stringsBase, index));
    };
    const auto address = [&](u64 index) {
        return DwarfWordAt(shared.addresses, addressesBase, index);
    };
    switch (static_cast<DwarfForm>(form)) {
        case DwarfForm::Addr: value.number = NumberOf(cursor, addressBytes); break;
        case DwarfForm::Block2: value.block = Block(cursor, NumberOf(cursor, 2)); break;
        case DwarfForm::Block4: value.block = Block(cursor, NumberOf(cursor, 4)); break;
        case DwarfForm::Data2:
        case DwarfForm::Ref2: value.number = NumberOf(cursor, 2), value.isOffset = true; break;
        case DwarfForm::Data4:
        case DwarfForm::Ref4:
        case DwarfForm::SecOffset: value.number = NumberOf(cursor, 4), value.isOffset = true; break;
        case DwarfForm::Data8:
        case DwarfForm::Ref8:
        case DwarfForm::RefSig8: value.number = NumberOf(cursor, 8), value.isOffset = true; break;
        case DwarfForm::String: value.text = ReadDwarfText(cursor); break;
        case DwarfForm::Block:
        case DwarfForm::Exprloc: value.block = Block(cursor, ReadLeb(cursor)); break;
        case DwarfForm::Block1: value.block = Block(cursor, NumberOf(cursor, 1)); break;
        case DwarfForm::Data1:
        case DwarfForm::Flag:
        case DwarfForm::Ref1: value.number = NumberOf(cursor, 1), value.isOffset = true; break;
        case DwarfForm::Sdata: value.number = static_cast<u64>(ReadSignedLeb(cursor)); break;
        case DwarfForm::Strp: value.text = DwarfTextAt(shared.strings, cursor.Word()); break;
        case DwarfForm::Udata:
        case DwarfForm::RefUdata:
        case DwarfForm::Rnglistx: value.number = ReadLeb(cursor), value.isOffset = true; break;
        case DwarfForm::Loclistx: value.number = ReadLeb(cursor), value.isIndex = true; break;
        case DwarfForm::RefAddr: cursor.Bytes(version <= 2 ? addressBytes : 4); break;
        case DwarfForm::FlagPresent: value.number = 1; break;
        case DwarfForm::Strx: value.text = text(ReadLeb(cursor)); break;
        case DwarfForm::Addrx: value.number = address(ReadLeb(cursor)); break;
        case DwarfForm::Data16: cursor.Bytes(16); break;
        case DwarfForm::RefSup4:
        case DwarfForm::StrpSup:
        case DwarfForm::LineStrp: cursor.Word(); break;
        case DwarfForm::RefSup8: cursor.Quad(); break;
        case DwarfForm::Strx1:
        case DwarfForm::Strx2:
        case DwarfForm::Strx3:
        case DwarfForm::Strx4:
            value.text = text(NumberOf(cursor, static_cast<u32>(form - 0x24)));
            break;
        case DwarfForm::Addrx1:
        case DwarfForm::Addrx2:
        case DwarfForm::Addrx3:
        case DwarfForm::Addrx4:
            value.number = address(NumberOf(cursor, static_cast<u32>(form - 0x28)));
            break;
        case DwarfForm::ImplicitConst: value.number = static_cast<u64>(constant); break;
        default: cursor.Fail("unknown form"); break;
    }
    return value;
}

void UnitReader::TakeField(Entry& entry, const Field& field, const Value& value) {
    switch (static_cast<Attribute>(field.attribute)) {
        case Attribute::Name: entry.name = value.text; break;
        case Attribute::Location:
            entry.location = value;
            entry.hasLocation = true;
            break;
        case Attribute::ConstValue:
            entry.hasNumber = value.block.empty() && value.text.empty();
            entry.number = static_cast<i64>(value.number);
            break;
        case Attribute::FrameBase: entry.frameBase = value.block; break;
        case Attribute::ByteSize: entry.bytes = value.number; break;
        case Attribute::Encoding: entry.encoding = value.number; break;
        case Attribute::Type: entry.type = value.number; break;
        case Attribute::LowPc:
            entry.low = value.number;
            entry.hasCode = true;
            break;
        case Attribute::HighPc:
            // The code's length, unless its form is that of an address.
            entry.high = value.isOffset ? entry.low + value.number : value.number;
            break;
        case Attribute::StrOffsetsBase:
            if (entry.tag == static_cast<u64>(Tag::CompileUnit)) {
                stringsBase = value.number;
            }
            break;
        case Attribute::AddrBase:
            if (entry.tag == static_cast<u64>(Tag::CompileUnit)) {
                addressesBase = value.number;
            }
            break;
        case Attribute::LoclistsBase:
            if (entry.tag == static_cast<u64>(Tag::CompileUnit)) {
                listsBase = value.number;
            }
            break;
    }
}

// Reads an entry with its attributes. False where the unit cannot be read any further.
bool UnitReader::ReadEntry(ByteCursor& cursor, Entry& entry) {
    entry = {};
    const u64 code = ReadLeb(cursor);
    if (cursor.failed != nullptr) {
        return false;
    }
    entry.isEnd = code == 0;
    if (entry.isEnd) {
        return true;
    }
    const auto row = table->find(code);
    if (row == table->end()) {
        return false;
    }
    entry.tag = row->second.tag;
    entry.hasChildren = row->second.hasChildren;
    for (const Field& field : row->second.fields) {
        u64 form = field.form;
        if (form == static_cast<u64>(DwarfForm::Indirect)) {
            form = ReadLeb(cursor);
        }
        TakeField(entry, field, ReadValue(cursor, form, field.constant));
        if (cursor.failed != nullptr) {
            return false;
        }
    }
    return true;
}

// A base type's kind, in the words of DebugVariable::kind.
std::string KindOfBase(const Entry& entry) {
    constexpr u64 kBoolean = 2;
    constexpr u64 kFloat = 4;
    constexpr u64 kSigned = 5;
    constexpr u64 kSignedChar = 6;
    constexpr u64 kUnsigned = 7;
    constexpr u64 kUnsignedChar = 8;
    const bool isUsual =
        entry.bytes == 1 || entry.bytes == 2 || entry.bytes == 4 || entry.bytes == 8;
    if (!isUsual) {
        return "block";
    }
    const std::string bits = std::to_string(8 * entry.bytes);
    switch (entry.encoding) {
        case kBoolean: return entry.bytes == 1 ? "bool" : "u" + bits;
        case kFloat: return entry.bytes >= 4 ? "f" + bits : "block";
        case kSignedChar:
        case kUnsignedChar:
            if (entry.name == "char") {
                return "char";
            }
            return (entry.encoding == kSignedChar ? "i" : "u") + bits;
        case kSigned: return "i" + bits;
        case kUnsigned: return "u" + bits;
        default: return "block";
    }
}

// The kind of the type at that offset of the unit, behind all typedefs and qualifiers.
std::string UnitReader::KindOf(u64 type) {
    for (u32 steps = 0; steps < kMostTypeSteps && type != 0 && type < unit.size(); ++steps) {
        ByteCursor cursor = CursorOver(unit.substr(type));
        Entry entry;
        if (!ReadEntry(cursor, entry) || entry.isEnd) {
            break;
        }
        switch (static_cast<Tag>(entry.tag)) {
            case Tag::BaseType: return KindOfBase(entry);
            case Tag::Pointer:
            case Tag::Reference:
            case Tag::RvalueReference: return "pointer";
            case Tag::Enumeration: return entry.bytes == 4 || entry.bytes == 0 ? "i32" : "block";
            case Tag::Typedef:
            case Tag::ConstType:
            case Tag::Volatile:
            case Tag::Restrict:
            case Tag::Atomic: type = entry.type; break;
            default: return "block";
        }
    }
    return "block";
}

// Where the variable of an entry is found: a constant, one place for all of its code, or a list.
std::vector<DebugPlace> UnitReader::PlacesOf(const Entry& entry) {
    DebugPlace place;
    if (entry.hasNumber) {
        place.kind = DebugPlace::Kind::Number;
        place.value = entry.number;
        return {place};
    }
    if (!entry.hasLocation) {
        return {};
    }
    const Value& where = entry.location;
    if (!where.isOffset && !where.isIndex) {
        if (ReadPlace(where.block, place)) {
            return {place};
        }
        return {};
    }
    PlaceLists lists{
        version,          SectionOf(shared.module, version >= 5 ? ".debug_loclists" : ".debug_loc"),
        shared.addresses, addressesBase,
        unitBase,         shared.module.codeOffset};
    const u64 offset = where.isIndex ? listsBase + DwarfWordAt(lists.lists, listsBase, where.number)
                                     : where.number;
    return ReadPlaceList(lists, offset, shared.listsLeft);
}

// Adds a variable to the function that was found last.
void UnitReader::TakeVariable(const Entry& entry, u32 from, u32 to) {
    DebugFunction& function = shared.functions.back();
    if (entry.name.empty() || function.variables.size() >= kMostVariables) {
        return;
    }
    DebugVariable variable;
    variable.name = entry.name;
    variable.kind = KindOf(entry.type);
    variable.isArgument = entry.tag == static_cast<u64>(Tag::FormalParameter);
    variable.from = from;
    variable.to = to;
    variable.places = PlacesOf(entry);
    function.variables.push_back(std::move(variable));
}

// The function of an entry, if its code is part of the module: linkers give 0 as the address of
// what they have left out.
bool TakeFunction(const Entry& entry, const Module& module, DebugFunction& function) {
    const u64 from = entry.low + module.codeOffset;
    const u64 to = entry.high + module.codeOffset;
    if (entry.low == 0 || from >= to || to > module.bytes.size()) {
        return false;
    }
    function.from = static_cast<u32>(from);
    function.to = static_cast<u32>(to);
    DebugPlace base;
    if (ReadPlace(entry.frameBase, base) && base.kind == DebugPlace::Kind::Local) {
        function.frameBase = static_cast<u32>(base.value);
    }
    return true;
}

// Goes over the unit's entries, which form a tree in preorder, and takes functions with their
// variables.
void UnitReader::Walk(ByteCursor cursor) {
    const Module& module = shared.module;
    struct Block {
        u32 depth = 0;
        u32 from = 0;
        u32 to = 0;
    };
    std::vector<Block> blocks;  // those that the walk is in; the first is the function
    Entry entry;
    u32 depth = 0;
    while (!cursor.AtEnd() && ReadEntry(cursor, entry)) {
        if (entry.isEnd) {
            if (depth == 0) {
                return;
            }
            --depth;
            while (!blocks.empty() && depth < blocks.back().depth) {
                blocks.pop_back();
            }
            continue;
        }
        const auto tag = static_cast<Tag>(entry.tag);
        if (tag == Tag::CompileUnit) {
            unitBase = entry.low;
        }
        if (tag == Tag::Subprogram && entry.hasCode) {
            blocks.clear();  // the one before is done, or must not get this one's variables
            DebugFunction function;
            if (TakeFunction(entry, module, function)) {
                shared.functions.push_back(std::move(function));
                if (entry.hasChildren) {
                    blocks.push_back({depth + 1, 0, 0xFFFFFFFF});
                }
            }
        } else if (!blocks.empty() && tag == Tag::FormalParameter) {
            if (depth == blocks.front().depth) {
                TakeVariable(entry, 0, 0xFFFFFFFF);
            }
        } else if (!blocks.empty() && tag == Tag::Variable) {
            TakeVariable(entry, blocks.back().from, blocks.back().to);
        } else if (!blocks.empty() && tag == Tag::LexicalBlock && entry.hasCode &&
                   entry.hasChildren && blocks.size() < kMostBlocks) {
            blocks.push_back({depth + 1, static_cast<u32>(entry.low + module.codeOffset),
                              static_cast<u32>(entry.high + module.codeOffset)});
        }
        if (entry.hasChildren) {
            ++depth;
        }
    }
}

// Reads the unit's header, of DWARF 2 to 5, and then its entries.
void UnitReader::Run() {
    ByteCursor cursor = CursorOver(unit);
    cursor.Word();  // the length
    version = ReadShort(cursor);
    u64 abbreviations = 0;
    if (version >= 5) {
        if (cursor.Byte() != 1) {
            return;  // not a compile unit: of a kind that holds no code
        }
        addressBytes = cursor.Byte();
        abbreviations = cursor.Word();
    } else {
        abbreviations = cursor.Word();
        addressBytes = cursor.Byte();
    }
    if (cursor.failed != nullptr || version < 2 || version > 5) {
        return;
    }
    if (addressBytes != 4 && addressBytes != 8) {
        return;
    }
    const auto [found, isNew] = shared.tables.try_emplace(abbreviations);
    if (isNew) {
        found->second = ReadAbbreviations(shared, abbreviations);
    }
    table = &found->second;
    Walk(cursor);
}

}  // namespace

std::vector<DebugFunction> ReadDebugFunctions(const Module& module) {
    Shared shared{module};
    shared.listsLeft =
        4 * (SectionOf(module, ".debug_loc").size() + SectionOf(module, ".debug_loclists").size());
    const std::string_view section = SectionOf(module, ".debug_info");
    for (u64 at = 0; at + 4 < section.size();) {
        ByteCursor cursor = CursorOver(section.substr(at));
        const u64 size = u64{cursor.Word()} + 4;
        if (size > section.size() - at) {
            break;
        }
        UnitReader{shared, section.substr(at, size)}.Run();
        at += size;
    }
    std::vector<DebugFunction> result = std::move(shared.functions);
    std::stable_sort(result.begin(), result.end(),
                     [](const auto& a, const auto& b) { return a.from < b.from; });
    return result;
}

const DebugFunction* FindDebugFunction(const std::vector<DebugFunction>& functions, u32 offset) {
    const auto after =
        std::upper_bound(functions.begin(), functions.end(), offset,
                         [](u32 at, const DebugFunction& function) { return at < function.from; });
    if (after == functions.begin()) {
        return nullptr;
    }
    const DebugFunction& function = *(after - 1);
    return offset < function.to ? &function : nullptr;
}

}  // namespace moxi
