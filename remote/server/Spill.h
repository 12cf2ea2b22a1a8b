#pragma once

/// @file
/// The way of a download from the transport's stream to a connection.

#include <cstdint>
#include <deque>
#include <functional>
#include <iostream>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "Channel.h"

namespace storage::kvxserver {

/// Takes bytes as fast as they are written and gives them as fast as they are read: 4 MiB wait in
/// memory, more in a temporary file without a name.
class Spill : public std::enable_shared_from_this<Spill> {
public:
    static constexpr std::size_t inMemory = 4UL << 20U;

    /// Gives `length` bytes from `start` on. Calls `begun` once: when the first of them is there,
    /// or with `awaitsEnd` only when the writer is done.
    Spill(std::uint64_t start, std::uint64_t length, bool awaitsEnd, std::function<void()> begun)
        : skip_(start), wanted_(length), awaitsEnd_(awaitsEnd), begun_(std::move(begun)) {}
    ~Spill();

    /// A stream that writes into it.
    std::unique_ptr<std::iostream> stream();
    /// What comes out. REQUIRES: called once.
    std::unique_ptr<Source> source();

    /// False when nobody reads any more or the disk is full.
    bool write(const char* data, std::size_t size);
    /// All is written, or it failed with this value for the trailer.
    void finish(std::optional<std::string> failure);
    /// Nobody reads any more.
    void abandon();
    /// What finish() was told.
    std::optional<std::string> failure() const;
    /// How many bytes it gives, of those that came so far.
    std::uint64_t kept() const;
    /// How many bytes came so far.
    std::uint64_t total() const;

private:
    friend class SpillSource;

    void next(Source::Ready ready);
    bool append(const char* data, std::size_t size);
    /// Takes out the next block, if there is something to tell.
    bool takeBlock(std::optional<std::string_view>& block);
    void wake();

    mutable std::mutex mutex_;
    std::uint64_t skip_;
    std::uint64_t wanted_;
    bool awaitsEnd_;
    std::function<void()> begun_;
    std::deque<std::string> blocks_;
    std::size_t bytes_ = 0;
    std::string current_;
    /// The temporary file holds what came after the blocks.
    int file_ = -1;
    std::uint64_t fileWritten_ = 0;
    std::uint64_t fileRead_ = 0;
    Source::Ready ready_;
    std::uint64_t kept_ = 0;
    std::uint64_t total_ = 0;
    bool finished_ = false;
    bool abandoned_ = false;
    std::optional<std::string> failure_;
};

}  // namespace storage::kvxserver
