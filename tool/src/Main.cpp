#include <fcntl.h>
#include <unistd.h>

#include <clocale>
#include <iostream>

#include "cli/CommandLine.h"
#include "commands/Commands.h"
#include "local/LocalOutput.h"

int main(int argc, char** argv) {
    using namespace storage::kvxtool;
    std::ios::sync_with_stdio(false);
    if (fcntl(STDIN_FILENO, F_GETFD) < 0) {
        open("/dev/null", O_WRONLY);  // Or the next file opened would be standard input.
    }
    std::setlocale(LC_CTYPE, "C.UTF-8");  // Names are UTF-8 in every locale.
    return runProgram(theProgram("kvx " KVX_VERSION), {argv + 1, argv + argc},
                      LocalOutput::removeTemporaryFilesAndExit);
}
