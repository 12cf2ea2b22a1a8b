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
        budget_->giveBack(user_, amount_ - amount, false);
        amount_ = amount;
    }
}

void Budget::take(const std::string& user, std::size_t amount, Taken taken, bool urgent) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        (urgent && amount > 0 ? urgent_ : waiting_)
            .push_back({user, std::min(amount, total_), std::move(taken)});
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

void Budget::giveBack(const std::string& user, std::size_t amount, bool wasUrgent) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        inUse_ -= amount;
        if (wasUrgent) {
            urgentOf_.erase(user);
        }
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
        for (auto next = urgent_.begin(); next != urgent_.end();) {
            if (!isOpen_ && urgentOf_.contains(next->user)) {
                ++next;
                continue;
            }
            urgentOf_.insert(next->user);
            served.push_back(give(*next, true));
            next = urgent_.erase(next);
        }
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
            served.push_back(give(*next, false));
            next = waiting_.erase(next);
        }
    }
    for (auto& [taken, share] : served) {
        taken(std::move(share));
    }
}

std::pair<Budget::Taken, std::shared_ptr<Budget::Share>> Budget::give(Waiting& waiting,
                                                                      bool urgent) {
    if (waiting.amount > 0) {
        inUse_ += waiting.amount;
        inUseBy_[waiting.user] += waiting.amount;
    }
    auto share = std::make_shared<Share>(waiting.amount > 0 ? shared_from_this() : nullptr,
                                         waiting.user, waiting.amount, urgent);
    return {std::move(waiting.taken), std::move(share)};
}

}  // namespace storage::kvxserver
