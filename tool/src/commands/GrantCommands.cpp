#include <iostream>
#include <memory>

#include "commands/Commands.h"
#include "remote/RemoteTree.h"
#include "storage/kvxclient/KVXClientException.h"
#include "ui/Json.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

struct GrantOptions {
    std::string subject;
    std::string name;
    bool write = false;
    bool allowUnknown = false;
};

void grant(const Session& session, const GrantOptions& options) {
    const RemoteName name = RemoteName::parse(options.name);
    kvxclient::PermissionGrantRequest request(name.resource());
    request.withSubject(kvxclient::Subject().withSubjectName(utf16Argument(options.subject)))
        .withOperation(options.write ? kvxclient::Operation::READ_WRITE
                                     : kvxclient::Operation::READ)
        .withAllowNonExistingUser(options.allowUnknown);
    readEntry(session.files(), name);  // What is missing from here on is the user.
    try {
        session.rights().grantPermission(std::move(request));
    } catch (const kvxclient::KVXClientException& error) {
        if (error.getErrorCode() != kvxclient::KVXClientErrorCode::RESOURCE_NOT_FOUND) {
            throw;
        }
        throw Failure(ExitCode::NOT_FOUND, options.subject, "there is no such user");
    }
}

std::vector<kvxclient::Permission> permissionsOn(const Session& session, const RemoteName& name) {
    return session.rights()
        .listPermissions(kvxclient::PermissionListRequest(name.resource()))
        .getPermissions();
}

void revoke(const Session& session, const GrantOptions& options) {
    const RemoteName name = RemoteName::parse(options.name);
    const std::u16string subject = utf16Argument(options.subject);
    bool found = false;
    for (const kvxclient::Permission& permission : permissionsOn(session, name)) {
        if (permission.getSubject() == subject) {
            kvxclient::PermissionRevokeRequest request(name.resource());
            session.rights().revokePermission(
                std::move(request.withPermissionId(permission.getPermissionId())));
            found = true;
        }
    }
    if (!found) {
        throw Failure(ExitCode::NOT_FOUND, options.subject, "nothing is granted on " + name.text());
    }
}

void listGrants(const Session& session, const RemoteName& name, bool json) {
    for (const kvxclient::Permission& permission : permissionsOn(session, name)) {
        const std::string subject = toUtf8(permission.getSubject());
        if (json) {
            printJson({{"subject", subject},
                       {"operation", permission.getOperation()},
                       {"status", permission.getStatus()}});
        } else {
            std::cout << shown(subject) << "  " << readable(permission.getOperation()) << "  "
                      << readable(permission.getStatus()) << '\n';
        }
    }
}

CLI::App* addForSubject(CLI::App& program, const std::string& name, const std::string& description,
                        const std::string& subject, GrantOptions& options) {
    CLI::App* command = program.add_subcommand(name, description);
    command->add_option("REMOTE", options.name, "A name in the store")->type_name("")->required();
    command->add_option(subject, options.subject, "The user's name")->type_name("USER")->required();
    return command;
}

}  // namespace

void addGrants(CLI::App& program, Invocation& invocation) {
    auto granted = std::make_shared<GrantOptions>();
    CLI::App* command =
        addForSubject(program, "grant", "Let a user read what you own", "--to", *granted);
    command->add_flag("--write", granted->write,
                      "Let the user change and remove what is in it too");
    command->add_flag("--allow-unknown", granted->allowUnknown,
                      "Accept the name of nobody yet, who has the right once created");
    command->footer(
        "It holds for all below a folder. The user finds it under your bucket and path.\n"
        "\n"
        "Examples:\n"
        "  kvx grant /docs --to bob\n"
        "  kvx grant team:/plans --to bob --write");
    command->callback([granted, &invocation] {
        invocation.runInSession(granted->name,
                                [granted](const Session& session) { grant(session, *granted); });
    });

    auto revoked = std::make_shared<GrantOptions>();
    command = addForSubject(program, "revoke", "Take back what was granted to a user", "--from",
                            *revoked);
    command->footer(
        "Examples:\n"
        "  kvx revoke /docs --from bob");
    command->callback([revoked, &invocation] {
        invocation.runInSession(revoked->name,
                                [revoked](const Session& session) { revoke(session, *revoked); });
    });

    auto listed = std::make_shared<std::string>();
    command = program.add_subcommand("grants", "List what is granted on a file or folder");
    command->add_option("REMOTE", *listed, "A name in the store")->type_name("")->required();
    command->footer(
        "Prints name, right and state of each user, but not what invitations gave.\n"
        "\n"
        "Examples:\n"
        "  kvx grants /docs");
    command->callback([listed, &invocation] {
        invocation.runInSession(*listed, [listed, &invocation](const Session& session) {
            listGrants(session, RemoteName::parse(*listed), invocation.json);
        });
    });
}

}  // namespace storage::kvxtool
