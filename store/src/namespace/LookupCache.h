#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "namespace/ResolvedPath.h"

namespace storage::kvxstore {

struct SessionRow {
    std::int64_t owner = 0;
    std::int64_t expires = 0;
};

/// The sessions and folders that were looked up on a connection. Any write by any program, unless
/// keep() is called, invalidates sessions; a folder is good as long as its bucket's structure is.
class LookupCache {
public:
    static LookupCache& on(database::Connection& connection);

    explicit LookupCache(database::Connection& connection) : connection_(connection) {}

    /// The present entries, for lookups and additions until the next write.
    std::unordered_map<std::string, SessionRow>& sessions();

    /// Whose the sessions were that were looked up: known even when they have ended.
    std::unordered_map<std::string, std::int64_t>& owners();

    /// As findFolder(), but of what may be outdated.
    const ResolvedPath* guessFolder(const std::string& key) const;
    /// Null for an unknown folder. Valid until the next call.
    const ResolvedPath* findFolder(const std::string& key);
    /// REQUIRES: this transaction resolved the path.
    void addFolder(std::string key, ResolvedPath path);

    /// Keeps the entries in spite of the writes since the last lookup.
    /// REQUIRES: they moved and removed no folder, changed no right and ended no session.
    void keep() { version_ = connection_.version(); }

private:
    struct Folder {
        ResolvedPath path;
        /// When its bucket was last looked at.
        std::int64_t checked = 0;
    };

    void look();

    database::Connection& connection_;
    database::DataVersion version_;
    /// Counts the changes of the version.
    std::int64_t state_ = 0;
    std::unordered_map<std::string, SessionRow> sessions_;
    std::unordered_map<std::string, std::int64_t> owners_;
    std::unordered_map<std::string, Folder> folders_;
};

}  // namespace storage::kvxstore
