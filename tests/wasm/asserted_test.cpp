// The files of tests/wasm/asserted: modules, what their calls give and how they trap, in the form
// that others write such tests in. wabt's interpreter says the same as the machine.

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "tests/support/headless_run.h"
#include "tests/support/patterns.h"
#include "tests/support/vm_fixture.h"
#include "tests/wasm/calls.h"

namespace moxi {
namespace {

namespace fs = std::filesystem;

// One call and what is said of it.
struct Assertion {
    std::string line;  // of the file
    std::string call;  // a line of CALL.TXT
    std::string name;
    std::string trap;                                           // "" where it returns
    std::vector<std::pair<std::string, std::string>> expected;  // types and values
};

std::string Found(const std::string& text, const std::string& pattern) {
    const Match found = FirstMatch(text, pattern);
    return found.empty() ? "" : found[1];
}

// The pairs {"type": "i32", "value": "7"} of a part of a line.
std::vector<std::pair<std::string, std::string>> Values(const std::string& part) {
    std::vector<std::pair<std::string, std::string>> values;
    for (const Match& pair : AllMatches(part, R"re("type": "(\w+)", "value": "([^"]+)")re")) {
        values.emplace_back(pair[1], pair[2]);
    }
    return values;
}

// A name with what it writes as four digits.
std::string Unescaped(const std::string& text) {
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text.compare(i, 2, "\\u") == 0) {
            result += static_cast<char>(std::stoul(text.substr(i + 2, 4), nullptr, 16));
            i += 5;
        } else {
            result += text[i];
        }
    }
    return result;
}

// {"type": "assert_return", "line": 57, "action": {"type": "invoke", "field": "c", "args": [...]},
//  "expected": [...]}
Assertion ReadAssertion(const std::string& text) {
    static const std::string kLine = R"re("line": ([0-9]+))re";
    static const std::string kField = R"re("field": "([^"]*)")re";
    static const std::string kText = R"re("text": "([^"]+)")re";
    Assertion assertion;
    const size_t arguments = text.find("\"args\": ");
    const size_t expected = text.find("\"expected\": ");
    assertion.line = Found(text, kLine);
    assertion.name = Unescaped(Found(text, kField));
    assertion.call = assertion.name;
    for (const auto& [type, value] : Values(text.substr(arguments, expected - arguments))) {
        assertion.call += " " + value;
    }
    assertion.trap = Found(text, kText);
    assertion.expected = Values(text.substr(expected));
    return assertion;
}

std::string InOurWords(const std::string& trap) {
    if (trap == "call stack exhausted") {
        return "Trap: stack overflow";
    }
    if (trap == "out of bounds table access") {
        return "Trap: undefined element";
    }
    return "Trap: " + trap;
}

// Whether a log's line gives what is expected. A NaN may be of either sign.
bool Gives(const std::string& line, const Assertion& assertion) {
    const std::string start = assertion.name + " ->";
    if (!line.starts_with(start)) {
        return false;
    }
    std::istringstream words(line.substr(start.size()));
    for (const auto& [type, value] : assertion.expected) {
        std::string word;
        if (!(words >> word) || word.size() != (type.ends_with("32") ? 10u : 18u)) {
            return false;
        }
        const u64 bits = std::stoull(word, nullptr, 16);
        const u64 quiet = type == "f32" ? 0x7FC00000 : 0x7FF8000000000000;
        const u64 sign = type == "f32" ? 0x80000000 : 0x8000000000000000;
        const bool isRight = value == "nan:canonical"    ? (bits & ~sign) == quiet
                             : value == "nan:arithmetic" ? (bits & quiet) == quiet
                                                         : bits == std::stoull(value);
        if (!isRight) {
            return false;
        }
    }
    std::string more;
    return !(words >> more);
}

struct WasmAssertedTest : VmTest, ::testing::WithParamInterface<const char*> {
    StandardError quiet{true};
    TemporaryFolder folder;
    std::string file;  // of the module
    std::vector<Assertion> waiting;

    CallsRun Run(const std::string& calls) {
        TranslateOptions options = CallOptions();
        options.checkBounds = true;
        return RunCalls(ReadTextFile(folder.path + "/" + file), calls, options);
    }
    void ExpectTrap(const CallsRun& run, const std::string& trap, const std::string& where) {
        const bool isFault = !run.fatals.empty() && run.fatals[0].starts_with("Division error") &&
                             trap.starts_with("integer ");
        const std::string last = run.lines.empty() ? "" : WithoutFunction(run.lines.back());
        EXPECT_TRUE(isFault || last == InOurWords(trap))
            << where << ": " << trap << ", not " << last;
    }

    // A trap ends a run, so what comes behind it is a run of its own, after the calls before.
    void CheckWaiting() {
        std::string before;
        size_t done = 0;
        std::string calls;
        std::vector<const Assertion*> returning;
        const auto check = [&](const Assertion* trapping) {
            const CallsRun run = Run(before + calls + (trapping == nullptr ? "" : trapping->call));
            ASSERT_TRUE(run.errors.empty()) << GetParam() << ": " << run.errors[0];
            for (size_t i = 0; i < returning.size(); ++i) {
                const std::string line = done + i < run.lines.size() ? run.lines[done + i] : "";
                EXPECT_TRUE(Gives(line, *returning[i]))
                    << GetParam() << ":" << returning[i]->line << ": " << line;
            }
            if (trapping != nullptr) {
                ExpectTrap(run, trapping->trap, GetParam() + (":" + trapping->line));
            }
            done += returning.size();
            before += calls;
            calls.clear();
            returning.clear();
        };
        for (const Assertion& assertion : waiting) {
            if (assertion.trap.empty()) {
                calls += assertion.call + "\n";
                returning.push_back(&assertion);
            } else {
                check(&assertion);
            }
        }
        if (!returning.empty()) {
            check(nullptr);
        }
        waiting.clear();
    }
};

TEST_P(WasmAssertedTest, CallsGiveWhatTheFileAndWabtsInterpreterSay) {
    const fs::path path = fs::path(MOXI_SOURCE_DIR) / "tests/wasm/asserted" / GetParam();
    const ProgramResult split =
        RunProgram("/usr/bin/wast2json", {path.string(), "-o", "all.json"}, folder.path);
    ASSERT_EQ(split.status, 0) << split.errors;
    const ProgramResult theirs = RunProgram("/usr/bin/spectest-interp", {"all.json"}, folder.path);
    const Match counts = FirstMatch(theirs.output, "(?:^|\n)([0-9]+)/([0-9]+) tests passed");
    ASSERT_FALSE(counts.empty()) << theirs.output;
    EXPECT_EQ(counts[1], counts[2]) << theirs.output;

    static const std::string kFile = R"re("filename": "([^"]+)")re";
    static const std::string kText = R"re("text": "([^"]+)")re";
    u32 checked = 0;
    std::istringstream commands(ReadTextFile(folder.path + "/all.json"));
    for (std::string line; std::getline(commands, line);) {
        if (line.find("\"type\": \"invoke\"") != std::string::npos) {
            waiting.push_back(ReadAssertion(line));
            ++checked;
            continue;
        }
        const std::string next = Found(line, kFile);
        if (next.empty() || next.ends_with(".wast")) {
            continue;
        }
        CheckWaiting();
        file = next;
        if (line.find("\"assert_uninstantiable\"") != std::string::npos) {
            ExpectTrap(Run(""), Found(line, kText), GetParam() + (": " + next));
            ++checked;
        }
    }
    CheckWaiting();
    EXPECT_GE(checked, 35u);
}

INSTANTIATE_TEST_SUITE_P(Files, WasmAssertedTest,
                         ::testing::Values("instances.wast", "control.wast", "bulk_and_floats.wast",
                                           "order.wast"),
                         [](const auto& file) {
                             const std::string name = file.param;
                             return name.substr(0, name.find('.'));
                         });

}  // namespace
}  // namespace moxi
