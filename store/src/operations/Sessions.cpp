#include "operations/Operations.h"

#include "core/Secrets.h"
#include "namespace/Caller.h"

namespace storage::kvxstore::operations {

using database::Blob;

namespace {

constexpr std::int64_t mostSessions = 1'024;

/// Ends the session of the user that expires first, where there are too many.
void limitSessions(const Context& context, std::int64_t user) {
    if (context.database.number("select count(*) from sessions where owner = $1", {user}) >
        mostSessions) {
        context.database.execute(
            "delete from sessions where hash = (select hash from sessions where owner = $1"
            " order by expires, hash limit 1)",
            {user});
    }
}

}  // namespace

PingResponse ping(const Context&, const kvxtransport::PingRequest&) {
    // From within a transaction: the answer proves that the database can be read.
    return PingResponse().withValue("pong");
}

LoginResponse login(const Context& context, const LoginRequest& request) {
    const std::string tokenHash = hashOf(request.getToken());
    const auto token =
        context.database.lock(database::RowLock::KEEP,  // Or the session could outlive the token.
                              "select owner from tokens where hash = $1", {Blob{tokenHash}});
    if (!token->next()) {
        refuse(ErrorCode::INVALID_TOKEN);
    }
    const std::string sessionId = newSecret();
    const std::string sessionHash = hashOf(sessionId);
    const auto lifetime = context.options.sessionLifetime;
    const std::int64_t expires = context.now() + std::chrono::nanoseconds(lifetime).count();
    context.database.post("insert into sessions(hash, owner, expires) values($1, $2, $3)",
                          {Blob{sessionHash}, token->integer(0), expires});
    limitSessions(context, token->integer(0));
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
