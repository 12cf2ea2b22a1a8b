#include "maintenance/Damages.h"

#include "core/Text.h"
#include "namespace/ResolvedPath.h"

namespace storage::kvxstore {

void Damages::add(const std::string& sentence) {
    FoundDamage damage;
    damage.sentence = sentence;
    tell_(damage);
}

void Damages::addMendable(const std::string& sentence) {
    FoundDamage damage;
    damage.sentence = sentence;
    damage.mendable = true;
    tell_(damage);
}

void Damages::addNode(std::int64_t node, const std::string& damage) {
    FoundDamage found = describe(node);
    found.sentence += ' ' + damage;
    tell_(found);
}

void Damages::addVersion(std::int64_t node, int label, bool current, std::int64_t size,
                         std::int64_t readable) {
    FoundDamage found = describe(node);
    found.version = label;
    found.current = current;
    found.mendable = !current;
    found.size = static_cast<unsigned long>(size);
    found.readable = static_cast<unsigned long>(readable);
    found.sentence += ", version " + std::to_string(label) + (current ? ", the current one" : "") +
                      ": " + std::to_string(readable) + " of " + std::to_string(size) +
                      " bytes can be read";
    tell_(found);
}

bool Damages::guard(const std::function<void()>& check) {
    try {
        check();
        return true;
    } catch (const database::DatabaseError& error) {
        if (error.code() != StoreErrorCode::DAMAGED && error.code() != StoreErrorCode::OTHER) {
            throw;
        }
        add(error.what());
        return false;
    }
}

FoundDamage Damages::describe(std::int64_t node) const {
    FoundDamage found;
    found.node = node;
    found.sentence = "a file or folder";
    try {
        found.sentence = withoutPath(node);
        const ResolvedPath path = resolveNode(context_, 0, node);
        if (path.chain.empty()) {
            return found;
        }
        found.path = path.resource().getPath();
        found.bucket = toUtf16(path.bucket.name);
        found.sentence = toUtf8(found.path) + " in the bucket " + path.bucket.name;
        const auto owner =
            context_.database.query("select name from users where id = $1", {path.bucket.owner});
        if (owner->next()) {
            found.owner = toUtf16(owner->bytes(0));
            found.sentence += " of " + owner->text(0);
        }
    } catch (const database::DatabaseError&) {
        // The damage may be where the names are.
    }
    return found;
}

std::string Damages::withoutPath(std::int64_t node) const {
    const std::optional<Node> found = findNode(context_, node);
    if (!found) {
        return "a file or folder that is missing";
    }
    return found->parent < 0 ? "a deleted file or folder" : "a file or folder named " + found->name;
}

}  // namespace storage::kvxstore
