#include "namespace/InvitationRow.h"

#include "core/Text.h"
#include "namespace/ResolvedPath.h"

namespace storage::kvxstore {

namespace {

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
    std::vector<InvitationRow> rows;
    if (isSecret(id)) {
        rows = selectInvitations(context, "id = $1", {id});
    }
    if (rows.empty() || (rows.front().inviter != user && rows.front().recipient != user &&
                         rows.front().type != InvitationType::OPEN)) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    return std::move(rows.front());
}

std::vector<InvitationRow> selectInvitations(const Context& context, std::string_view condition,
                                             std::initializer_list<database::Value> values) {
    std::string sql =
        "select id, node, inviter, recipient, recipient_name, type, level, status, created, origin"
        " from invitations where ";
    sql.append(condition).append(" order by created, id");
    return collect(context.database.query(sql, values), [](const auto& row) {
        return InvitationRow{row.text(0),           row.integer(1),
                             row.integer(2),        row.integer(3),
                             row.text(4),           InvitationType(row.integer(5)),
                             Right(row.integer(6)), InvitationStatus(row.integer(7)),
                             row.integer(8),        row.text(9)};
    });
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
