#include "BrokenTransport.h"

#include <list>
#include <map>
#include <mutex>
#include <set>

#include "storage/kvxclient.h"

namespace storage::kvxconformance {

namespace {

using namespace kvxclient;

/// What is wrong with the transport, and what it has to remember to be wrong. Each fault is an
/// overload of alter(), for a request on its way, or of spoil(), for a response on its way back.
class Fault {
public:
    explicit Fault(std::string name) : name_(std::move(name)) {}

    bool is(const char* name) const { return name_ == name; }

    template <class Request>
    void alter(Request&) {}
    void alter(FileCreateRequest& request) {
        if (is("ignores createNewVersion")) {
            request.withCreateNewVersion(false);
        }
        if (is("truncates large files") && request.getContent().size() > 65536) {
            FileCreateRequest cut(request.getResource());
            cut.appendContent(request.getContent().data(), 65536);
            request = cut;
        }
        const std::lock_guard lock(mutex_);
        written_.push_front(request.getResource());
    }
    void alter(FileReadRequest& request) {
        const std::lock_guard lock(mutex_);
        if (is("swaps the content of files") && written_.size() > 1) {
            // The one written last and the one before it.
            const bool last = request.getResource() == written_.front();
            request = FileReadRequest(last ? *std::next(written_.begin()) : written_.front());
        }
        if (is("forgets the bucket")) {
            request = FileReadRequest(Resource(request.getResource().getPath(), u""));
        }
        if (is("reads the current version only")) {
            request.withVersionLabel(-1).withVersionId("");
        }
    }
    void alter(FileDeleteRequest& request) {
        const std::lock_guard lock(mutex_);
        deleted_.insert(request.getResource().getPath());
    }
    void alter(FolderListRequest& request) {
        if (is("lists what is hidden")) {
            request.withShowHidden(true);
        }
    }
    void alter(FolderDeleteRequest& request) {
        if (is("deletes without force")) {
            request.withForceRecursive(true);
        }
    }
    void alter(MoveOrCopyRequest& request) {
        if (is("overwrites unasked")) {
            request.withTargetOverwrite(true);
        }
    }
    void alter(FileContentReadRequest& request) {
        if (is("ignores ranges")) {
            request.withStartLocation(0).withLength(1UL << 40U);
        }
    }
    void alter(FileContentWriteRequest& request) {
        if (is("writes at the start")) {
            request.withStartLocation(0);
        }
    }
    void alter(FileHandleReadWriteCreateRequest& request) {
        if (is("opens in any mode")) {
            request.withCreateMode(FileCreateMode::CREATE_OR_UPDATE);
        }
    }
    void alter(FileHandleCloseRequest& request) {
        if (is("commits what is aborted")) {
            request.withOperation(FileHandleCloseOperation::COMMIT_CHANGES);
        }
    }
    void alter(VersionRestoreRequest& request) {
        if (is("restores another version")) {
            request.withVersionLabel(request.getVersionLabel() + 1);
        }
    }
    void alter(PermissionGrantRequest& request) {
        if (is("grants more than asked")) {
            request.withOperation(Operation::READ_WRITE);
        }
    }
    void alter(InvitationUpdateRequest& request) {
        if (is("accepts what is declined")) {
            request.withStatus(InvitationStatus::ACCEPTED);
        }
    }
    void alter(InvitationListRequest& request) {
        if (is("lists every invitation")) {
            request = InvitationListRequest();
        }
    }
    void alter(ResourcePolicySetRequest& request) {
        if (is("forgets policies")) {
            request.withResourcePolicy(ResourcePolicy());
        }
    }
    void alter(FileChangeListRequest& request) {
        if (is("ignores the watermark")) {
            request.withWatermark("");
        }
    }

