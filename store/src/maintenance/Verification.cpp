#include "maintenance/Verification.h"

#include <algorithm>
#include <unordered_set>
#include <vector>

#include "maintenance/ContentVerification.h"
#include "namespace/Node.h"

namespace storage::kvxstore {

namespace {

/// A query for what is damaged in one way: the number of a file or folder, or 0 and the words for
/// something else.
struct Check {
    std::string_view damage;
    std::string_view sql;
    bool mendable = false;
};

constexpr Check checks[] = {
    {"has no owner or no root folder",
     "select 0, 'the bucket ' || name from buckets b"
     " where not exists(select 1 from users u where u.id = b.owner)"
     " or not exists(select 1 from nodes n where n.id = b.root and n.bucket = b.id"
     " and n.parent = 0 and n.kind = 0)"},
    {"is in no folder of its bucket",
     "select n.id, '' from nodes n left join nodes p on p.id = n.parent where n.parent > 0"
     " and (p.id is null or p.kind <> 0 or p.bucket <> n.bucket)"
     " union all select n.id, '' from nodes n left join buckets b on b.id = n.bucket"
     " where n.parent = 0 and (b.root is null or b.root <> n.id)"
     " union all select n.id, '' from nodes n where n.parent < 0 and n.parent <> -n.bucket"},
    {"is newer than its bucket",
     "select n.id, '' from nodes n join buckets b on b.id = n.bucket where n.seq > b.seq"},
    {"has no current content, or has another size",
     "select n.id, '' from nodes n left join versions v on v.node = n.id and v.label = n.label"
     " left join contents c on c.id = v.content"
     " where n.kind = 1 and (c.size is null or c.size <> n.size)"},
    {"has a version, but is no file",
     "select v.node, '' from versions v left join nodes n on n.id = v.node"
     " where n.id is null or n.kind <> 1"},
    {"that nothing uses and no cleaning would find",
     "select 0, 'a content of ' || l.size || ' bytes' from (select c.id, c.size from contents c"
     " where not exists(select 1 from versions where content = c.id)"
     " and not exists(select 1 from downloads where content = c.id)"
     " and not exists(select 1 from handles where base = c.id)"
     " and not exists(select 1 from handles where work = c.id)"
     " except select g.content, c.size from garbage g join contents c on c.id = g.content) l",
     true},
    {"counts its bytes in use wrong", miscountedBuckets, true},
    {"is open without its content",
     "select h.node, '' from handles h"
     " where (h.base = 0 and h.work = 0)"
     " or (h.base <> 0 and not exists(select 1 from contents where id = h.base))"
     " or (h.work <> 0 and not exists(select 1 from contents where id = h.work))"},
    {"has a grant to a user or by an invitation that is missing",
     "select g.node, '' from grants g where not exists(select 1 from nodes where id = g.node)"
     " or (g.grantee <> 0 and not exists(select 1 from users where id = g.grantee))"
     " or (g.invitation <> '' and not exists(select 1 from invitations i where i.id = g.invitation"
     " and i.node = g.node and i.recipient = g.grantee and i.status = 1))"},
    {"has an invitation, but is no folder, or the inviter is missing",
     "select i.node, '' from invitations i where not exists(select 1 from nodes where id = i.node"
     " and kind = 0) or not exists(select 1 from users where id = i.inviter)"},
    {"has an accepted invitation without its right",
     "select i.node, '' from invitations i where i.status = 1"
     " and not exists(select 1 from grants where invitation = i.id and level = i.level)"},
    {"is marked wrong as to being shared",
     "select id, '' from nodes n where n.shared <> case when"
     " exists(select 1 from grants where node = n.id)"
     " or exists(select 1 from invitations where node = n.id) then 1 else 0 end"},
    {"has a policy, but is missing",
     "select p.node, '' from policies p"
     " where not exists(select 1 from nodes n where n.id = p.node)"},
    {"was left by a file or folder but is taken, or is in no folder",
     "select 0, 'the place ' || v.name from vacated v left join nodes p on p.id = v.parent"
     " where p.id is null or p.bucket <> v.bucket"
     " or exists(select 1 from nodes n where n.parent = v.parent and n.name = v.name)"},
};

void run(const Check& check, const Context& context, Damages& damages) {
    const std::string damage(check.damage);
    const auto rows = context.database.query(check.sql);
    while (rows->next()) {
        if (rows->integer(0) == 0) {
            const std::string sentence = rows->text(1) + ' ' + damage;
            check.mendable ? damages.addMendable(sentence) : damages.add(sentence);
        } else {
            damages.addNode(rows->integer(0), damage);
        }
    }
}

void checkTables(database::Connection& database, Damages& damages) {
    database.checkIntegrity([&](std::string sentence) {
        std::replace(sentence.begin(), sentence.end(), '\n', ' ');
        damages.add("the database file is damaged: " + sentence);
    });
}

/// Finds the folders that are below themselves. Every other one leads up to a root, which the
/// checks of single rows see to.
class Circles {
public:
    Circles(const Context& context, Damages& damages) : context_(context), damages_(damages) {}

    void tell() {
        const auto folders =
            context_.database.scan("select id from nodes where kind = 0 and parent > 0");
        while (folders->next()) {
            if (!endsAtARoot(folders->integer(0))) {
                damages_.addNode(folders->integer(0), "is below itself, or too deep");
            }
        }
    }

private:
    static constexpr std::size_t mostKnown = 100'000;
    static constexpr std::size_t deepest = 4'096;

    bool endsAtARoot(std::int64_t folder) {
        std::vector<std::int64_t> upwards;
        while (folder > 0 && !known_.contains(folder)) {
            if (upwards.size() == deepest) {
                return false;
            }
            upwards.push_back(folder);
            const auto row =
                context_.database.query("select parent from nodes where id = $1", {folder});
            folder = row->next() ? row->integer(0) : 0;
        }
        if (known_.size() > mostKnown) {
            known_.clear();
        }
        known_.insert(upwards.begin(), upwards.end());
        return true;
    }

    const Context& context_;
    Damages& damages_;
    std::unordered_set<std::int64_t> known_;
};

}  // namespace

void verify(const Context& context, const Damages::Tell& tell) {
    Damages damages(context, tell);
    damages.guard([&] { checkTables(context.database, damages); });
    verifyContents(context, damages);
    for (const Check& check : checks) {
        damages.guard([&] { run(check, context, damages); });
    }
    damages.guard([&] { Circles(context, damages).tell(); });
}

}  // namespace storage::kvxstore
