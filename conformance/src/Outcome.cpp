#include "Outcome.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace storage::kvxconformance {

int Pending::completions() const {
    const std::lock_guard lock(mutex_);
    return completions_;
}

void Pending::abandon() {
    const std::lock_guard lock(mutex_);
    abandoned_ = true;
    changed_.notify_all();
}

void Pending::await() const {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, patience_, [&] { return completions_ > 0 || abandoned_; });
    if (completions_ == 0) {
        throw std::runtime_error(abandoned_ ? "the handler of a call was dropped"
                                            : "a call did not complete within " +
                                                  std::to_string(patience_.count()) + " ms");
    }
}

std::size_t Ledger::violations() const {
    const std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(std::count_if(
        calls_.begin(), calls_.end(), [](const auto& call) { return call->completions() != 1; }));
}

}  // namespace storage::kvxconformance
