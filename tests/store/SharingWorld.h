#pragma once

#include "StoreFixture.h"

namespace storage::kvxstore {

using Outcome = std::optional<Code>;

inline constexpr Outcome served = std::nullopt;
inline constexpr Outcome notFound = Code::RESOURCE_NOT_FOUND;
inline constexpr Outcome denied = Code::UNAUTHORIZED;

inline Resource at(const std::u16string& path) { return {path, u"owner"}; }
inline Resource own(const std::u16string& path) { return {path, u""}; }

/// An owner who gave a reader and a writer a folder each may use, and a stranger nothing.
struct World {
    std::shared_ptr<Store> store = Store::open(newStoreUrl(), {.readers = 1});
    Account owner{*store, store->createUser({.name = u"owner"})};
    Account writer{*store, store->createUser({.name = u"writer"})};
    Account reader{*store, store->createUser({.name = u"reader"})};
    Account stranger{*store, store->createUser({.name = u"stranger"})};
    Account nobody{*store, store->createUser({.name = u"nobody"})};
    std::string permission;
    std::string invitation;
    std::string handle;

    World() {
        for (const char16_t* folder : {u"/shared", u"/shared/sub", u"/private"}) {
            owner.makeFolder(folder);
        }
        owner.put(u"/shared/f", "one", true);
        owner.put(u"/shared/f", "two", true);
        owner.put(u"/private/p", "secret");
        permission = grant(u"reader", Operation::READ);
        grant(u"writer", Operation::READ_WRITE);
        store->createUser({.name = u"guest"});
        invitation = invite(u"guest").getInvitationId();
        handle = OpenFile(owner, u"/shared/f").id;
        for (const Account* user : {&writer, &reader, &stranger}) {
            user->put(u"/mine", "mine");
        }
        nobody.client->withSessionId("");
    }

    std::string grant(const std::u16string& name, Operation operation) const {
        return owner.sharing
            ->grantPermission(PermissionGrantRequest(at(u"/shared"))
                                  .withSubject(Subject().withSubjectName(name))
                                  .withOperation(operation)
                                  .withAllowNonExistingUser(true))
            .getPermissionId();
    }

    Invitation invite(const std::u16string& recipient,
                      AccessType accessType = AccessType::READ_ONLY) const {
        return owner.sharing
            ->createInvitation(InvitationCreateRequest(at(u"/shared"))
                                   .withRecipient(recipient)
                                   .withAccessType(accessType))
            .getInvitation();
    }
};

}  // namespace storage::kvxstore
