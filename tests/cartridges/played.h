#pragma once
// Plays a cartridge through mxwasm and moxi, headless, and through the second implementation of the
// console.

#include <string>
#include <vector>

#include "base/types.h"
#include "tests/support/picture.h"

namespace moxi {

struct Played {
    int status = -1;
    u32 frames = 0;                  // calls of update
    std::vector<u8> memory;          // the cartridge's 64 KiB
    Picture view;                    // what the window shows
    std::vector<std::string> lines;  // of standard error

    std::vector<std::string> Logs() const;
    // The console's pixel, 0 to 3.
    u32 Pixel(u32 x, u32 y) const;
    u32 Word(u32 address) const;
};

struct Play {
    std::string cartridge = "";  // path of a .wasm
    u32 milliseconds = 1000;
    std::string script = "";
    std::string dataFolder = "";            // "" for a new one
    std::vector<std::string> options = {};  // further ones of moxi
};

// One of the cartridges that lie beside the tests.
std::string OwnCartridge(const std::string& name);

// A cartridge in WebAssembly's text form, as a file that stays until the program ends.
std::string CartridgeOfText(const std::string& text);

// A cartridge that is refused fails the running test.
Played PlayCartridge(const Play& play);

struct Modelled {
    std::vector<u8> memory;
    std::vector<std::string> traces;
};

// The same cartridge after so many frames. `inputs` are FRAME:ADDRESS=BYTE,... as the model reads
// them.
Modelled ModelCartridge(const std::string& cartridge, u32 frames,
                        const std::vector<std::string>& inputs = {});

// Where two memories differ, in words; "" where they do not.
std::string Difference(const std::vector<u8>& a, const std::vector<u8>& b);

// Whether the picture, a multiple of its size, stands in the middle of the view and all around it
// is black. Says where not.
std::string ViewProblem(const Played& played);

}  // namespace moxi
