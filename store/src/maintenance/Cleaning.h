#pragma once

#include "database/Connection.h"

namespace storage::kvxstore::operations {

/// In place of a parent: of a bucket's root, and of what was deleted.
constexpr std::int64_t rootParent = 0;
constexpr std::int64_t trashParent = -1;

/// Purges a small part of what was deleted; returns whether there may be more. This is when its
/// bytes stop counting: to count them at the deletion would mean to walk the tree there.
bool purgeTrash(database::Connection& database);

/// Does a small part of all cleaning: the trash, contents without a user, lost handles, expired
/// sessions and download locations. Returns whether there may be more.
bool clean(database::Connection& database, std::int64_t instance, std::int64_t now);

}  // namespace storage::kvxstore::operations
