#pragma once

#include "namespace/Places.h"
#include "storage/kvxclient/StorageConfiguration.h"

namespace storage::kvxstore::operations {

/// What is set on the node itself.
kvxclient::ResourcePolicy ownPolicy(const Context& context, const Node& node);

/// What holds at the place after inheritance. Where nothing is set up to the root, versions are
/// ENABLED and public access is DENIED.
kvxclient::ResourcePolicy effectivePolicy(const Context& context, const Place& place);

}  // namespace storage::kvxstore::operations
