#pragma once
// "Add a game...": a field for a path, and below it the files and folders whose paths begin with
// what the field holds.

#include <string>
#include <vector>

#include "surface/controls.h"

namespace moxi {

// What a path could go on as, whole paths in order: folders, with a "/" at the end, and files that
// can be games. "~" is the home folder. Hidden ones only when the path asks for them.
std::vector<std::string> CompletionsOf(const std::string& path);

// The path lengthened as far as all completions agree.
std::string Completed(const std::string& path);

// The path without "~" and without a "/" at its end.
std::string PlainPath(const std::string& path);

// The controls' ids. Those of completions are the paths that they stand for.
constexpr const char* kPathField = "path";
constexpr const char* kAddButton = "add";
constexpr const char* kCancelButton = "cancel";

// Builds the controls. `problem` is said below the field.
void BuildAddGame(Surface& surface, i32 width, i32 height, double scale, const std::string& path,
                  const std::string& problem);

}  // namespace moxi
