#pragma once
// The numeric operators of WebAssembly as the tests know them: name, bytes, what they take and give
// (i = i32, I = i64, f = f32, F = f64).

#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

struct NumericOperator {
    std::string name;
    std::vector<u8> bytes;
    std::string operands;
    char result;
};

// All of them, in the order of their bytes.
const std::vector<NumericOperator>& NumericOperators();

// Twenty values of a type, as bits: those at which operators change what they do.
const std::vector<u64>& Corners(char type);

}  // namespace moxi
