#pragma once

#include "namespace/ResolvedPath.h"
#include "storage/kvxclient/StorageConfiguration.h"

namespace storage::kvxstore {

/// The policy that is set on the node itself.
ResourcePolicy ownPolicy(const Context& context, const Node& node);

/// The policy after inheritance. Where nothing is set up to the root, versions are ENABLED and
/// public access is DENIED.
ResourcePolicy effectivePolicy(const Context& context, const ResolvedPath& path);

}  // namespace storage::kvxstore
