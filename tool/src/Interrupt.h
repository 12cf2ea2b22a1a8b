#pragma once

#include "Progress.h"

namespace storage::kvxtool {

/// From now on SIGINT, SIGTERM and SIGHUP end the process with 128 plus the signal's number,
/// after the progress bar and the temporary files are gone; a write beyond the limit for the size
/// of files is an error like others. Call before other threads are
/// started; `progress` must live as long as the process.
void endCleanlyOnSignals(Progress& progress);

}  // namespace storage::kvxtool
