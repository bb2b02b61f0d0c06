#pragma once
// Modules of many small functions, each of which is one expression: an operator whose operand is
// another one, in all the ways in which two can meet, or a random tree of more of them.

#include "tests/wasm/random_module.h"

namespace moxi {

// How many pairs of an operator and what is one of its operands there are. Loads, stores,
// conditions, selections and what goes through a local count as operators.
u32 PairCount();

// A module of the pairs from number `first` on, `count` of them, each in one function and called a
// few times. Everything else in a function, and the arguments, come from the seed. The functions
// leave nothing behind that another one reads.
RandomModule MakePairsModule(u32 first, u32 count, u64 seed);

// A module of `count` functions that are random trees of up to five operators.
RandomModule MakeTreesModule(u32 count, u64 seed);

}  // namespace moxi
