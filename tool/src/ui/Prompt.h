#pragma once

#include <string>

namespace storage::kvxtool {

/// Whether the person at the terminal says yes. Without a terminal to ask on, the answer is yes.
bool confirm(const std::string& question);

/// Reads a line of standard input; on a terminal, after the prompt and without echo.
std::string readSecret(const std::string& prompt);

/// Gives the terminal its echo again, where readSecret() is at work. From any thread.
void restoreEcho();

}  // namespace storage::kvxtool
