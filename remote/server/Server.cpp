#include "storage/kvxserver/Server.h"

#include <algorithm>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "Address.h"
#include "Calls.h"
#include "Network.h"

namespace storage::kvxserver {

namespace {

/// Serves /metrics and /healthz.
class MetricsService final : public Service {
public:
    explicit MetricsService(std::shared_ptr<Shared> shared) : shared_(std::move(shared)) {}

    void begin(std::shared_ptr<Channel> channel, Head head) override {
        Answer answer;
        answer.headers = {{"Content-Type", "text/plain; version=0.0.4"}};
        if (head.target == "/metrics") {
            answer.text = shared_->metrics.text();
        } else if (head.target == "/healthz") {
            answer.status = shared_->draining ? 503 : 200;
            answer.text = shared_->draining ? "ending\n" : "ok\n";
        } else {
            answer.status = 404;
        }
        channel->answer(std::move(answer), nullptr);
    }

private:
    const std::shared_ptr<Shared> shared_;
};

std::size_t secondsOf(std::chrono::seconds time) { return static_cast<std::size_t>(time.count()); }

void checkOptions(const ServerOptions& options) {
    const auto demand = [](bool holds, const std::string& sentence) {
        if (!holds) {
            throw std::invalid_argument(sentence);
        }
    };
    demand(options.certificateFile.empty() == options.keyFile.empty(),
           "a certificate needs its key, and a key its certificate");
    const bool encrypted = !options.certificateFile.empty();
    const Address address = parseAddress(options.listen);
    demand(!(encrypted && options.plain), "with a certificate it cannot be plain");
    demand(encrypted || options.plain || !address.path.empty(),
           "a certificate and its key are needed to serve " + options.listen);
    demand(address.local || encrypted,
           "without TLS only this machine is served, not " + options.listen);
    demand(options.clientCaFile.empty() || encrypted,
           "certificates of clients need a certificate of the server");
    for (const std::size_t limit :
         {options.connections, options.connectionsOfAddress, options.calls, options.callsOfUser,
          options.handlesOfSession, options.contentInHand, options.contentOfUser,
          options.headerSize, options.jsonSize, options.bodySize}) {
        demand(limit > 0, "no limit may be 0");
    }
}

}  // namespace

class Server::Impl {
public:
    Impl(ServerOptions options, Factory factory, Log log)
        : options_(std::move(options)),
          network_(options_),
          shared_(std::make_shared<Shared>(
              options_, std::move(factory), std::move(log),
              [this](std::chrono::milliseconds delay, std::function<void()> function) {
                  network_.later(delay, std::move(function));
              })),
          calls_(std::make_shared<Calls>(shared_)) {
        showNumbers();
        port_ = network_.listen(calls_);
        if (!options_.metrics.empty()) {
            metricsPort_ = network_.listenForMetrics(std::make_shared<MetricsService>(shared_));
        }
        calls_->watch();
        network_.run();
    }

    ~Impl() { stop(std::chrono::seconds(0)); }

    void stop(std::chrono::seconds drain) {
        const std::lock_guard<std::mutex> lock(stopping_);
        if (std::exchange(stopped_, true)) {
            return;
        }
        shared_->draining = true;
        network_.drain();
        calls_->drain(drain);
        calls_->end();
        network_.waitForConnections(std::min(std::chrono::seconds(1), drain));
        network_.stop();
    }

