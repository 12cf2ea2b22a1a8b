#pragma once

#include <functional>
#include <string>
#include <utility>

#include "core/Context.h"
#include "scheduler/Job.h"
#include "storage/kvxclient/CompletionHandler.h"

namespace storage::kvxstore::services {

/// What every call has, whatever it does.
struct CallFrame {
    scheduler::JobTraits traits;
    std::shared_ptr<scheduler::CallGroup> group;
    const StoreOptions& options;
    std::int64_t instance;
    std::string sessionId = {};
    /// Whether the handler is let go without a call of it.
    bool dropsHandler = false;
};

/// An exception with the code that also nests a std::runtime_error with the cause.
std::exception_ptr failure(kvxclient::KVXClientErrorCode code, const std::string& cause);

/// The error as a caller sees it: of the service as it is, any other as INTERNAL_SERVER_ERROR.
std::exception_ptr asServiceError(std::exception_ptr error);

/// A call of an operation, with the handler that gets its outcome.
template <class Response>
class Call final : public scheduler::Job {
public:
    using Work = std::function<Response(const Context&)>;

    Call(CallFrame frame, Work work, kvxclient::CompletionHandler<Response> handler)
        : Job(std::move(frame.traits), std::move(frame.group)),
          options_(frame.options),
          instance_(frame.instance),
          sessionId_(std::move(frame.sessionId)),
          dropsHandler_(frame.dropsHandler),
          work_(std::move(work)),
          handler_(std::move(handler)) {}

    void run(database::Connection& connection) override {
        response_ =
            work_({connection, options_, instance_, sessionId_, [this] { return isCancelled(); }});
    }

protected:
    void deliver(std::exception_ptr error) override {
        if (dropsHandler_) {
            return;
        }
        if (error) {
            handler_(Response(), asServiceError(std::move(error)));
        } else {
            handler_(std::move(response_), nullptr);
        }
    }

private:
    const StoreOptions& options_;
    std::int64_t instance_;
    std::string sessionId_;
    bool dropsHandler_;
    Work work_;
    Response response_{};
    kvxclient::CompletionHandler<Response> handler_;
};

}  // namespace storage::kvxstore::services
