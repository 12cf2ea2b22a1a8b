#pragma once

#include <string>
#include <vector>

namespace storage::kvxtool {

/// The width of the terminal behind a file descriptor; 80 when it is unknown.
std::size_t terminalWidth(int file);

/// Whether standard output is a terminal.
bool onTerminal();

/// Whether the terminal can do no more than print lines.
bool isTerminalDumb();

/// A name for standard output: as it is, unless a terminal would act on it.
std::string shown(const std::string& name);

/// The columns that a text takes on a terminal.
std::size_t displayWidth(const std::string& text);

/// A cell of a table of names: what is printed, and how wide it is without its colours.
struct Cell {
    std::string text;
    std::size_t width;
};

/// Prints cells in columns as wide as the terminal, from top to bottom and then to the right.
void printColumns(const std::vector<Cell>& cells);

}  // namespace storage::kvxtool
