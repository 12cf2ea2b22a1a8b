#pragma once

/// @file
/// The service for files and folders.

#include <functional>
#include <future>
#include <string>

#include "storage/kvxclient/CompletionHandler.h"
#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/FileHandles.h"
#include "storage/kvxclient/FileTransfer.h"
#include "storage/kvxclient/FolderListing.h"
#include "storage/kvxclient/Metadata.h"
#include "storage/kvxclient/NamespaceChanges.h"

namespace storage::kvxclient {

/// The files and folders of the service: whole files, open handles, folders and attributes.
///
/// An abstract class: a transport derives from it and implements the callback forms.
///
/// Every operation has the three forms of @ref call_forms, which say what holds for errors, threads
/// and lifetime; an operation lists the errors of its own.
class KVXCLIENT_EXPORT FileAccess {
public:
    /// Makes the service for an endpoint.
    ///
    /// Each getSessionId() calls `sessionIdSupplier` on the calling thread. REQUIRES: several
    /// threads may call it at once.
    FileAccess(std::string endpoint, std::function<std::string()> sessionIdSupplier,
               std::string applicationId);

    // Configuration. REQUIRES: no other thread uses the service yet.

    /// Sets the id of the origin of the requests.
    FileAccess& withOriginId(std::string originId);
    /// Sets the text that describes the calling client, kept exactly as given.
    FileAccess& withClientString(std::string clientString);
    /// Sets the kind of the client, kept exactly as given. Read with getClientType().
    FileAccess& withKvxClientType(std::string clientType);

    /// Returns the endpoint of the service.
    std::string getEndpoint() const;
    /// Returns the id of the calling application.
    std::string getApplicationId() const;
    /// Returns the id of the origin of the requests. Default: empty.
    std::string getOriginId() const;
    /// Returns the text that describes the calling client. Default: empty.
    std::string getClientString() const;
    /// Returns the kind of the client. Default: empty.
    std::string getClientType() const;
    /// Calls the supplier and returns its result. Nothing is cached.
    ///
    /// @throws std::bad_function_call when the supplier is empty; whatever the supplier throws.
    std::string getSessionId() const;

    // Callback forms, in the order of their slots; the destructor is the last slot.

    /// Creates a file with its whole content, or replaces the content of an existing file.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the caller has no access to the bucket or to that part of it.
    /// - PARENT_RESOURCE_NOT_FOUND: the parent folder does not exist.
    /// - CONFLICT: the path names a folder.
    /// - UNAUTHORIZED: the caller may see the folder but not change it.
    /// - FILE_TOO_LARGE: the file would exceed the size limit.
    /// - QUOTA_EXCEEDED: the storage quota would be exceeded.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void createFile(FileCreateRequest request,
                            CompletionHandler<FileWriteResponse> handler) const = 0;

