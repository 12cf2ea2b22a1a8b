#include "BrokenTransport.h"

#include "Fault.h"

namespace storage::kvxconformance {

namespace {

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
        return std::make_unique<BrokenFileAccess>(
            Links<FileAccess>{inner_->createFileAccess(), *this, *inner_, fault_});
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
        if (fault_.is("serves whole files only")) {
            return nullptr;
        }
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
    if (fault->is("serves whole files only")) {
        transport.capabilities.clear();
        transport.users.pop_back();
        transport.waivers = {{"paths.illegal.*", "any path will do"}};
        transport.illegalPaths = {u"/legal"};
    }
    if (fault->is("never completes")) {
        transport.patience = std::chrono::milliseconds(300);
    }
    return transport;
}

}  // namespace storage::kvxconformance
