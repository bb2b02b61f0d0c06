#pragma once
// The fonts that a test is about, whatever else is installed: a font configuration of folders and
// files that are named, under which the families are the same on every machine.

#include <fontconfig/fontconfig.h>

#include <string>
#include <vector>

#include "tests/support/headless_run.h"

namespace moxi {

// Folders of the packages that scripts/setup installs for the tests.
constexpr const char* kUrwFonts = "/usr/share/fonts/opentype/urw-base35";
constexpr const char* kDejaVuFonts = "/usr/share/fonts/truetype/dejavu";
constexpr const char* kDevanagariFonts = "/usr/share/fonts/truetype/lohit-devanagari";
constexpr const char* kJapaneseFonts = "/usr/share/fonts/truetype/droid";
constexpr const char* kEmojiFonts = "/usr/share/fonts/truetype/noto";

// The current font configuration of this process, and of the programs that it starts, as long as
// the object lives. Helvetica, Times and Courier are the URW fonts, else DejaVu.
class FontSet {
  public:
    explicit FontSet(const std::vector<std::string>& folders);
    ~FontSet();
    FontSet(const FontSet&) = delete;
    FontSet& operator=(const FontSet&) = delete;

  private:
    TemporaryFolder folder;
    FcConfig* former;
    std::string formerFile;
};

}  // namespace moxi
