#include "Entry.h"

#include <utility>

namespace storage::kvxserver {

Entry::Entry() {
    for (std::thread& thread : threads_) {
        thread = std::thread([this] { run(); });
    }
}

Entry::~Entry() { stop(); }

void Entry::add(const std::string& user, std::size_t size, std::function<void()> call) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Turn& turn = *ofUser_.try_emplace(user).first;
    turn.second.push_back({size, std::move(call)});
    if (turn.second.size() == 1) {
        turns_.push_back(&turn);
    }
    changed_.notify_one();
}

void Entry::left(std::size_t size) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool waited = !turns_.empty() && !hasRoom();
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

bool Entry::hasRoom() const {
    const std::size_t next = turns_.front()->second.front().size;
    return stops_ || (callsInside_ < calls && (bytesInside_ == 0 || bytesInside_ + next <= bytes));
}

void Entry::run() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return turns_.empty() ? stops_ : hasRoom(); });
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
        ++callsInside_;
        bytesInside_ += next.size;
        lock.unlock();
        next.call();
        next.call = nullptr;
        lock.lock();
    }
}

}  // namespace storage::kvxserver
