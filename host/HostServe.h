// What a host that keeps its clip open is told between sessions, line by line on standard input.
#pragma once

#include <string>

enum class HostCommand { open, quit, interrupted };

/// Reads a line, without its end: "" and "open" open, "q" and "quit" end; spaces around do not count. False for others.
bool ReadHostCommand(const std::string& line, HostCommand* command);

/// Waits for a command on standard input; its end counts as quit. Lines that are none are told and passed over.
HostCommand HostAwaitCommand();
