#include "kit/call_tree.h"

#include <algorithm>
#include <map>
#include <unordered_map>

#include "base/log.h"
#include "kit/symbols.h"
#include "vm/machine.h"

namespace moxi {

std::vector<CallNode> callNodes;
std::vector<ProfiledFunction> profiledFunctions;

namespace {

constexpr u32 kLongWay = 200;

std::map<u32, u32> functionsByAddress;
std::unordered_map<u64, u32> nodesByCall;  // parent and function -> node

// The node itself or its nearest ancestor that stands for the function; kNoNode when none does.
u32 FindOnWay(u32 node, u32 function) {
    while (node != kNoNode && callNodes[node].function != function) {
        node = callNodes[node].parent;
    }
    return node;
}

std::vector<std::vector<u32>> Children() {
    std::vector<std::vector<u32>> children(callNodes.size());
    for (u32 node = 0; node < callNodes.size(); ++node) {
        if (callNodes[node].parent != kNoNode) {
            children[callNodes[node].parent].push_back(node);
        }
    }
    return children;
}

// The instructions of each node and of all nodes below it. A parent has a smaller number than its
// children, so that one walk from the last node to the first adds everything up.
std::vector<u64> Totals() {
    std::vector<u64> totals(callNodes.size());
    for (size_t i = callNodes.size(); i-- > 0;) {
        totals[i] += callNodes[i].own;
        if (callNodes[i].parent != kNoNode) {
            totals[callNodes[i].parent] += totals[i];
        }
    }
    return totals;
}

std::string Way(u32 node) {
    std::vector<u32> way;
    for (; node != kNoNode; node = callNodes[node].parent) {
        way.push_back(node);
    }
    std::string text;
    for (auto step = way.rbegin(); step != way.rend(); ++step) {
        if (!text.empty()) {
            text += ';';
        }
        text += profiledFunctions[callNodes[*step].function].name;
    }
    return text;
}

}  // namespace

u32 FunctionAt(u32 address) {
    const FunctionSymbol* const symbol = FunctionSymbolAt(address);
    const u32 entry = symbol != nullptr ? symbol->address : address;
    const auto [place, isNew] =
        functionsByAddress.emplace(entry, static_cast<u32>(profiledFunctions.size()));
    if (isNew) {
        std::string name = symbol != nullptr      ? symbol->name
                           : entry == kEntryPoint ? "entry"
                                                  : FormatText("sub_%8.8X", entry);
        profiledFunctions.push_back({.name = std::move(name)});
    }
    return place->second;
}

u32 CallNodeFor(u32 parent, u32 function) {
    const u64 key = u64{parent} << 32 | function;
    if (const auto known = nodesByCall.find(key); known != nodesByCall.end()) {
        return known->second;
    }
    const u32 depth = parent == kNoNode ? 0 : callNodes[parent].depth + 1;
    u32 node = depth < kLongWay ? kNoNode : FindOnWay(parent, function);
    if (node == kNoNode) {
        node = static_cast<u32>(callNodes.size());
        callNodes.push_back({parent, function, depth, 0});
    }
    nodesByCall[key] = node;
    return node;
}

void SumCallTree() {
    const std::vector<std::vector<u32>> children = Children();
    const std::vector<u64> totals = Totals();
    // Walks the tree depth first. What lies below a node counts for its function only where the
    // function stands for the first time on the path from the root; a recursive one would be
    // counted twice.
    std::vector<u32> onWay(profiledFunctions.size());
    struct Step {
        u32 node;
        bool leave;
    };
    std::vector<Step> steps;
    for (u32 node = 0; node < callNodes.size(); ++node) {
        if (callNodes[node].parent == kNoNode) {
            steps.push_back({node, false});
        }
    }
    while (!steps.empty()) {
        const Step step = steps.back();
        steps.pop_back();
        const u32 function = callNodes[step.node].function;
        if (step.leave) {
            --onWay[function];
            continue;
        }
        profiledFunctions[function].own += callNodes[step.node].own;
        if (onWay[function]++ == 0) {
            profiledFunctions[function].inclusive += totals[step.node];
        }
        steps.push_back({step.node, true});
        for (const u32 child : children[step.node]) {
            steps.push_back({child, false});
        }
    }
}

void WriteFoldedStacks(std::FILE* file) {
    std::vector<std::string> lines;
    for (u32 node = 0; node < callNodes.size(); ++node) {
        if (callNodes[node].own == 0) {
            continue;
        }
        lines.push_back(Way(node) + FormatText(" %llu\n", static_cast<unsigned long long>(
                                                              callNodes[node].own)));
    }
    std::sort(lines.begin(), lines.end());
    for (const std::string& line : lines) {
        std::fputs(line.c_str(), file);
    }
}

void ResetCallTree() {
    callNodes.clear();
    profiledFunctions.clear();
    functionsByAddress.clear();
    nodesByCall.clear();
}

}  // namespace moxi
