#include "Engine.h"

#include <algorithm>
#include <thread>

#include "database/SqliteFile.h"
#include "operations/Handles.h"
#include "operations/Maintenance.h"
#include "operations/Secrets.h"
#include "storage/kvxstore/Store.h"

namespace storage::kvxstore {

namespace {

using namespace std::chrono_literals;

StoreOptions completed(StoreOptions options) {
    if (!options.clock) {
        options.clock = [] { return std::chrono::system_clock::now(); };
    }
    if (options.readers == 0) {
        options.readers = std::clamp(std::thread::hardware_concurrency(), 1U, 4U);
    }
    // Nanoseconds since the epoch hold no more than some centuries.
    options.sessionLifetime =
        std::clamp<std::chrono::seconds>(options.sessionLifetime, 0s, std::chrono::years(100));
    return options;
}

database::Connector connectorTo(const std::string& url, CreateMode mode) {
    if (url.starts_with("sqlite:")) {
        return database::openSqlite(url, mode);
    }
    if (url.starts_with("postgresql:") || url.starts_with("postgres:")) {
        throw StoreError("PostgreSQL is not served yet: " + url);
    }
    throw StoreError("a store's URL begins with \"sqlite:\": " + url);
}

/// When to clean again: soon while there is more to do, and often enough that others see that this
/// program is still there while it has open handles.
std::chrono::milliseconds cleanSome(database::Connection& database, std::int64_t instance,
                                    std::int64_t now) {
    if (operations::clean(database, instance, now)) {
        return std::chrono::milliseconds(50);
    }
    return operations::hasHandles(database, instance) ? std::chrono::seconds(15)
                                                      : std::chrono::hours(1);
}

}  // namespace

std::shared_ptr<Engine> Engine::start(const std::string& url, StoreOptions options) {
    const auto end = [](Engine* engine) {
        if (scheduler::onStoreThread()) {
            std::thread([engine] { delete engine; }).detach();
        } else {
            delete engine;
        }
    };
    return {new Engine(url, std::move(options)), end};
}

Engine::Engine(std::string url, StoreOptions options)
    : url_(std::move(url)),
      options_(completed(std::move(options))),
      instance_(operations::newNumber()),
      scheduler_(connectorTo(url_, options_.createMode), options_.readers,
                 [this](database::Connection& database) {
                     const auto now = options_.clock().time_since_epoch().count();
                     return cleanSome(database, instance_, now);
                 }) {}

}  // namespace storage::kvxstore
