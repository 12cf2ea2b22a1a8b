#include "commands/Commands.h"
#include "commands/Running.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

/// Says what the store will do with its file, and what room that takes.
void announceRebuild(const kvxstore::Store& store, Invocation& invocation) {
    const std::vector<kvxstore::RoomNeed> needs = store.rebuildNeeds();
    for (const kvxstore::RoomNeed& need : needs) {
        const bool isThere = need.needed <= need.available;
        invocation.out.remark("the file is rebuilt once, which needs " + humanSize(need.needed) +
                              " in " + escaped(need.folder) + ", where " +
                              humanSize(need.available) +
                              (isThere ? " are free" : " are free: the file stays as it is"));
    }
}

void sweep(const kvxstore::Store& store, Invocation& invocation) {
    announceRebuild(store, invocation);
    store.sweep();
}

}  // namespace

Command sweepCommand() {
    return {
        .name = "sweep",
        .summary = "Purge what was deleted from the store now, and give its room back",
        .group = "Administration",
        .notes =
            R"(The store does so by itself in idle moments of the programs that use it, but keeps up to
8 MiB of unused room in its file. What was deleted can be read in the file until something else
takes its place. A file made by an earlier version is rebuilt once, if the disk has the room that
the command names.)",
        .examples = {"kvx sweep"},
        .run = asAdministrator(sweep)};
}

}  // namespace storage::kvxtool
