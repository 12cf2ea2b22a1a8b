#include "database/Schema.h"

namespace storage::kvxstore::database {

namespace {

// Times are nanoseconds since the epoch, texts UTF-8 compared by bytes.
constexpr std::string_view statements[] = {
    "create table schema_version(n integer not null)",

    "create table users(id integer primary key autoincrement, name text not null unique,"
    " email text not null, first_name text not null, last_name text not null,"
    " quota integer not null)",
    "create table tokens(hash blob primary key, owner integer not null) without rowid",
    "create table sessions(hash blob primary key, owner integer not null,"
    " expires integer not null) without rowid",

    // One row is the bucket's lock, its change sequence and its share of the owner's quota.
    "create table buckets(id integer primary key autoincrement, name text not null unique,"
    " owner integer not null, root integer not null, seq integer not null, used integer not null)",
    "create index buckets_owner on buckets(owner)",

    // A root's parent is 0, a deleted node's -1; kind is 0 for a folder, 1 for a file. seq is the
    // bucket's sequence at the node's last change, label the file's current version.
    "create table nodes(id integer primary key autoincrement, bucket integer not null,"
    " parent integer not null, name text not null, kind integer not null, seq integer not null,"
    " size integer not null, label integer not null, created integer not null,"
    " modified integer not null, client_modified integer not null, unique(parent, name))",
    "create table versions(node integer not null, label integer not null,"
    " content integer not null, content_type text not null, created integer not null,"
    " primary key(node, label)) without rowid",
    "create index versions_content on versions(content)",

    // A content never changes once it is committed; garbage lists those that may be unused.
    "create table contents(id integer primary key, size integer not null)",
    "create table extents(content integer not null, idx integer not null, chunk integer not null,"
    " primary key(content, idx)) without rowid",
    "create table chunks(id integer primary key, data blob not null)",
    "create table garbage(content integer primary key)",
    "create table downloads(hash blob primary key, content integer not null,"
    " expires integer not null) without rowid",
    "create index downloads_content on downloads(content)",
};

}  // namespace

void createSchema(Connection& connection) {
    for (const std::string_view statement : statements) {
        connection.execute(statement);
    }
    connection.execute("insert into schema_version values($1)", {schemaVersion});
}

}  // namespace storage::kvxstore::database
