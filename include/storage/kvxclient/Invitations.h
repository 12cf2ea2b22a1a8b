#pragma once

/// @file
/// Invitations to shared folders, the people they name, and the requests about them.

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "storage/kvxclient/Enumerations.h"
#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/Resource.h"

namespace storage::kvxclient {

/// A person known to the service.
class KVXCLIENT_EXPORT UserProfile {
public:
    /// Makes a record with every field at its default.
    UserProfile();

    /// Sets the e-mail address.
    UserProfile& withEmailAddress(std::u16string emailAddress);
    /// Returns the e-mail address. Default: empty.
    std::u16string getEmailAddress() const;

    /// Sets the first name.
    UserProfile& withFirstName(std::u16string firstName);
    /// Returns the first name. Default: empty.
    std::u16string getFirstName() const;

    /// Sets the last name.
    UserProfile& withLastName(std::u16string lastName);
    /// Returns the last name. Default: empty.
    std::u16string getLastName() const;

    /// Sets the id of the user.
    UserProfile& withUserId(std::u16string userId);
    /// Returns the id of the user. Default: empty.
    std::u16string getUserId() const;

    /// Sets the id of this profile.
    UserProfile& withProfileId(std::string profileId);
    /// Returns the id of this profile. Default: empty.
    std::string getProfileId() const;

    /// Compares emailAddress, firstName, lastName, userId and profileId.
    bool operator==(const UserProfile& other) const;

private:
    std::u16string emailAddress_;
    std::u16string firstName_;
    std::u16string lastName_;
    std::u16string userId_;
    std::string profileId_;
};

/// Offers access to a folder to a recipient.
class KVXCLIENT_EXPORT Invitation {
public:
    /// Makes a record with the defaults of the fields that have one.
    Invitation();

    /// Sets the id of the invitation.
    Invitation& withInvitationId(std::string invitationId);
    /// Returns the id of the invitation. Default: empty.
    std::string getInvitationId() const;

    /// Sets the folder offered.
    Invitation& withResource(Resource resource);
    /// Returns the folder offered. Default: a default Resource.
    Resource getResource() const;

    /// Sets the right offered.
    Invitation& withAccessType(AccessType accessType);
    /// Returns the right offered. No default: set it before use.
    AccessType getAccessType() const;

    /// Sets the kind of the invitation.
    Invitation& withInvitationType(InvitationType invitationType);
    /// Returns the kind of the invitation. No default: set it before use.
    InvitationType getInvitationType() const;

    /// Sets the name of the folder offered.
    Invitation& withName(std::u16string name);
    /// Returns the name of the folder offered. Default: empty.
    std::u16string getName() const;

    /// Sets the tombstone of the invitation, as the service gives it.
    Invitation& withTombstone(std::string tombstone);
    /// Returns the tombstone of the invitation, as the service gives it. Default: empty.
    std::string getTombstone() const;

    /// Sets who sent the invitation.
    Invitation& withInitiator(UserProfile initiator);
    /// Returns who sent the invitation. Default: a default UserProfile.
    UserProfile getInitiator() const;

    /// Sets who received the invitation.
    Invitation& withRecipient(UserProfile recipient);
    /// Returns who received the invitation. Default: a default UserProfile.
    UserProfile getRecipient() const;

    /// Sets the state of the invitation.
    Invitation& withInvitationStatus(InvitationStatus status);
    /// Returns the state of the invitation. No default: set it before use.
    InvitationStatus getStatus() const;

    /// Sets when the invitation was made.
    Invitation& withCreated(std::chrono::system_clock::time_point created);
    /// Returns when the invitation was made. Default: the epoch.
    std::chrono::system_clock::time_point getCreated() const;

    /// Sets the date of validity for logins, as the service gives it.
    Invitation& withLoginValidityDate(std::chrono::system_clock::time_point loginValidityDate);
    /// Returns the date of validity for logins, as the service gives it. Default: the epoch.
    std::chrono::system_clock::time_point getLoginValidityDate() const;

    /// Sets whether a link to the invitation is active.
    Invitation& withHasActiveLink(bool hasActiveLink);
    /// Returns whether a link to the invitation is active. Default: false.
    bool getHasActiveLink() const;

    /// Sets the application of the invitation, as the service gives it.
    Invitation& withApplication(std::string application);
    /// Returns the application of the invitation, as the service gives it. Default: empty.
    std::string getApplication() const;

    /// Compares invitationId, resource, accessType, invitationType, name, tombstone, initiator,
    /// recipient, status, created, loginValidityDate, hasActiveLink and application.
    bool operator==(const Invitation& other) const;

private:
    std::string invitationId_;
    Resource resource_;
    AccessType accessType_ = AccessType::READ_ONLY;
    InvitationType invitationType_ = InvitationType::OPEN;
    std::u16string name_;
    std::string tombstone_;
    UserProfile initiator_;
    UserProfile recipient_;
    InvitationStatus status_ = InvitationStatus::PENDING;
    std::chrono::system_clock::time_point created_;
    std::chrono::system_clock::time_point loginValidityDate_;
    bool hasActiveLink_ = false;
    std::string application_;
};

/// Asks to invite to a folder.
class KVXCLIENT_EXPORT InvitationCreateRequest {
public:
    /// Makes the request for the folder to share.
    InvitationCreateRequest(Resource resource);

