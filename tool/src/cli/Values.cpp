#include "cli/Values.h"

#include <charconv>
#include <ctime>
#include <limits>
#include <optional>
#include <utility>

#include "local/LocalFile.h"
#include "ui/Failure.h"

namespace storage::kvxtool {
namespace {

using std::chrono::system_clock;

constexpr unsigned long LARGEST = std::numeric_limits<long>::max();

struct Quantity {
    unsigned long number = 0;  ///< The largest there is for one that is larger.
    std::string_view unit;
};

/// A number and what follows it; empty when there is no number.
std::optional<Quantity> quantityOf(std::string_view text) {
    unsigned long number = std::numeric_limits<unsigned long>::max();
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc::invalid_argument) {
        return std::nullopt;
    }
    return Quantity{number, {rest, end}};
}

std::optional<system_clock::time_point> timeBefore(const std::string& age) {
    using std::chrono::nanoseconds;
    const std::pair<const char*, nanoseconds> units[] = {{"m", std::chrono::minutes(1)},
                                                         {"h", std::chrono::hours(1)},
                                                         {"d", std::chrono::days(1)},
                                                         {"w", std::chrono::weeks(1)}};
    const std::optional<Quantity> quantity = quantityOf(age);
    for (const auto& [unit, length] : units) {
        const auto most = static_cast<unsigned long>(nanoseconds::max() / length);
        if (quantity && quantity->unit == unit && quantity->number > most) {
            throw Failure(ExitCode::USAGE, age, "too long ago");
        }
        if (quantity && quantity->unit == unit) {
            return system_clock::now() - static_cast<long>(quantity->number) * length;
        }
    }
    return std::nullopt;
}

}  // namespace

unsigned long parseSize(std::string_view size, const std::string& typed, const char* examples) {
    constexpr std::string_view UNITS = "KMGTPE";
    const std::optional<Quantity> quantity = quantityOf(size);
    const std::string_view unit = quantity ? quantity->unit : "?";
    const std::size_t power = unit.empty() ? 0 : UNITS.find(unit) + 1;
    if (unit.size() > 1 || (power == 0 && !unit.empty())) {
        throw Failure(ExitCode::USAGE, typed, std::string("not a size: write ") + examples);
    }
    if (quantity->number > LARGEST >> 10 * power) {
        throw Failure(ExitCode::USAGE, typed, "the size is too large: it must be less than 8E");
    }
    return quantity->number << 10 * power;
}

system_clock::time_point parseTime(const std::string& typed) {
    if (const auto time = timeBefore(typed)) {
        return *time;
    }
    for (const char* format : {"%Y-%m-%d", "%Y-%m-%d %H:%M", "%Y-%m-%d %H:%M:%S",
                               "%Y-%m-%dT%H:%M:%S", "%Y-%m-%dT%H:%M:%SZ"}) {
        std::tm time{};
        time.tm_isdst = -1;
        const char* end = strptime(typed.c_str(), format, &time);
        const int day = time.tm_mday;
        const std::time_t seconds = typed.ends_with('Z') ? timegm(&time) : mktime(&time);
        // The 31st of a shorter month would become a day of the next.
        if (end != nullptr && *end == '\0' && time.tm_mday == day) {
            return timeOf({seconds, 0});
        }
    }
    throw Failure(ExitCode::USAGE, typed, "not a time: write 7d, 12h or 2026-01-31");
}

}  // namespace storage::kvxtool
