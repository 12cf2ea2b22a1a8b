#include "ui/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "ui/Text.h"

namespace storage::kvxtool {

std::size_t terminalWidth(int file) {
    winsize size{};
    const bool known = ioctl(file, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
}

bool onTerminal() {
    static const bool terminal = isatty(STDOUT_FILENO) != 0;
    return terminal;
}

bool isTerminalDumb() {
    const char* const name = std::getenv("TERM");
    return name != nullptr && std::string_view(name) == "dumb";
}

std::string shown(const std::string& name) { return onTerminal() ? escaped(name) : name; }

std::size_t displayWidth(const std::string& text) {
    std::size_t width = 0;
    for (std::string_view rest = text; !rest.empty();) {
        const std::optional<char32_t> character = takeCharacter(rest);
        if (!character) {
            rest.remove_prefix(1);
        }
        width += static_cast<std::size_t>(
            std::max(0, wcwidth(static_cast<wchar_t>(character.value_or(U'?')))));
    }
    return width;
}

void printColumns(const std::vector<Cell>& cells) {
    constexpr std::size_t GAP = 2;
    std::size_t widest = 0;
    for (const Cell& cell : cells) {
        widest = std::max(widest, cell.width);
    }
    const std::size_t columns =
        std::max<std::size_t>(1, (terminalWidth(STDOUT_FILENO) + GAP) / (widest + GAP));
    const std::size_t rows = (cells.size() + columns - 1) / columns;
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t i = row; i < cells.size(); i += rows) {
            const bool last = i + rows >= cells.size();
            std::cout << cells[i].text
                      << std::string(last ? 0 : widest + GAP - cells[i].width, ' ');
        }
        std::cout << '\n';
    }
}

}  // namespace storage::kvxtool
