#include "kit/search_path.h"

#include <elf.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "base/types.h"

namespace moxi {

namespace {

template <class T>
bool ReadAt(std::fstream& file, u64 offset, T& value) {
    file.seekg(static_cast<std::streamoff>(offset));
    return static_cast<bool>(file.read(reinterpret_cast<char*>(&value), sizeof value));
}

template <class T>
bool WriteAt(std::fstream& file, u64 offset, const T& value) {
    file.seekp(static_cast<std::streamoff>(offset));
    return static_cast<bool>(file.write(reinterpret_cast<const char*>(&value), sizeof value));
}

std::fstream OpenProgram(const std::string& path) {
    return std::fstream(path, std::ios::in | std::ios::out | std::ios::binary);
}

struct Entry {
    u64 offset = 0;
    Elf64_Dyn value = {};
};

// A file's dynamic section, and its segments to find places in the file by their addresses.
struct Dynamic {
    std::vector<Entry> entries;  // up to the end of the section, with unused ones
    std::vector<Elf64_Phdr> segments;

    Entry* Find(i64 tag) {
        for (Entry& entry : entries) {
            if (entry.value.d_tag == tag) {
                return &entry;
            }
            if (entry.value.d_tag == DT_NULL) {
                break;
            }
        }
        return nullptr;
    }

    u64 Value(i64 tag) {
        const Entry* const entry = Find(tag);
        return entry != nullptr ? entry->value.d_un.d_val : 0;
    }

    u64 OffsetOf(u64 address) const {
        for (const Elf64_Phdr& segment : segments) {
            if (segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
                address < segment.p_vaddr + segment.p_filesz) {
                return address - segment.p_vaddr + segment.p_offset;
            }
        }
        return 0;
    }
};

bool ReadDynamic(std::fstream& file, Dynamic& dynamic) {
    Elf64_Ehdr header;
    if (!file || !ReadAt(file, 0, header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_ident[EI_CLASS] != ELFCLASS64) {
        return false;
    }
    for (u32 i = 0; i < header.e_phnum; ++i) {
        Elf64_Phdr segment;
        if (!ReadAt(file, header.e_phoff + u64{i} * sizeof segment, segment)) {
            return false;
        }
        dynamic.segments.push_back(segment);
        if (segment.p_type != PT_DYNAMIC) {
            continue;
        }
        for (u64 at = 0; at + sizeof(Elf64_Dyn) <= segment.p_filesz; at += sizeof(Elf64_Dyn)) {
            Entry entry = {.offset = segment.p_offset + at};
            if (!ReadAt(file, entry.offset, entry.value)) {
                return false;
            }
            dynamic.entries.push_back(entry);
        }
    }
    return !dynamic.entries.empty();
}

// Where a removed text left its zeros: its own, and the ends of two texts around them.
u64 FindGap(const std::string& texts, size_t length) {
    const size_t gap = texts.find(std::string(length + 2, '\0'));
    return gap == std::string::npos ? 0 : gap + 1;
}

// The first of two entries that mark the end, so that one of them remains.
Entry* FindUnused(Dynamic& dynamic) {
    Entry* const end = dynamic.Find(DT_NULL);
    return end == nullptr || end + 1 > &dynamic.entries.back() ? nullptr : end;
}

std::string AddSearchPath(std::fstream& file, Dynamic& dynamic, const std::string& folder) {
    const u64 place = dynamic.OffsetOf(dynamic.Value(DT_STRTAB));
    std::string texts(dynamic.Value(DT_STRSZ), '\0');
    file.seekg(static_cast<std::streamoff>(place));
    if (place == 0 || !file.read(texts.data(), static_cast<std::streamsize>(texts.size()))) {
        return "no texts";
    }
    const u64 gap = FindGap(texts, folder.size());
    Entry* const unused = FindUnused(dynamic);
    if (gap == 0 || unused == nullptr) {
        return "it was linked without room for a search path";
    }
    unused->value.d_tag = DT_RPATH;
    unused->value.d_un.d_val = gap;
    file.seekp(static_cast<std::streamoff>(place + gap));
    file.write(folder.data(), static_cast<std::streamsize>(folder.size()));
    return WriteAt(file, unused->offset, unused->value) ? "" : "cannot be written";
}

}  // namespace

void DropSearchPath(const std::string& library) {
    std::fstream file = OpenProgram(library);
    Dynamic dynamic;
    if (!ReadDynamic(file, dynamic)) {
        return;
    }
    for (const i64 tag : {i64{DT_RUNPATH}, i64{DT_RPATH}}) {
        Entry* const entry = dynamic.Find(tag);
        if (entry == nullptr) {
            continue;
        }
        // An entry that means nothing in a library.
        entry->value.d_tag = DT_DEBUG;
        WriteAt(file, entry->offset, entry->value);
    }
}

void DropSymbols(const std::string& program) {
    Elf64_Ehdr header;
    u64 end = 0;
    {
        std::fstream file = OpenProgram(program);
        Dynamic dynamic;
        if (!ReadDynamic(file, dynamic) || !ReadAt(file, 0, header)) {
            return;
        }
        for (const Elf64_Phdr& segment : dynamic.segments) {
            end = std::max(end, segment.p_offset + segment.p_filesz);
        }
        // Sections are for linkers and debuggers; their list goes too.
        header.e_shoff = 0;
        header.e_shnum = 0;
        header.e_shstrndx = 0;
        if (!WriteAt(file, 0, header)) {
            return;
        }
    }
    std::error_code error;
    if (end < std::filesystem::file_size(program, error) && !error) {
        std::filesystem::resize_file(program, end, error);
    }
}

std::string SetSearchPath(const std::string& program, const std::string& folder) {
    std::fstream file = OpenProgram(program);
    Dynamic dynamic;
    if (!ReadDynamic(file, dynamic)) {
        return program + ": no program";
    }
    if (dynamic.Find(DT_RPATH) != nullptr) {
        return "";
    }
    const std::string problem = AddSearchPath(file, dynamic, folder);
    return problem.empty() && file.flush() ? "" : program + ": " + problem;
}

}  // namespace moxi
