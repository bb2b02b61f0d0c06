#pragma once
// Tables that a benchmark program prints and keeps up to date in a page of docs/, and the command
// line of such a program.

#include <string>

namespace moxi {

// Ends the benchmark with status 1 and a line on standard error: the program's name and the text.
[[noreturn]] void Fail(const std::string& what);

struct TableOptions {
    int number = 0;      // of `--runs` or `--seconds`, at least 1
    std::string update;  // the page, or ""
};

// Reads `NUMBER_OPTION N` and `--update FILE`, each of which may be left out; `usual` is the number
// without the option. Anything else ends the benchmark.
TableOptions ReadTableOptions(int argc, char** argv, const std::string& numberOption, int usual);

// Prints the table and puts it into the page that the options name.
void ShowTable(const TableOptions& options, const std::string& begin, const std::string& end,
               const std::string& table);

// Puts `table` between the lines `begin` and `end` of the file, in place of what stands there.
// False when the file cannot be read or does not have the lines; it is then left as it is.
bool UpdateTable(const std::string& path, const std::string& begin, const std::string& end,
                 const std::string& table);

}  // namespace moxi
