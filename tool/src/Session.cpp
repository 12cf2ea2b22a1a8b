#include "Session.h"

#include <cstdlib>

#include "Failure.h"
#include "TokenFile.h"

namespace storage::kvxtool {
namespace {

std::string tokenFor(const StoreLocation& location) {
    if (const char* token = std::getenv("KVX_TOKEN"); token != nullptr && *token != '\0') {
        return token;
    }
    if (const std::optional<std::string> token = TokenFile(location.url()).read()) {
        return *token;
    }
    throw Failure(ExitCode::REFUSED, location.text(),
                  "no token is kept for this store: set KVX_TOKEN to yours");
}

}  // namespace

Session::Session(const StoreLocation& location) try : client_(openStore(location)) {
    client_->withApplicationId("kvx");
    kvxclient::LoginRequest request;
    const kvxclient::LoginResponse response =
        client_->login(std::move(request.withToken(tokenFor(location))));
    client_->withSessionId(response.getSessionId());
    files_ = client_->createFileAccess();
    rights_ = client_->createAccessControl();
    configuration_ = client_->createConfigurationManagement();
    notifications_ = client_->createNotification();
    versions_ = client_->createVersioning();
} catch (...) {
    throw Failure::of(location.text(), std::current_exception());
}

Session::~Session() {
    try {
        client_->logout({});
    } catch (...) {
        // The session ends by itself in time: nothing that the command did depends on this.
    }
}

}  // namespace storage::kvxtool
