#pragma once

/// @file
/// The way into the transport that is served.

#include <array>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace storage::kvxserver {

/// Makes calls on two threads of its own, since a transport may let its callers wait. Takes users
/// in turns, and lets in only as much as a transport takes without waiting. A thread of the network
/// makes its call itself if none waits, which saves waking another one, as long as one more thread
/// of the network is free.
class Entry {
public:
    static constexpr std::size_t calls = 900;
    static constexpr std::size_t bytes = 48UL << 20U;

    /// `networkThreads` is how many threads the network has.
    explicit Entry(unsigned networkThreads);
    /// Ends as stop() does.
    ~Entry();
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

    /// Runs the call when it is the user's turn. It counts as inside, with its bytes of content,
    /// until left() is called.
    void add(const std::string& user, std::size_t size, std::function<void()> call);
    /// A call that was run is over.
    void left(std::size_t size);
    /// Waits until nothing is inside and nothing waits, at most so long.
    bool waitUntilEmpty(std::chrono::milliseconds atMost);
    /// Runs what waits, whatever is inside, and ends the threads.
    void stop();
    /// How many calls are inside.
    std::size_t inside() const;

private:
    struct Waiting {
        std::size_t size;
        std::function<void()> call;
    };
    using Turn = std::pair<const std::string, std::deque<Waiting>>;

    void run();
    bool hasRoom(std::size_t next) const;
    /// Makes the call with the lock open meanwhile.
    void make(std::unique_lock<std::mutex>& lock, Waiting& waiting);

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::condition_variable emptied_;
    std::map<std::string, std::deque<Waiting>> ofUser_;
    /// Users with calls that wait, the next one first.
    std::list<Turn*> turns_;
    std::size_t callsInside_ = 0;
    std::size_t bytesInside_ = 0;
    /// How many more threads of the network may make a call.
    unsigned direct_;
    bool stops_ = false;
    std::array<std::thread, 2> threads_;
};

}  // namespace storage::kvxserver
