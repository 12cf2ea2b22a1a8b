#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace storage::kvxtool {

/// Where the user's token for one store is kept: a file in the user's state folder that only the
/// user may read.
class TokenFile {
public:
    explicit TokenFile(const std::string& storeUrl);

    /// The token; empty when none is kept.
    std::optional<std::string> read() const;

    /// Makes sure that write() has a folder to write to. Throws when it cannot.
    void prepare() const;
    /// Keeps the token in place of the one that is there. Throws when it cannot.
    void write(const std::string& token) const;

private:
    std::string storeUrl_;
    std::filesystem::path path_;
};

}  // namespace storage::kvxtool
