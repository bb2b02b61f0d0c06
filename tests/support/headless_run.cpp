#include "tests/support/headless_run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace moxi {

namespace fs = std::filesystem;

namespace {

std::vector<std::string> LinesWithPrefix(const std::vector<std::string>& lines,
                                         const std::string& prefix) {
    std::vector<std::string> found;
    for (const std::string& line : lines) {
        if (line.rfind(prefix, 0) == 0) {
            found.push_back(line.substr(prefix.size()));
        }
    }
    return found;
}

std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> lines;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

std::string ProgramPath(const std::string& program) {
    return (fs::read_symlink("/proc/self/exe").parent_path() / program).string();
}

[[noreturn]] void BecomeProgram(const std::string& path, const std::vector<std::string>& arguments,
                                const std::string& folder, const std::string& input,
                                const std::string& output, const std::string& errors) {
    const int in = open(input.c_str(), O_RDONLY | O_CLOEXEC);
    const int out = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const int err = open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    dup2(in, 0);
    dup2(out, 1);
    dup2(err, 2);
    if (!folder.empty() && chdir(folder.c_str()) != 0) {
        _exit(126);
    }
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(path.c_str()));
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    // Not in the state folder of whoever runs the tests.
    setenv("XDG_STATE_HOME", (fs::path(errors).parent_path() / "state").c_str(), 0);
    execv(path.c_str(), argv.data());
    _exit(127);
}

void WriteFiles(const fs::path& folder, const std::map<std::string, std::string>& files) {
    for (const auto& [name, content] : files) {
        fs::create_directories((folder / name).parent_path());
        WriteTextFile((folder / name).string(), content);
    }
}

std::map<std::string, std::string> ReadFiles(const fs::path& folder) {
    std::map<std::string, std::string> files;
    std::error_code error;
    for (const auto& entry : fs::recursive_directory_iterator(folder, error)) {
        if (!entry.is_regular_file()) {
            continue;
        }
        files[fs::relative(entry.path(), folder).string()] = ReadTextFile(entry.path().string());
    }
    return files;
}

}  // namespace

std::vector<std::string> HeadlessResult::Fatals() const {
    return LinesWithPrefix(lines, "fatal: ");
}

std::vector<std::string> HeadlessResult::Logs() const {
    return LinesWithPrefix(lines, "log: ");
}

u32 HeadlessResult::Label(const std::string& name) const {
    const u32 value = SymbolValue(assembled, name);
    EXPECT_NE(value, 0xFFFFFFFF) << "no label " << name;
    return value;
}

u32 HeadlessResult::Long(u32 address) const {
    return static_cast<u32>(Quad(address));
}

u64 HeadlessResult::Quad(u32 address) const {
    u64 value = 0;
    if (address < image.size()) {
        std::memcpy(&value, image.data() + address, std::min<size_t>(8, image.size() - address));
    }
    return value;
}

std::string HeadlessResult::Text(u32 address) const {
    std::string text;
    for (; address < image.size() && image[address] != 0; ++address) {
        text += static_cast<char>(image[address]);
    }
    return text;
}

ProgramResult RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                         const std::string& folder, const std::string& input) {
    const TemporaryFolder streams;
    const std::string in = input.empty() ? "/dev/null" : streams.path + "/in";
    if (!input.empty()) {
        WriteTextFile(in, input);
    }
    const std::string output = streams.path + "/out";
    const std::string errors = streams.path + "/err";
    const std::string path = ProgramPath(program);
    const pid_t child = fork();
    if (child == 0) {
        BecomeProgram(path, arguments, folder, in, output, errors);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ProgramResult result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.output = ReadTextFile(output);
    result.errors = ReadTextFile(errors);
    return result;
}

AssembleOptions LibraryOptions() {
    AssembleOptions options;
    options.includeFolders = {ProgramPath("../share/moxi/library")};
    return options;
}

AssembleResult WriteGame(const std::string& folder, const std::string& source) {
    AssembleResult assembled = Assemble(source, "game.mxs");
    EXPECT_TRUE(assembled.ok) << FormatErrors(assembled);
    fs::create_directories(folder);
    WriteTextFile(folder + "/MAIN.MX", std::string(assembled.bytes.begin(), assembled.bytes.end()));
    return assembled;
}

HeadlessResult RunHeadless(const HeadlessRun& run) {
    AssembleResult assembled = Assemble(run.source, "test.mxs", LibraryOptions());
    if (!assembled.ok) {
        ADD_FAILURE() << FormatErrors(assembled);
        return {};
    }
    HeadlessResult result = RunHeadlessImage(run, assembled.bytes);
    result.assembled = std::move(assembled);
    return result;
}

HeadlessResult RunHeadlessImage(const HeadlessRun& run, const std::vector<u8>& module,
                                bool withModule) {
    const TemporaryFolder folder;
    const fs::path game = fs::path(folder.path) / "game";
    const fs::path data = fs::path(folder.path) / "data";
    const std::string dump = folder.path + "/image";
    fs::create_directories(game);
    if (withModule) {
        WriteTextFile((game / "MAIN.MX").string(), std::string(module.begin(), module.end()));
    }
    WriteFiles(game, run.resources);
    WriteFiles(folder.path, run.beside);
    if (!run.data.empty()) {
        WriteFiles(data, run.data);
    }

    std::vector<std::string> arguments = {"--headless", "--data-folder", data.string(),
                                          "--dump-image", dump};
    if (!run.script.empty()) {
        WriteTextFile(folder.path + "/script", run.script);
        arguments.insert(arguments.end(), {"--script", folder.path + "/script"});
    }
    arguments.insert(arguments.end(), run.options.begin(), run.options.end());
    arguments.push_back(game.string());

    const ProgramResult program = RunProgram("moxi", arguments, folder.path);
    HeadlessResult result;
    result.status = program.status;
    result.output = program.output;
    result.lines = SplitLines(program.errors);
    const std::string image = ReadTextFile(dump);
    result.image.assign(image.begin(), image.end());
    result.data = ReadFiles(data);
    return result;
}

TemporaryFolder::TemporaryFolder() {
    std::string pattern = (fs::temp_directory_path() / "moxi-test-XXXXXX").string();
    path = mkdtemp(pattern.data()) != nullptr ? pattern : "";
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    if (!path.empty()) {
        fs::remove_all(path, error);
    }
}

std::string ReadTextFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

std::vector<std::string> ExamplesOf(const std::string& page) {
    std::istringstream lines(ReadTextFile(page));
    std::vector<std::string> examples;
    bool inside = false;
    for (std::string line; std::getline(lines, line);) {
        if (line == "```mx") {
            inside = true;
            examples.emplace_back();
        } else if (line == "```") {
            inside = false;
        } else if (inside) {
            examples.back() += line + "\n";
        }
    }
    return examples;
}

std::string ProgramOfExamples(const std::vector<std::string>& examples) {
    std::string program;
    for (const std::string& example : examples) {
        program += example;
        program +=
            "        MOVE.L  R0, [results]\n        MOVE.L  [R0], R14\n"
            "        ADD.L   [results], #4\n";
    }
    return program +
           "        STOP\n        .data\nresults: .long room\n        .bss\nroom: .space 200\n";
}

void WriteTextFile(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

}  // namespace moxi
