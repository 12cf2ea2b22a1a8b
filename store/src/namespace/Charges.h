#pragma once

#include <initializer_list>
#include <string_view>
#include <vector>

#include "database/Connection.h"

namespace storage::kvxstore {

// A content that no version names any more may still be held by an open handle or a download
// location. Until they let it go, its bytes count in the bucket of the last version that named it:
// they are its charge.

/// A range of the labels of a file's versions.
struct Labels {
    std::int64_t first = 0;
    std::int64_t last = 0;
};

/// Removes versions of a file. Returns how many of their bytes stay charged to the bucket; the
/// caller takes all others off the bytes that the bucket uses. `kept` is a content that the file
/// gets again.
std::int64_t discardVersions(database::Connection& database, std::int64_t node, std::int64_t bucket,
                             const Labels& labels, std::int64_t kept = 0);

/// Takes the charge of a content that nothing holds any more off the bytes that its bucket uses.
void endCharge(database::Connection& database, std::int64_t content);

bool hasExpiredDownloads(database::Connection& database, std::int64_t now);

/// Deletes the download locations that have expired, and releases what only they held.
void deleteExpiredDownloads(database::Connection& database, std::int64_t now);

}  // namespace storage::kvxstore
