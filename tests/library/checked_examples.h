#pragma once
// Runs the examples of a page as one program and checks what their comments promise: behind a line,
// "R14 = 5" (or != < >) tells the result and "log: TEXT" what the system log gets.

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/headless_run.h"
#include "tests/support/patterns.h"

namespace moxi {

struct ExpectedResult {
    std::string line;
    std::string relation;
    i32 value;

    bool Holds(i32 got) const {
        if (relation == "=") {
            return got == value;
        }
        if (relation == "!=") {
            return got != value;
        }
        return relation == "<" ? got < value : got > value;
    }
};

struct CheckedProgram {
    std::string source;
    std::vector<ExpectedResult> results;  // in the order of the LONGs at `results`
    std::vector<std::string> logs;
};

// The examples, each result stored, and `ending` behind them.
inline CheckedProgram ReadCheckedProgram(const std::string& page, const std::string& ending = "") {
    CheckedProgram program;
    for (const std::string& example : ExamplesOf(page)) {
        std::istringstream lines(example);
        for (std::string line; std::getline(lines, line);) {
            program.source += line + "\n";
            const Match result = FirstMatch(line, "; R14 (=|!=|<|>) (-?[0-9A-Fx]+)$");
            if (!result.empty()) {
                const i64 value = std::stoll(result[2], nullptr, 0);
                program.source += "        MOVE.L  [results+" +
                                  std::to_string(program.results.size() * 4) + "], R14\n";
                program.results.push_back({line, result[1], static_cast<i32>(value)});
            }
            const Match log = FirstMatch(line, "; log: (.*)$");
            if (!log.empty()) {
                program.logs.push_back(log[1]);
            }
        }
    }
    program.source += ending + "        .bss\n        .align 4\nresults: .space 1000\n";
    return program;
}

inline void ExpectCheckedResults(const CheckedProgram& program, const HeadlessResult& result) {
    ASSERT_EQ(result.status, 0);
    EXPECT_EQ(result.Logs(), program.logs);
    const u32 results = result.Label("results");
    for (size_t i = 0; i < program.results.size(); ++i) {
        const i32 value = static_cast<i32>(result.Long(results + static_cast<u32>(i) * 4));
        EXPECT_TRUE(program.results[i].Holds(value))
            << program.results[i].line << "\nis " << value << " (0x" << std::hex << value << ")";
    }
}

}  // namespace moxi
