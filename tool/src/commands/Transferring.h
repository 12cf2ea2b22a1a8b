#pragma once

#include "commands/Running.h"
#include "transfer/TransferReport.h"

namespace storage::kvxtool {

/// -j of a command that transfers files.
Option jobsOption();

/// What the command line says of a transfer; with -v or --json each file done is printed.
TransferOptions transferOptions(const Session& session, Invocation& invocation);

}  // namespace storage::kvxtool
