#pragma once

#include <string>
#include <unordered_map>

#include "operations/Places.h"

namespace storage::kvxstore::operations {

/// The places of folders that were looked up on a connection. They are forgotten with any change
/// of the database that nobody says is harmless.
class KnownFolders {
public:
    static KnownFolders& on(database::Connection& connection);

    explicit KnownFolders(database::Connection& connection) : connection_(connection) {}

    /// Null when it is not known; valid until the next call.
    const Place* find(const std::string& key);
    void add(std::string key, const Place& place);

    /// Says that what was changed since the last find() neither moved nor removed a folder, nor
    /// gave or took a right.
    void keep() { version_ = connection_.version(); }

private:
    database::Connection& connection_;
    database::DataVersion version_;
    std::unordered_map<std::string, Place> places_;
};

}  // namespace storage::kvxstore::operations
