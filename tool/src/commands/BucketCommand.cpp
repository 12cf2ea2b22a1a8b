#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

void addBucket(const kvxstore::Store& store, Invocation& invocation) {
    const std::string& owner = invocation.text("OWNER");
    try {
        store.createBucket(newBucketArgument(invocation.text("NAME")), utf16Argument(owner));
    } catch (const kvxstore::StoreError& error) {
        if (error.code() == kvxstore::StoreErrorCode::NOT_FOUND) {
            throw Failure::of(owner, std::current_exception());
        }
        throw;
    }
}

void listBuckets(const kvxstore::Store& store, Invocation& invocation) {
    for (const kvxstore::Bucket& bucket : store.listBuckets()) {
        const std::string name = toUtf8(bucket.name);
        const std::string owner = toUtf8(bucket.owner);
        invocation.out.print({{"bucket", name}, {"owner", owner}, {"used", bucket.used}},
                             shown(name) + "  " + shown(owner) + "  " + humanSize(bucket.used));
    }
}

}  // namespace

Command bucketCommand() {
    Command add{.name = "add",
                .summary = "Create a bucket",
                .options = {argument("NAME", "The bucket's name"),
                            argument("OWNER", "The user whose bucket it is")},
                .examples = {"kvx bucket add team ada"},
                .run = asAdministrator(addBucket, "NAME")};
    Command list{.name = "list",
                 .summary = "List all buckets, owners and sizes",
                 .examples = {"kvx bucket list"},
                 .run = asAdministrator(listBuckets)};
    return {.name = "bucket",
            .summary = "Create and list buckets",
            .group = "Administration",
            .notes = "Needs the right to write the store's file, but no token.",
            .commands = {std::move(add), std::move(list)}};
}

}  // namespace storage::kvxtool
