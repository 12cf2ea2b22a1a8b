#pragma once

/// @file
/// The records of administration: users, buckets and counts.

#include <chrono>
#include <limits>
#include <optional>
#include <string>

namespace storage::kvxstore {

/// A user to create. Names of users and buckets follow the rules of file names: not empty, not "."
/// or "..", at most 255 UTF-16 units, no "/", no NUL, no unpaired surrogate.
struct NewUser {
    /// A quota that refuses nothing.
    static constexpr unsigned long UNLIMITED = std::numeric_limits<long>::max();

    std::u16string name = {};          ///< Unique among users and among buckets.
    std::u16string emailAddress = {};  ///< May be empty, as the rest of the profile.
    std::u16string firstName = {};     ///< The store does not use it.
    std::u16string lastName = {};      ///< The store does not use it.
    /// The most bytes that all versions of all files in the user's buckets may have together.
    /// Bytes written through an open handle count as well, in addition to those they will replace.
    /// A deleted file counts until it is purged, at the latest when its bytes are needed. A content
    /// that was deleted or replaced while a handle or a download location held it counts until the
    /// last of these lets it go. Values above UNLIMITED mean UNLIMITED.
    unsigned long quota = UNLIMITED;
};

/// A user of the store.
struct User : NewUser {
    /// The bytes in use, counted like the quota.
    unsigned long used = 0;
};

/// A bucket of the store.
struct Bucket {
    std::u16string name;   ///< Unique among buckets.
    std::u16string owner;  ///< The name of the user whose bucket it is.
    /// The bytes in use, counted like the owner's quota.
    unsigned long used = 0;
};

/// Room on the disk that a work needs for its time.
struct RoomNeed {
    std::string folder;           ///< Where the room is needed: the path of a folder.
    unsigned long needed = 0;     ///< Bytes.
    unsigned long available = 0;  ///< Bytes that are free there.
};

/// The numbers of things in a store.
struct Statistics {
    unsigned long users = 0;    ///< All users.
    unsigned long buckets = 0;  ///< All buckets.
    /// Without the roots of buckets, and without deleted folders. What lay below a deleted folder
    /// counts until it is purged.
    unsigned long folders = 0;
    unsigned long files = 0;     ///< On the same terms.
    unsigned long versions = 0;  ///< Of all files, current versions included.
    unsigned long handles = 0;   ///< Open file handles of all programs.
    /// Rights given by permissions and accepted invitations.
    unsigned long grants = 0;
    unsigned long invitations = 0;  ///< In any state.
    /// The bytes in use, counted like the quotas; the largest number where they are more.
    unsigned long used = 0;
    /// The bytes of content on the disk: fewer than in use where versions and copies share content
    /// or files have holes, more where cleaning is still to be done.
    unsigned long stored = 0;

    // Of this opening of a store on a database server, since it began; 0 for a file.

    unsigned long roundTrips = 0;  ///< How often it waited for the server.
    /// Transactions begun again, since another program or a lost connection was in the way.
    unsigned long repeats = 0;
    /// Commits whose answer was lost, and that were found to have taken effect or not.
    unsigned long settled = 0;
};

/// Which earlier versions a pruning keeps. One that either rule keeps stays; at least one rule is
/// needed. The current version of a file always stays.
struct PruneRules {
    /// Keeps so many versions of each file, the current one and those before it.
    std::optional<unsigned long> keepLast = {};
    /// Keeps the versions made within so much time before now.
    std::optional<std::chrono::seconds> keepFor = {};
    std::u16string bucket = {};  ///< Prunes this bucket alone; empty for every bucket.
    std::u16string user = {};    ///< Prunes the buckets of this user alone; empty for every user.
    bool dryRun = false;         ///< Only counts what would be removed.
};

/// What a pruning removed, or would remove.
struct Pruned {
    unsigned long versions = 0;  ///< The number of versions.
    /// The bytes that the versions count in the quotas, though a content that a handle or a
    /// download location holds counts until it is let go.
    unsigned long bytes = 0;
};

/// How far a migration is.
struct MigrationProgress {
    /// What is done at a time, in this order.
    enum class Step {
        COPYING,    ///< Rows that an earlier run copied are not copied again.
        COMPARING,  ///< All rows of both stores.
        VERIFYING   ///< The new store, contents and all; tells nothing more until it is done.
    };
    Step step = Step::COPYING;     ///< What is being done.
    std::string table;             ///< The table of the database that it is done with.
    unsigned long rows = 0;        ///< The rows of that table with which it is done in this run.
    unsigned long bytes = 0;       ///< The bytes of content that are copied.
    unsigned long totalBytes = 0;  ///< The bytes of content in the source, used or not.
};

/// A table that is the same in both stores after a migration.
struct MigratedTable {
    std::string name;            ///< In the database.
    unsigned long rows = 0;      ///< The number of its rows.
    unsigned long checksum = 0;  ///< That of all of its rows.
};

/// Something in a store that does not fit together.
struct Damage {
    std::string sentence;   ///< What is damaged and in which way, in UTF-8, for people.
    std::u16string owner;   ///< The user whose file or folder it is in; empty where it is in none.
    std::u16string bucket;  ///< The bucket of that file or folder.
    std::u16string path;    ///< Its path in the bucket, empty for one that is in no folder.
    /// The label of the version whose content is damaged, 0 for damage of another kind. Reading
    /// what is damaged of it fails with INTERNAL_SERVER_ERROR; the other ranges can still be read.
    int version = 0;
    bool current = false;        ///< Whether it is the file's current version.
    unsigned long size = 0;      ///< The bytes that the version should have.
    unsigned long readable = 0;  ///< How many of these can be read.
};

}  // namespace storage::kvxstore
