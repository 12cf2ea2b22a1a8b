#pragma once

/// @file
/// The client of one service endpoint: its identity and its session.

#include <boost/thread/shared_mutex.hpp>
#include <future>
#include <memory>
#include <string>

#include "storage/kvxclient/CompletionHandler.h"
#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/LockLayout.h"
#include "storage/kvxclient/SessionRecords.h"

namespace storage::kvxclient {

class AccessControl;
class ConfigurationManagement;
class FileAccess;
class IVersioning;
class Notification;

/// An application's handle on one service endpoint: who is calling, the current session id, and
/// the session operations.
///
/// An abstract class: a transport derives from it and implements the virtual functions.
///
/// To use the service: set application id, origin id, client string and client type; login(); pass
/// the session id of the response to withSessionId(); work with the other services, whose supplier
/// reads getSessionId(); log in again before the minutes that the response named have passed and
/// set the new id the same way; logout() at the end.
///
/// The session operations have the three forms of @ref call_forms, which say what holds for errors,
/// threads and lifetime; an operation lists the errors of its own. Any thread may call any
/// operation. Of the settings, only the session id is guarded: change the others only before the
/// client is shared.
class KVXCLIENT_EXPORT KVXClient {
public:
    /// Makes a client of an endpoint; everything else starts empty.
    ///
    /// @throws boost::thread_resource_error when the system refuses the lock.
    KVXClient(std::string endpoint);

    KVXClient(const KVXClient&) = delete;
    KVXClient& operator=(const KVXClient&) = delete;

    // Settings.

    /// Sets the endpoint.
    KVXClient& withEndpoint(std::string endpoint);
    /// Sets the id of the origin of the requests.
    KVXClient& withOriginId(std::string originId);
    /// Sets the id of the calling application.
    KVXClient& withApplicationId(std::string applicationId);

    /// Sets the text that describes the calling client, in its encoded form: every byte except
    /// letters, digits, "." and "/" becomes "%" and two upper-case hexadecimal digits.
    ///
    /// The C locale of the process decides what a letter is: another locale may keep bytes of 0x80
    /// and above, which the path of a Resource never does. Text that is already encoded is encoded
    /// again.
    KVXClient& withClientString(std::string clientString);

    /// Sets the kind of the client, encoded as withClientString() does. Read with
    /// getKvxClientType().
    KVXClient& withKVXClientType(std::string clientType);

    /// Sets the session id, exactly as given; seen at once by every service that asks for it.
    ///
    /// Other threads may read it at the same time.
    /// @throws boost::lock_error when locking fails; the session id is unchanged.
    KVXClient& withSessionId(std::string sessionId);

    /// Returns the endpoint.
    std::string getEndpoint() const;
    /// Returns the id of the origin of the requests. Default: empty.
    std::string getOriginId() const;
    /// Returns the id of the calling application. Default: empty.
    std::string getApplicationId() const;
    /// Returns the text that describes the calling client, encoded. Default: empty.
    std::string getClientString() const;
    /// Returns the kind of the client, encoded. Default: empty.
    std::string getKvxClientType() const;

    /// Returns the session id last set. Default: empty. Neither login() nor logout() changes it.
    ///
    /// Other threads may read or set it at the same time.
    /// @throws boost::lock_error when locking fails.
    std::string getSessionId() const;

    // Virtual functions, in the order of their slots; the destructor is the last slot.

    /// Checks that the service answers.
    virtual void ping(CompletionHandler<PingResponse> handler) const = 0;

    /// Opens a session. The client does not store its id: pass it to withSessionId().
    ///
    /// Errors:
    /// - INVALID_TOKEN: the token is not accepted.
    virtual void login(LoginRequest request, CompletionHandler<LoginResponse> handler) const = 0;

    /// Ends the session. The session id stays set in the client.
    ///
    /// Errors:
    /// - UNAUTHORIZED, INVALID_SESSION_ID, SESSION_EXPIRED: there is no session to end.
    virtual void logout(LogoutRequest request, CompletionHandler<LogoutResponse> handler) const = 0;

    /// Makes a service for files and folders.
    ///
    /// The service copies the endpoint and application id of this client now, and reads its session
    /// id for each call. It does not keep the client alive: the client must outlive it.
    virtual std::unique_ptr<FileAccess> createFileAccess() const = 0;
    /// Makes a service for sharing; see createFileAccess().
    virtual std::unique_ptr<AccessControl> createAccessControl() const = 0;
    /// Makes a service for storage usage and policies; see createFileAccess().
    virtual std::unique_ptr<ConfigurationManagement> createConfigurationManagement() const = 0;
    /// Makes a service for changes; see createFileAccess().
    virtual std::unique_ptr<Notification> createNotification() const = 0;
    /// Makes a service for versions; see createFileAccess().
    virtual std::unique_ptr<IVersioning> createVersioning() const = 0;

    /// Completes every call of this client and its services that has not completed yet, once, with
    /// a KVXClientException of BAD_NETWORK.
    virtual void cancelPendingCalls() const = 0;
    /// Returns when no call of this client and its services is outstanding. REQUIRES: the calling
    /// thread is not one that must complete a call.
    virtual void waitForPendingCalls() const = 0;

    /// Destroys the client. REQUIRES: no operation is running in it, and its services are gone.
    virtual ~KVXClient();

    // Future forms.

    /// Future form of ping().
    std::future<PingResponse> pingAsync() const;
    /// Future form of login().
    std::future<LoginResponse> loginAsync(LoginRequest request) const;
    /// Future form of logout().
    std::future<LogoutResponse> logoutAsync(LogoutRequest request) const;

    // Blocking forms.

    /// Blocking form of ping().
    PingResponse ping() const;
    /// Blocking form of login().
    LoginResponse login(LoginRequest request) const;
    /// Blocking form of logout().
    LogoutResponse logout(LogoutRequest request) const;

private:
    std::string endpoint_;
    std::string clientString_;
    std::string clientType_;
    std::string originId_;
    std::string sessionId_;
    std::string applicationId_;
    mutable boost::shared_mutex sessionIdLock_;  // Guards sessionId_ only.
};

}  // namespace storage::kvxclient
