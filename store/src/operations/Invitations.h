#pragma once

#include "core/Context.h"
#include "storage/kvxclient/Invitations.h"

namespace storage::kvxstore::operations {

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
