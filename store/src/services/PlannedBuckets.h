#pragma once

#include <string>

#include "core/Secrets.h"
#include "core/Text.h"
#include "database/BucketPlan.h"
#include "storage/kvxclient/Resource.h"

namespace storage::kvxstore::services {

/// Adds the bucket that a path is in. A name that no bucket can have is refused later.
inline void planPath(database::BucketPlan& plan, const std::string& sessionId,
                     const kvxclient::Resource& resource) {
    if (resource.getBucket().empty()) {
        plan.addOwnOf(hashOf(sessionId));
    } else if (isName(resource.getBucket())) {
        plan.addNamed(resource.getUTF8Bucket());
    }
}

/// Adds the buckets that a request names, in whatever way.
template <class Request>
void planBuckets(database::BucketPlan& plan, const std::string& sessionId, const Request& request) {
    if constexpr (requires { request.getFileHandleId(); }) {
        plan.addHandle(hashOf(request.getFileHandleId()));  // Its resource is ignored.
        return;
    }
    if constexpr (requires { request.getInvitationId(); }) {
        if (isSecret(request.getInvitationId())) {
            plan.addInvitation(request.getInvitationId());
        }
    } else if constexpr (requires { request.getResource(); }) {
        planPath(plan, sessionId, request.getResource());
    }
    if constexpr (requires { request.getSource(); }) {
        planPath(plan, sessionId, request.getSource());
        planPath(plan, sessionId, request.getTarget());
    }
    if constexpr (requires { request.getTargetResource(); }) {
        planPath(plan, sessionId, request.getTargetResource());
    }
}

}  // namespace storage::kvxstore::services
