#include <chrono>
#include <functional>
#include <iostream>
#include <memory>
#include <set>
#include <utility>

#include "commands/Commands.h"
#include "remote/RemoteTree.h"
#include "storage/kvxclient/KVXClientException.h"
#include "ui/Json.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

using kvxclient::Invitation;
using kvxclient::InvitationStatus;

std::string nameOf(const kvxclient::Resource& resource) {
    return resource.getUTF8Bucket() + ":" + toUtf8(resource.getPath());
}

std::string nameOf(const kvxclient::UserProfile& user) { return toUtf8(user.getUserId()); }

/// The folder that an invitation offers; empty once the folder is deleted.
std::string folderOf(const Invitation& invitation) {
    return invitation.getTombstone().empty() ? nameOf(invitation.getResource()) : "";
}

Json jsonOf(const Invitation& invitation) {
    return {{"id", invitation.getInvitationId()},
            {"name", folderOf(invitation)},
            {"access", toString(invitation.getAccessType())},
            {"type", toString(invitation.getInvitationType())},
            {"status", toString(invitation.getStatus())},
            {"from", nameOf(invitation.getInitiator())},
            {"to", nameOf(invitation.getRecipient())},
            {"created", utcTime(invitation.getCreated())}};
}

void printDetails(const Invitation& invitation) {
    const std::string folder = folderOf(invitation);
    const std::string recipient = nameOf(invitation.getRecipient());
    std::cout << "id:       " << invitation.getInvitationId() << '\n'
              << "folder:   " << (folder.empty() ? "deleted" : shown(folder)) << '\n'
              << "access:   " << readable(toString(invitation.getAccessType())) << '\n'
              << "type:     " << readable(toString(invitation.getInvitationType())) << '\n'
              << "status:   " << readable(toString(invitation.getStatus())) << '\n'
              << "from:     " << shown(nameOf(invitation.getInitiator())) << '\n'
              << "to:       " << (recipient.empty() ? "whoever knows the id" : shown(recipient))
              << '\n'
              << "created:  " << exactTime(invitation.getCreated()) << '\n';
}

struct InviteOptions {
    std::string name;
    std::string recipient;
    bool write = false;
};

void invite(const Session& session, Diagnostics& diagnostics, const InviteOptions& options,
            bool json) {
    const RemoteName name = RemoteName::parse(options.name);
    requireFolder(session.files(), name);
    kvxclient::InvitationCreateRequest request(name.resource());
    request.withRecipient(utf16Argument(options.recipient))
        .withAccessType(options.write ? kvxclient::AccessType::READ_WRITE
                                      : kvxclient::AccessType::READ_ONLY);
    const Invitation invitation =
        session.rights().createInvitation(std::move(request)).getInvitation();
    if (!options.recipient.empty() && invitation.getRecipient().getProfileId().empty()) {
        diagnostics.warn(options.recipient, "nobody has this name or mail address yet");
    }
    if (json) {
        printJson(jsonOf(invitation));
    } else {
        std::cout << invitation.getInvitationId() << '\n';
    }
}

/// Only who owns a folder invites to it.
bool isSent(const Session& session, const Invitation& invitation) {
    try {
        kvxclient::FileAttributesReadRequest request(invitation.getResource());
        return session.files()
                   .readFileAttributes(std::move(request))
                   .getFileAttributes()
                   .getAccessType() == kvxclient::AccessType::OWNER;
    } catch (const kvxclient::KVXClientException& error) {
        if (error.getErrorCode() != kvxclient::KVXClientErrorCode::RESOURCE_NOT_FOUND) {
            throw;
        }
        return false;
    }
}

struct InvitationsOptions {
    bool sent = false;
    bool received = false;
};

void listInvitations(const Session& session, const InvitationsOptions& options, bool json) {
    for (const Invitation& invitation : session.rights().listInvitations({}).getInvitations()) {
        const bool all = !options.sent && !options.received;
        const std::string folder = folderOf(invitation);
        // Whose a deleted folder was, nobody tells.
        if (!all && !folder.empty() && isSent(session, invitation) != options.sent) {
            continue;
        }
        if (json) {
            printJson(jsonOf(invitation));
            continue;
        }
        const std::string recipient = nameOf(invitation.getRecipient());
        std::cout << invitation.getInvitationId() << "  "
                  << readable(toString(invitation.getStatus())) << "  "
                  << readable(toString(invitation.getAccessType())) << "  "
                  << shown(nameOf(invitation.getInitiator())) << "  "
                  << (recipient.empty() ? "-" : shown(recipient)) << "  "
                  << (folder.empty() ? "-" : shown(folder)) << '\n';
    }
}

void answer(const Session& session, const std::string& id, InvitationStatus status,
            const Invocation& invocation) {
    kvxclient::InvitationUpdateRequest request;
    request.withInvitationId(id).withStatus(status);
    const Invitation invitation =
        session.rights().updateInvitation(std::move(request)).getInvitation();
    if (invocation.json) {
        printJson(jsonOf(invitation));
    } else if (status == InvitationStatus::ACCEPTED && !invocation.quiet) {
        std::cout << shown(folderOf(invitation)) << '\n';
    }
}

