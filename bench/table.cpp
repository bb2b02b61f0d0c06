#include "bench/table.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace moxi {

void Fail(const std::string& what) {
    std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, what.c_str());
    std::exit(1);
}

TableOptions ReadTableOptions(int argc, char** argv, const std::string& numberOption, int usual) {
    TableOptions options = {usual, ""};
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == numberOption && i + 1 < argc) {
            options.number = std::max(1, std::atoi(argv[++i]));
        } else if (argument == "--update" && i + 1 < argc) {
            options.update = argv[++i];
        } else {
            Fail("usage: " + std::string(program_invocation_short_name) + " [" + numberOption +
                 " N] [--update FILE]");
        }
    }
    return options;
}

void ShowTable(const TableOptions& options, const std::string& begin, const std::string& end,
               const std::string& table) {
    std::fputs(table.c_str(), stdout);
    if (!options.update.empty() && !UpdateTable(options.update, begin, end, table)) {
        Fail(options.update + ": the marker lines of the table are not there");
    }
}

bool UpdateTable(const std::string& path, const std::string& begin, const std::string& end,
                 const std::string& table) {
    std::ifstream in(path);
    std::string text(std::istreambuf_iterator<char>(in), {});
    const std::size_t from = text.find(begin);
    const std::size_t to = text.find(end);
    if (from == std::string::npos || to == std::string::npos || to < from) {
        return false;
    }
    const std::size_t after = from + begin.size();
    text.replace(after, to - after, "\n" + table);
    std::ofstream(path) << text;
    return true;
}

}  // namespace moxi
