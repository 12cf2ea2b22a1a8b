#pragma once

#include <sqlite3.h>

#include <stdexcept>
#include <string>

namespace storage::kvxstore {

/// A store's file as another program might have it open.
class RawDatabase {
public:
    explicit RawDatabase(const std::string& path) {
        if (sqlite3_open(path.c_str(), &database_) != SQLITE_OK) {
            throw std::runtime_error("cannot open " + path);
        }
        sqlite3_busy_timeout(database_, 10'000);
    }
    ~RawDatabase() { sqlite3_close(database_); }
    RawDatabase(const RawDatabase&) = delete;
    RawDatabase& operator=(const RawDatabase&) = delete;

    void run(const std::string& sql) const {
        if (sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
            throw std::runtime_error(sqlite3_errmsg(database_));
        }
    }

    /// The integer in the first row.
    long number(const std::string& sql) const {
        long result = 0;
        const auto read = [](void* into, int, char** values, char**) {
            *static_cast<long*>(into) = values[0] == nullptr ? 0 : std::stol(values[0]);
            return 0;
        };
        if (sqlite3_exec(database_, sql.c_str(), read, &result, nullptr) != SQLITE_OK) {
            throw std::runtime_error(sqlite3_errmsg(database_));
        }
        return result;
    }

private:
    sqlite3* database_ = nullptr;
};

}  // namespace storage::kvxstore
