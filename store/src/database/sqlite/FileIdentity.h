#pragma once

#include <chrono>
#include <ctime>
#include <optional>
#include <string>

#include "database/Connection.h"

struct sqlite3;
struct stat;

namespace storage::kvxstore::database {

/// Whether the file that a connection has open is still the one that its path names, and still has
/// what its log builds on. SQLite itself would go on writing into a deleted file, and would mix the
/// log of one file into another.
///
/// A stamp ties the log to the file: the first change in a new log takes the stamp to the next of
/// its chain. So the stamp in the file is that of the log, or the one before, unless one of both is
/// of another time or another store.
class FileIdentity {
public:
    /// REQUIRES: an absolute path without symbolic links.
    FileIdentity(sqlite3* database, std::string path);

    /// Throws a DatabaseError with FILE_CHANGED that says what happened to the file. Outside of a
    /// transaction this holds for the one that was committed last.
    void check();

    /// The same for a reader, which acknowledges nothing: it looks at the file once a millisecond,
    /// since a look costs a twentieth of a small read.
    void checkSometimes();

    /// Stamps the log if this transaction begins a new one.
    /// REQUIRES: a transaction for writing, after check().
    void stampLog();

    /// Whether the log may be brought into the file.
    bool isIntact() noexcept;

private:
    struct Header {
        std::uint32_t pages = 0;
        std::uint32_t pageSize = 0;
        std::uint32_t stamp = 0;
        bool hasLog = false;
    };
    /// How many frames the log has, how many of them are in the file and synced, and how many are
    /// or are being written there.
    struct LogState {
        std::uint32_t frames = 0;
        std::uint32_t framesInFile = 0;
        std::uint32_t framesUnderWay = 0;
    };
    struct Change {
        std::int64_t seconds = -1;
        std::int64_t nanoseconds = 0;
        std::int64_t size = 0;
        bool operator==(const Change&) const = default;
    };

    static Change changeOf(const struct stat& status);
    struct stat requireSameFile() const;
    /// Nothing for a file that is no database.
    std::optional<Header> readHeader() const;
    std::optional<LogState> readLogState() const;
    /// The stamp as the log has it.
    std::optional<std::uint32_t> currentStamp() const;
    /// What is wrong with the content of the file, empty for nothing; no value while a checkpoint
    /// leaves it open.
    std::optional<std::string> findFault(const Change& change) const;

    sqlite3* database_;
    std::string path_;
    std::uint64_t device_ = 0;
    std::uint64_t inode_ = 0;
    /// The file's latest change that was found right.
    Change seen_;
    bool mayBeNewLog_ = false;
    std::chrono::steady_clock::time_point nextLook_;
    /// Pages of the other content may be cached, so that it stays.
    std::string fault_;
};

}  // namespace storage::kvxstore::database
