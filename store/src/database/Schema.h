#pragma once

#include "database/Connection.h"

namespace storage::kvxstore::database {

/// The version of the schema that this code writes and reads.
constexpr std::int64_t schemaVersion = 3;

/// In its place for as long as a migration fills the tables; no program takes it for its own.
constexpr std::int64_t unfinishedVersion = 1'000'000'000 + schemaVersion;

/// Throws a StoreError when a store with that version of the schema is not for this purpose.
void requirePurpose(Purpose purpose, std::int64_t version);

/// The words in which engines differ, for the statements that make the tables.
struct Dialect {
    /// A column whose ids are never used twice, and one whose may be.
    std::string_view id;
    std::string_view key;
    std::string_view integer;
    std::string_view bytes;
    /// Text that is compared by bytes, and FreeText.
    std::string_view text;
    std::string_view freeText;
    /// After a table that has a key of its own, and after one whose rows often change.
    std::string_view noRowId;
    std::string_view hot;
};

/// Distinguishes the watermarks of a store from those of others.
std::string newIdentity();

/// Makes all tables; for a TARGET also one of the migration, without a row.
/// REQUIRES: an empty database and a transaction.
void createSchema(Connection& connection, const Dialect& dialect, Purpose purpose);

/// Brings tables of an earlier version to the present one.
/// REQUIRES: a transaction for writing.
void upgradeSchema(Connection& connection);

}  // namespace storage::kvxstore::database
