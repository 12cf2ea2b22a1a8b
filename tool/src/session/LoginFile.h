#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

namespace storage::kvxtool {

/// A token and the session that it opened.
struct Login {
    std::string token;
    std::string sessionId;
    /// When the session is to be renewed: well before it ends.
    std::chrono::system_clock::time_point renewal;
};

/// Where the user's login to one store is kept: a file in the user's state folder that only the
/// user may read.
class LoginFile {
public:
    explicit LoginFile(const std::string& storeUrl);

    /// What is kept; empty when there is nothing, or nothing that makes sense.
    std::optional<Login> read() const;

    /// Makes sure that write() has a folder to write to. Throws when it cannot.
    void prepare() const;
    /// Keeps the login in place of the one that is there. Throws when it cannot.
    void write(const Login& login) const;
    const std::filesystem::path& path() const { return path_; }
    /// Removes what is kept. Throws when it cannot.
    void remove() const { std::filesystem::remove(path_); }

private:
    std::string storeUrl_;
    std::filesystem::path path_;
};

}  // namespace storage::kvxtool
