#include "tests/support/vm_fixture.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "desktop/desktop.h"
#include "vm/diagnostics.h"
#include "vm/heap.h"
#include "vm/interpreter.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"
#include "vm/slots.h"

namespace moxi {

VmEvents vmEvents;
VmFiles vmFiles;

namespace {

constexpr u32 kReadMode = 0x8000;
constexpr u32 kUpdateMode = 0x8002;
constexpr u32 kCreateMode = 0x8302;
constexpr u32 kNoFile = 0xFFFFFFFF;

struct OpenFile {
    std::string name;
    size_t position = 0;
};

std::map<u32, OpenFile> openFiles;
u32 nextFile = 0;

u32 OpenTestFile(const char* name, u32 mode) {
    vmEvents.fileCalls.push_back(FormatText("open %s 0x%X", name, mode));
    if (vmFiles.refuseAll) return kNoFile;
    if (mode == kCreateMode) {
        vmFiles.contents[name] = "";
    } else if ((mode != kReadMode && mode != kUpdateMode) || !vmFiles.contents.contains(name)) {
        return kNoFile;
    }
    openFiles[nextFile] = {name, 0};
    return nextFile++;
}

u32 ReadTestFile(u32 handle, void* buffer, u32 count) {
    OpenFile& file = openFiles.at(handle);
    vmEvents.fileCalls.push_back(FormatText("read %s %u", file.name.c_str(), count));
    const std::string& contents = vmFiles.contents[file.name];
    const size_t left = contents.size() - std::min(file.position, contents.size());
    const size_t taken = std::min({left, size_t{count}, size_t{vmFiles.shortRead}});
    if (taken != 0) std::memcpy(buffer, contents.data() + file.position, taken);
    file.position += taken;
    return static_cast<u32>(taken);
}

u32 WriteTestFile(u32 handle, const void* data, u32 count) {
    OpenFile& file = openFiles.at(handle);
    std::string& contents = vmFiles.contents[file.name];
    if (contents.size() < file.position + count) contents.resize(file.position + count);
    if (count != 0) std::memcpy(contents.data() + file.position, data, count);
    file.position += count;
    return count;
}

u32 SeekTestFile(u32 handle, u32 offset, u32 origin) {
    OpenFile& file = openFiles.at(handle);
    const size_t bases[3] = {0, file.position, vmFiles.contents[file.name].size()};
    file.position = bases[origin] + offset;
    return static_cast<u32>(file.position);
}

void CloseTestFile(u32 handle) {
    vmEvents.fileCalls.push_back("close " + openFiles.at(handle).name);
    openFiles.erase(handle);
}

void PutLong(std::string& bytes, size_t offset, u32 value) {
    std::memcpy(bytes.data() + offset, &value, sizeof value);
}

}  // namespace

void StartVmBench() {
    EndVmBench();
    vmSlots.flushDirtyRect = [] { ++vmEvents.flushes; };
    vmSlots.openFile = OpenTestFile;
    vmSlots.readFile = ReadTestFile;
    vmSlots.writeFile = WriteTestFile;
    vmSlots.seekFile = SeekTestFile;
    vmSlots.closeFile = CloseTestFile;
    vmSlots.endProcess = [](int status) { throw ProcessEnded{status}; };
    desktop.alert = [](const std::string& text) { vmEvents.messages.push_back(text); };
}

void EndVmBench() {
    instructionTrace = nullptr;
    debugHooks = nullptr;
    vmSlots = VmSlots{
        .sysDispatch = [] {},
        .screenIsDirty = [] { return false; },
        .flushDirtyRect = [] {},
        .takeQueuedMessage = [](u32*) { return false; },
        .openFile = [](const char*, u32) { return kNoFile; },
        .readFile = [](u32, void*, u32) { return u32{0}; },
        .writeFile = [](u32, const void*, u32) { return u32{0}; },
        .seekFile = [](u32, u32, u32) { return kNoFile; },
        .lockFile = [](u32) {},
        .closeFile = [](u32) {},
        .moduleLoaded = [] {},
        .beforeFatalMessage = [](std::string_view) {},
        .endProcess = [](int status) { std::exit(status); },
    };
    desktop.alert = [](const std::string&) {};
    vmEvents = {};
    vmFiles = {};
    openFiles.clear();
    nextFile = 0;
    ResetMachine();
    ResetRunCycle();
    heapPointerCount = 0;
    InitHeapTable();
}

std::string ModuleHeader(u32 loadedLength, u32 globals, u32 stack, u32 heap) {
    std::string header(512, '\0');
    std::memcpy(header.data() + 208, "MOXI6", 5);
    header[218] = 6;
    header[219] = 2;
    PutLong(header, 224, loadedLength);
    PutLong(header, 232, globals);
    PutLong(header, 240, stack);
    PutLong(header, 248, heap);
    return header;
}

void MakeImage(u32 size, u32 stackLimit, u32 stackTop) {
    ASSERT_TRUE(AllocateImage(size));
    heapStart = stackTop;
    heapSize = size - stackTop;
    InitHeapTable();
    Store<u32>(136, 512);
    Store<u32>(144, stackTop);
    Store<u32>(152, stackLimit);
    Store<u32>(160, stackTop);
}

StandardError::StandardError(bool quiet) {
    std::fflush(stderr);
    saved = dup(STDERR_FILENO);
    if (quiet) {
        file = open("/dev/null", O_WRONLY);
    } else {
        std::string name = ::testing::TempDir() + "moxi-stderr-XXXXXX";
        file = mkstemp(name.data());
        unlink(name.c_str());
    }
    dup2(file, STDERR_FILENO);
}

StandardError::~StandardError() {
    std::fflush(stderr);
    dup2(saved, STDERR_FILENO);
    close(saved);
    close(file);
}

std::string StandardError::Text() {
    std::fflush(stderr);
    std::string text;
    char buffer[4096];
    off_t position = 0;
    for (;;) {
        const ssize_t got = pread(file, buffer, sizeof buffer, position);
        if (got <= 0) return text;
        text.append(buffer, static_cast<size_t>(got));
        position += got;
    }
}

}  // namespace moxi
