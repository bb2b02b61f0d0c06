#include "sys/find.h"

#include <dirent.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <string>

#include "sys/files.h"
#include "sys/system_calls.h"
#include "vm/diagnostics.h"

namespace moxi {

namespace {

struct FindNode {
    FindNode* next;
    FindNode* sameHash;  // chain of the case-insensitive index
    u8 folder;
    u8 attribute;
    char name[1];  // allocated as long as the name needs
};

constinit FindNode* findHead = nullptr;
constinit FindNode* findTail = nullptr;
constinit FindNode* findCursor = nullptr;

// Index of the names in the list, so that 100,000 entries are not compared pairwise.
constexpr u32 kHashSlots = 1u << 14;
constinit FindNode* hashSlots[kHashSlots] = {};

constexpr u8 Lowered(char c) {
    const u8 byte = static_cast<u8>(c);
    return byte >= 'A' && byte <= 'Z' ? static_cast<u8>(byte + 32) : byte;
}

bool SameName(const char* a, const char* b) {
    while (*a != 0 && Lowered(*a) == Lowered(*b)) {
        ++a;
        ++b;
    }
    return *a == 0 && *b == 0;
}

u32 HashSlot(const char* name) {
    u32 hash = 2166136261u;
    for (; *name != 0; ++name) {
        hash = (hash ^ Lowered(*name)) * 16777619u;
    }
    return (hash ^ (hash >> 16)) % kHashSlots;
}

bool IsListed(const char* name) {
    for (const FindNode* node = hashSlots[HashSlot(name)]; node != nullptr; node = node->sameHash) {
        if (SameName(node->name, name)) {
            return true;
        }
    }
    return false;
}

void AppendNode(FindNode* node) {
    FindNode*& slot = hashSlots[HashSlot(node->name)];
    node->sameHash = slot;
    slot = node;
    node->next = nullptr;
    (findTail == nullptr ? findHead : findTail->next) = node;
    findTail = node;
}

// Cuts `count` nodes off `list`, sorts them by name and returns them; `list` is what remains.
FindNode* TakeSorted(FindNode*& list, u32 count) {
    if (count == 0) {
        return nullptr;
    }
    if (count == 1) {
        FindNode* node = list;
        list = node->next;
        node->next = nullptr;
        return node;
    }
    FindNode* left = TakeSorted(list, count / 2);
    FindNode* right = TakeSorted(list, count - count / 2);
    FindNode* merged = nullptr;
    FindNode** end = &merged;
    while (left != nullptr && right != nullptr) {
        FindNode*& smaller = std::strcmp(left->name, right->name) <= 0 ? left : right;
        *end = smaller;
        end = &smaller->next;
        smaller = smaller->next;
    }
    *end = left != nullptr ? left : right;
    return merged;
}

// `folder` is the name of the folder that the entry was found in, "" or with a trailing "/".
bool IsFolderEntry(const std::string& folder, bool inDataFolder, const dirent* entry) {
    if (entry->d_type == DT_DIR) {
        return true;
    }
    if (entry->d_type != DT_LNK && entry->d_type != DT_UNKNOWN) {
        return false;
    }
    return IsFolder((folder + entry->d_name).c_str(), inDataFolder);
}

// Null, with a message, when there is no memory: the entry is dropped and the list goes on.
FindNode* NewNode(const char* name, bool isFolder, bool inDataFolder) {
    const std::size_t length = std::strlen(name);
    void* block = systemCalls.allocate(sizeof(FindNode) + length);
    if (block == nullptr) {
        ShowFatalMessage("mFF:N");
        return nullptr;
    }
    FindNode* node = static_cast<FindNode*>(block);
    node->folder = inDataFolder ? 1 : 0;
    node->attribute = isFolder ? static_cast<u8>(kAttributeFolder) : u8{0};
    std::memcpy(node->name, name, length + 1);
    return node;
}

// Appends the matching entries of one folder that the list does not have yet.
void ListFolder(const char* name, bool inDataFolder) {
    if (BuildPath(name, inDataFolder) == nullptr) {
        return;
    }
    const char* pattern = BesideMusic(name);
    std::string folderName;
    if (const char* slash = std::strrchr(pattern, '/')) {
        folderName.assign(pattern, slash + 1);
        pattern = slash + 1;
    }
    if (std::strlen(pattern) >= kPatternBufferSize) {
        return;
    }
    const int descriptor = OpenFolder(folderName.c_str(), inDataFolder);
    DIR* folder = descriptor < 0 ? nullptr : fdopendir(descriptor);
    if (folder == nullptr) {
        if (descriptor >= 0) {
            close(descriptor);
        }
        return;
    }
    FindNode* found = nullptr;
    u32 count = 0;
    while (const dirent* entry = readdir(folder)) {
        if (entry->d_name[0] == '.' || !MatchWildcard(entry->d_name, pattern)) {
            continue;
        }
        FindNode* node =
            NewNode(entry->d_name, IsFolderEntry(folderName, inDataFolder, entry), inDataFolder);
        if (node == nullptr) {
            continue;
        }
        node->next = found;
        found = node;
        ++count;
    }
    closedir(folder);
    found = TakeSorted(found, count);
    while (found != nullptr) {
        FindNode* node = found;
        found = node->next;
        if (IsListed(node->name)) {
            systemCalls.release(node);
        } else {
            AppendNode(node);
        }
    }
}

}  // namespace

bool FindFirst(const char* pattern, FoundEntry* entry) {
    EndFind();
    ListFolder(pattern, true);
    ListFolder(pattern, false);
    findCursor = findHead;
    return FindNext(entry);
}

bool FindNext(FoundEntry* entry) {
    if (findCursor == nullptr) {
        return false;
    }
    *entry = {findCursor->name, findCursor->attribute, findCursor->folder};
    findCursor = findCursor->next;
    return true;
}

void EndFind() {
    while (findHead != nullptr) {
        FindNode* node = findHead;
        findHead = node->next;
        systemCalls.release(node);
    }
    findTail = nullptr;
    findCursor = nullptr;
    std::memset(hashSlots, 0, sizeof hashSlots);
}

bool MatchWildcard(const char* name, const char* pattern) {
    const char* starPattern = nullptr;  // after the last "*"
    const char* starName = nullptr;     // where its run ends so far
    while (*name != 0) {
        if (*pattern == '*') {
            starPattern = ++pattern;
            starName = name;
        } else if (*pattern != 0 && (*pattern == '?' || Lowered(*pattern) == Lowered(*name))) {
            ++pattern;
            ++name;
        } else if (starPattern != nullptr) {
            pattern = starPattern;
            name = ++starName;
        } else {
            return false;
        }
    }
    while (*pattern == '*') {
        ++pattern;
    }
    return *pattern == 0;
}

}  // namespace moxi
