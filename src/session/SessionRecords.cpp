#include "storage/kvxclient/SessionRecords.h"

#include <utility>

#include "core/Equality.h"

namespace storage::kvxclient {

LoginRequest::LoginRequest() = default;

LoginRequest& LoginRequest::withToken(std::string token) {
    token_ = std::move(token);
    return *this;
}

std::string LoginRequest::getToken() const { return token_; }

bool LoginRequest::operator==(const LoginRequest& other) const {
    return detail::equal(*this, other, &LoginRequest::token_);
}

LoginResponse::LoginResponse() = default;

LoginResponse& LoginResponse::withSessionId(std::string sessionId) {
    sessionId_ = std::move(sessionId);
    return *this;
}

std::string LoginResponse::getSessionId() const { return sessionId_; }

LoginResponse& LoginResponse::withMinutesBeforeRelogin(int minutesBeforeRelogin) {
    minutesBeforeRelogin_ = minutesBeforeRelogin;
    return *this;
}

int LoginResponse::getMinutesBeforeRelogin() const { return minutesBeforeRelogin_; }

bool LoginResponse::operator==(const LoginResponse& other) const {
    return detail::equal(*this, other, &LoginResponse::sessionId_,
                         &LoginResponse::minutesBeforeRelogin_);
}

LogoutRequest::LogoutRequest() = default;

bool LogoutRequest::operator==(const LogoutRequest& other) const { return this == &other; }

LogoutResponse::LogoutResponse() = default;

bool LogoutResponse::operator==(const LogoutResponse& other) const { return this == &other; }

PingResponse::PingResponse() = default;

PingResponse& PingResponse::withValue(std::string value) {
    value_ = std::move(value);
    return *this;
}

std::string PingResponse::getValue() const { return value_; }

}  // namespace storage::kvxclient
