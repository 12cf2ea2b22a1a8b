#pragma once

#include <memory>
#include <utility>

#include "client/Link.h"
#include "client/RemoteCall.h"

namespace storage::kvxremote {

/// The servers as the transport of one client, over a link that others may share.
class RemoteDispatcher {
public:
    explicit RemoteDispatcher(std::shared_ptr<Link> link) : link_(std::move(link)) {}

    template <class Operation>
    void call(const kvxtransport::Caller& caller, typename Operation::Request request,
              typename Operation::Handler handler) const {
        // The handler may hold the last of the client, and run before the call has returned.
        const std::shared_ptr<Link> alive = link_;
        auto call = std::make_unique<RemoteCall<Operation>>(group_, alive->orders(),
                                                            std::move(request), std::move(handler));
        try {
            prepare(*alive, *call, caller);
        } catch (const std::exception& failure) {
            call->fail(kvxclient::KVXClientErrorCode::INTERNAL_SERVER_ERROR, failure.what());
        }
        alive->submit(std::move(call));
    }

    void cancelPendingCalls() const {
        group_->cancel();
        link_->giveUpCancelled();
    }
    void waitForPendingCalls() const { group_->wait(); }

private:
    template <class Operation>
    static void prepare(Link& link, RemoteCall<Operation>& call,
                        const kvxtransport::Caller& caller) {
        call.encode();
        call.identify(caller, Operation::need == kvxtransport::Need::SESSION);
        if (!link.takes(call.exchange.request.content.size())) {
            call.fail(kvxclient::KVXClientErrorCode::FILE_TOO_LARGE, {});
        }
        if (call.hasFailed()) {
            return;
        }
        if constexpr (std::is_same_v<Operation, kvxtransport::operations::DownloadFile>) {
            if (!call.request().getReadIntoString()) {
                call.sink =
                    std::make_shared<StreamSink>(call.request().getStreamFactory(),
                                                 link.completions(), [&link] { link.resume(); });
            }
        }
        call.order();
    }

    std::shared_ptr<Link> link_;
    std::shared_ptr<kvxtransport::PendingCalls> group_ =
        std::make_shared<kvxtransport::PendingCalls>();
};

}  // namespace storage::kvxremote
