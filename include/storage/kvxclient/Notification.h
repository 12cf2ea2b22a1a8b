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

/// The change list of the service: which files and folders changed since a caller last asked.
///
/// An abstract class: a transport derives from it and implements the callback form.
///
/// Every operation has the three forms of @ref call_forms, which say what holds for errors, threads
/// and lifetime; an operation lists the errors of its own.
class KVXCLIENT_EXPORT Notification {
public:
    /// Makes the service for an endpoint.
    ///
    /// Each getSessionId() calls `sessionIdSupplier` on the calling thread. REQUIRES: several
    /// threads may call it at once.
    Notification(std::string endpoint, std::function<std::string()> sessionIdSupplier,
                 std::string applicationId);

    // Configuration. REQUIRES: no other thread uses the service yet.

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
    /// Calls the supplier and returns its result. Nothing is cached.
    ///
    /// @throws std::bad_function_call when the supplier is empty; whatever the supplier throws.
    std::string getSessionId() const;

    // The callback form is the first slot, the destructor the second.

    /// Lists the files and folders that changed after a watermark. What an empty watermark gives,
    /// and one that this service never gave, is the service's business.
    virtual void listFileChanges(FileChangeListRequest request,
                                 CompletionHandler<FileChangeListResponse> handler) const = 0;

    /// Destroys the service. REQUIRES: no operation is running in it.
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
