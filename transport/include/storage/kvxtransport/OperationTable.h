#pragma once

/// @file
/// The table of operations: one row for each operation of the six services, from which everything
/// that must be done for every operation is made.
///
/// A row is ROW(Service, operation, Type, Request, Response, access, repeat, session):
/// - the service and the name of its operation, as in the interface;
/// - the type that stands for the operation in programs, in namespace kvxtransport::operations;
/// - request and response;
/// - READ, or WRITE when the call changes anything at the service, be it only that a location or a
///   handle comes to be;
/// - SAFE when the call may be sent again without harm after its answer was lost: it leaves the
///   state that one call leaves, but for what expires unused, such as a session or a read-only
///   handle. ONCE when it may not;
/// - SESSION when the call needs a session, OPEN when it needs none.
///
/// To add an operation: add its row here, in the order of the virtual functions, and its function
/// and clause where the compiler asks for them.

// clang-format off

/// The rows of KVXClient but ping, whose callback form takes no request.
#define KVXTRANSPORT_SESSION_OPERATIONS(ROW) \
    ROW(KVXClient, login,  Login,  LoginRequest,  LoginResponse,  WRITE, SAFE, OPEN) \
    ROW(KVXClient, logout, Logout, LogoutRequest, LogoutResponse, WRITE, ONCE, SESSION)

/// The rows of FileAccess.
#define KVXTRANSPORT_FILE_OPERATIONS(ROW) \
    ROW(FileAccess, createFile,                CreateFile,                FileCreateRequest,                FileWriteResponse,                 WRITE, ONCE, SESSION) \
    ROW(FileAccess, deleteFile,                DeleteFile,                FileDeleteRequest,                FileDeleteResponse,                WRITE, ONCE, SESSION) \
    ROW(FileAccess, createFileDownload,        CreateFileDownload,        FileDownloadCreateRequest,        FileDownloadCreateResponse,        WRITE, SAFE, SESSION) \
    ROW(FileAccess, downloadFile,              DownloadFile,              FileDownloadRequest,              FileDownloadResponse,              READ,  SAFE, OPEN)    \
    ROW(FileAccess, createFolder,              CreateFolder,              FolderCreateRequest,              FolderCreateResponse,              WRITE, ONCE, SESSION) \
    ROW(FileAccess, deleteFolder,              DeleteFolder,              FolderDeleteRequest,              FolderDeleteResponse,              WRITE, ONCE, SESSION) \
    ROW(FileAccess, createReadOnlyFileHandle,  CreateReadOnlyFileHandle,  FileHandleReadOnlyCreateRequest,  FileHandleReadOnlyCreateResponse,  WRITE, SAFE, SESSION) \
    ROW(FileAccess, createReadWriteFileHandle, CreateReadWriteFileHandle, FileHandleReadWriteCreateRequest, FileHandleReadWriteCreateResponse, WRITE, ONCE, SESSION) \
    ROW(FileAccess, readFile,                  ReadFile,                  FileReadRequest,                  FileReadResponse,                  READ,  SAFE, SESSION) \
    ROW(FileAccess, readFileContent,           ReadFileContent,           FileContentReadRequest,           FileContentReadResponse,           READ,  SAFE, SESSION) \
    ROW(FileAccess, writeFileContent,          WriteFileContent,          FileContentWriteRequest,          FileContentWriteResponse,          WRITE, SAFE, SESSION) \
    ROW(FileAccess, closeFileHandle,           CloseFileHandle,           FileHandleCloseRequest,           FileHandleCloseResponse,           WRITE, ONCE, SESSION) \
    ROW(FileAccess, listFolder,                ListFolder,                FolderListRequest,                FolderListResponse,                READ,  SAFE, SESSION) \
    ROW(FileAccess, listMultiFolder,           ListMultiFolder,           MultiFolderListRequest,           MultiFolderListResponse,           READ,  SAFE, SESSION) \
    ROW(FileAccess, move,                      Move,                      MoveOrCopyRequest,                MoveOrCopyResponse,                WRITE, ONCE, SESSION) \
    ROW(FileAccess, copy,                      Copy,                      MoveOrCopyRequest,                MoveOrCopyResponse,                WRITE, ONCE, SESSION) \
    ROW(FileAccess, readFileAttributes,        ReadFileAttributes,        FileAttributesReadRequest,        FileAttributesReadResponse,        READ,  SAFE, SESSION) \
    ROW(FileAccess, setMetadata,               SetMetadata,               SetMetadataRequest,               SetMetadataResponse,               WRITE, SAFE, SESSION)

