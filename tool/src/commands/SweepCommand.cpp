#include "commands/Commands.h"
#include "commands/Running.h"

namespace storage::kvxtool {

Command sweepCommand() {
    return {
        .name = "sweep",
        .summary = "Purge what was deleted from the store now",
        .group = "Administration",
        .notes =
            R"(The store does so by itself in idle moments of the programs that use it. Its file keeps
its size, and what was deleted can be read in it until something else takes its place.)",
        .examples = {"kvx sweep"},
        .run = asAdministrator([](const kvxstore::Store& store, Invocation&) { store.sweep(); })};
}

}  // namespace storage::kvxtool
