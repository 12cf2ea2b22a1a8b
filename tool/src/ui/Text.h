#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace storage::kvxtool {

/// Takes the first character off `text`; empty, with nothing taken, when it is not valid UTF-8.
std::optional<char32_t> takeCharacter(std::string_view& text);

/// Converts UTF-8 to UTF-16; empty when `utf8` is not valid UTF-8.
std::optional<std::u16string> toUtf16(std::string_view utf8);
std::string toUtf8(std::u16string text);

/// Writes what could trick a terminal or break a line (control and bidirectional formatting
/// characters, bytes that are not UTF-8) as a backslash escape, everything else as it is.
std::string escaped(std::string_view text);

/// A word of the service as people read it: "READ_ONLY" as "read-only".
std::string readable(std::string word);

/// "512", "1.5K", "256M": three digits at most before the unit.
std::string humanSize(unsigned long bytes);

/// Local time as "2026-01-31 09:05", or to the nanosecond and with the zone.
std::string shortTime(std::chrono::system_clock::time_point time);
std::string exactTime(std::chrono::system_clock::time_point time);

/// RFC 3339 in UTC, for programs: "2026-01-31T09:05:00Z", with a fraction when there is one.
std::string utcTime(std::chrono::system_clock::time_point time);

}  // namespace storage::kvxtool
