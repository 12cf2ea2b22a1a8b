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

namespace {

std::shared_ptr<PGconn> connectTo(const std::string& url) {
    PGconn* const connection = PQconnectdb(url.c_str());
    PQsetNoticeProcessor(
        connection, [](void*, const char*) {}, nullptr);
    return {connection, PQfinish};
}

std::vector<std::string> run(PGconn* connection, const std::string& sql) {
    PGresult* const result = PQexec(connection, sql.c_str());
    std::vector<std::string> rows;
    for (int row = 0; row < PQntuples(result); ++row) {
        rows.emplace_back(PQgetvalue(result, row, 0));
    }
    const std::string error = PQresultErrorMessage(result);
    PQclear(result);
    if (!error.empty()) {
        throw std::runtime_error(error);
    }
    return rows;
}

}  // namespace

std::shared_ptr<void> holdWriters(const std::string& storeUrl) {
    auto connection = connectTo(storeUrl);
    run(connection.get(), "begin; lock table lanes");
    return connection;
}

std::vector<std::string> onServer(const std::string& sql) {
    return run(connectTo(serverUrl()).get(), sql);
}

#else

std::shared_ptr<void> holdWriters(const std::string& /*storeUrl*/) {
    throw std::runtime_error("built without PostgreSQL");
}

std::vector<std::string> onServer(const std::string& /*sql*/) {
    throw std::runtime_error("built without PostgreSQL");
}

#endif

}  // namespace storage::kvxstore
