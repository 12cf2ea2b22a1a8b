#pragma once

#include <cstdint>
#include <optional>
#include <string>

struct sqlite3;

namespace storage::kvxstore::database {

/// The file of a store that may not be written, attached to a database in memory. The memory has
/// the tables that even reading users change, sessions among them, and SQL that does not say which
/// database it means finds those first.
class ReadOnlyFile {
public:
    /// What the connection calls the file's database.
    static constexpr const char* schema = "store";

    ReadOnlyFile(sqlite3* database, std::string path);

    /// Attaches the file, or attaches it anew when it has changed. Throws a DatabaseError.
    /// REQUIRES: no transaction.
    void attach();

    /// Fills the tables in memory from the file where it has changed; returns whether it has.
    /// REQUIRES: a transaction that has its snapshot.
    bool fillMemory();

    /// Makes the next fillMemory() fill, after the last one was undone.
    void forgetFill() { filled_.reset(); }

    /// Throws a DatabaseError if the file changed since attach() though nothing guards it.
    /// REQUIRES: no transaction.
    void requireUnchanged();

private:
    struct State {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        /// With a log the file's changes are SQLite's business.
        bool hasLog = false;
        std::int64_t size = 0;
        std::int64_t seconds = 0;
        std::int64_t nanoseconds = 0;
        bool operator==(const State&) const = default;
    };

    /// Returns false when it failed, but may do on the next try.
    bool tryToAttach(bool isLastTry);
    State currentState(bool looksForLog = true) const;
    void run(const std::string& sql) const;
    void makeTables() const;
    unsigned version() const;

    sqlite3* database_;
    std::string path_;
    std::optional<State> attached_;
    /// The version of the file with which the memory was filled.
    std::optional<unsigned> filled_;
};

}  // namespace storage::kvxstore::database
