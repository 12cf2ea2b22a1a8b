#pragma once

#include <exception>
#include <memory>
#include <string>
#include <utility>

#include "session/SessionRenewal.h"
#include "storage/kvxclient/KVXClientException.h"
#include "storage/kvxtransport/Services.h"

namespace storage::kvxtool {

/// Whether a call was refused because its session is over.
bool saysSessionIsOver(const std::exception_ptr& error);

/// A dispatcher that makes calls in the session of a SessionRenewal. Where a call is answered that
/// the session is over, the session is renewed and the call is made once more: it had no effect.
/// REQUIRES: the renewal outlives the calls.
class RenewingDispatcher {
public:
    explicit RenewingDispatcher(SessionRenewal& renewal) : renewal_(&renewal) {}

    template <class Operation>
    void call(const kvxtransport::Caller&, typename Operation::Request request,
              typename Operation::Handler handler) const {
        using Request = typename Operation::Request;
        const SessionCaller caller(renewal_->sessionId());
        auto again = std::make_shared<Request>(request);
        auto& store = renewal_->store();
        store.template call<Operation>(
            caller, std::move(request),
            [renewal = renewal_, over = caller.sessionId(), again = std::move(again),
             handler = std::move(handler)](typename Operation::Response response,
                                           std::exception_ptr error) {
                if (!error || !saysSessionIsOver(error)) {
                    handler(std::move(response), std::move(error));
                    return;
                }
                renewal->renew(over, [=](const std::exception_ptr& failure) {
                    if (failure) {
                        handler({}, failure);
                    } else {
                        renewal->store().template call<Operation>(
                            SessionCaller(renewal->sessionId()), std::move(*again), handler);
                    }
                });
            });
    }

    void cancelPendingCalls() const { renewal_->store().cancelPendingCalls(); }
    void waitForPendingCalls() const { renewal_->store().waitForPendingCalls(); }

private:
    class SessionCaller final : public kvxtransport::Caller {
    public:
        explicit SessionCaller(std::string sessionId) : sessionId_(std::move(sessionId)) {}

        std::string sessionId() const override { return sessionId_; }
        std::string applicationId() const override { return "kvx"; }
        std::string originId() const override { return {}; }
        std::string clientString() const override { return {}; }
        std::string clientType() const override { return {}; }

    private:
        std::string sessionId_;
    };

    SessionRenewal* renewal_;
};

}  // namespace storage::kvxtool
