#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "session/StoreLocation.h"
#include "storage/kvxstore/Store.h"
#include "ui/Progress.h"

namespace storage::kvxtool {
namespace {

using kvxstore::StoreErrorCode;

std::string hex(unsigned long number) {
    char text[17];
    std::snprintf(text, sizeof text, "%016lx", number);
    return text;
}

StoreLocation locationOf(const std::string& argument) {
    StoreLocation location = StoreLocation::find(argument);
    if (location.isRemote()) {
        throw Failure(ExitCode::USAGE, location.text(),
                      "a server's store is migrated on its machine, by the name of its file");
    }
    return location;
}

Failure failureOf(const kvxstore::StoreError& error) {
    switch (error.code()) {
        case StoreErrorCode::NOT_FOUND:
            return {ExitCode::NOT_FOUND, "", error.what()};
        case StoreErrorCode::ALREADY_EXISTS:
            return {ExitCode::CONFLICT, "", error.what()};
        case StoreErrorCode::DAMAGED:
            return {ExitCode::STORE_DAMAGED, "", error.what()};
        default:
            return Failure::of("", std::make_exception_ptr(error));
    }
}

void migrate(Invocation& invocation) {
    const StoreLocation from = locationOf(invocation.text("FROM"));
    const StoreLocation to = locationOf(invocation.text("TO"));
    Progress& bar = invocation.diagnostics.progress();
    std::optional<unsigned long> shown;
    const auto show = [&](const kvxstore::MigrationProgress& progress) {
        if (!shown) {
            bar.begin(progress.totalBytes, 0);
        }
        bar.addBytes(progress.bytes - shown.value_or(0));
        shown = progress.bytes;
    };
    unsigned long rows = 0;
    try {
        for (const auto& table : kvxstore::Store::migrate(from.url(), to.url(), show)) {
            rows += table.rows;
            const Json object{
                {"table", table.name}, {"rows", table.rows}, {"checksum", hex(table.checksum)}};
            bar.printAround([&] {
                invocation.out.detail([&] { return object; },
                                      [&] {
                                          return table.name + ": " + std::to_string(table.rows) +
                                                 " rows, checksum " + hex(table.checksum);
                                      });
            });
        }
    } catch (const kvxstore::StoreError& error) {
        throw failureOf(error);
    }
    bar.end();
    invocation.out.remark({{"from", from.text()}, {"to", to.text()}, {"rows", rows}},
                          "migrated to " + to.text() + ": all " + std::to_string(rows) +
                              " rows are equal, and all contents have their checksums");
}

}  // namespace

Command migrateCommand() {
    return {
        .name = "migrate",
        .summary = "Copy a whole store into a new one, on the same engine or another",
        .group = "Administration",
        .options = {argument("FROM", "The store to copy, by URL or path; it stays as it is"),
                    argument("TO", "The new store, by URL or path")},
        .notes =
            R"(Copies users, tokens, buckets, files with all versions, rights, invitations and policies
between a file and a PostgreSQL server, either way, or between two of a kind; what is copied can
be copied back. Then it compares every row of both stores, and reads all contents again. Nobody
is logged in to the new store; tokens are the same. Others can go on working with the old one,
but what they change from then on is not copied.

Interrupted, the same command goes on, unless the old store has changed meanwhile: then remove
the new one and begin anew. Until it has ended, nothing else opens the new store. Damage in the
old store ends it: see kvx verify first.)",
        .examples = {"kvx migrate /srv/team.db postgresql://kvx@db1/kvx",
                     "kvx migrate postgresql://kvx@db1/kvx /mnt/disk/2026-01-31.db"},
        .run = [](Invocation& invocation) {
            invocation.diagnostics.guard("", [&] { migrate(invocation); });
        }};
}

}  // namespace storage::kvxtool
