#pragma once

/// @file
/// Room that all users share, with a limit for each.

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>

namespace storage::kvxserver {

/// Gives room in order of arrival. Who is over the limit of one user waits without keeping other
/// users. More than the limit of a user is given when the user has nothing else. One urgent share
/// at a time of each user is given whatever is in use.
class Budget : public std::enable_shared_from_this<Budget> {
public:
    /// Gives back what was taken when it ends.
    class Share {
    public:
        Share() = default;
        Share(std::shared_ptr<Budget> budget, std::string user, std::size_t amount, bool urgent)
            : budget_(std::move(budget)),
              user_(std::move(user)),
              amount_(amount),
              urgent_(urgent) {}
        Share(Share&& other) noexcept { *this = std::move(other); }
        Share& operator=(Share&& other) noexcept {
            std::swap(budget_, other.budget_);
            std::swap(user_, other.user_);
            std::swap(amount_, other.amount_);
            std::swap(urgent_, other.urgent_);
            return *this;
        }
        ~Share() {
            if (budget_) {
                budget_->giveBack(user_, amount_, urgent_);
            }
        }

        /// Makes it as large as what it was taken for turned out to be, without waiting.
        void resize(std::size_t amount);

    private:
        std::shared_ptr<Budget> budget_;
        std::string user_;
        std::size_t amount_ = 0;
        bool urgent_ = false;
    };
    using Taken = std::function<void(std::shared_ptr<Share>)>;

    Budget(std::size_t total, std::size_t ofUser) : total_(total), ofUser_(ofUser) {}

    /// Calls `taken` when there is room: at once, or on the thread that gives room back. Urgent is
    /// what those wait for who have the room.
    void take(const std::string& user, std::size_t amount, Taken taken, bool urgent = false);
    /// Gives room to all that wait and to all that come, whatever is in use.
    void open();
    std::size_t inUse() const;

private:
    struct Waiting {
        std::string user;
        std::size_t amount;
        Taken taken;
    };

    void giveBack(const std::string& user, std::size_t amount, bool wasUrgent);
    bool fits(const std::string& user, std::size_t amount) const;
    void serve();
    std::pair<Taken, std::shared_ptr<Share>> give(Waiting& waiting, bool urgent);

    const std::size_t total_;
    const std::size_t ofUser_;
    mutable std::mutex mutex_;
    bool isOpen_ = false;
    std::size_t inUse_ = 0;
    std::map<std::string, std::size_t> inUseBy_;
    /// Users with an urgent share.
    std::set<std::string> urgentOf_;
    std::list<Waiting> waiting_;
    std::list<Waiting> urgent_;
};

}  // namespace storage::kvxserver
