#include "Commands.h"

#include <utility>

#include "Session.h"

namespace storage::kvxtool {

void Invocation::runInSession(
    std::function<void(const kvxclient::FileAccess&, Diagnostics&)> action) {
    run = [action = std::move(action)](const StoreLocation& location, Diagnostics& diagnostics) {
        const Session session(location);
        action(session.files(), diagnostics);
    };
}

}  // namespace storage::kvxtool
