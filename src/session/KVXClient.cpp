#include "storage/kvxclient/KVXClient.h"

#include <boost/thread/lock_types.hpp>
#include <cctype>
#include <utility>

#include "core/AsyncCall.h"

namespace storage::kvxclient {
namespace {

// Unlike the encoding of paths, this one asks the locale about every byte, as a signed char.
std::string encodeClientText(const std::string& text) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string result;
    result.reserve(text.size() * 3);
    for (const char byte : text) {
        if (std::isalnum(static_cast<signed char>(byte)) || byte == '.' || byte == '/') {
            result += byte;
        } else {
            const auto value = static_cast<unsigned char>(byte);
            result += {'%', digits[value >> 4], digits[value & 15]};
        }
    }
    return result;
}

}  // namespace

KVXClient::KVXClient(std::string endpoint) : endpoint_(std::move(endpoint)) {}

KVXClient::~KVXClient() = default;

KVXClient& KVXClient::withEndpoint(std::string endpoint) {
    endpoint_ = std::move(endpoint);
    return *this;
}

KVXClient& KVXClient::withOriginId(std::string originId) {
    originId_ = std::move(originId);
    return *this;
}

KVXClient& KVXClient::withApplicationId(std::string applicationId) {
    applicationId_ = std::move(applicationId);
    return *this;
}

KVXClient& KVXClient::withClientString(std::string clientString) {
    clientString_ = encodeClientText(clientString);
    return *this;
}

KVXClient& KVXClient::withKVXClientType(std::string clientType) {
    clientType_ = encodeClientText(clientType);
    return *this;
}

KVXClient& KVXClient::withSessionId(std::string sessionId) {
    const boost::unique_lock<boost::shared_mutex> lock(sessionIdLock_);
    sessionId_ = std::move(sessionId);
    return *this;
}

std::string KVXClient::getEndpoint() const { return endpoint_; }

std::string KVXClient::getOriginId() const { return originId_; }

std::string KVXClient::getApplicationId() const { return applicationId_; }

std::string KVXClient::getClientString() const { return clientString_; }

std::string KVXClient::getKvxClientType() const { return clientType_; }

std::string KVXClient::getSessionId() const {
    const boost::shared_lock<boost::shared_mutex> lock(sessionIdLock_);
    return sessionId_;
}

std::future<PingResponse> KVXClient::pingAsync() const {
    std::promise<PingResponse> promise;
    std::future<PingResponse> future = promise.get_future();
    ping(promiseCompletingHandler(std::move(promise)));
    return future;
}

PingResponse KVXClient::ping() const { return pingAsync().get(); }

std::future<LoginResponse> KVXClient::loginAsync(LoginRequest request) const {
    return detail::callMoving(*this, &KVXClient::login, std::move(request));
}

LoginResponse KVXClient::login(LoginRequest request) const {
    return loginAsync(std::move(request)).get();
}

std::future<LogoutResponse> KVXClient::logoutAsync(LogoutRequest request) const {
    return detail::callMoving(*this, &KVXClient::logout, std::move(request));
}

LogoutResponse KVXClient::logout(LogoutRequest request) const {
    return logoutAsync(std::move(request)).get();
}

}  // namespace storage::kvxclient
