#include "storage/kvxclient/Invitations.h"

#include <utility>

#include "core/Equality.h"
#include "core/PathEncoding.h"

namespace storage::kvxclient {

UserProfile::UserProfile() = default;

UserProfile& UserProfile::withEmailAddress(std::u16string emailAddress) {
    emailAddress_ = std::move(emailAddress);
    return *this;
}

std::u16string UserProfile::getEmailAddress() const { return emailAddress_; }

UserProfile& UserProfile::withFirstName(std::u16string firstName) {
    firstName_ = std::move(firstName);
    return *this;
}

std::u16string UserProfile::getFirstName() const { return firstName_; }

UserProfile& UserProfile::withLastName(std::u16string lastName) {
    lastName_ = std::move(lastName);
    return *this;
}

std::u16string UserProfile::getLastName() const { return lastName_; }

UserProfile& UserProfile::withUserId(std::u16string userId) {
    userId_ = std::move(userId);
    return *this;
}

std::u16string UserProfile::getUserId() const { return userId_; }

UserProfile& UserProfile::withProfileId(std::string profileId) {
    profileId_ = std::move(profileId);
    return *this;
}

std::string UserProfile::getProfileId() const { return profileId_; }

bool UserProfile::operator==(const UserProfile& other) const {
    return detail::equal(*this, other, &UserProfile::emailAddress_, &UserProfile::firstName_,
                         &UserProfile::lastName_, &UserProfile::userId_, &UserProfile::profileId_);
}

Invitation::Invitation() = default;

Invitation& Invitation::withInvitationId(std::string invitationId) {
    invitationId_ = std::move(invitationId);
    return *this;
}

std::string Invitation::getInvitationId() const { return invitationId_; }

Invitation& Invitation::withResource(Resource resource) {
    resource_ = std::move(resource);
    return *this;
}

Resource Invitation::getResource() const { return resource_; }

Invitation& Invitation::withAccessType(AccessType accessType) {
    accessType_ = accessType;
    return *this;
}

AccessType Invitation::getAccessType() const { return accessType_; }

Invitation& Invitation::withInvitationType(InvitationType invitationType) {
    invitationType_ = invitationType;
    return *this;
}

InvitationType Invitation::getInvitationType() const { return invitationType_; }

Invitation& Invitation::withName(std::u16string name) {
    name_ = std::move(name);
    return *this;
}

std::u16string Invitation::getName() const { return name_; }

Invitation& Invitation::withTombstone(std::string tombstone) {
    tombstone_ = std::move(tombstone);
    return *this;
}

std::string Invitation::getTombstone() const { return tombstone_; }

Invitation& Invitation::withInitiator(UserProfile initiator) {
    initiator_ = std::move(initiator);
    return *this;
}

UserProfile Invitation::getInitiator() const { return initiator_; }

Invitation& Invitation::withRecipient(UserProfile recipient) {
    recipient_ = std::move(recipient);
    return *this;
}

UserProfile Invitation::getRecipient() const { return recipient_; }

Invitation& Invitation::withInvitationStatus(InvitationStatus status) {
    status_ = status;
    return *this;
}

InvitationStatus Invitation::getStatus() const { return status_; }

Invitation& Invitation::withCreated(std::chrono::system_clock::time_point created) {
    created_ = created;
    return *this;
}

std::chrono::system_clock::time_point Invitation::getCreated() const { return created_; }

Invitation& Invitation::withLoginValidityDate(
    std::chrono::system_clock::time_point loginValidityDate) {
    loginValidityDate_ = loginValidityDate;
    return *this;
}

std::chrono::system_clock::time_point Invitation::getLoginValidityDate() const {
    return loginValidityDate_;
}

Invitation& Invitation::withHasActiveLink(bool hasActiveLink) {
    hasActiveLink_ = hasActiveLink;
    return *this;
}

bool Invitation::getHasActiveLink() const { return hasActiveLink_; }

Invitation& Invitation::withApplication(std::string application) {
    application_ = std::move(application);
    return *this;
}

std::string Invitation::getApplication() const { return application_; }

bool Invitation::operator==(const Invitation& other) const {
    return detail::equal(*this, other, &Invitation::invitationId_, &Invitation::resource_,
                         &Invitation::accessType_, &Invitation::invitationType_, &Invitation::name_,
                         &Invitation::tombstone_, &Invitation::initiator_, &Invitation::recipient_,
                         &Invitation::status_, &Invitation::created_,
                         &Invitation::loginValidityDate_, &Invitation::hasActiveLink_,
                         &Invitation::application_);
}

InvitationCreateRequest::InvitationCreateRequest(Resource resource)
    : resource_(std::move(resource)) {}

Resource InvitationCreateRequest::getResource() const { return resource_; }

InvitationCreateRequest& InvitationCreateRequest::withRecipient(std::u16string recipient) {
    recipient_ = std::move(recipient);
    return *this;
}

std::u16string InvitationCreateRequest::getRecipient() const { return recipient_; }

InvitationCreateRequest& InvitationCreateRequest::withAccessType(AccessType accessType) {
    accessType_ = accessType;
    return *this;
}

AccessType InvitationCreateRequest::getAccessType() const { return accessType_; }

std::string InvitationCreateRequest::getPercentEncodedRecipient() const {
    return detail::percentEncode(recipient_);
}

bool InvitationCreateRequest::operator==(const InvitationCreateRequest& other) const {
    return detail::equal(*this, other, &InvitationCreateRequest::resource_,
                         &InvitationCreateRequest::recipient_,
                         &InvitationCreateRequest::accessType_);
}

InvitationReadRequest::InvitationReadRequest() = default;

Resource InvitationReadRequest::getResource() const { return resource_; }

InvitationReadRequest& InvitationReadRequest::withInvitationId(std::string invitationId) {
    invitationId_ = std::move(invitationId);
    return *this;
}

std::string InvitationReadRequest::getInvitationId() const { return invitationId_; }

bool InvitationReadRequest::operator==(const InvitationReadRequest& other) const {
    return detail::equal(*this, other, &InvitationReadRequest::invitationId_);
}

InvitationUpdateRequest::InvitationUpdateRequest() = default;

InvitationUpdateRequest& InvitationUpdateRequest::withResource(Resource resource) {
    resource_ = std::move(resource);
    return *this;
}

Resource InvitationUpdateRequest::getResource() const { return resource_; }

InvitationUpdateRequest& InvitationUpdateRequest::withInvitationId(std::string invitationId) {
    invitationId_ = std::move(invitationId);
    return *this;
}

std::string InvitationUpdateRequest::getInvitationId() const { return invitationId_; }

InvitationUpdateRequest& InvitationUpdateRequest::withStatus(InvitationStatus status) {
    status_ = status;
    return *this;
}

std::optional<InvitationStatus> InvitationUpdateRequest::getStatus() const { return status_; }

bool InvitationUpdateRequest::operator==(const InvitationUpdateRequest& other) const {
    return detail::equal(*this, other, &InvitationUpdateRequest::resource_,
                         &InvitationUpdateRequest::invitationId_,
                         &InvitationUpdateRequest::status_);
}

InvitationDeleteRequest::InvitationDeleteRequest() = default;

InvitationDeleteRequest& InvitationDeleteRequest::withResource(Resource resource) {
    resource_ = std::move(resource);
    return *this;
}

Resource InvitationDeleteRequest::getResource() const { return resource_; }

InvitationDeleteRequest& InvitationDeleteRequest::withInvitationId(std::string invitationId) {
    invitationId_ = std::move(invitationId);
    return *this;
}

std::string InvitationDeleteRequest::getInvitationId() const { return invitationId_; }

bool InvitationDeleteRequest::operator==(const InvitationDeleteRequest& other) const {
    return detail::equal(*this, other, &InvitationDeleteRequest::resource_,
                         &InvitationDeleteRequest::invitationId_);
}

InvitationListRequest::InvitationListRequest() = default;

InvitationListRequest& InvitationListRequest::withResource(Resource resource) {
    resource_ = std::move(resource);
    return *this;
}

Resource InvitationListRequest::getResource() const { return resource_; }

InvitationListRequest& InvitationListRequest::withStatus(InvitationStatus status) {
    status_ = status;
    return *this;
}

std::optional<InvitationStatus> InvitationListRequest::getStatus() const { return status_; }

InvitationListRequest& InvitationListRequest::withType(InvitationType type) {
    type_ = type;
    return *this;
}

std::optional<InvitationType> InvitationListRequest::getType() const { return type_; }

bool InvitationListRequest::operator==(const InvitationListRequest& other) const {
    return detail::equal(*this, other, &InvitationListRequest::resource_,
                         &InvitationListRequest::status_, &InvitationListRequest::type_);
}

InvitationCopyFolderRequest::InvitationCopyFolderRequest() = default;

InvitationCopyFolderRequest& InvitationCopyFolderRequest::withResource(Resource resource) {
    resource_ = std::move(resource);
    return *this;
}

Resource InvitationCopyFolderRequest::getResource() const { return resource_; }

InvitationCopyFolderRequest& InvitationCopyFolderRequest::withTargetResource(
    Resource targetResource) {
    targetResource_ = std::move(targetResource);
    return *this;
}

Resource InvitationCopyFolderRequest::getTargetResource() const { return targetResource_; }

InvitationCopyFolderRequest& InvitationCopyFolderRequest::withInvitationId(
    std::string invitationId) {
    invitationId_ = std::move(invitationId);
    return *this;
}

std::string InvitationCopyFolderRequest::getInvitationId() const { return invitationId_; }

bool InvitationCopyFolderRequest::operator==(const InvitationCopyFolderRequest& other) const {
    return detail::equal(*this, other, &InvitationCopyFolderRequest::resource_,
                         &InvitationCopyFolderRequest::targetResource_,
                         &InvitationCopyFolderRequest::invitationId_);
}

InvitationDetailsRequest::InvitationDetailsRequest() = default;

InvitationDetailsRequest& InvitationDetailsRequest::withInvitationId(std::string invitationId) {
    invitationId_ = std::move(invitationId);
    return *this;
}

std::string InvitationDetailsRequest::getInvitationId() const { return invitationId_; }

bool InvitationDetailsRequest::operator==(const InvitationDetailsRequest& other) const {
    return detail::equal(*this, other, &InvitationDetailsRequest::invitationId_);
}

InvitationCreateResponse::InvitationCreateResponse() = default;

InvitationCreateResponse& InvitationCreateResponse::withInvitation(Invitation invitation) {
    invitation_ = std::move(invitation);
    return *this;
}

Invitation InvitationCreateResponse::getInvitation() const { return invitation_; }

bool InvitationCreateResponse::operator==(const InvitationCreateResponse& other) const {
    return detail::equal(*this, other, &InvitationCreateResponse::invitation_);
}

InvitationReadResponse::InvitationReadResponse() = default;

InvitationReadResponse& InvitationReadResponse::withInvitation(Invitation invitation) {
    invitation_ = std::move(invitation);
    return *this;
}

Invitation InvitationReadResponse::getInvitation() const { return invitation_; }

bool InvitationReadResponse::operator==(const InvitationReadResponse& other) const {
    return detail::equal(*this, other, &InvitationReadResponse::invitation_);
}

InvitationUpdateResponse::InvitationUpdateResponse() = default;

InvitationUpdateResponse& InvitationUpdateResponse::withInvitation(Invitation invitation) {
    invitation_ = std::move(invitation);
    return *this;
}

Invitation InvitationUpdateResponse::getInvitation() const { return invitation_; }

bool InvitationUpdateResponse::operator==(const InvitationUpdateResponse& other) const {
    return detail::equal(*this, other, &InvitationUpdateResponse::invitation_);
}

InvitationDetailsResponse::InvitationDetailsResponse() = default;

InvitationDetailsResponse& InvitationDetailsResponse::withInvitation(Invitation invitation) {
    invitation_ = std::move(invitation);
    return *this;
}

Invitation InvitationDetailsResponse::getInvitationDetails() const { return invitation_; }

bool InvitationDetailsResponse::operator==(const InvitationDetailsResponse& other) const {
    return detail::equal(*this, other, &InvitationDetailsResponse::invitation_);
}

InvitationListResponse::InvitationListResponse() = default;

InvitationListResponse& InvitationListResponse::withInvitations(
    std::vector<Invitation> invitations) {
    invitations_ = std::move(invitations);
    return *this;
}

std::vector<Invitation> InvitationListResponse::getInvitations() const { return invitations_; }

bool InvitationListResponse::operator==(const InvitationListResponse& other) const {
    return detail::equal(*this, other, &InvitationListResponse::invitations_);
}

InvitationDeleteResponse::InvitationDeleteResponse() = default;

bool InvitationDeleteResponse::operator==(const InvitationDeleteResponse& other) const {
    return this == &other;
}

InvitationCopyFolderResponse::InvitationCopyFolderResponse() = default;

bool InvitationCopyFolderResponse::operator==(const InvitationCopyFolderResponse& other) const {
    return this == &other;
}

}  // namespace storage::kvxclient
