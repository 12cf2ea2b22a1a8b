#include "database/sqlite/SqliteCopy.h"

#include <sqlite3.h>

#include <memory>

#include "database/sqlite/SqliteConnection.h"

namespace storage::kvxstore::database {

namespace {

void runAll(sqlite3* database, const std::string& sql) {
    requireSuccess(database, sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr));
}

}  // namespace

// Page by page and in one step: in several, each change of the source would start it anew. A
// VACUUM INTO would also leave out the free pages, but takes longer, and for that time keeps the
// source's log from beginning anew.
void copyDatabase(sqlite3* source, const char* schema, const std::string& path) {
    sqlite3* target = nullptr;
    const int code = sqlite3_open_v2(
        path.c_str(), &target, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE,
        nullptr);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> closer(target, sqlite3_close);
    requireSuccess(target, code);
    // Whoever asked for the copy syncs it.
    runAll(target, "pragma synchronous = off; pragma journal_mode = off");
    if (sqlite3_backup* copy = sqlite3_backup_init(target, "main", source, schema)) {
        sqlite3_backup_step(copy, -1);
        sqlite3_backup_finish(copy);
    }
    requireSuccess(target, sqlite3_extended_errcode(target));
    // The log of the source must not fit to the copy.
    std::int32_t stamp = 0;
    sqlite3_randomness(sizeof(stamp), &stamp);
    runAll(target, "pragma journal_mode = delete; pragma user_version = " + std::to_string(stamp));
}

}  // namespace storage::kvxstore::database
