#include "Budget.h"

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

namespace storage::kvxserver {

void Budget::Share::resize(std::size_t amount) {
    if (budget_ && amount > amount_) {
        const std::lock_guard<std::mutex> lock(budget_->mutex_);
        budget_->inUse_ += amount - amount_;
        budget_->inUseBy_[user_] += amount - amount_;
        amount_ = amount;
    } else if (budget_ && amount < amount_) {
        budget_->giveBack(user_, amount_ - amount);
        amount_ = amount;
    }
}

void Budget::take(const std::string& user, std::size_t amount, Taken taken) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        waiting_.push_back({user, std::min(amount, total_), std::move(taken)});
    }
    serve();
}

void Budget::open() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isOpen_ = true;
    }
    serve();
}

std::size_t Budget::inUse() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return inUse_;
}

void Budget::giveBack(const std::string& user, std::size_t amount) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        inUse_ -= amount;
        const auto found = inUseBy_.find(user);
        if (found != inUseBy_.end() && (found->second -= amount) == 0) {
            inUseBy_.erase(found);
        }
    }
    serve();
}

bool Budget::fits(const std::string& user, std::size_t amount) const {
    const auto found = inUseBy_.find(user);
    return found == inUseBy_.end() || found->second + amount <= ofUser_;
}

void Budget::serve() {
    std::vector<std::pair<Taken, std::shared_ptr<Share>>> served;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        std::set<std::string> late;
        for (auto next = waiting_.begin(); next != waiting_.end();) {
            if (!isOpen_ && (late.contains(next->user) || !fits(next->user, next->amount))) {
                late.insert(next->user);
                ++next;
                continue;
            }
            if (!isOpen_ && inUse_ > 0 && inUse_ + next->amount > total_) {
                break;
            }
            if (next->amount > 0) {
                inUse_ += next->amount;
                inUseBy_[next->user] += next->amount;
            }
            auto share = std::make_shared<Share>(next->amount > 0 ? shared_from_this() : nullptr,
                                                 next->user, next->amount);
            served.emplace_back(std::move(next->taken), std::move(share));
            next = waiting_.erase(next);
        }
    }
    for (auto& [taken, share] : served) {
        taken(std::move(share));
    }
}

}  // namespace storage::kvxserver
