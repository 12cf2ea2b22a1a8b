#pragma once

#include <nlohmann/json.hpp>

namespace storage::kvxtool {

/// Keeps the order in which its fields are set.
using Json = nlohmann::ordered_json;

/// Prints a line of standard output for programs. What is not valid UTF-8 becomes U+FFFD.
void printJson(const Json& object);

}  // namespace storage::kvxtool
