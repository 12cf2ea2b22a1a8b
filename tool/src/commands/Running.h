#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/Command.h"
#include "remote/RemoteName.h"
#include "session/OpenStore.h"
#include "session/Session.h"
#include "session/StoreLocation.h"
#include "transfer/TransferReport.h"

// What commands have in common.

namespace storage::kvxtool {

using Run = std::function<void(Invocation&)>;

/// The store that the command works on.
StoreLocation storeOf(const Invocation& invocation);

/// Runs `action` in a session with the store. What it throws is reported with the value of the
/// option `subject`.
Run inSession(std::function<void(const Session&, Invocation&)> action,
              const std::string& subject = {});
/// Runs `action` with the opened store, for those who run it. What it throws is reported with the
/// value of the option `subject`.
Run asAdministrator(std::function<void(const kvxstore::Store&, Invocation&)> action,
                    const std::string& subject = {});
/// Runs `action` with the location of the store. What it throws is reported with the location.
Run withStore(std::function<void(const StoreLocation&, Invocation&)> action);
/// Runs `action` in a session with each of the names REMOTE, one after the other.
Run forEachRemoteName(std::function<void(const Session&, Invocation&, const RemoteName&)> action);

/// The names of a command run by forEachRemoteName().
inline Option remoteNames() { return argument("REMOTE", "Names in the store", SOME); }

/// Calls `action` with one name after the other, and reports what it throws with the name. When a
/// signal asks for it, says how far it came and throws Interrupted.
void forEachName(const std::vector<std::string>& names, Diagnostics& diagnostics,
                 const std::function<void(const std::string&)>& action);

/// The names REMOTE, or the root of the user's own bucket where there are none.
std::vector<std::string> namesOrRoot(const Invocation& invocation);

/// An argument as the store takes it. Throws Failure for one that is not UTF-8.
std::u16string utf16Argument(const std::string& argument);
/// The same for the name of a new bucket, or of a user, who gets a bucket of that name.
std::u16string newBucketArgument(const std::string& argument);

/// Says that something was done to `name`, as "moved /a to /b".
void reportAction(const Output& out, const char* action, const RemoteName& name,
                  const std::optional<RemoteName>& target = {});

/// -j of a command that transfers files.
Option jobsOption();
/// What the command line says of a transfer; with -v or --json each file done is printed.
TransferOptions transferOptions(const Session& session, Invocation& invocation);

}  // namespace storage::kvxtool
