#include "operations/Sessions.h"

#include "operations/LookupCache.h"
#include "operations/Secrets.h"

namespace storage::kvxstore::operations {

using database::Blob;
using kvxclient::KVXClientErrorCode;

namespace {

SessionRow findSession(const Context& context) {
    LookupCache& cache = LookupCache::on(context.database);
    if (const SessionRow* session = cache.session(context.sessionId)) {
        return *session;
    }
    const std::string hash = hashOf(context.sessionId);
    const auto row =
        context.database.query("select owner, expires from sessions where hash = $1", {Blob{hash}});
    if (!row->next()) {
        refuse(KVXClientErrorCode::INVALID_SESSION_ID);
    }
    const SessionRow session{row->integer(0), row->integer(1)};
    cache.addSession(context.sessionId, session);
    return session;
}

}  // namespace

kvxclient::PingResponse ping(const Context&, const kvxtransport::PingRequest&) {
    return kvxclient::PingResponse().withValue("pong");
}

kvxclient::LoginResponse login(const Context& context, const kvxclient::LoginRequest& request) {
    const std::string tokenHash = hashOf(request.getToken());
    const auto token =
        context.database.query("select owner from tokens where hash = $1", {Blob{tokenHash}});
    if (!token->next()) {
        refuse(KVXClientErrorCode::INVALID_TOKEN);
    }
    const std::string sessionId = newSecret();
    const std::string sessionHash = hashOf(sessionId);
    const auto lifetime = context.options.sessionLifetime;
    const std::int64_t expires = context.now() + std::chrono::nanoseconds(lifetime).count();
    context.database.execute("insert into sessions(hash, owner, expires) values($1, $2, $3)",
                             {Blob{sessionHash}, token->integer(0), expires});
    const auto minutes = std::chrono::floor<std::chrono::minutes>(lifetime).count();
    return kvxclient::LoginResponse().withSessionId(sessionId).withMinutesBeforeRelogin(
        static_cast<int>(minutes));
}

kvxclient::LogoutResponse logout(const Context& context, const kvxclient::LogoutRequest&) {
    requireUser(context);
    const std::string hash = hashOf(context.sessionId);
    context.database.execute("delete from sessions where hash = $1", {Blob{hash}});
    return {};
}

std::int64_t requireUser(const Context& context) {
    if (context.sessionId.empty()) {
        refuse(KVXClientErrorCode::UNAUTHORIZED);
    }
    const SessionRow session = findSession(context);
    if (session.expires <= context.now()) {
        refuse(KVXClientErrorCode::SESSION_EXPIRED);
    }
    return session.owner;
}

}  // namespace storage::kvxstore::operations
