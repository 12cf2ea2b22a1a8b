#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

void df(const Session& session, Invocation& invocation) {
    const auto usage = session.configuration().getStorageUsage({});
    const unsigned long used = usage.getStorageUsage();
    const unsigned long quota = usage.getUsageQuota();
    const bool unlimited = quota >= kvxstore::NewUser::UNLIMITED;
    const std::string room = unlimited
                                 ? "quota:  none"
                                 : "quota:  " + humanSize(quota) +
                                       "\nfree:   " + humanSize(used < quota ? quota - used : 0);
    invocation.out.print({{"used", used}, {"quota", unlimited ? Json() : Json(quota)}},
                         "used:   " + humanSize(used) + "\n" + room);
}

}  // namespace

Command dfCommand() {
    return {
        .name = "df",
        .summary = "Show what you store and may store",
        .group = "Configuration",
        .notes =
            R"(Counts all versions of all files in your buckets, whoever wrote them, and what was
removed until it is purged: by kvx sweep, or by a write that needs the room. To make
room, remove files; for old versions alone an administrator has kvx prune.
With --json, sizes are in bytes, and a quota that refuses nothing is null.)",
        .examples = {"kvx df"},
        .run = inSession(df)};
}

}  // namespace storage::kvxtool
