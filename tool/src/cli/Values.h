#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace storage::kvxtool {

// Values that have a notation of their own. Each throws Failure, with what was typed and examples
// of what can be, for anything else.

/// The bytes that `size` stands for, as "1000", "512M" or "10G"; `typed` may have more around it.
unsigned long parseSize(std::string_view size, const std::string& typed, const char* examples);

/// A time as "2026-01-31", "2026-01-31 09:05" or "2026-01-31T09:05:00Z", or an age as "7d".
std::chrono::system_clock::time_point parseTime(const std::string& typed);

}  // namespace storage::kvxtool