/// The rows of AccessControl.
#define KVXTRANSPORT_SHARING_OPERATIONS(ROW) \
    ROW(AccessControl, grantPermission,                GrantPermission,                PermissionGrantRequest,         PermissionGrantResponse,         WRITE, ONCE, SESSION) \
    ROW(AccessControl, revokePermission,               RevokePermission,               PermissionRevokeRequest,        PermissionRevokeResponse,        WRITE, ONCE, SESSION) \
    ROW(AccessControl, listPermissions,                ListPermissions,                PermissionListRequest,          PermissionListResponse,          READ,  SAFE, SESSION) \
    ROW(AccessControl, createInvitation,               CreateInvitation,               InvitationCreateRequest,        InvitationCreateResponse,        WRITE, ONCE, SESSION) \
    ROW(AccessControl, readInvitation,                 ReadInvitation,                 InvitationReadRequest,          InvitationReadResponse,          READ,  SAFE, SESSION) \
    ROW(AccessControl, updateInvitation,               UpdateInvitation,               InvitationUpdateRequest,        InvitationUpdateResponse,        WRITE, ONCE, SESSION) \
    ROW(AccessControl, deleteInvitation,               DeleteInvitation,               InvitationDeleteRequest,        InvitationDeleteResponse,        WRITE, ONCE, SESSION) \
    ROW(AccessControl, listInvitations,                ListInvitations,                InvitationListRequest,          InvitationListResponse,          READ,  SAFE, SESSION) \
    ROW(AccessControl, copyFolderFromInvitation,       CopyFolderFromInvitation,       InvitationCopyFolderRequest,    InvitationCopyFolderResponse,    WRITE, ONCE, SESSION) \
    ROW(AccessControl, getFolderContentFromInvitation, GetFolderContentFromInvitation, InvitationFolderContentRequest, InvitationFolderContentResponse, READ,  SAFE, SESSION) \
    ROW(AccessControl, getInvitationDetails,           GetInvitationDetails,           InvitationDetailsRequest,       InvitationDetailsResponse,       READ,  SAFE, SESSION)

/// The rows of ConfigurationManagement.
#define KVXTRANSPORT_CONFIGURATION_OPERATIONS(ROW) \
    ROW(ConfigurationManagement, setResourcePolicy, SetResourcePolicy, ResourcePolicySetRequest, ResourcePolicySetResponse, WRITE, SAFE, SESSION) \
    ROW(ConfigurationManagement, getResourcePolicy, GetResourcePolicy, ResourcePolicyGetRequest, ResourcePolicyGetResponse, READ,  SAFE, SESSION) \
    ROW(ConfigurationManagement, getStorageUsage,   GetStorageUsage,   StorageUsageGetRequest,   StorageUsageGetResponse,   READ,  SAFE, SESSION)

/// The rows of Notification.
#define KVXTRANSPORT_NOTIFICATION_OPERATIONS(ROW) \
    ROW(Notification, listFileChanges, ListFileChanges, FileChangeListRequest, FileChangeListResponse, READ, SAFE, SESSION)

/// The rows of IVersioning.
#define KVXTRANSPORT_VERSIONING_OPERATIONS(ROW) \
    ROW(IVersioning, listVersions,   ListVersions,   VersionListRequest,    VersionListResponse,    READ,  SAFE, SESSION) \
    ROW(IVersioning, restoreVersion, RestoreVersion, VersionRestoreRequest, VersionRestoreResponse, WRITE, ONCE, SESSION)

/// All rows.
#define KVXTRANSPORT_OPERATIONS(ROW) \
    ROW(KVXClient, ping, Ping, PingRequest, PingResponse, READ, SAFE, OPEN) \
    KVXTRANSPORT_SESSION_OPERATIONS(ROW) \
    KVXTRANSPORT_FILE_OPERATIONS(ROW) \
    KVXTRANSPORT_SHARING_OPERATIONS(ROW) \
    KVXTRANSPORT_CONFIGURATION_OPERATIONS(ROW) \
    KVXTRANSPORT_NOTIFICATION_OPERATIONS(ROW) \
    KVXTRANSPORT_VERSIONING_OPERATIONS(ROW)

// clang-format on
