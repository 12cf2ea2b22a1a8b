#pragma once

#include "namespace/Node.h"

namespace storage::kvxstore {

// The bytes of deleted files stop counting when they are purged, because a deletion that counts
// them would have to walk the tree.

/// Moves a node with all below it to the trash, in one small update.
void softDelete(const Context& context, const Node& node, std::int64_t seq);

/// What a purge took off the bytes in use, and whether there may be more to purge.
struct Purge {
    std::int64_t bytes = 0;
    bool more = false;
};

/// Purges a small part of the trash of one bucket.
Purge purgeTrash(database::Connection& database);
Purge purgeTrashIn(database::Connection& database, std::int64_t bucket);

/// As purgeTrash(), but from the buckets of one user, and a larger part: somebody waits for it.
Purge purgeTrashOf(database::Connection& database, std::int64_t user);

std::vector<std::int64_t> bucketsOf(database::Connection& database, std::int64_t user);

/// Purges a node in the trash with all below it, at once.
void purgeTree(database::Connection& database, std::int64_t node);

/// The bytes of the user's deleted files, or fewer but no less than enough.
std::int64_t bytesInTrash(database::Connection& database, std::int64_t user, std::int64_t enough);

}  // namespace storage::kvxstore
