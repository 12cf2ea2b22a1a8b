#include "services/Engine.h"

#include <algorithm>

#include "core/Secrets.h"
#include "database/Open.h"
#include "maintenance/Cleaning.h"
#include "maintenance/Leases.h"
#include "storage/kvxtransport/Endings.h"
#include "storage/kvxtransport/FaultInjector.h"

namespace storage::kvxstore::services {

namespace {

using namespace std::chrono_literals;

StoreOptions completed(const std::string& url, StoreOptions options) {
    if (!options.clock) {
        options.clock = [] { return std::chrono::system_clock::now(); };
    }
    if (options.readers == 0) {
        options.readers = database::threadsFor(url).readers;
    }
    // Nanoseconds since the epoch hold no more than some centuries.
    options.sessionLifetime =
        std::clamp<std::chrono::seconds>(options.sessionLifetime, 0s, std::chrono::years(100));
    options.lockPatience =
        std::clamp<std::chrono::milliseconds>(options.lockPatience, 0s, std::chrono::years(100));
    return options;
}

/// When to clean again: at once while there is more to do, and often enough that others see that
/// this program is still there while it has open handles.
std::chrono::milliseconds cleanSome(database::Connection& database, std::int64_t instance,
                                    std::int64_t now) {
    if (clean(database, instance, now)) {
        return std::chrono::milliseconds(0);
    }
    return hasHandles(database, instance) ? std::chrono::seconds(15) : std::chrono::hours(1);
}

kvxtransport::Endings& endings() {
    static kvxtransport::Endings all([] { return bool(scheduler::onStoreThread()); });
    return all;
}

}  // namespace

std::shared_ptr<Engine> Engine::start(const std::string& url, StoreOptions options) {
    endings();  // Made by now, it goes before what the library made when it was loaded.
    const auto end = [](Engine* engine) { endings().run([engine] { delete engine; }); };
    return {new Engine(url, std::move(options)), end};
}

Engine::Engine(const std::string& url, StoreOptions options)
    : url_(database::shownUrl(url)),
      options_(completed(url, std::move(options))),
      instance_(newNumber()),
      delayed_(options_.faults ? std::make_shared<kvxtransport::DelayedCalls>(
                                     [] { scheduler::onStoreThread() = true; })
                               : nullptr),
      connect_(database::open(url, options_.createMode, options_.lockPatience)),
      scheduler_(connect_, {options_.readers, database::threadsFor(url_).writers},
                 [this](database::Connection& database) {
                     const auto now = options_.clock().time_since_epoch().count();
                     return cleanSome(database, instance_, now);
                 }) {}

}  // namespace storage::kvxstore::services
