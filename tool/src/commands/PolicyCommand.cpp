#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/Running.h"

namespace storage::kvxtool {
namespace {

using kvxclient::PublicAccessPolicy;
using kvxclient::ResourcePolicy;
using kvxclient::VersionPolicy;

template <class Policy>
using PolicyWords = std::map<std::string, Policy>;

const PolicyWords<VersionPolicy> VERSION_POLICIES{{"inherit", VersionPolicy::INHERIT},
                                                  {"disabled", VersionPolicy::DISABLED},
                                                  {"enabled", VersionPolicy::ENABLED}};
const PolicyWords<PublicAccessPolicy> PUBLIC_ACCESS_POLICIES{
    {"inherit", PublicAccessPolicy::INHERIT},
    {"denied", PublicAccessPolicy::DENIED},
    {"allowed", PublicAccessPolicy::ALLOWED}};

template <class Policy>
std::string wordFor(const PolicyWords<Policy>& words, Policy value) {
    for (const auto& [word, policy] : words) {
        if (policy == value) {
            return word;
        }
    }
    return "unknown";
}

template <class Policy>
std::vector<std::string> wordsOf(const PolicyWords<Policy>& words) {
    std::vector<std::string> names;
    for (const auto& [word, policy] : words) {
        names.push_back(word);
    }
    return names;
}

kvxclient::ResourcePolicyGetResponse readPolicy(const Session& session, const RemoteName& name) {
    kvxclient::ResourcePolicyGetRequest request;
    return session.configuration().getResourcePolicy(
        std::move(request.withResource(name.resource())));
}

void getPolicy(const Session& session, Invocation& invocation) {
    const RemoteName name = RemoteName::parse(invocation.text("REMOTE"));
    const auto response = readPolicy(session, name);
    const auto versions = [](const ResourcePolicy& policy) {
        return wordFor(VERSION_POLICIES, policy.getVersionPolicy());
    };
    const auto access = [](const ResourcePolicy& policy) {
        return wordFor(PUBLIC_ACCESS_POLICIES, policy.getPublicAccessPolicy());
    };
    const auto text = [&](const auto& wordOf) {
        const std::string own = wordOf(response.getPolicy());
        const std::string effective = wordOf(response.getEffectivePolicy());
        return own == effective ? own : own + " (" + effective + ")";
    };
    invocation.out.print({{"name", name.text()},
                          {"versions", versions(response.getPolicy())},
                          {"public", access(response.getPolicy())},
                          {"effectiveVersions", versions(response.getEffectivePolicy())},
                          {"effectivePublic", access(response.getEffectivePolicy())}},
                         "versions:  " + text(versions) + "\npublic:    " + text(access));
}

void setPolicy(const Session& session, Invocation& invocation) {
    const RemoteName name = RemoteName::parse(invocation.text("REMOTE"));
    if (!invocation.has("--versions") && !invocation.has("--public")) {
        throw Failure(ExitCode::USAGE, name.text(), "say what to set: --versions or --public");
    }
    ResourcePolicy policy = readPolicy(session, name).getPolicy();
    if (invocation.has("--versions")) {
        policy.withVersionPolicy(VERSION_POLICIES.at(invocation.text("--versions")));
    }
    if (invocation.has("--public")) {
        policy.withPublicAccessPolicy(PUBLIC_ACCESS_POLICIES.at(invocation.text("--public")));
    }
    kvxclient::ResourcePolicySetRequest request;
    session.configuration().setResourcePolicy(
        std::move(request.withResource(name.resource()).withResourcePolicy(policy)));
}

}  // namespace

Command policyCommand() {
    Command get{.name = "get",
                .summary = "Show the policies of a file or folder",
                .options = {argument("REMOTE", "A name in the store")},
                .notes = "Where a policy is inherited, the one in effect follows in parentheses.",
                .examples = {"kvx policy get /docs"},
                .run = inSession(getPolicy, "REMOTE")};
    Command set{
        .name = "set",
        .summary = "Set policies of a file or folder",
        .options = {argument("REMOTE", "A name in the store"),
                    option("--versions", "POLICY",
                           "Whether a write keeps the old content: inherit, enabled or disabled")
                        .oneOf(wordsOf(VERSION_POLICIES)),
                    option("--public", "POLICY",
                           "Whether applications may publish it: inherit, allowed or denied")
                        .oneOf(wordsOf(PUBLIC_ACCESS_POLICIES))},
        .notes =
            R"(A policy holds for all below a folder, where nothing else is set. Without any, versions
are enabled and public access is denied. Policies that are not given stay as they are, and so do
existing versions.)",
        .examples = {"kvx policy set /scratch --versions disabled",
                     "kvx policy set /scratch/keep --versions enabled"},
        .run = inSession(setPolicy, "REMOTE")};
    return {.name = "policy",
            .summary = "Show and set the policies of files and folders",
            .group = "Configuration",
            .notes = "Policies say whether versions are kept and whether public access is allowed.",
            .commands = {std::move(get), std::move(set)}};
}

}  // namespace storage::kvxtool
