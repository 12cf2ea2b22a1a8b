#include "StoreFixture.h"

#include <cstdlib>
#include <stdexcept>

#include "PostgresServer.h"

// The standard library counts references to an exception in code that is not instrumented, so that
// the thread that lets go of it last seems to free what another still reads.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    return "race:std::__exception_ptr::exception_ptr::_M_release\n"
           "race:std::runtime_error::~runtime_error\n";
}

namespace storage::kvxstore {

TemporaryFolder::TemporaryFolder() {
    std::string name = std::filesystem::temp_directory_path() / "kvxstore-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("cannot make a temporary folder");
    }
    path_ = name;
}

std::string TemporaryFolder::url(const std::string& name) const {
    if (!isOnServer()) {
        return "sqlite://" + file(name);
    }
    std::string& url = onServer_[name];
    return url.empty() ? url = newStoreUrl() : url;
}

std::string newStoreUrl() { return isOnServer() ? newSchema() : "sqlite::memory:"; }

Account::Account(const Store& store, const std::string& token) : client(store.createClient()) {
    client->withSessionId(client->login(LoginRequest().withToken(token)).getSessionId());
    files = client->createFileAccess();
    sharing = client->createAccessControl();
    configuration = client->createConfigurationManagement();
    notification = client->createNotification();
    versioning = client->createVersioning();
}

FileCreateRequest createRequest(const Resource& resource, const std::string& content) {
    FileCreateRequest request(resource);
    request.withContentType("text/plain").appendContent(content.data(), content.size());
    return request;
}

FileWriteResponse Account::put(const std::u16string& path, const std::string& content,
                               bool newVersion, const std::u16string& bucket) const {
    FileCreateRequest request = createRequest({path, bucket}, content);
    return files->createFile(request.withCreateNewVersion(newVersion));
}

std::string Account::get(const std::u16string& path, const std::u16string& bucket) const {
    const auto body = files->readFile(FileReadRequest({path, bucket})).getResponseBody();
    return {body.begin(), body.end()};
}

void Account::makeFolder(const std::u16string& path, const std::u16string& bucket) const {
    files->createFolder(FolderCreateRequest({path, bucket}));
}

void Account::removeFolder(const std::u16string& path, bool force) const {
    files->deleteFolder(FolderDeleteRequest({path, u""}).withForceRecursive(force));
}

void Account::move(const std::u16string& from, const std::u16string& to, bool overwrite) const {
    files->move(MoveOrCopyRequest({from, u""}, {to, u""}).withTargetOverwrite(overwrite));
}

void Account::copy(const std::u16string& from, const std::u16string& to, bool overwrite) const {
    files->copy(MoveOrCopyRequest({from, u""}, {to, u""}).withTargetOverwrite(overwrite));
}

void Account::remove(const std::u16string& path) const {
    files->deleteFile(FileDeleteRequest({path, u""}));
}

FileAttributes Account::stat(const std::u16string& path) const {
    return files->readFileAttributes(FileAttributesReadRequest({path, u""})).getFileAttributes();
}

std::string Account::list(const std::u16string& path, bool hidden) const {
    const auto response = files->listFolder(FolderListRequest({path, u""}).withShowHidden(hidden));
    std::string names;
    for (const FolderSummary& folder : response.getFolders()) {
        names += Resource(u"", folder.getName()).getUTF8Bucket() + "/ ";
    }
    for (const FileSummary& file : response.getFiles()) {
        names += Resource(u"", file.getName()).getUTF8Bucket() + ' ';
    }
    return names.empty() ? names : names.substr(0, names.size() - 1);
}

std::string Account::openToRead(const std::u16string& path, const std::u16string& bucket,
                                int label) const {
    FileHandleReadOnlyCreateRequest request({path, bucket});
    return files->createReadOnlyFileHandle(request.withVersionLabel(label)).getFileHandleId();
}

std::string Account::read(const std::string& handle, unsigned long offset,
                          unsigned long length) const {
    const auto body = files
                          ->readFileContent(FileContentReadRequest({u"", u""})
                                                .withFileHandleId(handle)
                                                .withStartLocation(offset)
                                                .withLength(length))
                          .getResponseBody();
    return {body.begin(), body.end()};
}

void Account::close(const std::string& handle, FileHandleCloseOperation operation,
                    bool newVersion) const {
    files->closeFileHandle(FileHandleCloseRequest({u"", u""})
                               .withFileHandleId(handle)
                               .withOperation(operation)
                               .withCreateNewVersion(newVersion));
}

std::string Account::offer(const std::u16string& path) const {
    return files->createFileDownload(FileDownloadCreateRequest({path, u""})).getLocation();
}

OpenFile::OpenFile(const Account& user, const std::u16string& path, FileCreateMode mode,
                   bool truncate, const std::string& contentType)
    : account(user),
      opened(user.files->createReadWriteFileHandle(FileHandleReadWriteCreateRequest({path, u""})
                                                       .withCreateMode(mode)
                                                       .withTruncate(truncate)
                                                       .withContentType(contentType))) {}

void OpenFile::write(unsigned long offset, const std::string& bytes) const {
    account.files->writeFileContent(
        FileContentWriteRequest({u"", u""})
            .withFileHandleId(id)
            .withStartLocation(offset)
            .withContent(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()));
}

std::string OpenFile::read(unsigned long offset, unsigned long length) const {
    return account.read(id, offset, length);
}

void OpenFile::close(FileHandleCloseOperation operation, bool newVersion) const {
    account.close(id, operation, newVersion);
}

std::u16string numbered(const std::u16string& name, unsigned long number) {
    const std::string digits = std::to_string(number);
    return name + std::u16string(digits.begin(), digits.end());
}

std::optional<Code> codeOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const KVXClientException& error) {
        return error.getErrorCode();
    }
    return std::nullopt;
}

std::optional<StoreError> storeErrorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const StoreError& error) {
        return error;
    }
    return std::nullopt;
}

std::string causeOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const KVXClientException& error) {
        try {
            std::rethrow_if_nested(error);
        } catch (const std::runtime_error& cause) {
            return cause.what();
        }
    }
    return {};
}

}  // namespace storage::kvxstore
