#include "namespace/InvitationRow.h"

#include "core/Text.h"
#include "namespace/ResolvedPath.h"

namespace storage::kvxstore {

namespace {

const std::string selectInvitation =
    "select id, node, inviter, recipient, recipient_name, type, level, status, created, origin"
    " from invitations where ";
const std::string selectInvitationById = selectInvitation + "id = $1";
const std::string selectInvitationsByNode = selectInvitation + "node = $1 order by created, id";
const std::string selectPendingInvitations =
    selectInvitation + "recipient = $1 and status = 0 order by created, id";
const std::string selectSentOrReceived =
    selectInvitation + "inviter = $1 or recipient = $1 order by created, id";
const std::string selectMadeFrom = selectInvitation + "origin = $1 and recipient = $2";

std::vector<InvitationRow> readRows(const database::Rows& rows) {
    std::vector<InvitationRow> found;
    while (rows->next()) {
        found.push_back({rows->text(0), rows->integer(1), rows->integer(2), rows->integer(3),
                         rows->text(4), InvitationType(rows->integer(5)), Right(rows->integer(6)),
                         InvitationStatus(rows->integer(7)), rows->integer(8), rows->text(9)});
    }
    return found;
}

UserProfile profileOf(const Context& context, std::int64_t user, const std::string& name) {
    const auto row = context.database.query(
        "select name, email, first_name, last_name from users where id = $1", {user});
    if (!row->next()) {
        return UserProfile().withUserId(toUtf16(name));
    }
    return UserProfile()
        .withUserId(toUtf16(row->bytes(0)))
        .withEmailAddress(toUtf16(row->bytes(1)))
        .withFirstName(toUtf16(row->bytes(2)))
        .withLastName(toUtf16(row->bytes(3)))
        .withProfileId(std::to_string(user));
}

}  // namespace

InvitationRow findInvitation(const Context& context, std::int64_t user, const std::string& id) {
    auto rows = readRows(context.database.query(selectInvitationById, {id}));
    if (rows.empty() || (rows.front().inviter != user && rows.front().recipient != user &&
                         rows.front().type != InvitationType::OPEN)) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    return std::move(rows.front());
}

std::vector<InvitationRow> invitationsTo(const Context& context, std::int64_t node) {
    return readRows(context.database.query(selectInvitationsByNode, {node}));
}

std::vector<InvitationRow> pendingInvitations(const Context& context, std::int64_t user) {
    return readRows(context.database.query(selectPendingInvitations, {user}));
}

std::vector<InvitationRow> sentOrReceivedInvitations(const Context& context, std::int64_t user) {
    return readRows(context.database.query(selectSentOrReceived, {user}));
}

std::optional<InvitationRow> invitationMadeFrom(const Context& context, const InvitationRow& open,
                                                std::int64_t user) {
    auto rows = readRows(context.database.query(selectMadeFrom, {open.id, user}));
    return rows.empty() ? std::nullopt : std::optional(std::move(rows.front()));
}

Invitation describe(const Context& context, const InvitationRow& row) {
    const bool isOpen = row.type == InvitationType::OPEN;
    auto invitation = Invitation()
                          .withInvitationId(row.id)
                          .withAccessType(accessTypeOf(row.right))
                          .withInvitationType(row.type)
                          .withInitiator(profileOf(context, row.inviter, {}))
                          .withInvitationStatus(row.status)
                          .withCreated(toTime(row.created))
                          .withHasActiveLink(isOpen);
    if (!isOpen) {
        invitation.withRecipient(profileOf(context, row.recipient, row.recipientName));
    }
    const ResolvedPath path = resolveNode(context, row.recipient, row.node);
    if (path.chain.empty()) {
        invitation.withTombstone(std::to_string(row.node));
    } else {
        invitation.withResource(path.resource()).withName(toUtf16(path.chain.back().name));
    }
    return invitation;
}

}  // namespace storage::kvxstore
