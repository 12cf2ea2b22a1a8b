#include "Participant.h"

#include <algorithm>

namespace storage::kvxconformance {

namespace {

std::string toText(const std::vector<char>& bytes) { return {bytes.begin(), bytes.end()}; }

}  // namespace

std::optional<Code> codeOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const KVXClientException& error) {
        return error.getErrorCode();
    }
    return std::nullopt;
}

std::string toUtf8(const std::u16string& text) { return Resource(u"", text).getUTF8Bucket(); }

Resource operator/(const Resource& folder, const std::u16string& name) {
    const std::u16string path = folder.getPath();
    return {path == u"/" ? path + name : path + u'/' + name, folder.getBucket()};
}

Participant::Participant(const Transport& transport, User user, Ledger& ledger)
    : user_(std::move(user)), ledger_(ledger), client_(transport.logIn(user_)) {
    const auto has = [&](Capability capability) {
        return transport.capabilities.contains(capability);
    };
    services_ = {
        client_->createFileAccess(),
        has(Capability::SHARING) ? client_->createAccessControl() : nullptr,
        has(Capability::CONFIGURATION) ? client_->createConfigurationManagement() : nullptr,
        has(Capability::CHANGES) ? client_->createNotification() : nullptr,
        has(Capability::VERSIONS) ? client_->createVersioning() : nullptr};
}

FileWriteResponse Participant::write(const Resource& file, const std::string& content,
                                     bool createNewVersion) const {
    FileCreateRequest request(file);
    request.withContentType("text/plain").withCreateNewVersion(createNewVersion);
    request.appendContent(content.data(), content.size());
    return call(&FileAccess::createFile, std::move(request));
}

std::string Participant::read(const Resource& file, int versionLabel) const {
    return toText(call(&FileAccess::readFile, FileReadRequest(file).withVersionLabel(versionLabel))
                      .getResponseBody());
}

void Participant::makeFolder(const Resource& folder) const {
    call(&FileAccess::createFolder, folder);
}

void Participant::remove(const Resource& file) const { call(&FileAccess::deleteFile, file); }

void Participant::removeFolder(const Resource& folder, bool force) const {
    call(&FileAccess::deleteFolder, FolderDeleteRequest(folder).withForceRecursive(force));
}

void Participant::move(const Resource& from, const Resource& to, bool overwrite) const {
    call(&FileAccess::move, MoveOrCopyRequest(from, to).withTargetOverwrite(overwrite));
}

void Participant::copy(const Resource& from, const Resource& to, bool overwrite) const {
    call(&FileAccess::copy, MoveOrCopyRequest(from, to).withTargetOverwrite(overwrite));
}

FileAttributes Participant::stat(const Resource& item) const {
    return call(&FileAccess::readFileAttributes,
                FileAttributesReadRequest(item).withSharingMetadata(true))
        .getFileAttributes();
}

FolderListResponse Participant::list(const Resource& folder, bool hidden) const {
    return call(&FileAccess::listFolder, FolderListRequest(folder).withShowHidden(hidden));
}

std::string Participant::names(const Resource& folder, bool hidden) const {
    const FolderListResponse listing = list(folder, hidden);
    std::vector<std::u16string> names;
    for (const FolderSummary& item : listing.getFolders()) {
        names.push_back(item.getName() + u'/');
    }
    for (const FileSummary& item : listing.getFiles()) {
        names.push_back(item.getName());
    }
    std::sort(names.begin(), names.end());
    std::string text;
    for (const std::u16string& name : names) {
        text += toUtf8(name) + ' ';
    }
    return text;
}

std::string Participant::tree(const Resource& folder) const {
    const FolderListResponse listing = list(folder);
    std::vector<std::string> lines;
    for (const FileSummary& item : listing.getFiles()) {
        lines.push_back(toUtf8(item.getName()) + '=' + read(folder / item.getName()));
    }
    for (const FolderSummary& item : listing.getFolders()) {
        lines.push_back(toUtf8(item.getName()) + "/ { " + tree(folder / item.getName()) + '}');
    }
    std::sort(lines.begin(), lines.end());
    std::string text;
    for (const std::string& line : lines) {
        text += line + ' ';
    }
    return text;
}

std::string Participant::openToRead(const Resource& file, int versionLabel) const {
    return call(&FileAccess::createReadOnlyFileHandle,
                FileHandleReadOnlyCreateRequest(file).withVersionLabel(versionLabel))
        .getFileHandleId();
}

FileHandleReadWriteCreateResponse Participant::openToWrite(const Resource& file,
                                                           FileCreateMode mode,
                                                           bool truncate) const {
    return call(&FileAccess::createReadWriteFileHandle, FileHandleReadWriteCreateRequest(file)
                                                            .withCreateMode(mode)
                                                            .withTruncate(truncate)
                                                            .withContentType("text/plain"));
}

unsigned long Participant::writeRange(const Resource& file, const std::string& handle,
                                      unsigned long offset, const std::string& bytes) const {
    return call(
               &FileAccess::writeFileContent,
               FileContentWriteRequest(file)
                   .withFileHandleId(handle)
                   .withStartLocation(offset)
                   .withContent(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()))
        .getFileSize();
}

std::string Participant::readRange(const Resource& file, const std::string& handle,
                                   unsigned long offset, unsigned long length) const {
    return toText(call(&FileAccess::readFileContent, FileContentReadRequest(file)
                                                         .withFileHandleId(handle)
                                                         .withStartLocation(offset)
                                                         .withLength(length))
                      .getResponseBody());
}

void Participant::close(const Resource& file, const std::string& handle,
                        FileHandleCloseOperation operation, bool createNewVersion) const {
    call(&FileAccess::closeFileHandle, FileHandleCloseRequest(file)
                                           .withFileHandleId(handle)
                                           .withOperation(operation)
                                           .withCreateNewVersion(createNewVersion));
}

std::string Participant::grant(const Resource& item, const std::u16string& subject,
                               Operation operation) const {
    return call(&AccessControl::grantPermission,
                PermissionGrantRequest(item)
                    .withSubject(Subject().withSubjectName(subject))
                    .withOperation(operation)
                    .withAllowNonExistingUser(false))
        .getPermissionId();
}

Invitation Participant::invite(const Resource& folder, const std::u16string& recipient,
                               AccessType accessType) const {
    return call(&AccessControl::createInvitation,
                InvitationCreateRequest(folder).withRecipient(recipient).withAccessType(accessType))
        .getInvitation();
}

Invitation Participant::answer(const Invitation& invitation, InvitationStatus status) const {
    return call(&AccessControl::updateInvitation,
                InvitationUpdateRequest()
                    .withResource(invitation.getResource())
                    .withInvitationId(invitation.getInvitationId())
                    .withStatus(status))
        .getInvitation();
}

std::vector<VersionSummary> Participant::versions(const Resource& file) const {
    return call(&IVersioning::listVersions, file).getVersions();
}

}  // namespace storage::kvxconformance
