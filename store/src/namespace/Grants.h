#pragma once

#include "namespace/Node.h"

namespace storage::kvxstore::operations {

/// A right that a user has to a node and all below it.
struct Grant {
    std::int64_t node = 0;
    /// 0 for a user who is not there yet.
    std::int64_t grantee = 0;
    /// The user's name.
    std::string name;
    Right level = Right::READ;
    /// The invitation that gave it, empty for a permission.
    std::string invitation;
};

/// Gives the right, or changes the one that the same user has to the node by the same invitation.
/// Returns its id.
std::int64_t addGrant(const Context& context, const Node& node, const Grant& grant);

/// Records a change in how a node is shared.
void noteSharing(const Context& context, const Node& node);

/// Brings a node's mark of being shared up to date, with no change to record.
void refreshShared(database::Connection& database, std::int64_t node);

/// Gives a new user the permissions and invitations that wait for his name or e-mail address.
void bindWaiting(database::Connection& database, std::int64_t user, const std::string& name,
                 const std::string& email);

/// Takes from a user, and from those he shared with, what grants and invitations gave.
void dropSharing(database::Connection& database, std::int64_t user);

}  // namespace storage::kvxstore::operations
