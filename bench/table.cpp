#include "bench/table.h"

#include <fstream>
#include <iterator>

namespace moxi {

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
