#pragma once

/// @file
/// The embedded store: opening it, making clients of it, and administering it.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "storage/kvxclient/KVXClient.h"
#include "storage/kvxstore/Administration.h"
#include "storage/kvxstore/Export.h"
#include "storage/kvxstore/StoreError.h"
#include "storage/kvxstore/StoreOptions.h"

namespace storage::kvxstore {

namespace services {
class Engine;
}

/// A file store inside the process, kept in an SQLite database. Its clients serve every service
/// interface of kvxclient.
///
/// The effects of an acknowledged call are on disk. Several Store objects and several programs may
/// use one file at once. Any thread may call any member.
///
/// @par What calls mean here
/// An empty bucket in a Resource means the caller's own bucket, which has the caller's name. A path
/// is "/" or a sequence of names that each follow a "/". A name is not empty, not "." or "..", has
/// at most 255 UTF-16 units, no NUL and no unpaired surrogate; a path has at most 4,096 units.
/// Names are compared by code units. A content type has at most 255 bytes and no NUL; a recipient
/// has at most 255 UTF-16 units, no NUL and no unpaired surrogate. A name that begins with "." is
/// hidden; listMultiFolder lists the whole subtree, hidden names included. Attributes have the type
/// "FILE" or "FOLDER"; the name of a root is empty. The first version of a file has the label 1,
/// and every write adds one. A move keeps times and versions; a copy has the current content as its
/// version 1. New content resets the client's time of modification to the epoch. A download
/// location serves anyone who has it for 15 minutes, and gives the content it was made for even
/// after the file was changed or deleted. A read beyond the end of a file gives the bytes that
/// exist, possibly none. An empty watermark lists everything from the beginning; a text that is no
/// watermark of this store is refused with RESOURCE_NOT_FOUND.
///
/// @par Threads
/// Calls run on threads of the store. Every completion handler runs exactly once, on one of two
/// further threads (those of StoreOptions::faults on a third) and never on the caller's, after the
/// call's effects are on disk and with nothing of the store locked. A handler may make further
/// calls in their callback and future forms. It must not wait for one (blocking forms, members of
/// Store, waitForPendingCalls): enough waiting handlers would leave no thread to complete what they
/// wait for. Exceptions of handlers are dropped. A call made while 1,024 calls or 64 MiB of content
/// are queued waits for room, except on a thread of the store. The stream of a downloadFile is
/// made, written and destroyed on a reading thread, before the call completes; it must not wait for
/// another call of the store either.
///
/// @par Errors of calls
/// A refused call completes with a KVXClientException of the fitting code. UNKNOWN means a value
/// outside of its enumeration or without a meaning there, such as an invitation to own, bytes to
/// write at a null pointer, or a content type that breaks the rules. A recipient that no user could
/// have as name or e-mail address is refused with RESOURCE_NOT_FOUND. QUOTA_EXCEEDED means that the
/// owner of the bucket has no room, or that there are too many of something: of the caller's open
/// handles or download locations (StoreOptions), or more than 10,000 grants and invitations for one
/// file or folder. The number of files, folders and versions is not limited. No read gives other
/// bytes than were stored: one that comes upon damage fails with INTERNAL_SERVER_ERROR and a cause
/// that names path and version. An expired session is reported as SESSION_EXPIRED for 24 hours, and
/// then as INVALID_SESSION_ID. Any other failure, such as a full disk, completes with
/// INTERNAL_SERVER_ERROR. That exception also derives from std::nested_exception and nests a
/// std::runtime_error with the plain cause, which std::rethrow_if_nested throws.
///
/// @par Sessions
/// A user has at most 1,024 sessions. Logging in once more ends the one that expires first.
///
/// @par A full disk
/// A call that would leave no room for deleting is refused and changes nothing, after the store has
/// purged what it can for up to five seconds. For that it keeps about 5 MiB of the disk beside what
/// its files need while it is open. Logging in, deleting and closing handles still work, and what
/// they free can be written again without a larger disk. Opening needs some hundred KiB. A file of
/// any size needs its room twice for a moment: in the store's file and in the log beside it.
///
/// @par File handles
/// A handle is valid until it is closed, until its user has no valid session left or until the
/// program that opened it has been gone for a minute. Calls through one handle take effect in the
/// order in which they were made. A new file appears with the commit. The last commit wins,
/// wherever the file was moved. A commit is refused with RESOURCE_NOT_FOUND when the file was
/// deleted, with PARENT_RESOURCE_NOT_FOUND when its folder was deleted, and with CONFLICT when a
/// file that has to be new exists by then. A refused commit leaves the handle open. Writing through
/// a handle is refused with the same codes; reading is not. A commit changes nothing and makes no
/// version, whatever it asks for, when nothing was written, truncated or created and the content
/// type is that of the file.
///
/// @par Versions
/// Labels count up with every write. Listings go from the oldest version to the current one. Where
/// no version policy is set, versions are ENABLED.
///
/// @par Sharing
/// The owner of a bucket owns everything in it. Grants and invitations let others read or write
/// below a folder, by the owner's bucket and path; what they write counts in the owner's quota.
/// Recipients are names or e-mail addresses of users, who may be created later. An open invitation
/// is for everybody who knows its id; deleting it takes back the rights that were accepted by it.
/// Public access is DENIED where nothing is set. The store only keeps that policy for applications:
/// nobody gets in without a session.
///
/// @par The file
/// A store in a file keeps to the file that it was opened with, under its one name. When the file
/// is deleted, moved away, replaced or hard-linked, every call fails, and what it wrote is not
/// acknowledged, until the file is right again; when it is cut or overwritten, until the store is
/// opened anew. Reads notice it within a millisecond. A file that may be read but not written, or
/// lies in such a folder or file system, is served for reading. Then sessions, handles and download
/// locations are kept in memory, as long as the Store object and its clients last, and calls that
/// would change the file fail.
///
/// @par Errors of administration
/// Every member that opens or administers a store throws a StoreError. Beside the codes named at
/// the member, each may fail with IN_USE, FULL, NOT_WRITABLE, FILE_CHANGED, DAMAGED or OTHER.
class KVXSTORE_EXPORT Store {
public:
    /// Opens the store that a URL names: "sqlite:///absolute/path", "sqlite:path/from/here" (the
    /// path is taken as it stands, nothing is decoded) or "sqlite::memory:", a new store that lasts
    /// as long as the object and its clients. Only its owner may read a new file. A failure leaves
    /// existing files untouched. Does not wait for a program that writes to the store.
    ///
    /// "postgresql://user@host/database" names a store on a PostgreSQL server, which many programs
    /// on many machines may serve. It lies in the schema that the connection's search_path names,
    /// and has all parameters that libpq knows. Passwords belong into a password file.
    ///
    /// @throws StoreError with ILLEGAL_URL for a URL of another kind, NOT_FOUND when the file must
    /// exist and does not, or its folder does not, ALREADY_EXISTS when the file must be new and
    /// exists, NOT_A_STORE for another kind of file, NEWER_VERSION when a newer version of this
    /// software made the store, and FILE_CHANGED when the log beside the file ("-wal") is that of
    /// another file.
    static std::shared_ptr<Store> open(const std::string& url, StoreOptions options = {});

