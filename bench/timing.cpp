#include "bench/timing.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>

namespace moxi {

double ProcessorSeconds() {
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double MedianTime(int runs, const std::function<void()>& setup, const std::function<void()>& run) {
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        setup();
        const double start = ProcessorSeconds();
        run();
        times.push_back(ProcessorSeconds() - start);
    }
    return Median(times);
}

std::vector<double> TimesOf(const std::string& command, u32& checksum) {
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return {};
    }
    std::vector<double> times;
    const bool isRead = std::fscanf(pipe, "%u", &checksum) == 1;
    double seconds = 0.0;
    while (isRead && std::fscanf(pipe, "%lf", &seconds) == 1) {
        times.push_back(seconds);
    }
    if (pclose(pipe) != 0) {
        times.clear();
    }
    return times;
}

std::string ShellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

std::string FirstLineOf(const std::string& command) {
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return "";
    }
    char line[256] = {};
    const bool isRead = std::fgets(line, sizeof line, pipe) != nullptr;
    if (pclose(pipe) != 0 || !isRead) {
        return "";
    }
    std::string text = line;
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    return text;
}

std::string ProcessorName() {
    std::ifstream file("/proc/cpuinfo");
    std::string line;
    while (std::getline(file, line)) {
        const std::size_t colon = line.find(": ");
        if (line.starts_with("model name") && colon != std::string::npos) {
            return line.substr(colon + 2);
        }
    }
    return "unknown";
}

}  // namespace moxi