    /// Returns the folder to share.
    Resource getResource() const;

    /// Sets who is invited, empty for an open invitation.
    InvitationCreateRequest& withRecipient(std::u16string recipient);
    /// Returns who is invited, empty for an open invitation. Default: empty.
    std::u16string getRecipient() const;

    /// Sets the right offered.
    InvitationCreateRequest& withAccessType(AccessType accessType);
    /// Returns the right offered. No default: set it before use.
    AccessType getAccessType() const;

    /// Returns the recipient as UTF-8 with every byte except ASCII letters, digits, "." and "/"
    /// written as "%" and two upper-case hexadecimal digits, as Resource encodes its path.
    std::string getPercentEncodedRecipient() const;

    /// Compares resource, recipient and accessType.
    bool operator==(const InvitationCreateRequest& other) const;

private:
    Resource resource_;
    std::u16string recipient_;
    AccessType accessType_ = AccessType::READ_ONLY;
};

/// Asks for one invitation by its id.
class KVXCLIENT_EXPORT InvitationReadRequest {
public:
    /// Makes a record with every field at its default.
    InvitationReadRequest();

    /// Returns an empty resource: nothing sets it, since the id names the invitation. Default: a
    /// default Resource.
    Resource getResource() const;

    /// Sets the id of the invitation.
    InvitationReadRequest& withInvitationId(std::string invitationId);
    /// Returns the id of the invitation. Default: empty.
    std::string getInvitationId() const;

    /// Compares invitationId. The resource is not compared: it is always empty.
    bool operator==(const InvitationReadRequest& other) const;

private:
    Resource resource_;
    std::string invitationId_;
};

/// Asks to accept or decline an invitation.
class KVXCLIENT_EXPORT InvitationUpdateRequest {
public:
    /// Makes a record with the defaults of the fields that have one.
    InvitationUpdateRequest();

    /// Sets the folder offered.
    InvitationUpdateRequest& withResource(Resource resource);
    /// Returns the folder offered. Default: a default Resource.
    Resource getResource() const;

    /// Sets the id of the invitation.
    InvitationUpdateRequest& withInvitationId(std::string invitationId);
    /// Returns the id of the invitation. Default: empty.
    std::string getInvitationId() const;

    /// Sets the new state of the invitation.
    InvitationUpdateRequest& withStatus(InvitationStatus status);
    /// Returns the new state of the invitation. No default: set it before use. Never empty:
    /// optional only to read like InvitationListRequest.
    std::optional<InvitationStatus> getStatus() const;

    /// Compares resource, invitationId and status.
    bool operator==(const InvitationUpdateRequest& other) const;

private:
    Resource resource_;
    std::string invitationId_;
    InvitationStatus status_ = InvitationStatus::PENDING;
};

/// Asks to delete an invitation.
class KVXCLIENT_EXPORT InvitationDeleteRequest {
public:
    /// Makes a record with every field at its default.
    InvitationDeleteRequest();

    /// Sets the folder offered.
    InvitationDeleteRequest& withResource(Resource resource);
    /// Returns the folder offered. Default: a default Resource.
    Resource getResource() const;

    /// Sets the id of the invitation.
    InvitationDeleteRequest& withInvitationId(std::string invitationId);
    /// Returns the id of the invitation. Default: empty.
    std::string getInvitationId() const;

    /// Compares resource and invitationId.
    bool operator==(const InvitationDeleteRequest& other) const;

private:
    Resource resource_;
    std::string invitationId_;
};

/// Asks for the invitations that the caller sent or received.
class KVXCLIENT_EXPORT InvitationListRequest {
public:
    /// Makes a record with every field at its default.
    InvitationListRequest();

    /// Sets the folder whose invitations are listed.
    InvitationListRequest& withResource(Resource resource);
    /// Returns the folder whose invitations are listed. Default: a default Resource.
    Resource getResource() const;

    /// Sets the state that listed invitations must have.
    InvitationListRequest& withStatus(InvitationStatus status);
    /// Returns the state that listed invitations must have. Default: empty.
    std::optional<InvitationStatus> getStatus() const;

    /// Sets the kind that listed invitations must have.
    InvitationListRequest& withType(InvitationType type);
    /// Returns the kind that listed invitations must have. Default: empty.
    std::optional<InvitationType> getType() const;

