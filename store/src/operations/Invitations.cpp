#include "operations/Operations.h"

#include "core/Secrets.h"
#include "core/Text.h"
#include "namespace/Caller.h"
#include "namespace/Grants.h"
#include "namespace/InvitationRow.h"
#include "namespace/ResolvedPath.h"

namespace storage::kvxstore::operations {

namespace {

void insertInvitation(const Context& context, InvitationRow& row) {
    row.id = newSecret();
    row.created = context.now();
    context.database.post(
        "insert into invitations(id, node, inviter, recipient, recipient_name, type, level, status,"
        " created, origin) values($1, $2, $3, $4, $5, $6, $7, $8, $9, $10)",
        {row.id, row.node, row.inviter, row.recipient, database::FreeText{row.recipientName},
         static_cast<std::int64_t>(row.type), static_cast<std::int64_t>(row.right),
         static_cast<std::int64_t>(row.status), row.created, row.origin});
    limitSharing(context, row.node);
}

std::string userName(const Context& context, std::int64_t user) {
    const auto row = context.database.query("select name from users where id = $1", {user});
    return row->next() ? row->text(0) : std::string();
}

/// The user with that name, or else with that e-mail address; 0 when there is none.
std::int64_t findRecipient(const Context& context, const std::string& text) {
    const auto row = context.database.query(
        "select id from users where name = $1 or email = $2 order by name = $1 desc, id limit 1",
        {text, database::FreeText{text}});
    return row->next() ? row->integer(0) : 0;
}

/// The user's own invitation from an open one, which is made now if there is none yet.
InvitationRow ownFrom(const Context& context, const InvitationRow& open, std::int64_t user) {
    auto existing = selectInvitations(context, "origin = $1 and recipient = $2", {open.id, user});
    if (!existing.empty()) {
        return std::move(existing.front());
    }
    lockDirectory(context, database::RowLock::SHARE);
    InvitationRow own = open;
    own.recipient = user;
    own.recipientName = userName(context, user);
    if (!lockUser(context, own.recipientName)) {
        refuse(ErrorCode::INVALID_SESSION_ID);  // The user was removed meanwhile.
    }
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
                 {row.node, row.recipient, userName(context, row.recipient), row.right, row.id});
    } else {
        context.database.execute("delete from grants where invitation = $1", {row.id});
        noteSharing(context, folder);
    }
}

bool matches(const InvitationListRequest& request, const std::u16string& ownBucket,
             const Invitation& invitation) {
    Resource resource = request.getResource();
    const bool anyResource = resource == Resource();
    if (resource.getBucket().empty()) {
        resource.setBucket(ownBucket);
    }
    return request.getStatus().value_or(invitation.getStatus()) == invitation.getStatus() &&
           request.getType().value_or(invitation.getInvitationType()) ==
               invitation.getInvitationType() &&
           (anyResource || resource == invitation.getResource());
}

}  // namespace

/// Offers a folder that the caller owns. The recipient is the name or e-mail address of a user, who
/// may be created later.
InvitationCreateResponse createInvitation(const Context& context,
                                          const InvitationCreateRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    const Node& folder = path.node(Kind::FOLDER, Right::OWN);
    // An invitation cannot change the owner.
    requireBetween(request.getAccessType(), AccessType::READ_ONLY, AccessType::READ_WRITE);
    InvitationRow row;
    row.node = folder.id;
    row.inviter = path.user;
    row.recipientName = toUtf8(request.getRecipient());
    row.right = request.getAccessType() == AccessType::READ_WRITE ? Right::WRITE : Right::READ;
    if (request.getRecipient().empty()) {
        row.type = InvitationType::OPEN;
    } else if (!isAddress(request.getRecipient())) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    } else {
        lockDirectory(context, database::RowLock::SHARE);
        row.recipient = findRecipient(context, row.recipientName);
    }
    insertInvitation(context, row);
    noteSharing(context, folder);
    return InvitationCreateResponse().withInvitation(describe(context, row));
}

InvitationReadResponse readInvitation(const Context& context,
                                      const InvitationReadRequest& request) {
    const std::int64_t user = requireUser(context);
    return InvitationReadResponse().withInvitation(
        describe(context, findInvitation(context, user, request.getInvitationId())));
}

InvitationDetailsResponse getInvitationDetails(const Context& context,
                                               const InvitationDetailsRequest& request) {
    const std::int64_t user = requireUser(context);
    return InvitationDetailsResponse().withInvitation(
        describe(context, findInvitation(context, user, request.getInvitationId())));
}

/// Accepts an invitation, which grants the right, or declines it, which takes the right back.
/// Recipients may change their answer, but not to PENDING, which is refused with CONFLICT. The
/// answer to an open invitation makes one of the caller's own from it.
InvitationUpdateResponse updateInvitation(const Context& context,
                                          const InvitationUpdateRequest& request) {
    const std::int64_t user = requireUser(context);
    const InvitationStatus status = request.getStatus().value_or(InvitationStatus::PENDING);
    requireBetween(status, InvitationStatus::PENDING, InvitationStatus::DECLINED);
    InvitationRow row = findInvitation(context, user, request.getInvitationId());
    const bool isOpen = row.type == InvitationType::OPEN;
    if (isOpen ? row.inviter == user : row.recipient != user) {
        refuse(ErrorCode::UNAUTHORIZED);
    }
    const ResolvedPath path = resolveNode(context, user, row.node);
    if (path.chain.empty()) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    if (status == InvitationStatus::PENDING) {
        refuse(ErrorCode::CONFLICT);
    }
    if (isOpen) {
        row = ownFrom(context, row, user);
    }
    row.status = status;
    answer(context, row, path.chain.back());
    return InvitationUpdateResponse().withInvitation(describe(context, row));
}

/// Deletes an invitation, those made from it and the rights they gave.
InvitationDeleteResponse deleteInvitation(const Context& context,
                                          const InvitationDeleteRequest& request) {
    const std::int64_t user = requireUser(context);
    const InvitationRow row = findInvitation(context, user, request.getInvitationId());
    if (row.inviter != user) {
        refuse(ErrorCode::UNAUTHORIZED);
    }
    context.database.execute(
        "delete from grants where invitation <> '' and invitation in"
        " (select id from invitations where node = $1 and (id = $2 or origin = $2))",
        {row.node, row.id});
    context.database.execute("delete from invitations where node = $1 and (id = $2 or origin = $2)",
                             {row.node, row.id});
    const ResolvedPath path = resolveNode(context, user, row.node);
    if (path.chain.empty()) {
        refreshShared(context, row.node);
    } else {
        noteSharing(context, path.chain.back());
    }
    return {};
}

/// Lists from the oldest to the newest.
InvitationListResponse listInvitations(const Context& context,
                                       const InvitationListRequest& request) {
    const std::int64_t user = requireUser(context);
    const std::u16string ownBucket = toUtf16(userName(context, user));
    std::vector<Invitation> invitations;
    for (const auto& row : selectInvitations(context, "inviter = $1 or recipient = $1", {user})) {
        Invitation invitation = describe(context, row);
        if (matches(request, ownBucket, invitation)) {
            invitations.push_back(std::move(invitation));
        }
    }
    return InvitationListResponse().withInvitations(std::move(invitations));
}

}  // namespace storage::kvxstore::operations
