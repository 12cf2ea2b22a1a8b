#pragma once

/// @file
/// The service for changes.

#include <functional>
#include <future>
#include <string>

#include "storage/kvxclient/ChangeList.h"
#include "storage/kvxclient/CompletionHandler.h"
#include "storage/kvxclient/Export.h"

namespace storage::kvxclient {

/// The change list of the service: what happened to files and folders since a caller last asked.
///
/// An abstract class: a transport derives from it and implements the callback form.
///
/// Every operation has the three forms of @ref call_forms, which say what holds for errors, threads
/// and lifetime; an operation lists the errors of its own.
class KVXCLIENT_EXPORT Notification {
public:
    /// Makes the service for an endpoint.
    ///
    /// `sessionIdSupplier` is called for each getSessionId(), on the thread of that call; it must
    /// be safe to call from several threads at once.
    Notification(std::string endpoint, std::function<std::string()> sessionIdSupplier,
                 std::string applicationId);

    // Configuration, for the time before the service is shared: not synchronised.

    /// Sets the id of the origin of the requests.
    Notification& withOriginId(std::string originId);
    /// Sets the text that describes the calling client, kept exactly as given.
    Notification& withClientString(std::string clientString);
    /// Sets the kind of the client, kept exactly as given. Read with getClientType().
    Notification& withKvxClientType(std::string clientType);

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
    /// Returns what the supplier returns; asks it anew each time.
    ///
    /// @throws std::bad_function_call when the supplier is empty; whatever the supplier throws.
    std::string getSessionId() const;

    // The callback form is the first slot, the destructor the second.

    /// Lists the files and folders that changed after a watermark; with an empty one, from the
    /// beginning.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the text is no watermark of this service.
    virtual void listFileChanges(FileChangeListRequest request,
                                 CompletionHandler<FileChangeListResponse> handler) const = 0;

    /// Destroys the service. No operation may be running in it.
    virtual ~Notification();

    /// Future form of listFileChanges().
    std::future<FileChangeListResponse> listFileChangesAsync(FileChangeListRequest request) const;
    /// Blocking form of listFileChanges().
    FileChangeListResponse listFileChanges(FileChangeListRequest request) const;

private:
    std::string endpoint_;
    std::function<std::string()> sessionIdSupplier_;
    std::string applicationId_;
    std::string clientString_;
    std::string originId_;
    std::string clientType_;
};

}  // namespace storage::kvxclient
