#include <fnmatch.h>

#include <charconv>
#include <compare>
#include <ctime>
#include <iostream>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "commands/Commands.h"
#include "remote/RemoteTree.h"
#include "ui/Json.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

using Time = std::chrono::system_clock::time_point;

struct FindOptions {
    std::vector<std::string> names;
    std::string name;
    std::string nameAnyCase;
    std::string type;
    std::string size;
    std::string newer;
    std::string older;
    bool endWithNul = false;
    bool json = false;
};

/// A number and the rest of the text; empty when there is no number.
std::optional<std::pair<unsigned long, std::string>> numberAndUnit(const std::string& text) {
    unsigned long number = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc()) {
        return std::nullopt;
    }
    return {{number, std::string(rest, end)}};
}

/// "+10M" is larger than that, "-10M" smaller, "10M" of exactly this size.
struct SizeTest {
    explicit SizeTest(const std::string& text)
        : sign(text.find_first_of("+-") == 0 ? text[0] : '=') {
        const auto number = numberAndUnit(text.substr(sign == '=' ? 0 : 1));
        const std::string units = "KMGT";
        const std::size_t unit = number && number->second.size() == 1
                                     ? units.find(number->second[0])
                                     : std::string::npos;
        if (!number || (unit == std::string::npos && !number->second.empty())) {
            throw Failure(ExitCode::USAGE, text, "not a size: write +10M, -4K or 512");
        }
        bytes = number->second.empty() ? number->first : number->first << (10 * (unit + 1));
    }

    bool operator()(unsigned long size) const {
        return sign == '+' ? size > bytes : sign == '-' ? size < bytes : size == bytes;
    }

    char sign;
    unsigned long bytes = 0;
};

/// An age as "7d", or a time as "2026-01-31", "2026-01-31 09:05" or "2026-01-31T09:05:00Z".
Time parseTime(const std::string& text) {
    const std::pair<const char*, std::chrono::seconds> units[] = {{"m", std::chrono::minutes(1)},
                                                                  {"h", std::chrono::hours(1)},
                                                                  {"d", std::chrono::days(1)},
                                                                  {"w", std::chrono::weeks(1)}};
    if (const auto age = numberAndUnit(text)) {
        for (const auto& [unit, length] : units) {
            if (age->second == unit) {
                return std::chrono::system_clock::now() - static_cast<long>(age->first) * length;
            }
        }
    }
    for (const char* format : {"%Y-%m-%d", "%Y-%m-%d %H:%M", "%Y-%m-%d %H:%M:%S",
                               "%Y-%m-%dT%H:%M:%S", "%Y-%m-%dT%H:%M:%SZ"}) {
        std::tm time{};
        time.tm_isdst = -1;
        const char* end = strptime(text.c_str(), format, &time);
        const int day = time.tm_mday;
        const std::time_t seconds = text.ends_with('Z') ? timegm(&time) : mktime(&time);
        // The 31st of a shorter month would become a day of the next.
        if (end != nullptr && *end == '\0' && time.tm_mday == day) {
            return std::chrono::system_clock::from_time_t(seconds);
        }
    }
    throw Failure(ExitCode::USAGE, text, "not a time: write 7d, 12h or 2026-01-31");
}

class Matcher {
public:
    explicit Matcher(const FindOptions& options)
        : pattern_(patternOf(options.name)),
          patternAnyCase_(patternOf(options.nameAnyCase)),
          type_(options.type) {
        if (!options.size.empty()) {
            size_.emplace(options.size);
        }
        if (!options.newer.empty()) {
            newer_ = parseTime(options.newer);
        }
        if (!options.older.empty()) {
            older_ = parseTime(options.older);
        }
    }

    bool matches(const RemoteEntry& entry) const {
        return (type_.empty() || (type_ == "d") == entry.folder) &&
               (!size_ || (!entry.folder && (*size_)(entry.size))) &&
               (!newer_ || entry.modified > *newer_) && (!older_ || entry.modified < *older_) &&
               matchesName(toUtf8(entry.name));
    }

private:
    // No name has a slash: what protects "[ab]" from the parser of the command line says nothing.
    static std::string patternOf(const std::string& option) {
        return option.starts_with("./[") ? option.substr(2) : option;
    }

