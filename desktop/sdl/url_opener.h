#pragma once
// Opens web addresses with the desktop's own opener, through a small helper process that is made
// before anything restricts this one and before it has threads.

#include <string>
#include <string_view>

// The process that takes the addresses calls `confine` for itself; the one behind it, which starts the
// opener, does not, since a browser has walls of its own to build.
void StartUrlOpener(void (*confine)());
void StopUrlOpener();

// True for an http, https or mailto address that is safe to hand to another program: no control
// characters and no blanks.
bool IsOpenableUrl(std::string_view url);
// Refuses other texts with a log line.
void OpenUrl(const std::string& utf8);
