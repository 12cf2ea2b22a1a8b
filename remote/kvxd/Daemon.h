#pragma once

/// @file
/// The program's run, from start to signal.

#include "Options.h"

namespace storage::kvxd {

/// Serves until a signal ends it. Throws std::invalid_argument for wrong options and other
/// exceptions when it cannot serve.
void serve(const Options& options);

}  // namespace storage::kvxd
