#pragma once

/// @file
/// Creating, reading and downloading whole files.

#include <functional>
#include <istream>
#include <memory>
#include <string>
#include <vector>

#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/Resource.h"
#include "storage/kvxclient/Summaries.h"

namespace storage::kvxclient {

/// Asks to create a file with its whole content.
class KVXCLIENT_EXPORT FileCreateRequest {
public:
    /// Makes the request for the file to create.
    FileCreateRequest(Resource resource);

    /// Returns the file to create.
    Resource getResource() const;

    /// Returns the content as a reference into the request, in which later appends show. Default:
    /// empty.
    const std::vector<char>& getContent() const;

    /// Sets the content (media) type of the file.
    FileCreateRequest& withContentType(std::string contentType);
    /// Returns the content (media) type of the file. Default: empty.
    std::string getContentType() const;

    /// Sets whether writing over an existing file makes a new version.
    FileCreateRequest& withCreateNewVersion(bool createNewVersion);
    /// Returns whether writing over an existing file makes a new version. Default: false.
    bool getCreateNewVersion() const;

    /// Appends `size` bytes at `data` to the content, which copies them. With size 0 nothing
    /// changes and `data` is not read.
    ///
    /// @throws std::length_error "vector::_M_range_insert" when the content would exceed 2^63 - 1
    /// bytes; the content is unchanged.
    void appendContent(const char* data, unsigned long size);

    /// Compares resource, content, contentType and createNewVersion.
    bool operator==(const FileCreateRequest& other) const;

private:
    Resource resource_;
    std::vector<char> content_;
    std::string contentType_;
    bool createNewVersion_ = false;
};

/// Asks for the whole content of a file, or of one of its versions.
class KVXCLIENT_EXPORT FileReadRequest {
public:
    /// Makes the request for the file to read.
    FileReadRequest(Resource resource);

    /// Returns the file to read.
    Resource getResource() const;

    /// Sets the id of the version to read, empty for the current one.
    FileReadRequest& withVersionId(std::string versionId);
    /// Returns the id of the version to read, empty for the current one. Default: empty.
    std::string getVersionId() const;

    /// Sets the label of the version to read.
    FileReadRequest& withVersionLabel(int versionLabel);
    /// Returns the label of the version to read. Default: -1, none.
    int getVersionLabel() const;

    /// Compares resource, versionId and versionLabel.
    bool operator==(const FileReadRequest& other) const;

private:
    Resource resource_;
    std::string versionId_;
    int versionLabel_ = -1;
};

/// The content of a file.
class KVXCLIENT_EXPORT FileReadResponse {
public:
    /// Makes a record with every field at its default.
    FileReadResponse();

    /// Returns an empty resource: nothing sets it, since the request names the file. Default: a
    /// default Resource.
    Resource getResource() const;

    /// Returns a new copy of the content. Default: empty.
    std::vector<char> getResponseBody() const;

    /// Sets the content (media) type that the service reported.
    FileReadResponse& withContentType(std::string contentType);
    /// Returns the content (media) type that the service reported. Default: empty.
    std::string getContentType() const;

    /// Returns the size of the content in bytes.
    unsigned long getContentLength() const;

    /// Appends `size` bytes at `data` to the content, which copies them. With size 0 nothing
    /// changes and `data` is not read.
    ///
    /// @throws std::length_error "vector::_M_range_insert" when the content would exceed 2^63 - 1
    /// bytes; the content is unchanged.
    void appendContent(const char* data, unsigned long size);

    /// Compares content and contentType. The resource is not compared: it is always empty.
    bool operator==(const FileReadResponse& other) const;

private:
    Resource resource_;
    std::vector<char> content_;
    std::string contentType_;
};

/// What was written.
class KVXCLIENT_EXPORT FileWriteResponse {
public:
    /// Makes a record with every field at its default.
    FileWriteResponse();

    /// Sets the file as the service describes it after the write.
    FileWriteResponse& withFileSummary(FileSummary fileSummary);
    /// Returns the file as the service describes it after the write. Default: a default
    /// FileSummary.
    FileSummary getFileSummary() const;

    /// Sets the id of the version written.
    FileWriteResponse& withVersionId(std::string versionId);
    /// Returns the id of the version written. Default: empty.
    std::string getVersionId() const;

    /// Sets the label of the version written.
    FileWriteResponse& withVersionLabel(int versionLabel);
    /// Returns the label of the version written. Default: -1, none.
    int getVersionLabel() const;

    /// Compares fileSummary, versionId and versionLabel.
    bool operator==(const FileWriteResponse& other) const;

private:
    FileSummary fileSummary_;
    std::string versionId_;
    int versionLabel_ = -1;
};

/// Asks for a location from which a file can be downloaded.
class KVXCLIENT_EXPORT FileDownloadCreateRequest {
public:
    /// Makes the request for the file to download.
    FileDownloadCreateRequest(Resource resource);

    /// Returns the file to download.
    Resource getResource() const;

    /// Compares resource.
    bool operator==(const FileDownloadCreateRequest& other) const;

private:
    Resource resource_;
};

/// Where a file can be downloaded.
class KVXCLIENT_EXPORT FileDownloadCreateResponse {
public:
    /// Makes a record with every field at its default.
    FileDownloadCreateResponse();

    /// Sets the location, to be passed to FileDownloadRequest.
    FileDownloadCreateResponse& withLocation(std::string location);
    /// Returns the location, to be passed to FileDownloadRequest. Default: empty.
    std::string getLocation() const;

    /// Compares location.
    bool operator==(const FileDownloadCreateResponse& other) const;

private:
    std::string location_;
};

/// Asks for the bytes at a download location, into a stream or into a string.
class KVXCLIENT_EXPORT FileDownloadRequest {
public:
    /// Makes the request for the location that FileDownloadCreateResponse gave.
    FileDownloadRequest(std::string location);

    /// Returns the location that FileDownloadCreateResponse gave.
    std::string getLocation() const;

    /// Sets the callable that makes the stream into which the bytes are written.
    FileDownloadRequest& withStreamFactory(
        std::function<std::unique_ptr<std::iostream>()> streamFactory);
    /// Returns the callable that makes the stream into which the bytes are written. Default: empty.
    /// The transport owns the stream that it returns.
    std::function<std::unique_ptr<std::iostream>()> getStreamFactory() const;

    /// Sets whether the bytes are delivered in the response instead.
    FileDownloadRequest& withReadIntoString(bool readIntoString);
    /// Returns whether the bytes are delivered in the response instead. Default: false.
    bool getReadIntoString() const;

    /// Returns the end of the location from its last "/" on, the slash included: "/c.bin" for
    /// "a/b/c.bin". The whole location if it has no slash.
    std::string getLocationFilename() const;

    /// Compares location and readIntoString. The stream factory is not compared: callables have no
    /// equality.
    bool operator==(const FileDownloadRequest& other) const;

private:
    std::string location_;
    std::function<std::unique_ptr<std::iostream>()> streamFactory_;
    bool readIntoString_ = false;
};

/// The downloaded bytes, if they were asked for as a string.
class KVXCLIENT_EXPORT FileDownloadResponse {
public:
    /// Makes a record with every field at its default.
    FileDownloadResponse();

    /// Sets the downloaded bytes.
    FileDownloadResponse& withStringBody(std::string stringBody);
    /// Returns the downloaded bytes. Default: empty.
    std::string getStringBody() const;

    /// Compares stringBody.
    bool operator==(const FileDownloadResponse& other) const;

private:
    std::string stringBody_;
};

}  // namespace storage::kvxclient