    template <class Response>
    void spoil(Response& response) {
        if (is("answers with nothing")) {
            response = Response();
        }
    }
    void spoil(FileReadResponse& response) {
        if (is("loses the content type")) {
            response.withContentType("application/octet-stream");
        }
    }
    void spoil(FileAttributesReadResponse& response) {
        if (is("loses times")) {
            response.withFileAttributes(response.getFileAttributes().withClientLastModified({}));
        }
    }
    void spoil(FolderListResponse& response) {
        const std::lock_guard lock(mutex_);
        if (is("lists what was there before")) {
            response =
                listings_.emplace(response.getFolderSummary().getName(), response).first->second;
        }
    }
    void spoil(FileChangeListResponse& response) {
        const std::lock_guard lock(mutex_);
        if (is("does not tell deletions")) {
            auto changes = response.getFileChanges();
            std::erase_if(changes, [&](const FileChangeSummary& change) {
                return deleted_.contains(change.getResource().getPath());
            });
            response.withFileChanges(changes);
        }
    }

    /// The handler to complete in place of the caller's.
    template <class Response>
    CompletionHandler<Response> handlerFor(CompletionHandler<Response> handler) {
        if (is("drops handlers")) {
            return [](Response, std::exception_ptr) {};
        }
        if (is("never completes")) {
            const std::lock_guard lock(mutex_);
            kept_.push_back(std::make_shared<CompletionHandler<Response>>(handler));
            return [](Response, std::exception_ptr) {};
        }
        return [this, handler = std::move(handler)](Response response, std::exception_ptr error) {
            complete(handler, std::move(response), std::move(error));
        };
    }

private:
    template <class Response>
    void complete(const CompletionHandler<Response>& handler, Response response,
                  std::exception_ptr error) {
        if (error && is("reports a wrong code")) {
            error = std::make_exception_ptr(KVXClientException(KVXClientErrorCode::UNKNOWN));
        }
        if (error && is("reports success")) {
            error = nullptr;
        }
        spoil(response);
        if (is("completes twice")) {
            handler(response, error);
        }
        try {
            handler(std::move(response), error);
        } catch (...) {
            if (is("completes again when a handler throws")) {
                handler(Response(), std::current_exception());
            }
        }
    }

    const std::string name_;
    std::mutex mutex_;
    std::list<Resource> written_;
    std::set<std::u16string> deleted_;
    std::map<std::u16string, FolderListResponse> listings_;
    std::list<std::shared_ptr<void>> kept_;
};

/// What every broken service has: the one that works, the client that it came from and the fault.
template <class Service>
struct Links {
    std::unique_ptr<Service> inner;
    const KVXClient& outerClient;
    KVXClient& innerClient;
    Fault& fault;

    std::function<std::string()> session() const {
        return [&client = outerClient] { return client.getSessionId(); };
    }

    template <class Request, class Response>
    void forward(void (Service::*form)(Request, CompletionHandler<Response>) const,
                 Request& request, CompletionHandler<Response>& handler) const {
        if (!fault.is("keeps the first session")) {
            innerClient.withSessionId(outerClient.getSessionId());
        }
        fault.alter(request);
        (*inner.*form)(std::move(request), fault.handlerFor(std::move(handler)));
    }
};

#define BROKEN(Service, operation, Request, Response)                                     \
    using Service::operation;                                                             \
    void operation(Request request, CompletionHandler<Response> handler) const override { \
        links_.forward(&Service::operation, request, handler);                            \
    }

#define BROKEN_CONSTRUCTOR(Service)                                                              \
    explicit Broken##Service(Links<Service> links)                                               \
        : Service(links.inner->getEndpoint(), links.session(), links.inner->getApplicationId()), \
          links_(std::move(links)) {}

class BrokenFileAccess : public FileAccess {
public:
    BROKEN_CONSTRUCTOR(FileAccess)
    BROKEN(FileAccess, createFile, FileCreateRequest, FileWriteResponse)
    BROKEN(FileAccess, deleteFile, FileDeleteRequest, FileDeleteResponse)
    BROKEN(FileAccess, createFileDownload, FileDownloadCreateRequest, FileDownloadCreateResponse)
    BROKEN(FileAccess, downloadFile, FileDownloadRequest, FileDownloadResponse)
    BROKEN(FileAccess, createFolder, FolderCreateRequest, FolderCreateResponse)
    BROKEN(FileAccess, deleteFolder, FolderDeleteRequest, FolderDeleteResponse)
    BROKEN(FileAccess, createReadOnlyFileHandle, FileHandleReadOnlyCreateRequest,
           FileHandleReadOnlyCreateResponse)
    BROKEN(FileAccess, createReadWriteFileHandle, FileHandleReadWriteCreateRequest,
           FileHandleReadWriteCreateResponse)
    BROKEN(FileAccess, readFile, FileReadRequest, FileReadResponse)
    BROKEN(FileAccess, readFileContent, FileContentReadRequest, FileContentReadResponse)
    BROKEN(FileAccess, closeFileHandle, FileHandleCloseRequest, FileHandleCloseResponse)
    BROKEN(FileAccess, listFolder, FolderListRequest, FolderListResponse)
    BROKEN(FileAccess, listMultiFolder, MultiFolderListRequest, MultiFolderListResponse)
    BROKEN(FileAccess, readFileAttributes, FileAttributesReadRequest, FileAttributesReadResponse)
    BROKEN(FileAccess, setMetadata, SetMetadataRequest, SetMetadataResponse)

