#pragma once

/// @file
/// The changes after a point in the history of the service.

#include <string>
#include <vector>

#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/Resource.h"

namespace storage::kvxclient {

/// Asks for what changed after a watermark.
class KVXCLIENT_EXPORT FileChangeListRequest {
public:
    /// Makes a record with every field at its default.
    FileChangeListRequest();

    /// Sets the watermark last received, empty when there is none.
    FileChangeListRequest& withWatermark(std::string watermark);
    /// Returns the watermark last received, empty when there is none. Default: empty.
    std::string getWatermark() const;

    /// Compares watermark.
    bool operator==(const FileChangeListRequest& other) const;

private:
    std::string watermark_;
};

/// One changed file or folder.
class KVXCLIENT_EXPORT FileChangeSummary {
public:
    /// Makes a record with every field at its default.
    FileChangeSummary();

    /// Sets the changed file or folder.
    FileChangeSummary& withResource(Resource resource);
    /// Returns the changed file or folder. Default: a default Resource.
    Resource getResource() const;

    /// Sets the position of this change in the history.
    FileChangeSummary& withWatermark(std::string watermark);
    /// Returns the position of this change in the history. Default: empty.
    std::string getWatermark() const;

    /// Compares resource and watermark.
    bool operator==(const FileChangeSummary& other) const;

private:
    Resource resource_;
    std::string watermark_;
};

/// What changed, and the watermark for the next request.
class KVXCLIENT_EXPORT FileChangeListResponse {
public:
    /// Makes a record with every field at its default.
    FileChangeListResponse();

    /// Sets the watermark to send next time.
    FileChangeListResponse& withCurrentWatermark(std::string currentWatermark);
    /// Returns the watermark to send next time. Default: empty.
    std::string getCurrentWatermark() const;

    /// Sets the changed files, in the order the service gave.
    FileChangeListResponse& withFileChanges(std::vector<FileChangeSummary> fileChanges);
    /// Returns the changed files, in the order the service gave. Default: empty.
    std::vector<FileChangeSummary> getFileChanges() const;

    /// Sets the changed folders, in the order the service gave.
    FileChangeListResponse& withFolderChanges(std::vector<FileChangeSummary> folderChanges);
    /// Returns the changed folders, in the order the service gave. Default: empty.
    std::vector<FileChangeSummary> getFolderChanges() const;

    /// Compares currentWatermark, fileChanges and folderChanges. The order of the changes counts.
    bool operator==(const FileChangeListResponse& other) const;

private:
    std::string currentWatermark_;
    std::vector<FileChangeSummary> fileChanges_;
    std::vector<FileChangeSummary> folderChanges_;
};

}  // namespace storage::kvxclient
