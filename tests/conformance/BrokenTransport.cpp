#include "BrokenTransport.h"

#include "Misbehaviour.h"
#include "storage/kvxtransport/ClientDispatcher.h"

namespace storage::kvxconformance {

namespace {

namespace operations = kvxtransport::operations;

/// A caller with the session that the client was made with, whatever it has now.
class FirstSession final : public kvxtransport::Caller {
public:
    explicit FirstSession(std::string id) : id_(std::move(id)) {}
    std::string sessionId() const override { return id_; }
    std::string applicationId() const override { return {}; }
    std::string originId() const override { return {}; }
    std::string clientString() const override { return {}; }
    std::string clientType() const override { return {}; }

private:
    const std::string id_;
};

class BrokenDispatcher {
public:
    /// `leaked` serves the files when another user's are shown.
    BrokenDispatcher(std::shared_ptr<KVXClient> client, std::shared_ptr<KVXClient> leaked,
                     std::shared_ptr<Misbehaviour> misbehaviour)
        : inner_(client),
          firstSession_(client->getSessionId()),
          misbehaviour_(std::move(misbehaviour)) {
        if (leaked) {
            leaked_.emplace(leaked);
            leakedSession_ = leaked->getSessionId();
        }
    }

    template <class Operation>
    void call(const kvxtransport::Caller& caller, typename Operation::Request request,
              typename Operation::Handler handler) const {
        if (leaked_ && std::is_same_v<typename Operation::Service, FileAccess>) {
            leaked_->call<Operation>(FirstSession(leakedSession_), std::move(request),
                                     std::move(handler));
            return;
        }
        misbehaviour_->alter(request);
        if (std::is_same_v<Operation, operations::WriteFileContent> &&
            is("completes before it has read the bytes")) {
            handler({}, nullptr);
            handler = [](auto, auto) {};
        }
        handler = misbehaviour_->handlerFor(std::move(handler));
        if (is("keeps the first session")) {
            forward<Operation>(FirstSession(firstSession_), request, handler);
        } else {
            forward<Operation>(caller, request, handler);
        }
    }

    void cancelPendingCalls() const {
        if (!is("does not cancel")) {
            inner_.cancelPendingCalls();
        }
    }
    void waitForPendingCalls() const {
        if (!is("does not wait")) {
            inner_.waitForPendingCalls();
        }
    }

private:
    bool is(const char* name) const { return misbehaviour_->is(name); }

    template <class Operation>
    void forward(const kvxtransport::Caller& caller, typename Operation::Request& request,
                 typename Operation::Handler& handler) const {
        if constexpr (std::is_same_v<Operation, operations::Move>) {
            if (is("moves by copying")) {
                return inner_.call<operations::Copy>(caller, request, handler);
            }
        } else if constexpr (std::is_same_v<Operation, operations::Copy>) {
            if (is("copies by moving")) {
                return inner_.call<operations::Move>(caller, request, handler);
            }
        }
        inner_.call<Operation>(caller, std::move(request), std::move(handler));
    }

    kvxtransport::ClientDispatcher inner_;
    std::optional<kvxtransport::ClientDispatcher> leaked_;
    std::string firstSession_;
    std::string leakedSession_;
    std::shared_ptr<Misbehaviour> misbehaviour_;
};

}  // namespace

Transport breakTransport(Transport transport, const std::string& name) {
    const auto misbehaviour = std::make_shared<Misbehaviour>(name);
    transport.logIn = [misbehaviour, logIn = transport.logIn,
                       users = transport.users](const User& user) {
        const bool leaks =
            misbehaviour->is("shows another user's files") && user.name != users[0].name;
        std::shared_ptr<KVXClient> inner = logIn(user);
        auto client = std::make_unique<kvxtransport::DispatchingClient<BrokenDispatcher>>(
            inner->getEndpoint(),
            BrokenDispatcher(inner, leaks ? logIn(users[0]) : nullptr, misbehaviour));
        client->withSessionId(inner->getSessionId());
        return client;
    };
    if (misbehaviour->is("serves whole files only")) {
        transport.capabilities.clear();
        transport.users.pop_back();
        transport.waivers = {{"paths.illegal.*", "any path will do"}};
        transport.illegalPaths = {u"/legal"};
    }
    if (misbehaviour->is("never completes")) {
        transport.patience = std::chrono::milliseconds(300);
    }
    return transport;
}

}  // namespace storage::kvxconformance
