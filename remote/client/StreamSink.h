#pragma once

#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "client/Completions.h"

namespace storage::kvxremote {

/// Brings a download to its caller's stream. The network thread gives bytes, the completion threads
/// write them, since a stream may block.
class StreamSink : public std::enable_shared_from_this<StreamSink> {
public:
    using Factory = std::function<std::unique_ptr<std::iostream>()>;

    /// `resume` is called on a completion thread when there is room again.
    StreamSink(Factory factory, Completions& completions, std::function<void()> resume)
        : factory_(std::move(factory)), completions_(completions), resume_(std::move(resume)) {}

    /// @name On the network thread
    /// @{
    /// Bytes that an answer brings again, and that are left out.
    void skip(std::uint64_t bytes) { skipped_ = bytes; }
    /// False when there is no room: the same bytes then come again later.
    bool take(std::string_view bytes);
    /// How many bytes were taken in all.
    std::uint64_t taken() const { return taken_; }
    /// Whether take() would not refuse, or the stream has failed.
    bool hasRoom();
    /// Runs the task when all blocks are written, or at once without them if the download failed.
    void end(std::unique_ptr<Task> task, bool complete);
    /// @}

    /// Why the stream took no more, empty if it did.
    std::string failure() const;

    /// Ends the stream, in the task. Returns why it did not take everything.
    std::string close(bool complete);

private:
    class Step;

    /// Writes a block or runs the last task, and posts itself again.
    void step();
    void post();
    void write(std::string_view block);

    Factory factory_;
    Completions& completions_;
    const std::function<void()> resume_;
    std::unique_ptr<std::iostream> stream_;

    std::uint64_t skipped_ = 0;
    std::uint64_t taken_ = 0;
    /// The block that is being filled.
    std::string current_;

    mutable std::mutex mutex_;
    std::deque<std::string> blocks_;
    bool busy_ = false;
    std::unique_ptr<Task> last_;
    std::string failure_;
};

}  // namespace storage::kvxremote