    void writeFileContent(FileContentWriteRequest request,
                          CompletionHandler<FileContentWriteResponse> handler) const override {
        if (links_.fault.is("completes before it has read the bytes")) {
            handler({}, nullptr);
            handler = [](FileContentWriteResponse, std::exception_ptr) {};
        }
        links_.forward(&FileAccess::writeFileContent, request, handler);
    }
    void move(MoveOrCopyRequest request,
              CompletionHandler<MoveOrCopyResponse> handler) const override {
        relocate(!links_.fault.is("moves by copying"), request, handler);
    }
    void copy(MoveOrCopyRequest request,
              CompletionHandler<MoveOrCopyResponse> handler) const override {
        relocate(links_.fault.is("copies by moving"), request, handler);
    }

private:
    void relocate(bool move, MoveOrCopyRequest& request,
                  CompletionHandler<MoveOrCopyResponse>& handler) const {
        if (move) {
            links_.forward(&FileAccess::move, request, handler);
        } else {
            links_.forward(&FileAccess::copy, request, handler);
        }
    }

    const Links<FileAccess> links_;
};

class BrokenAccessControl : public AccessControl {
public:
    BROKEN_CONSTRUCTOR(AccessControl)
    BROKEN(AccessControl, grantPermission, PermissionGrantRequest, PermissionGrantResponse)
    BROKEN(AccessControl, revokePermission, PermissionRevokeRequest, PermissionRevokeResponse)
    BROKEN(AccessControl, listPermissions, PermissionListRequest, PermissionListResponse)
    BROKEN(AccessControl, createInvitation, InvitationCreateRequest, InvitationCreateResponse)
    BROKEN(AccessControl, readInvitation, InvitationReadRequest, InvitationReadResponse)
    BROKEN(AccessControl, updateInvitation, InvitationUpdateRequest, InvitationUpdateResponse)
    BROKEN(AccessControl, deleteInvitation, InvitationDeleteRequest, InvitationDeleteResponse)
    BROKEN(AccessControl, listInvitations, InvitationListRequest, InvitationListResponse)
    BROKEN(AccessControl, copyFolderFromInvitation, InvitationCopyFolderRequest,
           InvitationCopyFolderResponse)
    BROKEN(AccessControl, getFolderContentFromInvitation, InvitationFolderContentRequest,
           InvitationFolderContentResponse)
    BROKEN(AccessControl, getInvitationDetails, InvitationDetailsRequest, InvitationDetailsResponse)

private:
    const Links<AccessControl> links_;
};

class BrokenConfigurationManagement : public ConfigurationManagement {
public:
    BROKEN_CONSTRUCTOR(ConfigurationManagement)
    BROKEN(ConfigurationManagement, setResourcePolicy, ResourcePolicySetRequest,
           ResourcePolicySetResponse)
    BROKEN(ConfigurationManagement, getResourcePolicy, ResourcePolicyGetRequest,
           ResourcePolicyGetResponse)
    BROKEN(ConfigurationManagement, getStorageUsage, StorageUsageGetRequest,
           StorageUsageGetResponse)

private:
    const Links<ConfigurationManagement> links_;
};

class BrokenNotification : public Notification {
public:
    BROKEN_CONSTRUCTOR(Notification)
    BROKEN(Notification, listFileChanges, FileChangeListRequest, FileChangeListResponse)

private:
    const Links<Notification> links_;
};

class BrokenVersioning : public IVersioning {
public:
    explicit BrokenVersioning(Links<IVersioning> links) : links_(std::move(links)) {}
    BROKEN(IVersioning, listVersions, VersionListRequest, VersionListResponse)
    BROKEN(IVersioning, restoreVersion, VersionRestoreRequest, VersionRestoreResponse)

private:
    const Links<IVersioning> links_;
};

class BrokenClient : public KVXClient {
public:
    /// `leaked` serves the files when the fault is that another user's are shown.
    BrokenClient(std::unique_ptr<KVXClient> inner, std::unique_ptr<KVXClient> leaked, Fault& fault)
        : KVXClient(inner->getEndpoint()),
          inner_(std::move(inner)),
          leaked_(std::move(leaked)),
          fault_(fault) {
        withSessionId(inner_->getSessionId());
    }

