#include <filesystem>
#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/Running.h"

namespace storage::kvxtool {
namespace {

using kvxstore::StoreErrorCode;

void backup(const kvxstore::Store& store, Invocation& invocation) {
    const std::string& file = invocation.text("FILE");
    try {
        store.backup(file);
    } catch (const kvxstore::StoreError& error) {
        switch (error.code()) {
            case StoreErrorCode::ALREADY_EXISTS:
                throw Failure(ExitCode::CONFLICT, "", error.what());
            case StoreErrorCode::NOT_FOUND:
                throw Failure(ExitCode::NOT_FOUND, file, "no such folder to hold it");
            case StoreErrorCode::DAMAGED:
                throw Failure(ExitCode::STORE_DAMAGED, "", "the store is damaged: see kvx verify");
            default:
                throw;
        }
    }
    const auto size = std::filesystem::file_size(file);
    invocation.out.remark({{"backup", file}, {"size", size}}, "backed up to " + file);
}

}  // namespace

Command backupCommand() {
    return {
        .name = "backup",
        .summary = "Copy the store into a new file",
        .group = "Administration",
        .options = {argument("FILE", "The copy, which must not exist yet")},
        .notes =
            R"(Others can go on working with the store. The copy is the store as it was at one moment,
verified, and readable for you only. Nobody is logged in to it, and files that were deleted
are not in it; tokens are the same. It is a store as it is: --store FILE opens it. To put it
back, end all programs that use the store, move the store's file and those that begin with
its name and end in -wal and -shm out of the way, and copy the backup to its place.)",
        .examples = {"kvx backup /mnt/disk/store-2026-01-31.db"},
        .run = asAdministrator(backup, "FILE")};
}

}  // namespace storage::kvxtool
