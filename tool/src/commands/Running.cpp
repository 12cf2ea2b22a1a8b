#include "commands/Running.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "remote/RemoteTree.h"
#include "ui/Interruption.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

/// Where something is not found, says so when there is no such bucket or the name has wildcards.
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

StoreLocation storeOf(const Invocation& invocation) {
    return StoreLocation::find(invocation.text("--store"));
}

Run inSession(std::function<void(const Session&, Invocation&)> action, const std::string& subject) {
    return [action = std::move(action), subject](Invocation& invocation) {
        const Session session(storeOf(invocation));
        Diagnostics& diagnostics = invocation.diagnostics;
        diagnostics.explainWith(
            [&](const Failure& failure) { return explained(session.files(), failure); });
        try {
            diagnostics.guard(subject.empty() ? "" : invocation.text(subject),
                              [&] { action(session, invocation); });
        } catch (const SessionEnded& failure) {
            diagnostics.fail(failure);
        }
        diagnostics.explainWith({});
    };
}

Run withStore(std::function<void(const StoreLocation&, Invocation&)> action) {
    return [action = std::move(action)](Invocation& invocation) {
        const StoreLocation location = storeOf(invocation);
        invocation.diagnostics.guard(location.text(), [&] { action(location, invocation); });
    };
}

Run asAdministrator(std::function<void(const kvxstore::Store&, Invocation&)> action,
                    const std::string& subject) {
    return withStore([action = std::move(action), subject](const StoreLocation& location,
                                                           Invocation& invocation) {
        const auto store = openStore(location);
        invocation.diagnostics.guard(subject.empty() ? location.text() : invocation.text(subject),
                                     [&] { action(*store, invocation); });
    });
}

Run forEachRemoteName(std::function<void(const Session&, Invocation&, const RemoteName&)> action) {
    return inSession([action = std::move(action)](const Session& session, Invocation& invocation) {
        forEachName(
            invocation.texts("REMOTE"), invocation.diagnostics,
            [&](const std::string& name) { action(session, invocation, RemoteName::parse(name)); });
    });
}

void forEachName(const std::vector<std::string>& names, Diagnostics& diagnostics,
                 const std::function<void(const std::string&)>& action) {
    std::optional<Interruption> interruption;
    if (names.size() > 1) {  // With a single one, a signal ends the process at once.
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

std::vector<std::string> namesOrRoot(const Invocation& invocation) {
    return invocation.has("REMOTE") ? invocation.texts("REMOTE") : std::vector<std::string>{":/"};
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

void reportAction(const Output& out, const char* action, const RemoteName& name,
                  const std::optional<RemoteName>& target) {
    out.detail(
        [&] {
            Json object{{"action", action}, {"name", name.text()}};
            if (target) {
                object["target"] = target->text();
            }
            return object;
        },
        [&] {
            return std::string(action) + ' ' + shown(name.text()) +
                   (target ? " to " + shown(target->text()) : "");
        });
}

Option jobsOption() {
    return option(
               "-j,--jobs", "N",
               "Small files on their way at once (default: 1024); pieces of a large one, up to 4")
        .inRange(1, 1024);
}

TransferOptions transferOptions(const Session& session, Invocation& invocation) {
    TransferOptions options;
    if (invocation.has("--jobs")) {
        options.jobs = static_cast<std::size_t>(invocation.number("--jobs"));
    }
    options.storeFiles = session.storeFiles();
    options.done = [&out = invocation.out, &progress = invocation.diagnostics.progress()](
                       const std::string& source, const std::string& target, unsigned long size) {
        if (!out.isJson() && !out.isVerbose()) {
            return;
        }
        progress.printAround([&] {
            out.detail(
                [&] {
                    return Json{{"source", source}, {"target", target}, {"size", size}};
                },
                [&] { return shown(source) + " -> " + shown(target); });
        });
    };
    return options;
}

}  // namespace storage::kvxtool