    /// Deletes a file.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the file does not exist for the caller.
    /// - CONFLICT: the path names a folder.
    /// - UNAUTHORIZED: the caller may see the file but not change it.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void deleteFile(FileDeleteRequest request,
                            CompletionHandler<FileDeleteResponse> handler) const = 0;

    /// Asks for a location from which the content of a file, as it is now, can be downloaded.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the file does not exist for the caller.
    /// - CONFLICT: the path names a folder.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void createFileDownload(
        FileDownloadCreateRequest request,
        CompletionHandler<FileDownloadCreateResponse> handler) const = 0;

    /// Fetches the bytes at a download location, into a stream that the request makes or into the
    /// response.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the location is unknown or no longer good.
    ///
    /// When and on which thread the stream is made, written and destroyed is the service's
    /// business.
    virtual void downloadFile(FileDownloadRequest request,
                              CompletionHandler<FileDownloadResponse> handler) const = 0;

    /// Creates a folder.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the caller has no access to the bucket or to that part of it.
    /// - PARENT_RESOURCE_NOT_FOUND: the parent folder does not exist.
    /// - CONFLICT: a file or folder has that path.
    /// - UNAUTHORIZED: the caller may see the parent folder but not change it.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void createFolder(FolderCreateRequest request,
                              CompletionHandler<FolderCreateResponse> handler) const = 0;

    /// Deletes a folder, and its content if forceRecursive is set.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the folder does not exist for the caller.
    /// - FOLDER_NOT_EMPTY: it has content and forceRecursive is not set.
    /// - CONFLICT: the path names a file, or the root.
    /// - UNAUTHORIZED: the caller may see the folder but not change it.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void deleteFolder(FolderDeleteRequest request,
                              CompletionHandler<FolderDeleteResponse> handler) const = 0;

    /// Opens a file, or one of its versions, for reading. Reads through the handle give the content
    /// as it was when the file was opened.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the file or the version does not exist for the caller.
    /// - CONFLICT: the path names a folder.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void createReadOnlyFileHandle(
        FileHandleReadOnlyCreateRequest request,
        CompletionHandler<FileHandleReadOnlyCreateResponse> handler) const = 0;

    /// Opens or creates a file for reading and writing. Nobody else sees the changes before the
    /// handle is closed.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the file does not exist for the caller.
    /// - PARENT_RESOURCE_NOT_FOUND: the parent folder does not exist.
    /// - CONFLICT: the path names a folder, or the file exists and must not.
    /// - UNAUTHORIZED: the caller may see the file but not change it.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void createReadWriteFileHandle(
        FileHandleReadWriteCreateRequest request,
        CompletionHandler<FileHandleReadWriteCreateResponse> handler) const = 0;

    /// Reads the whole content of a file, or of one of its versions.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the file or the version does not exist for the caller.
    /// - CONFLICT: the path names a folder.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void readFile(FileReadRequest request,
                          CompletionHandler<FileReadResponse> handler) const = 0;

    /// Reads a range of bytes through an open handle. What a range beyond the end gives is the
    /// service's business.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the handle does not exist for the caller.
    virtual void readFileContent(FileContentReadRequest request,
                                 CompletionHandler<FileContentReadResponse> handler) const = 0;

    /// Writes a range of bytes through a handle open for writing.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the handle does not exist for the caller, or the file is gone.
    /// - PARENT_RESOURCE_NOT_FOUND: the folder of the file is gone.
    /// - CONFLICT: the handle is open for reading only, or the file was to be new and now exists.
    /// - UNAUTHORIZED: the caller may no longer change the file.
    /// - FILE_TOO_LARGE: the file would exceed the size limit.
    /// - QUOTA_EXCEEDED: the storage quota would be exceeded.
    /// - ILLEGAL_PATH: the folder of a new file was moved, and the file's path is now too long.
    ///
    /// REQUIRES: the caller keeps the bytes alive and unchanged until the call has completed.
    virtual void writeFileContent(FileContentWriteRequest request,
                                  CompletionHandler<FileContentWriteResponse> handler) const = 0;

    /// Closes a handle and commits or discards what was written through it.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the handle does not exist for the caller, or the file is gone.
    /// - PARENT_RESOURCE_NOT_FOUND: the folder of the file is gone.
    /// - CONFLICT: the file was to be new and now exists.
    /// - UNAUTHORIZED: the caller may no longer change the file.
    /// - QUOTA_EXCEEDED: the storage quota would be exceeded.
    /// - ILLEGAL_PATH: the folder of a new file was moved, and the file's path is now too long.
    virtual void closeFileHandle(FileHandleCloseRequest request,
                                 CompletionHandler<FileHandleCloseResponse> handler) const = 0;

    /// Lists the content of one folder.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the folder does not exist for the caller.
    /// - CONFLICT: the path names a file.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void listFolder(FolderListRequest request,
                            CompletionHandler<FolderListResponse> handler) const = 0;

    /// Lists several folders, starting from one, in one call.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the folder does not exist for the caller.
    /// - CONFLICT: the path names a file.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void listMultiFolder(MultiFolderListRequest request,
                                 CompletionHandler<MultiFolderListResponse> handler) const = 0;

    /// Moves a file, or a folder with all its content, to another path.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the source, or the bucket of the target or that part of it, does not
    ///   exist for the caller.
    /// - PARENT_RESOURCE_NOT_FOUND: the parent folder does not exist.
    /// - CONFLICT: the target exists and may not be overwritten or is of the other kind, one of
    ///   source and target contains the other, or the source is a root.
    /// - UNAUTHORIZED: the caller may see source or target but not change it.
    /// - QUOTA_EXCEEDED: the storage quota would be exceeded.
    /// - ILLEGAL_PATH: a path, or one that would result below it, breaks the rules for names.
    virtual void move(MoveOrCopyRequest request,
                      CompletionHandler<MoveOrCopyResponse> handler) const = 0;

    /// Copies a file, or a folder with all its content, to another path.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the source, or the bucket of the target or that part of it, does not
    ///   exist for the caller.
    /// - PARENT_RESOURCE_NOT_FOUND: the parent folder does not exist.
    /// - CONFLICT: the target exists and may not be overwritten or is of the other kind, or one of
    ///   source and target contains the other.
    /// - UNAUTHORIZED: the caller may see the target but not change it.
    /// - QUOTA_EXCEEDED: the storage quota would be exceeded.
    /// - ILLEGAL_PATH: a path, or one that would result below it, breaks the rules for names.
    virtual void copy(MoveOrCopyRequest request,
                      CompletionHandler<MoveOrCopyResponse> handler) const = 0;

    /// Reads the attributes of a file or folder.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: it does not exist for the caller.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void readFileAttributes(
        FileAttributesReadRequest request,
        CompletionHandler<FileAttributesReadResponse> handler) const = 0;

    /// Sets the metadata that a client keeps with a file.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the file does not exist for the caller.
    /// - UNAUTHORIZED: the caller may see the file but not change it.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void setMetadata(SetMetadataRequest request,
                             CompletionHandler<SetMetadataResponse> handler) const = 0;

    /// Destroys the service. REQUIRES: no operation is running in it.
    virtual ~FileAccess();

    // Future forms.

    /// Future form of createFile().
    std::future<FileWriteResponse> createFileAsync(FileCreateRequest request) const;
    /// Future form of deleteFile().
    std::future<FileDeleteResponse> deleteFileAsync(FileDeleteRequest request) const;
    /// Future form of createFileDownload().
    std::future<FileDownloadCreateResponse> createFileDownloadAsync(
        FileDownloadCreateRequest request) const;
    /// Future form of downloadFile().
    std::future<FileDownloadResponse> downloadFileAsync(FileDownloadRequest request) const;
    /// Future form of createFolder().
    std::future<FolderCreateResponse> createFolderAsync(FolderCreateRequest request) const;
    /// Future form of deleteFolder().
    std::future<FolderDeleteResponse> deleteFolderAsync(FolderDeleteRequest request) const;
    /// Future form of createReadOnlyFileHandle().
    std::future<FileHandleReadOnlyCreateResponse> createReadOnlyFileHandleAsync(
        FileHandleReadOnlyCreateRequest request) const;
    /// Future form of createReadWriteFileHandle().
    std::future<FileHandleReadWriteCreateResponse> createReadWriteFileHandleAsync(
        FileHandleReadWriteCreateRequest request) const;
    /// Future form of readFile().
    std::future<FileReadResponse> readFileAsync(FileReadRequest request) const;
    /// Future form of readFileContent().
    std::future<FileContentReadResponse> readFileContentAsync(FileContentReadRequest request) const;
    /// Future form of writeFileContent().
    std::future<FileContentWriteResponse> writeFileContentAsync(
        FileContentWriteRequest request) const;
    /// Future form of closeFileHandle().
    std::future<FileHandleCloseResponse> closeFileHandleAsync(FileHandleCloseRequest request) const;
    /// Future form of listFolder().
    std::future<FolderListResponse> listFolderAsync(FolderListRequest request) const;
    /// Future form of listMultiFolder().
    std::future<MultiFolderListResponse> listMultiFolderAsync(MultiFolderListRequest request) const;
    /// Future form of move().
    std::future<MoveOrCopyResponse> moveAsync(MoveOrCopyRequest request) const;
    /// Future form of copy().
    std::future<MoveOrCopyResponse> copyAsync(MoveOrCopyRequest request) const;
    /// Future form of readFileAttributes().
    std::future<FileAttributesReadResponse> readFileAttributesAsync(
        FileAttributesReadRequest request) const;
    /// Future form of setMetadata().
    std::future<SetMetadataResponse> setMetadataAsync(SetMetadataRequest request) const;

    // Blocking forms.

    /// Blocking form of createFile().
    FileWriteResponse createFile(FileCreateRequest request) const;
    /// Blocking form of deleteFile().
    FileDeleteResponse deleteFile(FileDeleteRequest request) const;
    /// Blocking form of createFileDownload().
    FileDownloadCreateResponse createFileDownload(FileDownloadCreateRequest request) const;
    /// Blocking form of downloadFile().
    FileDownloadResponse downloadFile(FileDownloadRequest request) const;
    /// Blocking form of createFolder().
    FolderCreateResponse createFolder(FolderCreateRequest request) const;
    /// Blocking form of deleteFolder().
    FolderDeleteResponse deleteFolder(FolderDeleteRequest request) const;
    /// Blocking form of createReadOnlyFileHandle().
    FileHandleReadOnlyCreateResponse createReadOnlyFileHandle(
        FileHandleReadOnlyCreateRequest request) const;
    /// Blocking form of createReadWriteFileHandle().
    FileHandleReadWriteCreateResponse createReadWriteFileHandle(
        FileHandleReadWriteCreateRequest request) const;
    /// Blocking form of readFile().
    FileReadResponse readFile(FileReadRequest request) const;
    /// Blocking form of readFileContent().
    FileContentReadResponse readFileContent(FileContentReadRequest request) const;
    /// Blocking form of writeFileContent().
    FileContentWriteResponse writeFileContent(FileContentWriteRequest request) const;
    /// Blocking form of closeFileHandle().
    FileHandleCloseResponse closeFileHandle(FileHandleCloseRequest request) const;
    /// Blocking form of listFolder().
    FolderListResponse listFolder(FolderListRequest request) const;
    /// Blocking form of listMultiFolder().
    MultiFolderListResponse listMultiFolder(MultiFolderListRequest request) const;
    /// Blocking form of move().
    MoveOrCopyResponse move(MoveOrCopyRequest request) const;
    /// Blocking form of copy().
    MoveOrCopyResponse copy(MoveOrCopyRequest request) const;
    /// Blocking form of readFileAttributes().
    FileAttributesReadResponse readFileAttributes(FileAttributesReadRequest request) const;
    /// Blocking form of setMetadata().
    SetMetadataResponse setMetadata(SetMetadataRequest request) const;

private:
    std::string endpoint_;
    std::function<std::string()> sessionIdSupplier_;
    std::string applicationId_;
    std::string clientString_;
    std::string originId_;
    std::string clientType_;
};

}  // namespace storage::kvxclient
