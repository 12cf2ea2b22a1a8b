#include <charconv>
#include <iostream>
#include <limits>
#include <memory>

#include "commands/Commands.h"
#include "session/OpenStore.h"
#include "session/TokenOutput.h"
#include "ui/Json.h"
#include "ui/Prompt.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

struct UserOptions {
    std::string name;
    std::string emailAddress;
    std::string firstName;
    std::string lastName;
    std::string quota;
    std::string tokenFile;
};

/// Reads "1000" or "10G".
unsigned long readSize(const std::string& text) {
    constexpr std::string_view UNITS = "KMGTPE";
    constexpr unsigned long LARGEST = std::numeric_limits<long>::max();
    unsigned long size = 0;
    const char* const end = text.data() + text.size();
    const auto [unit, error] = std::from_chars(text.data(), end, size);
    const std::size_t power = unit == end ? 0 : UNITS.find(*unit) + 1;
    const bool isUnit = unit == end || (unit + 1 == end && power != 0);
    if (error != std::errc() || !isUnit || size > LARGEST >> 10 * power) {
        throw Failure(ExitCode::USAGE, text, "not a size: write 1000, 512M or 10G");
    }
    return size << 10 * power;
}

StoreUser userOf(const UserOptions& options) {
    return {newBucketArgument(options.name), utf16Argument(options.emailAddress),
            utf16Argument(options.firstName), utf16Argument(options.lastName),
            options.quota.empty() ? std::nullopt : std::optional(readSize(options.quota))};
}

/// Calls `make` for a token, and shows it where the options say.
template <class Make>
void showToken(const UserOptions& options, bool json, Make&& make) {
    std::optional<TokenOutput> output;  // Before there is a token: there may be no such file.
    if (!options.tokenFile.empty()) {
        output.emplace(options.tokenFile);
    }
    const std::string token = make();
    if (output) {
        output->write(token);
    } else if (json) {
        printJson({{"user", options.name}, {"token", token}});
    } else {
        std::cout << token << '\n';
    }
    if (!std::cout.flush()) {
        throw Failure(ExitCode::FAILED, options.name, "the token cannot be shown: try again");
    }
}

void addUser(const Administration& store, const UserOptions& options, bool json) {
    const StoreUser user = userOf(options);
    bool added = false;
    try {
        showToken(options, json, [&] {
            std::string token = store.addUser(user);
            added = true;
            return token;
        });
    } catch (...) {
        if (added) {
            store.removeUser(user.name);  // Nobody could ever log in as this user.
        }
        throw;
    }
}

void printUser(const StoreUser& user, bool json) {
    if (json) {
        printJson({{"user", toUtf8(user.name)},
                   {"emailAddress", toUtf8(user.emailAddress)},
                   {"firstName", toUtf8(user.firstName)},
                   {"lastName", toUtf8(user.lastName)},
                   {"used", user.used},
                   {"quota", user.quota ? Json(*user.quota) : Json()}});
        return;
    }
    std::cout << shown(toUtf8(user.name)) << "  " << humanSize(user.used) << " of "
              << (user.quota ? humanSize(*user.quota) : "any size");
    for (const std::u16string& more : {user.emailAddress, user.firstName, user.lastName}) {
        std::cout << (more.empty() ? "" : "  ") << shown(toUtf8(more));
    }
    std::cout << '\n';
}

void removeUser(const Administration& store, const std::string& name, bool force) {
    if (force || confirm("Remove the user " + name + " and all files in the user's buckets?")) {
        store.removeUser(utf16Argument(name));
    }
}

CLI::App* addSubcommand(CLI::App& user, const char* command, const char* description,
                        std::string& name) {
    CLI::App* subcommand = user.add_subcommand(command, description);
    subcommand->add_option("NAME", name, "The user's name")->type_name("")->required();
    return subcommand;
}

void addTokenFileOption(CLI::App& command, UserOptions& options) {
    command
        .add_option("--token-file", options.tokenFile,
                    "Write the token to this new file, readable for you only")
        ->type_name("FILE");
}