    void ping(CompletionHandler<PingResponse> handler) const override {
        inner_->ping(fault_.handlerFor(std::move(handler)));
    }
    void login(LoginRequest request, CompletionHandler<LoginResponse> handler) const override {
        inner_->login(std::move(request), fault_.handlerFor(std::move(handler)));
    }
    void logout(LogoutRequest request, CompletionHandler<LogoutResponse> handler) const override {
        inner_->withSessionId(getSessionId());
        inner_->logout(request, fault_.handlerFor(std::move(handler)));
    }
    std::unique_ptr<FileAccess> createFileAccess() const override {
        inner_->withApplicationId(getApplicationId());
        if (leaked_) {
            return leaked_->createFileAccess();
        }
        return make<BrokenFileAccess>(inner_->createFileAccess());
    }
    std::unique_ptr<AccessControl> createAccessControl() const override {
        return make<BrokenAccessControl>(inner_->createAccessControl());
    }
    std::unique_ptr<ConfigurationManagement> createConfigurationManagement() const override {
        return make<BrokenConfigurationManagement>(inner_->createConfigurationManagement());
    }
    std::unique_ptr<Notification> createNotification() const override {
        return make<BrokenNotification>(inner_->createNotification());
    }
    std::unique_ptr<IVersioning> createVersioning() const override {
        return make<BrokenVersioning>(inner_->createVersioning());
    }
    void cancelPendingCalls() const override {
        if (!fault_.is("does not cancel")) {
            inner_->cancelPendingCalls();
        }
    }
    void waitForPendingCalls() const override {
        if (!fault_.is("does not wait")) {
            inner_->waitForPendingCalls();
        }
    }

private:
    template <class BrokenService, class Service>
    std::unique_ptr<Service> make(std::unique_ptr<Service> inner) const {
        return std::make_unique<BrokenService>(
            Links<Service>{std::move(inner), *this, *inner_, fault_});
    }

    const std::unique_ptr<KVXClient> inner_;
    const std::unique_ptr<KVXClient> leaked_;
    Fault& fault_;
};

}  // namespace

Transport breakTransport(Transport transport, const std::string& name) {
    const auto fault = std::make_shared<Fault>(name);
    transport.logIn = [fault, logIn = transport.logIn, users = transport.users](const User& user) {
        const bool leaks = fault->is("shows another user's files") && user.name != users[0].name;
        return std::make_unique<BrokenClient>(logIn(user), leaks ? logIn(users[0]) : nullptr,
                                              *fault);
    };
    if (fault->is("never completes")) {
        transport.patience = std::chrono::milliseconds(300);
    }
    return transport;
}

}  // namespace storage::kvxconformance
