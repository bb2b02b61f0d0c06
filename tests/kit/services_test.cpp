// The table of services against what is made from it or says the same: the C header, the constants
// of the assembly library, the pages of the documentation.

#include "sys/services.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>

#include "kit/service_files.h"
#include "tests/support/headless_run.h"
#include "tests/support/patterns.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

const std::string kSource = MOXI_SOURCE_DIR;

// What assembling the library's constants and further lines defines.
std::map<std::string, i64> Constants(const std::string& lines) {
    const AssembleResult result = Assemble(".include \"moxi.inc\"\nstart: RETURN 0\n" + lines +
                                               ".include \"moxi_code.inc\"\nunused: RETURN 0\n",
                                           "constants.mxs", LibraryOptions());
    EXPECT_TRUE(result.ok) << FormatErrors(result);
    std::map<std::string, i64> values;
    for (const auto& symbol : result.symbols) {
        values[symbol.name] = symbol.value;
    }
    return values;
}

TEST(Services, TheHeaderOfCIsMadeFromTheTable) {
    EXPECT_EQ(ReadTextFile(kSource + "/library/c/include/moxi/services.h"), ServicesHeader())
        << "run mxservices and write its output to library/c/include/moxi/services.h";
}

TEST(Services, ThePageOfCIsMadeFromTheTable) {
    EXPECT_EQ(ReadTextFile(kSource + "/docs/c-services.md"), ServicesPage())
        << "run mxservices page and write its output to docs/c-services.md";
}

TEST(Services, TheBindingsOfOtherLanguagesAreMadeFromTheTable) {
    EXPECT_EQ(ReadTextFile(kSource + "/library/rust/src/sys.rs"), RustServices())
        << "run mxservices rust and write its output to library/rust/src/sys.rs";
    EXPECT_EQ(ReadTextFile(kSource + "/library/assemblyscript/services.ts"),
              AssemblyScriptServices())
        << "run mxservices assemblyscript and write its output to "
           "library/assemblyscript/services.ts";
}

TEST(Services, ThePageOfCNamesAllFunctionsOfTheGameHeader) {
    const std::string header = ReadTextFile(kSource + "/library/c/include/moxi/game.h");
    const std::string page = ReadTextFile(kSource + "/docs/c.md");
    const std::string function = "\\n[a-z_]+[ *]+(?:[a-z_]+ )?([a-z_]+)\\([^;)]*\\);";
    int functions = 0;
    for (const Match& declared : AllMatches(header, function)) {
        const std::string& name = declared[1];
        const bool isTheGames = name == "setup" || name == "update" || name == "draw";
        if (name == "moxi_game_message" || isTheGames) {
            continue;
        }
        ++functions;
        EXPECT_NE(page.find("`" + name + "("), std::string::npos) << name;
    }
    EXPECT_GT(functions, 60);
}

TEST(Services, TheLibraryHasThemUnderTheirNames) {
    const std::map<std::string, i64> constants = Constants("");
    for (const Service& service : kServices) {
        const auto at = constants.find("SYS_" + std::string(service.name));
        ASSERT_NE(at, constants.end()) << service.name;
        EXPECT_EQ(at->second, i64{service.command}) << service.name;
    }
    size_t named = 0;
    for (const auto& [name, value] : constants) {
        if (name.starts_with("SYS_")) {
            ++named;
        }
    }
    EXPECT_EQ(named, std::size(kServices));
}

TEST(Services, ThePagesHaveARowForEach) {
    std::string pages;
    for (const char* const page : {"system-services.md", "services-graphics.md", "services-host.md",
                                   "services-sound.md", "services-text-images.md"}) {
        pages += ReadTextFile(kSource + "/docs/" + page);
    }
    for (const Service& service : kServices) {
        char row[16];
        std::snprintf(row, sizeof row, "| `0x%04X`", service.command);
        EXPECT_NE(pages.find(row), std::string::npos) << row;
    }
}

TEST(Services, ARowSaysHowManyArgumentsItHas) {
    const auto count = [](u32 command) {
        u32 arguments = 0;
        for (const ServiceArgument& argument : FindService(command)->arguments) {
            if (argument.type != ServiceType::None) {
                ++arguments;
            }
        }
        return arguments;
    };
    EXPECT_EQ(count(SYS_FILE_OPEN), 2u);
    EXPECT_EQ(count(SYS_BLIT), 11u);
    EXPECT_EQ(count(SYS_SCALED_BLIT), 12u);
    EXPECT_EQ(count(SYS_END_FIND), 0u);
    EXPECT_EQ(FindService(0x0306), nullptr);
    EXPECT_EQ(FindService(0x0904)->title, "address");
}

// "    MOXI_KEY_TAB = 9," and the like, with their expressions.
std::map<std::string, std::string> ConstantsOfC() {
    std::map<std::string, std::string> constants;
    std::istringstream lines(ReadTextFile(kSource + "/library/c/include/moxi.h"));
    for (std::string line; std::getline(lines, line);) {
        const Match parts = WholeMatch(line, "    MOXI_([A-Z0-9_]+) = ([^,/ ][^,/]*?),?( *//.*)?");
        if (!parts.empty()) {
            constants[parts[1]] = parts[2];
        }
    }
    return constants;
}

TEST(Services, TheConstantsOfCAreThoseOfTheLibrary) {
    const std::map<std::string, std::string> ofC = ConstantsOfC();
    EXPECT_GT(ofC.size(), 90u);
    std::string lines;
    for (const auto& [name, expression] : ofC) {
        lines += "c_" + name + " = " + expression + "\n";
    }
    const std::map<std::string, i64> constants = Constants(lines);
    for (const auto& [name, expression] : ofC) {
        const auto at = constants.find(name);
        ASSERT_NE(at, constants.end()) << name << " is no constant of the library";
        EXPECT_EQ(constants.at("c_" + name), at->second) << name;
    }
    const std::string meant =
        "(MSG|KEY|BUTTON|WHEEL|HELD|SEEK|FILE|TEXT|ALPHA|IMAGE|CURSOR)(_[A-Z0-9_]+)?";
    const std::string header = ReadTextFile(kSource + "/library/c/include/moxi.h");
    for (const auto& [name, value] : constants) {
        if (WholeMatch(name, meant).empty()) {
            continue;
        }
        EXPECT_TRUE(ofC.contains(name) ||
                    header.find("#define MOXI_" + name + " ") != std::string::npos)
            << name << " is missing in moxi.h";
    }
}

}  // namespace

}  // namespace moxi
