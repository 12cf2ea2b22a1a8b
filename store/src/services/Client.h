#pragma once

#include <memory>

#include "services/Engine.h"
#include "storage/kvxclient/KVXClient.h"

namespace storage::kvxstore::services {

/// Makes a client of the store, with the faults that its options plan.
std::unique_ptr<kvxclient::KVXClient> makeClient(std::shared_ptr<Engine> engine);

}  // namespace storage::kvxstore::services
