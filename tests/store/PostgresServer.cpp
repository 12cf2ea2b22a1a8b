#include "PostgresServer.h"

#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#ifdef KVXSTORE_HAS_POSTGRES
#include <libpq-fe.h>
#endif

namespace storage::kvxstore {

namespace {

const char* serverUrl() { return std::getenv("KVXSTORE_TEST_POSTGRES"); }

class Schemas {
public:
    ~Schemas() {
        for (const std::string& name : names_) {
            try {
                onServer("drop schema " + name + " cascade");
            } catch (const std::exception&) {
                // A server that is gone keeps nothing.
            }
        }
    }

    std::string make() {
        names_.push_back("kvx" + std::to_string(::getpid()) + '_' + std::to_string(++count_));
        onServer("create schema " + names_.back());
        const std::string url = serverUrl();
        return url + (url.find('?') == url.npos ? '?' : '&') + "options=-csearch_path%3D" +
               names_.back();
    }

private:
    std::vector<std::string> names_;
    unsigned count_ = 0;
};

}  // namespace

bool isOnServer() { return serverUrl() != nullptr; }

std::string newSchema() {
    static Schemas schemas;
    return schemas.make();
}

#ifdef KVXSTORE_HAS_POSTGRES

std::vector<std::string> onServer(const std::string& sql) {
    PGconn* const connection = PQconnectdb(serverUrl());
    PQsetNoticeProcessor(connection, [](void*, const char*) {}, nullptr);
    PGresult* const result = PQexec(connection, sql.c_str());
    std::vector<std::string> rows;
    for (int row = 0; row < PQntuples(result); ++row) {
        rows.emplace_back(PQgetvalue(result, row, 0));
    }
    const std::string error = PQresultErrorMessage(result);
    PQclear(result);
    PQfinish(connection);
    if (!error.empty()) {
        throw std::runtime_error(error);
    }
    return rows;
}

#else

std::vector<std::string> onServer(const std::string& /*sql*/) {
    throw std::runtime_error("built without PostgreSQL");
}

#endif

}  // namespace storage::kvxstore