    const ServerOptions options_;
    Network network_;
    const std::shared_ptr<Shared> shared_;
    const std::shared_ptr<Calls> calls_;
    std::uint16_t port_ = 0;
    std::uint16_t metricsPort_ = 0;

private:
    void showNumbers() {
        Metrics& metrics = shared_->metrics;
        const auto limit = [&](const std::string& name, const std::string& help,
                               std::size_t value) {
            metrics.show("kvxd_" + name + "_limit", "Limit: " + help,
                         [value] { return static_cast<double>(value); });
        };
        const auto number = [&](const std::string& name, const std::string& help, auto get,
                                bool isTotal = false) {
            metrics.show(
                "kvxd_" + name, help, [get] { return static_cast<double>(get()); }, isTotal);
        };
        Shared* shared = shared_.get();  // Owns the metrics.
        number("connections", "Open connections", [this] { return network_.counts().open; });
        number(
            "connections_refused_total", "Connections refused by a limit",
            [this] { return network_.counts().refused; }, true);
        number(
            "connections_timed_out_total", "Connections closed by a limit of time",
            [this] { return network_.counts().timedOut; }, true);
        number(
            "heads_refused_total", "Requests whose head was too long or malformed",
            [this] { return network_.counts().headsRefused; }, true);
        number(
            "logins_delayed_total", "Logins delayed after failed ones",
            [shared] { return shared->logins.delayed(); }, true);
        number(
            "handles_aborted_total", "File handles aborted because nobody used them",
            [shared] { return shared->handles.aborted(); }, true);
        number("calls_running", "Calls under way", [shared] { return shared->running.count(); });
        number("backend_calls", "Calls at the transport behind",
               [shared] { return shared->entry.inside(); });
        number("content_bytes", "Content in hand", [shared] { return shared->content->inUse(); });
        number("heavy_calls", "Large listings under way",
               [shared] { return shared->heavy->inUse(); });
        number("handles", "Open file handles", [shared] { return shared->handles.count(); });
        number("sessions", "Sessions with a client", [shared] { return shared->sessions.count(); });
        number("outcomes", "Outcomes kept for repeated calls",
               [shared] { return shared->outcomes.counts().kept; });
        number(
            "outcomes_replayed_total", "Repeated calls that got the first outcome",
            [shared] { return shared->outcomes.counts().replayed; }, true);
        number(
            "outcomes_in_doubt_total", "Repeated calls refused in doubt",
            [shared] { return shared->outcomes.counts().inDoubt; }, true);
        limit("connections", "open connections", options_.connections);
        limit("connections_address", "open connections of one address",
              options_.connectionsOfAddress);
        limit("calls_running", "calls under way", options_.calls);
        limit("calls_user", "calls of one user", options_.callsOfUser);
        limit("handles_session", "open handles of a session", options_.handlesOfSession);
        limit("content_bytes", "content in hand", options_.contentInHand);
        limit("content_user_bytes", "content in hand of one user", options_.contentOfUser);
        limit("header_bytes", "a request's head", options_.headerSize);
        limit("json_bytes", "a JSON body", options_.jsonSize);
        limit("body_bytes", "content of one request", options_.bodySize);
        limit("sessions", "sessions with a client", Sessions::mostClients);
        limit("heavy_calls", "large listings under way", heavyCalls);
        limit("heavy_calls_user", "large listings of one user", heavyCallsOfUser);
        limit("failed_logins_address", "failed logins of one address in a minute",
              options_.failedLogins);
        limit("head_seconds", "time for a request's head", secondsOf(options_.headTime));
        limit("progress_seconds", "time without progress", secondsOf(options_.progressTime));
        limit("idle_seconds", "time between requests", secondsOf(options_.idleTime));
        limit("handle_idle_seconds", "time without use of a handle",
              secondsOf(options_.handleIdle));
    }

    std::mutex stopping_;
    bool stopped_ = false;
};

Server::Server(ServerOptions options, Factory factory, Log log) {
    checkOptions(options);
    impl_ = std::make_unique<Impl>(std::move(options), std::move(factory), std::move(log));
}

Server::~Server() = default;

std::uint16_t Server::port() const { return impl_->port_; }

std::uint16_t Server::metricsPort() const { return impl_->metricsPort_; }

void Server::reloadCertificate() { impl_->network_.reloadCertificate(); }

void Server::stop() { impl_->stop(impl_->options_.drain); }

}  // namespace storage::kvxserver
