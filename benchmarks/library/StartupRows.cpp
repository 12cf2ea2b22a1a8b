#include <spawn.h>
#include <sys/wait.h>

#include <stdexcept>

#include "library/Rows.h"

namespace bench {

namespace {

Contestant starting(const std::string& name, const char* program) {
    return timed(
        name,
        [program] {
            char* arguments[] = {const_cast<char*>(program), nullptr};
            pid_t child = 0;
            int status = -1;
            if (posix_spawn(&child, program, nullptr, nullptr, arguments, nullptr) != 0 ||
                waitpid(child, &status, 0) != child || status != 0) {
                throw std::runtime_error(std::string("cannot run ") + program);
            }
        },
        roundTime);
}

}  // namespace

std::vector<Row> startupRows() {
    return {{"Start-up",
             "a program from start to end",
             "start",
             {starting("linked with kvxclient", STARTUP_WITH),
              asMark(starting("linked with Boost.Thread alone", STARTUP_BOOST)),
              asMark(starting("linked with the standard library alone", STARTUP_WITHOUT))}}};
}

}  // namespace bench
