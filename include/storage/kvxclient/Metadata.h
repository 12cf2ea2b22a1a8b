#pragma once

/// @file
/// Setting the metadata that a client keeps with a file.

#include <chrono>
#include <string>

#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/Resource.h"

namespace storage::kvxclient {

/// Asks to set the time at which a client last modified a file.
class KVXCLIENT_EXPORT SetMetadataRequest {
public:
    /// Makes the request for the file.
    SetMetadataRequest(Resource resource);

    /// Returns the file.
    Resource getResource() const;

    /// Sets when the client last modified the file.
    SetMetadataRequest& withClientLastModified(
        std::chrono::system_clock::time_point clientLastModified);
    /// Returns when the client last modified the file. Default: the epoch.
    std::chrono::system_clock::time_point getClientLastModified() const;

    /// Returns the document to send to the service: the time in whole milliseconds since the epoch,
    /// cut toward zero, between fixed tags. Built on each call.
    std::string getXMLFormattedMetadata() const;

    /// Compares resource and clientLastModified.
    bool operator==(const SetMetadataRequest& other) const;

private:
    Resource resource_;
    std::chrono::system_clock::time_point clientLastModified_;
};

/// Confirms that the metadata is set. Has no fields.
class KVXCLIENT_EXPORT SetMetadataResponse {
public:
    /// Makes the record.
    SetMetadataResponse();

    /// Returns true only for the same object: there are no fields to compare.
    bool operator==(const SetMetadataResponse& other) const;
};

}  // namespace storage::kvxclient
