#include "tests/support/vm_fixture.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "desktop/desktop.h"
#include "vm/diagnostics.h"
#include "vm/guard.h"
#include "vm/heap.h"
#include "vm/interpreter.h"
#include "vm/loader.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"
#include "vm/slots.h"

namespace moxi {

VmEvents vmEvents;
VmFiles vmFiles;

namespace {

void AppendToTestLog(std::string_view bytes) {
    if (!vmFiles.refuseAll) {
        vmFiles.contents["debug.log"] += bytes;
    }
}

void PutLong(std::string& bytes, size_t offset, u32 value) {
    std::memcpy(bytes.data() + offset, &value, sizeof value);
}

}  // namespace

void StartVmBench() {
    EndVmBench();
    vmSlots.appendDebugLog = AppendToTestLog;
    vmSlots.endProcess = [](int status) { throw ProcessEnded{status}; };
    desktop.alert = [](const std::string& text) { vmEvents.messages.push_back(text); };
}

void EndVmBench() {
    instructionTrace = nullptr;
    debugHooks = nullptr;
    vmSlots = kEmptyVmSlots;
    desktop.alert = [](const std::string&) {};
    vmEvents = {};
    vmFiles = {};
    ResetMachine();
    ResetRunCycle();
    heapPointerCount = 0;
    InitHeapTable();
}

bool LoadTestModule() {
    if (!vmFiles.contents.contains("MAIN.MX")) {
        return LoadModule({});
    }
    size_t position = 0;
    return LoadModule([&position](void* bytes, u32 count) {
        vmEvents.reads.push_back(count);
        const std::string& file = vmFiles.contents["MAIN.MX"];
        const size_t taken = std::min<size_t>(file.size() - position, count);
        if (taken != 0) {
            std::memcpy(bytes, file.data() + position, taken);
        }
        position += taken;
        return static_cast<u32>(taken);
    });
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
        if (got <= 0) {
            return text;
        }
        text.append(buffer, static_cast<size_t>(got));
        position += got;
    }
}

}  // namespace moxi
