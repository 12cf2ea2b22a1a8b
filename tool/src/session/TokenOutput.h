#pragma once

#include <string>

namespace storage::kvxtool {

/// A new file for a token, readable for its owner only.
class TokenOutput {
public:
    /// Throws Failure when the file exists already or cannot be created.
    explicit TokenOutput(const std::string& path);
    /// Removes a file to which nothing was written.
    ~TokenOutput();

    TokenOutput(const TokenOutput&) = delete;
    TokenOutput& operator=(const TokenOutput&) = delete;

    void write(const std::string& token);

private:
    std::string path_;
    int file_;
    bool written_ = false;
};

}  // namespace storage::kvxtool
