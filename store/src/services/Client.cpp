#include "services/Client.h"

#include "services/Dispatcher.h"
#include "storage/kvxtransport/FaultInjector.h"

namespace storage::kvxstore::services {

std::unique_ptr<kvxclient::KVXClient> makeClient(std::shared_ptr<Engine> engine) {
    using Injector = kvxtransport::FaultInjector<Dispatcher>;
    Engine& store = *engine;
    return std::make_unique<kvxtransport::DispatchingClient<Injector>>(
        store.url(),
        Injector(Dispatcher(std::move(engine)), store.options().faults, store.delayed()));
}

}  // namespace storage::kvxstore::services
