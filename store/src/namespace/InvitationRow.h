#pragma once

#include <optional>
#include <string>
#include <vector>

#include "namespace/Node.h"
#include "storage/kvxclient/Invitations.h"

namespace storage::kvxstore::operations {

struct InvitationRow {
    std::string id;
    std::int64_t node = 0;
    std::int64_t inviter = 0;
    /// 0 for nobody in particular, or a user who is not there yet.
    std::int64_t recipient = 0;
    std::string recipientName;
    kvxclient::InvitationType type = kvxclient::InvitationType::PERSONAL;
    Right level = Right::READ;
    kvxclient::InvitationStatus status = kvxclient::InvitationStatus::PENDING;
    std::int64_t created = 0;
    /// The open invitation from which it was made.
    std::string origin;
};

/// The invitation as far as the user may see it: its inviter, its recipient, and for an open one
/// everybody who knows its id. Else refused with RESOURCE_NOT_FOUND.
InvitationRow findInvitation(const Context& context, std::int64_t user, const std::string& id);

/// The invitations to a node, the oldest first.
std::vector<InvitationRow> invitationsTo(const Context& context, std::int64_t node);

/// The unanswered invitations that a user received, the oldest first.
std::vector<InvitationRow> pendingInvitations(const Context& context, std::int64_t user);

/// The invitations that a user sent or received, the oldest first.
std::vector<InvitationRow> sentOrReceivedInvitations(const Context& context, std::int64_t user);

/// The invitation that a user made from an open one by answering it.
std::optional<InvitationRow> invitationMadeFrom(const Context& context, const InvitationRow& open,
                                                std::int64_t user);

/// The invitation as its readers see it. Where its folder was deleted it has a tombstone in place
/// of a resource.
kvxclient::Invitation describe(const Context& context, const InvitationRow& row);

}  // namespace storage::kvxstore::operations
