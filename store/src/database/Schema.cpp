#include "database/Schema.h"

namespace storage::kvxstore::database {

namespace {

// Times are nanoseconds since the epoch, texts UTF-8 compared by bytes.
constexpr std::string_view statements[] = {
    "create table schema_version(n integer not null)",
    // Distinguishes the watermarks of this store from those of others.
    "create table identity(id text not null)",

    "create table users(id integer primary key autoincrement, name text not null unique,"
    " email text not null, first_name text not null, last_name text not null,"
    " quota integer not null)",
    "create table tokens(hash blob primary key, owner integer not null) without rowid",
    "create table sessions(hash blob primary key, owner integer not null,"
    " expires integer not null) without rowid",
    "create index sessions_owner on sessions(owner)",

    // One row is the bucket's lock, its change sequence and its share of the owner's quota.
    "create table buckets(id integer primary key autoincrement, name text not null unique,"
    " owner integer not null, root integer not null, seq integer not null, used integer not null)",
    "create index buckets_owner on buckets(owner)",

    // The parent of a root is 0, that of a deleted node -bucket. kind is 0 for a folder, 1 for a
    // file; seq is the bucket's sequence at the node's last change; label is the file's current
    // version; shared says whether grants or invitations name the node.
    "create table nodes(id integer primary key autoincrement, bucket integer not null,"
    " parent integer not null, name text not null, kind integer not null, seq integer not null,"
    " size integer not null, label integer not null, created integer not null,"
    " modified integer not null, client_modified integer not null,"
    " shared integer not null default 0, unique(parent, name))",
    "create index nodes_change on nodes(bucket, seq)",
    // The names that a node left and no other has taken: the list of changes cannot get them from
    // the nodes.
    "create table vacated(parent integer not null, name text not null, bucket integer not null,"
    " seq integer not null, node integer not null, kind integer not null,"
    " primary key(parent, name)) without rowid",
    "create index vacated_change on vacated(bucket, seq)",
    // Whatever names a committed content also holds the checksum of the content's row, so that a
    // reference to another content is found.
    "create table versions(node integer not null, label integer not null,"
    " content integer not null, content_type text not null, created integer not null,"
    " checksum integer not null default 0, primary key(node, label)) without rowid",
    "create index versions_content on versions(content)",

    // A committed content never changes; stored counts the bytes in its chunks, and checksum is
    // that of its extents. It is 0 until the commit, and for contents of the first schema.
    "create table contents(id integer primary key, size integer not null, stored integer not null,"
    " checksum integer not null default 0)",
    // An extent holds the checksums that it expects of the blocks of its chunk; contents share
    // chunks. Chunk 0 is a hole of as many chunks as the size says; what no extent of a content
    // without a checksum covers is a hole too. An extent of the first schema has no checksums: its
    // chunk's own holds for it.
    "create table extents(content integer not null, idx integer not null, chunk integer not null,"
    " size integer not null, checksums blob not null default '',"
    " primary key(content, idx)) without rowid",
    "create index extents_chunk on extents(chunk)",
    "create table chunks(id integer primary key, checksum integer not null, data blob not null)",
    // Contents that may be unused. The charge is the number of bytes that count in the bucket until
    // the content is gone; held contents wait for the handle or download that still needs them.
    "create table garbage(content integer primary key, bucket integer not null default 0,"
    " charge integer not null default 0, held integer not null default 0)",
    "create index garbage_waiting on garbage(content) where held = 0",
    "create table downloads(hash blob primary key, content integer not null,"
    " expires integer not null, checksum integer not null default 0,"
    " owner integer not null default 0, node integer not null default 0) without rowid",
    "create index downloads_content on downloads(content)",
    "create index downloads_owner on downloads(owner)",

    // The heartbeat is when an instance last renewed the lease of its open handles.
    "create table instances(id integer primary key, heartbeat integer not null)",
    // base is the content that was opened, work the one with the changes, 0 for none; the checksum
    // is that of the base's row. node is 0 for a file that the commit creates. The bytes in work
    // count in bucket.
    "create table handles(hash blob primary key, instance integer not null, owner integer not null,"
    " bucket integer not null, node integer not null, parent integer not null, name text not null,"
    " base integer not null, work integer not null, writable integer not null,"
    " exclusive integer not null, content_type text not null,"
    " checksum integer not null default 0) without rowid",
    "create index handles_base on handles(base)",
    "create index handles_work on handles(work)",
    "create index handles_owner on handles(owner)",

    // level is 1 to read, 2 to write as well. A grantee or recipient 0 is a user who does not exist
    // yet. A grant by an invitation names it; seq is the bucket's sequence at the grant.
    "create table grants(id integer primary key autoincrement, node integer not null,"
    " grantee integer not null, name text not null, level integer not null,"
    " invitation text not null, seq integer not null, unique(node, name, invitation))",
    "create index grants_grantee on grants(grantee)",
    "create table invitations(id text primary key, node integer not null, inviter integer not null,"
    " recipient integer not null, recipient_name text not null, type integer not null,"
    " level integer not null, status integer not null, created integer not null,"
    " origin text not null) without rowid",
    "create index invitations_node on invitations(node)",
    "create index invitations_inviter on invitations(inviter)",
    "create index invitations_recipient on invitations(recipient)",
    "create table policies(node integer primary key, versions integer not null,"
    " public_access integer not null)",
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

}  // namespace

void createSchema(Connection& connection) {
    for (const std::string_view statement : statements) {
        connection.execute(statement);
    }
    connection.execute("insert into schema_version values($1)", {schemaVersion});
    connection.execute("insert into identity values(lower(hex(randomblob(8))))");
}

void upgradeSchema(Connection& connection) {
    if (connection.number("select n from schema_version") == 1) {
        for (const std::string_view statement : fromFirstSchema) {
            connection.execute(statement);
        }
        connection.execute("update schema_version set n = $1", {schemaVersion});
    }
}

}  // namespace storage::kvxstore::database
