#pragma once

#include <string>
#include <vector>

#include "database/Connection.h"

namespace storage::kvxstore {

/// Checks everything and returns a sentence for each kind of damage found.
std::vector<std::string> verify(database::Connection& database);

}  // namespace storage::kvxstore
