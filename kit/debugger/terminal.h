#pragma once
// The debugger's conversation: commands from standard input, answers on standard output.

#include <optional>
#include <string>

namespace moxi {

// One line of an answer.
void Say(const std::string& line);

// The next line that was entered. With a terminal a prompt asks for it; otherwise the prompt is
// written with the line behind it, so that a transcript reads like a session. Nothing at the end of
// the input, and when a signal has asked for the end of the program meanwhile.
std::optional<std::string> ReadCommand();

}  // namespace moxi
