#pragma once

#include "namespace/Node.h"

namespace storage::kvxstore::operations {

/// Takes a node out of its folder at once, with all below it, as the bucket's change `seq`.
/// purgeTrash() removes it later.
void moveToTrash(const Context& context, const Node& node, std::int64_t seq);

/// Purges a small part of the trash and returns whether there may be more. The bytes of a deleted
/// file stop counting here: counting them at the deletion would mean to walk the tree there.
bool purgeTrash(database::Connection& database);

}  // namespace storage::kvxstore::operations
