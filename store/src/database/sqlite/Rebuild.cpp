#include "database/sqlite/Rebuild.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <filesystem>

namespace storage::kvxstore::database {

namespace {

/// The folder of SQLite's temporary files.
std::string temporaryFolder(sqlite3* handle) {
    char* name = nullptr;
    sqlite3_file_control(handle, "main", SQLITE_FCNTL_TEMPFILENAME, &name);
    std::string folder = name == nullptr ? "." : std::filesystem::path(name).parent_path().string();
    sqlite3_free(name);
    return folder;
}

unsigned long deviceOf(const std::string& folder) {
    struct stat status {};
    return ::stat(folder.c_str(), &status) == 0 ? status.st_dev : 0;
}

RoomNeed needIn(const std::string& folder, std::int64_t bytes) {
    struct statvfs status {};
    const bool known = ::statvfs(folder.c_str(), &status) == 0;
    return {folder, static_cast<unsigned long>(bytes),
            known ? status.f_bavail * status.f_frsize : 0};
}

}  // namespace

std::vector<RoomNeed> needsOfRebuild(Connection& connection, sqlite3* handle) {
    if (connection.number("pragma auto_vacuum") != 0) {
        return {};
    }
    const std::int64_t copy =
        (connection.number("pragma page_count") - connection.number("pragma freelist_count")) *
        connection.number("pragma page_size");
    // All pages go through the log, where each has a head of its own.
    const std::int64_t log = copy + copy / 256 + (4L << 20U);
    const std::string folder =
        std::filesystem::path(sqlite3_db_filename(handle, "main")).parent_path();
    const std::string temporary = temporaryFolder(handle);
    if (deviceOf(folder) == deviceOf(temporary)) {
        return {needIn(folder, log + copy)};
    }
    return {needIn(folder, log), needIn(temporary, copy)};
}

void rebuildFile(Connection& connection) {
    connection.shortenLog(0);
    // The copy may be larger than the memory.
    connection.execute("pragma temp_store = file");
    connection.execute("pragma auto_vacuum = incremental");
    connection.execute("vacuum");
    connection.execute("pragma temp_store = memory");
}

}  // namespace storage::kvxstore::database
