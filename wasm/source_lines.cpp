#include "wasm/source_lines.h"

#include <algorithm>

#include "wasm/dwarf.h"

namespace moxi {

namespace {

constexpr u64 kMaxFiles = 65536;  // of a unit: a damaged table must not take all memory

// What a field of a file's entry says, in the header of version 5.
constexpr u64 kContentPath = 1;
constexpr u64 kContentDirectory = 2;

// A file or a folder, in the header of version 5.
struct Entry {
    std::string path;
    u64 directory = 0;  // its number
};

// One field of such entries: what it says, and how it is written.
struct EntryFormat {
    u64 content = 0;
    u64 form = 0;
};

struct TableReader {
    const Module& module;
    SourceLines& result;
    std::string_view strings;
    std::string_view lineStrings;
    ByteCursor unit{};  // one unit of the table
    u32 version = 0;
    // Opcodes from `opcodeBase` on move line and address at once, the line by lineBase and up to
    // lineRange - 1 more.
    u32 lineRange = 1;
    i32 lineBase = 0;
    u32 opcodeBase = 1;
    u32 step = 1;                     // of addresses
    std::vector<u8> operandCounts{};  // of the opcodes below `opcodeBase`, from 1
    std::vector<std::string> directories{};
    std::vector<u32> files{};  // the unit's numbers to those of the result

