#pragma once

#include <exception>
#include <memory>
#include <utility>

#include "session/SessionRenewal.h"
#include "storage/kvxclient/KVXClientException.h"
#include "storage/kvxtransport/Services.h"

namespace storage::kvxtool {

/// Whether a call was refused because its session is over.
bool saysSessionIsOver(const std::exception_ptr& error);

/// A dispatcher that makes calls in the session of a SessionRenewal. Where a call is answered that
/// the session is over, the session is renewed and the call is made once more: it had no effect.
/// For that each request is kept until its answer, content included.
/// REQUIRES: the renewal outlives the calls.
class RenewingDispatcher {
public:
    explicit RenewingDispatcher(SessionRenewal& renewal) : renewal_(&renewal) {}

    template <class Operation>
    void call(const kvxtransport::Caller&, typename Operation::Request request,
              typename Operation::Handler handler) const {
        using Service = typename Operation::Service;
        auto again = std::make_shared<typename Operation::Request>(request);
        Operation::start(
            renewal_->service<Service>(), std::move(request),
            [renewal = renewal_, over = renewal_->number(), again = std::move(again),
             handler = std::move(handler)](typename Operation::Response response,
                                           std::exception_ptr error) {
                if (!error || !saysSessionIsOver(error)) {
                    handler(std::move(response), std::move(error));
                    return;
                }
                renewal->renew(over, [=](const std::exception_ptr& failure) {
                    if (failure) {
                        handler({}, failure);
                        return;
                    }
                    const bool hasHandle = !kvxtransport::orderOf(*again).empty();
                    Operation::start(
                        renewal->service<Service>(), std::move(*again),
                        [=](typename Operation::Response second, const std::exception_ptr& cause) {
                            // A handle may have ended with its session.
                            handler(std::move(second), cause && hasHandle ? error : cause);
                        });
                });
            });
    }

    void cancelPendingCalls() const { client().cancelPendingCalls(); }
    void waitForPendingCalls() const { client().waitForPendingCalls(); }

private:
    const kvxclient::KVXClient& client() const { return renewal_->service<kvxclient::KVXClient>(); }

    SessionRenewal* renewal_;
};

}  // namespace storage::kvxtool
