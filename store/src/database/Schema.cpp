#include "database/Schema.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <utility>

namespace storage::kvxstore::database {

namespace {

// Times are nanoseconds since the epoch, texts UTF-8 compared by bytes. Words in capitals are those
// of a Dialect.
constexpr std::string_view statements[] = {
    "create table schema_version(n INT not null)",
    // Distinguishes the watermarks of this store from those of others.
    "create table identity(id TEXT not null)",

    "create table users(id ID, name TEXT not null unique,"
    " email FREE not null, first_name FREE not null, last_name FREE not null,"
    " quota INT not null)",
    "create table tokens(hash BYTES primary key, owner INT not null) NOROWID",
    "create table sessions(hash BYTES primary key, owner INT not null,"
    " expires INT not null) NOROWID",
    "create index sessions_owner on sessions(owner)",

    "create table buckets(id ID, name TEXT not null unique,"
    " owner INT not null, root INT not null, seq INT not null, used INT not null,"
    " structure INT not null default 0) HOT",
    "create index buckets_owner on buckets(owner)",

    // The parent of a root is 0, that of a deleted node -bucket. kind is 0 for a folder, 1 for a
    // file; seq is the bucket's sequence at the node's last change; label is the file's current
    // version; shared says whether grants or invitations name the node.
    "create table nodes(id ID, bucket INT not null,"
    " parent INT not null, name TEXT not null, kind INT not null, seq INT not null,"
    " size INT not null, label INT not null, created INT not null,"
    " modified INT not null, client_modified INT not null,"
    " shared INT not null default 0, unique(parent, name))",
    "create index nodes_change on nodes(bucket, seq)",
    // The names that a node left and no other has taken: the list of changes cannot get them from
    // the nodes.
    "create table vacated(parent INT not null, name TEXT not null, bucket INT not null,"
    " seq INT not null, node INT not null, kind INT not null,"
    " primary key(parent, name)) NOROWID",
    "create index vacated_change on vacated(bucket, seq)",
    // Whatever names a committed content also holds the checksum of the content's row, so that a
    // reference to another content is found.
    "create table versions(node INT not null, label INT not null,"
    " content INT not null, content_type FREE not null, created INT not null,"
    " checksum INT not null default 0, primary key(node, label)) NOROWID",
    "create index versions_content on versions(content)",

    // A committed content never changes; stored counts the bytes in its chunks, and checksum is
    // that of its extents. It is 0 until the commit, and for contents of the first schema.
    "create table contents(id KEY, size INT not null, stored INT not null,"
    " checksum INT not null default 0)",
    // An extent holds the checksums that it expects of the blocks of its chunk; contents share
    // chunks. Chunk 0 is a hole of as many chunks as the size says; what no extent of a content
    // without a checksum covers is a hole too. An extent of the first schema has no checksums: its
    // chunk's own holds for it.
    "create table extents(content INT not null, idx INT not null, chunk INT not null,"
    " size INT not null, checksums BYTES not null default '',"
    " primary key(content, idx)) NOROWID",
    "create index extents_chunk on extents(chunk)",
    "create table chunks(id KEY, checksum INT not null, data BYTES not null)",
    // Contents that may be unused, with repetitions: who finds one in use forgets only the row that
    // was there before, so that nothing is missed that lets go of the content meanwhile.
    "create table garbage(id KEY, content INT not null)",
    // A content that only handles and downloads hold counts so many bytes in the bucket of the last
    // version that named it.
    "create table charges(content INT primary key, bucket INT not null, charge INT not null)",
    "create table downloads(hash BYTES primary key, content INT not null,"
    " expires INT not null, checksum INT not null default 0,"
    " owner INT not null default 0, node INT not null default 0) NOROWID",
    "create index downloads_content on downloads(content)",
    "create index downloads_owner on downloads(owner)",

    // The heartbeat is when an instance last renewed the lease of its open handles.
    "create table instances(id INT primary key, heartbeat INT not null)",
    // base is the content that was opened, work the one with the changes, 0 for none; the checksum
    // is that of the base's row. node is 0 for a file that the commit creates. The bytes in work
    // count in bucket.
    "create table handles(hash BYTES primary key, instance INT not null, owner INT not null,"
    " bucket INT not null, node INT not null, parent INT not null, name TEXT not null,"
    " base INT not null, work INT not null, writable INT not null,"
    " exclusive INT not null, content_type FREE not null,"
    " checksum INT not null default 0) NOROWID",
    "create index handles_base on handles(base)",
    "create index handles_work on handles(work)",
    "create index handles_owner on handles(owner)",

    // level is 1 to read, 2 to write as well. A grantee or recipient 0 is a user who does not exist
    // yet. A grant by an invitation names it; seq is the bucket's sequence at the grant.
    "create table grants(id ID, node INT not null,"
    " grantee INT not null, name TEXT not null, level INT not null,"
    " invitation TEXT not null, seq INT not null, unique(node, name, invitation))",
    "create index grants_grantee on grants(grantee)",
    "create table invitations(id TEXT primary key, node INT not null, inviter INT not null,"
    " recipient INT not null, recipient_name FREE not null, type INT not null,"
    " level INT not null, status INT not null, created INT not null,"
    " origin TEXT not null) NOROWID",
    "create index invitations_node on invitations(node)",
    "create index invitations_inviter on invitations(inviter)",
    "create index invitations_recipient on invitations(recipient)",
    "create table policies(node INT primary key, versions INT not null,"
    " public_access INT not null)",
    // Rows to lock: 'clean' by who cleans, 'directory' by who needs the names of users to stay.
    "create table locks(name TEXT primary key) NOROWID",
    "insert into locks values('clean'), ('directory')",
};

// Reads no contents: what a checksum has to be made for keeps the old one.
constexpr std::string_view fromFirstSchema[] = {
    "alter table versions add column checksum integer not null default 0",
    "alter table contents add column checksum integer not null default 0",
    "alter table extents add column checksums blob not null default ''",
    "alter table garbage add column bucket integer not null default 0",
    "alter table garbage add column charge integer not null default 0",
    "alter table garbage add column held integer not null default 0",
    "create index garbage_waiting on garbage(content) where held = 0",
    "alter table downloads add column checksum integer not null default 0",
    "alter table downloads add column owner integer not null default 0",
    "alter table downloads add column node integer not null default 0",
    "create index downloads_owner on downloads(owner)",
    "alter table handles add column checksum integer not null default 0",
    "create index handles_owner on handles(owner)",
    // Every bucket has a trash of its own.
    "update nodes set parent = -bucket where parent = -1",
};

constexpr std::string_view fromSecondSchema[] = {
    "alter table buckets add column structure integer not null default 0",
    "create table charges(content integer primary key, bucket integer not null,"
    " charge integer not null)",
    "insert into charges select content, bucket, charge from garbage where charge > 0",
    "alter table garbage rename to old_garbage",
    "create table garbage(id integer primary key, content integer not null)",
    "insert into garbage(content) select content from old_garbage",
    "drop table old_garbage",
    "create table locks(name text primary key) without rowid",
    "insert into locks values('clean'), ('directory')",
};

// Of a migration into the store: the number of its latest run, the identity of the source, and a
// checksum of what changes in the source with every other change.
constexpr std::string_view migrationStatement =
    "create table migration(run INT not null, source TEXT not null, state INT not null)";

std::string inDialect(std::string_view statement, const Dialect& dialect) {
    const std::pair<std::string_view, std::string_view> words[] = {
        {"ID", dialect.id},           {"KEY", dialect.key},   {"INT", dialect.integer},
        {"BYTES", dialect.bytes},     {"TEXT", dialect.text}, {"FREE", dialect.freeText},
        {"NOROWID", dialect.noRowId}, {"HOT", dialect.hot}};
    const auto isCapital = [](char c) { return c >= 'A' && c <= 'Z'; };
    std::string sql;
    while (!statement.empty()) {
        std::size_t length = 0;
        while (length < statement.size() && isCapital(statement[length])) {
            ++length;
        }
        const std::string_view word = statement.substr(0, std::max<std::size_t>(length, 1));
        const auto* const found =
            std::ranges::find(words, word, &std::pair<std::string_view, std::string_view>::first);
        sql += found == std::end(words) ? word : found->second;
        statement.remove_prefix(word.size());
    }
    return sql;
}

}  // namespace

std::string newIdentity() {
    std::random_device random;
    std::string identity;
    while (identity.size() < 16) {
        identity += "0123456789abcdef"[random() % 16];
    }
    return identity;
}

void requirePurpose(Purpose purpose, std::int64_t version) {
    const bool isUnfinished = version >= unfinishedVersion - schemaVersion;
    if (purpose != Purpose::TARGET && isUnfinished) {
        throw StoreError(StoreErrorCode::IN_USE,
                         "the migration into the store has not ended: kvx migrate goes on with it");
    }
    if (purpose == Purpose::TARGET && !isUnfinished) {
        throw StoreError(StoreErrorCode::ALREADY_EXISTS, "there is a store already");
    }
    if (isUnfinished && version != unfinishedVersion) {
        throw StoreError(StoreErrorCode::NEWER_VERSION,
                         "another version of this software began the migration into the store");
    }
}

void createSchema(Connection& connection, const Dialect& dialect, Purpose purpose) {
    for (const std::string_view statement : statements) {
        connection.execute(inDialect(statement, dialect));
    }
    const bool isTarget = purpose == Purpose::TARGET;
    if (isTarget) {
        connection.execute(inDialect(migrationStatement, dialect));
    }
    connection.execute("insert into schema_version values($1)",
                       {isTarget ? unfinishedVersion : schemaVersion});
    connection.execute("insert into identity values($1)", {newIdentity()});
}

void upgradeSchema(Connection& connection) {
    const std::int64_t before = connection.number("select n from schema_version");
    const auto run = [&](const auto& list) {
        for (const std::string_view statement : list) {
            connection.execute(statement);
        }
    };
    if (before < 2) {
        run(fromFirstSchema);
    }
    if (before < 3) {
        run(fromSecondSchema);
        connection.execute("update schema_version set n = $1", {schemaVersion});
    }
}

}  // namespace storage::kvxstore::database