    /// The path of the file that a store's URL names, as it stands in the URL, or nothing for a
    /// store in memory or on a database server. Opens nothing.
    ///
    /// @throws StoreError with ILLEGAL_URL for a URL that open() refuses with that code.
    static std::optional<std::string> filePath(const std::string& url);

    /// A store's URL as people may see it: that of a database server without its password and
    /// without the query, any other as it is.
    static std::string shownUrl(const std::string& url);

    /// Ends the store, unless clients or services of it still exist; then the last of these ends
    /// it. Calls that have not begun complete with BAD_NETWORK, and those under way are finished.
    /// All handlers have run when the destructor returns, or soon after if it runs on a thread of
    /// the store.
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    /// Makes a client whose endpoint is the URL. Users log in with their tokens.
    ///
    /// Clients and the services they make keep the store alive. A service does not keep its client
    /// alive: after the client's end its calls find no session and complete with UNAUTHORIZED.
    ///
    /// cancelPendingCalls completes calls with BAD_NETWORK, though a call under way may still take
    /// effect. waitForPendingCalls returns when every handler has returned.
    std::unique_ptr<kvxclient::KVXClient> createClient() const;

    /// Creates a user and a bucket of the same name, and returns the token that the user logs in
    /// with. The token is random and cannot be shown again: the store keeps only its hash.
    /// Permissions and invitations that wait for the name or e-mail address become the user's.
    ///
    /// @throws StoreError with ILLEGAL_NAME when the name breaks the rules, and ALREADY_EXISTS when
    /// a user or bucket has it.
    std::string createUser(const NewUser& user) const;

    /// Lists all users by name.
    std::vector<User> listUsers() const;

    /// Makes a new token for a user whose token is lost or known to others. Earlier tokens become
    /// invalid, and the user's sessions end.
    ///
    /// @throws StoreError with NOT_FOUND when the user does not exist.
    std::string renewToken(const std::u16string& user) const;

    /// Sets the most bytes that a user may store, NewUser::UNLIMITED for any number. Files beyond
    /// it stay, but nothing can be added.
    ///
    /// @throws StoreError with NOT_FOUND when the user does not exist.
    void setQuota(const std::u16string& user, unsigned long quota) const;

