#pragma once

/// @file
/// The versions of a file, and restoring one of them.

#include <chrono>
#include <string>
#include <vector>

#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/Resource.h"

namespace storage::kvxclient {

/// Asks for the versions of a file.
class KVXCLIENT_EXPORT VersionListRequest {
public:
    /// Makes the request for the file.
    VersionListRequest(Resource resource);

    /// Returns the file.
    Resource getResource() const;

    /// Compares resource.
    bool operator==(const VersionListRequest& other) const;

private:
    Resource resource_;
};

/// One version of a file.
class KVXCLIENT_EXPORT VersionSummary {
public:
    /// Makes a record with every field at its default.
    VersionSummary();

    /// Sets the id of the version.
    VersionSummary& withVersionId(std::string versionId);
    /// Returns the id of the version. Default: empty.
    std::string getVersionId() const;

    /// Sets when the version was made.
    VersionSummary& withCreated(std::chrono::system_clock::time_point created);
    /// Returns when the version was made. Default: the epoch.
    std::chrono::system_clock::time_point getCreated() const;

    /// Sets the label of the version.
    VersionSummary& withVersionLabel(int versionLabel);
    /// Returns the label of the version. Default: -1, none.
    int getVersionLabel() const;

    /// Compares versionId, created and versionLabel.
    bool operator==(const VersionSummary& other) const;

private:
    std::string versionId_;
    std::chrono::system_clock::time_point created_;
    int versionLabel_ = -1;
};

/// The versions of a file.
class KVXCLIENT_EXPORT VersionListResponse {
public:
    /// Makes a record with every field at its default.
    VersionListResponse();

    /// Sets the name of the file, as the service gives it.
    VersionListResponse& withName(std::u16string name);
    /// Returns the name of the file, as the service gives it. Default: empty.
    std::u16string getName() const;

    /// Sets the versions, in the order the service gave.
    VersionListResponse& withVersions(std::vector<VersionSummary> versions);
    /// Returns the versions, in the order the service gave. Default: empty.
    std::vector<VersionSummary> getVersions() const;

    /// Compares name and versions.
    bool operator==(const VersionListResponse& other) const;

private:
    std::u16string name_;
    std::vector<VersionSummary> versions_;
};

/// Asks to restore an earlier version as the content of a file.
class KVXCLIENT_EXPORT VersionRestoreRequest {
public:
    /// Makes the request for the file.
    VersionRestoreRequest(Resource resource);

    /// Returns the file.
    Resource getResource() const;

    /// Sets the id of the version to restore.
    VersionRestoreRequest& withVersionId(std::string versionId);
    /// Returns the id of the version to restore. Default: empty.
    std::string getVersionId() const;

    /// Sets the label of the version to restore.
    VersionRestoreRequest& withVersionLabel(int versionLabel);
    /// Returns the label of the version to restore. No default: set it before use, -1 for none.
    int getVersionLabel() const;

    /// Sets whether the restored content becomes a new version.
    VersionRestoreRequest& withCreateNewVersion(bool createNewVersion);
    /// Returns whether the restored content becomes a new version. No default: set it before use.
    bool getCreateNewVersion() const;

    /// Compares resource, versionId, versionLabel and createNewVersion.
    bool operator==(const VersionRestoreRequest& other) const;

private:
    Resource resource_;
    std::string versionId_;
    int versionLabel_ = -1;
    bool createNewVersion_ = false;
};

/// The version that holds the restored content.
class KVXCLIENT_EXPORT VersionRestoreResponse {
public:
    /// Makes a record with the defaults of the fields that have one.
    VersionRestoreResponse();

    /// Sets the id of the version.
    VersionRestoreResponse& withVersionId(std::string versionId);
    /// Returns the id of the version. Default: empty.
    std::string getVersionId() const;

    /// Sets the label of the version.
    VersionRestoreResponse& withVersionLabel(int versionLabel);
    /// Returns the label of the version. No default: set it before use, -1 for none.
    int getVersionLabel() const;

    /// Compares versionId and versionLabel.
    bool operator==(const VersionRestoreResponse& other) const;

private:
    std::string versionId_;
    int versionLabel_ = -1;
};

}  // namespace storage::kvxclient
