#include "storage/kvxclient/Permissions.h"

#include <utility>

#include "core/Equality.h"

namespace storage::kvxclient {

Subject::Subject() = default;

Subject& Subject::withSubjectName(std::u16string subjectName) {
    subjectName_ = std::move(subjectName);
    return *this;
}

std::u16string Subject::getSubjectName() const { return subjectName_; }

bool Subject::operator==(const Subject& other) const {
    return detail::equal(*this, other, &Subject::subjectName_);
}

Permission::Permission() = default;

Permission& Permission::withPermissionId(std::string permissionId) {
    permissionId_ = std::move(permissionId);
    return *this;
}

std::string Permission::getPermissionId() const { return permissionId_; }

Permission& Permission::withSubject(std::u16string subject) {
    subject_ = std::move(subject);
    return *this;
}

std::u16string Permission::getSubject() const { return subject_; }

Permission& Permission::withResource(Resource resource) {
    resource_ = std::move(resource);
    return *this;
}

Resource Permission::getResource() const { return resource_; }

Permission& Permission::withOperation(std::string operation) {
    operation_ = std::move(operation);
    return *this;
}

std::string Permission::getOperation() const { return operation_; }

Permission& Permission::withStatus(std::string status) {
    status_ = std::move(status);
    return *this;
}

std::string Permission::getStatus() const { return status_; }

bool Permission::operator==(const Permission& other) const {
    return detail::equal(*this, other, &Permission::resource_, &Permission::permissionId_,
                         &Permission::subject_, &Permission::operation_, &Permission::status_);
}

PermissionGrantRequest::PermissionGrantRequest(Resource resource)
    : resource_(std::move(resource)) {}

Resource PermissionGrantRequest::getResource() const { return resource_; }

PermissionGrantRequest& PermissionGrantRequest::withSubject(Subject subject) {
    subject_ = std::move(subject);
    return *this;
}

Subject PermissionGrantRequest::getSubject() const { return subject_; }

PermissionGrantRequest& PermissionGrantRequest::withOperation(Operation operation) {
    operation_ = operation;
    return *this;
}

Operation PermissionGrantRequest::getOperation() const { return operation_; }

PermissionGrantRequest& PermissionGrantRequest::withAllowNonExistingUser(
    bool allowNonExistingUser) {
    allowNonExistingUser_ = allowNonExistingUser;
    return *this;
}

bool PermissionGrantRequest::getAllowNonExistingUser() const { return allowNonExistingUser_; }

bool PermissionGrantRequest::operator==(const PermissionGrantRequest& other) const {
    return detail::equal(*this, other, &PermissionGrantRequest::resource_,
                         &PermissionGrantRequest::subject_, &PermissionGrantRequest::operation_,
                         &PermissionGrantRequest::allowNonExistingUser_);
}

PermissionGrantResponse::PermissionGrantResponse() = default;

PermissionGrantResponse& PermissionGrantResponse::withPermissionId(std::string permissionId) {
    permissionId_ = std::move(permissionId);
    return *this;
}

std::string PermissionGrantResponse::getPermissionId() const { return permissionId_; }

bool PermissionGrantResponse::operator==(const PermissionGrantResponse& other) const {
    return detail::equal(*this, other, &PermissionGrantResponse::permissionId_);
}

PermissionRevokeRequest::PermissionRevokeRequest(Resource resource)
    : resource_(std::move(resource)) {}

Resource PermissionRevokeRequest::getResource() const { return resource_; }

PermissionRevokeRequest& PermissionRevokeRequest::withPermissionId(std::string permissionId) {
    permissionId_ = std::move(permissionId);
    return *this;
}

std::string PermissionRevokeRequest::getPermissionId() const { return permissionId_; }

bool PermissionRevokeRequest::operator==(const PermissionRevokeRequest& other) const {
    return detail::equal(*this, other, &PermissionRevokeRequest::resource_,
                         &PermissionRevokeRequest::permissionId_);
}

PermissionRevokeResponse::PermissionRevokeResponse() = default;

bool PermissionRevokeResponse::operator==(const PermissionRevokeResponse& other) const {
    return this == &other;
}

PermissionListRequest::PermissionListRequest(Resource resource) : resource_(std::move(resource)) {}

Resource PermissionListRequest::getResource() const { return resource_; }

bool PermissionListRequest::operator==(const PermissionListRequest& other) const {
    return detail::equal(*this, other, &PermissionListRequest::resource_);
}

PermissionListResponse::PermissionListResponse() = default;

PermissionListResponse& PermissionListResponse::withPermissions(
    std::vector<Permission> permissions) {
    permissions_ = std::move(permissions);
    return *this;
}

std::vector<Permission> PermissionListResponse::getPermissions() const { return permissions_; }

bool PermissionListResponse::operator==(const PermissionListResponse& other) const {
    return detail::equal(*this, other, &PermissionListResponse::permissions_);
}

}  // namespace storage::kvxclient