void uninvite(const Session& session, const std::string& id) {
    kvxclient::InvitationDeleteRequest request;
    session.rights().deleteInvitation(std::move(request.withInvitationId(id)));
}

struct SharedOptions {
    std::string id;
    std::string path;
    std::string target;
    bool all = false;
};

/// The folder that an invitation offers, or one in it.
kvxclient::Resource folderIn(const Invitation& invitation, const std::string& path) {
    kvxclient::Resource folder = invitation.getResource();
    const std::size_t first = path.find_first_not_of('/');
    if (first != std::string::npos) {
        const std::size_t last = path.find_last_not_of('/');
        const std::u16string below = utf16Argument(path.substr(first, last - first + 1));
        const std::u16string top = folder.getPath();
        folder.setPath(top + (top == u"/" ? u"" : u"/") + below);
    }
    return folder;
}

void printContent(const Session& session, const SharedOptions& options,
                  const kvxclient::Resource& folder, bool json) {
    kvxclient::InvitationFolderContentRequest request;
    request.withInvitationId(options.id).withResource(folder).withShowHidden(options.all);
    const auto content = session.rights().getFolderContentFromInvitation(std::move(request));
    const std::string prefix = nameOf(folder) + (folder.getPath() == u"/" ? "" : "/");
    for (const kvxclient::FolderSummary& entry : content.getFolders()) {
        const std::string name = toUtf8(entry.getName());
        if (json) {
            printJson({{"name", prefix + name}, {"type", "folder"}});
        } else {
            std::cout << shown(name) << "/\n";
        }
    }
    for (const kvxclient::FileSummary& entry : content.getFiles()) {
        const std::string name = toUtf8(entry.getName());
        if (json) {
            printJson({{"name", prefix + name}, {"type", "file"}, {"size", entry.getSize()}});
        } else {
            std::cout << shown(name) << "  " << entry.getSize() << '\n';
        }
    }
}

void copyFolder(const Session& session, const SharedOptions& options,
                const kvxclient::Resource& folder) {
    const RemoteTarget target(session.files(), RemoteName::parse(options.target), false);
    const std::u16string path = folder.getPath();
    const RemoteName name = target.nameFor(path.substr(path.rfind(u'/') + 1));
    kvxclient::InvitationCopyFolderRequest request;
    request.withInvitationId(options.id).withResource(folder).withTargetResource(name.resource());
    try {
        session.rights().copyFolderFromInvitation(std::move(request));
    } catch (const kvxclient::KVXClientException& error) {
        if (error.getErrorCode() != kvxclient::KVXClientErrorCode::CONFLICT) {
            throw;
        }
        throw Failure::of(name.text(), std::current_exception());
    }
}

std::vector<kvxclient::FolderSummary> foldersAtHome(const Session& session, bool all,
                                                    bool showShared) {
    kvxclient::FolderListRequest request(kvxclient::Resource(u"/", u""));
    request.withShowHidden(all).withShowShared(showShared);
    return session.files().listFolder(std::move(request)).getFolders();
}

/// Prints the folders that others share with the caller, by invitation or by a grant: those that
/// are at home only when they are asked for.
void listShared(const Session& session, bool all, bool json) {
    std::set<std::pair<std::u16string, std::chrono::system_clock::time_point>> own;
    for (const kvxclient::FolderSummary& folder : foldersAtHome(session, all, false)) {
        own.emplace(folder.getName(), folder.getCreated());
    }
    for (const kvxclient::FolderSummary& folder : foldersAtHome(session, all, true)) {
        if (own.contains({folder.getName(), folder.getCreated()})) {
            continue;
        }
        const std::string name = nameOf(folder.getInvitation().getResource());
        if (json) {
            printJson({{"name", name}, {"type", "folder"}, {"writable", folder.isWritable()}});
        } else {
            std::cout << shown(name) << '\n';
        }
    }
}

void lookInside(const Session& session, const SharedOptions& options, bool json) {
    kvxclient::InvitationDetailsRequest request;
    const Invitation invitation =
        session.rights()
            .getInvitationDetails(std::move(request.withInvitationId(options.id)))
            .getInvitationDetails();
    const kvxclient::Resource folder = folderIn(invitation, options.path);
    if (!options.target.empty()) {
        copyFolder(session, options, folder);
        return;
    }
    if (options.path.empty() && json) {
        printJson(jsonOf(invitation));
    } else if (options.path.empty()) {
        printDetails(invitation);
        std::cout << '\n';
    }
    printContent(session, options, folder, json);
}

