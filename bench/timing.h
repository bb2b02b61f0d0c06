#pragma once
// How benchmarks take the time, here and in programs that print it.

#include <functional>
#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

// Processor time since the start: what other programs take meanwhile does not count, as in Lua's
// os.clock.
double ProcessorSeconds();

// The median of the values, of which there is at least one; of an even number of them the mean of
// the two in the middle.
double Median(std::vector<double> values);

// Seconds of processor time that `run` takes, the median of so many runs, each after a `setup`.
double MedianTime(int runs, const std::function<void()>& setup, const std::function<void()>& run);

// What a harness prints (bench/kernels/harness.lua, harness.mjs): a checksum and a line of seconds
// for each run. Nothing when the command fails.
std::vector<double> TimesOf(const std::string& command, u32& checksum);

std::string ShellQuoted(const std::string& text);
// The first line that a command prints, "" when it fails.
std::string FirstLineOf(const std::string& command);
std::string ProcessorName();

}  // namespace moxi