    /// Removes a user with tokens, sessions and buckets, and all sharing by and with the user.
    ///
    /// @throws StoreError with NOT_FOUND when the user does not exist.
    void removeUser(const std::u16string& name) const;

    /// Creates a bucket.
    ///
    /// @throws StoreError with ILLEGAL_NAME when the name breaks the rules, NOT_FOUND when the
    /// owner does not exist, and ALREADY_EXISTS when a bucket has the name.
    void createBucket(const std::u16string& name, const std::u16string& owner) const;

    /// Lists all buckets by name.
    std::vector<Bucket> listBuckets() const;

    /// Checks everything, tells each damage found, and returns their number; 0 for a sound store.
    /// Reads the whole file in bounded memory, and occupies one of the reading threads for that
    /// time. `tell` runs on that thread and must not wait for a call of the store; what it throws
    /// ends the check and is passed on as a StoreError.
    unsigned long verify(const std::function<void(const Damage&)>& tell) const;

    /// As the other form, and returns the sentences.
    std::vector<std::string> verify() const;

    /// Removes old versions, so that their bytes no longer count. Works in portions, each in a
    /// transaction of its own: a failure leaves what was removed before it removed.
    ///
    /// @throws StoreError with NOT_FOUND when the bucket or user does not exist, and OTHER without
    /// a rule.
    Pruned prune(const PruneRules& rules) const;

    /// Removes the old versions whose content is damaged, as verify() tells them; a dry run only
    /// counts them. A damaged current version stays until it is written again. Where there is no
    /// other damage, contents that nothing names go as well, and the bytes in use are counted anew.
    /// Verifies the whole store.
    Pruned pruneDamaged(bool dryRun = false) const;

    /// Counts everything. Reads the whole file, which is slow for a large one.
    Statistics statistics() const;

    /// Purges what was deleted or has expired, and gives all unused room of the file back to the
    /// disk. Otherwise this happens in the background, when the store is idle or has written much;
    /// then the file keeps up to 8 MiB of unused room. Purged bytes stay in the file until others
    /// take their place.
    ///
    /// A file of a former kind gives nothing back until it is rebuilt once. sweep() does that where
    /// the disk has the room that rebuildNeeds() names; writers wait meanwhile.
    void sweep() const;

    /// The room on the disk that the next sweep() needs to rebuild the store's file, for each
    /// folder where it needs some; empty when there is nothing to rebuild.
    std::vector<RoomNeed> rebuildNeeds() const;

    /// Copies the store into a new file that only its owner may read, while others go on writing.
    /// The copy is the store as it was at one moment, without sessions, open handles, download
    /// locations and what was deleted; users log in to it with the same tokens. It refuses the
    /// watermarks of this store. It is verified and on disk before it appears under its name; until
    /// then it grows beside it, with six more characters behind the name. Put a backup back by
    /// opening it, or by moving it to the place of a store that nobody has open, whose "-wal" and
    /// "-shm" files are removed before. Occupies one of the reading threads while it copies.
    ///
    /// @throws StoreError with ALREADY_EXISTS when there is a file of that name, or one of the name
    /// and "-wal", "-shm" or "-journal", NOT_FOUND when its folder does not exist, and DAMAGED when
    /// verify() finds damage in the copy.
    void backup(const std::string& path) const;

    /// Copies a whole store into a new one that another URL names, on the same engine or another:
    /// users, tokens, buckets, files and folders with their versions, labels and times, rights,
    /// invitations with their ids, policies. Sessions, handles, download locations and what only
    /// these hold are left out. Users log in to it with the same tokens; it refuses the watermarks
    /// of the source.
    ///
    /// The source is read as it is at one moment, and nothing of it is written; others may go on
    /// with it. An interrupted migration is gone on with by the same call, provided that the source
    /// has not changed meanwhile. At the end every row of both stores is compared, and the new
    /// store verified; before that it cannot be opened.
    ///
    /// `tell`, unless empty, is told of the progress, on the calling thread; what it throws
    /// interrupts the migration. Returns what was compared.
    ///
    /// @throws StoreError with NOT_FOUND when the source or the folder of a new file does not
    /// exist, ALREADY_EXISTS when the target is a store, or has the beginning of a migration from
    /// another store or from this one as it was before a change, IN_USE when another run has gone
    /// on with the migration, and DAMAGED when there is damage in the source that verify() finds.
    static std::vector<MigratedTable> migrate(
        const std::string& from, const std::string& to,
        const std::function<void(const MigrationProgress&)>& tell = {});

private:
    explicit Store(std::shared_ptr<services::Engine> engine);

    std::shared_ptr<services::Engine> engine_;
};

}  // namespace storage::kvxstore
