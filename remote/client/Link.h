#pragma once

#include <curl/curl.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "client/Call.h"
#include "client/Completions.h"
#include "client/Settings.h"
#include "client/Transfer.h"

namespace storage::kvxremote {

/// The connections of one or several clients: a thread that speaks with the servers, and those that
/// complete calls.
class Link {
public:
    /// The last reference to go ends the link: on a thread that completes calls, which cannot wait
    /// for itself, soon after.
    static std::shared_ptr<Link> start(Settings settings);

    /// Sends a call, or completes one that has failed already. Waits for room, but not on a thread
    /// that completes calls.
    void submit(std::unique_ptr<Call> call);
    /// Completes the calls that were cancelled, soon.
    void giveUpCancelled();

    /// Whether the server takes so much content, as far as is known.
    bool takes(std::size_t content) const { return content <= mostContent_; }
    /// Goes on with downloads whose streams have room again. Called on any thread.
    void resume() { curl_multi_wakeup(multi_.get()); }

    Orders& orders() { return orders_; }
    Completions& completions() { return completions_; }

private:
    using Clock = Call::Clock;

    struct MultiCleanup {
        void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
    };

    struct ShareCleanup {
        void operator()(CURLSH* share) const { curl_share_cleanup(share); }
    };

    /// What is known of a server.
    struct Server {
        std::string address;
        bool known = false;
        std::string boot;
    };

    /// A transfer under way, of a call or, without one, the question for a server's limits.
    struct Active {
        std::unique_ptr<Transfer> transfer;
        std::unique_ptr<Call> call;
        std::size_t server = 0;
    };

    explicit Link(Settings settings);
    ~Link();

    // All below run on the network thread.
    void work();
    /// Takes what other threads left; false at the end.
    bool takeOrders();
    /// Completes the calls that were cancelled, and those behind one that was lost.
    void giveUpLost();
    void giveUpAll();
    void startDue();
    void startCalls();
    bool mayStart(const Call& call);
    void startHello();
    void start(std::unique_ptr<Call> call, Exchange& exchange);
    bool collect();
    void finish(Active active, CURLcode result);
    void finishHello(std::size_t server);
    void learnHello(Server& server);
    void noteBoot(std::size_t server, const Exchange& exchange);
    void leaveServer(std::size_t server, bool reached);
    void conclude(std::unique_ptr<Call> call, const Verdict& verdict, bool reached);
    void complete(std::unique_ptr<Call> call);
    void endStalled();
    void sleep();

    const Settings settings_;
    Orders orders_;
    std::atomic<std::size_t> mostContent_{std::numeric_limits<std::size_t>::max()};
    // Before the transfers, which leave them.
    std::unique_ptr<CURLSH, ShareCleanup> share_;
    std::unique_ptr<CURLM, MultiCleanup> multi_;

    // Shared with the threads that call.
    std::mutex mutex_;
    std::condition_variable drained_;
    std::vector<std::unique_ptr<Call>> inbox_;
    std::size_t outstanding_ = 0;
    bool sleeping_ = false;
    bool cancelling_ = false;
    bool stopping_ = false;

    // The network thread's own.
    std::vector<Server> servers_;
    std::size_t current_ = 0;
    bool asking_ = false;
    Exchange hello_;
    std::deque<std::unique_ptr<Call>> waiting_;
    std::multimap<Clock::time_point, std::unique_ptr<Call>> pausing_;
    std::vector<Active> active_;
    /// Whether a handle broke, whose later calls wait in vain.
    bool broke_ = false;
    std::vector<std::unique_ptr<Transfer>> idle_;
    Clock::time_point lastWatch_ = Clock::now();

    // The completions must outlive the network thread.
    Completions completions_;
    std::thread thread_;
};

}  // namespace storage::kvxremote
