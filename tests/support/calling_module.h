#pragma once
// A module that calls services one after the other at its first message and keeps their results, as
// readable assembly, and its run through the real program, headless.

#include <string>
#include <vector>

#include "base/types.h"
#include "sys/services.h"
#include "tests/support/headless_run.h"

namespace moxi {

class CallingModule {
  public:
    // Bytes of the heap.
    explicit CallingModule(u32 theHeap = 16 << 20) : heap(theHeap) {}

    // A call. Arguments are expressions of the assembler: numbers, labels made by Text() or Room(),
    // and "@label" for the LONG that is at a label then, such as Result() of an earlier call.
    // Answers the call's number, from 0. The result is kept at the label `result`, too, if given.
    u32 Call(u32 command, const std::vector<std::string>& arguments = {},
             const std::string& result = "");
    // Where the results begin, eight bytes for each call.
    static constexpr const char* kResults = "results";
    static constexpr u32 kResultSize = 8;
    // Stands for the result of a call in the arguments of a later one.
    static std::string Result(u32 call) { return "@" + ResultLabel(call); }
    // Eight bytes: R14 after the call, which had kUntouched in its lower half before.
    static std::string ResultLabel(u32 call) { return "result" + std::to_string(call); }
    // The pixel at a position, at the label `name`.
    u32 Pixel(const std::string& handle, int x, int y, const std::string& name = "") {
        return Call(SYS_GET_PIXEL, {handle, std::to_string(x), std::to_string(y)}, name);
    }

    // The label of NUL-terminated bytes, of `size` zero bytes.
    std::string Text(const std::string& bytes);
    std::string Room(u32 size);
    // Data of the test's own, and instructions between the calls.
    void Data(const std::string& line) { data += line + "\n"; }
    void Code(const std::string& line) { code += line + "\n"; }

    // The calls are made when message `command` comes; 1 is the first of all.
    std::string Source(u32 command = 1) const;

    // Runs it for 10 ms. `run` may get resources and the like before.
    const HeadlessResult& Run(const std::vector<std::string>& options = {});

    // After the run: the lower half of R14 and all of it.
    u32 Of(u32 call) const { return result.LongAt(ResultLabel(call)); }
    u64 QuadOf(u32 call) const { return result.Quad(result.Label(ResultLabel(call))); }

    static constexpr u32 kUntouched = 0x5A5A5A5A;

    HeadlessRun run;
    HeadlessResult result;

  private:
    std::string code;
    std::string data;
    std::string blocks;
    std::string results;
    std::string rooms;
    u32 heap;
    u32 calls = 0;
    u32 labels = 0;
};

}  // namespace moxi
