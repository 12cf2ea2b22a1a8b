#pragma once

/// @file
/// A decorator that keeps what passes it.

#include <any>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "storage/kvxtesting/Printing.h"
#include "storage/kvxtransport/ClientDispatcher.h"
#include "storage/kvxtransport/FaultInjector.h"

namespace storage::kvxtesting {

/// What became of a recorded call.
enum class Outcome {
    PENDING,    ///< It has not ended yet.
    SUCCEEDED,  ///< With a response.
    FAILED,     ///< With an exception.
    DROPPED     ///< Its handler was destroyed uncalled.
};

/// A call as it was made and as it ended. The texts show no secrets and no content.
struct RecordedCall {
    std::string_view operation;          ///< Its name, as in the interface.
    std::string request;                 ///< As textOf() writes it; empty for ping.
    Outcome outcome = Outcome::PENDING;  ///< What became of it.
    std::string response;                ///< As textOf() writes it; empty without one.
    std::optional<kvxclient::KVXClientErrorCode> error;  ///< The code, if it failed with one.
};

/// The calls that passed one recorder or several. Any thread may call any member.
class Recording {
public:
    /// All calls in the order in which they were made.
    std::vector<RecordedCall> calls() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        std::vector<RecordedCall> calls;
        for (const Entry& entry : entries_) {
            calls.push_back(entry.call);
        }
        return calls;
    }
    /// The requests of an operation, in their order.
    template <class Operation>
    std::vector<typename Operation::Request> requests() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        std::vector<typename Operation::Request> requests;
        for (const Entry& entry : entries_) {
            if (const auto* request = std::any_cast<typename Operation::Request>(&entry.request);
                request != nullptr && entry.call.operation == Operation::name) {
                requests.push_back(*request);
            }
        }
        return requests;
    }

    /// A call begins. Returns its place. For recorders.
    template <class Operation>
    std::size_t begin(const typename Operation::Request& request) {
        const std::lock_guard<std::mutex> lock(mutex_);
        Entry& entry = entries_.emplace_back();
        entry.call.operation = Operation::name;
        entry.call.request = textOf(request);
        entry.request = request;
        return entries_.size() - 1;
    }
    /// The call at a place has ended. For recorders.
    void end(std::size_t place, Outcome outcome, std::string response,
             const std::exception_ptr& error) {
        const std::lock_guard<std::mutex> lock(mutex_);
        RecordedCall& call = entries_[place].call;
        call.outcome = outcome;
        call.response = std::move(response);
        try {
            if (error) {
                std::rethrow_exception(error);
            }
        } catch (const kvxclient::KVXClientException& exception) {
            call.error = exception.getErrorCode();
        } catch (...) {
            // It has no code.
        }
    }

private:
    struct Entry {
        RecordedCall call;
        std::any request;
    };

    mutable std::mutex mutex_;
    std::vector<Entry> entries_;
};

/// A dispatcher that passes all calls on to another one and records them.
template <class Dispatcher>
class Recorder {
public:
    /// Several recorders may share a recording.
    Recorder(Dispatcher inner, std::shared_ptr<Recording> recording)
        : recording_(std::move(recording)), inner_(std::move(inner)) {}

    /// Records the call and passes it on.
    template <class Operation>
    void call(const kvxtransport::Caller& caller, typename Operation::Request request,
              typename Operation::Handler handler) const {
        auto end = std::make_shared<End>(recording_, recording_->begin<Operation>(request));
        inner_.template call<Operation>(
            caller, std::move(request),
            [end = std::move(end), handler = std::move(handler)](
                typename Operation::Response response, std::exception_ptr error) {
                end->note(error ? Outcome::FAILED : Outcome::SUCCEEDED,
                          error ? std::string() : textOf(response), error);
                handler(std::move(response), std::move(error));
            });
    }
    /// As of the inner one.
    void cancelPendingCalls() const { inner_.cancelPendingCalls(); }
    /// As of the inner one.
    void waitForPendingCalls() const { inner_.waitForPendingCalls(); }

private:
    /// Notes an outcome once: at the latest when the last copy of the handler goes.
    class End {
    public:
        End(std::shared_ptr<Recording> recording, std::size_t place)
            : recording_(std::move(recording)), place_(place) {}
        ~End() { note(Outcome::DROPPED, {}, nullptr); }
        End(const End&) = delete;
        End& operator=(const End&) = delete;

        void note(Outcome outcome, std::string response, const std::exception_ptr& error) {
            if (const auto recording = std::exchange(recording_, nullptr)) {
                recording->end(place_, outcome, std::move(response), error);
            }
        }

    private:
        std::shared_ptr<Recording> recording_;
        std::size_t place_;
    };

    std::shared_ptr<Recording> recording_;
    Dispatcher inner_;
};

namespace detail {

/// A client over a dispatcher around `client`, logged in as it is.
template <class Dispatcher>
std::unique_ptr<kvxclient::KVXClient> around(const kvxclient::KVXClient& client,
                                             Dispatcher dispatcher) {
    auto outer = std::make_unique<kvxtransport::DispatchingClient<Dispatcher>>(
        client.getEndpoint(), std::move(dispatcher));
    outer->withSessionId(client.getSessionId());
    return outer;
}

}  // namespace detail

/// A client whose calls go to `client` and are recorded. It begins with the session of `client`,
/// which must not be used by others any more.
inline std::unique_ptr<kvxclient::KVXClient> recorded(std::shared_ptr<kvxclient::KVXClient> client,
                                                      std::shared_ptr<Recording> recording) {
    const auto& inner = *client;
    return detail::around(
        inner, Recorder(kvxtransport::ClientDispatcher(std::move(client)), std::move(recording)));
}

/// A client whose calls go to `client`, but for the faults that are planned. It begins with the
/// session of `client`, which must not be used by others any more.
inline std::unique_ptr<kvxclient::KVXClient> faulty(std::shared_ptr<kvxclient::KVXClient> client,
                                                    std::shared_ptr<kvxtransport::FaultPlan> plan) {
    const auto& inner = *client;
    return detail::around(
        inner, kvxtransport::FaultInjector(kvxtransport::ClientDispatcher(std::move(client)),
                                           std::move(plan)));
}

}  // namespace storage::kvxtesting
