#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

/// A sentence for each kind of damage.
std::vector<std::string> damageOf(const kvxstore::Store& store) try {
    return store.verify();
} catch (const kvxstore::StoreError& error) {
    return {error.what()};  // Too damaged to be looked through.
}

void verify(const kvxstore::Store& store, Invocation& invocation) {
    const std::vector<std::string> damage = damageOf(store);
    for (const std::string& kind : damage) {
        invocation.out.print({{"damage", kind}}, escaped(kind));
    }
    if (damage.empty()) {
        invocation.out.remark("no damage found");
    } else {
        invocation.diagnostics.fail({ExitCode::STORE_DAMAGED, "", "the store is damaged"});
    }
}

}  // namespace

Command verifyCommand() {
    return {.name = "verify",
            .summary = "Look for damage in the store",
            .group = "Administration",
            .notes = "Reads all of the store, and prints a line for each kind of damage.",
            .examples = {"kvx verify --store /srv/team.db"},
            .run = asAdministrator(verify)};
}

}  // namespace storage::kvxtool
