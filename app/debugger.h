#pragma once
// The debugger: stops the module before an instruction and talks with its author in the terminal.
// The conversation is on standard input and output and nothing else of a run goes there.

// The module stops at its first instruction, at the breakpoints that are set, and before a fatal
// message is shown. Reads MAIN.SYM beside the MAIN.MX that will be loaded. To be called once the
// rooms are wired and the game has been found.
void StartDebugger();

// Says that the run ends. Nothing without a debugger.
void CloseDebugger(int status);
