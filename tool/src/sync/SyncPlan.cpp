#include "sync/SyncPlan.h"

#include <algorithm>
#include <set>

namespace storage::kvxtool {
namespace {

using Kind = SyncEntry::Kind;
using Paths = std::set<std::string>;

const SyncEntry* findEntry(const SyncTree& tree, const std::string& path) {
    const auto found = tree.find(path);
    return found == tree.end() ? nullptr : &found->second;
}

bool differInKind(const SyncEntry* source, const SyncEntry* target) {
    return source != nullptr && target != nullptr && !source->isLeftOut() &&
           source->kind != target->kind;
}

/// Whether `a` was modified later than `b`, by more than the window.
bool isLater(const SyncEntry& a, const SyncEntry& b, std::chrono::nanoseconds window) {
    const auto unsignedTime = [](const SyncEntry& entry) {
        return static_cast<unsigned long>(entry.modified.time_since_epoch().count());
    };
    // Unsigned, the difference of any two times has room.
    return a.modified > b.modified &&
           unsignedTime(a) - unsignedTime(b) > static_cast<unsigned long>(window.count());
}

/// A time of zero cannot be reported to a store: it uses its own time then.
bool isSameTime(const SyncEntry& a, const SyncEntry& b, std::chrono::nanoseconds window) {
    const auto isUnreported = [](const SyncEntry& one, const SyncEntry& other) {
        return !one.modifiedByClient && other.modified.time_since_epoch().count() == 0;
    };
    return (!isLater(a, b, window) && !isLater(b, a, window)) || isUnreported(a, b) ||
           isUnreported(b, a);
}

/// What the target has and the source does not, or has of another kind.
Paths findSuperfluous(const SyncTree& source, const SyncTree& target) {
    Paths result;
    for (const auto& [path, entry] : target) {
        const SyncEntry* same = findEntry(source, path);
        if (same != nullptr ? differInKind(same, &entry) : result.contains(parentPath(path))) {
            result.insert(path);
        } else if (same == nullptr) {
            const SyncEntry* parent = findEntry(source, parentPath(path));
            if (parent != nullptr && parent->kind == Kind::FOLDER && parent->complete) {
                result.insert(path);
            }
        }
    }
    return result;
}

/// Takes out what must stay, and with it the folders that hold it.
void keepWhatIsLeftOut(Paths& superfluous, const SyncTree& source, const SyncTree& target) {
    Paths kept;
    for (auto entry = target.rbegin(); entry != target.rend(); ++entry) {
        const auto& [path, item] = *entry;
        const bool inTheWay = findEntry(source, path) != nullptr;
        const bool stays = (item.isLeftOut() && !inTheWay) || !item.complete || kept.contains(path);
        if (stays && superfluous.erase(path) != 0) {
            kept.insert(parentPath(path));
            if (inTheWay) {  // It stays, with all its content.
                const auto below = superfluous.lower_bound(path + '/');
                superfluous.erase(below, superfluous.lower_bound(path + char('/' + 1)));
            }
        }
    }
}

void planFile(SyncPlan& plan, const SyncRules& rules, const SyncStep& step,
              const SyncEntry* target) {
    if (target == nullptr || target->kind != Kind::FILE) {
        plan.transfers.push_back(step);
    } else if (rules.keepsExisting ||
               (rules.keepsNewer && isLater(*target, step.entry, rules.window))) {
        ++plan.unchanged;
    } else if (target->size != step.entry.size) {
        plan.transfers.push_back(step);
    } else if (rules.byContent) {
        plan.comparisons.push_back(step);
    } else if (rules.bySizeOnly || isSameTime(step.entry, *target, rules.window)) {
        ++plan.unchanged;
    } else {
        plan.transfers.push_back(step);
    }
}

}  // namespace

std::string parentPath(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash);
}

std::size_t SyncPlan::deletedFiles() const {
    return static_cast<std::size_t>(
        std::count_if(deletions.begin(), deletions.end(),
                      [](const SyncStep& step) { return step.entry.kind == Kind::FILE; }));
}

SyncPlan planSync(const SyncTree& source, const SyncTree& target, const SyncRules& rules) {
    SyncPlan plan;
    plan.targetFiles =
        static_cast<std::size_t>(std::count_if(target.begin(), target.end(), [](const auto& item) {
            return item.second.kind == Kind::FILE;
        }));
    Paths superfluous;
    if (rules.deletes) {
        superfluous = findSuperfluous(source, target);
        keepWhatIsLeftOut(superfluous, source, target);
    }
    for (auto path = superfluous.rbegin(); path != superfluous.rend(); ++path) {
        plan.deletions.push_back({*path, target.at(*path)});
    }
    Paths blocked;
    for (const auto& [path, entry] : source) {
        const SyncEntry* same = findEntry(target, path);
        if (!path.empty() && blocked.contains(parentPath(path))) {
            blocked.insert(path);
        } else if (differInKind(&entry, same) && !superfluous.contains(path)) {
            plan.conflicts.push_back({path, entry.kind, same->kind});
            blocked.insert(path);
        } else if (entry.kind == Kind::FILE) {
            planFile(plan, rules, {path, entry}, same);
        } else if (entry.kind == Kind::FOLDER && (same == nullptr || same->kind != entry.kind)) {
            plan.folders.push_back({path, entry});
        }
    }
    return plan;
}

}  // namespace storage::kvxtool
