// Overrides every virtual function, so that the order of the interface's tables can be read from
// this object.
#include "storage/kvxtesting/ScriptedTransport.h"

namespace storage::kvxclient {

using namespace kvxtesting;

struct TableOfException : KVXClientException {
    using KVXClientException::KVXClientException;
    ~TableOfException() override;
    const char* what() const noexcept override;
};

TableOfException::~TableOfException() = default;
const char* TableOfException::what() const noexcept { return ""; }

// Names that the object's tables are found by.
struct TableOfClient : ScriptedClient {
    using ScriptedClient::ScriptedClient;
};
struct TableOfFileAccess : ScriptedFileAccess {};
struct TableOfAccessControl : ScriptedAccessControl {};
struct TableOfConfigurationManagement : ScriptedConfigurationManagement {};
struct TableOfNotification : ScriptedNotification {};
struct TableOfVersioning : ScriptedVersioning {};

void useTables() {
    TableOfClient client("");
    TableOfFileAccess files;
    TableOfAccessControl sharing;
    TableOfConfigurationManagement configuration;
    TableOfNotification notification;
    TableOfVersioning versions;
}

}  // namespace storage::kvxclient
