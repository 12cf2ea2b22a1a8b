#include <CLI/CLI.hpp>
#include <iostream>
#include <limits>
#include <map>
#include <memory>

#include "commands/Commands.h"
#include "ui/Json.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

using kvxclient::PublicAccessPolicy;
using kvxclient::ResourcePolicy;
using kvxclient::VersionPolicy;

const std::map<std::string, VersionPolicy> VERSION_POLICIES{{"inherit", VersionPolicy::INHERIT},
                                                            {"disabled", VersionPolicy::DISABLED},
                                                            {"enabled", VersionPolicy::ENABLED}};
const std::map<std::string, PublicAccessPolicy> PUBLIC_ACCESS_POLICIES{
    {"inherit", PublicAccessPolicy::INHERIT},
    {"denied", PublicAccessPolicy::DENIED},
    {"allowed", PublicAccessPolicy::ALLOWED}};

template <class Policy>
std::string wordFor(const std::map<std::string, Policy>& words, Policy value) {
    for (const auto& [word, policy] : words) {
        if (policy == value) {
            return word;
        }
    }
    return "unknown";
}

bool isUnlimited(unsigned long quota) {
    return quota >= static_cast<unsigned long>(std::numeric_limits<long>::max());
}

void df(const Session& session, bool json) {
    const auto usage = session.configuration().getStorageUsage({});
    const unsigned long used = usage.getStorageUsage();
    const unsigned long quota = usage.getUsageQuota();
    if (json) {
        printJson({{"used", used}, {"quota", isUnlimited(quota) ? Json() : Json(quota)}});
        return;
    }
    std::cout << "used:   " << humanSize(used) << '\n';
    if (isUnlimited(quota)) {
        std::cout << "quota:  none\n";
    } else {
        std::cout << "quota:  " << humanSize(quota) << '\n'
                  << "free:   " << humanSize(used < quota ? quota - used : 0) << '\n';
    }
}

kvxclient::ResourcePolicyGetResponse readPolicy(const Session& session, const RemoteName& name) {
    kvxclient::ResourcePolicyGetRequest request;
    return session.configuration().getResourcePolicy(
        std::move(request.withResource(name.resource())));
}

void printPolicy(const Session& session, const RemoteName& name, bool json) {
    const auto response = readPolicy(session, name);
    const ResourcePolicy own = response.getPolicy();
    const ResourcePolicy effective = response.getEffectivePolicy();
    const auto versions = [](const ResourcePolicy& policy) {
        return wordFor(VERSION_POLICIES, policy.getVersionPolicy());
    };
    const auto access = [](const ResourcePolicy& policy) {
        return wordFor(PUBLIC_ACCESS_POLICIES, policy.getPublicAccessPolicy());
    };
    if (json) {
        printJson({{"name", name.text()},
                   {"versions", versions(own)},
                   {"public", access(own)},
                   {"effectiveVersions", versions(effective)},
                   {"effectivePublic", access(effective)}});
        return;
    }
    const auto inEffect = [](const std::string& word, const std::string& effectiveWord) {
        return word == effectiveWord ? word : word + " (" + effectiveWord + ")";
    };
    std::cout << "versions:  " << inEffect(versions(own), versions(effective)) << '\n'
              << "public:    " << inEffect(access(own), access(effective)) << '\n';
}

struct PolicyOptions {
    std::string name;
    std::string versions;
    std::string publicAccess;
};

void setPolicy(const Session& session, const PolicyOptions& options) {
    const RemoteName name = RemoteName::parse(options.name);
    if (options.versions.empty() && options.publicAccess.empty()) {
        throw Failure(ExitCode::USAGE, name.text(), "say what to set: --versions or --public");
    }
    ResourcePolicy policy = readPolicy(session, name).getPolicy();
    if (!options.versions.empty()) {
        policy.withVersionPolicy(VERSION_POLICIES.at(options.versions));
    }
    if (!options.publicAccess.empty()) {
        policy.withPublicAccessPolicy(PUBLIC_ACCESS_POLICIES.at(options.publicAccess));
    }
    kvxclient::ResourcePolicySetRequest request;
    session.configuration().setResourcePolicy(
        std::move(request.withResource(name.resource()).withResourcePolicy(policy)));
}

void addPolicyGet(CLI::App& policy, Invocation& invocation) {
    auto name = std::make_shared<std::string>();
    CLI::App* command = policy.add_subcommand("get", "Show the policies of a file or folder");
    command->add_option("REMOTE", *name, "A name in the store")->type_name("")->required();
    command->footer(
        "Where a policy is inherited, the one in effect follows in parentheses.\n"
        "\n"
        "Examples:\n"
        "  kvx policy get /docs");
    command->callback([name, &invocation] {
        invocation.runInSession(*name, [name, &invocation](const Session& session) {
            printPolicy(session, RemoteName::parse(*name), invocation.json);
        });
    });
}

void addPolicySet(CLI::App& policy, Invocation& invocation) {
    auto options = std::make_shared<PolicyOptions>();
    CLI::App* command = policy.add_subcommand("set", "Set policies of a file or folder");
    command->add_option("REMOTE", options->name, "A name in the store")->type_name("")->required();
    command
        ->add_option("--versions", options->versions,
                     "Whether a write keeps the old content: inherit, enabled or disabled")
        ->type_name("POLICY")
        ->check(CLI::IsMember(VERSION_POLICIES));
    command
        ->add_option("--public", options->publicAccess,
                     "Whether applications may publish it: inherit, allowed or denied")
        ->type_name("POLICY")
        ->check(CLI::IsMember(PUBLIC_ACCESS_POLICIES));
    command->footer(
        "A policy holds for all below a folder, where nothing else is set. Without any, versions\n"
        "are enabled and public access is denied. What is not mentioned stays as it is, and so do\n"
        "the versions that there are.\n"
        "\n"
        "Examples:\n"
        "  kvx policy set /scratch --versions disabled\n"
        "  kvx policy set /scratch/keep --versions enabled");
    command->callback([options, &invocation] {
        invocation.runInSession(
            options->name, [options](const Session& session) { setPolicy(session, *options); });
    });
}

}  // namespace

void addDfAndPolicy(CLI::App& program, Invocation& invocation) {
    CLI::App* command = program.add_subcommand("df", "Show what you store and may store");
    command->footer(
        "Counts all versions of all files in your buckets, whoever wrote them, and what was\n"
        "removed until it is purged: by kvx sweep, or by a write that needs the room. To make\n"
        "room, remove files; to be rid of old versions alone, remove a file and put it again.\n"
        "With --json, sizes are in bytes, and a quota that refuses nothing is null.\n"
        "\n"
        "Examples:\n"
        "  kvx df");
    command->callback([&invocation] {
        invocation.runInSession(
            "", [&invocation](const Session& session) { df(session, invocation.json); });
    });

    command = program.add_subcommand("policy", "Show and set the policies of files and folders");
    command->require_subcommand(1);
    command->footer("Policies say whether versions are kept and whether public access is allowed.");
    addPolicyGet(*command, invocation);
    addPolicySet(*command, invocation);
}

}  // namespace storage::kvxtool
