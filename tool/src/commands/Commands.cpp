#include "commands/Commands.h"

#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include "remote/RemoteTree.h"
#include "ui/Interruption.h"
#include "ui/Json.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

/// Of what is not found, says when that is because there is no such bucket, or it has wildcards.
Failure explained(const kvxclient::FileAccess& files, const Failure& failure) {
    const std::string& subject = failure.subject();
    const bool bare = subject.starts_with('/');
    if (failure.code() != ExitCode::NOT_FOUND || !(bare || RemoteName::isRemote(subject))) {
        return failure;
    }
    try {
        requireBucket(files, RemoteName::parse(subject));
        return {failure.code(), subject, failure.what() + RemoteName::wildcardHint(subject)};
    } catch (const Failure& better) {
        return better.code() == ExitCode::NOT_FOUND ? better : failure;
    } catch (const std::exception&) {
        return failure;  // What cannot be looked up stays unexplained.
    }
}

}  // namespace

void Invocation::report(const char* action, const RemoteName& name,
                        const std::optional<RemoteName>& target) const {
    if (json) {
        Json object{{"action", action}, {"name", name.text()}};
        if (target) {
            object["target"] = target->text();
        }
        printJson(object);
    } else if (verbose && !quiet) {
        std::cout << action << ' ' << shown(name.text())
                  << (target ? " to " + shown(target->text()) : "") << std::endl;
    }
}

void Invocation::runInSession(std::function<void(const Session&, Diagnostics&)> action) {
    run = [action = std::move(action)](const StoreLocation& location, Diagnostics& diagnostics) {
        const Session session(location);
        diagnostics.explainWith(
            [&](const Failure& failure) { return explained(session.files(), failure); });
        diagnostics.guard("", [&] { action(session, diagnostics); });
        diagnostics.explainWith({});
    };
}

void Invocation::runInSession(const std::string& subject,
                              std::function<void(const Session&)> action) {
    runInSession(
        [subject, action = std::move(action)](const Session& session, Diagnostics& diagnostics) {
            diagnostics.guard(subject, [&] { action(session); });
        });
}

void Invocation::runAsAdministrator(
    std::function<void(const Administration&, Diagnostics&)> action) {
    run = [action = std::move(action)](const StoreLocation& location, Diagnostics& diagnostics) {
        diagnostics.guard(location.text(), [&] { action(Administration(location), diagnostics); });
    };
}

std::u16string utf16Argument(const std::string& argument) {
    std::optional<std::u16string> result = toUtf16(argument);
    if (!result) {
        throw Failure(ExitCode::REFUSED, argument, "the name is not valid UTF-8");
    }
    return std::move(*result);
}

std::u16string newBucketArgument(const std::string& argument) {
    if (argument.find(':') != std::string::npos) {
        throw Failure(ExitCode::REFUSED, argument,
                      "a colon ends the name of a bucket, and cannot be in it");
    }
    return utf16Argument(argument);
}

void forEachName(const std::vector<std::string>& names, Diagnostics& diagnostics,
                 const std::function<void(const std::string&)>& action) {
    std::optional<Interruption> interruption;
    if (names.size() > 1) {  // A single one ends at once.
        interruption.emplace();
    }
    std::size_t done = 0;
    try {
        for (const std::string& name : names) {
            Interruption::check();
            done += diagnostics.guard(name, [&] { action(name); }) ? 1 : 0;
        }
    } catch (const Interrupted&) {
        diagnostics.warn("interrupted", std::to_string(done) + " of " +
                                            std::to_string(names.size()) + " names were done");
        throw;
    }
}

CLI::App* addForEachName(CLI::App& program, Invocation& invocation, const std::string& name,
                         const std::string& description, NameAction action) {
    auto names = std::make_shared<std::vector<std::string>>();
    CLI::App* command = program.add_subcommand(name, description);
    command->add_option("REMOTE", *names, "Names in the store")->type_name("")->required();
    command->callback([names, action = std::move(action), &invocation] {
        invocation.runInSession([names, action](const Session& session, Diagnostics& diagnostics) {
            forEachName(*names, diagnostics, [&](const std::string& argument) {
                action(session, diagnostics, RemoteName::parse(argument));
            });
        });
    });
    return command;
}

}  // namespace storage::kvxtool
