#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

Json asJson(const kvxstore::Damage& damage) {
    Json object{{"damage", damage.sentence}};
    if (!damage.path.empty()) {
        object["path"] = toUtf8(damage.path);
        object["bucket"] = toUtf8(damage.bucket);
        object["owner"] = toUtf8(damage.owner);
    }
    if (damage.version != 0) {
        object["version"] = damage.version;
        object["current"] = damage.current;
        object["size"] = damage.size;
        object["readable"] = damage.readable;
    }
    return object;
}

void verify(const kvxstore::Store& store, Invocation& invocation) {
    unsigned long found = 0;
    std::exception_ptr unprinted;
    const auto print = [&](const kvxstore::Damage& damage) {
        ++found;
        try {
            invocation.out.print(asJson(damage), escaped(damage.sentence));
        } catch (...) {
            unprinted = std::current_exception();
            throw;
        }
    };
    try {
        store.verify(print);
    } catch (const kvxstore::StoreError& error) {
        if (unprinted) {
            std::rethrow_exception(unprinted);
        }
        if (error.code() != kvxstore::StoreErrorCode::DAMAGED) {
            throw;
        }
        // Too damaged to be looked through.
        kvxstore::Damage damage;
        damage.sentence = error.what();
        print(damage);
    }
    if (found == 0) {
        invocation.out.remark("no damage found");
    } else {
        invocation.diagnostics.fail({ExitCode::STORE_DAMAGED, "", "the store is damaged"});
    }
}

}  // namespace

Command verifyCommand() {
    return {
        .name = "verify",
        .summary = "Look for damage in the store",
        .group = "Administration",
        .notes =
            R"(Reads all of the store, and prints a line for each damage: of a content with the file's path,
bucket, owner and version, and how much of it can be read. Reading damaged bytes fails; kvx get
of another version, and what else is in the store, still work.)",
        .examples = {"kvx verify --store /srv/team.db", "kvx verify --json"},
        .run = asAdministrator(verify)};
}

}  // namespace storage::kvxtool
