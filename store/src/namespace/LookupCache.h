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

/// The sessions and folders that were looked up on a connection. Invalidated by any write, by any
/// program, unless keep() is called.
class LookupCache {
public:
    static LookupCache& on(database::Connection& connection);

    explicit LookupCache(database::Connection& connection) : connection_(connection) {}

    /// The present entries, for lookups and additions until the next write.
    std::unordered_map<std::string, SessionRow>& sessions();
    std::unordered_map<std::string, ResolvedPath>& folders();

    /// Keeps the entries in spite of the writes since the last lookup.
    /// REQUIRES: they moved and removed no folder, changed no right and ended no session.
    void keep() { version_ = connection_.version(); }

private:
    template <class Map>
    Map& present(Map& map);

    database::Connection& connection_;
    database::DataVersion version_;
    std::unordered_map<std::string, SessionRow> sessions_;
    std::unordered_map<std::string, ResolvedPath> folders_;
};

}  // namespace storage::kvxstore