/// An id of nothing is no missing file.
void explainMissing(const std::string& id, bool withFolder, const std::function<void()>& action) {
    try {
        action();
    } catch (const kvxclient::KVXClientException& error) {
        if (error.getErrorCode() != kvxclient::KVXClientErrorCode::RESOURCE_NOT_FOUND) {
            throw;
        }
        throw Failure(ExitCode::NOT_FOUND, id,
                      std::string("there is no such invitation") +
                          (withFolder ? ", or no such folder in it" : ""));
    }
}

CLI::App* addForId(CLI::App& program, Invocation& invocation, const std::string& name,
                   const std::string& description,
                   std::function<void(const Session&, const std::string&)> action) {
    auto id = std::make_shared<std::string>();
    CLI::App* command = program.add_subcommand(name, description);
    command->add_option("ID", *id, "The id of an invitation")->type_name("")->required();
    command->footer("Examples:\n  kvx " + name + " ID");
    command->callback([id, action = std::move(action), &invocation] {
        invocation.runInSession(*id, [id, action](const Session& session) {
            explainMissing(*id, false, [&] { action(session, *id); });
        });
    });
    return command;
}

void addInvite(CLI::App& program, Invocation& invocation) {
    auto options = std::make_shared<InviteOptions>();
    CLI::App* command = program.add_subcommand("invite", "Invite others to a folder of yours");
    command->add_option("REMOTE", options->name, "A folder in the store")
        ->type_name("")
        ->required();
    command
        ->add_option("--to", options->recipient,
                     "The name or mail address of a user; whoever knows the id by default")
        ->type_name("NAME");
    command->add_flag("--write", options->write, "Offer to change it, not only to read");
    command->footer(
        "Prints the id of the invitation. Nobody can read anything but kvx shared ID before the\n"
        "invitation is accepted.\n"
        "\n"
        "Examples:\n"
        "  kvx invite /docs --to bob\n"
        "  kvx invite /photos --write");
    command->callback([options, &invocation] {
        invocation.runInSession(
            [options, &invocation](const Session& session, Diagnostics& diagnostics) {
                diagnostics.guard(options->name,
                                  [&] { invite(session, diagnostics, *options, invocation.json); });
            });
    });
}

void addInvitationList(CLI::App& program, Invocation& invocation) {
    auto options = std::make_shared<InvitationsOptions>();
    CLI::App* command =
        program.add_subcommand("invitations", "List the invitations you sent and received");
    CLI::Option* sent = command->add_flag("--sent", options->sent, "Only those that you sent");
    command->add_flag("--received", options->received, "Only those that you received")
        ->excludes(sent);
    command->footer(
        "Prints id, state, right, sender, recipient and folder of each.\n"
        "\n"
        "Examples:\n"
        "  kvx invitations --received");
    command->callback([options, &invocation] {
        invocation.runInSession("", [options, &invocation](const Session& session) {
            listInvitations(session, *options, invocation.json);
        });
    });
}

void addShared(CLI::App& program, Invocation& invocation) {
    auto options = std::make_shared<SharedOptions>();
    CLI::App* command = program.add_subcommand(
        "shared", "List what others share with you, or look into an invitation");
    CLI::Option* id =
        command->add_option("ID", options->id, "The id of an invitation")->type_name("");
    command->add_option("PATH", options->path, "A folder in the folder offered")->type_name("");
    command->add_flag("-a", options->all, "List hidden names too, which begin with a dot");
    command->add_option("--copy-to", options->target, "Copy the folder to this place in the store")
        ->type_name("REMOTE")
        ->needs(id);
    command->footer(
        "Without an id, lists the folders that others share with you. With one, shows the folder "
        "of\n"
        "the invitation, also before it is accepted. A copy goes into a folder that is there, "
        "under\n"
        "its own name.\n"
        "\n"
        "Examples:\n"
        "  kvx shared\n"
        "  kvx shared ID\n"
        "  kvx shared ID plans/2026\n"
        "  kvx shared ID --copy-to /copied");
    command->callback([options, &invocation] {
        invocation.runInSession(options->id, [options, &invocation](const Session& session) {
            if (options->id.empty()) {
                listShared(session, options->all, invocation.json);
                return;
            }
            explainMissing(options->id, !options->path.empty(),
                           [&] { lookInside(session, *options, invocation.json); });
        });
    });
}

}  // namespace

void addInvitations(CLI::App& program, Invocation& invocation) {
    addInvite(program, invocation);
    addInvitationList(program, invocation);
    addForId(program, invocation, "accept", "Accept an invitation, and print the folder's name",
             [&invocation](const Session& session, const std::string& id) {
                 answer(session, id, InvitationStatus::ACCEPTED, invocation);
             });
    addForId(program, invocation, "decline", "Decline an invitation, also one accepted before",
             [&invocation](const Session& session, const std::string& id) {
                 answer(session, id, InvitationStatus::DECLINED, invocation);
             });
    addForId(program, invocation, "uninvite", "Take an invitation back, and what it gave",
             [](const Session& session, const std::string& id) { uninvite(session, id); });
    addShared(program, invocation);
}

}  // namespace storage::kvxtool
