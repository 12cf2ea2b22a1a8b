#include "namespace/Caller.h"

#include "core/Secrets.h"
#include "namespace/LookupCache.h"

namespace storage::kvxstore {

using database::Blob;

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
        refuse(ErrorCode::INVALID_SESSION_ID);
    }
    const SessionRow session{row->integer(0), row->integer(1)};
    cache.addSession(context.sessionId, session);
    return session;
}

}  // namespace

std::int64_t requireUser(const Context& context) {
    if (context.sessionId.empty()) {
        refuse(ErrorCode::UNAUTHORIZED);
    }
    const SessionRow session = findSession(context);
    if (session.expires <= context.now()) {
        refuse(ErrorCode::SESSION_EXPIRED);
    }
    return session.owner;
}

}  // namespace storage::kvxstore