    bool matchesName(const std::string& name) const {
        const auto fits = [&](const std::string& pattern, int flags) {
            return pattern.empty() || fnmatch(pattern.c_str(), name.c_str(), flags) == 0;
        };
        return fits(pattern_, 0) && fits(patternAnyCase_, FNM_CASEFOLD);
    }

    std::string pattern_;
    std::string patternAnyCase_;
    std::string type_;
    std::optional<SizeTest> size_;
    std::optional<Time> newer_;
    std::optional<Time> older_;
};

void print(const RemoteName& name, const RemoteEntry& entry, const FindOptions& options) {
    if (options.json) {
        printJson(jsonOf(name, entry));
    } else if (options.endWithNul) {
        std::cout << name.text() << '\0';
    } else {
        std::cout << shown(name.text()) << '\n';
    }
}

void find(const kvxclient::FileAccess& files, Diagnostics& diagnostics,
          const FindOptions& options) {
    const Matcher matcher(options);
    const auto check = [&](const RemoteName& name, const RemoteEntry& entry) {
        if (matcher.matches(entry)) {
            print(name, entry, options);
        }
    };
    std::vector<RemoteName> starts;  // All are read before anything is printed.
    for (const std::string& argument : options.names) {
        if (!RemoteName::isRemote(argument) && !argument.starts_with('/')) {
            throw Failure(ExitCode::USAGE, argument,
                          "not a remote name: write kvx find :/folder --name '*.txt'");
        }
        starts.push_back(RemoteName::parse(argument));
    }
    for (const RemoteName& start : starts) {
        diagnostics.guard(start.text(), [&] {
            const RemoteEntry entry = readEntry(files, start);
            check(start, entry);
            if (entry.folder) {
                walkFolders(files, diagnostics, start, true,
                            [&](const RemoteName& folder, const std::vector<RemoteEntry>& entries) {
                                for (const RemoteEntry& each : entries) {
                                    check(folder.child(each.name), each);
                                }
                            });
            }
        });
    }
}

}  // namespace

void addFind(CLI::App& program, Invocation& invocation) {
    auto options = std::make_shared<FindOptions>();
    CLI::App* command = program.add_subcommand("find", "Find files and folders by what they are");
    command
        ->add_option("REMOTE", options->names,
                     "Where to search; the root of your bucket by default")
        ->type_name("");
    command->add_option("--name", options->name, "Names that fit, as '*.txt'")
        ->type_name("PATTERN");
    command->add_option("--iname", options->nameAnyCase, "The same, in capitals or not")
        ->type_name("PATTERN");
    command->add_option("--type", options->type, "f: files only; d: folders only")
        ->type_name("KIND")
        ->check(CLI::IsMember({"f", "d"}));
    command
        ->add_option("--size", options->size,
                     "Files larger (+10M), smaller (-10M) or of that size (10M); K, M, G, T")
        ->type_name("SIZE");
    command->add_option("--newer", options->newer, "Modified after a time, or less long ago (7d)")
        ->type_name("TIME");
    command->add_option("--older", options->older, "Modified before a time, or longer ago (7d)")
        ->type_name("TIME");
    command->add_flag("-0,--print0", options->endWithNul,
                      "End each name with a zero byte, not a line");
    command->footer(
        "What is named is searched with all below it, hidden names as well. What is found meets "
        "all\n"
        "conditions. A TIME is an age in minutes, hours, days or weeks (90m, 12h, 7d, 2w), or\n"
        "2026-01-31, '2026-01-31 09:05' in local time, or 2026-01-31T09:05:00Z.\n"
        "\n"
        "Examples:\n"
        "  kvx find --name '*.pdf' --newer 7d\n"
        "  kvx find team:/ --type f --size +100M\n"
        "  kvx find /tmp --older 30d --type f -0 | xargs -0 -r kvx rm -f --");
    command->callback([options, &invocation] {
        options->json = invocation.json;
        if (options->names.empty()) {
            options->names.push_back(":/");
        }
        invocation.runInSession([options](const Session& session, Diagnostics& diagnostics) {
            find(session.files(), diagnostics, *options);
        });
    });
}

}  // namespace storage::kvxtool
