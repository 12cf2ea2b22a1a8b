#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "namespace/Places.h"

namespace storage::kvxstore::operations {

struct SessionRow {
    std::int64_t owner = 0;
    std::int64_t expires = 0;
};

/// The sessions and folders that were looked up on a connection. They are forgotten with any change
/// of the database that nobody says is harmless.
class LookupCache {
public:
    static LookupCache& on(database::Connection& connection);

    explicit LookupCache(database::Connection& connection) : connection_(connection) {}

    /// Null when it is not known, as with folder(); both are valid until the next call.
    const SessionRow* session(const std::string& id);
    const Place* folder(const std::string& key);
    void addSession(const std::string& id, const SessionRow& session);
    void addFolder(std::string key, const Place& folder);

    /// Says that what was changed since the last look neither moved nor removed a folder, gave or
    /// took a right, nor ended a session.
    void keep() { version_ = connection_.version(); }

private:
    void forgetWhatMayHaveChanged();

    database::Connection& connection_;
    database::DataVersion version_;
    std::unordered_map<std::string, SessionRow> sessions_;
    std::unordered_map<std::string, Place> folders_;
};

}  // namespace storage::kvxstore::operations
