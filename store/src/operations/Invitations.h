#pragma once

#include <string>
#include <vector>

#include "namespace/Places.h"
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

/// The invitation as its readers see it. Where its folder was deleted it has a tombstone in place
/// of a resource.
kvxclient::Invitation describe(const Context& context, const InvitationRow& row);

kvxclient::AccessType accessTypeOf(Right right);

/// Offers a folder of the caller's. The recipient is the name or e-mail address of a user, who may
/// be created later.
kvxclient::InvitationCreateResponse createInvitation(
    const Context& context, const kvxclient::InvitationCreateRequest& request);
kvxclient::InvitationReadResponse readInvitation(const Context& context,
                                                 const kvxclient::InvitationReadRequest& request);
kvxclient::InvitationDetailsResponse getInvitationDetails(
    const Context& context, const kvxclient::InvitationDetailsRequest& request);

/// Accepts, which gives the right, or declines, which takes it back; the recipient may change his
/// mind. An open invitation stays as it is: the answer is that of the caller's own, made from it.
/// No invitation becomes pending again: CONFLICT.
kvxclient::InvitationUpdateResponse updateInvitation(
    const Context& context, const kvxclient::InvitationUpdateRequest& request);

/// Takes back, with an open invitation, those made from it as well.
kvxclient::InvitationDeleteResponse deleteInvitation(
    const Context& context, const kvxclient::InvitationDeleteRequest& request);

/// Lists from the oldest to the newest.
kvxclient::InvitationListResponse listInvitations(const Context& context,
                                                  const kvxclient::InvitationListRequest& request);

}  // namespace storage::kvxstore::operations
