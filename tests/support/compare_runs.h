#pragma once
// What is different about two runs of one program.

#include <string>
#include <vector>

#include "base/types.h"
#include "tests/support/bench_run.h"

namespace moxi {

// A line for each thing that differs; empty when nothing does.
std::string CompareRuns(const RunResult& got, const RunResult& wanted);

// Translated code keeps the newest addresses of the trace alone: more of them than anyone prints.
void KeepNewest(std::vector<u32>& trace);

}  // namespace moxi
