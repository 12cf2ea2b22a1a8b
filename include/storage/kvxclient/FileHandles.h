#pragma once

/// @file
/// Opening a file as a handle, reading and writing ranges through it, and closing it.
///
/// The service names an open handle by its id, which the caller copies into each further request.
/// The library keeps no table of open handles.

#include <string>
#include <vector>

#include "storage/kvxclient/Enumerations.h"
#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/Resource.h"

namespace storage::kvxclient {

/// Asks to open a file, or one of its versions, for reading.
class KVXCLIENT_EXPORT FileHandleReadOnlyCreateRequest {
public:
    /// Makes the request for the file to open.
    FileHandleReadOnlyCreateRequest(Resource resource);

    /// Returns the file to open.
    Resource getResource() const;

    /// Sets the id of the version to open, empty for the current one.
    FileHandleReadOnlyCreateRequest& withVersionId(std::string versionId);
    /// Returns the id of the version to open, empty for the current one. Default: empty.
    std::string getVersionId() const;

    /// Sets the label of the version to open.
    FileHandleReadOnlyCreateRequest& withVersionLabel(int versionLabel);
    /// Returns the label of the version to open. Default: -1, none.
    int getVersionLabel() const;

    /// Compares resource, versionId and versionLabel.
    bool operator==(const FileHandleReadOnlyCreateRequest& other) const;

private:
    Resource resource_;
    std::string versionId_;
    int versionLabel_ = -1;
};

/// A handle opened for reading.
class KVXCLIENT_EXPORT FileHandleReadOnlyCreateResponse {
public:
    /// Makes a record with every field at its default.
    FileHandleReadOnlyCreateResponse();

    /// Sets the id that the service gave to the handle.
    FileHandleReadOnlyCreateResponse& withFileHandleId(std::string fileHandleId);
    /// Returns the id that the service gave to the handle. Default: empty.
    std::string getFileHandleId() const;

    /// Sets the size of the file in bytes.
    FileHandleReadOnlyCreateResponse& withFileSize(unsigned long fileSize);
    /// Returns the size of the file in bytes. Default: 0.
    unsigned long getFileSize() const;

    /// Compares fileSize and fileHandleId.
    bool operator==(const FileHandleReadOnlyCreateResponse& other) const;

private:
    std::string fileHandleId_;
    unsigned long fileSize_ = 0;
};

/// Asks to open or create a file for reading and writing.
class KVXCLIENT_EXPORT FileHandleReadWriteCreateRequest {
public:
    /// Makes the request for the file to open or create.
    FileHandleReadWriteCreateRequest(Resource resource);

    /// Returns the file to open or create.
    Resource getResource() const;

    /// Sets how a file that exists or is missing is treated.
    FileHandleReadWriteCreateRequest& withCreateMode(FileCreateMode createMode);
    /// Returns how a file that exists or is missing is treated. No default: set it before use.
    FileCreateMode getCreateMode() const;

    /// Sets whether the content is cut to zero length on opening.
    FileHandleReadWriteCreateRequest& withTruncate(bool truncate);
    /// Returns whether the content is cut to zero length on opening. Default: false.
    bool getTruncate() const;

    /// Sets the content (media) type of the file.
    FileHandleReadWriteCreateRequest& withContentType(std::string contentType);
    /// Returns the content (media) type of the file. Default: empty.
    std::string getContentType() const;

    /// Compares resource, createMode, truncate and contentType.
    bool operator==(const FileHandleReadWriteCreateRequest& other) const;

private:
    Resource resource_;
    FileCreateMode createMode_ = FileCreateMode::CREATE;
    bool truncate_ = false;
    std::string contentType_;
};

/// A handle opened for reading and writing.
class KVXCLIENT_EXPORT FileHandleReadWriteCreateResponse {
public:
    /// Makes a record with every field at its default.
    FileHandleReadWriteCreateResponse();

    /// Sets the id that the service gave to the handle.
    FileHandleReadWriteCreateResponse& withFileHandleId(std::string fileHandleId);
    /// Returns the id that the service gave to the handle. Default: empty.
    std::string getFileHandleId() const;

    /// Sets whether opening created the file.
    FileHandleReadWriteCreateResponse& withFileCreated(bool fileCreated);
    /// Returns whether opening created the file. Default: false.
    bool getFileCreated() const;

    /// Sets the size of the file in bytes.
    FileHandleReadWriteCreateResponse& withFileSize(unsigned long fileSize);
    /// Returns the size of the file in bytes. Default: 0.
    unsigned long getFileSize() const;

    /// Compares fileHandleId, fileCreated and fileSize.
    bool operator==(const FileHandleReadWriteCreateResponse& other) const;

private:
    std::string fileHandleId_;
    bool fileCreated_ = false;
    unsigned long fileSize_ = 0;
};

/// Asks for a range of bytes through an open handle.
class KVXCLIENT_EXPORT FileContentReadRequest {
public:
    /// Makes the request for the file.
    FileContentReadRequest(Resource resource);

    /// Returns the file.
    Resource getResource() const;

    /// Sets the id of the open handle.
    FileContentReadRequest& withFileHandleId(std::string fileHandleId);
    /// Returns the id of the open handle. Default: empty.
    std::string getFileHandleId() const;

    /// Sets the offset of the first byte to read.
    FileContentReadRequest& withStartLocation(unsigned long startLocation);
    /// Returns the offset of the first byte to read. Default: 0.
    unsigned long getStartLocation() const;

    /// Sets the number of bytes to read.
    FileContentReadRequest& withLength(unsigned long length);
    /// Returns the number of bytes to read. Default: 0.
    unsigned long getLength() const;

