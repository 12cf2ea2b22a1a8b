#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "storage/kvxclient.h"

namespace storage::kvxclient {

// Which callback forms were reached, in order.
struct Reached {
    Reached() { reached.reserve(64); }
    mutable std::vector<std::string> reached;
};

// A callback form that notes that it was reached and completes at once.
#define SCRIPTED(Service, operation, Request, Response)                           \
    using Service::operation;                                                     \
    void operation(Request, CompletionHandler<Response> handler) const override { \
        reached.push_back(#operation);                                            \
        handler(Response(), nullptr);                                             \
    }

#define SCRIPTED_CONSTRUCTORS(Service) \
    using Service::Service;            \
    Scripted##Service()                \
        : Service(                     \
              "endpoint", [] { return std::string("session"); }, "application") {}

struct ScriptedFileAccess : FileAccess, Reached {
    SCRIPTED_CONSTRUCTORS(FileAccess)
    SCRIPTED(FileAccess, createFile, FileCreateRequest, FileWriteResponse)
    SCRIPTED(FileAccess, deleteFile, FileDeleteRequest, FileDeleteResponse)
    SCRIPTED(FileAccess, createFileDownload, FileDownloadCreateRequest, FileDownloadCreateResponse)
    SCRIPTED(FileAccess, downloadFile, FileDownloadRequest, FileDownloadResponse)
    SCRIPTED(FileAccess, createFolder, FolderCreateRequest, FolderCreateResponse)
    SCRIPTED(FileAccess, deleteFolder, FolderDeleteRequest, FolderDeleteResponse)
    SCRIPTED(FileAccess, createReadOnlyFileHandle, FileHandleReadOnlyCreateRequest,
             FileHandleReadOnlyCreateResponse)
    SCRIPTED(FileAccess, createReadWriteFileHandle, FileHandleReadWriteCreateRequest,
             FileHandleReadWriteCreateResponse)
    SCRIPTED(FileAccess, readFileContent, FileContentReadRequest, FileContentReadResponse)
    SCRIPTED(FileAccess, writeFileContent, FileContentWriteRequest, FileContentWriteResponse)
    SCRIPTED(FileAccess, closeFileHandle, FileHandleCloseRequest, FileHandleCloseResponse)
    SCRIPTED(FileAccess, listFolder, FolderListRequest, FolderListResponse)
    SCRIPTED(FileAccess, listMultiFolder, MultiFolderListRequest, MultiFolderListResponse)
    SCRIPTED(FileAccess, move, MoveOrCopyRequest, MoveOrCopyResponse)
    SCRIPTED(FileAccess, copy, MoveOrCopyRequest, MoveOrCopyResponse)
    SCRIPTED(FileAccess, readFileAttributes, FileAttributesReadRequest, FileAttributesReadResponse)
    SCRIPTED(FileAccess, setMetadata, SetMetadataRequest, SetMetadataResponse)

    // The one form whose outcome a test may script.
    using FileAccess::readFile;
    void readFile(FileReadRequest request,
                  CompletionHandler<FileReadResponse> handler) const override {
        reached.push_back("readFile");
        lastRead = std::move(request);
        onRead(std::move(handler));
    }
    std::function<void(CompletionHandler<FileReadResponse>)> onRead = [](auto handler) {
        handler(FileReadResponse(), nullptr);
    };
    mutable std::optional<FileReadRequest> lastRead;
};

struct ScriptedAccessControl : AccessControl, Reached {
    SCRIPTED_CONSTRUCTORS(AccessControl)
    SCRIPTED(AccessControl, grantPermission, PermissionGrantRequest, PermissionGrantResponse)
    SCRIPTED(AccessControl, revokePermission, PermissionRevokeRequest, PermissionRevokeResponse)
    SCRIPTED(AccessControl, listPermissions, PermissionListRequest, PermissionListResponse)
    SCRIPTED(AccessControl, createInvitation, InvitationCreateRequest, InvitationCreateResponse)
    SCRIPTED(AccessControl, readInvitation, InvitationReadRequest, InvitationReadResponse)
    SCRIPTED(AccessControl, updateInvitation, InvitationUpdateRequest, InvitationUpdateResponse)
    SCRIPTED(AccessControl, deleteInvitation, InvitationDeleteRequest, InvitationDeleteResponse)
    SCRIPTED(AccessControl, listInvitations, InvitationListRequest, InvitationListResponse)
    SCRIPTED(AccessControl, copyFolderFromInvitation, InvitationCopyFolderRequest,
             InvitationCopyFolderResponse)
    SCRIPTED(AccessControl, getFolderContentFromInvitation, InvitationFolderContentRequest,
             InvitationFolderContentResponse)
    SCRIPTED(AccessControl, getInvitationDetails, InvitationDetailsRequest,
             InvitationDetailsResponse)
};

struct ScriptedConfigurationManagement : ConfigurationManagement, Reached {
    SCRIPTED_CONSTRUCTORS(ConfigurationManagement)
    SCRIPTED(ConfigurationManagement, setResourcePolicy, ResourcePolicySetRequest,
             ResourcePolicySetResponse)
    SCRIPTED(ConfigurationManagement, getResourcePolicy, ResourcePolicyGetRequest,
             ResourcePolicyGetResponse)
    SCRIPTED(ConfigurationManagement, getStorageUsage, StorageUsageGetRequest,
             StorageUsageGetResponse)
};

struct ScriptedNotification : Notification {
    SCRIPTED_CONSTRUCTORS(Notification)
    using Notification::listFileChanges;
    void listFileChanges(FileChangeListRequest,
                         CompletionHandler<FileChangeListResponse> handler) const override {
        onList(std::move(handler));
    }
    std::function<void(CompletionHandler<FileChangeListResponse>)> onList;
};

struct ScriptedVersioning : IVersioning, Reached {
    SCRIPTED(IVersioning, listVersions, VersionListRequest, VersionListResponse)
    SCRIPTED(IVersioning, restoreVersion, VersionRestoreRequest, VersionRestoreResponse)
};

// A client that knows one token.
struct ScriptedClient : KVXClient {
    using KVXClient::KVXClient;
    using KVXClient::login;
    using KVXClient::logout;
    using KVXClient::ping;
    void ping(CompletionHandler<PingResponse> handler) const override {
        handler(PingResponse().withValue("alive"), nullptr);
    }
    void login(LoginRequest request, CompletionHandler<LoginResponse> handler) const override {
        if (request == LoginRequest().withToken("good")) {
            handler(LoginResponse().withSessionId("s1").withMinutesBeforeRelogin(60), nullptr);
        } else {
            handler({},
                    std::make_exception_ptr(KVXClientException(KVXClientErrorCode::INVALID_TOKEN)));
        }
    }
    void logout(LogoutRequest, CompletionHandler<LogoutResponse> handler) const override {
        handler({}, nullptr);
    }
    std::unique_ptr<FileAccess> createFileAccess() const override { return nullptr; }
    std::unique_ptr<AccessControl> createAccessControl() const override { return nullptr; }
    std::unique_ptr<ConfigurationManagement> createConfigurationManagement() const override {
        return nullptr;
    }
    std::unique_ptr<Notification> createNotification() const override { return nullptr; }
    std::unique_ptr<IVersioning> createVersioning() const override { return nullptr; }
    void cancelPendingCalls() const override {}
    void waitForPendingCalls() const override {}
};

#undef SCRIPTED
#undef SCRIPTED_CONSTRUCTORS

}  // namespace storage::kvxclient
