// Service group 0: files and folders.

#include <cstring>

#include "sys/base64.h"
#include "sys/dispatch.h"
#include "sys/files.h"
#include "sys/find.h"
#include "sys/param.h"
#include "sys/services.h"
#include "vm/machine.h"
#include "vm/page_watch.h"

namespace moxi {

namespace {

void Read(u32 arguments) {
    const u32 handle = Argument(arguments, 0);
    const u32 address = Argument(arguments, 1);
    const u32 count = Argument(arguments, 2);
    // Modules read "as much as there is" with a count far beyond their buffer, so only the bytes
    // that the file has must fit the image.
    const u64 room = address < imageSize ? imageSize - address : 0;
    const u64 touched = count <= room ? count : ReadableBytes(handle, count);
    u8* const bytes = CheckedRange(address, touched);
    LetPagesGo(bytes, touched);
    SetResult(ReadFile(handle, bytes, count));
}

void Write(u32 arguments) {
    const u32 handle = Argument(arguments, 0);
    const u32 address = Argument(arguments, 1);
    const u32 count = Argument(arguments, 2);
    SetResult(IsWritable(handle) ? WriteFile(handle, CheckedRange(address, count), count) : 0);
}

void Base64(u32 arguments) {
    const u32 handle = Argument(arguments, 0);
    const u32 address = Argument(arguments, 1);
    const i32 length = static_cast<i32>(Argument(arguments, 2));
    if (!IsWritable(handle)) {
        SetResult(0);
        return;
    }
    const u64 touched = length > 0 ? static_cast<u64>(length) : 0;
    SetResult(WriteBase64(handle, CheckedRange(address, touched), length));
}

void FileTime(u32 arguments) {
    u32 time = kFailed;
    u32 kind = 0;
    FileSize(TextArgument(arguments, 0), &time, &kind);
    SetResult64(time);
}

// Stores what a find delivered. The addresses of the two words are optional: 0 means none.
void StoreEntry(bool found, const FoundEntry& entry, u32 name, u32 attribute, u32 folder) {
    if (!found) {
        SetResult(kFailed);
        return;
    }
    const std::size_t size = std::strlen(entry.name) + 1;
    std::memcpy(CheckedRange(name, size), entry.name, size);
    if (attribute != 0) {
        Store<u32>(attribute, entry.attribute);
    }
    if (folder != 0) {
        Store<u32>(folder, entry.folder);
    }
    SetResult(0);
}

}  // namespace

void SysFileGroup(u32 sub, u32 arguments) {
    const auto number = [arguments](u32 index) { return Argument(arguments, index); };
    const auto text = [arguments](u32 index) { return TextArgument(arguments, index); };
    FoundEntry entry = {};
    u32 time = 0;
    u32 kind = 0;
    switch (kFileServices | sub) {
        case SYS_FILE_OPEN: SetResult(OpenFile(text(0), number(1))); return;
        case SYS_FILE_AT_END: SetResult(AtEndOfFile(number(0))); return;
        case SYS_FILE_READ: Read(arguments); return;
        case SYS_FILE_WRITE: Write(arguments); return;
        case SYS_FILE_SEEK: SetResult(SeekFile(number(0), number(1), number(2))); return;
        case SYS_FILE_DELETE: DeleteFile(text(0)); return;
        case SYS_MAKE_FOLDER: SetResult(MakeFolder(text(0))); return;
        case SYS_REMOVE_FOLDER: RemoveFolder(text(0)); return;
        case SYS_FILE_CLOSE: CloseFile(number(0)); return;
        case SYS_FILE_SIZE: SetResult(FileSize(text(0), &time, &kind)); return;
        case SYS_FILE_TIME: FileTime(arguments); return;
        case SYS_FIND_FIRST: {
            const bool found = FindFirst(text(0), &entry);
            StoreEntry(found, entry, number(1), number(2), number(3));
            return;
        }
        case SYS_FIND_NEXT: {
            const bool found = FindNext(&entry);
            StoreEntry(found, entry, number(0), number(1), number(2));
            return;
        }
        case SYS_END_FIND: EndFind(); return;
        case SYS_FILE_WRITE_BASE64: Base64(arguments); return;
        case SYS_FILE_MOVE: MoveFile(text(0), text(1)); return;
        default: ReportUnknownCommand();
    }
}

}  // namespace moxi
