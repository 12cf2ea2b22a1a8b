#pragma once

#include <any>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "storage/kvxtransport/Services.h"

namespace storage::kvxclient {

/// A transport without a service: it notes which operations are reached, in order, and completes
/// each call as its script says, without one at once with an empty response.
class ScriptedTransport {
public:
    template <class Operation>
    using Script = std::function<void(typename Operation::Request, typename Operation::Handler)>;

    ScriptedTransport() { state_->reached.reserve(64); }

    template <class Operation>
    void on(Script<Operation> script) const {
        state_->scripts[Operation::name] = std::move(script);
    }

    /// The names of the operations that were reached.
    std::vector<std::string_view>& reached() const { return state_->reached; }

    template <class Operation>
    void call(const kvxtransport::Caller&, typename Operation::Request request,
              typename Operation::Handler handler) const {
        reached().push_back(Operation::name);
        const auto found = state_->scripts.find(Operation::name);
        if (found == state_->scripts.end()) {
            handler(typename Operation::Response(), nullptr);
        } else {
            std::any_cast<Script<Operation>&>(found->second)(std::move(request),
                                                             std::move(handler));
        }
    }
    void cancelPendingCalls() const {}
    void waitForPendingCalls() const {}

private:
    struct State {
        std::vector<std::string_view> reached;
        std::map<std::string_view, std::any> scripts;
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// A service over a scripted transport.
template <template <class> class DispatchingService>
struct Scripted : DispatchingService<ScriptedTransport> {
    explicit Scripted(
        std::string endpoint = "endpoint",
        std::function<std::string()> supplier = [] { return std::string("session"); },
        std::string applicationId = "application", ScriptedTransport script = {})
        : DispatchingService<ScriptedTransport>(std::move(endpoint), std::move(supplier),
                                                std::move(applicationId), script),
          transport(script) {}
    const ScriptedTransport transport;
};

using ScriptedFileAccess = Scripted<kvxtransport::DispatchingFileAccess>;
using ScriptedAccessControl = Scripted<kvxtransport::DispatchingAccessControl>;
using ScriptedConfigurationManagement = Scripted<kvxtransport::DispatchingConfigurationManagement>;
using ScriptedNotification = Scripted<kvxtransport::DispatchingNotification>;

struct ScriptedVersioning : kvxtransport::DispatchingVersioning<ScriptedTransport> {
    explicit ScriptedVersioning(ScriptedTransport script = {})
        : DispatchingVersioning([] { return std::string(); }, "", script), transport(script) {}
    const ScriptedTransport transport;
};

struct ScriptedClient : kvxtransport::DispatchingClient<ScriptedTransport> {
    explicit ScriptedClient(std::string endpoint, ScriptedTransport script = {})
        : DispatchingClient(std::move(endpoint), script), transport(script) {}
    const ScriptedTransport transport;
};

}  // namespace storage::kvxclient
