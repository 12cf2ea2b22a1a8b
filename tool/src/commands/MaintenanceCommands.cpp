#include <iostream>
#include <memory>

#include "commands/Commands.h"
#include "session/OpenStore.h"
#include "ui/Json.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

void printBuckets(const Administration& store, bool json) {
    for (const StoreBucket& bucket : store.buckets()) {
        const std::string name = toUtf8(bucket.name);
        const std::string owner = toUtf8(bucket.owner);
        if (json) {
            printJson({{"bucket", name}, {"owner", owner}, {"used", bucket.used}});
        } else {
            std::cout << shown(name) << "  " << shown(owner) << "  " << humanSize(bucket.used)
                      << '\n';
        }
    }
}

void verify(const Administration& store, Diagnostics& diagnostics, const Invocation& invocation) {
    const std::vector<std::string> damage = store.verify();
    for (const std::string& kind : damage) {
        if (invocation.json) {
            printJson({{"damage", kind}});
        } else {
            std::cout << escaped(kind) << '\n';
        }
    }
    if (!damage.empty()) {
        diagnostics.fail({ExitCode::STORE_DAMAGED, "", "the store is damaged"});
    } else if (!invocation.quiet && !invocation.json) {
        std::cout << "no damage found\n";
    }
}

void printStatistics(const Administration& store, bool json) {
    Json object = Json::object();
    for (const auto& [name, count] : store.statistics()) {
        object[name] = count;
        if (!json) {
            std::cout << name << ": " << count << '\n';
        }
    }
    if (json) {
        printJson(object);
    }
}

void addBucketAdd(CLI::App& bucket, Invocation& invocation) {
    auto name = std::make_shared<std::string>();
    auto owner = std::make_shared<std::string>();
    CLI::App* command = bucket.add_subcommand("add", "Create a bucket");
    command->add_option("NAME", *name, "The bucket's name")->type_name("")->required();
    command->add_option("OWNER", *owner, "The user whose bucket it is")->type_name("")->required();
    command->footer(
        "Examples:\n"
        "  kvx bucket add team ada");
    command->callback([name, owner, &invocation] {
        invocation.runAsAdministrator([name, owner](const Administration& store, Diagnostics&) {
            store.addBucket(newBucketArgument(*name), utf16Argument(*owner));
        });
    });
}

void addBucketList(CLI::App& bucket, Invocation& invocation) {
    CLI::App* command = bucket.add_subcommand("list", "List all buckets, owners and sizes");
    command->footer(
        "Examples:\n"
        "  kvx bucket list");
    command->callback([&invocation] {
        invocation.runAsAdministrator([&invocation](const Administration& store, Diagnostics&) {
            printBuckets(store, invocation.json);
        });
    });
}

}  // namespace

void addBucket(CLI::App& program, Invocation& invocation) {
    CLI::App* command = program.add_subcommand("bucket", "Create and list buckets");
    command->require_subcommand(1);
    command->footer("For whoever may write the file of the store; no token is needed.");
    addBucketAdd(*command, invocation);
    addBucketList(*command, invocation);
}

void addMaintenance(CLI::App& program, Invocation& invocation) {
    CLI::App* command = program.add_subcommand("verify", "Look for damage in the store");
    command->footer(
        "Reads all of the store, and prints a line for each kind of damage.\n"
        "\n"
        "Examples:\n"
        "  kvx verify --store /srv/team.db");
    command->callback([&invocation] {
        invocation.runAsAdministrator(
            [&invocation](const Administration& store, Diagnostics& diagnostics) {
                verify(store, diagnostics, invocation);
            });
    });

    command = program.add_subcommand("sweep", "Purge what was deleted from the store now");
    command->footer(
        "The store does so by itself in idle moments of the programs that use it. Its file keeps\n"
        "its size, and what was deleted can be read in it until something else takes its place.\n"
        "\n"
        "Examples:\n"
        "  kvx sweep");
    command->callback([&invocation] {
        invocation.runAsAdministrator(
            [](const Administration& store, Diagnostics&) { store.sweep(); });
    });

    command = program.add_subcommand("statistics", "Count what there is in the store");
    command->footer(
        "Sizes are in bytes: \"used\" as the quotas count, \"stored\" on the disk. Reads all of "
        "the\n"
        "store.\n"
        "\n"
        "Examples:\n"
        "  kvx statistics");
    command->callback([&invocation] {
        invocation.runAsAdministrator([&invocation](const Administration& store, Diagnostics&) {
            printStatistics(store, invocation.json);
        });
    });
}

}  // namespace storage::kvxtool
