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

    // The parent of a root is 0, that of a deleted node -1. kind is 0 for a folder, 1 for a file;
    // seq is the bucket's sequence at the node's last change; label is the file's current version;
    // shared says whether grants or invitations name the node.
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
    "create table versions(node integer not null, label integer not null,"
    " content integer not null, content_type text not null, created integer not null,"
    " primary key(node, label)) without rowid",
    "create index versions_content on versions(content)",

    // A committed content never changes; garbage lists those that may be unused. stored counts the
    // bytes in the chunks; what no chunk covers reads as zeros. Contents share chunks.
    "create table contents(id integer primary key, size integer not null, stored integer not null)",
    "create table extents(content integer not null, idx integer not null, chunk integer not null,"
    " size integer not null, primary key(content, idx)) without rowid",
    "create index extents_chunk on extents(chunk)",
    "create table chunks(id integer primary key, checksum integer not null, data blob not null)",
    "create table garbage(content integer primary key)",
    "create table downloads(hash blob primary key, content integer not null,"
    " expires integer not null) without rowid",
    "create index downloads_content on downloads(content)",

    // The heartbeat is when an instance last renewed the lease of its open handles.
    "create table instances(id integer primary key, heartbeat integer not null)",
    // base is the content that was opened, work the one with the changes, 0 for none. node is 0 for
    // a file that the commit creates. The bytes in work count in bucket.
    "create table handles(hash blob primary key, instance integer not null, owner integer not null,"
    " bucket integer not null, node integer not null, parent integer not null, name text not null,"
    " base integer not null, work integer not null, writable integer not null,"
    " exclusive integer not null, content_type text not null) without rowid",
    "create index handles_base on handles(base)",
    "create index handles_work on handles(work)",

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

}  // namespace

void createSchema(Connection& connection) {
    for (const std::string_view statement : statements) {
        connection.execute(statement);
    }
    connection.execute("insert into schema_version values($1)", {schemaVersion});
    connection.execute("insert into identity values(lower(hex(randomblob(8))))");
}

}  // namespace storage::kvxstore::database
