#pragma once

#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "storage/kvxclient.h"

namespace storage::kvxconformance {

using namespace kvxclient;

/// What is wrong with the transport, and what it has to remember to be wrong. Each kind is an
/// overload of alter(), for a request on its way, or of spoil(), for a response on its way back.
class Misbehaviour {
public:
    explicit Misbehaviour(std::string name) : name_(std::move(name)) {}

    bool is(const char* name) const { return name_ == name; }
    template <class Action>
    void when(const char* name, Action action) const {
        if (is(name)) {
            action();
        }
    }

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
    void alter(FolderListRequest& r) {
        when("lists what is hidden", [&] { r.withShowHidden(true); });
    }
    void alter(FolderDeleteRequest& r) {
        when("deletes without force", [&] { r.withForceRecursive(true); });
    }
    void alter(MoveOrCopyRequest& r) {
        when("overwrites unasked", [&] { r.withTargetOverwrite(true); });
    }
    void alter(FileContentReadRequest& r) {
        when("ignores ranges", [&] { r.withStartLocation(0).withLength(1UL << 40U); });
    }
    void alter(FileContentWriteRequest& r) {
        when("writes at the start", [&] { r.withStartLocation(0); });
    }
    void alter(FileHandleReadWriteCreateRequest& r) {
        when("opens in any mode", [&] { r.withCreateMode(FileCreateMode::CREATE_OR_UPDATE); });
    }
    void alter(FileHandleCloseRequest& r) {
        when("commits what is aborted",
             [&] { r.withOperation(FileHandleCloseOperation::COMMIT_CHANGES); });
    }
    void alter(VersionRestoreRequest& r) {
        when("restores another version", [&] { r.withVersionLabel(r.getVersionLabel() + 1); });
    }
    void alter(PermissionGrantRequest& r) {
        when("grants more than asked", [&] { r.withOperation(Operation::READ_WRITE); });
    }
    void alter(InvitationUpdateRequest& r) {
        when("accepts what is declined", [&] { r.withStatus(InvitationStatus::ACCEPTED); });
    }
    void alter(InvitationListRequest& r) {
        when("lists every invitation", [&] { r = InvitationListRequest(); });
    }
    void alter(ResourcePolicySetRequest& r) {
        when("forgets policies", [&] { r.withResourcePolicy(ResourcePolicy()); });
    }
    void alter(FileChangeListRequest& r) {
        when("ignores the watermark", [&] { r.withWatermark(""); });
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

}  // namespace storage::kvxconformance
