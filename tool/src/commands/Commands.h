#pragma once

#include <string>

#include "cli/Command.h"

namespace storage::kvxtool {

/// The program with all its commands.
Command theProgram(const std::string& version);

// The records of the commands.
Command acceptCommand(), backupCommand(), bucketCommand(), catCommand(), completeCommand(),
    completionCommand(), cpCommand(), declineCommand(), dfCommand(), duCommand(), findCommand(),
    getCommand(), grantCommand(), grantsCommand(), helpCommand(), initCommand(),
    invitationsCommand(), inviteCommand(), loginCommand(), logoutCommand(), lsCommand(),
    manualCommand(), migrateCommand(), mkdirCommand(), mvCommand(), policyCommand(), pruneCommand(),
    putCommand(), restoreCommand(), revokeCommand(), rmCommand(), sharedCommand(), statCommand(),
    statisticsCommand(), sweepCommand(), syncCommand(), treeCommand(), uninviteCommand(),
    userCommand(), verifyCommand(), versionsCommand(), watchCommand();

}  // namespace storage::kvxtool
