#pragma once

/// @file
/// The command line of kvxd.

#include <optional>
#include <string>

#include "storage/kvxserver/Server.h"

namespace storage::kvxd {

inline constexpr int wrongUsage = 2;

struct Options {
    kvxserver::ServerOptions server;
    std::string store;
    std::string portFile;
    std::string log = "info";
};

/// Reads the command line and the environment. Returns the exit code when the program ends here:
/// after --help, or an error that it has told.
std::optional<int> parseCommandLine(int argc, char** argv, Options& options);

}  // namespace storage::kvxd
