#pragma once
// What the tests of control flow and those of the header share.

#include <string>
#include <vector>

#include "tests/support/bench_run.h"
#include "tests/support/vm_fixture.h"

namespace moxi {

class Control : public VmTest {
  protected:
    const StandardError quiet{true};
};

// A jump's target as its instruction word has it.
inline u32 At(u32 target) {
    return target / 4 << 10;
}

// One instruction at 512, then `change` says what it does beyond PC.
template <class Change>
void ExpectWords(const std::string& name, const std::vector<u32>& words, u32 pc, Change change,
                 PaperImage before = BenchPicture()) {
    before.PutWords(kBenchCode, words);
    PaperImage after = before;
    after.Put(136, pc, 4);
    change(after);
    ExpectRun(name, before, {.after = after});
}

}  // namespace moxi
