// What is said of a word that is neither instruction nor directive nor macro.

#include <algorithm>

#include "tools/asm/assembly.h"

namespace moxi {

namespace mxasm {

namespace {

constexpr std::string_view kDirectives[] = {
    ".code",   ".data",   ".bss",    ".stack",   ".heap",   ".version",   ".equ",     ".set",
    ".header", ".error",  ".assert", ".include", ".incbin", ".arguments", ".invoked", ".macro",
    ".endm",   ".exitm",  ".rept",   ".endr",    ".if",     ".ifdef",     ".ifndef",  ".ifb",
    ".ifnb",   ".elif",   ".else",   ".endif",   ".byte",   ".word",      ".long",    ".quad",
    ".float",  ".double", ".ascii",  ".asciz",   ".space",  ".align",
};

// How many letters have to be changed, added, left out or exchanged with their neighbour.
size_t Distance(const std::string& a, const std::string& b) {
    std::vector<std::vector<size_t>> rows(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i) {
        for (size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                rows[i][j] = i + j;
                continue;
            }
            const size_t change = a[i - 1] == b[j - 1] ? 0 : 1;
            rows[i][j] =
                std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1, rows[i - 1][j - 1] + change});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
            }
        }
    }
    return rows[a.size()][b.size()];
}

}  // namespace

std::string Suggestion(const Assembly& assembly, std::string_view word) {
    constexpr size_t kLongest = 40;
    if (word.size() < 3 || word.size() > kLongest) {
        return {};
    }
    std::vector<std::string> names(std::begin(kDirectives), std::end(kDirectives));
    for (const auto& [name, macro] : assembly.macros) {
        names.push_back(name);
    }
    const std::vector<std::string> mnemonics = MnemonicNames();
    names.insert(names.end(), mnemonics.begin(), mnemonics.end());
    std::sort(names.begin(), names.end());
    const std::string wanted = UpperCase(word);
    const std::string* best = nullptr;
    size_t least = word.size() < 5 ? 2 : 3;
    for (const std::string& name : names) {
        if (name.size() > word.size() + 2 || word.size() > name.size() + 2) {
            continue;
        }
        const size_t distance = Distance(wanted, UpperCase(name));
        if (distance >= least) {
            continue;
        }
        least = distance;
        best = &name;
    }
    return best != nullptr ? "; did you mean " + Quoted(*best) + "?" : std::string();
}

void ReportUnknownWord(Assembly& assembly, std::string_view word, const SourcePosition& position,
                       bool standsBeforeDirective) {
    const bool isCode = assembly.section == Section::Code;
    std::string text =
        Quoted(word) + (isCode ? " is no instruction or macro" : " is no directive or macro");
    text += standsBeforeDirective ? "; a label ends with a colon" : Suggestion(assembly, word);
    const size_t index = assembly.sources.errors.size();
    Report(assembly.sources, position, text);
    assembly.unknownWords.emplace(std::string(word), index);
}

void ExplainEarlierUses(Assembly& assembly, const Macro& macro) {
    const auto [first, last] = assembly.unknownWords.equal_range(macro.name);
    for (auto use = first; use != last; ++use) {
        // The error at kMaxErrors only tells that there are too many.
        if (use->second >= std::min(assembly.sources.errors.size(), kMaxErrors)) {
            continue;
        }
        assembly.sources.errors[use->second].text =
            Quoted(macro.name) + " is a macro that is defined later, at " +
            PlaceInWords(assembly.sources, macro.position) + "; a macro must stand before its use";
    }
    assembly.unknownWords.erase(first, last);
}

std::string PlaceInWords(const Sources& sources, const SourcePosition& position) {
    const SourcePosition place = AuthorsPosition(sources, position);
    return sources.files[place.file].name + ":" + std::to_string(place.line);
}

std::string ArgumentsInWords(size_t count) {
    return std::to_string(count) + (count == 1 ? " argument" : " arguments");
}

}  // namespace mxasm

}  // namespace moxi
