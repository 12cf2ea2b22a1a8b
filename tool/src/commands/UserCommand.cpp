#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>

#include "cli/Values.h"
#include "commands/Commands.h"
#include "commands/Running.h"
#include "session/TokenOutput.h"
#include "ui/Prompt.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

using kvxstore::NewUser;
using kvxstore::Store;

unsigned long quotaOf(const std::string& text) {
    return text == "-" ? NewUser::UNLIMITED : parseSize(text, text, "1000, 512M or 10G");
}

/// Calls `make` for a token, and shows it where the options say.
template <class Make>
void showToken(const Invocation& invocation, Make&& make) {
    std::optional<TokenOutput> output;  // Opened first, since it may fail.
    if (invocation.has("--token-file")) {
        output.emplace(invocation.text("--token-file"));
    }
    const std::string& user = invocation.text("NAME");
    const std::string token = make();
    if (output) {
        output->write(token);
    } else {
        invocation.out.print({{"user", user}, {"token", token}}, token);
    }
    if (!std::cout.flush()) {
        throw Failure(ExitCode::FAILED, user, "the token cannot be shown: try again");
    }
}

void addUser(const Store& store, Invocation& invocation) {
    NewUser user;
    user.name = newBucketArgument(invocation.text("NAME"));
    user.emailAddress = utf16Argument(invocation.text("--email"));
    user.firstName = utf16Argument(invocation.text("--first-name"));
    user.lastName = utf16Argument(invocation.text("--last-name"));
    if (invocation.has("--quota")) {
        user.quota = quotaOf(invocation.text("--quota"));
    }
    bool added = false;
    try {
        showToken(invocation, [&] {
            std::string token = store.createUser(user);
            added = true;
            return token;
        });
    } catch (...) {
        if (added) {
            store.removeUser(user.name);  // Nobody could log in as this user.
        }
        throw;
    }
}

void listUsers(const Store& store, Invocation& invocation) {
    for (const kvxstore::User& user : store.listUsers()) {
        const bool unlimited = user.quota >= NewUser::UNLIMITED;
        std::string text = shown(toUtf8(user.name)) + "  " + humanSize(user.used) + " of " +
                           (unlimited ? "any size" : humanSize(user.quota));
        for (const std::u16string& more : {user.emailAddress, user.firstName, user.lastName}) {
            text += (more.empty() ? "" : "  ") + shown(toUtf8(more));
        }
        invocation.out.print({{"user", toUtf8(user.name)},
                              {"emailAddress", toUtf8(user.emailAddress)},
                              {"firstName", toUtf8(user.firstName)},
                              {"lastName", toUtf8(user.lastName)},
                              {"used", user.used},
                              {"quota", unlimited ? Json() : Json(user.quota)}},
                             text);
    }
}

void renewToken(const Store& store, Invocation& invocation) {
    showToken(invocation, [&] { return store.renewToken(utf16Argument(invocation.text("NAME"))); });
}

void setQuota(const Store& store, Invocation& invocation) {
    store.setQuota(utf16Argument(invocation.text("NAME")), quotaOf(invocation.text("SIZE")));
}

void removeUser(const Store& store, Invocation& invocation) {
    const std::string& name = invocation.text("NAME");
    if (invocation.has("--force") ||
        confirm("Remove the user " + name + " and all files in the user's buckets?")) {
        store.removeUser(utf16Argument(name));
    }
}

Option nameArgument() { return argument("NAME", "The user's name"); }

Option tokenFileOption() {
    return option("--token-file", "FILE",
                  "Write the token to this new file, readable for you only");
}

Command addCommand() {
    return {
        .name = "add",
        .summary = "Create a user with a bucket of that name",
        .options = {nameArgument(),
                    option("--quota", "SIZE", "The most that the user may store, as 512M"),
                    option("--email", "ADDRESS", "Where the user gets mail"),
                    option("--first-name", "NAME", "For people"),
                    option("--last-name", "NAME", "For people"), tokenFileOption()},
        .notes =
            R"(Prints the token that the user logs in with. It is shown this once: kvx user token makes
another for a user who has lost it. Without --quota nothing is refused.)",
        .examples = {"kvx user add bob --quota 10G", "kvx user add bob --token-file bob.token"},
        .run = asAdministrator(addUser, "NAME")};
}

Command tokenCommand() {
    return {
        .name = "token",
        .summary = "Make a new token in place of the old one",
        .options = {nameArgument(), tokenFileOption()},
        .notes =
            R"(For a user who has lost the token, or fears that others know it: the old token is no longer
accepted, and whoever is logged in with it has to log in with the new one.)",
        .examples = {"kvx user token bob --token-file bob.token"},
        .run = asAdministrator(renewToken, "NAME")};
}

}  // namespace

Command userCommand() {
    Command list{.name = "list",
                 .summary = "List all users, with what they store",
                 .examples = {"kvx user list"},
                 .run = asAdministrator(listUsers)};
    Command quota{.name = "quota",
                  .summary = "Set the most that a user may store",
                  .options = {nameArgument(), argument("SIZE", "As 512M; - is any size")},
                  .notes = "Files beyond the limit stay, but the user can add nothing.",
                  .examples = {"kvx user quota bob 20G", "kvx user quota bob -"},
                  .run = asAdministrator(setQuota, "NAME")};
    Command remove{.name = "remove",
                   .summary = "Remove a user with buckets, files and sharing",
                   .options = {nameArgument(), flag("-f,--force", "Do not ask")},
                   .notes = "Asks first when standard input is a terminal, as kvx rm does.",
                   .examples = {"kvx user remove bob"},
                   .run = asAdministrator(removeUser, "NAME")};
    return {.name = "user",
            .summary = "Create, list, change and remove users",
            .group = "Administration",
            .notes = "Needs the right to write the store's file, but no token.",
            .commands = {addCommand(), std::move(list), tokenCommand(), std::move(quota),
                         std::move(remove)}};
}

}  // namespace storage::kvxtool
