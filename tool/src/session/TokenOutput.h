#pragma once

#include <string>

namespace storage::kvxtool {

/// A new file, readable for its owner only, to which a token goes.
class TokenOutput {
public:
    /// Throws Failure when there is such a file already, or there cannot be one.
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
