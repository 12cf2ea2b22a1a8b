#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/Running.h"

namespace storage::kvxtool {
namespace {

void statistics(const kvxstore::Store& store, Invocation& invocation) {
    const kvxstore::Statistics counts = store.statistics();
    const std::pair<const char*, unsigned long> all[] = {
        {"users", counts.users},   {"buckets", counts.buckets},         {"folders", counts.folders},
        {"files", counts.files},   {"versions", counts.versions},       {"handles", counts.handles},
        {"grants", counts.grants}, {"invitations", counts.invitations}, {"used", counts.used},
        {"stored", counts.stored}};
    Json object = Json::object();
    std::string text;
    for (const auto& [name, count] : all) {
        object[name] = count;
        text += (text.empty() ? "" : "\n") + std::string(name) + ": " + std::to_string(count);
    }
    invocation.out.print(object, text);
}

}  // namespace

Command statisticsCommand() {
    return {
        .name = "statistics",
        .summary = "Count what there is in the store",
        .group = "Administration",
        .notes =
            R"(Sizes are in bytes: "used" as the quotas count, "stored" on the disk. Reads all of the
store.)",
        .examples = {"kvx statistics"},
        .run = asAdministrator(statistics)};
}

}  // namespace storage::kvxtool