void addUserAdd(CLI::App& user, Invocation& invocation) {
    auto options = std::make_shared<UserOptions>();
    CLI::App* command =
        addSubcommand(user, "add", "Create a user with a bucket of that name", options->name);
    command->add_option("--quota", options->quota, "The most that the user may store, as 512M")
        ->type_name("SIZE");
    command->add_option("--email", options->emailAddress, "Where the user gets mail")
        ->type_name("ADDRESS");
    command->add_option("--first-name", options->firstName, "For people")->type_name("NAME");
    command->add_option("--last-name", options->lastName, "For people")->type_name("NAME");
    addTokenFileOption(*command, *options);
    command->footer(
        "Prints the token that the user logs in with. It is shown this once: kvx user token makes\n"
        "another for who has lost it. Without --quota nothing is refused.\n"
        "\n"
        "Examples:\n"
        "  kvx user add bob --quota 10G\n"
        "  kvx user add bob --token-file bob.token");
    command->callback([options, &invocation] {
        invocation.runAsAdministrator(
            [options, &invocation](const Administration& store, Diagnostics&) {
                addUser(store, *options, invocation.json);
            });
    });
}

void addUserList(CLI::App& user, Invocation& invocation) {
    CLI::App* command = user.add_subcommand("list", "List all users, with what they store");
    command->footer(
        "Examples:\n"
        "  kvx user list");
    command->callback([&invocation] {
        invocation.runAsAdministrator([&invocation](const Administration& store, Diagnostics&) {
            for (const StoreUser& entry : store.users()) {
                printUser(entry, invocation.json);
            }
        });
    });
}

void addUserToken(CLI::App& user, Invocation& invocation) {
    auto options = std::make_shared<UserOptions>();
    CLI::App* command =
        addSubcommand(user, "token", "Make a new token in place of the old one", options->name);
    addTokenFileOption(*command, *options);
    command->footer(
        "For who has lost the token, or fears that others know it: the old one is good no more,\n"
        "and whoever is logged in with it has to log in with the new one.\n"
        "\n"
        "Examples:\n"
        "  kvx user token bob --token-file bob.token");
    command->callback([options, &invocation] {
        invocation.runAsAdministrator(
            [options, &invocation](const Administration& store, Diagnostics&) {
                showToken(*options, invocation.json,
                          [&] { return store.renewToken(utf16Argument(options->name)); });
            });
    });
}

void addUserQuota(CLI::App& user, Invocation& invocation) {
    auto options = std::make_shared<UserOptions>();
    CLI::App* command =
        addSubcommand(user, "quota", "Set the most that a user may store", options->name);
    command->add_option("SIZE", options->quota, "As 512M; - is any size")
        ->type_name("")
        ->required();
    command->footer(
        "What there is beyond it stays, but nothing is added.\n"
        "\n"
        "Examples:\n"
        "  kvx user quota bob 20G\n"
        "  kvx user quota bob -");
    command->callback([options, &invocation] {
        invocation.runAsAdministrator([options](const Administration& store, Diagnostics&) {
            const bool any = options->quota == "-";
            store.setQuota(utf16Argument(options->name),
                           any ? std::nullopt : std::optional(readSize(options->quota)));
        });
    });
}

void addUserRemove(CLI::App& user, Invocation& invocation) {
    auto name = std::make_shared<std::string>();
    auto force = std::make_shared<bool>(false);
    CLI::App* command =
        addSubcommand(user, "remove", "Remove a user with buckets, files and sharing", *name);
    command->add_flag("-f,--force", *force, "Do not ask");
    command->footer(
        "Asks first when standard input is a terminal, as kvx rm does.\n"
        "\n"
        "Examples:\n"
        "  kvx user remove bob");
    command->callback([name, force, &invocation] {
        invocation.runAsAdministrator([name, force](const Administration& store, Diagnostics&) {
            removeUser(store, *name, *force);
        });
    });
}

}  // namespace

void addUser(CLI::App& program, Invocation& invocation) {
    CLI::App* command = program.add_subcommand("user", "Create, list, change and remove users");
    command->require_subcommand(1);
    command->footer("For whoever may write the file of the store; no token is needed.");
    addUserAdd(*command, invocation);
    addUserList(*command, invocation);
    addUserToken(*command, invocation);
    addUserQuota(*command, invocation);
    addUserRemove(*command, invocation);
}

}  // namespace storage::kvxtool
