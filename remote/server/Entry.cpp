#include "Entry.h"

#include <utility>

#include "Network.h"

namespace storage::kvxserver {

Entry::Entry(unsigned networkThreads) : direct_(networkThreads - 1) {
    for (std::thread& thread : threads_) {
        thread = std::thread([this] { run(); });
    }
}

Entry::~Entry() { stop(); }

void Entry::add(const std::string& user, std::size_t size, std::function<void()> call) {
    std::unique_lock<std::mutex> lock(mutex_);
    if (stops_) {  // There may be no thread any more.
        Waiting now{size, std::move(call)};
        return make(lock, now);
    }
    if (direct_ > 0 && turns_.empty() && hasRoom(size) && Network::isOnThread()) {
        --direct_;
        Waiting now{size, std::move(call)};
        make(lock, now);
        ++direct_;
        return;
    }
    Turn& turn = *ofUser_.try_emplace(user).first;
    turn.second.push_back({size, std::move(call)});
    if (turn.second.size() == 1) {
        turns_.push_back(&turn);
    }
    lock.unlock();  // A woken thread would wait for it.
    changed_.notify_one();
}

void Entry::left(std::size_t size) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool waited = !turns_.empty() && !hasRoom(turns_.front()->second.front().size);
    --callsInside_;
    bytesInside_ -= size;
    if (waited) {
        changed_.notify_all();
    }
    if (callsInside_ == 0 && turns_.empty()) {
        emptied_.notify_all();
    }
}

bool Entry::waitUntilEmpty(std::chrono::milliseconds atMost) {
    std::unique_lock<std::mutex> lock(mutex_);
    return emptied_.wait_for(lock, atMost, [this] { return callsInside_ == 0 && turns_.empty(); });
}

void Entry::stop() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stops_ = true;
        changed_.notify_all();
    }
    for (std::thread& thread : threads_) {
        if (thread.joinable()) {
            thread.join();
        }
    }
}

std::size_t Entry::inside() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return callsInside_;
}

bool Entry::hasRoom(std::size_t next) const {
    return stops_ || (callsInside_ < calls && (bytesInside_ == 0 || bytesInside_ + next <= bytes));
}

void Entry::make(std::unique_lock<std::mutex>& lock, Waiting& waiting) {
    ++callsInside_;
    bytesInside_ += waiting.size;
    lock.unlock();
    waiting.call();
    waiting.call = nullptr;
    lock.lock();
}

void Entry::run() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] {
            return turns_.empty() ? stops_ : hasRoom(turns_.front()->second.front().size);
        });
        if (turns_.empty()) {
            return;
        }
        Turn& turn = *turns_.front();
        turns_.pop_front();
        Waiting next = std::move(turn.second.front());
        turn.second.pop_front();
        if (turn.second.empty()) {
            ofUser_.erase(ofUser_.find(turn.first));
        } else {
            turns_.push_back(&turn);
        }
        make(lock, next);
    }
}

}  // namespace storage::kvxserver
