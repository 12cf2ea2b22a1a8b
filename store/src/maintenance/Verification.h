#pragma once

#include "maintenance/Damages.h"

namespace storage::kvxstore {

/// Checks everything and tells each damage, in bounded memory.
void verify(const Context& context, const Damages::Tell& tell);

}  // namespace storage::kvxstore
