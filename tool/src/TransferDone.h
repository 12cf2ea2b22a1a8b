#pragma once

#include <filesystem>
#include <functional>

namespace storage::kvxtool {

/// Takes the local side of a file that was transferred, and its size.
using TransferDone = std::function<void(const std::filesystem::path&, unsigned long)>;

}  // namespace storage::kvxtool
