-- A store of the first schema: /docs/a.txt with two versions, /big.txt of two chunks, its copy
-- /docs/copy.txt and the deleted /gone.txt of the user main, and the user bert.
PRAGMA page_size = 16384;
PRAGMA application_id = 1263949907;
PRAGMA journal_mode = wal;
BEGIN TRANSACTION;
CREATE TABLE buckets(id integer primary key autoincrement, name text not null unique,
    owner integer not null, root integer not null, seq integer not null, used integer not null);
INSERT INTO "buckets" VALUES(1,'main',1,1,11,600027);
INSERT INTO "buckets" VALUES(2,'bert',2,2,0,0);
CREATE TABLE chunks(id integer primary key, checksum integer not null, data blob not null);
INSERT INTO "chunks" VALUES(1,-7685981735718036227,X'68656C6C6F');
INSERT INTO "chunks" VALUES(2,-6320858406931969527,X'68656C6C6F20616761696E');
INSERT INTO "chunks" VALUES(3,-2717819000499866956,cast(replace(hex(zeroblob(262144)), '00',
    'x') as blob));
INSERT INTO "chunks" VALUES(4,-5207324924912719743,cast(replace(hex(zeroblob(37856)), '00',
    'x') as blob));
INSERT INTO "chunks" VALUES(5,-6320858406931969527,X'68656C6C6F20616761696E');
CREATE TABLE contents(id integer primary key, size integer not null, stored integer not null);
INSERT INTO "contents" VALUES(1,5,5);
INSERT INTO "contents" VALUES(2,11,11);
INSERT INTO "contents" VALUES(3,300000,300000);
INSERT INTO "contents" VALUES(4,11,11);
CREATE TABLE downloads(hash blob primary key, content integer not null,
    expires integer not null) without rowid;
CREATE TABLE extents(content integer not null, idx integer not null, chunk integer not null,
    size integer not null, primary key(content, idx)) without rowid;
INSERT INTO "extents" VALUES(1,0,1,5);
INSERT INTO "extents" VALUES(2,0,2,11);
INSERT INTO "extents" VALUES(3,0,3,262144);
INSERT INTO "extents" VALUES(3,1,4,37856);
INSERT INTO "extents" VALUES(4,0,5,11);
CREATE TABLE garbage(content integer primary key);
INSERT INTO "garbage" VALUES(1);
INSERT INTO "garbage" VALUES(2);
CREATE TABLE grants(id integer primary key autoincrement, node integer not null,
    grantee integer not null, name text not null, level integer not null,
    invitation text not null, seq integer not null, unique(node, name, invitation));
CREATE TABLE handles(hash blob primary key, instance integer not null, owner integer not null,
    bucket integer not null, node integer not null, parent integer not null, name text not null,
    base integer not null, work integer not null, writable integer not null,
    exclusive integer not null, content_type text not null) without rowid;
CREATE TABLE identity(id text not null);
INSERT INTO "identity" VALUES('c272623fdd5815c7');
CREATE TABLE instances(id integer primary key, heartbeat integer not null);
CREATE TABLE invitations(id text primary key, node integer not null, inviter integer not null,
    recipient integer not null, recipient_name text not null, type integer not null,
    level integer not null, status integer not null, created integer not null,
    origin text not null) without rowid;
CREATE TABLE nodes(id integer primary key autoincrement, bucket integer not null,
    parent integer not null, name text not null, kind integer not null, seq integer not null,
    size integer not null, label integer not null, created integer not null,
    modified integer not null, client_modified integer not null,
    shared integer not null default 0, unique(parent, name));
INSERT INTO "nodes" VALUES(1,1,0,'main',0,0,0,0,1795373528686864085,1795373528686864085,0,0);
INSERT INTO "nodes" VALUES(2,2,0,'bert',0,0,0,0,1795373528719644526,1795373528719644526,0,0);
INSERT INTO "nodes" VALUES(3,1,1,'docs',0,1,0,0,1795373528746266931,1795373528746266931,0,0);
INSERT INTO "nodes" VALUES(4,1,3,'a.txt',1,5,11,2,1795373528761483599,1795373528790996156,1795373528772498129,0);
INSERT INTO "nodes" VALUES(5,1,1,'big.txt',1,7,300000,1,1795373528810675797,1795373528810675797,1795373528729049945,0);
INSERT INTO "nodes" VALUES(6,1,3,'copy.txt',1,8,300000,1,1795373528832371098,1795373528832371098,1795373528729049945,0);
INSERT INTO "nodes" VALUES(7,1,-1,'7',1,11,11,1,1795373528844279462,1795373528844279462,1795373528772498129,0);
CREATE TABLE policies(node integer primary key, versions integer not null,
    public_access integer not null);
CREATE TABLE schema_version(n integer not null);
INSERT INTO "schema_version" VALUES(1);
CREATE TABLE sessions(hash blob primary key, owner integer not null,
    expires integer not null) without rowid;
CREATE TABLE tokens(hash blob primary key, owner integer not null) without rowid;
INSERT INTO "tokens" VALUES(X'154B429DC80EBCDC52C4F7F94AF04B7E4EC0DF842FD49A426AE1E8C6D6F5BD5A',2);
INSERT INTO "tokens" VALUES(X'B6A5040FAFBC49E925241205F4DA2EB5DEEE11E6BF46B7F90B9F1DC25725BC65',1);
CREATE TABLE users(id integer primary key autoincrement, name text not null unique,
    email text not null, first_name text not null, last_name text not null,
    quota integer not null);
INSERT INTO "users" VALUES(1,'main','','','',9223372036854775807);
INSERT INTO "users" VALUES(2,'bert','','','',9223372036854775807);
CREATE TABLE vacated(parent integer not null, name text not null, bucket integer not null,
    seq integer not null, node integer not null, kind integer not null, primary key(parent,
    name)) without rowid;
INSERT INTO "vacated" VALUES(1,'gone.txt',1,11,7,1);
CREATE TABLE versions(node integer not null, label integer not null, content integer not null,
    content_type text not null, created integer not null, primary key(node,
    label)) without rowid;
INSERT INTO "versions" VALUES(4,1,1,'',1795373528761483599);
INSERT INTO "versions" VALUES(4,2,2,'',1795373528790996156);
INSERT INTO "versions" VALUES(5,1,3,'',1795373528810675797);
INSERT INTO "versions" VALUES(6,1,3,'',1795373528832371098);
INSERT INTO "versions" VALUES(7,1,4,'',1795373528844279462);
CREATE INDEX sessions_owner on sessions(owner);
CREATE INDEX buckets_owner on buckets(owner);
CREATE INDEX nodes_change on nodes(bucket, seq);
CREATE INDEX vacated_change on vacated(bucket, seq);
CREATE INDEX versions_content on versions(content);
CREATE INDEX extents_chunk on extents(chunk);
CREATE INDEX downloads_content on downloads(content);
CREATE INDEX handles_base on handles(base);
CREATE INDEX handles_work on handles(work);
CREATE INDEX grants_grantee on grants(grantee);
CREATE INDEX invitations_node on invitations(node);
CREATE INDEX invitations_inviter on invitations(inviter);
CREATE INDEX invitations_recipient on invitations(recipient);
DELETE FROM "sqlite_sequence";
INSERT INTO "sqlite_sequence" VALUES('users',2);
INSERT INTO "sqlite_sequence" VALUES('buckets',2);
INSERT INTO "sqlite_sequence" VALUES('nodes',7);
COMMIT;
