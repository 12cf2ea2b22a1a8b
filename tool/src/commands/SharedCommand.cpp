#include <chrono>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <utility>

#include "commands/Commands.h"
#include "commands/InvitationText.h"
#include "commands/Running.h"
#include "remote/RemoteTree.h"
#include "storage/kvxclient/KVXClientException.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

using kvxclient::Invitation;

std::string sharedText(const Invitation& invitation) {
    const std::string folder = folderOf(invitation);
    const std::string recipient = nameOf(invitation.getRecipient());
    const std::pair<const char*, std::string> lines[] = {
        {"id:", invitation.getInvitationId()},
        {"folder:", folder.empty() ? "deleted" : shown(folder)},
        {"access:", readable(toString(invitation.getAccessType()))},
        {"type:", readable(toString(invitation.getInvitationType()))},
        {"status:", readable(toString(invitation.getStatus()))},
        {"from:", shown(nameOf(invitation.getInitiator()))},
        {"to:", recipient.empty() ? "whoever knows the id" : shown(recipient)},
        {"created:", exactTime(invitation.getCreated())}};
    std::ostringstream text;
    for (const auto& [label, value] : lines) {
        text << std::setw(10) << std::left << label << value << '\n';
    }
    return text.str();
}

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

void printContent(const Session& session, const Invocation& invocation,
                  const kvxclient::Resource& folder) {
    kvxclient::InvitationFolderContentRequest request;
    request.withInvitationId(invocation.text("ID"))
        .withResource(folder)
        .withShowHidden(invocation.has("-a"));
    const auto content = session.sharing().getFolderContentFromInvitation(std::move(request));
    const std::string prefix = nameOf(folder) + (folder.getPath() == u"/" ? "" : "/");
    for (const kvxclient::FolderSummary& entry : content.getFolders()) {
        const std::string name = toUtf8(entry.getName());
        invocation.out.print({{"name", prefix + name}, {"type", "folder"}}, shown(name) + "/");
    }
    for (const kvxclient::FileSummary& entry : content.getFiles()) {
        const std::string name = toUtf8(entry.getName());
        invocation.out.print({{"name", prefix + name}, {"type", "file"}, {"size", entry.getSize()}},
                             shown(name) + "  " + std::to_string(entry.getSize()));
    }
}

void copyFolder(const Session& session, const Invocation& invocation,
                const kvxclient::Resource& folder) {
    const RemoteTarget target(session.files(), RemoteName::parse(invocation.text("--copy-to")),
                              false);
    const std::u16string path = folder.getPath();
    const RemoteName name = target.nameFor(path.substr(path.rfind(u'/') + 1));
    kvxclient::InvitationCopyFolderRequest request;
    request.withInvitationId(invocation.text("ID"))
        .withResource(folder)
        .withTargetResource(name.resource());
    try {
        session.sharing().copyFolderFromInvitation(std::move(request));
    } catch (const kvxclient::KVXClientException& error) {
        if (error.getErrorCode() != kvxclient::KVXClientErrorCode::CONFLICT) {
            throw;
        }
        throw Failure::of(name.text(), std::current_exception());
    }
}

std::vector<kvxclient::FolderSummary> foldersAtHome(const Session& session, bool all,
                                                    bool showShared) {
    kvxclient::FolderListRequest request = listRequest(RemoteName::parse(":/"), all);
    request.withShowShared(showShared);
    return session.files().listFolder(std::move(request)).getFolders();
}

/// Prints the folders that others share with the user, by invitation or by a grant: those that the
/// user's own root lists only when they are asked for.
void listShared(const Session& session, const Invocation& invocation) {
    const bool all = invocation.has("-a");
    std::set<std::pair<std::u16string, std::chrono::system_clock::time_point>> own;
    for (const kvxclient::FolderSummary& folder : foldersAtHome(session, all, false)) {
        own.emplace(folder.getName(), folder.getCreated());
    }
    for (const kvxclient::FolderSummary& folder : foldersAtHome(session, all, true)) {
        if (!own.contains({folder.getName(), folder.getCreated()})) {
            const std::string name = nameOf(folder.getInvitation().getResource());
            invocation.out.print(
                {{"name", name}, {"type", "folder"}, {"writable", folder.isWritable()}},
                shown(name));
        }
    }
}

void lookInside(const Session& session, const Invocation& invocation) {
    kvxclient::InvitationDetailsRequest request;
    request.withInvitationId(invocation.text("ID"));
    const Invitation invitation =
        session.sharing().getInvitationDetails(std::move(request)).getInvitationDetails();
    const kvxclient::Resource folder = folderIn(invitation, invocation.text("PATH"));
    if (invocation.has("--copy-to")) {
        copyFolder(session, invocation, folder);
        return;
    }
    if (!invocation.has("PATH")) {
        invocation.out.print(jsonOf(invitation), sharedText(invitation));
    }
    printContent(session, invocation, folder);
}

void shared(const Session& session, Invocation& invocation) {
    if (!invocation.has("ID")) {
        listShared(session, invocation);
        return;
    }
    explainMissing(invocation.text("ID"), invocation.has("PATH"),
                   [&] { lookInside(session, invocation); });
}

}  // namespace

Command sharedCommand() {
    return {
        .name = "shared",
        .summary = "List what others share with you, or look into an invitation",
        .group = "Sharing",
        .options = {argument("ID", "The id of an invitation", OPTIONAL),
                    argument("PATH", "A folder in the folder offered", OPTIONAL),
                    flag("-a", "List hidden names too, which begin with a dot"),
                    option("--copy-to", "REMOTE", "Copy the folder to this place in the store")
                        .together("ID")},
        .notes =
            R"(Without an id, lists the folders that others share with you. With one, shows the folder of
the invitation, also before it is accepted. A copy goes into a folder that is there, under
its own name.)",
        .examples = {"kvx shared", "kvx shared ID", "kvx shared ID plans/2026",
                     "kvx shared ID --copy-to /copied"},
        .run = inSession(shared, "ID")};
}

}  // namespace storage::kvxtool
