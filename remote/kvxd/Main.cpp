#include <cstdio>
#include <exception>

#include "Daemon.h"
#include "Options.h"

int main(int argc, char** argv) {
    using namespace storage::kvxd;
    Options options;
    if (const auto end = parseCommandLine(argc, argv, options)) {
        return *end;
    }
    try {
        serve(options);
        return 0;
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "kvxd: %s\n", error.what());
        return wrongUsage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kvxd: %s\n", error.what());
        return 1;
    }
}
