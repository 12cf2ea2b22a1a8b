#pragma once

#include "core/Context.h"
#include "storage/kvxclient/AccessControl.h"
#include "storage/kvxclient/ConfigurationManagement.h"
#include "storage/kvxclient/FileAccess.h"
#include "storage/kvxclient/IVersioning.h"
#include "storage/kvxclient/KVXClient.h"
#include "storage/kvxclient/Notification.h"

namespace storage::kvxstore::operations {

// The operations of the services. Each is a function of the context and its request, in one
// transaction: it knows no threads, and a refusal is an exception.
// REQUIRES: the connection is in a transaction, for writing where the operation changes something.

LoginResponse login(const Context& context, const LoginRequest& request);
LogoutResponse logout(const Context& context, const LogoutRequest& request);

FileWriteResponse createFile(const Context& context, const FileCreateRequest& request);
FileReadResponse readFile(const Context& context, const FileReadRequest& request);
FileDeleteResponse deleteFile(const Context& context, const FileDeleteRequest& request);
FileDownloadCreateResponse createFileDownload(const Context& context,
                                              const FileDownloadCreateRequest& request);
FileDownloadResponse downloadFile(const Context& context, const FileDownloadRequest& request);
FolderCreateResponse createFolder(const Context& context, const FolderCreateRequest& request);
FolderDeleteResponse deleteFolder(const Context& context, const FolderDeleteRequest& request);
FolderListResponse listFolder(const Context& context, const FolderListRequest& request);
MultiFolderListResponse listMultiFolder(const Context& context,
                                        const MultiFolderListRequest& request);
FileAttributesReadResponse readFileAttributes(const Context& context,
                                              const FileAttributesReadRequest& request);
SetMetadataResponse setMetadata(const Context& context, const SetMetadataRequest& request);
MoveOrCopyResponse move(const Context& context, const MoveOrCopyRequest& request);
MoveOrCopyResponse copy(const Context& context, const MoveOrCopyRequest& request);
FileHandleReadOnlyCreateResponse createReadOnlyFileHandle(
    const Context& context, const FileHandleReadOnlyCreateRequest& request);
FileHandleReadWriteCreateResponse createReadWriteFileHandle(
    const Context& context, const FileHandleReadWriteCreateRequest& request);
FileContentReadResponse readFileContent(const Context& context,
                                        const FileContentReadRequest& request);
FileContentWriteResponse writeFileContent(const Context& context,
                                          const FileContentWriteRequest& request);
FileHandleCloseResponse closeFileHandle(const Context& context,
                                        const FileHandleCloseRequest& request);

PermissionGrantResponse grantPermission(const Context& context,
                                        const PermissionGrantRequest& request);
PermissionRevokeResponse revokePermission(const Context& context,
                                          const PermissionRevokeRequest& request);
PermissionListResponse listPermissions(const Context& context,
                                       const PermissionListRequest& request);
InvitationCreateResponse createInvitation(const Context& context,
                                          const InvitationCreateRequest& request);
InvitationReadResponse readInvitation(const Context& context, const InvitationReadRequest& request);
InvitationDetailsResponse getInvitationDetails(const Context& context,
                                               const InvitationDetailsRequest& request);
InvitationUpdateResponse updateInvitation(const Context& context,
                                          const InvitationUpdateRequest& request);
InvitationDeleteResponse deleteInvitation(const Context& context,
                                          const InvitationDeleteRequest& request);
InvitationListResponse listInvitations(const Context& context,
                                       const InvitationListRequest& request);
InvitationFolderContentResponse getFolderContentFromInvitation(
    const Context& context, const InvitationFolderContentRequest& request);
InvitationCopyFolderResponse copyFolderFromInvitation(const Context& context,
                                                      const InvitationCopyFolderRequest& request);

ResourcePolicySetResponse setResourcePolicy(const Context& context,
                                            const ResourcePolicySetRequest& request);
ResourcePolicyGetResponse getResourcePolicy(const Context& context,
                                            const ResourcePolicyGetRequest& request);
StorageUsageGetResponse getStorageUsage(const Context& context, const StorageUsageGetRequest&);

VersionListResponse listVersions(const Context& context, const VersionListRequest& request);
VersionRestoreResponse restoreVersion(const Context& context, const VersionRestoreRequest& request);

FileChangeListResponse listFileChanges(const Context& context,
                                       const FileChangeListRequest& request);

}  // namespace storage::kvxstore::operations
