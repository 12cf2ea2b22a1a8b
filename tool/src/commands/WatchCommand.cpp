#include <chrono>
#include <functional>
#include <iostream>
#include <memory>
#include <thread>

#include "commands/Commands.h"
#include "remote/ChangeFeed.h"
#include "storage/kvxclient/KVXClientException.h"
#include "ui/Json.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

struct WatchOptions {
    std::vector<std::string> names;
    std::string since;
    bool all = false;
    bool once = false;
    double interval = 1;
};

void print(const Change& change, bool json) {
    const std::string name =
        change.resource.getUTF8Bucket() + ":" + toUtf8(change.resource.getPath());
    if (json) {
        printJson({{"name", name}, {"type", change.folder ? "folder" : "file"}});
    } else {
        std::cout << escaped(name) << (change.folder && !name.ends_with('/') ? "/\n" : "\n");
    }
}

void printWatermark(const std::string& watermark, bool json) {
    if (json) {
        printJson({{"watermark", watermark}});
    } else {
        std::cout << "watermark " << watermark << '\n';
    }
}

/// Calls `read`, and says so when the store does not know the watermark.
void readSince(const std::string& watermark, const std::function<void()>& read) try {
    read();
} catch (const kvxclient::KVXClientException& error) {
    if (error.getErrorCode() != kvxclient::KVXClientErrorCode::RESOURCE_NOT_FOUND) {
        throw;
    }
    throw Failure(ExitCode::NOT_FOUND, watermark, "no watermark of this store");
}

void watch(const Session& session, Diagnostics& diagnostics, const WatchOptions& options,
           bool json) {
    std::vector<RemoteName> names;
    for (const std::string& name : options.names) {
        names.push_back(RemoteName::parse(name));
    }
    ChangeFeed feed(session, names, options.since);
    const auto printChanges = [&] {
        for (const Change& change : feed.read()) {
            print(change, json);
        }
    };
    if (!options.since.empty()) {
        readSince(options.since, printChanges);
    } else if (options.all) {
        printChanges();
    } else {
        feed.read();
    }
    if (options.once) {
        printWatermark(feed.watermark(), json);
        return;
    }
    while (std::cout.flush()) {
        std::this_thread::sleep_for(std::chrono::duration<double>(options.interval));
        diagnostics.guard("", printChanges);
    }
}

}  // namespace

void addWatch(CLI::App& program, Invocation& invocation) {
    auto options = std::make_shared<WatchOptions>();
    CLI::App* command =
        program.add_subcommand("watch", "Print the names of files and folders as they change");
    command->add_option("REMOTE", options->names, "Names in the store; everything by default")
        ->type_name("");
    CLI::Option* since = command->add_option("--since", options->since,
                                             "Begin where a watermark was printed, not now");
    since->type_name("WATERMARK");
    command->add_flag("--all", options->all, "Begin with all there is")->excludes(since);
    command->add_flag("--once", options->once,
                      "Print what there is and a watermark to go on from, and end");
    command->add_option("--interval", options->interval, "Seconds from one look to the next")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.01, 86400.0))
        ->capture_default_str();
    command->footer(
        "A name stands for itself, all that is below it, and the folders above it, which may take "
        "it\n"
        "along when they are moved or removed. Names are printed as bucket:/path, folders with a "
        "/\n"
        "at the end, control characters escaped. What was moved or removed is printed too, and is "
        "no\n"
        "longer there. With --json each is {\"name\", \"type\"}, and the watermark "
        "{\"watermark\"}.\n"
        "Ends with Ctrl-C.\n"
        "\n"
        "Examples:\n"
        "  kvx watch team:/docs\n"
        "  kvx watch --once                      # prints a watermark\n"
        "  kvx watch --once --since WATERMARK    # what has changed since, and the next watermark");
    command->callback([options, &invocation] {
        invocation.runInSession(
            [options, &invocation](const Session& session, Diagnostics& diagnostics) {
                watch(session, diagnostics, *options, invocation.json);
            });
    });
}

}  // namespace storage::kvxtool
