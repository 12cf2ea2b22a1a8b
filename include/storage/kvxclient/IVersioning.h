#pragma once

/// @file
/// The service for versions.

#include <future>

#include "storage/kvxclient/CompletionHandler.h"
#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/Versions.h"

namespace storage::kvxclient {

/// The versions of the service's files.
///
/// An abstract class without state: a transport derives from it and implements the callback forms.
/// All three forms are virtual, so that a transport may replace them too; the blocking form calls
/// the future form through its virtual slot.
///
/// Every operation has the three forms of @ref call_forms, which say what holds for errors, threads
/// and lifetime; an operation lists the errors of its own.
class KVXCLIENT_EXPORT IVersioning {
public:
    // In the order of their slots.

    /// Destroys the service. REQUIRES: no operation is running in it.
    virtual ~IVersioning();

    /// Lists the versions of a file.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the file does not exist for the caller.
    /// - CONFLICT: the path names a folder.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void listVersions(VersionListRequest request,
                              CompletionHandler<VersionListResponse> handler) const = 0;

    /// Restores an earlier version as the content of its file.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the file or the version does not exist for the caller.
    /// - CONFLICT: the path names a folder.
    /// - UNAUTHORIZED: the caller may see the file but not change it.
    /// - QUOTA_EXCEEDED: the storage quota would be exceeded.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void restoreVersion(VersionRestoreRequest request,
                                CompletionHandler<VersionRestoreResponse> handler) const = 0;

    /// Blocking form of listVersions().
    virtual VersionListResponse listVersions(VersionListRequest request) const;
    /// Blocking form of restoreVersion().
    virtual VersionRestoreResponse restoreVersion(VersionRestoreRequest request) const;

    /// Future form of listVersions().
    virtual std::future<VersionListResponse> listVersionsAsync(VersionListRequest request) const;
    /// Future form of restoreVersion().
    virtual std::future<VersionRestoreResponse> restoreVersionAsync(
        VersionRestoreRequest request) const;
};

}  // namespace storage::kvxclient
