#include "client/Completions.h"

#include <utility>

namespace storage::kvxremote {

bool& onCompletionThread() {
    thread_local bool flag = false;
    return flag;
}

Completions::Completions() {
    for (std::thread& thread : threads_) {
        thread = std::thread([this] { work(); });
    }
}

Completions::~Completions() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        changed_.notify_all();
    }
    for (std::thread& thread : threads_) {
        thread.join();
    }
}

void Completions::post(std::unique_ptr<Task> task) {
    {
        const std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
    }
    changed_.notify_one();
}

void Completions::work() {
    onCompletionThread() = true;
    while (auto task = next()) {
        task->run();
    }
}

std::unique_ptr<Task> Completions::next() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return stopping_ || !tasks_.empty(); });
    if (tasks_.empty()) {
        return nullptr;
    }
    auto first = std::move(tasks_.front());
    tasks_.pop_front();
    return first;
}

}  // namespace storage::kvxremote
