#pragma once

/// @file
/// The embedded store: opening it, making clients of it, and administering it.

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

/// A file store inside the process, kept in an SQLite database. It serves every service interface
/// of kvxclient through the clients it makes.
///
/// What a call acknowledges is on disk. Several Store objects and several programs may use one
/// file at once. Every member may be called from any thread.
///
/// @par What calls mean here
/// An empty bucket in a Resource is the caller's own, the one of his name. A path is "/" or names
/// that each follow a "/": not empty, not "." or "..", at most 255 UTF-16 units, no NUL, no
/// unpaired surrogate; at most 4,096 units together. Names differ by code units. A name beginning
/// with "." is hidden; listMultiFolder lists the whole subtree, hidden names included. Attributes
/// have the type "FILE" or "FOLDER"; the root's name is empty. Every write of a file counts its
/// version label up by one, from 1. A move keeps times and versions; a copy begins anew at version
/// 1 with the current content. New content resets the client's time of modification to the epoch.
/// A download location is good for 15 minutes, for whoever has it, and gives the content it was
/// made for even when the file has changed or gone.
///
/// @par Threads
/// Calls run on threads of the store, and every completion handler runs on one of two further
/// threads, exactly once, after the call's effects are on disk, with nothing of the store locked;
/// never on the caller's thread. A handler may make further calls in their callback and future
/// forms. It must not wait for one (blocking forms, Store's own members, waitForPendingCalls):
/// enough waiting handlers would leave no thread to complete what they wait for. What a handler
/// throws is dropped. A call made while 1,024 calls or 64 MiB of content wait for their turn waits
/// for room, but not on a thread of the store. The stream of a downloadFile is made, written and
/// destroyed on a reading thread, which must not wait for another call of the store either.
///
/// @par Errors of calls
/// A call that the store refuses completes with a KVXClientException of the fitting code; UNKNOWN
/// means a value that is none of its enumeration or has no meaning there, such as an invitation to
/// own, or bytes to write at a null pointer. An expired session is told by SESSION_EXPIRED for 24
/// hours, and then by INVALID_SESSION_ID. A failure below, such as a full disk, completes with
/// INTERNAL_SERVER_ERROR; that exception also derives from std::nested_exception and nests a
/// std::runtime_error with the plain cause, which std::rethrow_if_nested throws.
///
/// @par File handles
/// A handle is good until it is closed, until its user has no valid session any more or until the
/// program that opened it has been gone for a minute. Calls through one handle take effect in the
/// order in which they were made. A new file appears with the commit. The last commit wins,
/// wherever the file was moved meanwhile; when the file was deleted it is refused with
/// RESOURCE_NOT_FOUND, when its folder was with PARENT_RESOURCE_NOT_FOUND, and with CONFLICT when a
/// file that had to be new no longer is. A refused commit leaves the handle open. Writing through a
/// handle is refused with the same codes, reading is not. Where nothing was written, truncated or
/// created, and the content type is the file's, a commit changes nothing and makes no version,
/// whatever it asks for.
///
/// @par Versions
/// Labels count up with every write; listings go from the oldest version to the newest, the current
/// one. Where no version policy is set, versions are ENABLED.
///
/// @par Sharing
/// The owner of a bucket owns all in it; grants and invitations let others read or write below a
/// folder, by the owner's bucket and path, and count in the owner's quota. Recipients are users'
/// names or e-mail addresses, also of users yet to be created. An open invitation is for everybody
/// who knows its id; deleting it takes back what was accepted by it. Public access is DENIED where
/// nothing is set; the store keeps that policy for applications, as it lets in nobody without a
/// session.
class KVXSTORE_EXPORT Store {
public:
    /// Opens the store that a URL names: "sqlite:///absolute/path", "sqlite:path/from/here" (the
    /// path is taken as it stands, nothing is decoded) or "sqlite::memory:", a new store that
    /// lasts as long as the object and its clients. A new file is readable for its owner only.
    ///
    /// @throws StoreError when the URL is of another kind, the file is missing, in the way or no
    /// store (it is then left untouched), cannot be written, is damaged, or was made by a newer
    /// version of this software.
    static std::shared_ptr<Store> open(const std::string& url, StoreOptions options = {});

    /// The path of the file that a store's URL names, as it stands in the URL; nothing for a store
    /// in memory. Opens nothing.
    ///
    /// @throws StoreError with ILLEGAL_URL when open() would refuse the URL for what it is.
    static std::optional<std::string> filePath(const std::string& url);

    /// The last of the store, its clients and their services to go ends the store: calls that
    /// have not begun complete with BAD_NETWORK, those under way are finished, and all handlers
    /// have run when the destructor returns (on a thread of the store: soon after).
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    /// Makes a client whose endpoint is the URL, to be logged in with a user's token.
    ///
    /// Clients and the services they make keep the store alive. A service does not keep its client
    /// alive: used after it, its calls find no session and complete with UNAUTHORIZED.
    ///
    /// cancelPendingCalls completes calls with BAD_NETWORK; one that is under way may still take
    /// effect. waitForPendingCalls returns when every handler has returned.
    std::unique_ptr<kvxclient::KVXClient> createClient() const;

    /// Creates a user and a bucket of his name, and returns the token he logs in with. It is
    /// random and shown this once: the store keeps only its hash. Permissions and invitations that
    /// wait for the name or e-mail address become the user's.
    ///
    /// @throws StoreError when the name breaks the rules or a user or bucket has it already.
    std::string createUser(const NewUser& user) const;

    /// All users, by name.
    std::vector<User> listUsers() const;

    /// Makes a new token for a user who has lost his, or fears that others know it. The tokens made
    /// before are good no more, and his sessions end.
    ///
    /// @throws StoreError when there is no such user.
    std::string renewToken(const std::u16string& user) const;

    /// Sets the most bytes that a user may store, NewUser::UNLIMITED for any number. What there is
    /// beyond it stays, but nothing is added.
    ///
    /// @throws StoreError when there is no such user.
    void setQuota(const std::u16string& user, unsigned long quota) const;

    /// Removes a user with token, sessions and buckets, and all sharing by and with the user.
    ///
    /// @throws StoreError when there is none.
    void removeUser(const std::u16string& name) const;

    /// Creates a bucket.
    ///
    /// @throws StoreError when the name breaks the rules or is taken, or there is no such owner.
    void createBucket(const std::u16string& name, const std::u16string& owner) const;

    /// All buckets, by name.
    std::vector<Bucket> listBuckets() const;

    /// Walks through everything and returns a sentence for each kind of damage found; empty for a
    /// sound store. Reads all of the file, and takes one of the reading threads for that time.
    std::vector<std::string> verify() const;

    /// Counts what there is. Reads all of the file: slow on a large one.
    Statistics statistics() const;

    /// Purges what was deleted or has expired, which otherwise happens in idle moments. The file
    /// keeps its size, and the purged bytes until others take their place.
    void sweep() const;

private:
    explicit Store(std::shared_ptr<services::Engine> engine);

    std::shared_ptr<services::Engine> engine_;
};

}  // namespace storage::kvxstore