    u32 AddFile(const std::string& directory, const std::string& name);
    Entry ReadEntry(const std::vector<EntryFormat>& formats);
    std::vector<Entry> ReadEntries();
    bool ReadNames();
    bool ReadHeader();
    void RunProgram();
    void Run();
};

// The number of a file in the result, where every path stands once.
u32 TableReader::AddFile(const std::string& directory, const std::string& name) {
    const bool isWhole = directory.empty() || (!name.empty() && name[0] == '/');
    const std::string path = isWhole ? name : directory + "/" + name;
    const auto found = std::find(result.files.begin(), result.files.end(), path);
    if (found != result.files.end()) {
        return static_cast<u32>(found - result.files.begin());
    }
    result.files.push_back(path);
    return static_cast<u32>(result.files.size() - 1);
}

Entry TableReader::ReadEntry(const std::vector<EntryFormat>& formats) {
    Entry entry;
    for (const EntryFormat& format : formats) {
        u64 number = 0;
        std::string text;
        switch (static_cast<DwarfForm>(format.form)) {
            case DwarfForm::Data1: number = unit.Byte(); break;
            case DwarfForm::Data2: number = ReadShort(unit); break;
            case DwarfForm::Data4: number = unit.Word(); break;
            case DwarfForm::Data8: number = unit.Quad(); break;
            case DwarfForm::Data16: unit.Bytes(16); break;
            case DwarfForm::Udata: number = ReadLeb(unit); break;
            case DwarfForm::String: text = ReadDwarfText(unit); break;
            case DwarfForm::Strp: text = DwarfTextAt(strings, unit.Word()); break;
            case DwarfForm::LineStrp: text = DwarfTextAt(lineStrings, unit.Word()); break;
            default: unit.Fail("unknown form"); break;
        }
        if (format.content == kContentPath) {
            entry.path = text;
        }
        if (format.content == kContentDirectory) {
            entry.directory = number;
        }
    }
    return entry;
}

std::vector<Entry> TableReader::ReadEntries() {
    std::vector<EntryFormat> formats(unit.Byte());
    for (EntryFormat& format : formats) {
        format.content = ReadLeb(unit);
        format.form = ReadLeb(unit);
    }
    const u64 count = ReadLeb(unit);
    std::vector<Entry> entries;
    for (u64 i = 0; i < count && i < kMaxFiles && unit.failed == nullptr; ++i) {
        entries.push_back(ReadEntry(formats));
    }
    return entries;
}

// The names of folders and files: lists of strings up to version 4, tables from version 5 on.
bool TableReader::ReadNames() {
    const auto folder = [&](u64 number) {
        return number < directories.size() ? directories[number] : std::string();
    };
    if (version >= 5) {
        for (const Entry& entry : ReadEntries()) {
            directories.push_back(entry.path);
        }
        for (const Entry& entry : ReadEntries()) {
            files.push_back(
                AddFile(entry.directory == 0 ? "" : folder(entry.directory), entry.path));
        }
        return unit.failed == nullptr;
    }
    directories.emplace_back();  // number 0 is where the compiler ran
    for (std::string name = ReadDwarfText(unit); !name.empty(); name = ReadDwarfText(unit)) {
        directories.push_back(name);
        if (directories.size() > kMaxFiles) {
            return false;
        }
    }
    files.push_back(AddFile("", "?"));  // files count from 1
    for (std::string name = ReadDwarfText(unit); !name.empty(); name = ReadDwarfText(unit)) {
        const u64 directory = ReadLeb(unit);
        ReadLeb(unit);
        ReadLeb(unit);
        files.push_back(AddFile(folder(directory), name));
        if (files.size() > kMaxFiles) {
            return false;
        }
    }
    return unit.failed == nullptr;
}

// Reads a unit's header. False when it is damaged or of an unknown version; else the program
// follows.
bool TableReader::ReadHeader() {
    version = ReadShort(unit);
    if (version < 2 || version > 5) {
        return false;
    }
    if (version >= 5) {
        unit.Bytes(2);  // sizes of addresses and segments
    }
    const u32 headerLength = unit.Word();
    if (headerLength > unit.Left()) {
        return false;
    }
    const u8* const program = unit.at + headerLength;
    step = unit.Byte();
    if (version >= 4) {
        unit.Byte();  // operations in an instruction
    }
    unit.Byte();  // whether rows are statements to begin with
    lineBase = static_cast<i32>(unit.Byte() ^ 0x80u) - 0x80;  // signed
    lineRange = unit.Byte();
    opcodeBase = unit.Byte();
    if (lineRange == 0 || opcodeBase == 0) {
        return false;
    }
    for (u32 i = 1; i < opcodeBase; ++i) {
        operandCounts.push_back(unit.Byte());
    }
    if (!ReadNames()) {
        return false;
    }
    unit.at = program;
    return unit.failed == nullptr;
}

// Runs the unit's line number program (DWARF 5, 6.2.5): a little machine whose registers are an
// address, a file and a line, and which adds a row for each place where the line changes.
void TableReader::RunProgram() {
    u64 address = 0;
    u64 file = 1;
    i64 line = 1;
    const auto add = [&](i64 number) {
        // Addresses count from the code section's contents.
        const u64 offset = address + module.codeOffset;
        if (offset > 0xFFFFFFFF) {
            return;
        }
        const u32 known = file < files.size() ? files[file] : 0;
        const bool isLine = number > 0 && file < files.size();
        result.lines.push_back(
            {static_cast<u32>(offset), isLine ? static_cast<u32>(number) : 0, known});
    };
    while (!unit.AtEnd()) {
        const u8 opcode = unit.Byte();
        if (opcode >= opcodeBase) {
            const u32 special = opcode - opcodeBase;
            address += u64{special / lineRange} * step;
            line += lineBase + static_cast<i64>(special % lineRange);
            add(line);
            continue;
        }
        if (opcode == 0) {
            const u64 length = ReadLeb(unit);
            if (length == 0 || length > unit.Left()) {
                return;
            }
            const u8* const end = unit.at + length;
            const u8 extended = unit.Byte();
            if (extended == 1) {  // the end of a sequence
                add(0);
                address = 0;
                file = 1;
                line = 1;
            } else if (extended == 2) {  // a new address
                address = length >= 9 ? unit.Quad() : unit.Word();
            }
            unit.at = end;
            continue;
        }
        switch (opcode) {
            case 1: add(line); break;                                              // copy
            case 2: address += ReadLeb(unit) * step; break;                        // advance_pc
            case 3: line += ReadSignedLeb(unit); break;                            // advance_line
            case 4: file = ReadLeb(unit); break;                                   // set_file
            case 8: address += u64{(255 - opcodeBase) / lineRange} * step; break;  // const_add_pc
            case 9: address += ReadShort(unit); break;  // fixed_advance_pc
            default:
                for (u32 i = 0; i < operandCounts[opcode - 1]; ++i) {
                    ReadLeb(unit);
                }
                break;
        }
    }
}

void TableReader::Run() {
    if (ReadHeader()) {
        RunProgram();
    }
}

}  // namespace

SourceLines ReadSourceLines(const Module& module) {
    SourceLines result;
    ByteCursor section = CursorOver(SectionOf(module, ".debug_line"));
    while (section.Left() > 4) {
        const u32 length = section.Word();
        const u8* const start = section.Bytes(length);
        if (section.failed != nullptr) {
            break;
        }
        TableReader reader{module, result, SectionOf(module, ".debug_str"),
                           SectionOf(module, ".debug_line_str")};
        reader.unit = {start, start + length, nullptr};
        reader.Run();
    }
    // Where a sequence ends and another one begins, the beginning counts.
    std::stable_sort(result.lines.begin(), result.lines.end(),
                     [](const SourceLine& a, const SourceLine& b) {
                         if (a.offset != b.offset) {
                             return a.offset < b.offset;
                         }
                         return a.line == 0 && b.line != 0;
                     });
    return result;
}

const SourceLine* FindSourceLine(const SourceLines& lines, u32 offset) {
    const auto after =
        std::upper_bound(lines.lines.begin(), lines.lines.end(), offset,
                         [](u32 at, const SourceLine& line) { return at < line.offset; });
    if (after == lines.lines.begin()) {
        return nullptr;
    }
    const SourceLine& line = *(after - 1);
    return line.line == 0 ? nullptr : &line;
}

}  // namespace moxi
