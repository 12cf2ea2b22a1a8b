#pragma once

/// @file
/// Permissions: rights granted to a subject by name, without an invitation.

#include <string>
#include <vector>

#include "storage/kvxclient/Enumerations.h"
#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/Resource.h"

namespace storage::kvxclient {

/// The subject of a permission.
class KVXCLIENT_EXPORT Subject {
public:
    /// Makes a record with every field at its default.
    Subject();

    /// Sets the name of the subject.
    Subject& withSubjectName(std::u16string subjectName);
    /// Returns the name of the subject. Default: empty.
    std::u16string getSubjectName() const;

    /// Compares subjectName.
    bool operator==(const Subject& other) const;

private:
    std::u16string subjectName_;
};

/// A permission, in the service's own words.
class KVXCLIENT_EXPORT Permission {
public:
    /// Makes a record with every field at its default.
    Permission();

    /// Sets the id of the permission.
    Permission& withPermissionId(std::string permissionId);
    /// Returns the id of the permission. Default: empty.
    std::string getPermissionId() const;

    /// Sets the name of the subject.
    Permission& withSubject(std::u16string subject);
    /// Returns the name of the subject. Default: empty.
    std::u16string getSubject() const;

    /// Sets the file or folder.
    Permission& withResource(Resource resource);
    /// Returns the file or folder. Default: a default Resource.
    Resource getResource() const;

    /// Sets the right granted, as the service spells it.
    Permission& withOperation(std::string operation);
    /// Returns the right granted, as the service spells it. Default: empty.
    std::string getOperation() const;

    /// Sets the state of the permission, as the service spells it.
    Permission& withStatus(std::string status);
    /// Returns the state of the permission, as the service spells it. Default: empty.
    std::string getStatus() const;

    /// Compares resource, permissionId, subject, operation and status.
    bool operator==(const Permission& other) const;

private:
    std::string permissionId_;
    std::u16string subject_;
    Resource resource_;
    std::string operation_;
    std::string status_;
};

/// Asks to grant a subject a right on a file or folder.
class KVXCLIENT_EXPORT PermissionGrantRequest {
public:
    /// Makes the request for the file or folder.
    PermissionGrantRequest(Resource resource);

    /// Returns the file or folder.
    Resource getResource() const;

    /// Sets who is granted the right.
    PermissionGrantRequest& withSubject(Subject subject);
    /// Returns who is granted the right. Default: a default Subject.
    Subject getSubject() const;

    /// Sets the right.
    PermissionGrantRequest& withOperation(Operation operation);
    /// Returns the right. No default: set it before use.
    Operation getOperation() const;

    /// Sets whether a name that no user has is accepted.
    PermissionGrantRequest& withAllowNonExistingUser(bool allowNonExistingUser);
    /// Returns whether a name that no user has is accepted. No default: set it before use.
    bool getAllowNonExistingUser() const;

    /// Compares resource, subject, operation and allowNonExistingUser.
    bool operator==(const PermissionGrantRequest& other) const;

private:
    Resource resource_;
    Subject subject_;
    Operation operation_ = Operation::READ;
    bool allowNonExistingUser_ = false;
};

/// The permission that was granted.
class KVXCLIENT_EXPORT PermissionGrantResponse {
public:
    /// Makes a record with every field at its default.
    PermissionGrantResponse();

    /// Sets the id of the permission.
    PermissionGrantResponse& withPermissionId(std::string permissionId);
    /// Returns the id of the permission. Default: empty.
    std::string getPermissionId() const;

    /// Compares permissionId.
    bool operator==(const PermissionGrantResponse& other) const;

private:
    std::string permissionId_;
};

/// Asks to revoke a permission.
class KVXCLIENT_EXPORT PermissionRevokeRequest {
public:
    /// Makes the request for the file or folder.
    PermissionRevokeRequest(Resource resource);

    /// Returns the file or folder.
    Resource getResource() const;

    /// Sets the id of the permission.
    PermissionRevokeRequest& withPermissionId(std::string permissionId);
    /// Returns the id of the permission. Default: empty.
    std::string getPermissionId() const;

    /// Compares resource and permissionId.
    bool operator==(const PermissionRevokeRequest& other) const;

private:
    Resource resource_;
    std::string permissionId_;
};

/// Confirms that the permission is revoked. Has no fields.
class KVXCLIENT_EXPORT PermissionRevokeResponse {
public:
    /// Makes the record.
    PermissionRevokeResponse();

    /// Returns true only for the same object: there are no fields to compare.
    bool operator==(const PermissionRevokeResponse& other) const;
};

/// Asks for the permissions on a file or folder.
class KVXCLIENT_EXPORT PermissionListRequest {
public:
    /// Makes the request for the file or folder.
    PermissionListRequest(Resource resource);

    /// Returns the file or folder.
    Resource getResource() const;

    /// Compares resource.
    bool operator==(const PermissionListRequest& other) const;

private:
    Resource resource_;
};

/// The permissions on a file or folder.
class KVXCLIENT_EXPORT PermissionListResponse {
public:
    /// Makes a record with every field at its default.
    PermissionListResponse();

    /// Sets the permissions, in the order the service gave.
    PermissionListResponse& withPermissions(std::vector<Permission> permissions);
    /// Returns the permissions, in the order the service gave. Default: empty.
    std::vector<Permission> getPermissions() const;

    /// Compares permissions.
    bool operator==(const PermissionListResponse& other) const;

private:
    std::vector<Permission> permissions_;
};

}  // namespace storage::kvxclient
