#include "Handles.h"

namespace storage::kvxserver {

bool Handles::reserve(const std::string& session) {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::size_t& count = ofSession_[session];
    if (count >= mostOfSession_) {
        return false;
    }
    ++count;
    return true;
}

void Handles::release(const std::string& session) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = ofSession_.find(session);
    if (found != ofSession_.end() && --found->second == 0) {
        ofSession_.erase(found);
    }
}

void Handles::opened(const Key& key, kvxclient::Resource resource,
                     std::shared_ptr<const SessionClient> client) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Handle& handle = handles_[key];
    handle.resource = std::move(resource);
    handle.client = std::move(client);
    handle.used = Clock::now();
}

void Handles::closed(const Key& key) {
    Handle ended;  // Ends with nothing locked.
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = handles_.find(key);
        if (found == handles_.end()) {
            return;
        }
        ended = std::move(found->second);
        handles_.erase(found);
    }
    release(key.first);
    for (const auto& turns : ended.stages) {
        for (const auto& [number, pass] : turns.waiting) {
            pass(true);
        }
    }
}

void Handles::endSession(const std::string& session) {
    std::vector<Key> keys;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (auto next = handles_.lower_bound({session, ""});
             next != handles_.end() && next->first.first == session; ++next) {
            keys.push_back(next->first);
        }
    }
    for (const Key& key : keys) {
        closed(key);
    }
}

void Handles::arrived(const Key& key, std::uint64_t number) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = handles_.find(key);
    if (found != handles_.end()) {
        found->second.present.insert(number);
    }
}

void Handles::left(const Key& key, std::uint64_t number) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = handles_.find(key);
    if (found == handles_.end()) {
        return;
    }
    const auto place = found->second.present.find(number);
    if (place != found->second.present.end()) {
        found->second.present.erase(place);
    }
}

void Handles::use(const Key& key) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = handles_.find(key);
    if (found != handles_.end()) {
        found->second.used = Clock::now();
    }
}

void Handles::await(const Key& key, Stage stage, std::uint64_t number, Pass pass) {
    bool passes = true;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = handles_.find(key);
        if (found != handles_.end()) {
            Handle& handle = found->second;
            Turns& turns = handle.stages[stage];
            handle.used = Clock::now();
            passes = number <= turns.next;
            if (!passes && !handle.broken) {
                if (turns.waiting.empty()) {
                    turns.waitingSince = handle.used;
                }
                turns.waiting.emplace(number, std::move(pass));
                return;
            }
        }
    }
    pass(passes);
}

void Handles::done(const Key& key, Stage stage, std::uint64_t number) {
    std::vector<Pass> passing;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = handles_.find(key);
        if (found == handles_.end() || found->second.stages[stage].next != number) {
            return;
        }
        Turns& turns = found->second.stages[stage];
        ++turns.next;
        turns.waitingSince = Clock::now();
        const auto [first, last] = turns.waiting.equal_range(turns.next);
        for (auto next = first; next != last; ++next) {
            passing.push_back(std::move(next->second));
        }
        turns.waiting.erase(first, last);
    }
    for (const Pass& pass : passing) {
        pass(true);
    }
}

bool Handles::isPast(const Key& key, Stage stage, std::uint64_t number) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = handles_.find(key);
    return found != handles_.end() && number < found->second.stages[stage].next;
}

void Handles::giveUpWaiting() {
    std::vector<Pass> failing;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto now = Clock::now();
        const auto old = now - patience_;
        for (auto& [key, handle] : handles_) {
            for (Turns& turns : handle.stages) {
                if (handle.present.contains(turns.next)) {
                    turns.waitingSince = now;
                    continue;
                }
                if (turns.waiting.empty() || turns.waitingSince > old) {
                    continue;
                }
                handle.broken = true;
                for (auto& [number, pass] : turns.waiting) {
                    failing.push_back(std::move(pass));
                }
                turns.waiting.clear();
            }
        }
    }
    for (const Pass& pass : failing) {
        pass(false);
    }
}

std::vector<Handles::Unused> Handles::takeUnused(std::chrono::milliseconds idle) {
    std::vector<Unused> unused;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto old = Clock::now() - idle;
        for (const auto& [key, handle] : handles_) {
            if (handle.used <= old) {
                unused.push_back({key, handle.resource, handle.client});
            }
        }
        aborted_ += unused.size();
    }
    for (const Unused& handle : unused) {
        closed(handle.key);
    }
    return unused;
}

std::uint64_t Handles::aborted() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return aborted_;
}

std::size_t Handles::count() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return handles_.size();
}

}  // namespace storage::kvxserver
