#pragma once

#include "namespace/Node.h"

namespace storage::kvxstore {

/// Moves a node with all below it to the trash, in one small update. purgeTrash() removes it later.
void softDelete(const Context& context, const Node& node, std::int64_t seq);

/// Purges a small part of the trash and returns whether there may be more. The bytes of deleted
/// files stop counting here, because a deletion that counts them would have to walk the tree.
bool purgeTrash(database::Connection& database);

}  // namespace storage::kvxstore
