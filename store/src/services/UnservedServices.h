#pragma once

#include "services/ServiceLink.h"
#include "storage/kvxclient/AccessControl.h"
#include "storage/kvxclient/ConfigurationManagement.h"
#include "storage/kvxclient/IVersioning.h"
#include "storage/kvxclient/Notification.h"

namespace storage::kvxstore::services {

/// A service whose operations the store does not have; each completes with UNKNOWN.
template <class Service>
class Unserved : public Service {
public:
    template <class... Arguments>
    explicit Unserved(ServiceLink link, Arguments... arguments)
        : Service(std::move(arguments)...), link_(std::move(link)) {}

protected:
    template <class Response>
    void refuse(kvxclient::CompletionHandler<Response> handler) const {
        link_.refuse(std::move(handler));
    }

private:
    ServiceLink link_;
};

class UnservedAccessControl final : public Unserved<kvxclient::AccessControl> {
public:
    using Unserved::Unserved;
    void grantPermission(
        kvxclient::PermissionGrantRequest,
        kvxclient::CompletionHandler<kvxclient::PermissionGrantResponse> handler) const override {
        refuse(std::move(handler));
    }
    void revokePermission(
        kvxclient::PermissionRevokeRequest,
        kvxclient::CompletionHandler<kvxclient::PermissionRevokeResponse> handler) const override {
        refuse(std::move(handler));
    }
    void listPermissions(
        kvxclient::PermissionListRequest,
        kvxclient::CompletionHandler<kvxclient::PermissionListResponse> handler) const override {
        refuse(std::move(handler));
    }
    void createInvitation(
        kvxclient::InvitationCreateRequest,
        kvxclient::CompletionHandler<kvxclient::InvitationCreateResponse> handler) const override {
        refuse(std::move(handler));
    }
    void readInvitation(
        kvxclient::InvitationReadRequest,
        kvxclient::CompletionHandler<kvxclient::InvitationReadResponse> handler) const override {
        refuse(std::move(handler));
    }
    void updateInvitation(
        kvxclient::InvitationUpdateRequest,
        kvxclient::CompletionHandler<kvxclient::InvitationUpdateResponse> handler) const override {
        refuse(std::move(handler));
    }
    void deleteInvitation(
        kvxclient::InvitationDeleteRequest,
        kvxclient::CompletionHandler<kvxclient::InvitationDeleteResponse> handler) const override {
        refuse(std::move(handler));
    }
    void listInvitations(
        kvxclient::InvitationListRequest,
        kvxclient::CompletionHandler<kvxclient::InvitationListResponse> handler) const override {
        refuse(std::move(handler));
    }
    void copyFolderFromInvitation(
        kvxclient::InvitationCopyFolderRequest,
        kvxclient::CompletionHandler<kvxclient::InvitationCopyFolderResponse> handler)
        const override {
        refuse(std::move(handler));
    }
    void getFolderContentFromInvitation(
        kvxclient::InvitationFolderContentRequest,
        kvxclient::CompletionHandler<kvxclient::InvitationFolderContentResponse> handler)
        const override {
        refuse(std::move(handler));
    }
    void getInvitationDetails(
        kvxclient::InvitationDetailsRequest,
        kvxclient::CompletionHandler<kvxclient::InvitationDetailsResponse> handler) const override {
        refuse(std::move(handler));
    }
};

class UnservedConfiguration final : public Unserved<kvxclient::ConfigurationManagement> {
public:
    using Unserved::Unserved;
    void setResourcePolicy(
        kvxclient::ResourcePolicySetRequest,
        kvxclient::CompletionHandler<kvxclient::ResourcePolicySetResponse> handler) const override {
        refuse(std::move(handler));
    }
    void getResourcePolicy(
        kvxclient::ResourcePolicyGetRequest,
        kvxclient::CompletionHandler<kvxclient::ResourcePolicyGetResponse> handler) const override {
        refuse(std::move(handler));
    }
    void getStorageUsage(
        kvxclient::StorageUsageGetRequest,
        kvxclient::CompletionHandler<kvxclient::StorageUsageGetResponse> handler) const override {
        refuse(std::move(handler));
    }
};

class UnservedNotification final : public Unserved<kvxclient::Notification> {
public:
    using Unserved::Unserved;
    void listFileChanges(
        kvxclient::FileChangeListRequest,
        kvxclient::CompletionHandler<kvxclient::FileChangeListResponse> handler) const override {
        refuse(std::move(handler));
    }
};

class UnservedVersioning final : public Unserved<kvxclient::IVersioning> {
public:
    using Unserved::Unserved;
    void listVersions(
        kvxclient::VersionListRequest,
        kvxclient::CompletionHandler<kvxclient::VersionListResponse> handler) const override {
        refuse(std::move(handler));
    }
    void restoreVersion(
        kvxclient::VersionRestoreRequest,
        kvxclient::CompletionHandler<kvxclient::VersionRestoreResponse> handler) const override {
        refuse(std::move(handler));
    }
};

}  // namespace storage::kvxstore::services
