#pragma once
// A machine on the bench: an image laid out by the test, files in memory, fatal messages and the
// end of the process caught.

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

// Thrown by vmSlots.endProcess.
struct ProcessEnded {
    int status;
};

// What the tests' slots have caught since the start of the test.
struct VmEvents {
    std::vector<std::string> messages;  // texts of the fatal message box
    std::vector<u32> reads;             // how many bytes the loader asked for, each time
};

// Files in memory, by name: MAIN.MX for the loader, and debug.log.
struct VmFiles {
    std::map<std::string, std::string> contents;
    bool refuseAll = false;  // there is no debug.log and none can be made
};

extern VmEvents vmEvents;
extern VmFiles vmFiles;

// Fills the slots and resets the machine, the heap, the run cycle and what was caught.
void StartVmBench();
// Puts the slots' defaults back and releases the image.
void EndVmBench();

// Loads MAIN.MX out of `vmFiles`.
bool LoadTestModule();

// The 512 header bytes of a module that the loader accepts, version 6.2.
std::string ModuleHeader(u32 loadedLength, u32 globals, u32 stack, u32 heap);

// An image of `size` bytes in the machine with the stack between `stackLimit` and `stackTop`
// (empty), the heap above it, PC at 512, everything else zero.
void MakeImage(u32 size, u32 stackLimit, u32 stackTop);

// Standard error during the life of this object, as text. With `quiet` it is thrown away.
class StandardError {
  public:
    explicit StandardError(bool quiet = false);
    ~StandardError();
    StandardError(const StandardError&) = delete;
    StandardError& operator=(const StandardError&) = delete;
    std::string Text();

  private:
    int saved = -1;
    int file = -1;
};

class VmTest : public ::testing::Test {
  protected:
    void SetUp() override { StartVmBench(); }
    void TearDown() override { EndVmBench(); }
};

// The status with which `run` ends the process, -1 if it returns.
template <class Run>
int EndStatus(Run run) {
    try {
        run();
    } catch (const ProcessEnded& end) {
        return end.status;
    }
    return -1;
}

}  // namespace moxi
