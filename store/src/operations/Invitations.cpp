#include "operations/Invitations.h"

#include "core/Secrets.h"
#include "core/Text.h"
#include "namespace/Caller.h"
#include "namespace/Grants.h"
#include "namespace/InvitationRow.h"
#include "namespace/Places.h"

namespace storage::kvxstore::operations {

namespace {

using kvxclient::AccessType;
using kvxclient::InvitationStatus;
using kvxclient::InvitationType;
using kvxclient::KVXClientErrorCode;

void insertInvitation(const Context& context, InvitationRow& row) {
    row.id = newSecret();
    row.created = context.now();
    context.database.execute(
        "insert into invitations(id, node, inviter, recipient, recipient_name, type, level, status,"
        " created, origin) values($1, $2, $3, $4, $5, $6, $7, $8, $9, $10)",
        {row.id, row.node, row.inviter, row.recipient, row.recipientName,
         static_cast<std::int64_t>(row.type), static_cast<std::int64_t>(row.level),
         static_cast<std::int64_t>(row.status), row.created, row.origin});
}

std::string userName(const Context& context, std::int64_t user) {
    const auto row = context.database.query("select name from users where id = $1", {user});
    return row->next() ? row->text(0) : std::string();
}

/// The user whom a name or else an e-mail address means, 0 when there is none.
std::int64_t findRecipient(const Context& context, const std::string& text) {
    const auto row = context.database.query(
        "select id from users where name = $1 or email = $1 order by name = $1 desc, id limit 1",
        {text});
    return row->next() ? row->integer(0) : 0;
}

/// The caller's own invitation, made from an open one unless he has it already.
InvitationRow ownFrom(const Context& context, const InvitationRow& open, std::int64_t user) {
    if (auto existing = invitationMadeFrom(context, open, user)) {
        return *std::move(existing);
    }
    InvitationRow own = open;
    own.recipient = user;
    own.recipientName = userName(context, user);
    own.type = InvitationType::CREATED_FROM_OPEN;
    own.origin = open.id;
    insertInvitation(context, own);
    return own;
}

void answer(const Context& context, const InvitationRow& row, const Node& folder) {
    context.database.execute("update invitations set status = $2 where id = $1",
                             {row.id, static_cast<std::int64_t>(row.status)});
    if (row.status == InvitationStatus::ACCEPTED) {
        addGrant(context, folder,
                 {row.node, row.recipient, userName(context, row.recipient), row.level, row.id});
    } else {
        context.database.execute("delete from grants where invitation = $1", {row.id});
        noteSharing(context, folder);
    }
}

bool matches(const kvxclient::InvitationListRequest& request, const std::u16string& ownBucket,
             const kvxclient::Invitation& invitation) {
    kvxclient::Resource resource = request.getResource();
    const bool anyResource = resource == kvxclient::Resource();
    if (resource.getBucket().empty()) {
        resource.setBucket(ownBucket);
    }
    return request.getStatus().value_or(invitation.getStatus()) == invitation.getStatus() &&
           request.getType().value_or(invitation.getInvitationType()) ==
               invitation.getInvitationType() &&
           (anyResource || resource == invitation.getResource());
}

}  // namespace

kvxclient::InvitationCreateResponse createInvitation(
    const Context& context, const kvxclient::InvitationCreateRequest& request) {
    const Place place = locate(context, request.getResource());
    const Node& folder = place.node(Kind::FOLDER, Right::OWN);
    // Nobody can be invited to own what another has.
    requireBetween(request.getAccessType(), AccessType::READ_ONLY, AccessType::READ_WRITE);
    InvitationRow row;
    row.node = folder.id;
    row.inviter = place.user;
    row.recipientName = toUtf8(request.getRecipient());
    row.level = request.getAccessType() == AccessType::READ_WRITE ? Right::WRITE : Right::READ;
    if (row.recipientName.empty()) {
        row.type = InvitationType::OPEN;
    } else {
        row.recipient = findRecipient(context, row.recipientName);
    }
    insertInvitation(context, row);
    noteSharing(context, folder);
    return kvxclient::InvitationCreateResponse().withInvitation(describe(context, row));
}

kvxclient::InvitationReadResponse readInvitation(const Context& context,
                                                 const kvxclient::InvitationReadRequest& request) {
    const std::int64_t user = requireUser(context);
    return kvxclient::InvitationReadResponse().withInvitation(
        describe(context, findInvitation(context, user, request.getInvitationId())));
}

kvxclient::InvitationDetailsResponse getInvitationDetails(
    const Context& context, const kvxclient::InvitationDetailsRequest& request) {
    const std::int64_t user = requireUser(context);
    return kvxclient::InvitationDetailsResponse().withInvitation(
        describe(context, findInvitation(context, user, request.getInvitationId())));
}

kvxclient::InvitationUpdateResponse updateInvitation(
    const Context& context, const kvxclient::InvitationUpdateRequest& request) {
    const std::int64_t user = requireUser(context);
    const InvitationStatus status = request.getStatus().value_or(InvitationStatus::PENDING);
    requireBetween(status, InvitationStatus::PENDING, InvitationStatus::DECLINED);
    InvitationRow row = findInvitation(context, user, request.getInvitationId());
    const bool isOpen = row.type == InvitationType::OPEN;
    if (isOpen ? row.inviter == user : row.recipient != user) {
        refuse(KVXClientErrorCode::UNAUTHORIZED);
    }
    const Place place = placeOf(context, user, row.node);
    if (place.chain.empty()) {
        refuse(KVXClientErrorCode::RESOURCE_NOT_FOUND);
    }
    if (status == InvitationStatus::PENDING) {
        refuse(KVXClientErrorCode::CONFLICT);
    }
    if (isOpen) {
        row = ownFrom(context, row, user);
    }
    row.status = status;
    answer(context, row, place.chain.back());
    return kvxclient::InvitationUpdateResponse().withInvitation(describe(context, row));
}

kvxclient::InvitationDeleteResponse deleteInvitation(
    const Context& context, const kvxclient::InvitationDeleteRequest& request) {
    const std::int64_t user = requireUser(context);
    const InvitationRow row = findInvitation(context, user, request.getInvitationId());
    if (row.inviter != user) {
        refuse(KVXClientErrorCode::UNAUTHORIZED);
    }
    context.database.execute(
        "delete from grants where invitation <> '' and invitation in"
        " (select id from invitations where node = $1 and (id = $2 or origin = $2))",
        {row.node, row.id});
    context.database.execute("delete from invitations where node = $1 and (id = $2 or origin = $2)",
                             {row.node, row.id});
    const Place place = placeOf(context, user, row.node);
    if (place.chain.empty()) {
        refreshShared(context.database, row.node);
    } else {
        noteSharing(context, place.chain.back());
    }
    return {};
}

kvxclient::InvitationListResponse listInvitations(const Context& context,
                                                  const kvxclient::InvitationListRequest& request) {
    const std::int64_t user = requireUser(context);
    const std::u16string ownBucket = toUtf16(userName(context, user));
    std::vector<kvxclient::Invitation> invitations;
    for (const auto& row : sentOrReceivedInvitations(context, user)) {
        kvxclient::Invitation invitation = describe(context, row);
        if (matches(request, ownBucket, invitation)) {
            invitations.push_back(std::move(invitation));
        }
    }
    return kvxclient::InvitationListResponse().withInvitations(std::move(invitations));
}

}  // namespace storage::kvxstore::operations
