#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

kvxstore::PruneRules rulesOf(const Invocation& invocation) {
    kvxstore::PruneRules rules;
    if (invocation.has("--keep-last")) {
        rules.keepLast = static_cast<unsigned long>(invocation.number("--keep-last"));
    }
    if (invocation.has("--keep-days")) {
        rules.keepFor =
            std::chrono::hours(24) * static_cast<long>(invocation.number("--keep-days"));
    }
    const bool damaged = invocation.has("--damaged");
    if (damaged && (rules.keepLast || rules.keepFor || invocation.has("--bucket"))) {
        throw Failure(ExitCode::USAGE, "--damaged", "it goes with --dry-run only");
    }
    if (!damaged && !rules.keepLast && !rules.keepFor) {
        throw Failure(ExitCode::USAGE, "--keep-last",
                      "a rule is needed: this, --keep-days or --damaged");
    }
    rules.bucket = utf16Argument(invocation.text("--bucket"));
    rules.dryRun = invocation.has("--dry-run");
    return rules;
}

kvxstore::Pruned pruneStore(const kvxstore::Store& store, const kvxstore::PruneRules& rules,
                            bool damaged, const std::string& bucket) {
    try {
        return damaged ? store.pruneDamaged(rules.dryRun) : store.prune(rules);
    } catch (const kvxstore::StoreError& error) {
        if (error.code() == kvxstore::StoreErrorCode::NOT_FOUND) {
            throw Failure(ExitCode::NOT_FOUND, bucket, "there is no such bucket");
        }
        throw;
    }
}

void prune(const kvxstore::Store& store, Invocation& invocation) {
    const kvxstore::PruneRules rules = rulesOf(invocation);
    const kvxstore::Pruned pruned =
        pruneStore(store, rules, invocation.has("--damaged"), invocation.text("--bucket"));
    invocation.out.print(
        {{"versions", pruned.versions}, {"size", pruned.bytes}, {"dryRun", rules.dryRun}},
        std::string(rules.dryRun ? "would remove " : "removed ") + std::to_string(pruned.versions) +
            (pruned.versions == 1 ? " version, size " : " versions, size ") +
            humanSize(pruned.bytes));
}

}  // namespace

Command pruneCommand() {
    return {
        .name = "prune",
        .summary = "Remove old versions of files",
        .group = "Administration",
        .options =
            {option("--keep-last", "N",
                    "Keep the last N versions of each file, the current one included")
                 .inRange(1, 1'000'000'000),
             option("--keep-days", "D", "Keep the versions of the last D days").inRange(0, 36'500),
             flag("--damaged", "Remove the old versions that kvx verify finds damaged"),
             option("--bucket", "NAME", "Look at this bucket only"),
             flag("-n,--dry-run", "Only say how many versions would go")},
        .notes =
            R"(A version goes when none of the given rules keeps it; the current version of a file always
stays. What is removed no longer counts in the quota. A damaged current version is mended by putting
the file again; then the damaged one goes as well.)",
        .examples = {"kvx prune --keep-last 10 --keep-days 30", "kvx prune -n --keep-last 1",
                     "kvx prune --damaged"},
        .run = asAdministrator(prune)};
}

}  // namespace storage::kvxtool
