#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "database/Connection.h"

struct sqlite3;

namespace storage::kvxstore::database {

/// The room that a store's file and its log take on the disk, as one connection sees to it.
///
/// A commit only writes to the log. If the file could not grow later, the log could never be
/// emptied, and even deleting would need more disk. So the file gets its room before the commit,
/// and what adds something leaves some room for what deletes.
class DiskRoom {
public:
    /// REQUIRES: the database has a write-ahead log. The connection and its handle outlive the
    /// object.
    DiskRoom(Connection& connection, sqlite3* handle);

    /// Takes note of a transaction that may write.
    void begin();

    /// Makes sure that the transaction can add so many bytes more and leave room for deleting.
    /// Throws a DatabaseError with FULL when it cannot.
    void need(std::size_t bytes);

    /// Keeps room for deleting, as far as the disk has any.
    /// REQUIRES: the transaction of begin(), in which nothing has happened.
    void keepSpare();

    /// Gives the file the room that it has after the commit. Throws a DatabaseError with FULL when
    /// the disk has not that room.
    /// REQUIRES: the transaction of begin().
    void beforeCommit();

    /// Whether a checkpoint took the room that is kept in the file for deleting.
    bool lostSpare() const { return adds_ && fileSize() < leastSize_; }

    /// Brings what the log has into the file, and cuts both, unless the log has at most so many
    /// bytes and the file did not shrink. Returns whether it was done: other connections may
    /// prevent it. REQUIRES: no transaction.
    bool shortenLog(std::size_t bytes);

    /// Says that the file gets shorter with the next checkpoint.
    void shrinks() { shrinks_ = true; }

private:
    std::int64_t pages() const;
    std::int64_t fileSize() const;
    bool reserveLog(std::size_t bytes) const;
    bool growFile(std::int64_t from, std::int64_t to) const;

    Connection& connection_;
    sqlite3* handle_;
    std::string log_;
    std::int64_t pageSize_;
    std::int64_t pagesBefore_ = 0;
    /// What the file must have after the commit.
    std::int64_t leastSize_ = 0;
    /// Bytes that need() already asked the log for.
    std::size_t granted_ = 0;
    /// Whether this object made the file's size as it is.
    bool hasGrown_ = false;
    bool adds_ = false;
    bool shrinks_ = false;
};

}  // namespace storage::kvxstore::database
