#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "storage/kvxremote/Remote.h"

namespace storage::kvxremote {

/// What a URL, options and environment say together.
struct Settings {
    RemoteOptions options;
    /// Of each server, up to the request's target: "https://host:7420".
    std::vector<std::string> servers;
    /// The socket in the file system, empty for none.
    std::string socketPath;
    bool encrypted = false;
    /// Whether proxies of the environment are left aside.
    bool direct = false;
};

/// The value of an environment variable, empty without one.
using Environment = std::function<std::string(const char* name)>;

/// Throws std::invalid_argument when the URL or an option is wrong.
Settings parseSettings(std::string_view url, RemoteOptions options, const Environment& environment);

}  // namespace storage::kvxremote
