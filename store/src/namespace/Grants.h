#pragma once

#include "namespace/Node.h"

namespace storage::kvxstore {

/// A user's right to a node and all below it.
struct Grant {
    std::int64_t node = 0;
    /// 0 for a user who does not exist yet.
    std::int64_t grantee = 0;
    /// The user's name.
    std::string name;
    Right right = Right::READ;
    /// The invitation behind the grant, empty for a permission.
    std::string invitation;
};

/// Refuses with QUOTA_EXCEEDED when a node has more grants and invitations than it may have.
void limitSharing(const Context& context, std::int64_t node);

/// Adds the grant, or changes the right of the one with the same node, user and invitation. Returns
/// its id.
std::int64_t addGrant(const Context& context, const Node& node, const Grant& grant);

/// Records a change in how a node is shared.
void noteSharing(const Context& context, const Node& node);

/// Updates whether a node is marked as shared, but records no change.
void refreshShared(const Context& context, std::int64_t node);

// Who writes down a user by name has to know that no user of that name is made or removed
// meanwhile: it shares the directory, and who makes or removes users has it alone.
// REQUIRES: the buckets to work in are held already, as the hold... functions do.

void lockDirectory(const Context& context, database::RowLock how);

/// Finds a user, who stays until the transaction ends; nothing when there is none.
std::optional<std::int64_t> lockUser(const Context& context, const std::string& name);

/// Holds the buckets in which something waits for a user with that name or e-mail address.
void holdWaiting(const Context& context, const std::string& name, const std::string& email);

/// Holds the buckets with grants and invitations to a user and by a user.
void holdSharing(const Context& context, std::int64_t user);

/// Gives a new user the permissions and invitations that wait for the user's name or e-mail
/// address.
void bindWaiting(const Context& context, std::int64_t user, const std::string& name,
                 const std::string& email);

/// Removes all grants and invitations to a user and by a user.
void dropSharing(const Context& context, std::int64_t user);

}  // namespace storage::kvxstore
