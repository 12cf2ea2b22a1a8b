// Classes that override every virtual function, so that the order of their tables, which is that of
// the interface, can be read from this object.
#include "support/ScriptedServices.h"

namespace storage::kvxclient {

struct ScriptedException : KVXClientException {
    using KVXClientException::KVXClientException;
    ~ScriptedException() override;
    const char* what() const noexcept override;
};

ScriptedException::~ScriptedException() = default;
const char* ScriptedException::what() const noexcept { return ""; }

void useTables() {
    ScriptedClient client("");
    ScriptedFileAccess files;
    ScriptedAccessControl sharing;
    ScriptedConfigurationManagement configuration;
    ScriptedNotification notification;
    ScriptedVersioning versions;
}

}  // namespace storage::kvxclient
