#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "namespace/Node.h"
#include "storage/kvxclient/Invitations.h"

namespace storage::kvxstore {

struct InvitationRow {
    std::string id;
    std::int64_t node = 0;
    std::int64_t inviter = 0;
    /// 0 for anybody, or a user who does not exist yet.
    std::int64_t recipient = 0;
    std::string recipientName;
    InvitationType type = InvitationType::PERSONAL;
    Right right = Right::READ;
    InvitationStatus status = InvitationStatus::PENDING;
    std::int64_t created = 0;
    /// The open invitation that this one was made from, or empty.
    std::string origin;
};

/// Finds an invitation that the user may see: as its inviter, as its recipient, or because it is
/// open. Any other is refused with RESOURCE_NOT_FOUND.
InvitationRow findInvitation(const Context& context, std::int64_t user, const std::string& id);

/// The invitations that meet a condition in SQL, the oldest first.
std::vector<InvitationRow> selectInvitations(const Context& context, std::string_view condition,
                                             std::initializer_list<database::Value> values);

/// The invitation as its readers see it. One whose folder was deleted has a tombstone and no
/// resource.
Invitation describe(const Context& context, const InvitationRow& row);

}  // namespace storage::kvxstore
