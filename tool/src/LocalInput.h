#pragma once

#include <chrono>
#include <filesystem>
#include <optional>

#include "storage/kvxclient/FileTransfer.h"

namespace storage::kvxtool {

/// A local file, or standard input, open for reading.
class LocalInput {
public:
    /// Opens a file of any kind but a folder. Throws when it cannot.
    explicit LocalInput(const std::filesystem::path& path);
    static LocalInput standardInput() { return LocalInput(0); }
    ~LocalInput();

    LocalInput(const LocalInput&) = delete;
    LocalInput& operator=(const LocalInput&) = delete;

    /// The size in bytes; 0 for what has none, as a pipe.
    unsigned long size() const { return size_; }
    /// When it was last modified; empty for what is no regular file.
    std::optional<std::chrono::system_clock::time_point> modified() const { return modified_; }

    /// Appends all of it to the request. Throws when reading fails.
    void readInto(kvxclient::FileCreateRequest& request);

private:
    explicit LocalInput(int file);

    int file_;
    unsigned long size_ = 0;
    std::optional<std::chrono::system_clock::time_point> modified_;
};

}  // namespace storage::kvxtool
