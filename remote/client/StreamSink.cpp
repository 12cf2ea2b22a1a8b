#include "client/StreamSink.h"

#include <algorithm>
#include <utility>

namespace storage::kvxremote {

namespace {

constexpr std::size_t blockSize = 256UL << 10U;
constexpr std::size_t mostBlocks = 2;

}  // namespace

/// A turn of a sink at a completion thread. Others take theirs between two of them.
class StreamSink::Step final : public Task {
public:
    explicit Step(std::shared_ptr<StreamSink> sink) : sink_(std::move(sink)) {}
    void run() noexcept override { sink_->step(); }

private:
    const std::shared_ptr<StreamSink> sink_;
};

bool StreamSink::take(std::string_view bytes) {
    if (!hasRoom()) {
        return false;
    }
    const std::uint64_t again = std::min<std::uint64_t>(skipped_, bytes.size());
    skipped_ -= again;
    bytes.remove_prefix(again);
    taken_ += bytes.size();
    if (current_.empty()) {
        current_.reserve(blockSize);
    }
    current_ += bytes;
    if (current_.size() >= blockSize) {
        const std::lock_guard lock(mutex_);
        blocks_.push_back(std::exchange(current_, {}));
        post();
    }
    return true;
}

bool StreamSink::hasRoom() {
    const std::lock_guard lock(mutex_);
    return blocks_.size() < mostBlocks || !failure_.empty();
}

void StreamSink::end(std::unique_ptr<Task> task, bool complete) {
    const std::lock_guard lock(mutex_);
    if (!complete) {
        blocks_.clear();
    } else if (!current_.empty()) {
        blocks_.push_back(std::exchange(current_, {}));
    }
    last_ = std::move(task);
    post();
}

std::string StreamSink::failure() const {
    const std::lock_guard lock(mutex_);
    return failure_;
}

/// REQUIRES: the mutex is held.
void StreamSink::post() {
    if (!std::exchange(busy_, true)) {
        completions_.post(std::make_unique<Step>(shared_from_this()));
    }
}

void StreamSink::step() {
    std::string block;
    std::unique_ptr<Task> last;
    {
        const std::lock_guard lock(mutex_);
        if (!blocks_.empty()) {
            block = std::move(blocks_.front());
        } else {
            last = std::move(last_);
        }
    }
    if (last) {
        last->run();
        return;
    }
    if (!block.empty()) {
        write(block);
    }
    {
        const std::lock_guard lock(mutex_);
        busy_ = false;
        if (!blocks_.empty() && !block.empty()) {
            blocks_.pop_front();
        }
        if (!blocks_.empty() || last_) {
            post();
        }
    }
    resume_();
}

void StreamSink::write(std::string_view block) {
    if (!failure().empty()) {
        return;
    }
    const char* reason = nullptr;
    try {
        if (!stream_ && factory_) {
            stream_ = factory_();
        }
        if (!stream_) {
            reason = "the download has no stream to go into";
        } else if (!stream_->write(block.data(), static_cast<std::streamsize>(block.size()))) {
            reason = "the stream did not take all of the download";
        }
    } catch (...) {
        reason = "the stream did not take all of the download";
    }
    if (reason != nullptr) {
        const std::lock_guard lock(mutex_);
        failure_ = reason;
    }
}

std::string StreamSink::close(bool complete) {
    if (complete) {
        write({});  // An empty download has a stream as well.
        try {
            if (failure().empty() && !stream_->flush()) {
                failure_ = "the stream did not take all of the download";
            }
        } catch (...) {
            failure_ = "the stream did not take all of the download";
        }
    }
    stream_.reset();
    factory_ = nullptr;
    return failure();
}

}  // namespace storage::kvxremote
