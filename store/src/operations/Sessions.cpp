#include "operations/Operations.h"

#include "core/Secrets.h"
#include "namespace/Caller.h"

namespace storage::kvxstore::operations {

using database::Blob;

PingResponse ping(const Context&, const kvxtransport::PingRequest&) {
    // From within a transaction: the answer proves that the database can be read.
    return PingResponse().withValue("pong");
}

LoginResponse login(const Context& context, const LoginRequest& request) {
    const std::string tokenHash = hashOf(request.getToken());
    const auto token =
        context.database.query("select owner from tokens where hash = $1", {Blob{tokenHash}});
    if (!token->next()) {
        refuse(ErrorCode::INVALID_TOKEN);
    }
    const std::string sessionId = newSecret();
    const std::string sessionHash = hashOf(sessionId);
    const auto lifetime = context.options.sessionLifetime;
    const std::int64_t expires = context.now() + std::chrono::nanoseconds(lifetime).count();
    context.database.execute("insert into sessions(hash, owner, expires) values($1, $2, $3)",
                             {Blob{sessionHash}, token->integer(0), expires});
    const auto minutes = std::chrono::floor<std::chrono::minutes>(lifetime).count();
    return LoginResponse().withSessionId(sessionId).withMinutesBeforeRelogin(
        static_cast<int>(minutes));
}

LogoutResponse logout(const Context& context, const LogoutRequest&) {
    requireUser(context);
    const std::string hash = hashOf(context.sessionId);
    context.database.execute("delete from sessions where hash = $1", {Blob{hash}});
    return {};
}

}  // namespace storage::kvxstore::operations
