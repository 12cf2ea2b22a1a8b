#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

namespace storage::kvxtool {

/// A local file, or standard input, open for reading. What fails is thrown as a Failure with its
/// name.
class LocalInput {
public:
    /// Opens a file of any kind but a folder.
    explicit LocalInput(const std::filesystem::path& path);
    static LocalInput standardInput() { return {0, "-"}; }
    ~LocalInput();

    LocalInput(const LocalInput&) = delete;
    LocalInput& operator=(const LocalInput&) = delete;

    const std::string& name() const { return name_; }
    /// The size in bytes; 0 for a pipe or another file without a size.
    unsigned long size() const { return size_; }
    /// When it was last modified; empty unless it is a regular file.
    std::optional<std::chrono::system_clock::time_point> modified() const { return modified_; }

    /// Whether a regular file is no longer what it was when it was opened.
    bool hasChanged() const;

    /// Reads the next `size` bytes, and only at the end fewer; returns how many. A file that grows
    /// ends where it did when it was opened.
    std::size_t read(char* data, std::size_t size);

private:
    LocalInput(int file, std::string name);

    int file_;
    std::string name_;
    unsigned long size_ = 0;
    unsigned long position_ = 0;
    std::optional<std::chrono::system_clock::time_point> modified_;
    std::chrono::system_clock::time_point changed_;  ///< The time of its last change of any kind.
};

}  // namespace storage::kvxtool
