#pragma once

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "namespace/ResolvedPath.h"
#include "operations/Operations.h"
#include "scheduler/Job.h"
#include "services/Engine.h"
#include "services/PlannedBuckets.h"
#include "services/ServiceError.h"
#include "storage/kvxtransport/PendingCalls.h"

namespace storage::kvxstore::services {

template <class Type, class... Types>
constexpr bool isOneOf = (std::is_same_v<Type, Types> || ...);

/// Operations that must work on a full disk: those that read or make room, and the way to them.
template <class Operation>
constexpr bool usesSpareRoom() {
    using namespace kvxtransport::operations;
    return isOneOf<Operation, Login, Logout, CreateReadOnlyFileHandle, CreateFileDownload,
                   DeleteFile, DeleteFolder, CloseFileHandle, RevokePermission, DeleteInvitation>;
}

/// A call of an operation on its way through the scheduler.
template <class Operation>
class ServiceCall final : public scheduler::Job, public kvxtransport::PendingCall {
public:
    ServiceCall(const Engine& engine, std::shared_ptr<kvxtransport::PendingCalls> group,
                std::string sessionId, typename Operation::Request request,
                typename Operation::Handler handler)
        : Job(traitsOf(sessionId, request)),
          PendingCall(std::move(group)),
          engine_(engine),
          sessionId_(std::move(sessionId)),
          request_(std::move(request)),
          handler_(std::move(handler)) {}

    void plan(database::BucketPlan& plan) const override {
        planBuckets(plan, sessionId_, request_);
    }

    void prime(database::Connection& connection) const override {
        if constexpr (
            requires { request_.getResource(); } && !requires { request_.getFileHandleId(); }) {
            primeLookups(contextOn(connection), request_.getResource());
        }
    }

    void run(database::Connection& connection) override {
        response_ = operations::run(Operation(), contextOn(connection), request_);
    }

    void finish(std::exception_ptr error) noexcept override {
        try {
            if (isCancelled()) {
                error = kvxtransport::badNetwork();
            }
            if (error) {
                handler_({}, asServiceError(std::move(error)));
            } else {
                handler_(std::move(response_), nullptr);
            }
        } catch (...) {
            // The caller's handler threw: there is nobody left to tell.
        }
    }

    bool isCancelled() const override { return PendingCall::isCancelled(); }

private:
    Context contextOn(database::Connection& connection) const {
        return {connection, engine_.options(), engine_.instance(), sessionId_,
                [this] { return isCancelled(); }};
    }

    static constexpr database::Access accessOf(kvxtransport::Access access) {
        return access == kvxtransport::Access::WRITE ? database::Access::WRITE
                                                     : database::Access::READ;
    }

    static scheduler::JobTraits traitsOf(const std::string& sessionId,
                                         const typename Operation::Request& request) {
        std::string strand = kvxtransport::orderOf(request);
        std::string key = strand.empty() ? sessionId : strand;
        return {accessOf(Operation::access),
                kvxtransport::contentBytesOf(request),
                std::move(strand),
                usesSpareRoom<Operation>(),
                std::move(key),
                isOneOf<Operation, kvxtransport::operations::DownloadFile>};
    }

    const Engine& engine_;
    const std::string sessionId_;
    const typename Operation::Request request_;
    typename Operation::Response response_{};
    typename Operation::Handler handler_;
};

}  // namespace storage::kvxstore::services
