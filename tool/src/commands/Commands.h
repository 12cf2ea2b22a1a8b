#pragma once

#include <CLI/App.hpp>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "remote/RemoteName.h"
#include "session/OpenStore.h"
#include "session/Session.h"
#include "session/StoreLocation.h"
#include "ui/Diagnostics.h"

namespace storage::kvxtool {

/// What the command line asks for. Each command, when it is parsed, sets `run`.
struct Invocation {
    std::string store;
    bool quiet = false;
    bool verbose = false;
    bool json = false;
    std::function<void(const StoreLocation&, Diagnostics&)> run;

    /// Says, when it is asked for, that something was done to `name`, as "moved /a to /b".
    void report(const char* action, const RemoteName& name,
                const std::optional<RemoteName>& target = {}) const;

    /// Sets `run` to call `action` in a session with the store.
    void runInSession(std::function<void(const Session&, Diagnostics&)> action);
    /// The same for the one thing that a command does; `subject` is in front of what it throws.
    void runInSession(const std::string& subject, std::function<void(const Session&)> action);
    /// Sets `run` to call `action` with what those who run the store may do.
    void runAsAdministrator(std::function<void(const Administration&, Diagnostics&)> action);
};

/// An argument as the store takes it. Throws Failure for one that is not UTF-8.
std::u16string utf16Argument(const std::string& argument);

/// The same for the name of a new bucket, or of a user, who gets a bucket of that name.
std::u16string newBucketArgument(const std::string& argument);

/// Calls `action` with one name after the other, and reports what it throws with the name. When a
/// signal asks for it, says how far it came and throws Interrupted.
void forEachName(const std::vector<std::string>& names, Diagnostics& diagnostics,
                 const std::function<void(const std::string&)>& action);

/// What a command does with one remote name.
using NameAction = std::function<void(const Session&, Diagnostics&, const RemoteName&)>;

/// Adds a command that does the same with each of its remote names, one after the other.
CLI::App* addForEachName(CLI::App& program, Invocation& invocation, const std::string& name,
                         const std::string& description, NameAction action);

// Each adds commands to the program. `invocation` must outlive it.
void addInit(CLI::App& program, Invocation& invocation);
void addLoginAndLogout(CLI::App& program, Invocation& invocation);
void addUser(CLI::App& program, Invocation& invocation);
void addBucket(CLI::App& program, Invocation& invocation);
void addMaintenance(CLI::App& program, Invocation& invocation);
void addVersionsAndRestore(CLI::App& program, Invocation& invocation);
void addGrants(CLI::App& program, Invocation& invocation);
void addInvitations(CLI::App& program, Invocation& invocation);
void addDfAndPolicy(CLI::App& program, Invocation& invocation);
void addPut(CLI::App& program, Invocation& invocation);
void addGetAndCat(CLI::App& program, Invocation& invocation);
void addLs(CLI::App& program, Invocation& invocation);
void addTree(CLI::App& program, Invocation& invocation);
void addDu(CLI::App& program, Invocation& invocation);
void addFind(CLI::App& program, Invocation& invocation);
void addStat(CLI::App& program, Invocation& invocation);
void addMkdirAndRm(CLI::App& program, Invocation& invocation);
void addMvAndCp(CLI::App& program, Invocation& invocation);
void addSync(CLI::App& program, Invocation& invocation);
void addWatch(CLI::App& program, Invocation& invocation);
void addHelp(CLI::App& program, Invocation& invocation);
void addCompletion(CLI::App& program, Invocation& invocation);
void addManual(CLI::App& program, Invocation& invocation);

}  // namespace storage::kvxtool
