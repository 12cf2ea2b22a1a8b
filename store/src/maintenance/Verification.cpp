#include "maintenance/Verification.h"

#include <algorithm>

#include "core/Checksum.h"

namespace storage::kvxstore {

namespace {

/// A query for the ids of what is damaged in one way.
struct Check {
    std::string_view damage;
    std::string_view sql;
};

constexpr Check checks[] = {
    {"buckets without an owner or a root",
     "select id from buckets b where not exists(select 1 from users u where u.id = b.owner)"
     " or not exists(select 1 from nodes n where n.id = b.root and n.bucket = b.id"
     " and n.parent = 0 and n.kind = 0)"},
    {"files or folders outside of every tree",
     "with recursive tree(id, kind) as (select id, kind from nodes where parent = -bucket"
     " or id in (select root from buckets)"
     " union all select n.id, n.kind from nodes n join tree t on n.parent = t.id and t.kind = 0)"
     " select id from nodes where id not in (select id from tree)"},
    {"files or folders in another bucket than their parent",
     "select n.id from nodes n join nodes p on p.id = n.parent where n.bucket <> p.bucket"},
    {"files or folders newer than their bucket",
     "select n.id from nodes n join buckets b on b.id = n.bucket where n.seq > b.seq"},
    {"files without their current content, or of another size",
     "select n.id from nodes n left join versions v on v.node = n.id and v.label = n.label"
     " left join contents c on c.id = v.content"
     " where n.kind = 1 and (c.size is null or c.size <> n.size)"},
    {"versions without a file or a content",
     "select v.node from versions v where not exists(select 1 from nodes n where n.id = v.node"
     " and n.kind = 1) or not exists(select 1 from contents c where c.id = v.content)"},
    {"contents whose parts do not make up their size",
     "select c.id from contents c left join extents e on e.content = c.id"
     " left join chunks k on k.id = e.chunk"
     " where c.id not in (select content from garbage) group by c.id"
     " having c.stored <> coalesce(sum(e.size), 0)"
     " or max(coalesce(e.size <> length(k.data), e.idx is not null))"
     " or coalesce(max(e.idx * 262144 + e.size), 0) > c.size"},
    {"contents that nothing uses and no cleaning would find",
     "select c.id from contents c where not exists(select 1 from versions where content = c.id)"
     " and not exists(select 1 from downloads where content = c.id)"
     " and not exists(select 1 from handles where base = c.id or work = c.id)"
     " and not exists(select 1 from garbage where content = c.id)"},
    {"parts without a content",
     "select id from chunks where id not in (select chunk from extents)"},
    {"buckets whose bytes in use are counted wrong",
     "select b.id from buckets b where b.used <> (select coalesce(sum(c.size), 0) from nodes n"
     " join versions v on v.node = n.id join contents c on c.id = v.content"
     " where n.bucket = b.id) + (select coalesce(sum(c.stored), 0) from handles h"
     " join contents c on c.id = h.work where h.bucket = b.id)"},
    {"open handles without their content",
     "select rowid from (select row_number() over () as rowid, base, work from handles) h"
     " where (h.base = 0 and h.work = 0)"
     " or (h.base <> 0 and not exists(select 1 from contents where id = h.base))"
     " or (h.work <> 0 and not exists(select 1 from contents where id = h.work))"},
    {"grants without a file, folder or user",
     "select id from grants g where not exists(select 1 from nodes where id = g.node)"
     " or (g.grantee <> 0 and not exists(select 1 from users where id = g.grantee))"
     " or (g.invitation <> '' and not exists(select 1 from invitations i where i.id = g.invitation"
     " and i.node = g.node and i.recipient = g.grantee and i.status = 1))"},
    {"invitations to no folder, or by no user",
     "select node from invitations i where not exists(select 1 from nodes where id = i.node"
     " and kind = 0) or not exists(select 1 from users where id = i.inviter)"},
    {"accepted invitations without their right",
     "select node from invitations i where i.status = 1"
     " and not exists(select 1 from grants where invitation = i.id and level = i.level)"},
    {"files or folders marked wrong as to being shared",
     "select id from nodes n where n.shared <> (exists(select 1 from grants where node = n.id)"
     " or exists(select 1 from invitations where node = n.id))"},
    {"policies of no file or folder",
     "select node from policies where node not in (select id from nodes)"},
    {"places left by a node but taken, or in no folder",
     "select v.parent from vacated v left join nodes p on p.id = v.parent"
     " where p.id is null or p.bucket <> v.bucket"
     " or exists(select 1 from nodes n where n.parent = v.parent and n.name = v.name)"},
};

/// One kind of damage: how many rows have it, and the ids of the first few.
class Damage {
public:
    explicit Damage(std::string_view kind) : kind_(kind) {}

    void add(std::int64_t id) {
        if (++count_ <= 5) {
            ids_ += ' ' + std::to_string(id);
        }
    }

    void tell(std::vector<std::string>& found) const {
        if (count_ > 0) {
            found.push_back(std::to_string(count_) + ' ' + kind_ + " (ids" + ids_ +
                            (count_ > 5 ? " ...)" : ")"));
        }
    }

private:
    std::string kind_;
    std::int64_t count_ = 0;
    std::string ids_;
};

void checkTables(database::Connection& database, std::vector<std::string>& found) {
    const auto integrity = database.query("pragma integrity_check");
    while (integrity->next()) {
        std::string sentence = integrity->text(0);
        if (sentence != "ok") {
            std::replace(sentence.begin(), sentence.end(), '\n', ' ');
            found.push_back("the database file is damaged: " + sentence);
        }
    }
}

void checkContents(database::Connection& database, std::vector<std::string>& found) {
    Damage damage("parts of contents whose bytes were changed");
    const auto chunks = database.query("select id, checksum, data from chunks");
    while (chunks->next()) {
        if (checksumOf(chunks->bytes(2)) != chunks->integer(1)) {
            damage.add(chunks->integer(0));
        }
    }
    damage.tell(found);
}

void run(const Check& check, database::Connection& database, std::vector<std::string>& found) {
    Damage damage(check.damage);
    const auto rows = database.query(check.sql);
    while (rows->next()) {
        damage.add(rows->integer(0));
    }
    damage.tell(found);
}

}  // namespace

std::vector<std::string> verify(database::Connection& database) {
    std::vector<std::string> found;
    try {
        checkTables(database, found);
        checkContents(database, found);
        for (const Check& check : checks) {
            run(check, database, found);
        }
    } catch (const database::DatabaseError& error) {
        // A damaged file may not even be readable to the end.
        const auto code = error.code();
        if (code != StoreErrorCode::DAMAGED && code != StoreErrorCode::OTHER) {
            throw;
        }
        found.emplace_back(error.what());
    }
    return found;
}

}  // namespace storage::kvxstore
