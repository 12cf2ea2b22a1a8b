#include <fnmatch.h>

#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>

#include "cli/Values.h"
#include "commands/Commands.h"
#include "commands/Running.h"
#include "remote/RemoteTree.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

using Time = std::chrono::system_clock::time_point;

/// "+10M" is larger than that, "-10M" smaller, "10M" of exactly this size.
struct SizeTest {
    explicit SizeTest(const std::string& text)
        : sign(text.find_first_of("+-") == 0 ? text[0] : '='),
          bytes(parseSize(std::string_view(text).substr(sign == '=' ? 0 : 1), text,
                          "+10M, -4K or 512")) {}

    bool operator()(unsigned long size) const {
        return sign == '+' ? size > bytes : sign == '-' ? size < bytes : size == bytes;
    }

    char sign;
    unsigned long bytes;
};

class Matcher {
public:
    explicit Matcher(const Invocation& invocation)
        : pattern_(invocation.text("--name")),
          patternAnyCase_(invocation.text("--iname")),
          type_(invocation.text("--type")) {
        if (invocation.has("--size")) {
            size_.emplace(invocation.text("--size"));
        }
        if (invocation.has("--newer")) {
            newer_ = parseTime(invocation.text("--newer"));
        }
        if (invocation.has("--older")) {
            older_ = parseTime(invocation.text("--older"));
        }
    }

    bool matches(const RemoteEntry& entry) const {
        return (type_.empty() || (type_ == "d") == entry.folder) &&
               (!size_ || (!entry.folder && (*size_)(entry.size))) &&
               (!newer_ || entry.modified > *newer_) && (!older_ || entry.modified < *older_) &&
               matchesName(toUtf8(entry.name));
    }

private:
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

/// All names are read before anything is printed.
std::vector<RemoteName> startsOf(const Invocation& invocation) {
    std::vector<RemoteName> starts;
    for (const std::string& name : namesOrRoot(invocation)) {
        if (!RemoteName::isRemote(name) && !name.starts_with('/')) {
            throw Failure(ExitCode::USAGE, name,
                          "not a remote name: write kvx find :/folder --name '*.txt'");
        }
        starts.push_back(RemoteName::parse(name));
    }
    return starts;
}

void find(const Session& session, Invocation& invocation) {
    const Matcher matcher(invocation);
    const bool endWithNul = invocation.has("--print0") && !invocation.out.isJson();
    const auto check = [&](const RemoteName& name, const RemoteEntry& entry) {
        if (!matcher.matches(entry)) {
            return;
        }
        if (endWithNul) {
            std::cout << name.text() << '\0';
        } else {
            invocation.out.print([&] { return jsonOf(name, entry); },
                                 [&] { return shown(name.text()); });
        }
    };
    for (const RemoteName& start : startsOf(invocation)) {
        invocation.diagnostics.guard(start.text(), [&] {
            const RemoteEntry entry = readEntry(session.files(), start);
            check(start, entry);
            if (entry.folder) {
                walkFolders(session.files(), invocation.diagnostics, start, true,
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

Command findCommand() {
    return {
        .name = "find",
        .summary = "Find files and folders by what they are",
        .group = "Files",
        .options = {argument("REMOTE", "Where to search; the root of your bucket by default",
                             ANY_NUMBER),
                    option("--name", "PATTERN", "Names that fit, as '*.txt'"),
                    option("--iname", "PATTERN", "The same, in capitals or not"),
                    option("--type", "KIND", "f: files only; d: folders only").oneOf({"f", "d"}),
                    option("--size", "SIZE",
                           "Files larger (+10M), smaller (-10M) or of that size (10M); K, M, G, T"),
                    option("--newer", "TIME", "Modified after a time, or less long ago (7d)"),
                    option("--older", "TIME", "Modified before a time, or longer ago (7d)"),
                    flag("-0,--print0", "End each name with a zero byte, not a line")},
        .notes =
            R"(Searches each name and all below it, hidden names included. What is found meets all
conditions. A TIME is an age in minutes, hours, days or weeks (90m, 12h, 7d, 2w), or
2026-01-31, '2026-01-31 09:05' in local time, or 2026-01-31T09:05:00Z.)",
        .examples = {"kvx find --name '*.pdf' --newer 7d", "kvx find team:/ --type f --size +100M",
                     "kvx find /tmp --older 30d --type f -0 | xargs -0 -r kvx rm -f --"},
        .run = inSession(find)};
}

}  // namespace storage::kvxtool
