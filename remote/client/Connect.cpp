#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "client/RemoteDispatcher.h"
#include "storage/kvxremote/Remote.h"

namespace storage::kvxremote {

namespace {

void requireReadable(const std::string& file) {
    if (!file.empty() && access(file.c_str(), R_OK) != 0) {
        throw std::invalid_argument("cannot read the file " + file);
    }
}

std::string valueOf(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : value;
}

}  // namespace

std::function<std::unique_ptr<kvxclient::KVXClient>()> connector(std::string_view url,
                                                                 RemoteOptions options) {
    Settings settings = parseSettings(url, std::move(options), valueOf);
    if (settings.encrypted) {
        requireReadable(settings.options.caFile);
        requireReadable(settings.options.certificateFile);
        requireReadable(settings.options.keyFile);
    }
    return [endpoint = std::string(url), link = Link::start(std::move(settings))] {
        return std::make_unique<kvxtransport::DispatchingClient<RemoteDispatcher>>(
            endpoint, RemoteDispatcher(link));
    };
}

std::unique_ptr<kvxclient::KVXClient> connect(std::string_view url, RemoteOptions options) {
    return connector(url, std::move(options))();
}

}  // namespace storage::kvxremote
