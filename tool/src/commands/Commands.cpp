#include "commands/Commands.h"

namespace storage::kvxtool {
namespace {

const char* const NAMES_AND_STORE =
    "Names in the store:\n"
    "  :/docs/a.txt      in your own bucket\n"
    "  team:/docs/a.txt  in the bucket \"team\"\n"
    "  /docs/a.txt       short for :/docs/a.txt, where no local name can be meant\n"
    "A local name with a colon before its first slash is written ./a:b. Names that begin with a\n"
    "dash follow --. Names are UTF-8, at most 255 characters long (an emoji is two), and neither\n"
    ". nor ..\n"
    "\n"
    "The store is the one that --store or KVX_STORE names, by URL (sqlite:///srv/store.db) or\n"
    "path, else kvx/store.db in the user's data folder (XDG_DATA_HOME, ~/.local/share); or a\n"
    "server's, which kvxd serves: kvx://host:7420 by TLS, kvx+unix:///run/kvxd/socket. A server's\n"
    "store is administered on its own machine, by its file. With KVX_TOKEN, a command logs in\n"
    "with that token and out again. Without it, all commands use the session that kvx login or\n"
    "kvx init keeps, with the token, in the user's state folder (XDG_STATE_HOME,\n"
    "~/.local/state), readable for the user only.\n"
    "\n";

}  // namespace

Command theProgram(const std::string& version) {
    return {.name = "kvx",
            .summary = "Works with the files of a store",
            .options = {option("--store", "URL", "The store to work on, by URL or path"),
                        flag("-q,--quiet", "Show no progress, and report only what went wrong"),
                        flag("-v,--verbose", "Report each thing that is done"),
                        flag("--json", "Print for programs: one JSON object a line")},
            .notes = std::string(NAMES_AND_STORE) + EXIT_CODES,
            .commands = {putCommand(),        getCommand(),        catCommand(),
                         lsCommand(),         treeCommand(),       duCommand(),
                         findCommand(),       statCommand(),       mkdirCommand(),
                         rmCommand(),         mvCommand(),         cpCommand(),
                         syncCommand(),       watchCommand(),      versionsCommand(),
                         restoreCommand(),    grantCommand(),      revokeCommand(),
                         grantsCommand(),     inviteCommand(),     invitationsCommand(),
                         acceptCommand(),     declineCommand(),    uninviteCommand(),
                         sharedCommand(),     dfCommand(),         policyCommand(),
                         loginCommand(),      logoutCommand(),     initCommand(),
                         userCommand(),       bucketCommand(),     verifyCommand(),
                         sweepCommand(),      pruneCommand(),      backupCommand(),
                         migrateCommand(),    statisticsCommand(), helpCommand(),
                         completionCommand(), completeCommand(),   manualCommand()},
            .version = version};
}

}  // namespace storage::kvxtool