    /// Compares resource, fileHandleId, startLocation and length.
    bool operator==(const FileContentReadRequest& other) const;

private:
    Resource resource_;
    std::string fileHandleId_;
    unsigned long startLocation_ = 0;
    unsigned long length_ = 0;
};

/// A range of bytes of a file.
class KVXCLIENT_EXPORT FileContentReadResponse {
public:
    /// Makes an empty response with room for BufferSize::MAX_READ_BUFFER_SIZE bytes, so that
    /// content up to that size arrives without being moved.
    ///
    /// @throws std::length_error "vector::reserve" when that size exceeds 2^63 - 1.
    FileContentReadResponse();

    /// Returns a new copy of the bytes read. Default: empty.
    std::vector<char> getResponseBody() const;

    /// Sets the offset of the first byte read.
    FileContentReadResponse& withStartLocation(unsigned long startLocation);
    /// Returns the offset of the first byte read. Default: 0.
    unsigned long getStartLocation() const;

    /// Sets the content (media) type that the service reported.
    FileContentReadResponse& withContentType(std::string contentType);
    /// Returns the content (media) type that the service reported. Default: empty.
    std::string getContentType() const;

    /// Sets the size of the file in bytes.
    FileContentReadResponse& withFileSize(unsigned long fileSize);
    /// Returns the size of the file in bytes. Default: 0.
    unsigned long getFileSize() const;

    /// Returns the number of bytes read.
    unsigned long getContentLength() const;

    /// Appends `size` bytes at `data` to the content, which copies them. With size 0 nothing
    /// changes and `data` is not read.
    ///
    /// @throws std::length_error "vector::_M_range_insert" when the content would exceed 2^63 - 1
    /// bytes; the content is unchanged.
    void appendContent(const char* data, unsigned long size);

    /// Compares content, startLocation, contentType and fileSize.
    bool operator==(const FileContentReadResponse& other) const;

private:
    std::vector<char> content_;
    unsigned long startLocation_ = 0;
    std::string contentType_;
    unsigned long fileSize_ = 0;
};

/// Asks to write a range of bytes through an open handle.
///
/// It does not own the bytes, and all its copies share them. REQUIRES: the caller keeps them alive
/// and unchanged until the call has completed.
class KVXCLIENT_EXPORT FileContentWriteRequest {
public:
    /// Makes the request for the file.
    FileContentWriteRequest(Resource resource);

    /// Returns the file.
    Resource getResource() const;

    /// Sets the id of the open handle.
    FileContentWriteRequest& withFileHandleId(std::string fileHandleId);
    /// Returns the id of the open handle. Default: empty.
    std::string getFileHandleId() const;

    /// Sets the offset at which the bytes are written.
    FileContentWriteRequest& withStartLocation(unsigned long startLocation);
    /// Returns the offset at which the bytes are written. No default: set it before use.
    unsigned long getStartLocation() const;

    /// Returns the pointer to the bytes, which the caller owns. No default: set it before use.
    const unsigned char* getContent() const;

    /// Returns the number of bytes to write. No default: set it before use.
    unsigned long getContentSize() const;

    /// Sets pointer and number of the bytes to write, without copying them.
    FileContentWriteRequest& withContent(const unsigned char* data, unsigned long size);

    /// Compares resource, fileHandleId, startLocation, the address of the content and contentSize.
    /// The bytes themselves are not compared: the caller owns them and may change them.
    bool operator==(const FileContentWriteRequest& other) const;

private:
    Resource resource_;
    std::string fileHandleId_;
    unsigned long startLocation_ = 0;
    const unsigned char* content_ = nullptr;
    unsigned long contentSize_ = 0;
};

/// The outcome of writing a range.
class KVXCLIENT_EXPORT FileContentWriteResponse {
public:
    /// Makes a record with every field at its default.
    FileContentWriteResponse();

    /// Sets the size of the file in bytes after the write.
    FileContentWriteResponse& withFileSize(unsigned long fileSize);
    /// Returns the size of the file in bytes after the write. Default: 0.
    unsigned long getFileSize() const;

    /// Compares fileSize.
    bool operator==(const FileContentWriteResponse& other) const;

private:
    unsigned long fileSize_ = 0;
};

/// Asks to close a handle, and to commit or discard what was written through it.
class KVXCLIENT_EXPORT FileHandleCloseRequest {
public:
    /// Makes the request for the file.
    FileHandleCloseRequest(Resource resource);

    /// Returns the file.
    Resource getResource() const;

    /// Sets the id of the handle to close.
    FileHandleCloseRequest& withFileHandleId(std::string fileHandleId);
    /// Returns the id of the handle to close. Default: empty.
    std::string getFileHandleId() const;

    /// Sets what happens to the changes.
    FileHandleCloseRequest& withOperation(FileHandleCloseOperation operation);
    /// Returns what happens to the changes. No default: set it before use.
    FileHandleCloseOperation getOperation() const;

    /// Sets whether a commit makes a new version.
    FileHandleCloseRequest& withCreateNewVersion(bool createNewVersion);
    /// Returns whether a commit makes a new version. Default: false.
    bool getCreateNewVersion() const;

    /// Compares resource, fileHandleId, operation and createNewVersion.
    bool operator==(const FileHandleCloseRequest& other) const;

private:
    Resource resource_;
    std::string fileHandleId_;
    FileHandleCloseOperation operation_ = FileHandleCloseOperation::COMMIT_CHANGES;
    bool createNewVersion_ = false;
};

/// Confirms that the handle is closed. Has no fields and no equality.
class KVXCLIENT_EXPORT FileHandleCloseResponse {
public:
    /// Makes the record.
    FileHandleCloseResponse();
};

}  // namespace storage::kvxclient
