#pragma once

/// @file
/// The records of login, logout and ping.

#include <string>

#include "storage/kvxclient/Export.h"

namespace storage::kvxclient {

/// The credentials for login.
class KVXCLIENT_EXPORT LoginRequest {
public:
    /// Makes a record with every field at its default.
    LoginRequest();

    /// Sets the credential token presented at login.
    LoginRequest& withToken(std::string token);
    /// Returns the credential token presented at login. Default: empty.
    std::string getToken() const;

    /// Compares token.
    bool operator==(const LoginRequest& other) const;

private:
    std::string token_;
};

/// The session that login opened.
class KVXCLIENT_EXPORT LoginResponse {
public:
    /// Makes a record with the defaults of the fields that have one.
    LoginResponse();

    /// Sets the id of the session; hand it to KVXClient::withSessionId().
    LoginResponse& withSessionId(std::string sessionId);
    /// Returns the id of the session; hand it to KVXClient::withSessionId(). Default: empty.
    std::string getSessionId() const;

    /// Sets how long the session lasts, in minutes.
    LoginResponse& withMinutesBeforeRelogin(int minutesBeforeRelogin);
    /// Returns how long the session lasts, in minutes: log in again before they have passed. No
    /// default: set it before use.
    int getMinutesBeforeRelogin() const;

    /// Compares sessionId and minutesBeforeRelogin.
    bool operator==(const LoginResponse& other) const;

private:
    std::string sessionId_;
    int minutesBeforeRelogin_ = 0;
};

/// Asks to end the session. Has no fields.
class KVXCLIENT_EXPORT LogoutRequest {
public:
    /// Makes the record.
    LogoutRequest();

    /// Returns true only for the same object: there are no fields to compare.
    bool operator==(const LogoutRequest& other) const;
};

/// Confirms that the session has ended. Has no fields.
class KVXCLIENT_EXPORT LogoutResponse {
public:
    /// Makes the record.
    LogoutResponse();

    /// Returns true only for the same object: there are no fields to compare.
    bool operator==(const LogoutResponse& other) const;
};

/// The answer to a ping. Has no equality: it is read, not compared.
class KVXCLIENT_EXPORT PingResponse {
public:
    /// Makes a record with every field at its default.
    PingResponse();

    /// Sets the text that the service returned.
    PingResponse& withValue(std::string value);
    /// Returns the text that the service returned. Default: empty.
    std::string getValue() const;

private:
    std::string value_;
};

}  // namespace storage::kvxclient