    /// Compares resource, status and type.
    bool operator==(const InvitationListRequest& other) const;

private:
    Resource resource_;
    std::optional<InvitationStatus> status_;
    std::optional<InvitationType> type_;
};

/// Asks to copy the folder that an invitation offers.
class KVXCLIENT_EXPORT InvitationCopyFolderRequest {
public:
    /// Makes a record with every field at its default.
    InvitationCopyFolderRequest();

    /// Sets the folder offered.
    InvitationCopyFolderRequest& withResource(Resource resource);
    /// Returns the folder offered. Default: a default Resource.
    Resource getResource() const;

    /// Sets where the copy goes.
    InvitationCopyFolderRequest& withTargetResource(Resource targetResource);
    /// Returns where the copy goes. Default: a default Resource.
    Resource getTargetResource() const;

    /// Sets the id of the invitation.
    InvitationCopyFolderRequest& withInvitationId(std::string invitationId);
    /// Returns the id of the invitation. Default: empty.
    std::string getInvitationId() const;

    /// Compares resource, targetResource and invitationId.
    bool operator==(const InvitationCopyFolderRequest& other) const;

private:
    Resource resource_;
    Resource targetResource_;
    std::string invitationId_;
};

/// Asks for the details of an invitation.
class KVXCLIENT_EXPORT InvitationDetailsRequest {
public:
    /// Makes a record with every field at its default.
    InvitationDetailsRequest();

    /// Sets the id of the invitation.
    InvitationDetailsRequest& withInvitationId(std::string invitationId);
    /// Returns the id of the invitation. Default: empty.
    std::string getInvitationId() const;

    /// Compares invitationId.
    bool operator==(const InvitationDetailsRequest& other) const;

private:
    std::string invitationId_;
};

/// The invitation that was created.
class KVXCLIENT_EXPORT InvitationCreateResponse {
public:
    /// Makes a record with every field at its default.
    InvitationCreateResponse();

    /// Sets the invitation.
    InvitationCreateResponse& withInvitation(Invitation invitation);
    /// Returns the invitation. Default: a default Invitation.
    Invitation getInvitation() const;

    /// Compares invitation.
    bool operator==(const InvitationCreateResponse& other) const;

private:
    Invitation invitation_;
};

/// The invitation asked for.
class KVXCLIENT_EXPORT InvitationReadResponse {
public:
    /// Makes a record with every field at its default.
    InvitationReadResponse();

    /// Sets the invitation.
    InvitationReadResponse& withInvitation(Invitation invitation);
    /// Returns the invitation. Default: a default Invitation.
    Invitation getInvitation() const;

    /// Compares invitation.
    bool operator==(const InvitationReadResponse& other) const;

private:
    Invitation invitation_;
};

/// The invitation after the update.
class KVXCLIENT_EXPORT InvitationUpdateResponse {
public:
    /// Makes a record with every field at its default.
    InvitationUpdateResponse();

    /// Sets the invitation.
    InvitationUpdateResponse& withInvitation(Invitation invitation);
    /// Returns the invitation. Default: a default Invitation.
    Invitation getInvitation() const;

    /// Compares invitation.
    bool operator==(const InvitationUpdateResponse& other) const;

private:
    Invitation invitation_;
};

/// The details of an invitation.
class KVXCLIENT_EXPORT InvitationDetailsResponse {
public:
    /// Makes a record with every field at its default.
    InvitationDetailsResponse();

    /// Sets the invitation.
    InvitationDetailsResponse& withInvitation(Invitation invitation);
    /// Returns the invitation. Default: a default Invitation.
    Invitation getInvitationDetails() const;

    /// Compares invitation.
    bool operator==(const InvitationDetailsResponse& other) const;

private:
    Invitation invitation_;
};

/// The invitations that matched.
class KVXCLIENT_EXPORT InvitationListResponse {
public:
    /// Makes a record with every field at its default.
    InvitationListResponse();

    /// Sets the invitations, in the order the service gave.
    InvitationListResponse& withInvitations(std::vector<Invitation> invitations);
    /// Returns the invitations, in the order the service gave. Default: empty.
    std::vector<Invitation> getInvitations() const;

    /// Compares invitations.
    bool operator==(const InvitationListResponse& other) const;

private:
    std::vector<Invitation> invitations_;
};

/// Confirms that the invitation is deleted. Has no fields.
class KVXCLIENT_EXPORT InvitationDeleteResponse {
public:
    /// Makes the record.
    InvitationDeleteResponse();

    /// Returns true only for the same object: there are no fields to compare.
    bool operator==(const InvitationDeleteResponse& other) const;
};

/// Confirms that the folder is copied. Has no fields.
class KVXCLIENT_EXPORT InvitationCopyFolderResponse {
public:
    /// Makes the record.
    InvitationCopyFolderResponse();

    /// Returns true only for the same object: there are no fields to compare.
    bool operator==(const InvitationCopyFolderResponse& other) const;
};

}  // namespace storage::kvxclient
