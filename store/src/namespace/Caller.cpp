#include "namespace/Caller.h"

#include "core/Secrets.h"
#include "namespace/LookupCache.h"

namespace storage::kvxstore {

using database::Blob;

namespace {

constexpr std::string_view selectSession = "select owner, expires from sessions where hash = $1";

SessionRow findSession(const Context& context) {
    auto& known = LookupCache::on(context.database).sessions();
    if (const auto session = known.find(context.sessionId); session != known.end()) {
        return session->second;
    }
    const std::string hash = hashOf(context.sessionId);
    const auto row = context.database.query(selectSession, {Blob{hash}});
    if (!row->next()) {
        refuse(ErrorCode::INVALID_SESSION_ID);
    }
    LookupCache::on(context.database).owners()[context.sessionId] = row->integer(0);
    return known[context.sessionId] = {row->integer(0), row->integer(1)};
}

}  // namespace

std::optional<std::int64_t> primeSession(const Context& context) {
    LookupCache& cache = LookupCache::on(context.database);
    const auto owner = cache.owners().find(context.sessionId);
    if (owner == cache.owners().end()) {
        return std::nullopt;
    }
    if (!cache.sessions().contains(context.sessionId)) {
        const std::string hash = hashOf(context.sessionId);
        context.database.prime(selectSession, {Blob{hash}});
    }
    return owner->second;
}

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
