#pragma once
// What is different about two runs of one program.

#include <string>
#include <vector>

#include "base/types.h"
#include "tests/support/bench_run.h"

namespace moxi {

// A line for each thing that differs; empty when nothing does.
std::string CompareRuns(const RunResult& got, const RunResult& wanted);

// Cuts a trace to its newest addresses: translated code keeps only those, which are more than
// anyone prints.
void KeepNewest(std::vector<u32>& trace);

}  // namespace moxi
