#pragma once

#include <memory>
#include <utility>

#include "services/Engine.h"
#include "services/ServiceCall.h"
#include "storage/kvxtransport/Services.h"

namespace storage::kvxstore::services {

/// The store as a transport: its calls go through the scheduler.
class Dispatcher {
public:
    explicit Dispatcher(std::shared_ptr<Engine> engine) : engine_(std::move(engine)) {}

    template <class Operation>
    void call(const kvxtransport::Caller& caller, typename Operation::Request request,
              typename Operation::Handler handler) const {
        // The handler may hold the last of the store, and run before the call has returned.
        const std::shared_ptr<Engine> alive = engine_;
        const bool asks = Operation::need == kvxtransport::Need::SESSION;
        alive->scheduler().submit(std::make_unique<ServiceCall<Operation>>(
            *alive, group_, asks ? caller.sessionId() : std::string(), std::move(request),
            std::move(handler)));
    }

    void cancelPendingCalls() const {
        group_->cancel();
        engine_->scheduler().finishCancelled();
    }

    void waitForPendingCalls() const { group_->wait(); }

private:
    std::shared_ptr<Engine> engine_;
    std::shared_ptr<kvxtransport::PendingCalls> group_ =
        std::make_shared<kvxtransport::PendingCalls>();
};

}  // namespace storage::kvxstore::services
