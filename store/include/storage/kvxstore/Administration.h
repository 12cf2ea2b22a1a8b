#pragma once

/// @file
/// The records of administration: users, buckets and counts.

#include <limits>
#include <string>

namespace storage::kvxstore {

/// A user to be created. Names of users and buckets follow the rules of file names: not empty,
/// not "." or "..", at most 255 UTF-16 units, no "/", no NUL, no unpaired surrogate.
struct NewUser {
    /// A quota that never refuses anything.
    static constexpr unsigned long UNLIMITED = std::numeric_limits<long>::max();

    std::u16string name = {};          ///< Unique among users and among buckets.
    std::u16string emailAddress = {};  ///< May be empty, as the rest of the profile.
    std::u16string firstName = {};     ///< For people, not for the store.
    std::u16string lastName = {};      ///< For people, not for the store.
    /// The most bytes that all versions of all files in the user's buckets may have together.
    /// What is written through an open handle counts as well, beside what it will replace. A
    /// deleted file counts until it is purged, which at the latest happens when it is in the way.
    /// Values above UNLIMITED mean UNLIMITED.
    unsigned long quota = UNLIMITED;
};

/// A user as the store has it.
struct User : NewUser {
    /// Bytes in use, counted like the quota.
    unsigned long used = 0;
};

/// A bucket as the store knows it.
struct Bucket {
    std::u16string name;   ///< Unique among buckets.
    std::u16string owner;  ///< The name of the user whose bucket it is.
    /// Bytes in use, counted like the owner's quota.
    unsigned long used = 0;
};

/// How much there is in a store.
struct Statistics {
    unsigned long users = 0;    ///< All users.
    unsigned long buckets = 0;  ///< All buckets.
    /// Without the roots of buckets and what was deleted at their tops.
    unsigned long folders = 0;
    unsigned long files = 0;  ///< Without those deleted by themselves.
    /// Of all files, current ones included.
    unsigned long versions = 0;
    /// Open file handles, of all programs.
    unsigned long handles = 0;
    /// Rights given by permissions and accepted invitations.
    unsigned long grants = 0;
    unsigned long invitations = 0;  ///< In whatever state.
    /// Bytes in use, counted like the quotas.
    unsigned long used = 0;
    /// Bytes of content on the disk: less than in use where versions and copies share content or
    /// files have holes, more where cleaning is still to be done.
    unsigned long stored = 0;
};

}  // namespace storage::kvxstore
