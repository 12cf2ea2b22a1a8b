#pragma once

#include "maintenance/Damages.h"

namespace storage::kvxstore {

/// Reads all contents, and tells which versions and open files are damaged.
void verifyContents(const Context& context, Damages& damages);

}  // namespace storage::kvxstore
